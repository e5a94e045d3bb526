#include "frmdownloadresults.h"

#include "context/appcontext.h"
#include "context/windowhelpers.h"
#include "download/downloadresults.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace download {

frmDownloadResults::frmDownloadResults(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , ListView1(context::named(new QTreeWidget(this), "ListView1"))
    , Label1(context::named(new QLabel(this), "Label1"))
    , Command1(context::named(new QPushButton(QStringLiteral("&OK"), this), "Command1"))
    , m_context(context)
    , m_images{style()->standardIcon(QStyle::SP_DialogApplyButton), style()->standardIcon(QStyle::SP_MessageBoxWarning)}
{
    setObjectName(QStringLiteral("frmDownloadResults"));
    setWindowTitle(QStringLiteral("Download Results"));

    context::showAsReport(*ListView1, {QStringLiteral("Symbol"), QStringLiteral("Download Result")}, {160});
    Command1->setDefault(true);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(Label1, 1);
    buttons->addWidget(Command1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(ListView1, 1);
    layout->addLayout(buttons);
    resize(480, 360);

    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    Form_Load();
}

void frmDownloadResults::Form_Load()
{
    ListView1->clear();
    for (const context::DownloadResult& result : m_context.state.downloadResults) {
        const int image = isNoData(result.status) ? 2 : 1;
        auto* row = new QTreeWidgetItem(ListView1, {result.symbol, result.status});
        row->setIcon(0, m_images[image - 1]);
        row->setData(0, ImageRole, image);
        // The two columns stay as they are; why a security ended as it did shows on its result.
        row->setToolTip(1, result.reason);
    }
    Label1->setText(resultsSummary(tallyResults(m_context.state.downloadResults)));
    context::centreOnScreen(*this);
}

void frmDownloadResults::Command1_Click()
{
    accept();
}

} // namespace download

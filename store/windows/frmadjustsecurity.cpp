#include "frmadjustsecurity.h"

#include "context/windowhelpers.h"
#include "folderchooser.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"

#include <QDateEdit>
#include <QGridLayout>
#include <QLineEdit>
#include <QPushButton>

namespace store {

frmAdjustSecurity::frmAdjustSecurity(context::AppContext& context, QWidget* parent)
    : SecurityWindow(context, parent, &MetaStockReader::GetFirstDate)
    , Command1(context::named(new QPushButton(QStringLiteral("&Change"), this), "Command1"))
    , Command2(context::named(new QPushButton(QStringLiteral("&Delete Security"), this), "Command2"))
    , Command3(context::named(new QPushButton(QStringLiteral("&Close"), this), "Command3"))
{
    setObjectName(QStringLiteral("frmAdjustSecurity"));
    setWindowTitle(QStringLiteral("Adjust Security"));
    DTPicker1->setReadOnly(true);
    DTPicker1->setCalendarPopup(false);
    context::addFieldRow(*m_fields, 2, QStringLiteral("First Date"), DTPicker1);
    addButtons({Command1, Command2, Command3});

    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2, &QPushButton::clicked, this, [this] { Command2_Click(); });
    connect(Command3, &QPushButton::clicked, this, &QDialog::reject);

    Form_Load();
}

void frmAdjustSecurity::securityShown()
{
    m_currentSymbol = Text2->text().trimmed();
}

void frmAdjustSecurity::Command1_Click()
{
    const QString folder = folders->path();
    const QString name = Text1->text().trimmed();
    const QString symbol = Text2->text().trimmed();
    if (runWriterSteps({[&](MetaStockWriter& w) { return w.OpenFolder(folder); },
                        [&](MetaStockWriter& w) { return w.ChangeSecurity(m_currentSymbol, name, symbol); },
                        [](MetaStockWriter& w) { return w.CloseFolder(); }})
            .ok())
        Dir1_Change();
}

void frmAdjustSecurity::Command2_Click()
{
    const QString folder = folders->path();
    const QString symbol = Text2->text().trimmed();
    if (runWriterSteps({[&](MetaStockWriter& w) { return w.OpenFolder(folder); },
                        [&](MetaStockWriter& w) { return w.DeleteSecurity(symbol); },
                        [](MetaStockWriter& w) { return w.CloseFolder(); }})
            .ok())
        Dir1_Change();
}

} // namespace store

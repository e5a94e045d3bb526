#include "frmdownload.h"

#include "context/appcontext.h"
#include "context/helpers.h"
#include "context/windowhelpers.h"
#include "download/selection.h"
#include "frmdownloadprogress.h"
#include "symbols/symbolsdb.h"

#include <QApplication>
#include <QCheckBox>
#include <QDateEdit>
#include <QFont>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace download {

namespace {

constexpr int kSymbolColumn = 1;
constexpr int kLastDateColumn = 2;

bool isTicked(const QTreeWidgetItem* row)
{
    return row->checkState(0) == Qt::Checked;
}

bool isHeader(const QTreeWidgetItem* row)
{
    return row->text(kSymbolColumn).trimmed().isEmpty();
}

} // namespace

frmDownload::frmDownload(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , Text1(context::named(new QLineEdit(this), "Text1"))
    , Command1(context::named(new QPushButton(QStringLiteral("..."), this), "Command1"))
    , Command2(context::named(new QPushButton(QStringLiteral("&Add"), this), "Command2"))
    , Command3(context::named(new QPushButton(QStringLiteral("&Remove"), this), "Command3"))
    , ListView2(context::named(new QTreeWidget(this), "ListView2"))
    , ListView1(context::named(new QTreeWidget(this), "ListView1"))
    , Label1(context::named(new QLabel(QStringLiteral("No Securities Selected."), this), "Label1"))
    , Check1(context::named(new QCheckBox(QStringLiteral("Download Current Quote (If need)"), this), "Check1"))
    , Check2(context::named(new QCheckBox(QStringLiteral("Data Correction From"), this), "Check2"))
    , DTPicker1(context::named(new QDateEdit(this), "DTPicker1"))
    , Command4(context::named(new QPushButton(QStringLiteral("&Download"), this), "Command4"))
    , Command5(context::named(new QPushButton(QStringLiteral("&Close"), this), "Command5"))
    , Command6(context::named(new QPushButton(QStringLiteral("C&lear"), this), "Command6"))
    , Timer1(context::named(new QTimer(this), "Timer1"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmDownload"));
    setWindowTitle(QStringLiteral("Download"));

    ListView2->setHeaderLabels({QStringLiteral("Path")});
    ListView2->setRootIsDecorated(false);
    ListView2->setMaximumHeight(130);
    context::showAsReport(*ListView1,
                          {QStringLiteral("Security"), QStringLiteral("Symbol"), QStringLiteral("Last Date")},
                          {260});
    context::showShortDates(*DTPicker1, m_context.locale);
    Command1->setToolTip(QStringLiteral("Browse For Folder"));

    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(Text1, 1);
    folderRow->addWidget(Command1);
    folderRow->addWidget(Command2);
    folderRow->addWidget(Command3);
    auto* folders = new QGroupBox(QStringLiteral("Folders"), this);
    auto* foldersLayout = new QVBoxLayout(folders);
    foldersLayout->addLayout(folderRow);
    foldersLayout->addWidget(ListView2);
    auto* securities = new QGroupBox(QStringLiteral("Securities"), this);
    auto* securitiesLayout = new QVBoxLayout(securities);
    securitiesLayout->addWidget(ListView1, 1);
    securitiesLayout->addWidget(Label1);
    auto* options = new QGridLayout;
    options->addWidget(Check1, 0, 0, 1, 2);
    options->addWidget(Check2, 1, 0);
    options->addWidget(DTPicker1, 1, 1);
    options->setColumnStretch(2, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(folders);
    layout->addWidget(securities, 1);
    layout->addLayout(options);
    layout->addLayout(context::buttonRow({Command4, Command6, Command5}));
    resize(640, 620);

    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2, &QPushButton::clicked, this, [this] { Command2_Click(); });
    connect(Command3, &QPushButton::clicked, this, [this] { Command3_Click(); });
    connect(Command4, &QPushButton::clicked, this, [this] { Command4_Click(); });
    connect(Command5, &QPushButton::clicked, this, [this] { Command5_Click(); });
    connect(Command6, &QPushButton::clicked, this, [this] { Command6_Click(); });
    connect(ListView2, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item) { ListView2_ItemCheck(item); });
    connect(ListView1, &QTreeWidget::itemChanged, this, [this] { ListView1_ItemCheck(); });
    Timer1->setSingleShot(true);
    connect(Timer1, &QTimer::timeout, this, [this] { Timer1_Timer(); });

    Form_Load();
}

void frmDownload::Form_Load()
{
    context::centreOnScreen(*this);
    m_context.setStatusText(QStringLiteral("Download Listing."));
    DTPicker1->setDate(m_context.today());
    Check2->setChecked(m_context.state.dataCorrection);
    Check1->setChecked(m_context.state.downloadCurrentQuote);
    Timer1->start(0);
}

void frmDownload::Timer1_Timer()
{
    Timer1->stop();
    try {
        const QStringList saved = symbols::readSys(m_context);
        const QSignalBlocker blocker(ListView2);
        ListView2->clear();
        for (const QString& path : saved)
            addFolderRow(path);
    } catch (const symbols::DatabaseError& error) {
        context::showFailure(m_context, this, error.text());
    }
}

void frmDownload::done(int result)
{
    Form_Unload();
    QDialog::done(result);
}

void frmDownload::Form_Unload()
{
    QStringList folders;
    for (int i = 0; i < ListView2->topLevelItemCount(); ++i)
        folders.append(ListView2->topLevelItem(i)->text(0));
    try {
        symbols::writeSys(m_context, folders);
    } catch (const symbols::DatabaseError& error) {
        context::showFailure(m_context, this, error.text());
    }
}

void frmDownload::addFolderRow(const QString& path)
{
    const QSignalBlocker blocker(ListView2);
    auto* row = new QTreeWidgetItem(ListView2, {path});
    row->setCheckState(0, Qt::Unchecked);
}

void frmDownload::Command1_Click()
{
    QString folder = context::BrowseForFolder(m_context, this, QStringLiteral("Browse For Folder"));
    if (folder.isEmpty())
        return;
    // A drive root comes back as "C:\"; it is listed as "C:".
    if (folder.endsWith(QLatin1Char('\\')))
        folder.chop(1);
    Text1->setText(folder);
}

void frmDownload::Command2_Click()
{
    const QString folder = Text1->text().trimmed();
    if (folder.isEmpty())
        return;
    for (int i = 0; i < ListView2->topLevelItemCount(); ++i) {
        if (ListView2->topLevelItem(i)->text(0).trimmed() == folder) {
            m_context.prompter->information(this,
                                            QStringLiteral("Ticksmith"),
                                            QStringLiteral("Already Exists."),
                                            context::Prompter::Icon::Information);
            return;
        }
    }
    addFolderRow(folder);
}

void frmDownload::Command3_Click()
{
    QTreeWidgetItem* selected = ListView2->currentItem();
    if (!selected)
        return;
    const bool shown = isTicked(selected);
    delete selected;
    // The removed folder's securities leave the list; those of the folders still ticked stay.
    if (shown)
        listTickedFolders();
}

void frmDownload::ListView2_ItemCheck(QTreeWidgetItem* folder)
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    if (isTicked(folder))
        listFolder(folder->text(0));
    else
        listTickedFolders();
    QApplication::restoreOverrideCursor();
    countSelected();
}

void frmDownload::listTickedFolders()
{
    {
        const QSignalBlocker blocker(ListView1);
        ListView1->clear();
    }
    for (int i = 0; i < ListView2->topLevelItemCount(); ++i) {
        if (isTicked(ListView2->topLevelItem(i)))
            listFolder(ListView2->topLevelItem(i)->text(0));
    }
    countSelected();
}

void frmDownload::listFolder(const QString& folder)
{
    const QSignalBlocker blocker(ListView1);
    auto* header = new QTreeWidgetItem(ListView1, {folder, QString(), QString()});
    header->setCheckState(0, Qt::Checked);
    QFont bold = header->font(0);
    bold.setBold(true);
    header->setFont(0, bold);
    header->setFirstColumnSpanned(true);
    QList<ListedSecurity> securities;
    const store::Status status = listSecurities(folder, securities);
    // The listing ends at a folder's first failure; the header row says why.
    if (!status.ok())
        header->setToolTip(0, status.text());
    const QDate today = m_context.today();
    for (const ListedSecurity& security : securities) {
        auto* row = new QTreeWidgetItem(
            ListView1,
            {security.name, security.symbol, context::FormatBarDate(m_context.locale, security.lastDate)});
        row->setData(kLastDateColumn, LastDateRole, security.lastDate);
        row->setData(kLastDateColumn, FirstDateRole, security.firstDate);
        if (canDownload(security.lastDate))
            row->setCheckState(0, tickedByDefault(security.lastDate, today) ? Qt::Checked : Qt::Unchecked);
        else
            row->setFlags(row->flags() & ~Qt::ItemIsUserCheckable);
    }
}

void frmDownload::ListView1_ItemCheck()
{
    countSelected();
}

void frmDownload::countSelected()
{
    int count = 0;
    for (int i = 0; i < ListView1->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = ListView1->topLevelItem(i);
        if (isTicked(row) && !isHeader(row))
            ++count;
    }
    Label1->setText(count >= 1 ? QStringLiteral("%1 Securities Selected.").arg(count)
                               : QStringLiteral("No Securities Selected."));
}

void frmDownload::Command4_Click()
{
    QList<context::DownloadItem> list;
    QString folder;
    const QDate today = m_context.today();
    for (int i = 0; i < ListView1->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = ListView1->topLevelItem(i);
        if (isHeader(row)) {
            folder = row->text(0).trimmed();
            continue;
        }
        if (!isTicked(row))
            continue;
        const auto item = makeDownloadItem(row->text(kSymbolColumn),
                                           row->data(kLastDateColumn, FirstDateRole).toInt(),
                                           row->data(kLastDateColumn, LastDateRole).toInt(),
                                           folder,
                                           today);
        if (item)
            list.append(*item);
    }
    if (list.isEmpty()) {
        m_context.prompter->information(this,
                                        QStringLiteral("Ticksmith"),
                                        QStringLiteral("No Securities Selected."),
                                        context::Prompter::Icon::Information);
        return;
    }
    m_context.state.downloadList = list;
    m_context.state.downloadCurrentQuote = Check1->isChecked();
    m_context.state.dataCorrection = Check2->isChecked();
    if (Check2->isChecked())
        m_context.state.dataCorrectionFrom = dateText(DTPicker1->date());

    accept();
    frmDownloadProgress progress(m_context, parentWidget());
    m_context.runModal(progress);
}

void frmDownload::Command5_Click()
{
    reject();
}

void frmDownload::Command6_Click()
{
    {
        const QSignalBlocker blocker(ListView1);
        ListView1->clear();
    }
    countSelected();
    Text1->setFocus();
}

} // namespace download

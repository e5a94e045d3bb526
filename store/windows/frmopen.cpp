#include "frmopen.h"

#include "context/appcontext.h"
#include "context/helpers.h"
#include "context/windowhelpers.h"
#include "frmview.h"
#include "store/metastockreader.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace store {

frmOpen::frmOpen(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , Text1(context::named(new QLineEdit(this), "Text1"))
    , Command1(context::named(context::folderButton(new QToolButton(this), QStringLiteral("Browse")), "Command1"))
    , Text2(context::named(new QLineEdit(this), "Text2"))
    , ListView1(context::named(new QTreeWidget(this), "ListView1"))
    , Command2(context::named(new QPushButton(QStringLiteral("&Open"), this), "Command2"))
    , Command3(context::named(new QPushButton(QStringLiteral("&Cancel"), this), "Command3"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmOpen"));
    setWindowTitle(QStringLiteral("Open Security"));

    // Enter belongs to the Directory box and the list; it must not press a default button as well.
    Command2->setAutoDefault(false);
    Command3->setAutoDefault(false);
    context::showAsReport(*ListView1,
                          {QStringLiteral("Security Name"),
                           QStringLiteral("Symbol"),
                           QStringLiteral("File Name"),
                           QStringLiteral("Last Date")},
                          {220});
    ListView1->setUniformRowHeights(true);
    context::onKeyPress(*Text1, [this](const QKeyEvent& key) { return Text1_KeyPress(key); });
    context::onKeyPress(*ListView1, [this](const QKeyEvent& key) { return ListView1_KeyPress(key); });

    auto* fields = new QGridLayout;
    context::addFieldRow(*fields, 0, QStringLiteral("Directory"), Text1, Command1);
    fields->addWidget(new QLabel(QStringLiteral("Security"), this), 1, 0);
    fields->addWidget(Text2, 1, 1, 1, 2);
    auto* frame = context::named(new QGroupBox(QStringLiteral("Available Securities"), this), "Frame1");
    auto* frameLayout = new QVBoxLayout(frame);
    frameLayout->addWidget(ListView1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addWidget(frame, 1);
    layout->addLayout(context::buttonRow({Command2, Command3}));
    resize(560, 400);

    connect(Command1, &QToolButton::clicked, this, [this] { Command1_Click(); });
    connect(ListView1, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* row) { ListView1_Click(row); });
    connect(ListView1, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* row) {
        ListView1_Click(row);
        Command2_Click();
    });
    connect(Command2, &QPushButton::clicked, this, [this] { Command2_Click(); });
    connect(Command3, &QPushButton::clicked, this, [this] { reject(); });

    Form_Load();
}

frmOpen::~frmOpen() = default;

void frmOpen::Form_Load()
{
    context::centreOnScreen(*this);
    const QString& current = m_context.state.currentFolder;
    Text1->setText(current.isEmpty() ? m_context.programFolder : current);
    fillList();
}

void frmOpen::done(int result)
{
    m_context.state.currentFolder = Text1->text().trimmed();
    QDialog::done(result);
}

bool frmOpen::Text1_KeyPress(const QKeyEvent& key)
{
    if (!context::isEnter(key))
        return false;
    fillList();
    return true;
}

bool frmOpen::ListView1_KeyPress(const QKeyEvent& key)
{
    if (!context::isEnter(key))
        return false;
    ListView1_Click(ListView1->currentItem());
    Command2_Click();
    return true;
}

// A failing step ends the listing where it is: the rows added so far stay, and nothing is shown.
void frmOpen::fillList()
{
    if (!m_reader)
        m_reader = std::make_unique<MetaStockReader>();
    MetaStockReader& reader = *m_reader;
    // A folder that cannot be listed leaves the list as it was.
    if (!reader.OpenFolder(Text1->text().trimmed()).ok())
        return;
    ListView1->clear();
    const QIcon picture = style()->standardIcon(QStyle::SP_FileIcon);
    qint32 more = 0;
    while (reader.HasMoreSecurities(more).ok() && more >= 1) {
        QString name, symbol, fileName;
        qint32 lastDate = 0;
        if (!reader.NextSecurity().ok() || !reader.GetName(name).ok() || !reader.GetSymbol(symbol).ok()
            || !reader.GetFileName(fileName).ok() || !reader.GetLastDate(lastDate).ok())
            return;
        auto* row = new QTreeWidgetItem(ListView1, {name, symbol, fileName, QString::number(lastDate)});
        row->setIcon(0, picture);
    }
    (void)reader.Close();
}

void frmOpen::Command1_Click()
{
    const QString folder = context::BrowseForFolder(m_context, this, QStringLiteral("Browse For Folder"));
    if (folder.isEmpty())
        return;
    Text1->setText(folder);
    fillList();
}

void frmOpen::ListView1_Click(const QTreeWidgetItem* row)
{
    if (row)
        Text2->setText(row->text(0));
}

void frmOpen::Command2_Click()
{
    if (Text2->text().isEmpty()) {
        m_context.prompter->information(this, QStringLiteral("Ticksmith"), QStringLiteral("No Security Selected."));
        return;
    }
    addRecentEntry();
    // The reader is not pointed at the chosen row: the symbol is that of the security listed last.
    QString symbol;
    if (!m_reader || !m_reader->GetSymbol(symbol).ok())
        return;
    const QString folder = Text1->text().trimmed();
    const QString name = Text2->text().trimmed();
    if (chartMode == 0) {
        openDataSheet(m_context, folder, name, symbol);
    } else {
        if (!m_context.makeChart)
            return;
        QWidget* chart = m_context.makeChart(folder, name, symbol);
        chart->setWindowTitle(QStringLiteral("Chart of ") + name);
        m_context.showChild(chart);
    }
    accept();
}

// An entry whose caption equals the typed name is not added twice. Entries made here are numbered
// ("&2 Gold"), so only an entry made in another form can match and the same security opened twice
// from here is listed twice.
void frmOpen::addRecentEntry()
{
    const QString typed = Text2->text().trimmed();
    for (const context::RecentSecurity& entry : m_context.state.recent) {
        if (entry.caption.trimmed() == typed)
            return;
    }
    m_context.addRecent(Text2->text(), Text1->text(), context::RecentCaption::Numbered);
}

} // namespace store

#include "frmfinder.h"

#include "context/appcontext.h"
#include "context/helpers.h"
#include "context/windowhelpers.h"
#include "store/securitysearch.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace store {

namespace {

// The hit counter of the search loop is a 16-bit number: the list ends when it would pass this, with
// the first row and this many further ones.
constexpr int kMaxFurtherHits = 32767;

} // namespace

frmFinder::frmFinder(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , Text1(context::named(new QLineEdit(this), "Text1"))
    , Text2(context::named(new QLineEdit(this), "Text2"))
    , Command3(
          context::named(context::folderButton(new QPushButton(this), QStringLiteral("Browse Folder")), "Command3"))
    , Check1(context::named(new QCheckBox(QStringLiteral("Include Subdirectories"), this), "Check1"))
    , Command1(context::named(new QPushButton(QStringLiteral("&Search"), this), "Command1"))
    , Command2(context::named(new QPushButton(QStringLiteral("&Close"), this), "Command2"))
    , ListView1(context::named(new QTreeWidget(this), "ListView1"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmFinder"));
    setWindowTitle(QStringLiteral("Security Finder"));

    // Enter searches only from the pattern box; elsewhere it must not press a button Qt picks.
    for (QPushButton* button : {Command3, Command1, Command2})
        button->setAutoDefault(false);
    context::onKeyPress(*Text1, [this](const QKeyEvent& key) { return Text1_KeyPress(key); });
    context::showAsReport(*ListView1,
                          {QStringLiteral("Security Name"), QStringLiteral("Symbol"), QStringLiteral("File Name")},
                          {280, 110});
    ListView1->setUniformRowHeights(true); // tens of thousands of rows stay quick to show

    auto* pattern = new QHBoxLayout;
    pattern->addWidget(Text1, 1);
    pattern->addWidget(new QLabel(QStringLiteral("( * wild card accepted )"), this));
    auto* fields = new QGridLayout;
    fields->addWidget(new QLabel(QStringLiteral("Symbol/Security"), this), 0, 0);
    fields->addLayout(pattern, 0, 1, 1, 2);
    context::addFieldRow(*fields, 1, QStringLiteral("Directory"), Text2, Command3);
    fields->addWidget(Check1, 2, 1);
    fields->setColumnStretch(1, 1);
    auto* frame = new QGroupBox(QStringLiteral("Search Result"), this);
    auto* frameLayout = new QVBoxLayout(frame);
    frameLayout->addWidget(new QLabel(QStringLiteral("Search Results"), frame));
    frameLayout->addWidget(ListView1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addWidget(frame, 1);
    layout->addLayout(context::buttonRow({Command1, Command2}));
    resize(620, 460);

    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2, &QPushButton::clicked, this, [this] { Command2_Click(); });
    connect(Command3, &QPushButton::clicked, this, [this] { Command3_Click(); });

    Form_Load();
}

frmFinder::~frmFinder() = default;

void frmFinder::Form_Load()
{
    context::centreOnScreen(*this);
    Text2->setText(m_context.state.finderFolder);
}

// However the window closes, a folder in the box is remembered for the next time in this run; an empty
// box keeps the folder remembered before.
void frmFinder::done(int result)
{
    if (const QString folder = Text2->text().trimmed(); !folder.isEmpty())
        m_context.state.finderFolder = folder;
    QDialog::done(result);
}

bool frmFinder::Text1_KeyPress(const QKeyEvent& key)
{
    return context::typeUpperCase(*Text1, key, [this] { Command1_Click(); });
}

void frmFinder::Command3_Click()
{
    Text2->setText(context::BrowseForFolder(m_context, this, QStringLiteral("Browse Folder")).trimmed());
}

void frmFinder::Command2_Click()
{
    reject();
}

void frmFinder::Command1_Click()
{
    const QString folder = Text2->text().trimmed();
    if (folder.isEmpty()) {
        m_context.prompter->information(this,
                                        QStringLiteral("Ticksmith"),
                                        QStringLiteral("Search Folder Not Provide."));
        Text2->setFocus();
        return;
    }
    ListView1->clear();
    search(Text1->text().trimmed(), folder);
}

void frmFinder::search(const QString& pattern, const QString& folder)
{
    if (!m_search)
        m_search = std::make_unique<SecuritySearch>();
    SecuritySearch& search = *m_search;
    // The status text shows while the search runs; between folders the window repaints, but takes no
    // clicks or keys, so a second search cannot start inside the first.
    const QString statusBefore = m_context.state.statusText;
    search.setProgress([this, statusBefore](const QString& text, const QString&) {
        if (text.isEmpty()) {
            m_context.setStatusText(statusBefore);
            return;
        }
        if (m_context.state.statusText != text)
            m_context.setStatusText(text);
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    });

    // Any failure ends the search without a word, keeping the rows found so far; the end of the hits
    // is such a failure. The rows are shown at once when the search ends, which is much quicker than
    // adding tens of thousands one by one.
    QList<QTreeWidgetItem*> rows;
    auto addHit = [&search, &rows] {
        QString name, symbol, fileName, hitFolder;
        if (!search.GetName(name).ok() || !search.GetSymbol(symbol).ok() || !search.GetFileName(fileName).ok()
            || !search.GetFolder(hitFolder).ok())
            return false;
        auto* row = new QTreeWidgetItem({name, symbol, fileName});
        for (int column = 0; column < 3; ++column)
            row->setToolTip(column, hitFolder);
        rows.append(row);
        return true;
    };
    if (search.SetOption(true).ok() && search.SetIncludeSubfolders(Check1->isChecked()).ok()
        && search.SetStatusText(QStringLiteral("Finding.....")).ok() && search.Start(pattern, folder).ok()
        && addHit()) {
        int counter = 0;
        while (search.NextHit().ok() && counter < kMaxFurtherHits) {
            ++counter;
            if (!addHit())
                break;
        }
    }
    search.setProgress({});
    ListView1->addTopLevelItems(rows);
}

} // namespace store

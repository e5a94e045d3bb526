#include "frmcreatemultiple.h"

#include "context/appcontext.h"
#include "context/helpers.h"
#include "context/windowhelpers.h"
#include "newsecurity.h"
#include "store/arguments.h"
#include "store/metastockwriter.h"
#include "store/progresswindow.h"
#include "symbols/windows/frmlookup.h"

#include <QDateEdit>
#include <QDir>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace store {

namespace {

constexpr int kSymbolColumn = 1;

} // namespace

frmCreateMultiple::frmCreateMultiple(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , Text1(context::named(new QLineEdit(this), "Text1"))
    , Command1(
          context::named(context::folderButton(new QPushButton(this), QStringLiteral("Browse For Folder")), "Command1"))
    , DTPicker1(context::named(new QDateEdit(this), "DTPicker1"))
    , ListView1(context::named(new QTreeWidget(this), "ListView1"))
    , Command2(context::named(new QPushButton(QStringLiteral("Symbol Lookup"), this), "Command2"))
    , Command3(context::named(new QPushButton(QStringLiteral("Create"), this), "Command3"))
    , Command4(context::named(new QPushButton(QStringLiteral("Close"), this), "Command4"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmCreateMultiple"));
    setWindowTitle(QStringLiteral("Create Multiple Securities"));

    for (QPushButton* button : {Command1, Command2, Command3, Command4})
        button->setAutoDefault(false);
    context::showShortDates(*DTPicker1, m_context.locale);
    // The dates a folder can hold; the picker offers no other, so no row can fail on its date.
    DTPicker1->setDateRange(store::firstStorableDate(), store::lastStorableDate());
    context::showAsReport(*ListView1, {QStringLiteral("Security Name"), QStringLiteral("Symbol")}, {300});

    auto* fields = new QGridLayout;
    context::addFieldRow(*fields, 0, QStringLiteral("Folder"), Text1, Command1);
    fields->addWidget(new QLabel(QStringLiteral("First Date"), this), 1, 0);
    fields->addWidget(DTPicker1, 1, 1, Qt::AlignLeft);
    fields->setColumnStretch(1, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addWidget(ListView1, 1);
    layout->addLayout(context::buttonRow({Command2}, {Command3, Command4}));
    resize(520, 420);

    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2, &QPushButton::clicked, this, [this] { Command2_Click(); });
    connect(Command3, &QPushButton::clicked, this, [this] { Command3_Click(); });
    connect(Command4, &QPushButton::clicked, this, [this] { Command4_Click(); });

    Form_Load();
}

frmCreateMultiple::~frmCreateMultiple() = default;

void frmCreateMultiple::Form_Load()
{
    context::centreOnScreen(*this);
    DTPicker1->setDate(m_context.today());
    Text1->setText(startingFolder(m_context));
    // The rows of one choice are not checked against each other: the lookup lists each entry once.
    ListView1->clear();
    const auto& state = m_context.state;
    for (qsizetype i = 0; i < state.lookupNames.size() && i < state.lookupSymbols.size(); ++i)
        addRow(state.lookupNames[i], state.lookupSymbols[i]);
}

void frmCreateMultiple::addRow(const QString& name, const QString& symbol)
{
    ListView1->addTopLevelItem(new QTreeWidgetItem({name, symbol}));
}

bool frmCreateMultiple::CheckDup(const QString& name) const
{
    for (int i = 0; i < ListView1->topLevelItemCount(); ++i) {
        if (ListView1->topLevelItem(i)->text(0) == name)
            return true;
    }
    return false;
}

void frmCreateMultiple::Command1_Click()
{
    // The chosen folder ends with a separator, as typed paths to a folder often do. A cancelled dialog
    // leaves the box empty rather than naming the root folder.
    const QString folder = context::BrowseForFolder(m_context, this, QStringLiteral("Browse For Folder"));
    const QString separator = QDir::separator();
    Text1->setText(folder.isEmpty() || folder.endsWith(separator) ? folder : folder + separator);
}

void frmCreateMultiple::Command2_Click()
{
    symbols::frmLookup lookup(m_context, this);
    lookup.setMultipleChoice(true);
    m_context.runModal(lookup);
    const auto& state = m_context.state;
    for (qsizetype i = 0; i < state.lookupNames.size() && i < state.lookupSymbols.size(); ++i) {
        if (!CheckDup(state.lookupNames[i]))
            addRow(state.lookupNames[i], state.lookupSymbols[i]);
    }
}

void frmCreateMultiple::Command3_Click()
{
    const QString folder = Text1->text().trimmed();
    if (folder.isEmpty()) {
        m_context.prompter->information(this, kCreateTitle, QStringLiteral("Please give the Folder."));
        return;
    }
    if (!m_writer)
        m_writer = std::make_unique<MetaStockWriter>();
    MetaStockWriter& writer = *m_writer;
    if (!folderReady(m_context, this, writer, folder))
        return;
    carryOn(writer.OpenFolder(folder));

    // Each security reaches the disk as it is made, so a long list takes a while: the progress window
    // shows how far it is, and Cancel stops before the next row.
    const int rows = ListView1->topLevelItemCount();
    ProgressWindow progress;
    carryOn(progress.Open());
    carryOn(progress.SetRange(0, rows));
    carryOn(progress.SetCaption(windowTitle()));
    carryOn(progress.SetLabel(QStringLiteral("Creating securities....")));
    carryOn(progress.SetVisible(rows > 0 ? 1 : 0));
    for (int i = 0; i < rows; ++i) {
        const QTreeWidgetItem* row = ListView1->topLevelItem(i);
        createRow(writer, row->text(0).trimmed(), row->text(kSymbolColumn).trimmed());
        carryOn(progress.Step());
        bool cancelled = false;
        if (progress.IsCancelled(cancelled).ok() && cancelled)
            break;
    }
    carryOn(progress.Close());
    carryOn(writer.CloseFolder());
    m_context.prompter->information(this, QStringLiteral("The Ticksmith"), QStringLiteral("Securities are created."));
}

void frmCreateMultiple::createRow(MetaStockWriter& writer, const QString& name, const QString& symbol)
{
    bool exists = false;
    carryOn(writer.SecurityExists(symbol, exists));
    if (exists) {
        m_context.prompter->information(this,
                                        kCreateTitle,
                                        QStringLiteral("Security ") + symbol + QStringLiteral(" Already Exists."));
        return;
    }
    // A catalogue entry the folder cannot hold (a name or symbol too long) is named rather than left
    // out without a word; the other rows are still created.
    if (Status status = checkNewSecurity(symbol, name, DTPicker1->date()); !status.ok()) {
        m_context.prompter->information(this, kCreateTitle, status.text() + u'.');
        return;
    }
    createEmptySecurity(writer, symbol, name, Daily, DTPicker1->date());
    carryOn(writer.CloseSecurity());
}

void frmCreateMultiple::Command4_Click()
{
    reject();
}

} // namespace store

#include "frmlookup.h"

#include "context/appcontext.h"
#include "context/windowhelpers.h"
#include "frmaddnew.h"

#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace symbols {

namespace {

constexpr int kSymbolColumn = 1;

} // namespace

frmLookup::frmLookup(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , Combo1(context::named(new QComboBox(this), "Combo1"))
    , ListView1(context::named(new QTreeWidget(this), "ListView1"))
    , Text1(context::named(new QLineEdit(this), "Text1"))
    , Command1(context::named(new QPushButton(QStringLiteral("&OK"), this), "Command1"))
    , Command2(context::named(new QPushButton(QStringLiteral("&New"), this), "Command2"))
    , Command3(context::named(new QPushButton(QStringLiteral("&Close"), this), "Command3"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmLookup"));
    setWindowTitle(QStringLiteral("Symbol Lookup"));

    Combo1->setEditable(false);
    context::onKeyPress(*Combo1, [this](const QKeyEvent& key) { return Combo1_KeyPress(key); });
    context::showAsReport(*ListView1,
                          {QStringLiteral("Security"), QStringLiteral("Symbol"), QStringLiteral("Exchange")},
                          {280, 110});
    Text1->setReadOnly(true);

    auto* top = new QHBoxLayout;
    top->addWidget(new QLabel(QStringLiteral("Exchange"), this));
    top->addWidget(Combo1, 1);
    auto* frame = new QGroupBox(QStringLiteral("Securities Available"), this);
    auto* frameLayout = new QVBoxLayout(frame);
    frameLayout->addWidget(ListView1);
    auto* selected = new QHBoxLayout;
    selected->addWidget(new QLabel(QStringLiteral("Security Selected"), this));
    selected->addWidget(Text1, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(frame, 1);
    layout->addLayout(selected);
    layout->addLayout(context::buttonRow({Command1, Command2, Command3}));
    resize(680, 460);

    connect(Combo1, &QComboBox::currentIndexChanged, this, [this] { Combo1_Click(); });
    connect(ListView1, &QTreeWidget::itemClicked, this, [this] { ListView1_Click(); });
    connect(ListView1, &QTreeWidget::itemDoubleClicked, this, [this] { ListView1_DblClick(); });
    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2, &QPushButton::clicked, this, [this] { Command2_Click(); });
    connect(Command3, &QPushButton::clicked, this, [this] { Command3_Click(); });

    setMultipleChoice(false);
    Form_Load();
}

void frmLookup::setMultipleChoice(bool multiple)
{
    m_multipleChoice = multiple;
    ListView1->setSelectionMode(multiple ? QAbstractItemView::ExtendedSelection : QAbstractItemView::SingleSelection);
}

void frmLookup::frmlookupload()
{
    Form_Load();
}

void frmLookup::Form_Load()
{
    context::centreOnScreen(*this);
    {
        const QSignalBlocker blocker(Combo1);
        Combo1->clear();
    }
    ListView1->clear();
    try {
        const auto database = openDatabase(m_context);
        Recordset rows = database->query(sql::kLookupLoad);
        const std::vector<CatalogueEntry> entries = readEntries(rows);
        {
            const QSignalBlocker blocker(Combo1);
            Combo1->addItem(QStringLiteral("All"));
            Combo1->addItems(exchangeChanges(entries));
        }
        fillList(entries);
        if (Combo1->count() > 0) {
            // Choosing "All" fills the list again, as picking it by hand would.
            {
                const QSignalBlocker blocker(Combo1);
                Combo1->setCurrentIndex(0);
            }
            Combo1_Click();
        }
    } catch (const DatabaseError& error) {
        context::showFailure(m_context, this, error.text());
    }
}

void frmLookup::Combo1_Click()
{
    const QString exchange = Combo1->currentText().trimmed();
    try {
        const auto database = openDatabase(m_context);
        Recordset rows =
            database->query(exchange == QLatin1String("All") ? sql::kLookupAll : sql::lookupExchange(exchange));
        fillList(readEntries(rows));
    } catch (const DatabaseError& error) {
        context::showFailure(m_context, this, error.text());
    }
}

void frmLookup::fillList(const std::vector<CatalogueEntry>& entries)
{
    ListView1->clear();
    QList<QTreeWidgetItem*> items;
    for (const CatalogueEntry& entry : entries)
        items.append(new QTreeWidgetItem({entry.security, entry.symbol, entry.exchange}));
    ListView1->addTopLevelItems(items);
}

bool frmLookup::Combo1_KeyPress(const QKeyEvent& key)
{
    // Typed characters are ignored, so typing never jumps to another exchange; arrow keys still move.
    return !key.text().trimmed().isEmpty();
}

void frmLookup::ListView1_Click()
{
    if (ListView1->topLevelItemCount() > 0 && ListView1->currentItem())
        Text1->setText(ListView1->currentItem()->text(0).trimmed());
}

void frmLookup::ListView1_DblClick()
{
    Command1_Click();
}

void frmLookup::Command1_Click()
{
    m_selectedSecurity.clear();
    m_selectedSymbol.clear();
    if (ListView1->topLevelItemCount() > 0) {
        if (m_multipleChoice) {
            m_context.state.lookupNames.clear();
            m_context.state.lookupSymbols.clear();
            for (int i = 0; i < ListView1->topLevelItemCount(); ++i) {
                const QTreeWidgetItem* item = ListView1->topLevelItem(i);
                if (item->isSelected()) {
                    m_context.state.lookupNames.append(item->text(0).trimmed());
                    m_context.state.lookupSymbols.append(item->text(kSymbolColumn).trimmed());
                }
            }
        } else if (const auto selected = ListView1->selectedItems(); !selected.isEmpty()) {
            m_selectedSecurity = selected.first()->text(0).trimmed();
            m_selectedSymbol = selected.first()->text(kSymbolColumn).trimmed();
        }
    }
    accept();
}

void frmLookup::Command2_Click()
{
    frmAddNew addNew(m_context, this, this);
    m_context.runModal(addNew);
}

void frmLookup::Command3_Click()
{
    m_selectedSecurity.clear();
    m_selectedSymbol.clear();
    reject();
}

} // namespace symbols

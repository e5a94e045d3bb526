#include "frmaddnew.h"

#include "context/appcontext.h"
#include "context/windowhelpers.h"
#include "frmlookup.h"
#include "symbols/symbolsdb.h"

#include <QComboBox>
#include <QFormLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace symbols {

frmAddNew::frmAddNew(context::AppContext& context, frmLookup* lookup, QWidget* parent)
    : QDialog(parent)
    , Text1(context::named(new QLineEdit(this), "Text1"))
    , Text2(context::named(new QLineEdit(this), "Text2"))
    , Combo1(context::named(new QComboBox(this), "Combo1"))
    , Command1(context::named(new QPushButton(QStringLiteral("&Add"), this), "Command1"))
    , Command2(context::named(new QPushButton(QStringLiteral("&Close"), this), "Command2"))
    , m_context(context)
    , m_lookup(lookup)
{
    setObjectName(QStringLiteral("frmAddNew"));
    setWindowTitle(QStringLiteral("Add New Security"));

    Combo1->setEditable(true);
    Combo1->setInsertPolicy(QComboBox::NoInsert);
    context::onKeyPress(*Text2, [this](const QKeyEvent& key) { return Text2_KeyPress(key); });

    auto* fields = new QFormLayout;
    fields->addRow(QStringLiteral("Security Name"), Text1);
    fields->addRow(QStringLiteral("Symbol"), Text2);
    fields->addRow(QStringLiteral("Exchange"), Combo1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addLayout(context::buttonRow({Command1, Command2}));
    resize(420, 160);

    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2, &QPushButton::clicked, this, [this] { Command2_Click(); });

    Form_Load();
}

frmAddNew::~frmAddNew() = default;

void frmAddNew::Form_Load()
{
    context::centreOnScreen(*this);
    try {
        m_database = openDatabase(m_context);
        m_recordset = m_database->query(sql::kAddNew);
        Combo1->addItems(exchangeChanges(readEntries(*m_recordset)));
        Combo1->setCurrentIndex(-1);
    } catch (const DatabaseError& error) {
        m_recordset.reset();
        m_database.reset();
        m_openError = error.text();
        context::showFailure(m_context, this, m_openError);
    }
}

bool frmAddNew::Text2_KeyPress(const QKeyEvent& key)
{
    return context::typeUpperCase(*Text2, key);
}

void frmAddNew::Command1_Click()
{
    const QString name = Text1->text().trimmed();
    const QString symbol = Text2->text().trimmed();
    const QString exchange = Combo1->currentText().trimmed();
    if (name.isEmpty() && symbol.isEmpty() && exchange.isEmpty()) {
        m_context.prompter->information(this, QStringLiteral("Ticksmith"), QStringLiteral("Fill all fields."));
        return;
    }
    if (!m_recordset) {
        context::showFailure(m_context, this, m_openError);
        return;
    }
    try {
        m_recordset->addNew();
        m_recordset->setField(0, name);
        m_recordset->setField(1, symbol);
        m_recordset->setField(2, exchange);
        m_recordset->update();
    } catch (const DatabaseError& error) {
        context::showFailure(m_context, this, error.text());
        return;
    }
    Text1->clear();
    Text2->clear();
    Text1->setFocus();
}

void frmAddNew::Command2_Click()
{
    reject();
}

void frmAddNew::done(int result)
{
    QDialog::done(result);
    Form_Unload();
}

void frmAddNew::Form_Unload()
{
    if (m_unloaded)
        return;
    m_unloaded = true;
    if (m_recordset)
        m_recordset->close();
    m_recordset.reset();
    if (m_database)
        m_database->close();
    m_database.reset();
    if (m_lookup)
        m_lookup->frmlookupload();
}

} // namespace symbols

#include "frmcreate.h"

#include "context/appcontext.h"
#include "context/helpers.h"
#include "context/windowhelpers.h"
#include "newsecurity.h"
#include "store/metastockwriter.h"
#include "symbols/windows/frmlookup.h"

#include <QComboBox>
#include <QDateEdit>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace store {

frmCreate::frmCreate(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , Text1(context::named(new QLineEdit(this), "Text1"))
    , Command1(context::named(new QPushButton(QStringLiteral("&Browse"), this), "Command1"))
    , Text2(context::named(new QLineEdit(this), "Text2"))
    , Text3(context::named(new QLineEdit(this), "Text3"))
    , Command2(context::named(new QPushButton(QStringLiteral("&Symbol Lookup"), this), "Command2"))
    , DTPicker1(context::named(new QDateEdit(this), "DTPicker1"))
    , Combo1(context::named(new QComboBox(this), "Combo1"))
    , Command3(context::named(new QPushButton(QStringLiteral("Create"), this), "Command3"))
    , Command4(context::named(new QPushButton(QStringLiteral("&OK"), this), "Command4"))
    , Command5(context::named(new QPushButton(QStringLiteral("&Close"), this), "Command5"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmCreate"));
    setWindowTitle(QStringLiteral("Create New Security"));

    // Enter creates only from the Symbol box; elsewhere it must not press whichever button Qt would
    // otherwise make the default (Browse, the first one).
    for (QPushButton* button : {Command1, Command2, Command3, Command4, Command5})
        button->setAutoDefault(false);
    context::onKeyPress(*Text3, [this](const QKeyEvent& key) { return Text3_KeyPress(key); });
    context::showShortDates(*DTPicker1, m_context.locale);
    Combo1->addItems({QStringLiteral("Daily"), QStringLiteral("Weekly"), QStringLiteral("Monthly")});

    auto* fields = new QGridLayout;
    context::addFieldRow(*fields, 0, QStringLiteral("Folder"), Text1, Command1);
    fields->addWidget(new QLabel(QStringLiteral("Name"), this), 1, 0);
    fields->addWidget(Text2, 1, 1, 1, 2);
    context::addFieldRow(*fields, 2, QStringLiteral("Symbol"), Text3, Command2);
    context::addFieldRow(*fields, 3, QStringLiteral("First Date"), DTPicker1);
    context::addFieldRow(*fields, 4, QStringLiteral("Periodicity"), Combo1);
    fields->setColumnStretch(1, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addLayout(context::buttonRow({Command3, Command4, Command5}));
    resize(480, 220);

    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2, &QPushButton::clicked, this, [this] { Command2_Click(); });
    connect(Command3, &QPushButton::clicked, this, [this] { Command3_Click(); });
    connect(Command4, &QPushButton::clicked, this, [this] { Command4_Click(); });
    connect(Command5, &QPushButton::clicked, this, [this] { Command5_Click(); });

    Form_Load();
}

frmCreate::~frmCreate() = default;

void frmCreate::Form_Load()
{
    context::centreOnScreen(*this);
    DTPicker1->setDate(m_context.today());
    Text1->setText(startingFolder(m_context));
    Combo1->setCurrentIndex(0);
}

void frmCreate::done(int result)
{
    m_context.state.currentFolder = Text1->text().trimmed();
    QDialog::done(result);
}

bool frmCreate::Text3_KeyPress(const QKeyEvent& key)
{
    return context::typeUpperCase(*Text3, key, [this] { Command3_Click(); });
}

void frmCreate::Command1_Click()
{
    Text1->setText(
        context::BrowseForFolder(m_context, this, QStringLiteral("Select a directory that contains MetaStock files!")));
}

void frmCreate::Command2_Click()
{
    symbols::frmLookup lookup(m_context, this);
    m_context.runModal(lookup);
    if (lookup.selectedSecurity().isEmpty())
        return;
    Text2->setText(lookup.selectedSecurity().trimmed());
    Text3->setText(lookup.selectedSymbol().trimmed());
}

void frmCreate::Command3_Click()
{
    createSecurity();
}

void frmCreate::Command4_Click()
{
    // Unusable fields keep the window open for correcting them; past that test it closes whatever
    // happens, also after "Already Exists." or a refused folder.
    if (!fieldsUsable())
        return;
    createSecurity();
    accept();
}

void frmCreate::Command5_Click()
{
    reject();
}

// Every field filled, and a symbol, name and first date the folder can hold. Tells the user what is
// wrong and gives false otherwise; nothing on disk is touched either way.
bool frmCreate::fieldsUsable()
{
    if (Text1->text().trimmed().isEmpty() || Text2->text().trimmed().isEmpty() || Text3->text().trimmed().isEmpty()) {
        m_context.prompter->information(this, kCreateTitle, QStringLiteral("All Fields Are Neccessary."));
        return false;
    }
    if (Status status = checkNewSecurity(Text3->text(), Text2->text(), DTPicker1->date()); !status.ok()) {
        m_context.prompter->information(this, kCreateTitle, status.text() + u'.');
        return false;
    }
    return true;
}

void frmCreate::createSecurity()
{
    if (!fieldsUsable())
        return;
    const QString folder = Text1->text().trimmed();
    const QString name = Text2->text().trimmed();
    const QString symbol = Text3->text().trimmed();

    if (!m_writer)
        m_writer = std::make_unique<MetaStockWriter>();
    MetaStockWriter& writer = *m_writer;
    if (!folderReady(m_context, this, writer, folder))
        return;
    carryOn(writer.OpenFolder(folder));
    bool exists = false;
    carryOn(writer.SecurityExists(symbol, exists));
    if (exists) {
        m_context.prompter->information(this, kCreateTitle, QStringLiteral("Already Exists."));
    } else {
        createEmptySecurity(writer, symbol, name, Combo1->currentIndex() + 1, DTPicker1->date());
        m_context.addRecent(name, folder, context::RecentCaption::FolderAndName);
        carryOn(writer.CloseSecurity());
    }
    carryOn(writer.CloseFolder());
    Text2->clear();
    Text3->clear();
    Text2->setFocus();
}

} // namespace store

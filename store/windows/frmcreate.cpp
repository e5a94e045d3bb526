#include "frmcreate.h"

#include "context/appcontext.h"
#include "context/helpers.h"
#include "context/windowhelpers.h"
#include "store/arguments.h"
#include "store/metastockwriter.h"
#include "symbols/windows/frmlookup.h"

#include <QComboBox>
#include <QDateEdit>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace store {

namespace {

const QString kTitle = QStringLiteral("Ticksmith");

// A failing step of a creation does not stop it: the next step runs as if this one had succeeded, and
// nothing is shown. Every status of the sequence passes through here, so that this is a visible choice.
void carryOn(const Status&) {}

} // namespace

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
    Text3->installEventFilter(this);
    DTPicker1->setCalendarPopup(true);
    DTPicker1->setDisplayFormat(context::GetShortDatePattern(m_context.locale));
    Combo1->addItems({QStringLiteral("Daily"), QStringLiteral("Weekly"), QStringLiteral("Monthly")});

    auto* fields = new QGridLayout;
    fields->addWidget(new QLabel(QStringLiteral("Folder"), this), 0, 0);
    fields->addWidget(Text1, 0, 1);
    fields->addWidget(Command1, 0, 2);
    fields->addWidget(new QLabel(QStringLiteral("Name"), this), 1, 0);
    fields->addWidget(Text2, 1, 1, 1, 2);
    fields->addWidget(new QLabel(QStringLiteral("Symbol"), this), 2, 0);
    fields->addWidget(Text3, 2, 1);
    fields->addWidget(Command2, 2, 2);
    fields->addWidget(new QLabel(QStringLiteral("First Date"), this), 3, 0);
    fields->addWidget(DTPicker1, 3, 1);
    fields->addWidget(new QLabel(QStringLiteral("Periodicity"), this), 4, 0);
    fields->addWidget(Combo1, 4, 1);
    fields->setColumnStretch(1, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(Command3);
    buttons->addWidget(Command4);
    buttons->addWidget(Command5);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addLayout(buttons);
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
    const QString& current = m_context.state.currentFolder;
    Text1->setText(current.isEmpty() ? m_context.programFolder : current);
    Combo1->setCurrentIndex(0);
}

void frmCreate::done(int result)
{
    m_context.state.currentFolder = Text1->text().trimmed();
    QDialog::done(result);
}

bool frmCreate::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == Text3 && event->type() == QEvent::KeyPress)
        return Text3_KeyPress(*static_cast<QKeyEvent*>(event));
    return QDialog::eventFilter(watched, event);
}

bool frmCreate::Text3_KeyPress(const QKeyEvent& key)
{
    if (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter) {
        Command3_Click();
        return true;
    }
    return context::typeUpperCase(*Text3, key);
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
        m_context.prompter->information(this, kTitle, QStringLiteral("All Fields Are Neccessary."));
        return false;
    }
    // The writer refuses the same text; asking first means no folder is created for a security that
    // could never be written to it.
    QString normalized;
    for (const Status& status : {normalizeSymbol(Text3->text(), normalized),
                                 normalizeName(Text2->text(), normalized),
                                 checkDate(barDateText(DTPicker1->date()).toInt())}) {
        if (!status.ok()) {
            m_context.prompter->information(this, kTitle, status.text() + u'.');
            return false;
        }
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
    if (!QFileInfo(folder).isDir()) {
        if (!m_context.prompter->question(this, kTitle, QStringLiteral("Directory Not Found.\nDo You Want Create It?")))
            return;
        carryOn(writer.CreateFolder(folder));
    }
    carryOn(writer.OpenFolder(folder));
    bool exists = false;
    carryOn(writer.SecurityExists(symbol, exists));
    if (exists) {
        m_context.prompter->information(this, kTitle, QStringLiteral("Already Exists."));
    } else {
        carryOn(writer.CreateSecurity(symbol, name, Combo1->currentIndex() + 1));
        // One bar added and taken away again leaves the first date recorded and no bars.
        const QString firstDate = barDateText(DTPicker1->date());
        carryOn(writer.AddBar(firstDate.toInt(), 0, 0, 0, 0, 0, 0, 0));
        carryOn(writer.DeleteBar(firstDate));
        m_context.addRecent(name, folder, context::RecentCaption::FolderAndName);
        carryOn(writer.CloseSecurity());
    }
    carryOn(writer.CloseFolder());
    Text2->clear();
    Text3->clear();
    Text2->setFocus();
}

} // namespace store

#include "frmadjustsecurity.h"

#include "context/appcontext.h"
#include "context/windowhelpers.h"
#include "folderchooser.h"
#include "securitylist.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"

#include <QDateEdit>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace store {

frmAdjustSecurity::frmAdjustSecurity(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , folders(new FolderChooser(this))
    , List1(context::named(new QListWidget(this), "List1"))
    , Text1(context::named(new QLineEdit(this), "Text1"))
    , Text2(context::named(new QLineEdit(this), "Text2"))
    , DTPicker1(context::named(new QDateEdit(this), "DTPicker1"))
    , Command1(context::named(new QPushButton(QStringLiteral("&Change"), this), "Command1"))
    , Command2(context::named(new QPushButton(QStringLiteral("&Delete Security"), this), "Command2"))
    , Command3(context::named(new QPushButton(QStringLiteral("&Close"), this), "Command3"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmAdjustSecurity"));
    setWindowTitle(QStringLiteral("Adjust Security"));
    for (QPushButton* button : {Command1, Command2, Command3})
        button->setAutoDefault(false);
    Text2->installEventFilter(this);
    setUpBarDatePicker(*DTPicker1, m_context.locale);
    DTPicker1->setReadOnly(true);
    DTPicker1->setCalendarPopup(false);

    auto* fields = new QGridLayout;
    fields->addWidget(new QLabel(QStringLiteral("Name"), this), 0, 0);
    fields->addWidget(Text1, 0, 1);
    fields->addWidget(new QLabel(QStringLiteral("Symbol"), this), 1, 0);
    fields->addWidget(Text2, 1, 1);
    fields->addWidget(new QLabel(QStringLiteral("First Date"), this), 2, 0);
    fields->addWidget(DTPicker1, 2, 1);
    fields->setColumnStretch(1, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(Command1);
    buttons->addWidget(Command2);
    buttons->addWidget(Command3);
    auto* right = new QVBoxLayout;
    right->addWidget(List1, 1);
    right->addLayout(fields);
    auto* lists = new QHBoxLayout;
    lists->addWidget(folders, 1);
    lists->addLayout(right, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(lists, 1);
    layout->addLayout(buttons);
    resize(640, 420);

    connect(folders, &FolderChooser::pathChanged, this, [this] { Dir1_Change(); });
    connect(List1, &QListWidget::itemClicked, this, [this] { List1_Click(); });
    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2, &QPushButton::clicked, this, [this] { Command2_Click(); });
    connect(Command3, &QPushButton::clicked, this, &QDialog::reject);

    Form_Load();
}

frmAdjustSecurity::~frmAdjustSecurity() = default;

void frmAdjustSecurity::Form_Load()
{
    context::centreOnScreen(*this);
    DTPicker1->setDate(m_context.today());
    folders->setPath(m_context.state.currentFolder);
}

bool frmAdjustSecurity::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == Text2 && event->type() == QEvent::KeyPress)
        return context::typeUpperCase(*Text2, *static_cast<QKeyEvent*>(event));
    return QDialog::eventFilter(watched, event);
}

MetaStockReader& frmAdjustSecurity::reader()
{
    if (!m_reader)
        m_reader = std::make_unique<MetaStockReader>();
    return *m_reader;
}

// A folder that cannot be listed leaves the list empty or partly filled; nothing is shown.
void frmAdjustSecurity::Dir1_Change()
{
    (void)fillSecurityNames(reader(), folders->path(), *List1);
}

void frmAdjustSecurity::List1_Click()
{
    ChosenSecurity chosen;
    if (!List1->currentItem()
        || !readChosenSecurity(reader(),
                               folders->path(),
                               List1->currentItem()->text().trimmed(),
                               &MetaStockReader::GetFirstDate,
                               chosen)
                .ok())
        return;
    Text1->setText(chosen.name);
    Text2->setText(chosen.symbol);
    showBarDate(*DTPicker1, chosen.date);
    m_currentSymbol = Text2->text().trimmed();
}

void frmAdjustSecurity::Command1_Click()
{
    const QString folder = folders->path();
    const QString name = Text1->text().trimmed();
    const QString symbol = Text2->text().trimmed();
    if (!runWriterSteps(m_writer,
                        {[&](MetaStockWriter& w) { return w.OpenFolder(folder); },
                         [&](MetaStockWriter& w) { return w.ChangeSecurity(m_currentSymbol, name, symbol); },
                         [](MetaStockWriter& w) { return w.CloseFolder(); }})
             .ok())
        return;
    Dir1_Change();
}

void frmAdjustSecurity::Command2_Click()
{
    const QString folder = folders->path();
    const QString symbol = Text2->text().trimmed();
    if (!runWriterSteps(m_writer,
                        {[&](MetaStockWriter& w) { return w.OpenFolder(folder); },
                         [&](MetaStockWriter& w) { return w.DeleteSecurity(symbol); },
                         [](MetaStockWriter& w) { return w.CloseFolder(); }})
             .ok())
        return;
    Dir1_Change();
}

} // namespace store

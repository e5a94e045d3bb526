#include "frmdeletedata.h"

#include "context/appcontext.h"
#include "context/windowhelpers.h"
#include "folderchooser.h"
#include "securitylist.h"
#include "store/arguments.h"
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
#include <QRadioButton>
#include <QVBoxLayout>

namespace store {

frmDeleteData::frmDeleteData(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , folders(new FolderChooser(this))
    , List1(context::named(new QListWidget(this), "List1"))
    , Text1(context::named(new QLineEdit(this), "Text1"))
    , Text2(context::named(new QLineEdit(this), "Text2"))
    , DTPicker1(context::named(new QDateEdit(this), "DTPicker1"))
    , Option1(context::named(new QRadioButton(QStringLiteral("Delete Before"), this), "Option1"))
    , Option2(context::named(new QRadioButton(QStringLiteral("Delete After"), this), "Option2"))
    , Command1(context::named(new QPushButton(QStringLiteral("&Delete"), this), "Command1"))
    , Command2(context::named(new QPushButton(QStringLiteral("Close"), this), "Command2"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmDeleteData"));
    setWindowTitle(QStringLiteral("Delete Data"));
    for (QPushButton* button : {Command1, Command2})
        button->setAutoDefault(false);
    Text2->installEventFilter(this);
    setUpBarDatePicker(*DTPicker1, m_context.locale);
    Option1->setChecked(true);

    auto* fields = new QGridLayout;
    fields->addWidget(new QLabel(QStringLiteral("Name"), this), 0, 0);
    fields->addWidget(Text1, 0, 1, 1, 2);
    fields->addWidget(new QLabel(QStringLiteral("Symbol"), this), 1, 0);
    fields->addWidget(Text2, 1, 1, 1, 2);
    fields->addWidget(DTPicker1, 2, 0, 1, 3);
    fields->addWidget(Option1, 3, 1);
    fields->addWidget(Option2, 3, 2);
    fields->setColumnStretch(1, 1);
    fields->setColumnStretch(2, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(Command1);
    buttons->addWidget(Command2);
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
    connect(Command2, &QPushButton::clicked, this, &QDialog::reject);

    Form_Load();
}

frmDeleteData::~frmDeleteData() = default;

void frmDeleteData::Form_Load()
{
    context::centreOnScreen(*this);
    DTPicker1->setDate(m_context.today());
    folders->setPath(m_context.state.currentFolder);
}

bool frmDeleteData::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == Text2 && event->type() == QEvent::KeyPress)
        return context::typeUpperCase(*Text2, *static_cast<QKeyEvent*>(event));
    return QDialog::eventFilter(watched, event);
}

MetaStockReader& frmDeleteData::reader()
{
    if (!m_reader)
        m_reader = std::make_unique<MetaStockReader>();
    return *m_reader;
}

// A folder that cannot be listed ends the refill where it failed, the Delete button as it was.
void frmDeleteData::Dir1_Change()
{
    if (fillSecurityNames(reader(), folders->path(), *List1).ok())
        Command1->setEnabled(List1->count() > 0);
}

void frmDeleteData::List1_Click()
{
    ChosenSecurity chosen;
    if (!List1->currentItem()
        || !readChosenSecurity(reader(),
                               folders->path(),
                               List1->currentItem()->text().trimmed(),
                               &MetaStockReader::GetLastDate,
                               chosen)
                .ok())
        return;
    Text1->setText(chosen.name);
    Text2->setText(chosen.symbol);
    showBarDate(*DTPicker1, chosen.date);
}

void frmDeleteData::Command1_Click()
{
    if (!Option1->isChecked())
        return;
    const QString folder = folders->path();
    const QString name = Text1->text().trimmed();
    MetaStockReader& read = reader();
    qint32 firstDate = 0;
    Status status = read.OpenFolder(folder);
    if (status.ok())
        status = read.SelectSecurityByName(name);
    if (status.ok())
        status = read.GetFirstDate(firstDate);
    if (status.ok())
        status = read.Close();
    if (status.ok())
        status = read.CloseSecurity();
    if (!status.ok())
        return;
    const QString from = firstDateText(firstDate);
    const QString to = barDateText(DTPicker1->date());
    (void)runWriterSteps(m_writer,
                         {[&](MetaStockWriter& w) { return w.OpenFolder(folder); },
                          [&](MetaStockWriter& w) { return w.SelectSecurityByName(name); },
                          [&](MetaStockWriter& w) { return w.DeleteBarsBetween(from, to); },
                          [](MetaStockWriter& w) { return w.CloseFolder(); },
                          [](MetaStockWriter& w) { return w.CloseSecurity(); }});
}

} // namespace store

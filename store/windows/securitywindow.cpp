#include "securitywindow.h"

#include "context/appcontext.h"
#include "context/helpers.h"
#include "context/windowhelpers.h"
#include "folderchooser.h"
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
#include <QVBoxLayout>

namespace store {

SecurityWindow::SecurityWindow(context::AppContext& context, QWidget* parent, DateGetter shownDate)
    : QDialog(parent)
    , folders(new FolderChooser(this))
    , List1(context::named(new QListWidget(this), "List1"))
    , Text1(context::named(new QLineEdit(this), "Text1"))
    , Text2(context::named(new QLineEdit(this), "Text2"))
    , DTPicker1(context::named(new QDateEdit(this), "DTPicker1"))
    , m_context(context)
    , m_fields(new QGridLayout)
    , m_buttons(context::buttonRow({}))
    , m_shownDate(shownDate)
{
    context::onKeyPress(*Text2, [this](const QKeyEvent& key) { return context::typeUpperCase(*Text2, key); });
    context::showShortDates(*DTPicker1, m_context.locale);
    // One day before what a folder can hold stands for a date the folder does not hold.
    DTPicker1->setDateRange(store::firstStorableDate().addDays(-1), store::lastStorableDate());
    DTPicker1->setSpecialValueText(QStringLiteral("N/A"));

    m_fields->addWidget(new QLabel(QStringLiteral("Name"), this), 0, 0);
    m_fields->addWidget(Text1, 0, 1, 1, 2);
    m_fields->addWidget(new QLabel(QStringLiteral("Symbol"), this), 1, 0);
    m_fields->addWidget(Text2, 1, 1, 1, 2);
    m_fields->setColumnStretch(1, 1);
    m_fields->setColumnStretch(2, 1);
    auto* right = new QVBoxLayout;
    right->addWidget(List1, 1);
    right->addLayout(m_fields);
    auto* lists = new QHBoxLayout;
    lists->addWidget(folders, 1);
    lists->addLayout(right, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(lists, 1);
    layout->addLayout(m_buttons);
    resize(640, 420);

    connect(folders, &FolderChooser::pathChanged, this, [this] { Dir1_Change(); });
    connect(List1, &QListWidget::itemClicked, this, [this] { List1_Click(); });
}

SecurityWindow::~SecurityWindow() = default;

void SecurityWindow::Form_Load()
{
    context::centreOnScreen(*this);
    DTPicker1->setDate(m_context.today());
    folders->setPath(m_context.state.currentFolder);
}

MetaStockReader& SecurityWindow::reader()
{
    if (!m_reader)
        m_reader = std::make_unique<MetaStockReader>();
    return *m_reader;
}

// A folder that cannot be listed ends the refill where it failed.
void SecurityWindow::Dir1_Change()
{
    List1->clear();
    MetaStockReader& read = reader();
    Status status = read.OpenFolder(folders->path());
    qint32 more = 0;
    while (status.ok() && (status = read.HasMoreSecurities(more)).ok() && more >= 1) {
        QString name;
        if (!(status = read.NextSecurity()).ok() || !(status = read.GetName(name)).ok())
            return;
        List1->addItem(name);
    }
    if (status.ok() && read.Close().ok())
        listFilled();
}

void SecurityWindow::List1_Click()
{
    if (!List1->currentItem())
        return;
    MetaStockReader& read = reader();
    QString name;
    QString symbol;
    qint32 date = 0;
    Status status = read.OpenFolder(folders->path());
    if (status.ok())
        status = read.SelectSecurityByName(List1->currentItem()->text().trimmed());
    if (status.ok())
        status = read.GetName(name);
    if (status.ok())
        status = read.GetSymbol(symbol);
    if (status.ok())
        status = (read.*m_shownDate)(date);
    if (status.ok())
        status = read.CloseSecurity();
    if (status.ok())
        status = read.Close();
    if (!status.ok())
        return;
    Text1->setText(name);
    Text2->setText(symbol);
    DTPicker1->setDate(checkDate(date).ok() ? QDate(date / 10000, date / 100 % 100, date % 100)
                                            : DTPicker1->minimumDate());
    securityShown();
}

void SecurityWindow::addButtons(std::initializer_list<QPushButton*> buttons)
{
    for (QPushButton* button : buttons) {
        button->setAutoDefault(false);
        m_buttons->addWidget(button);
    }
}

Status SecurityWindow::runWriterSteps(std::initializer_list<WriterStep> steps)
{
    if (!m_writer)
        m_writer = std::make_unique<MetaStockWriter>();
    for (const WriterStep& step : steps) {
        if (Status status = step(*m_writer); !status.ok()) {
            m_writer.reset();
            return status;
        }
    }
    return {};
}

} // namespace store

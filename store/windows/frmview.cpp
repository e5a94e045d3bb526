#include "frmview.h"

#include "bartablemodel.h"
#include "context/appcontext.h"
#include "context/helpers.h"
#include "context/windowhelpers.h"
#include "store/arguments.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"
#include "symbols/windows/frmplace.h"

#include <QDateEdit>
#include <QGridLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace store {

namespace {

const QString kTitle = QStringLiteral("Ticksmith");

// Bars entered by hand carry -1 where downloaded bars carry 0, so the two can be told apart.
constexpr qint32 kHandTime = -1;
constexpr double kHandOpenInterest = -1.0;

// A date as the eight digits yyyymmdd, the form the writer takes for a bar it looks up.
QString dateText(QDate date)
{
    return date.toString(QStringLiteral("yyyy/MM/dd")).remove(u'/');
}

QDate barDate(qint32 yyyymmdd)
{
    return QDate(yyyymmdd / 10000, yyyymmdd / 100 % 100, yyyymmdd % 100);
}

QString periodicityText(qint32 code)
{
    switch (code) {
    case 1:
        return QStringLiteral("Daily");
    case 2:
        return QStringLiteral("Weekly");
    case 3:
        return QStringLiteral("Monthly");
    }
    return QString::number(code);
}

QLineEdit* readOnlyBox(QWidget* parent, const char* name)
{
    auto* box = context::named(new QLineEdit(parent), name);
    box->setReadOnly(true);
    return box;
}

} // namespace

frmView::frmView(context::AppContext& context,
                 const QString& folder,
                 const QString& name,
                 const QString& symbol,
                 QWidget* parent,
                 ProgressWindow::Display display)
    : QWidget(parent)
    , Text1(readOnlyBox(this, "Text1"))
    , Text2(readOnlyBox(this, "Text2"))
    , Text3(readOnlyBox(this, "Text3"))
    , Text4(readOnlyBox(this, "Text4"))
    , Text5(readOnlyBox(this, "Text5"))
    , Text6(readOnlyBox(this, "Text6"))
    , ListView1(context::named(new QTreeView(this), "ListView1"))
    , Command1(context::named(new QPushButton(QStringLiteral("Show Intraday Chart"), this), "Command1"))
    , Command2(context::named(new QPushButton(QStringLiteral("Insert"), this), "Command2"))
    , Command3(context::named(new QPushButton(QStringLiteral("Change"), this), "Command3"))
    , Command4(context::named(new QPushButton(QStringLiteral("Delete"), this), "Command4"))
    , Command5(context::named(new QPushButton(QStringLiteral("Close"), this), "Command5"))
    , m_context(context)
    , m_folder(folder)
    , m_name(name)
    , m_symbol(symbol)
    , m_model(new BarTableModel(context.locale, this))
    , m_display(display)
{
    setObjectName(QStringLiteral("frmView"));

    ListView1->setModel(m_model);
    ListView1->setRootIsDecorated(false);
    ListView1->setItemsExpandable(false);
    // One height for every row: the view then lays out tens of thousands of rows without measuring them.
    ListView1->setUniformRowHeights(true);
    ListView1->setAllColumnsShowFocus(true);
    ListView1->setSelectionBehavior(QAbstractItemView::SelectRows);
    ListView1->setSelectionMode(QAbstractItemView::ExtendedSelection);
    ListView1->header()->setStretchLastSection(false);
    ListView1->header()->setDefaultSectionSize(90);

    auto* fields = new QGridLayout;
    const std::pair<const char*, QLineEdit*> labelled[] = {{"Folder", Text1},
                                                           {"Security", Text2},
                                                           {"Symbol", Text3},
                                                           {"First Date", Text4},
                                                           {"Last Date", Text5},
                                                           {"Periodicity", Text6}};
    for (int i = 0; i < 6; ++i) {
        // Folder and security take the whole first two lines; the four short boxes share two lines.
        const int row = i < 2 ? i : 2 + (i - 2) / 2;
        const int column = i < 2 ? 0 : (i - 2) % 2 * 2;
        fields->addWidget(new QLabel(QLatin1String(labelled[i].first), this), row, column);
        fields->addWidget(labelled[i].second, row, column + 1, 1, i < 2 ? 3 : 1);
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addLayout(fields);
    layout->addWidget(ListView1, 1);
    layout->addLayout(context::buttonRow({Command1}, {Command2, Command3, Command4, Command5}));
    resize(600, 460);

    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2, &QPushButton::clicked, this, [this] { Command2_Click(); });
    connect(Command3, &QPushButton::clicked, this, [this] { Command3_Click(); });
    connect(Command4, &QPushButton::clicked, this, [this] { Command4_Click(); });
    connect(Command5, &QPushButton::clicked, this, [this] {
        // Inside the main window the frame around the sheet is what closes.
        QWidget* frame = parentWidget() && !isWindow() ? parentWidget() : this;
        frame->close();
    });
    connect(ListView1, &QTreeView::doubleClicked, this, [this] { Command3_Click(); });

    Form_Load();
}

frmView::~frmView() = default;

void frmView::Form_Load()
{
    m_model->setRows({});
    Text1->setText(m_folder);
    Text2->setText(m_name);
    Text3->setText(m_symbol);

    if (!m_progress)
        m_progress = std::make_unique<ProgressWindow>(m_display);
    if (!m_reader)
        m_reader = std::make_unique<MetaStockReader>();
    ProgressWindow& progress = *m_progress;
    MetaStockReader& reader = *m_reader;

    // Whatever ends the reading, the rows read so far are shown and the folder and progress display
    // are released.
    std::vector<PriceBar> rows;
    const auto finish = [&] {
        (void)reader.CloseSecurity();
        (void)reader.Close();
        (void)progress.Close();
        m_model->setRows(std::move(rows));
    };

    qint32 count = 0;
    qint32 firstDate = 0;
    qint32 lastDate = 0;
    qint32 periodicity = 0;
    if (!progress.Open().ok() || !reader.OpenFolder(m_folder.trimmed()).ok()
        || !reader.SelectSecurity(m_symbol.trimmed()).ok() || !reader.GetBarCount(count).ok()
        || !progress.SetRange(0, count).ok() || !progress.SetVisible(1).ok()
        || !progress.SetCaption(QStringLiteral("Read Security data...")).ok()
        || !progress.SetLabel(QStringLiteral("Progress....")).ok() || !reader.GetFirstDate(firstDate).ok()) {
        finish();
        return;
    }
    Text4->setText(context::FormatBarDate(m_context.locale, firstDate));
    if (!reader.GetPeriodicity(periodicity).ok()) {
        finish();
        return;
    }
    Text6->setText(periodicityText(periodicity));
    if (!reader.SetDateField(2).ok() || !reader.GetFirstDate(lastDate).ok()) {
        finish();
        return;
    }
    Text5->setText(context::FormatBarDate(m_context.locale, lastDate));

    rows.reserve(size_t(std::max(count, 0)));
    qint32 more = 0;
    while (true) {
        if (!reader.HasMoreBars(more).ok()) {
            finish();
            return;
        }
        if (more < 1)
            break;
        PriceBar bar;
        bool cancelled = false;
        if (!reader.ReadNextBar().ok() || !reader.GetBar(bar).ok()) {
            finish();
            return;
        }
        rows.push_back(bar);
        if (!progress.Step().ok() || !progress.IsCancelled(cancelled).ok() || cancelled) {
            finish(); // the date boxes keep what the header said
            return;
        }
    }
    if (!rows.empty())
        Text5->setText(context::FormatBarDate(m_context.locale, rows.back().date));
    finish();

    // The newest bar in view and holding the keyboard focus.
    if (m_model->rowCount() > 0) {
        const QModelIndex last = m_model->index(m_model->rowCount() - 1, 0);
        ListView1->setCurrentIndex(last);
        ListView1->scrollTo(last);
        ListView1->setFocus();
    }
}

void frmView::Command1_Click()
{
    symbols::frmPlace place(m_context, this);
    place.symbol = Text3->text().trimmed();
    m_context.runModal(place);
}

void frmView::Command2_Click()
{
    frmRecord& dialog = record();
    dialog.DTPicker1->setDate(m_context.today());
    for (QLineEdit* box : {dialog.Text1, dialog.Text2, dialog.Text3, dialog.Text4, dialog.Text5})
        box->clear();
    dialog.accepted = false;
    m_context.runModal(dialog);
    if (!dialog.accepted || !openSecurity())
        return;
    const QString date = dateText(dialog.date);
    bool exists = false;
    if (!m_writer->BarExists(date, exists).ok()) {
        releaseWriter();
        return;
    }
    if (exists) {
        m_context.prompter->information(this, kTitle, QStringLiteral("Date Already Exist."));
        (void)closeWriter();
        releaseWriter();
        return;
    }
    const double* v = dialog.values;
    if (!m_writer->AddBar(date.toInt(), kHandTime, v[0], v[1], v[2], v[3], v[4], kHandOpenInterest).ok()) {
        releaseWriter();
        return;
    }
    if (closeWriter())
        Form_Load();
}

void frmView::Command3_Click()
{
    const int row = selectedRow();
    if (row < 0)
        return;
    PriceBar bar = m_model->row(row);
    frmRecord& dialog = record();
    dialog.DTPicker1->setDate(barDate(bar.date));
    const double shown[] = {bar.open, bar.high, bar.low, bar.close, bar.volume};
    const QList<QLineEdit*> boxes = {dialog.Text1, dialog.Text2, dialog.Text3, dialog.Text4, dialog.Text5};
    for (int i = 0; i < 5; ++i)
        boxes[i]->setText(plainNumber(shown[i]));
    dialog.accepted = false;
    m_context.runModal(dialog);
    if (!dialog.accepted || !openSecurity())
        return;
    // The bar changed is the one of the dialog's date, even when that is another row's date.
    const double* v = dialog.values;
    if (!m_writer
             ->ChangeBar(dateText(dialog.date),
                         QStringLiteral("-1"),
                         kHandTime,
                         v[0],
                         v[1],
                         v[2],
                         v[3],
                         v[4],
                         kHandOpenInterest)
             .ok()) {
        releaseWriter();
        return;
    }
    if (!closeWriter())
        return;
    bar.open = v[0];
    bar.high = v[1];
    bar.low = v[2];
    bar.close = v[3];
    bar.volume = v[4];
    m_model->setRow(row, bar);
}

void frmView::Command4_Click()
{
    const int row = selectedRow();
    if (row < 0)
        return;
    const qint32 date = m_model->row(row).date;
    if (!m_context.prompter->question(this,
                                      kTitle,
                                      QStringLiteral("Are you sure to delete date : ") + m_model->dateText(date)))
        return;
    if (!openSecurity())
        return;
    if (!m_writer->DeleteBar(dateText(barDate(date))).ok() || !m_writer->Commit().ok()) {
        releaseWriter();
        return;
    }
    if (!closeWriter())
        return;
    m_model->removeRows(row, 1);
    m_context.prompter->information(this, kTitle, QStringLiteral("Record Deleted."));
}

// The row with the keyboard focus when it is selected, else the first selected one; -1 with none.
int frmView::selectedRow() const
{
    const QItemSelectionModel* selection = ListView1->selectionModel();
    const QModelIndex current = ListView1->currentIndex();
    if (current.isValid() && selection->isRowSelected(current.row(), {}))
        return current.row();
    const QModelIndexList rows = selection->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

bool frmView::openSecurity()
{
    if (!m_writer)
        m_writer = std::make_unique<MetaStockWriter>();
    if (m_writer->OpenFolder(Text1->text().trimmed()).ok() && m_writer->SelectSecurity(Text3->text().trimmed()).ok())
        return true;
    releaseWriter();
    return false;
}

// Writes what is pending and releases the folder. After a failed write the writer is dropped, so what
// could not be written is not tried again by a later action.
bool frmView::closeWriter()
{
    if (m_writer->CloseSecurity().ok() && m_writer->CloseFolder().ok())
        return true;
    releaseWriter();
    return false;
}

void frmView::releaseWriter()
{
    m_writer.reset();
}

frmRecord& frmView::record()
{
    if (!m_record)
        m_record = new frmRecord(m_context, this);
    return *m_record;
}

frmRecord::frmRecord(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , DTPicker1(context::named(new QDateEdit(this), "DTPicker1"))
    , Text1(context::named(new QLineEdit(this), "Text1"))
    , Text2(context::named(new QLineEdit(this), "Text2"))
    , Text3(context::named(new QLineEdit(this), "Text3"))
    , Text4(context::named(new QLineEdit(this), "Text4"))
    , Text5(context::named(new QLineEdit(this), "Text5"))
    , Command1(context::named(new QPushButton(QStringLiteral("&Apply"), this), "Command1"))
    , Command2(context::named(new QPushButton(QStringLiteral("&Close"), this), "Command2"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmRecord"));
    setWindowTitle(QStringLiteral("Change Record"));
    context::showShortDates(*DTPicker1, context.locale);
    // The dates a folder can hold.
    DTPicker1->setDateRange(store::firstStorableDate(), store::lastStorableDate());

    auto* fields = new QGridLayout;
    context::addFieldRow(*fields, 0, QStringLiteral("Date"), DTPicker1);
    const char* const labels[] = {"Open", "High", "Low", "Close", "Volume"};
    for (int i = 0; i < 5; ++i)
        context::addFieldRow(*fields, i + 1, QLatin1String(labels[i]), boxes()[i]);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addLayout(context::buttonRow({Command1, Command2}));
    resize(300, 240);

    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2, &QPushButton::clicked, this, [this] { reject(); });
    Form_Load();
}

void frmRecord::Form_Load()
{
    context::centreOnScreen(*this);
}

void frmRecord::Command1_Click()
{
    const QList<QLineEdit*> all = boxes();
    for (QLineEdit* box : all) {
        if (box->text().trimmed().isEmpty()) {
            m_context.prompter->information(this, kTitle, QStringLiteral("Please Complete All Fields."));
            return;
        }
    }
    static const char* const what[] = {"open", "high", "low", "close", "volume"};
    double read[5];
    for (int i = 0; i < 5; ++i) {
        const QString text = all[i]->text().trimmed();
        bool ok = false;
        read[i] = m_context.locale.toDouble(text, &ok);
        if (!ok)
            read[i] = QLocale::c().toDouble(text, &ok);
        const Status usable = ok ? checkValue(read[i], what[i])
                                 : Status::error(ErrorCode::InvalidArgument,
                                                 QStringLiteral("The %1 \"%2\" is not a number").arg(what[i], text));
        if (!usable.ok()) {
            m_context.prompter->information(this, kTitle, usable.text() + u'.');
            all[i]->setFocus();
            return;
        }
    }
    std::copy(std::begin(read), std::end(read), std::begin(values));
    date = DTPicker1->date();
    accepted = true;
    accept();
}

void openDataSheet(context::AppContext& context, const QString& folder, const QString& name, const QString& symbol)
{
    auto* sheet = new frmView(context, folder, name, symbol);
    sheet->setWindowTitle(QStringLiteral("DataSheet of ") + name);
    context.showChild(sheet);
}

} // namespace store

#include "frmconvert.h"

#include "context/appcontext.h"
#include "context/helpers.h"
#include "context/windowhelpers.h"
#include "convert/csvexport.h"
#include "convert/metastockconverter.h"
#include "store/filesystem.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace convert {

namespace {

const QString kTitle = QStringLiteral("Ticksmith");
constexpr int listedProblems = 20; // more would not fit a message box

} // namespace

frmConvert::frmConvert(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , Text1(context::named(new QLineEdit(this), "Text1"))
    , Text2(context::named(new QLineEdit(this), "Text2"))
    , Command6(context::named(context::folderButton(new QToolButton(this)), "Command6"))
    , Command7(context::named(context::folderButton(new QToolButton(this)), "Command7"))
    , Command3(context::named(new QPushButton(QStringLiteral("Convert to CSV"), this), "Command3"))
    , Command2(context::named(new QPushButton(QStringLiteral("Convert To Metastock"), this), "Command2"))
    , Command1(context::named(new QPushButton(QStringLiteral("&Close"), this), "Command1"))
    , Label3(context::named(new QLabel(this), "Label3"))
    , ProgressBar1(context::named(new QProgressBar(this), "ProgressBar1"))
    , Command4(context::named(new QPushButton(QStringLiteral("Cancel"), this), "Command4"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmConvert"));
    setWindowTitle(QStringLiteral("Data Converter"));
    for (QPushButton* button : {Command3, Command2, Command1, Command4})
        button->setAutoDefault(false);

    auto* fields = new QGridLayout;
    context::addFieldRow(*fields, 0, QStringLiteral("Source Directory"), Text1, Command6);
    context::addFieldRow(*fields, 1, QStringLiteral("Destination Directory"), Text2, Command7);
    fields->setColumnStretch(1, 1);
    auto* progress = new QHBoxLayout;
    progress->addWidget(ProgressBar1, 1);
    progress->addWidget(Command4);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addWidget(Label3);
    layout->addLayout(progress);
    layout->addLayout(context::buttonRow({Command3, Command2, Command1}));
    resize(520, 180);

    connect(Command6, &QToolButton::clicked, this, [this] { Command6_Click(); });
    connect(Command7, &QToolButton::clicked, this, [this] { Command7_Click(); });
    connect(Command3, &QPushButton::clicked, this, [this] { Command3_Click(); });
    connect(Command2, &QPushButton::clicked, this, [this] { Command2_Click(); });
    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command4, &QPushButton::clicked, this, [this] { Command4_Click(); });

    Form_Load();
}

void frmConvert::Form_Load()
{
    setRunning(false);
    context::centreOnScreen(*this);
}

void frmConvert::Command6_Click()
{
    Text1->setText(context::BrowseForFolder(m_context, this, QStringLiteral("Select Source Folder")));
}

void frmConvert::Command7_Click()
{
    Text2->setText(context::BrowseForFolder(m_context, this, QStringLiteral("Select Destination Folder")));
}

bool frmConvert::folders(QString& source, QString& destination)
{
    source = Text1->text().trimmed();
    destination = Text2->text().trimmed();
    if (!source.isEmpty() && !destination.isEmpty())
        return true;
    m_context.prompter->information(this, kTitle, QStringLiteral("Please choose the directory."));
    return false;
}

void frmConvert::Command3_Click()
{
    QString source, destination;
    if (!folders(source, destination))
        return;
    setRunning(true);
    store::FileSystem fs;
    ConversionReport report;
    const store::Status status =
        exportFolder(fs, source, destination, m_context.locale, report, [this](int done, int total, const QString&) {
            return showProgress(done, total, QStringLiteral("Converting Security : %1").arg(done));
        });
    setRunning(false);
    showOutcome(status, report);
}

void frmConvert::Command2_Click()
{
    QString source, destination;
    if (!folders(source, destination))
        return;
    setRunning(true);
    MetaStockConverter converter(m_context.locale);
    converter.setProgress([this](int done, int total, const QString& file) { return showProgress(done, total, file); });
    const store::Status status = converter.Convert(source, destination, QStringLiteral("CSV"));
    setRunning(false);
    showOutcome(status, converter.report());
}

void frmConvert::Command1_Click()
{
    close();
}

void frmConvert::Command4_Click()
{
    m_cancelled = true;
}

void frmConvert::reject()
{
    // Closing the window while a run is under way stops the run first; the window stays until it has.
    if (m_running) {
        m_cancelled = true;
        return;
    }
    QDialog::reject();
}

void frmConvert::setRunning(bool running)
{
    m_running = running;
    m_cancelled = false;
    for (QWidget* control :
         std::initializer_list<QWidget*>{Text1, Text2, Command6, Command7, Command3, Command2, Command1})
        control->setEnabled(!running);
    Label3->setVisible(running);
    ProgressBar1->setVisible(running);
    Command4->setVisible(running);
    Label3->clear();
    ProgressBar1->setValue(0);
}

bool frmConvert::showProgress(int done, int total, const QString& label)
{
    // Repainting after every small file would cost more than converting it.
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (now - m_lastRefresh >= 50 || done == total) {
        m_lastRefresh = now;
        ProgressBar1->setRange(0, total);
        ProgressBar1->setValue(done);
        Label3->setText(label);
        QCoreApplication::processEvents();
    }
    return !m_cancelled;
}

void frmConvert::showOutcome(const store::Status& status, const ConversionReport& report)
{
    QStringList lines;
    if (!status.ok())
        lines << QStringLiteral("The conversion stopped: %1").arg(status.text());
    else if (report.cancelled)
        lines << QStringLiteral("The conversion was cancelled.");
    else
        lines << QStringLiteral("Conversion Complete.");
    if (!report.problems.empty() || report.cancelled || !status.ok()) {
        lines << QString() << report.summary() + u'.';
        for (size_t i = 0; i < report.problems.size() && i < size_t(listedProblems); ++i)
            lines << report.problems[i].message();
        if (report.problems.size() > size_t(listedProblems))
            lines << QStringLiteral("... and %1 more.").arg(report.problems.size() - size_t(listedProblems));
    }
    const bool clean = status.ok() && report.problems.empty();
    m_context.prompter->information(this,
                                    kTitle,
                                    lines.join(u'\n'),
                                    clean ? context::Prompter::Icon::Information : context::Prompter::Icon::Warning);
}

} // namespace convert

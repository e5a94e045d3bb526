#include "frmdownloadprogress.h"

#include "context/appcontext.h"
#include "context/windowhelpers.h"
#include "download/httpchannel.h"
#include "download/sources/sourceclient.h"
#include "frmdownloadresults.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QTimer>
#include <QVBoxLayout>

namespace download {

namespace {

const QString StatusText = QStringLiteral("Download Progress.");

} // namespace

frmDownloadProgress::frmDownloadProgress(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , Label1(context::named(new QLabel(this), "Label1"))
    , Label3(context::named(new QLabel(this), "Label3"))
    , Label7(context::named(new QLabel(QStringLiteral("0"), this), "Label7"))
    , Label8(context::named(new QLabel(QStringLiteral("0"), this), "Label8"))
    , Label9(context::named(new QLabel(QStringLiteral("0"), this), "Label9"))
    , PB(context::named(new QProgressBar(this), "PB"))
    , PB1(context::named(new QProgressBar(this), "PB1"))
    , Command1(context::named(new QPushButton(QStringLiteral("Cancel"), this), "Command1"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmDownloadProgress"));
    setWindowTitle(QStringLiteral("Download Progress"));

    const auto choice = sources::SourceChoice::fromSettings(*m_context.settings);
    const ServiceAddresses addresses = ServiceAddresses::fromSettings(*m_context.settings);
    // Only the specified service can be without an address: every other source has its provider's.
    m_serviceConfigured = choice.source != sources::ClassicSource
        || (!addresses.historyUrl.isEmpty()
            && (!m_context.state.downloadCurrentQuote || !addresses.quoteUrl.isEmpty()));
    m_sources = std::make_unique<sources::SourceChain>(choice,
                                                       *m_context.settings,
                                                       HttpLimits::fromSettings(*m_context.settings));
    DownloadJob::Events events;
    events.checking = [this](int index, int total, const QString& symbol, const DownloadCounters& counters) {
        showProgress(index, total, symbol, counters);
    };
    events.downloading = [this](const QString& symbol) { Label1->setText(symbol); };
    events.barWritten = [this](int done, int total) {
        PB1->setMaximum(qMax(total, 1));
        PB1->setValue(done);
    };
    events.recorded = [this](int index, int total, const context::DownloadResult&) { showRecorded(index, total); };
    events.ignoredError = [this](const QString& symbol, const QString& error) {
        m_writeFailures.append(symbol + QStringLiteral(": ") + error);
    };
    m_job = std::make_unique<DownloadJob>(*m_sources, m_context.locale, std::move(events));

    PB->setMinimum(0);
    PB1->setMinimum(0);
    auto* counters = new QGridLayout;
    context::addFieldRow(*counters, 0, QStringLiteral("Completed"), Label7);
    context::addFieldRow(*counters, 1, QStringLiteral("Upto Date"), Label8);
    context::addFieldRow(*counters, 2, QStringLiteral("No Data"), Label9);
    counters->setColumnStretch(2, 1);
    auto* layout = new QVBoxLayout(this);
    Label1->setWordWrap(true);
    layout->addWidget(Label1);
    layout->addWidget(Label3);
    layout->addLayout(counters);
    layout->addWidget(PB);
    layout->addWidget(PB1);
    layout->addLayout(context::buttonRow({Command1}));
    resize(420, 240);

    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
}

frmDownloadProgress::~frmDownloadProgress() = default;

void frmDownloadProgress::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    // The job runs once the window is on screen, from the event loop of its modal run.
    if (!m_started)
        QTimer::singleShot(0, this, [this] { Form_Load(); });
}

void frmDownloadProgress::Form_Load()
{
    if (m_started)
        return;
    m_started = true;
    m_context.setStatusText(StatusText);
    context::centreOnScreen(*this);
    const QList<context::DownloadItem> items = m_context.state.downloadList;
    PB->setMaximum(qMax(int(items.size()), 1));
    PB->setValue(0);
    Label1->setText(QStringLiteral("Connecting..."));

    m_running = true;
    m_outcome = m_job->run(items, DownloadOptions::fromState(m_context.state), m_context.today());
    m_running = false;

    m_context.state.downloadResults = m_outcome.results;
    if (m_outcome.end == JobOutcome::End::Completed) {
        setWindowTitle(QStringLiteral("Download Completed. / "));
        m_context.setStatusText(StatusText);
    }
    // The results list holds one word per security; what went wrong in writing, and which requests kept
    // the job waiting, stay in view beside it.
    QStringList endTexts;
    if (m_outcome.end == JobOutcome::End::Stopped)
        endTexts.append(QStringLiteral("Stopped: ") + m_outcome.stopReason);
    else if (!m_writeFailures.isEmpty())
        endTexts.append(QStringLiteral("Not all quotes were written: ") + m_writeFailures.join(QStringLiteral("; ")));
    if (const QString slowest = slowestRequestsText(m_outcome.slowestRequests); !slowest.isEmpty())
        endTexts.append(slowest);
    if (!endTexts.isEmpty())
        Label1->setText(endTexts.join(u'\n'));
    if (!m_serviceConfigured && !items.isEmpty()) {
        m_context.prompter->information(
            this,
            QStringLiteral("Ticksmith"),
            QStringLiteral("The quote service is not configured: enter its addresses in Tools, Settings."),
            context::Prompter::Icon::Information);
    }
    DownloadComplete();
}

void frmDownloadProgress::DownloadComplete()
{
    frmDownloadResults results(m_context, this);
    m_context.runModal(results);
    accept();
}

void frmDownloadProgress::showProgress(int index, int total, const QString& symbol, const DownloadCounters& counters)
{
    Label7->setText(QString::number(counters.completed));
    Label8->setText(QString::number(counters.upToDate));
    Label9->setText(QString::number(counters.noData));
    Label3->setText(symbol);
    PB->setMaximum(total);
    PB->setValue(index);
    PB1->setValue(0);
}

void frmDownloadProgress::showRecorded(int index, int total)
{
    const QString caption = QStringLiteral("%1 of %2 Completed. / ").arg(index).arg(total);
    setWindowTitle(caption);
    m_context.setStatusText(caption);
}

void frmDownloadProgress::Command1_Click()
{
    m_job->cancel();
}

void frmDownloadProgress::reject()
{
    // While the job runs, leaving the window means stopping the job; the results follow as usual.
    if (m_running)
        m_job->cancel();
    else
        QDialog::reject();
}

void frmDownloadProgress::closeEvent(QCloseEvent* event)
{
    if (m_running) {
        m_job->cancel();
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

} // namespace download

#pragma once

// "Download Progress": runs the download job over the context's download list as soon as it is shown,
// then shows the results and closes itself.
//
//     download::frmDownloadProgress progress(context, parent);
//     context.runModal(progress); // returns when the results window is closed
//
// The job starts once the window is on screen (a test that drives the window calls Form_Load itself).
// Cancel, Escape and the close button ask the job to stop after the security in hand.

#include "download/downloadjob.h"

#include <QDialog>
#include <QStringList>

#include <memory>

class QLabel;
class QProgressBar;
class QPushButton;

namespace context {
struct AppContext;
}

namespace download {

namespace sources {
class SourceChain;
}

class frmDownloadProgress : public QDialog
{
    Q_OBJECT

public:
    explicit frmDownloadProgress(context::AppContext& context, QWidget* parent = nullptr);
    ~frmDownloadProgress() override;

    // Runs the whole job, shows the results and closes the window; does nothing the second time.
    void Form_Load();
    // Shows the context's download results modally, then closes this window.
    void DownloadComplete();

    // The outcome of the job (empty until it has run).
    const JobOutcome& outcome() const { return m_outcome; }

    QLabel* Label1; // the security being downloaded
    QLabel* Label3; // the security being checked
    QLabel* Label7; // completed
    QLabel* Label8; // up to date
    QLabel* Label9; // no data
    QProgressBar* PB; // one step per security
    QProgressBar* PB1; // the bars of the security in hand
    QPushButton* Command1;

    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void Command1_Click();
    void showProgress(int index, int total, const QString& symbol, const DownloadCounters& counters);
    void showRecorded(int index, int total);

    context::AppContext& m_context;
    std::unique_ptr<sources::SourceChain> m_sources; // Inet1, one channel per quote source
    std::unique_ptr<DownloadJob> m_job;
    bool m_started = false;
    bool m_running = false;
    bool m_serviceConfigured = false;
    JobOutcome m_outcome;
    QStringList m_writeFailures; // one per security, "SYMBOL: what failed"
};

} // namespace download

// The selection, progress and results windows, driven through their controls, from a real symbol
// database and real folders to the local quote server.

#include "context/helpers.h"
#include "download/selection.h"
#include "download/windows/frmdownload.h"
#include "download/windows/frmdownloadprogress.h"
#include "download/windows/frmdownloadresults.h"
#include "downloadfixture.h"
#include "paramnames.h"
#include "symbols/symbolsdb.h"

#include <QCheckBox>
#include <QDateEdit>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>

namespace {

using namespace download_test;
using download::frmDownload;
using download::frmDownloadProgress;
using download::frmDownloadResults;
using testing_support::PrintTo;

const QDate Friday(2024, 6, 14);

// Each row's texts of the columns asked for, joined with '|'.
QStringList rows(const QTreeWidget* list, std::initializer_list<int> columns = {0})
{
    QStringList texts;
    for (int i = 0; i < list->topLevelItemCount(); ++i) {
        QStringList row;
        for (int column : columns)
            row.append(list->topLevelItem(i)->text(column));
        texts.append(row.join(u'|'));
    }
    return texts;
}

void tick(QTreeWidget* list, int row, bool on = true)
{
    list->topLevelItem(row)->setCheckState(0, on ? Qt::Checked : Qt::Unchecked);
}

class DownloadWindowsTest : public DownloadTest
{
protected:
    DownloadWindowsTest()
    {
        EXPECT_TRUE(context.installProgramFile(symbols::kDatabaseFileName));
        context->settings->setValue(QLatin1String(download::QuoteUrlKey), server.url());
        context->settings->setValue(QLatin1String(download::HistoryUrlKey), server.url());
    }

    void addFolder(frmDownload& window, const QString& added)
    {
        window.Text1->setText(added);
        window.Command2->click();
    }

    // Runs the download list through the progress window, as the selection window does.
    void runProgress()
    {
        driveProgressAndResults();
        frmDownloadProgress progress(context);
        context->runModal(progress);
    }

    // The next progress window runs its job; the results window after it is read and closed with OK.
    void driveProgressAndResults()
    {
        context.modalDrivers.push_back([this](QDialog& dialog) {
            auto& progress = static_cast<frmDownloadProgress&>(dialog);
            onProgress(progress);
            progress.Form_Load();
            caption = progress.windowTitle();
            progressLabel = progress.Label1->text();
            counters = {progress.Label7->text(), progress.Label8->text(), progress.Label9->text()};
            return progress.result();
        });
        context.modalDrivers.push_back([this](QDialog& dialog) {
            auto& results = static_cast<frmDownloadResults&>(dialog);
            shown = rows(results.ListView1, {0, 1});
            shownTips.clear();
            for (int i = 0; i < results.ListView1->topLevelItemCount(); ++i)
                shownTips.append(results.ListView1->topLevelItem(i)->toolTip(1));
            summary = results.Label1->text();
            results.Command1->click();
            return results.result();
        });
    }

    QString folderB = context.makeFolder("b");
    std::function<void(frmDownloadProgress&)> onProgress = [](frmDownloadProgress&) {};
    QString caption;
    QString progressLabel;
    QStringList counters;
    QStringList shown; // the results window's rows: "IBM|OK"
    QStringList shownTips;
    QString summary;
};

// One session of the window: folders added once each, securities listed and relisted by the folders'
// ticks, the ticked ones downloaded and the folder list kept for the next session.
TEST_F(DownloadWindowsTest, ListsTheTickedFoldersDownloadsTheTickedSecuritiesAndKeepsTheFolders)
{
    addServed("IBM", QDate(2024, 6, 5));
    addServed("MSFT", Friday);
    addServed("VOD", QDate(2024, 6, 10), folderB);
    {
        frmDownload window(context);
        window.Timer1_Timer();
        EXPECT_EQ(context->state.statusText, "Download Listing.");
        context.prompter().folders = {"C:\\", QString()};
        window.Command1->click();
        window.Command1->click();
        EXPECT_EQ(window.Text1->text(), "C:") << "a drive root loses its backslash; a cancel keeps it";
        addFolder(window, folder);
        addFolder(window, "  " + folderB + " ");
        addFolder(window, folder + " ");
        EXPECT_EQ(rows(window.ListView2), (QStringList{folder, folderB}));

        tick(window.ListView2, 0);
        EXPECT_EQ(rows(window.ListView1, {0, 1, 2}),
                  (QStringList{folder + "||", "IBM Corp|IBM|6/5/2024", "MSFT Corp|MSFT|6/14/2024"}));
        EXPECT_EQ(window.ListView1->topLevelItem(0)->checkState(0), Qt::Checked);
        EXPECT_EQ(window.ListView1->topLevelItem(2)->checkState(0), Qt::Unchecked) << "today's security stays unticked";
        tick(window.ListView2, 1);
        EXPECT_EQ(rows(window.ListView1, {1}), (QStringList{"", "IBM", "MSFT", "", "VOD"}));
        EXPECT_EQ(window.Label1->text(), "2 Securities Selected.");
        tick(window.ListView2, 0, false);
        EXPECT_EQ(rows(window.ListView1), (QStringList{folderB, "VOD Corp"}));
        tick(window.ListView1, 1, false);
        EXPECT_EQ(window.Label1->text(), "No Securities Selected.");
        window.Command4->click();
        EXPECT_EQ(context.prompter().messages(), (QStringList{"Already Exists.", "No Securities Selected."}));
        EXPECT_TRUE(context.modalsShown.isEmpty());

        tick(window.ListView2, 0); // listed after the folder already shown, VOD still unticked
        tick(window.ListView1, 2, false); // a header's tick counts for nothing: IBM stays in
        EXPECT_EQ(window.Label1->text(), "1 Securities Selected.");
        window.Check2->setChecked(true);
        window.DTPicker1->setDate(QDate(2024, 6, 1));
        driveProgressAndResults();
        window.Command4->click();
        EXPECT_EQ(window.result(), QDialog::Accepted);
    }
    EXPECT_FALSE(context->state.downloadCurrentQuote);
    EXPECT_EQ(historySymbols(server), QStringList{"IBM"});
    EXPECT_EQ(server.requests()[0].target, "/table.csv?s=IBM&d=5&e=14&f=2024&a=5&b=1&c=2024&ignore=.csv");
    EXPECT_EQ(caption, "Download Completed. / ");
    EXPECT_EQ(context->state.statusText, "Download Progress.");
    EXPECT_EQ(shown, QStringList{"IBM|OK"});
    EXPECT_EQ(summary, "Completed : 1    |    Upto Date : 0    |    No Data : 0");
    EXPECT_EQ(context.prompter().prompts.size(), 4) << "two folder requests and two messages, nothing more";

    // The list itself is the symbol database's (its tests check it); here, that the window keeps it.
    EXPECT_EQ(symbols::readSys(context), (QStringList{folder, folderB}));
    frmDownload window(context);
    window.Timer1_Timer();
    EXPECT_EQ(rows(window.ListView2), (QStringList{folder, folderB}));
    tick(window.ListView2, 1);
    window.ListView2->setCurrentItem(window.ListView2->topLevelItem(1));
    window.Command3->click();
    EXPECT_EQ(window.ListView1->topLevelItemCount(), 0) << "a removed folder takes its securities along";
    window.show();
    window.close(); // the window's close button
    EXPECT_EQ(symbols::readSys(context), QStringList{folder});
}

// Leaving the window during the job, by Cancel, Escape or the close button, stops it after the security
// in hand.
struct LeaveCase
{
    const char* what;
    void (*leave)(frmDownloadProgress&);
};

class CancelTest
    : public DownloadWindowsTest
    , public testing::WithParamInterface<LeaveCase>
{};

TEST_P(CancelTest, DuringTheThirdOfTenShowsThreeResults)
{
    for (int i = 1; i <= 10; ++i) {
        const QString symbol = QStringLiteral("S%1").arg(i);
        addServed(symbol, QDate(2024, 6, 5));
        context->state.downloadList.append(*download::makeDownloadItem(symbol, 20240501, 20240605, folder, Friday));
    }
    // The window is left while the third security's history request is on its way.
    QTimer poll;
    onProgress = [&](frmDownloadProgress& progress) {
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (server.requests().size() == 3) {
                GetParam().leave(progress);
                poll.stop();
            }
        });
        poll.start(0);
    };
    runProgress();

    EXPECT_EQ(historySymbols(server), (QStringList{"S1", "S2", "S3"}));
    EXPECT_EQ(caption, "3 of 10 Completed. / ");
    EXPECT_EQ(context->state.statusText, caption);
    EXPECT_EQ(counters, (QStringList{"2", "0", "0"})) << "the counters show the state before the third";
    EXPECT_EQ(shown, (QStringList{"S1|OK", "S2|OK", "S3|OK"}));
    EXPECT_EQ(summary, "Completed : 3    |    Upto Date : 0    |    No Data : 0");
    EXPECT_EQ(barsOf(folder, "S4").size(), 36);
}

INSTANTIATE_TEST_SUITE_P(Ways,
                         CancelTest,
                         testing::Values(LeaveCase{"Cancel", [](auto& progress) { progress.Command1->click(); }},
                                         LeaveCase{"Escape", [](auto& progress) { progress.reject(); }},
                                         LeaveCase{"CloseButton",
                                                   [](auto& progress) { EXPECT_FALSE(progress.close()); }}),
                         testing_support::nameOf<LeaveCase>);

TEST_F(DownloadWindowsTest, SaysWhyAJobStoppedAWriteFailedOrNoServiceAnswered)
{
    addServed("IBM", QDate(2024, 6, 5));
    const context::DownloadItem gone{"GONE", {}, "2024-06-01", folder + "/missing"};
    const context::DownloadItem ibm = *download::makeDownloadItem("IBM", 20240501, 20240605, folder, Friday);
    context->state.downloadList = {gone};
    runProgress();
    EXPECT_TRUE(progressLabel.startsWith("Stopped: GONE: ")) << progressLabel.toStdString();
    EXPECT_EQ(caption, "Download Progress");
    EXPECT_TRUE(shown.isEmpty());

    // Once a security has been written the job carries on past the missing folder, and says so.
    context->state.downloadList = {ibm, gone};
    runProgress();
    EXPECT_TRUE(progressLabel.startsWith("Not all quotes were written: GONE: ")) << progressLabel.toStdString();
    EXPECT_EQ(shown, (QStringList{"IBM|OK", "GONE|No Data"}));
    EXPECT_TRUE(context.prompter().prompts.isEmpty());

    context->settings->clear();
    context->state.downloadList = {ibm};
    const qsizetype requests = server.requests().size();
    runProgress();
    EXPECT_EQ(shown, QStringList{"IBM|No Data"});
    EXPECT_EQ(server.requests().size(), requests);
    EXPECT_TRUE(context.prompter().messages().join("").contains("not configured"));

    // The source chosen in Settings is the one asked; what it refused is said in the result's tip.
    context->settings->setValue("Sources/Source", "eodhd");
    context->settings->setValue("Sources/eodhdKey", "k");
    context->settings->setValue("Sources/eodhdUrl", server.url());
    server.canned["/api/eod/IBM.US"] = {{"401 Unauthorized", "Unauthenticated", "text/html", {}}};
    runProgress();
    EXPECT_EQ(shown, QStringList{"IBM|No Data"});
    EXPECT_TRUE(shownTips.value(0).contains("EODHD refused the API key")) << shownTips.value(0).toStdString();
}

TEST_F(DownloadWindowsTest, ShownModallyTheProgressWindowRunsTheJobAndClosesItself)
{
    addServed("IBM", QDate(2024, 6, 5));
    context->state.downloadList = {*download::makeDownloadItem("IBM", 20240501, 20240605, folder, Friday)};
    context.modalDrivers.push_back([](QDialog& dialog) { return dialog.exec(); });
    context.modalDrivers.push_back([](QDialog& dialog) { return dialog.result(); });
    frmDownloadProgress progress(context);
    EXPECT_EQ(context->runModal(progress), QDialog::Accepted);
    EXPECT_FALSE(progress.isVisible());
    EXPECT_EQ(context.modalsShown, (QStringList{"frmDownloadProgress", "frmDownloadResults"}));
}

TEST_F(DownloadWindowsTest, ResultsAreCountedByTheirTrimmedText)
{
    context->state.downloadResults = {{"A", "OK"}, {"B", "No Data  "}, {"C", "Up to date"}, {"D", "No Connection"}};
    frmDownloadResults results(context);
    results.Form_Load(); // a second load lists the rows once
    QStringList images;
    for (int i = 0; i < results.ListView1->topLevelItemCount(); ++i)
        images.append(results.ListView1->topLevelItem(i)->data(0, frmDownloadResults::ImageRole).toString());
    EXPECT_EQ(rows(results.ListView1, {1}) + images,
              (QStringList{"OK", "No Data  ", "Up to date", "No Connection", "1", "2", "1", "1"}));
    EXPECT_EQ(results.Label1->text(), "Completed : 2    |    Upto Date : 1    |    No Data : 1");
}

} // namespace

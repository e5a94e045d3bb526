// The selection, progress and results windows, driven through their controls, from a real symbol
// database and real folders to the local quote server.

#include "core/helpers.h"
#include "download/frmdownload.h"
#include "download/frmdownloadprogress.h"
#include "download/frmdownloadresults.h"
#include "download/selection.h"
#include "downloadfixture.h"
#include "frmmain.h"
#include "symbolsdb.h"

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

const QDate Friday(2024, 6, 14);

QStringList column(const QTreeWidget* list, int position)
{
    QStringList texts;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        texts.append(list->topLevelItem(i)->text(position));
    return texts;
}

QList<bool> ticks(const QTreeWidget* list)
{
    QList<bool> ticked;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        ticked.append(list->topLevelItem(i)->checkState(0) == Qt::Checked);
    return ticked;
}

void tick(QTreeWidget* list, int row, bool on = true)
{
    list->topLevelItem(row)->setCheckState(0, on ? Qt::Checked : Qt::Unchecked);
}

// What the results window showed.
struct Shown
{
    QStringList symbols;
    QStringList results;
    QList<int> images;
    QString summary;
};

class DownloadWindowsTest : public testing::Test
{
protected:
    DownloadWindowsTest()
    {
        context.setToday(Friday);
        EXPECT_TRUE(context.installProgramFile(symbols::kDatabaseFileName));
        useServer(context, server);
        folderA = context.makeFolder(QStringLiteral("a"));
        folderB = context.makeFolder(QStringLiteral("b"));
    }

    void addServed(const QString& folder, const QString& symbol, QDate last)
    {
        const QList<HistoryRow> rows = everyDay(QDate(2024, 5, 1), Friday);
        server.symbol(symbol).history = rows;
        addSecurity(folder, symbol, rows.mid(0, QDate(2024, 5, 1).daysTo(last) + 1));
    }

    void addFolder(frmDownload& window, const QString& folder)
    {
        window.Text1->setText(folder);
        window.Command2->click();
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
            shown.symbols = column(results.ListView1, 0);
            shown.results = column(results.ListView1, 1);
            for (int i = 0; i < results.ListView1->topLevelItemCount(); ++i)
                shown.images.append(results.ListView1->topLevelItem(i)->data(0, frmDownloadResults::ImageRole).toInt());
            shown.summary = results.Label1->text();
            results.Command1->click();
            return results.result();
        });
    }

    testing_support::TestContext context;
    QuoteServer server;
    QString folderA;
    QString folderB;
    std::function<void(frmDownloadProgress&)> onProgress = [](frmDownloadProgress&) {};
    QString caption;
    QString progressLabel;
    QStringList counters;
    Shown shown;
};

TEST_F(DownloadWindowsTest, TickedSecuritiesAreDownloadedAndTheResultsShown)
{
    addServed(folderA, QStringLiteral("IBM"), QDate(2024, 6, 5));
    addServed(folderA, QStringLiteral("MSFT"), Friday);
    addServed(folderB, QStringLiteral("VOD"), QDate(2024, 6, 10));
    frmDownload window(context);
    window.Timer1_Timer();
    EXPECT_EQ(context->state.statusText, QStringLiteral("Download Listing."));
    EXPECT_EQ(window.ListView2->topLevelItemCount(), 0);
    addFolder(window, folderA);
    addFolder(window, folderB);

    tick(window.ListView2, 0);
    EXPECT_EQ(column(window.ListView1, 0), (QStringList{folderA, "IBM Corp", "MSFT Corp"}));
    EXPECT_EQ(column(window.ListView1, 1), (QStringList{"", "IBM", "MSFT"}));
    EXPECT_EQ(column(window.ListView1, 2), (QStringList{"", "6/5/2024", "6/14/2024"}));
    EXPECT_EQ(ticks(window.ListView1), (QList<bool>{true, true, false})) << "today's security stays unticked";
    EXPECT_EQ(window.Label1->text(), QStringLiteral("1 Securities Selected."));
    tick(window.ListView2, 1);
    EXPECT_EQ(column(window.ListView1, 1), (QStringList{"", "IBM", "MSFT", "", "VOD"}));
    EXPECT_EQ(window.Label1->text(), QStringLiteral("2 Securities Selected."));
    tick(window.ListView1, 0, false); // a header's tick does not count
    window.Check2->setChecked(true);
    window.DTPicker1->setDate(QDate(2024, 6, 1));

    driveProgressAndResults();
    window.Command4->click();

    EXPECT_EQ(context.modalsShown, (QStringList{"frmDownloadProgress", "frmDownloadResults"}));
    EXPECT_EQ(window.result(), QDialog::Accepted);
    ASSERT_EQ(context->state.downloadList.size(), 2);
    EXPECT_EQ(context->state.downloadList[0].fromDate, QStringLiteral("2024-06-06"));
    EXPECT_EQ(context->state.downloadList[0].folder, folderA);
    EXPECT_EQ(context->state.downloadList[1].folder, folderB);
    EXPECT_TRUE(context->state.dataCorrection);
    EXPECT_EQ(context->state.dataCorrectionFrom, QStringLiteral("2024-06-01"));
    EXPECT_FALSE(context->state.downloadCurrentQuote);
    EXPECT_EQ(historySymbols(server), (QStringList{"IBM", "VOD"}));
    EXPECT_EQ(server.requests()[0].target, "/table.csv?s=IBM&d=5&e=14&f=2024&a=5&b=1&c=2024&ignore=.csv");
    expectBars(barsOf(folderA, QStringLiteral("IBM")), server.symbol(QStringLiteral("IBM")).history);
    expectBars(barsOf(folderB, QStringLiteral("VOD")), server.symbol(QStringLiteral("VOD")).history);
    EXPECT_EQ(caption, QStringLiteral("Download Completed. / "));
    EXPECT_EQ(context->state.statusText, QStringLiteral("Download Progress."));
    EXPECT_EQ(shown.symbols, (QStringList{"IBM", "VOD"}));
    EXPECT_EQ(shown.results, (QStringList{"OK", "OK"}));
    EXPECT_EQ(shown.summary, QStringLiteral("Completed : 2    |    Upto Date : 0    |    No Data : 0"));
    EXPECT_EQ(symbols::readSys(context), (QStringList{folderA, folderB}));
    EXPECT_TRUE(context.prompter().prompts.isEmpty());
}

TEST_F(DownloadWindowsTest, FolderTicksRelistAndNothingTickedMeansNoDownload)
{
    addServed(folderA, QStringLiteral("IBM"), QDate(2024, 6, 5));
    addServed(folderB, QStringLiteral("VOD"), QDate(2024, 6, 10));
    frmDownload window(context);
    window.Timer1_Timer();
    context.prompter().folders = {QStringLiteral("C:\\"), QString()};
    window.Command1->click();
    EXPECT_EQ(window.Text1->text(), QStringLiteral("C:")) << "a drive root loses its backslash";
    window.Command1->click();
    EXPECT_EQ(window.Text1->text(), QStringLiteral("C:")) << "cancelling the folder picker changes nothing";
    EXPECT_EQ(context.prompter().prompts.value(0).title, QStringLiteral("Browse For Folder"));
    context.prompter().prompts.clear();
    addFolder(window, folderA);
    addFolder(window, QStringLiteral("  ") + folderB + QStringLiteral(" "));
    addFolder(window, folderA + QStringLiteral(" "));
    EXPECT_EQ(context.prompter().messages(), QStringList{"Already Exists."});
    EXPECT_EQ(column(window.ListView2, 0), (QStringList{folderA, folderB}));

    tick(window.ListView2, 0);
    tick(window.ListView2, 1);
    tick(window.ListView2, 0, false);
    EXPECT_EQ(column(window.ListView1, 0), (QStringList{folderB, "VOD Corp"}));

    tick(window.ListView1, 1, false);
    EXPECT_EQ(window.Label1->text(), QStringLiteral("No Securities Selected."));
    window.Command4->click();
    EXPECT_EQ(context.prompter().messages(), (QStringList{"Already Exists.", "No Securities Selected."}));
    EXPECT_TRUE(context.modalsShown.isEmpty());
    EXPECT_TRUE(server.requests().isEmpty());

    window.ListView2->setCurrentItem(window.ListView2->topLevelItem(1));
    window.Command3->click();
    EXPECT_EQ(column(window.ListView2, 0), QStringList{folderA});
    EXPECT_EQ(window.ListView1->topLevelItemCount(), 0);
}

TEST_F(DownloadWindowsTest, TheFolderListIsSavedOnCloseAndRestoredEmptyListIncluded)
{
    {
        frmDownload window(context);
        window.Timer1_Timer();
        addFolder(window, folderA);
        addFolder(window, folderB);
        window.Command5->click();
    }
    EXPECT_EQ(symbols::readSys(context), (QStringList{folderA, folderB}));
    {
        frmDownload window(context);
        window.Timer1_Timer();
        EXPECT_EQ(column(window.ListView2, 0), (QStringList{folderA, folderB}));
        for (int i = 0; i < 2; ++i) {
            window.ListView2->setCurrentItem(window.ListView2->topLevelItem(0));
            window.Command3->click();
        }
        window.show();
        window.close(); // the window's close button
    }
    EXPECT_TRUE(symbols::readSys(context).isEmpty());
    frmDownload window(context);
    window.Timer1_Timer();
    EXPECT_EQ(window.ListView2->topLevelItemCount(), 0);
}

// Leaving the window during the job, by Cancel or by Escape and the close button, stops it after the
// security in hand.
class CancelTest
    : public DownloadWindowsTest
    , public testing::WithParamInterface<void (*)(frmDownloadProgress&)>
{};

TEST_P(CancelTest, DuringTheThirdOfTenShowsThreeResults)
{
    for (int i = 1; i <= 10; ++i) {
        const QString symbol = QStringLiteral("S%1").arg(i);
        addServed(folderA, symbol, QDate(2024, 6, 5));
        context->state.downloadList.append(*download::makeDownloadItem(symbol, 20240605, folderA, Friday));
    }
    // The window is left while the third security's history request is on its way.
    QTimer poll;
    onProgress = [&](frmDownloadProgress& progress) {
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (server.requests().size() == 3) {
                GetParam()(progress);
                poll.stop();
            }
        });
        poll.start(0);
    };
    driveProgressAndResults();
    frmDownloadProgress progress(context);
    context->runModal(progress);

    EXPECT_EQ(historySymbols(server), (QStringList{"S1", "S2", "S3"}));
    EXPECT_EQ(caption, QStringLiteral("3 of 10 Completed. / "));
    EXPECT_EQ(context->state.statusText, caption);
    EXPECT_EQ(counters, (QStringList{"2", "0", "0"})) << "the counters show the state before the third";
    EXPECT_EQ(shown.symbols, (QStringList{"S1", "S2", "S3"}));
    EXPECT_EQ(shown.summary, QStringLiteral("Completed : 3    |    Upto Date : 0    |    No Data : 0"));
    EXPECT_EQ(barsOf(folderA, QStringLiteral("S4")).size(), 36);
}

INSTANTIATE_TEST_SUITE_P(Ways,
                         CancelTest,
                         testing::Values([](frmDownloadProgress& progress) { progress.Command1->click(); },
                                         [](frmDownloadProgress& progress) {
                                             progress.reject();
                                             EXPECT_FALSE(progress.close());
                                         }));

TEST_F(DownloadWindowsTest, SaysWhyAJobStoppedOrAWriteFailedAndNamesAnUnconfiguredService)
{
    addServed(folderA, QStringLiteral("IBM"), QDate(2024, 6, 5));
    context->state.downloadList = {{QStringLiteral("GONE"), {}, QStringLiteral("2024-06-01"), folderA + "/missing"}};
    driveProgressAndResults();
    {
        frmDownloadProgress progress(context);
        context->runModal(progress);
    }
    EXPECT_TRUE(progressLabel.startsWith(QStringLiteral("Stopped: GONE: "))) << progressLabel.toStdString();
    EXPECT_EQ(caption, QStringLiteral("Download Progress"));
    EXPECT_TRUE(shown.symbols.isEmpty());
    EXPECT_EQ(shown.summary, QStringLiteral("Completed : 0    |    Upto Date : 0    |    No Data : 0"));

    EXPECT_TRUE(context.prompter().prompts.isEmpty());

    // Once a security has been written the job carries on past the missing folder, and says so.
    const app::DownloadItem ibm = *download::makeDownloadItem(QStringLiteral("IBM"), 20240605, folderA, Friday);
    context->state.downloadList.prepend(ibm);
    driveProgressAndResults();
    {
        frmDownloadProgress progress(context);
        context->runModal(progress);
    }
    EXPECT_TRUE(progressLabel.startsWith(QStringLiteral("Not all quotes were written: GONE: ")))
        << progressLabel.toStdString();
    EXPECT_EQ(shown.results, (QStringList{"OK", "No Data"}));

    context->settings->clear();
    context->state.downloadList = {ibm};
    const qsizetype requests = server.requests().size();
    driveProgressAndResults();
    frmDownloadProgress progress(context);
    context->runModal(progress);
    EXPECT_EQ(shown.results, QStringList{"No Data"});
    EXPECT_EQ(server.requests().size(), requests);
    ASSERT_EQ(context.prompter().messages().size(), 1);
    EXPECT_TRUE(context.prompter().messages()[0].contains(QStringLiteral("not configured")));
}

TEST_F(DownloadWindowsTest, ShownModallyTheProgressWindowRunsTheJobAndClosesItself)
{
    addServed(folderA, QStringLiteral("IBM"), QDate(2024, 6, 5));
    context->state.downloadList = {*download::makeDownloadItem(QStringLiteral("IBM"), 20240605, folderA, Friday)};
    context.modalDrivers.push_back([](QDialog& dialog) { return dialog.exec(); });
    context.modalDrivers.push_back([](QDialog& dialog) { return dialog.result(); });
    frmDownloadProgress progress(context);
    EXPECT_EQ(context->runModal(progress), QDialog::Accepted);
    EXPECT_FALSE(progress.isVisible());
    EXPECT_EQ(context.modalsShown, (QStringList{"frmDownloadProgress", "frmDownloadResults"}));
    EXPECT_EQ(context->state.downloadResults.size(), 1);
}

TEST_F(DownloadWindowsTest, ResultsAreCountedByTheirTrimmedText)
{
    context->state.downloadResults = {{QStringLiteral("A"), QStringLiteral("OK")},
                                      {QStringLiteral("B"), QStringLiteral("No Data  ")},
                                      {QStringLiteral("C"), QStringLiteral("Up to date")},
                                      {QStringLiteral("D"), QStringLiteral("No Connection")}};
    frmDownloadResults results(context);
    results.Form_Load(); // a second load lists the rows once
    EXPECT_EQ(results.windowTitle(), QStringLiteral("Download Results"));
    EXPECT_EQ(column(results.ListView1, 1), (QStringList{"OK", "No Data  ", "Up to date", "No Connection"}));
    QList<int> images;
    for (int i = 0; i < results.ListView1->topLevelItemCount(); ++i)
        images.append(results.ListView1->topLevelItem(i)->data(0, frmDownloadResults::ImageRole).toInt());
    EXPECT_EQ(images, (QList<int>{1, 2, 1, 1}));
    EXPECT_EQ(results.Label1->text(), QStringLiteral("Completed : 2    |    Upto Date : 1    |    No Data : 1"));
    EXPECT_EQ(results.Command1->text(), QStringLiteral("&OK"));
}

TEST_F(DownloadWindowsTest, TheToolsMenuOpensTheSelectionWithTheSavedOptions)
{
    context->state.dataCorrection = true;
    context->state.downloadCurrentQuote = true;
    bool correction = false;
    bool currentQuote = false;
    context.modalDrivers.push_back([&](QDialog& dialog) {
        auto& selection = static_cast<frmDownload&>(dialog);
        correction = selection.Check2->isChecked();
        currentQuote = selection.Check1->isChecked();
        return QDialog::Rejected;
    });
    app::frmMain main(context);
    main.mnuDownload->trigger();
    EXPECT_EQ(context.modalsShown, QStringList{"frmDownload"});
    EXPECT_TRUE(correction);
    EXPECT_TRUE(currentQuote);
}

} // namespace

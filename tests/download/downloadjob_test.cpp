// The download job against the local quote server, writing into real folders.

#include "download/downloadjob.h"

#include "download/selection.h"
#include "downloadfixture.h"
#include "paramnames.h"

#include <QTest>

namespace {

using namespace download_test;
using download::DownloadJob;
using download::DownloadOptions;
using download::JobOutcome;
using testing_support::PrintTo;

const QDate Friday(2024, 6, 14), Saturday(2024, 6, 15), Sunday(2024, 6, 16), Monday(2024, 6, 17);

class DownloadJobTest : public DownloadTest
{
protected:
    // The item the selection makes of a security of the folder.
    context::DownloadItem item(const QString& symbol, const QString& in = {})
    {
        const QString where = in.isEmpty() ? folder : in;
        const auto bars = barsOf(where, symbol);
        if (bars.empty())
            throw std::runtime_error("no bars to download after");
        return download::makeDownloadItem(symbol, bars.front().date, bars.back().date, where, today).value();
    }

    JobOutcome run(const QList<context::DownloadItem>& items, const DownloadOptions& options = {})
    {
        DownloadJob job(channel, context->locale, events);
        return job.run(items, options, today);
    }

    // The results, then the counters: "IBM=OK UP=Up to date | 1 1 0".
    QString statuses(const JobOutcome& outcome) const
    {
        QStringList texts;
        for (const auto& result : outcome.results)
            texts.append(result.symbol + u'=' + result.status);
        const auto& c = outcome.counters;
        return texts.join(u' ') + QStringLiteral(" | %1 %2 %3").arg(c.completed).arg(c.upToDate).arg(c.noData);
    }

    download::HttpChannel channel{{server.url(), server.url()}};
    QDate today = Friday;
    DownloadJob::Events events;
};

TEST_F(DownloadJobTest, BarsLandOldestFirstAsServedAndASecondRunAddsNothing)
{
    // Last updated two months back: only the months are compared, so the last date itself is fetched
    // again and must replace that bar, not duplicate it.
    servedTo = today = QDate(2024, 7, 2);
    addServed("IBM", QDate(2024, 5, 1));
    const JobOutcome first = run({item("IBM")});
    EXPECT_EQ(first.end, JobOutcome::End::Completed);
    EXPECT_EQ(statuses(first), "IBM=OK | 1 0 0");
    EXPECT_EQ(server.requests().value(0).target, "/table.csv?s=IBM&d=6&e=2&f=2024&a=4&b=1&c=2024&ignore=.csv");
    expectBars(barsOf(folder, "IBM"), server.symbol("IBM").history);

    EXPECT_EQ(statuses(run({item("IBM")})), "IBM=Up to date | 0 1 0");
    EXPECT_EQ(server.requests().size(), 1) << "an up-to-date security costs no request";
}

TEST_F(DownloadJobTest, DataCorrectionReplacesBarsFromItsDateWithoutDuplicates)
{
    QList<HistoryRow> wrong = everyDay(QDate(2024, 6, 1), Friday);
    for (HistoryRow& row : wrong)
        row.close = 1;
    addSecurity(folder, "IBM", wrong);
    server.symbol("IBM").history = everyDay(QDate(2024, 5, 1), Friday);

    DownloadOptions options;
    options.dataCorrection = true;
    options.correctionFrom = QDate(2024, 6, 10);
    // The security holds today's bar: its start date is tomorrow, which correction does not skip.
    EXPECT_EQ(statuses(run({item("IBM")}, options)), "IBM=Up to date | 0 1 0");
    EXPECT_EQ(server.requests().value(0).target, "/table.csv?s=IBM&d=5&e=14&f=2024&a=5&b=10&c=2024&ignore=.csv");
    expectBars(barsOf(folder, "IBM"), wrong.mid(0, 9) + everyDay(QDate(2024, 6, 10), Friday));
}

struct CurrentQuoteCase
{
    const char* what;
    bool historyServed;
    QByteArray quote;
    bool todaysBarFromQuote;
    const char* result;
};

class CurrentQuoteTest
    : public DownloadJobTest
    , public testing::WithParamInterface<CurrentQuoteCase>
{};

TEST_P(CurrentQuoteTest, OverridesTheHistoryOnlyWhenItWritesTodaysBar)
{
    const CurrentQuoteCase& c = GetParam();
    servedTo = QDate(2024, 6, 13); // today's bar comes from the quote or not at all
    addServed("IBM", QDate(2024, 6, 5));
    QList<HistoryRow> expected = server.symbol("IBM").history;
    if (!c.historyServed) {
        server.symbol("IBM").history.clear(); // the header row alone
        expected = everyDay(QDate(2024, 5, 1), QDate(2024, 6, 5));
    }
    server.symbol("IBM").quoteBody = c.quote;

    DownloadOptions options;
    options.currentQuote = true;
    const JobOutcome outcome = run({item("IBM")}, options);

    EXPECT_EQ(outcome.results.value(0).status, QLatin1String(c.result));
    EXPECT_EQ(outcome.ignoredErrors, 0);
    if (c.todaysBarFromQuote)
        expected.append({Friday, 90.95, 91.2, 90.1, 90.44, 1500000, 0});
    expectBars(barsOf(folder, "IBM"), expected);
}

const QByteArray ValidQuote =
    "\"IBM\",90.44,\"6/14/2024\",\"4:01pm\",-0.51,\"-0.56%\",90.95,91.2,90.1,N/A,N/A,1500000\n";
const QByteArray NoOpening = "\"IBM\",90.44,\"6/14/2024\",\"4:01pm\",-0.51,\"-0.56%\",N/A,91.2,90.1,N/A,N/A,1500000\n";

INSTANTIATE_TEST_SUITE_P(Quotes,
                         CurrentQuoteTest,
                         testing::Values(CurrentQuoteCase{"valid", true, ValidQuote, true, "OK"},
                                         CurrentQuoteCase{"noOpening", true, NoOpening, false, "OK"},
                                         CurrentQuoteCase{"noOpeningNoHistory", false, NoOpening, false, "No Data"},
                                         CurrentQuoteCase{"validWithoutHistory", false, ValidQuote, true, "OK"},
                                         CurrentQuoteCase{"shortReply", true, "\"IBM\",90.44\n", false, "OK"},
                                         CurrentQuoteCase{"shortReplyNoHistory", false, "\"IBM\"\n", false, "No Data"}),
                         testing_support::nameOf<CurrentQuoteCase>);

TEST_F(DownloadJobTest, RowsDatedAfterTodayAreLeftOutAndSaidSoSoTheSecurityIsNotFrozen)
{
    servedTo = Monday;
    addServed("IBM", QDate(2024, 6, 10));
    // A service that ignores the end of the range it is asked for.
    QList<HistoryRow> newestFirst = everyDay(QDate(2024, 6, 11), Monday);
    std::reverse(newestFirst.begin(), newestFirst.end());
    server.symbol("IBM").historyBody = QuoteServer::historyCsv(newestFirst);
    const JobOutcome friday = run({item("IBM")});
    EXPECT_EQ(friday.results.value(0).reason, "3 rows dated after today were not written");
    EXPECT_EQ(barsOf(folder, "IBM").back().date, 20240614);

    today = Monday;
    server.symbol("IBM").historyBody.reset();
    const JobOutcome monday = run({item("IBM")});
    EXPECT_EQ(statuses(monday), "IBM=OK | 1 0 0");
    EXPECT_TRUE(monday.results.value(0).reason.isEmpty());
    expectBars(barsOf(folder, "IBM"), server.symbol("IBM").history);
}

TEST_F(DownloadJobTest, ANewSecurityGetsTheBarOfItsFirstDate)
{
    // As the create window leaves it: the first date recorded by a bar added and taken away again.
    const QDate first(2024, 6, 10);
    addSecurity(folder, "NEW", {});
    store::MetaStockWriter writer;
    ASSERT_TRUE(writer.OpenFolder(folder).ok());
    ASSERT_TRUE(writer.SelectSecurity("NEW").ok());
    ASSERT_TRUE(writer.AddBar(20240610, 0, 0, 0, 0, 0, 0, 0).ok());
    ASSERT_TRUE(writer.DeleteBar("20240610").ok());
    ASSERT_TRUE(writer.CloseFolder().ok());
    server.symbol("NEW").history = everyDay(servedFrom, servedTo);

    QList<download::ListedSecurity> listed;
    ASSERT_TRUE(download::listSecurities(folder, listed).ok());
    ASSERT_EQ(listed.size(), 1);
    const JobOutcome outcome =
        run({*download::makeDownloadItem(listed[0].symbol, listed[0].firstDate, listed[0].lastDate, folder, today)});
    EXPECT_EQ(statuses(outcome), "NEW=OK | 1 0 0");
    expectBars(barsOf(folder, "NEW"), everyDay(first, today));
}

TEST_F(DownloadJobTest, AFolderThatCannotBeOpenedStopsTheJobUntilASecurityHasBeenWritten)
{
    addServed("IBM", QDate(2024, 6, 5));
    addServed("UP", Friday);
    context::DownloadItem missing = item("IBM");
    missing.symbol = "GONE";
    missing.folder = context.makeFolder("elsewhere") + "/missing";
    server.symbol("GONE").history = server.symbol("IBM").history;

    // Met first (after a security that needed nothing): the job ends, the failing one has no result.
    const JobOutcome stopped = run({item("UP"), missing, item("IBM")});
    EXPECT_EQ(stopped.end, JobOutcome::End::Stopped);
    EXPECT_EQ(statuses(stopped), "UP=Up to date | 0 1 0");
    EXPECT_TRUE(stopped.stopReason.startsWith("GONE: ")) << stopped.stopReason.toStdString();

    // Met after a security was written: the job carries on and classifies it by the service's answer.
    // The next security of that folder tries to open it again.
    context::DownloadItem missingToo = missing;
    missingToo.symbol = "GONE2";
    server.symbol("GONE2").history = server.symbol("IBM").history;
    QStringList reported;
    events.ignoredError = [&](const QString& symbol, const QString& error) {
        reported.append(symbol + (error.contains("does not exist") ? ": missing" : ": " + error));
    };
    const JobOutcome carried = run({item("IBM"), missing, missingToo, item("UP")});
    EXPECT_EQ(carried.end, JobOutcome::End::Completed);
    EXPECT_EQ(statuses(carried), "IBM=OK GONE=OK GONE2=OK UP=Up to date | 3 1 0");
    EXPECT_EQ(reported, (QStringList{"GONE: missing", "GONE2: missing"}))
        << "one report per security, however many calls failed";
    EXPECT_GT(carried.ignoredErrors, 1);
    EXPECT_FALSE(QDir(missing.folder).exists());
}

TEST_F(DownloadJobTest, ABarTheFolderCannotHoldStopsTheJobAndLeavesTheSecurityAsItWas)
{
    addServed("IBM", QDate(2024, 6, 5));
    server.symbol("IBM").history[40].high = 1e40;
    const auto before = barsOf(folder, "IBM");

    const JobOutcome outcome = run({item("IBM")});
    EXPECT_EQ(outcome.end, JobOutcome::End::Stopped);
    EXPECT_EQ(statuses(outcome), " | 0 0 0");
    EXPECT_EQ(barsOf(folder, "IBM").size(), before.size());
}

TEST_F(DownloadJobTest, ThreadsChangeNothingButHowManyRequestsWaitAtOnce)
{
    // Two folders made alike, securities in every situation, replies that arrive out of order.
    const QString other = context.makeFolder("other");
    QList<context::DownloadItem> items[2];
    for (int i = 0; i < 10; ++i) {
        const QString symbol = QStringLiteral("S%1").arg(i, 2, 10, QLatin1Char('0'));
        const QDate held = i % 7 == 3 ? Friday : QDate(2024, 5, 10).addDays(i);
        for (const QString& in : {folder, other})
            addServed(symbol, held, in);
        QuoteServer::Script& script = server.symbol(symbol);
        if (i % 4 == 1)
            script.misbehaviour = QuoteServer::Misbehaviour::Slow;
        if (i % 5 == 2)
            script.misbehaviour = QuoteServer::Misbehaviour::NotFound;
        if (i % 3 == 0)
            script.quoteBody = "\"X\",90.44,\"6/14/2024\",\"4:01pm\",-0.5,\"-0.5%\",N/A,91.2,90.1,N/A,N/A,N/A\n";
        items[0].append(item(symbol, folder));
        items[1].append(item(symbol, other));
    }
    server.slowDelay = std::chrono::milliseconds(30);
    DownloadOptions options;
    options.currentQuote = true;

    // Everything a run shows, in order: its events, results with their reasons, and counters.
    QStringList logs[2];
    JobOutcome outcomes[2];
    for (int f = 0; f < 2; ++f) {
        QStringList& log = logs[f];
        events.checking = [&log](int, int, const QString& symbol, const download::DownloadCounters& c) {
            log.append(QStringLiteral("%1 %2 %3 %4").arg(symbol).arg(c.completed).arg(c.upToDate).arg(c.noData));
        };
        events.barWritten = [&log](int done, int total) { log.append(QStringLiteral("%1/%2").arg(done).arg(total)); };
        events.recorded = [&log](int, int, const context::DownloadResult& r) {
            log.append(r.symbol + u'=' + r.status + u' ' + r.reason);
        };
        events.ignoredError = [&log](const QString& symbol, const QString& error) { log.append(symbol + error); };
        options.threads = f == 0 ? 1 : 5;
        outcomes[f] = run(items[f], options);
    }
    EXPECT_EQ(outcomes[0].end, JobOutcome::End::Completed);
    EXPECT_EQ(logs[1], logs[0]);
    EXPECT_EQ(statuses(outcomes[1]), statuses(outcomes[0]));
    EXPECT_FALSE(store_test::snapshot(folder).isEmpty());
    EXPECT_TRUE(store_test::snapshot(folder) == store_test::snapshot(other)) << "the folders differ";
}

// Cancel stops after the security in hand and hangs up on the requests made ahead for the next ones.
// Without that the job would wait for their replies, which never end here (the server answers from this
// thread, and neither its delay nor the channel's timeout run out during a test).
TEST_F(DownloadJobTest, CancelAbortsTheRequestsInFlight)
{
    download::HttpLimits patient;
    patient.timeout = std::chrono::hours(1);
    download::HttpChannel patientChannel({server.url(), server.url()}, patient);
    QList<context::DownloadItem> items;
    for (const char* symbol : {"A", "B", "C", "D", "E"}) {
        addServed(QLatin1String(symbol), QDate(2024, 6, 5));
        items.append(item(QLatin1String(symbol)));
        if (items.size() > 1)
            server.symbol(QLatin1String(symbol)).misbehaviour = QuoteServer::Misbehaviour::Slow;
    }
    server.slowDelay = std::chrono::hours(1);
    DownloadOptions options;
    options.threads = 5;
    DownloadJob* running = nullptr;
    events.recorded = [&](int, int, const context::DownloadResult&) { running->cancel(); };
    DownloadJob job(patientChannel, context->locale, events);
    running = &job;
    const JobOutcome outcome = job.run(items, options, today);
    EXPECT_EQ(statuses(outcome), "A=OK | 1 0 0");
    for (int i = 0; i < 100 && server.hungUp() < 4; ++i)
        QTest::qWait(20);
    EXPECT_EQ(server.hungUp(), 4);
}

TEST_F(DownloadJobTest, ReportsTheSlowestRequestsSlowestFirst)
{
    for (const char* symbol : {"A", "B", "C"})
        addServed(QLatin1String(symbol), QDate(2024, 6, 5));
    server.symbol("B").misbehaviour = QuoteServer::Misbehaviour::Slow;
    server.slowDelay = std::chrono::milliseconds(300);
    DownloadOptions options;
    options.threads = 3;

    const JobOutcome outcome = run({item("A"), item("B"), item("C")}, options);
    ASSERT_EQ(outcome.slowestRequests.size(), 3);
    EXPECT_TRUE(outcome.slowestRequests[0].request.startsWith(server.url() + "/table.csv?s=B&"));
    const QString text = download::slowestRequestsText(outcome.slowestRequests);
    EXPECT_TRUE(text.startsWith("Slowest requests: B 0.")) << text.toStdString();
}

TEST_F(DownloadJobTest, OnlyASundayOnMondayOrASaturdayOnItselfIsSkippedByTheJobsClock)
{
    struct
    {
        QDate from, today;
        bool weekendQuotes, upToDate;
    } const table[] = {{Sunday, Monday, false, true},
                       {Sunday, Monday, true, false},
                       {Saturday, Saturday, false, true},
                       {Saturday, Saturday, true, false},
                       {Saturday, Sunday, false, false},
                       {Saturday, Monday, false, false},
                       {Sunday, Sunday, false, false},
                       {Friday, Monday, false, false},
                       {Saturday, Friday, true, true},
                       {Friday, Friday, false, false}};

    servedTo = Monday;
    for (const auto& c : table) {
        const QString symbol = QStringLiteral("W%1").arg(&c - table);
        today = c.today;
        addServed(symbol, c.from.addDays(-1));
        ASSERT_EQ(item(symbol).fromDate, c.from.toString(Qt::ISODate));
        DownloadOptions options;
        options.weekendQuotes = c.weekendQuotes;
        const JobOutcome outcome = run({item(symbol)}, options);
        const std::string name = QStringLiteral("from %1 today %2%3")
                                     .arg(QLocale::c().dayName(c.from.dayOfWeek()),
                                          QLocale::c().dayName(c.today.dayOfWeek()),
                                          c.weekendQuotes ? " with weekends" : "")
                                     .toStdString();
        EXPECT_EQ(outcome.results.value(0).status == u"Up to date", c.upToDate) << name;
        EXPECT_EQ(historySymbols(server).contains(symbol), !c.upToDate) << name;
    }
}

// The last bar's date, today, the first date asked for: only the month numbers are compared.
TEST(StartDateTest, ComparesMonthNumbersOnly)
{
    const char* const table[][3] = {{"2024-05-31", "2024-06-14", "2024-06-01"},
                                    {"2024-04-30", "2024-06-14", "2024-04-30"},
                                    {"2023-12-20", "2024-01-10", "2023-12-21"},
                                    {"2023-12-20", "2024-02-10", "2023-12-21"},
                                    {"2024-01-20", "2024-03-05", "2024-01-20"},
                                    {"2022-06-01", "2024-06-14", "2022-06-02"}};
    for (const auto& [last, today, start] : table) {
        const QDate day =
            download::startDate(QDate::fromString(last, Qt::ISODate), QDate::fromString(today, Qt::ISODate));
        EXPECT_EQ(day.toString(Qt::ISODate), QLatin1String(start)) << last << " on " << today;
    }
}

TEST(SelectionTest, AllButTodaysAndUndatedSecuritiesStartTicked)
{
    EXPECT_FALSE(download::tickedByDefault(20240614, Friday));
    EXPECT_TRUE(download::tickedByDefault(20240613, Friday));
    EXPECT_TRUE(download::tickedByDefault(20240615, Friday));
    EXPECT_FALSE(download::tickedByDefault(0, Friday));
    EXPECT_FALSE(download::makeDownloadItem("IBM", 0, 0, "/d", Friday));
    const auto made = download::makeDownloadItem(" IBM ", 20240102, 20240301, "/d", Friday);
    ASSERT_TRUE(made);
    EXPECT_EQ(made->symbol, "IBM");
    EXPECT_EQ(made->lastDateLess35, "2024-01-26");
    EXPECT_EQ(made->fromDate, "2024-03-01");
}

} // namespace

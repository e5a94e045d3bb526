// The download job against the local quote server, writing into real folders.

#include "download/downloadjob.h"

#include "download/selection.h"
#include "downloadfixture.h"

namespace {

using namespace download_test;
using download::DownloadJob;
using download::DownloadOptions;
using download::JobOutcome;

const QDate Friday(2024, 6, 14), Saturday(2024, 6, 15), Sunday(2024, 6, 16), Monday(2024, 6, 17);

class DownloadJobTest : public DownloadTest
{
protected:
    app::DownloadItem item(const QString& symbol, const QString& in = {})
    {
        const QList<store::PriceBar> bars = barsOf(in.isEmpty() ? folder : in, symbol);
        EXPECT_FALSE(bars.isEmpty()) << symbol.toStdString();
        const qint32 last = bars.isEmpty() ? 20240501 : bars.last().date;
        return *download::makeDownloadItem(symbol, last, in.isEmpty() ? folder : in, today);
    }

    JobOutcome run(const QList<app::DownloadItem>& items, const DownloadOptions& options = {})
    {
        DownloadJob job(channel, context->locale, events);
        return job.run(items, options, today);
    }

    QStringList statuses(const JobOutcome& outcome) const
    {
        QStringList texts;
        for (const auto& result : outcome.results)
            texts.append(result.symbol + u'=' + result.status);
        return texts;
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
    addServed(QStringLiteral("IBM"), QDate(2024, 5, 1));
    const JobOutcome first = run({item(QStringLiteral("IBM"))});

    EXPECT_EQ(first.end, JobOutcome::End::Completed);
    EXPECT_EQ(statuses(first), QStringList{"IBM=OK"});
    EXPECT_EQ(first.counters.completed, 1);
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests()[0].target, "/table.csv?s=IBM&d=6&e=2&f=2024&a=4&b=1&c=2024&ignore=.csv");
    expectBars(barsOf(folder, QStringLiteral("IBM")), server.symbol(QStringLiteral("IBM")).history);

    const JobOutcome second = run({item(QStringLiteral("IBM"))});
    EXPECT_EQ(statuses(second), QStringList{"IBM=Up to date"});
    EXPECT_EQ(second.counters.upToDate, 1);
    EXPECT_EQ(server.requests().size(), 1) << "an up-to-date security costs no request";
    expectBars(barsOf(folder, QStringLiteral("IBM")), server.symbol(QStringLiteral("IBM")).history);
}

TEST_F(DownloadJobTest, DataCorrectionReplacesBarsFromItsDateWithoutDuplicates)
{
    QList<HistoryRow> wrong = everyDay(QDate(2024, 6, 1), Friday);
    for (HistoryRow& row : wrong)
        row.close = 1;
    addSecurity(folder, QStringLiteral("IBM"), wrong);
    server.symbol(QStringLiteral("IBM")).history = everyDay(QDate(2024, 5, 1), Friday);

    DownloadOptions options;
    options.dataCorrection = true;
    options.correctionFrom = QDate(2024, 6, 10);
    // The security holds today's bar: its start date is tomorrow, which correction does not skip.
    const JobOutcome outcome = run({item(QStringLiteral("IBM"))}, options);

    EXPECT_EQ(statuses(outcome), QStringList{"IBM=Up to date"});
    EXPECT_EQ(server.requests().value(0).target, "/table.csv?s=IBM&d=5&e=14&f=2024&a=5&b=10&c=2024&ignore=.csv");
    const QList<HistoryRow> expected = wrong.mid(0, 9) + everyDay(QDate(2024, 6, 10), Friday);
    expectBars(barsOf(folder, QStringLiteral("IBM")), expected);
}

struct CurrentQuoteCase
{
    const char* name;
    bool historyServed;
    QByteArray quote;
    const char* result;
    bool todaysBarFromQuote;

    friend void PrintTo(const CurrentQuoteCase& c, std::ostream* os) { *os << c.name; }
};

class CurrentQuoteTest
    : public DownloadJobTest
    , public testing::WithParamInterface<CurrentQuoteCase>
{};

TEST_P(CurrentQuoteTest, OverridesTheHistoryOnlyWithAnOpeningPrice)
{
    const CurrentQuoteCase& c = GetParam();
    addServed(QStringLiteral("IBM"), QDate(2024, 6, 5));
    QList<HistoryRow> served = server.symbol(QStringLiteral("IBM")).history;
    served.removeLast(); // today's bar comes from the quote or not at all
    server.symbol(QStringLiteral("IBM")).history = served;
    if (!c.historyServed)
        server.symbol(QStringLiteral("IBM")).history.clear(); // the header row alone
    server.symbol(QStringLiteral("IBM")).quoteBody = c.quote;

    DownloadOptions options;
    options.currentQuote = true;
    const JobOutcome outcome = run({item(QStringLiteral("IBM"))}, options);

    EXPECT_EQ(statuses(outcome), QStringList{QStringLiteral("IBM=") + QLatin1String(c.result)});
    EXPECT_EQ(outcome.ignoredErrors, 0);
    const QList<store::PriceBar> bars = barsOf(folder, QStringLiteral("IBM"));
    ASSERT_FALSE(bars.isEmpty());
    EXPECT_EQ(bars.last().date == 20240614, c.todaysBarFromQuote);
    if (c.todaysBarFromQuote) {
        EXPECT_FLOAT_EQ(bars.last().open, 90.95);
        EXPECT_FLOAT_EQ(bars.last().high, 91.2);
        EXPECT_FLOAT_EQ(bars.last().low, 90.1);
        EXPECT_FLOAT_EQ(bars.last().close, 90.44);
        EXPECT_FLOAT_EQ(bars.last().volume, 1500000);
    }
    EXPECT_EQ(bars.size(), (c.historyServed ? served.size() : 36) + (c.todaysBarFromQuote ? 1 : 0));
}

const QByteArray ValidQuote =
    "\"IBM\",90.44,\"6/14/2024\",\"4:01pm\",-0.51,\"-0.56%\",90.95,91.2,90.1,N/A,N/A,1500000\n";
const QByteArray NoOpening = "\"IBM\",90.44,\"6/14/2024\",\"4:01pm\",-0.51,\"-0.56%\",N/A,91.2,90.1,N/A,N/A,1500000\n";

INSTANTIATE_TEST_SUITE_P(Quotes,
                         CurrentQuoteTest,
                         testing::Values(CurrentQuoteCase{"valid", true, ValidQuote, "OK", true},
                                         CurrentQuoteCase{"noOpening", true, NoOpening, "OK", false},
                                         CurrentQuoteCase{"noOpeningNoHistory", false, NoOpening, "OK", false},
                                         CurrentQuoteCase{"validWithoutHistory", false, ValidQuote, "OK", true},
                                         CurrentQuoteCase{"shortReply", true, "\"IBM\",90.44\n", "OK", false}),
                         [](const auto& param) { return std::string(param.param.name); });

TEST_F(DownloadJobTest, AFolderThatCannotBeOpenedStopsTheJobUntilASecurityHasBeenWritten)
{
    addServed(QStringLiteral("IBM"), QDate(2024, 6, 5));
    addServed(QStringLiteral("UP"), Friday);
    app::DownloadItem missing = item(QStringLiteral("IBM"));
    missing.symbol = QStringLiteral("GONE");
    missing.folder = context.makeFolder(QStringLiteral("elsewhere")) + QStringLiteral("/missing");
    server.symbol(QStringLiteral("GONE")).history = server.symbol(QStringLiteral("IBM")).history;

    // Met first (after a security that needed nothing): the job ends, the failing one has no result.
    const JobOutcome stopped = run({item(QStringLiteral("UP")), missing, item(QStringLiteral("IBM"))});
    EXPECT_EQ(stopped.end, JobOutcome::End::Stopped);
    EXPECT_EQ(statuses(stopped), QStringList{"UP=Up to date"});
    EXPECT_TRUE(stopped.stopReason.startsWith(QStringLiteral("GONE: "))) << stopped.stopReason.toStdString();
    EXPECT_TRUE(server.requests().isEmpty());

    // Met after a security was written: the job carries on and classifies it by the service's answer.
    QStringList reported;
    events.ignoredError = [&](const QString& symbol, const QString&) { reported.append(symbol); };
    const JobOutcome carried = run({item(QStringLiteral("IBM")), missing, item(QStringLiteral("UP"))});
    EXPECT_EQ(carried.end, JobOutcome::End::Completed);
    EXPECT_EQ(statuses(carried), (QStringList{"IBM=OK", "GONE=OK", "UP=Up to date"}));
    EXPECT_EQ(reported, QStringList{"GONE"}) << "one report per security, however many calls failed";
    EXPECT_GT(carried.ignoredErrors, 1);
    EXPECT_FALSE(QDir(missing.folder).exists());
}

TEST_F(DownloadJobTest, ABarTheFolderCannotHoldStopsTheJobAndLeavesTheSecurityAsItWas)
{
    addServed(QStringLiteral("IBM"), QDate(2024, 6, 5));
    server.symbol(QStringLiteral("IBM")).history[40].high = 1e300;
    const QList<store::PriceBar> before = barsOf(folder, QStringLiteral("IBM"));

    const JobOutcome outcome = run({item(QStringLiteral("IBM"))});
    EXPECT_EQ(outcome.end, JobOutcome::End::Stopped);
    EXPECT_TRUE(outcome.results.isEmpty());
    EXPECT_EQ(barsOf(folder, QStringLiteral("IBM")).size(), before.size());
}

struct WeekendCase
{
    QDate from;
    QDate today;
    bool weekendQuotes;
    bool upToDate;

    friend void PrintTo(const WeekendCase& c, std::ostream* os)
    {
        *os << qPrintable(c.from.toString(Qt::ISODate)) << " on " << qPrintable(c.today.toString(Qt::ISODate))
            << (c.weekendQuotes ? " with" : " without") << " weekends";
    }
};

class WeekendTest : public testing::TestWithParam<WeekendCase>
{};

TEST_P(WeekendTest, OnlyASundayOnMondayOrASaturdayOnItselfIsSkipped)
{
    const WeekendCase& c = GetParam();
    EXPECT_EQ(download::isUpToDate(c.from, c.today, c.weekendQuotes), c.upToDate)
        << c.from.toString(Qt::ISODate).toStdString() << " on " << c.today.toString(Qt::ISODate).toStdString();
}

INSTANTIATE_TEST_SUITE_P(Days,
                         WeekendTest,
                         testing::Values(WeekendCase{Sunday, Monday, false, true},
                                         WeekendCase{Sunday, Monday, true, false},
                                         WeekendCase{Saturday, Saturday, false, true},
                                         WeekendCase{Saturday, Saturday, true, false},
                                         WeekendCase{Saturday, Sunday, false, false},
                                         WeekendCase{Saturday, Monday, false, false},
                                         WeekendCase{Sunday, Sunday, false, false},
                                         WeekendCase{Friday, Monday, false, false},
                                         WeekendCase{Friday.addDays(1), Friday, true, true},
                                         WeekendCase{Friday, Friday, false, false}));

TEST_F(DownloadJobTest, WeekendRulesDecideWithTheJobsClock)
{
    for (const QString& symbol : {QStringLiteral("IBM"), QStringLiteral("MSFT")}) {
        addSecurity(folder, symbol, everyDay(QDate(2024, 6, 1), Saturday));
        server.symbol(symbol).history = everyDay(QDate(2024, 6, 1), Friday);
    }
    today = Monday;
    const QList<app::DownloadItem> items{item(QStringLiteral("IBM")), item(QStringLiteral("MSFT"))};
    EXPECT_EQ(items[0].fromDate, QStringLiteral("2024-06-16"));

    EXPECT_EQ(statuses(run(items)), (QStringList{"IBM=Up to date", "MSFT=Up to date"}));
    EXPECT_TRUE(server.requests().isEmpty());
    DownloadOptions weekend;
    weekend.weekendQuotes = true;
    EXPECT_EQ(statuses(run(items, weekend)), (QStringList{"IBM=No Data", "MSFT=No Data"}))
        << "the served history ends on Friday";
    EXPECT_EQ(historySymbols(server), (QStringList{"IBM", "MSFT"}));
}

struct StartCase
{
    QDate last;
    QDate today;
    QDate start;

    friend void PrintTo(const StartCase& c, std::ostream* os)
    {
        *os << qPrintable(c.last.toString(Qt::ISODate)) << " on " << qPrintable(c.today.toString(Qt::ISODate));
    }
};

class StartDateTest : public testing::TestWithParam<StartCase>
{};

TEST_P(StartDateTest, ComparesMonthNumbersOnly)
{
    EXPECT_EQ(download::startDate(GetParam().last, GetParam().today), GetParam().start);
}

INSTANTIATE_TEST_SUITE_P(Dates,
                         StartDateTest,
                         testing::Values(StartCase{QDate(2024, 5, 31), QDate(2024, 6, 14), QDate(2024, 6, 1)},
                                         StartCase{QDate(2024, 4, 30), QDate(2024, 6, 14), QDate(2024, 4, 30)},
                                         StartCase{QDate(2023, 12, 20), QDate(2024, 1, 10), QDate(2023, 12, 21)},
                                         StartCase{QDate(2023, 12, 20), QDate(2024, 2, 10), QDate(2023, 12, 21)},
                                         StartCase{QDate(2024, 1, 20), QDate(2024, 3, 5), QDate(2024, 1, 20)},
                                         StartCase{QDate(2022, 6, 1), QDate(2024, 6, 14), QDate(2022, 6, 2)}));

TEST(SelectionTest, AllButTodaysAndUndatedSecuritiesStartTicked)
{
    EXPECT_FALSE(download::tickedByDefault(20240614, Friday));
    EXPECT_TRUE(download::tickedByDefault(20240613, Friday));
    EXPECT_TRUE(download::tickedByDefault(20240615, Friday));
    EXPECT_FALSE(download::tickedByDefault(0, Friday));
    EXPECT_FALSE(download::makeDownloadItem(QStringLiteral("IBM"), 0, QStringLiteral("/d"), Friday));
    const auto made = download::makeDownloadItem(QStringLiteral(" IBM "), 20240301, QStringLiteral("/d"), Friday);
    ASSERT_TRUE(made);
    EXPECT_EQ(made->symbol, QStringLiteral("IBM"));
    EXPECT_EQ(made->lastDateLess35, QStringLiteral("2024-01-26"));
    EXPECT_EQ(made->fromDate, QStringLiteral("2024-03-01"));
}

} // namespace

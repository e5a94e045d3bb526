// The quote sources: every recorded reply of the providers read into its rows and quote fields,
// error answers recognised by their bodies, the symbol table, and the source client against the local
// server (keys masked, rate limits, another symbol's data), then the whole download through
// ticksmith-cli.

#include "download/sources/quotesource.h"
#include "download/sources/sourceclient.h"
#include "downloadfixture.h"
#include "paramnames.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

namespace sources = download::sources;
using download::sources::SourceReply;
using download_test::runCli;
using testing_support::nameOf;
using testing_support::PrintTo;
using testing_support::QuoteServer;

const QString Replies = QStringLiteral(TICKSMITH_SHARED_DIR "/quote-replies/");

QByteArray recorded(const char* file)
{
    QFile reply(Replies + QLatin1String(file));
    return reply.open(QIODevice::ReadOnly) ? reply.readAll() : QByteArray();
}

SourceReply replyOf(int status, const QByteArray& body)
{
    SourceReply reply;
    reply.status = status;
    reply.ok = status >= 200 && status < 300;
    reply.error = reply.ok ? QString() : QStringLiteral("HTTP %1").arg(status);
    reply.body = body;
    return reply;
}

// The source named by the folder of a recorded reply or the start of a case's name ("yahoo/...").
const sources::QuoteSource& sourceOf(const char* what)
{
    return *sources::findSource(QString::fromLatin1(what).section(u'/', 0, 0));
}

QString barText(const download::DailyQuoteRecord& row)
{
    const auto n = [](double v) { return QString::number(v, 'g', 10); };
    return QStringLiteral("%1 %2 %3 %4 %5 %6")
        .arg(row.date, n(row.open), n(row.high), n(row.low), n(row.close))
        .arg(row.volume);
}

// A history reply, recorded (body empty: the file `what` in the providers' folders) or written after the
// answers a provider documents, and what is made of it: "<rows> <symbol>: <newest bar>[ / <oldest date>]",
// or the reason it is refused for.
struct HistoryCase
{
    const char* what;
    const char* expected; // all of the rows' text; a part of the reason
    const char* body = nullptr;
    int status = 200;
};

class HistoryReplyTest : public testing::TestWithParam<HistoryCase>
{};

TEST_P(HistoryReplyTest, ReadsTheRowsOrSaysWhatTheProviderAnswered)
{
    const HistoryCase& c = GetParam();
    if (!c.body && !QFile::exists(Replies))
        GTEST_SKIP() << "the recorded provider replies are not at hand";
    const sources::HistoryParse parse =
        sourceOf(c.what).parseHistory(replyOf(c.status, c.body ? QByteArray(c.body) : recorded(c.what)));
    if (!parse.ok) {
        EXPECT_TRUE(parse.rows.isEmpty());
        EXPECT_TRUE(parse.reason.contains(QLatin1String(c.expected))) << parse.reason.toStdString();
        return;
    }
    QString outcome = QStringLiteral("%1 %2: %3").arg(parse.rows.size()).arg(parse.symbol, barText(parse.rows.first()));
    if (parse.rows.size() > 1)
        outcome += " / " + parse.rows.last().date;
    EXPECT_EQ(outcome, QLatin1String(c.expected));
}

INSTANTIATE_TEST_SUITE_P(
    Replies,
    HistoryReplyTest,
    testing::Values(
        HistoryCase{"yahoo/chart_AAPL_2020-01-01_2020-01-03.json",
                    "1 AAPL: 2020-01-02 74.05999756 75.15000153 73.79750061 75.08750153 135480400"},
        // A fund without volume, and a currency dated by London's day.
        HistoryCase{"yahoo/chart_0P000071W8.TO_2020-01-01_2020-01-03.json",
                    "1 0P000071W8.TO: 2020-01-02 73.72000122 73.72000122 73.72000122 73.72000122 0"},
        HistoryCase{"yahoo/chart_EURUSD=X_2020-01-01_2020-01-03.json",
                    "3 EURUSD=X: 2020-01-03 1.117081285 1.11806798 1.112569809 1.11714375 0 / 2020-01-01"},
        // Four days of nulls are left out; the volumes go beyond 32 bits.
        HistoryCase{"yahoo/chart_BTC-USD_2020-01-01_2021-01-04_nulls.json",
                    "366 BTC-USD: 2021-01-04 32810.94922 33440.21875 28722.75586 31971.91406 81163475344 / 2020-01-01"},
        // The dividends listed beside the bars change none of them.
        HistoryCase{"yahoo/chart_MSFT_2021-02-01_2022-01-31_events-div.json",
                    "252 MSFT: 2022-01-28 300.230011 308.480011 294.4500122 308.2600098 49743700 / 2021-02-01"},
        HistoryCase{"yahoo/chart_SI_404_no-data-found.json", "symbol may be delisted", nullptr, 404},
        HistoryCase{"yahoo/chart_TSLA_1h_no-timestamp.fake.json", "no bars"},
        HistoryCase{"yahoo/chart_notimestamp-quotes-length.fake.json", "2 price series"},
        HistoryCase{"yahoo/chart_notimestamp-weird-quote.fake.json", "without their dates"},
        HistoryCase{"yahoo/not_json", "not a chart", "Will be right back..."},
        HistoryCase{"alphavantage/TIME_SERIES_DAILY_ADJUSTED_IBM_2026-05-15.csv",
                    "100 : 2026-05-15 218.2 220.91 217.615 219.3 6154450 / 2025-12-22"},
        // Minutes are not days: the JSON layout reads, but a day given many times is refused.
        HistoryCase{"alphavantage/TIME_SERIES_INTRADAY_MSFT_1min_2017-12-18.json", "twice"},
        HistoryCase{"alphavantage/daily_limit",
                    "rate limited: Alpha Vantage answered: Our standard API rate limit is 25",
                    "{\"Information\": \"Our standard API rate limit is 25 requests per day.\"}"},
        HistoryCase{"alphavantage/minute_limit",
                    "rate limited",
                    "{\"Note\": \"Our API call frequency is 5 calls per minute.\"}"},
        HistoryCase{"alphavantage/bad_key",
                    "apikey is invalid",
                    "{\"Error Message\": \"the parameter apikey is invalid or missing.\"}"},
        HistoryCase{"tiingo/daily_GOOGL_2015-01-01_2015-01-05.csv",
                    "2 : 2015-01-05 527.15 527.9899 517.75 519.46 2059119 / 2015-01-02"},
        HistoryCase{"tiingo/daily_GOOGL_2015-01-01_2015-01-05.json",
                    "2 : 2015-01-05 527.15 527.9899 517.75 519.46 2059119 / 2015-01-02"},
        HistoryCase{"tiingo/meta_GOOGL.json", "not a price table"},
        HistoryCase{"tiingo/unknown_csv", "Ticker 'ZZQXQ' not found", "Error: Ticker 'ZZQXQ' not found"},
        HistoryCase{"tiingo/unknown_json", "Ticker 'X' not found", "{\"detail\":\"Error: Ticker 'X' not found\"}", 404},
        HistoryCase{"tiingo/hourly_limit",
                    "rate limited",
                    "{\"detail\":\"Error: You have run over your hourly request allocation.\"}",
                    429},
        // The byte count EODHD puts after the table is not a row.
        HistoryCase{"eodhd/eod_AAPL.US_2018-01-01_2019-10-02.csv",
                    "441 : 2019-10-02 223.06 223.58 217.93 218.96 34612300 / 2018-01-02"},
        HistoryCase{"eodhd/bad_key", "refused the API key", "Unauthenticated", 401},
        // Stooq has no recorded reply: CSV with CR LF, no volume for some instruments, a key request, a
        // check page for browsers, quota and "No data" texts.
        HistoryCase{"stooq/csv_crlf",
                    "2 : 2026-03-03 10.5 12 10 11 98594719 / 2026-03-02",
                    "Date,Open,High,Low,Close,Volume\r\n2026-03-02,10,11,9,10.5,1000\r\n2026-03-03,10.5,12,10,11,"
                    "98594718.564571\r\n"},
        HistoryCase{"stooq/without_volume",
                    "1 : 2026-03-02 1 2 0.5 1.5 0",
                    "Date,Open,High,Low,Close\r\n2026-03-02,1,2,0.5,1.5\r\n"},
        HistoryCase{"stooq/no_data", "No data", "No data"},
        HistoryCase{"stooq/key_wanted",
                    "wants an API key",
                    "Get your apikey:\n\n1. Open https://stooq.com/q/d/?s=aapl.us&get_apikey\n"},
        HistoryCase{"stooq/check_page",
                    "check page",
                    "<!DOCTYPE html><html><head><script>/* proof of work */</script></head></html>"},
        HistoryCase{"stooq/quota", "rate limited", "Daily request quota exceeded"}),
    nameOf<HistoryCase>);

// A bar's date is its day in the exchange's zone: not UTC (a Sydney session starts the evening before
// in UTC), and not the offset of the moment of the request (wrong across a daylight-saving change).
TEST(YahooDatesTest, AreTheExchangesTradingDays)
{
    const auto dateOf = [](const char* zone, int offset, qint64 timestamp) {
        const QString chart =
            QStringLiteral("{\"chart\":{\"result\":[{\"meta\":{\"symbol\":\"X\",\"exchangeTimezoneName\":\"%1\","
                           "\"gmtoffset\":%2},\"timestamp\":[%3],\"indicators\":{\"quote\":[{\"open\":[1],"
                           "\"high\":[2],\"low\":[0.5],\"close\":[1.5],\"volume\":[10]}]}}],\"error\":null}}")
                .arg(QLatin1String(zone))
                .arg(offset)
                .arg(timestamp);
        const sources::HistoryParse parse = sourceOf("yahoo").parseHistory(replyOf(200, chart.toUtf8()));
        return parse.ok ? parse.rows.first().date : parse.reason;
    };
    EXPECT_EQ(dateOf("Australia/Sydney", 36000, 1704150000), "2024-01-02"); // 10:00 in Sydney, 23:00 UTC the day before
    EXPECT_EQ(dateOf("America/New_York", -18000, 1719806400), "2024-07-01"); // midnight in summer, offset of winter
}

struct QuoteCase
{
    const char* what; // the recorded reply, in its provider's folder
    const char* fields; // joined with '|'
};

class RecordedQuoteTest : public testing::TestWithParam<QuoteCase>
{};

TEST_P(RecordedQuoteTest, ReadsTheTwelveFields)
{
    if (!QFile::exists(Replies))
        GTEST_SKIP() << "the recorded provider replies are not at hand";
    const sources::QuoteParse parse =
        sourceOf(GetParam().what)
            .parseQuote(replyOf(200, recorded(GetParam().what)), QLocale(QLocale::English, QLocale::UnitedStates));
    ASSERT_TRUE(parse.values) << parse.reason.toStdString();
    EXPECT_EQ(QStringList(parse.values->begin(), parse.values->end()).join(u'|'), QLatin1String(GetParam().fields));
}

INSTANTIATE_TEST_SUITE_P(
    Replies,
    RecordedQuoteTest,
    testing::Values(
        // The chart's meta: the day's opening comes from its bar only when the bar is of that day.
        QuoteCase{"yahoo/chart_AAPL_2020-01-01_2020-01-03.json",
                  "AAPL|222.5|9/13/2024|4:00pm|149.09|203.08%|N/A|224.03|221.91|N/A|N/A|36,766,619"},
        QuoteCase{"yahoo/quote_AAPL_v7.json",
                  "AAPL|244.6|2/14/2025|4:00pm|3.07|1.27%|241.07|245.41|241|244.44|253.37|40,896,227"},
        QuoteCase{"alphavantage/GLOBAL_QUOTE_IBM_2026-05-15.csv",
                  "IBM|219.3|5/15/2026|4:00pm|0.93|0.43%|218.2|220.91|217.615|N/A|N/A|6,154,450"},
        QuoteCase{"alphavantage/GLOBAL_QUOTE_MSFT_2018-10-05.json",
                  "MSFT|112.13|10/5/2018|4:00pm|-0.66|-0.59%|112.63|113.17|110.64|N/A|N/A|29,062,853"},
        QuoteCase{"tiingo/daily_GOOGL_latest.json",
                  "|1037.29|4/12/2018|4:00pm|N/A|N/A|1031.47|1044.65|1026.05|N/A|N/A|1,644,794"}),
    nameOf<QuoteCase>);

// The catalogue's symbol as each provider spells it; empty where the provider does not serve that market.
TEST(SymbolTest, MapsTheCatalogueSuffix)
{
    const char* const table[][3] = {{"stooq", "AAPL", "aapl.us"},
                                    {"stooq", "VOD.L", "vod.uk"},
                                    {"stooq", "BHP.AX", ""},
                                    {"eodhd", "BHP.AX", "BHP.AU"},
                                    {"eodhd", "SAP.DE", "SAP.XETRA"},
                                    {"alphavantage", "SAP.DE", "SAP.DEX"},
                                    {"tiingo", "VOD.L", ""},
                                    {"tiingo", "BRK.B", ""},
                                    {"eodhd", "^GSPC", ""},
                                    {"yahoo", "^GSPC", "^GSPC"},
                                    {"yahoo", "BHP.AX", "BHP.AX"}};
    for (const auto& [profile, symbol, expected] : table)
        EXPECT_EQ(sourceOf(profile).providerSymbol(QLatin1String(symbol)).value_or(QString()), QLatin1String(expected))
            << profile << ' ' << symbol;
}

// The source client against the local server.
class SourceClientTest : public testing::Test
{
protected:
    sources::SourceHistory ask(const char* profile, const QString& symbol, QDate first, QDate last)
    {
        download::HttpChannel channel({server.url(), server.url()});
        sources::SourceClient client(sourceOf(profile), channel, Key);
        return client.history(symbol, first, last);
    }

    QuoteServer server;
    const QString Key = "s3cr3t/k=y";
};

TEST_F(SourceClientTest, NeverShowsTheKeyButSendsIt)
{
    server.canned["/api/eod/IBM.US"] = {{"401 Unauthorized", "Unauthenticated", "text/html", {}}};
    const sources::SourceHistory answer = ask("eodhd", "IBM", {2024, 1, 2}, {2024, 1, 5});
    EXPECT_FALSE(answer.ok);
    EXPECT_TRUE(answer.reason.contains(QLatin1String("refused the API key"))) << answer.reason.toStdString();
    EXPECT_TRUE(answer.request.contains(QLatin1String("api_token=********")));
    EXPECT_FALSE((answer.request + answer.reason).contains(QLatin1String("s3cr3t"))) << answer.request.toStdString();
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests()[0].query.queryItemValue("api_token", QUrl::FullyDecoded), Key);
}

TEST_F(SourceClientTest, WaitsForAShortRetryAfterAndReportsALongOne)
{
    const QByteArray csv = "Date,Open,High,Low,Close,Adjusted_close,Volume\n2024-01-02,1,2,0.5,1.5,1.5,100\n";
    server.canned["/api/eod/IBM.US"] = {{"429 Too Many Requests", "slow down", "text/plain", "Retry-After: 1\r\n"},
                                        {"200 OK", csv, "text/csv", {}}};
    const sources::SourceHistory answer = ask("eodhd", "IBM", {2024, 1, 2}, {2024, 1, 5});
    ASSERT_TRUE(answer.ok) << answer.reason.toStdString();
    EXPECT_EQ(answer.rows.size(), 1);
    EXPECT_EQ(server.requests().size(), 2);

    server.canned["/api/eod/MSFT.US"] = {{"429 Too Many Requests", "slow down", "text/plain", "Retry-After: 3600\r\n"}};
    const sources::SourceHistory limited = ask("eodhd", "MSFT", {2024, 1, 2}, {2024, 1, 5});
    EXPECT_FALSE(limited.ok);
    EXPECT_TRUE(limited.reason.startsWith(sources::RateLimited)) << limited.reason.toStdString();
    EXPECT_EQ(server.requests().size(), 3);
}

TEST_F(SourceClientTest, KeepsOnlyTheAskedDatesAndRefusesAnotherSymbol)
{
    if (!QFile::exists(Replies))
        GTEST_SKIP() << "the recorded provider replies are not at hand";
    server.canned["/query"] = {
        {"200 OK", recorded("alphavantage/TIME_SERIES_DAILY_IBM_2026-05-15.csv"), "text/plain", {}}};
    const sources::SourceHistory answer = ask("alphavantage", "IBM", {2026, 5, 13}, {2026, 5, 14});
    EXPECT_TRUE(answer.ok) << answer.reason.toStdString();
    QStringList dates;
    for (const auto& row : answer.rows)
        dates.append(row.date);
    EXPECT_EQ(dates, (QStringList{"2026-05-14", "2026-05-13"}));

    server.canned["/v8/finance/chart/MSFT"] = {
        {"200 OK", recorded("yahoo/chart_AAPL_2020-01-01_2020-01-03.json"), "text/plain", {}}};
    const sources::SourceHistory other = ask("yahoo", "MSFT", {2020, 1, 1}, {2020, 1, 3});
    EXPECT_FALSE(other.ok);
    EXPECT_TRUE(other.rows.isEmpty());
    EXPECT_TRUE(other.reason.contains(QLatin1String("prices of AAPL instead of MSFT"))) << other.reason.toStdString();
}

// The whole download through ticksmith-cli with a source named, from the server standing in for the
// provider at the source's own path: the bars land in the folder, which check then passes. The paths of
// the other sources are asked above and by the command-line tests.
struct DownloadCase
{
    const char* what; // the source
    const char* path; // the provider's path for MSFT
    const char* file; // the reply served: a recorded one, or the body itself
    int bars;
};

class SourceDownloadTest
    : public download_test::DownloadTest
    , public testing::WithParamInterface<DownloadCase>
{};

TEST_P(SourceDownloadTest, WritesTheSourcesBarsIntoAFolderThatChecks)
{
    const DownloadCase& c = GetParam();
    QByteArray body = QByteArray(c.file);
    if (!body.startsWith("Date,")) {
        if (!QFile::exists(Replies))
            GTEST_SKIP() << "the recorded provider replies are not at hand";
        body = recorded(c.file);
    }
    server.canned[QLatin1String(c.path)] = {{"200 OK", body, "text/plain", {}}};
    // The security's last bar is before the reply's first one, so every row is new.
    download_test::addSecurity(folder, "MSFT", {{QDate(2010, 1, 4), 1, 1, 1, 1, 1, 1}});
    const QString upper = QString::fromLatin1(c.what).toUpper();
    const QString key = QStringLiteral("key-%1-4711").arg(c.what);
    const download_test::CliRun run = runCli(server,
                                             {"download", folder, "--source", QLatin1String(c.what)},
                                             {{QStringLiteral("TICKSMITH_%1_URL").arg(upper), server.url()},
                                              {QStringLiteral("TICKSMITH_%1_KEY").arg(upper), key}});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.out.startsWith("MSFT\tOK\n")) << run.out.toStdString();
    EXPECT_FALSE((run.out + run.err).contains(key));
    EXPECT_EQ(download_test::barsOf(folder, "MSFT").size(), c.bars + 1);
    const download_test::CliRun check = runCli(server, {"check", folder});
    EXPECT_EQ(check.exitCode, 0) << check.out.toStdString() << check.err.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Sources,
    SourceDownloadTest,
    testing::Values(
        DownloadCase{"yahoo", "/v8/finance/chart/MSFT", "yahoo/chart_MSFT_2021-02-01_2022-01-31_events-div.json", 252},
        DownloadCase{"stooq", "/q/d/l/", "Date,Open,High,Low,Close,Volume\r\n2026-03-02,10,11,9,10.5,1000\r\n", 1}),
    nameOf<DownloadCase>);

} // namespace

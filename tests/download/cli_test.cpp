// ticksmith-cli quote, history, sources and download, run as a separate program against the local quote
// server and real folders. The program reads the system clock, so the folders are dated relative to today.

#include "download/clsdailyquotes.h"
#include "downloadfixture.h"
#include "paramnames.h"
#include "version.h"

namespace {

using namespace download_test;
using testing_support::PrintTo;

const QString Summary = QStringLiteral("Completed : %1    |    Upto Date : %2    |    No Data : %3\n");
const QString TiingoKey = QStringLiteral("tiingo-4711");
const QByteArray TiingoBar = "[{\"date\":\"2018-04-12T00:00:00+00:00\",\"open\":1031.47,\"high\":1044.65,"
                             "\"low\":1026.05,\"close\":1037.29,\"volume\":1644794}]";

class CliTest : public DownloadTest
{
protected:
    CliTest()
    {
        servedFrom = today.addDays(-40);
        servedTo = today;
    }

    // Runs the program with the classic service and Tiingo both served by the local server.
    CliRun run(QStringList arguments)
    {
        arguments.replaceInStrings("FOLDER", folder);
        return runCli(server, arguments, {{"TICKSMITH_TIINGO_URL", server.url()}, {"TICKSMITH_TIINGO_KEY", TiingoKey}});
    }

    QDate today = QDate::currentDate();
};

// A command that fetches and prints; "URL" in the expected texts stands for the server's address.
struct PrintCase
{
    const char* what;
    QStringList arguments;
    int exitCode;
    const char* out; // a piece of the standard output
    const char* err = ""; // a piece of the error output
};

class CliPrintTest
    : public CliTest
    , public testing::WithParamInterface<PrintCase>
{};

TEST_P(CliPrintTest, PrintsWhatTheServiceAnsweredAndExitsWithOneWhenItIsUnusable)
{
    const PrintCase& c = GetParam();
    server.symbol("IBM").history = QuoteServer::syntheticHistory(QDate(2005, 1, 3), QDate(2005, 1, 5));
    server.symbol("IBM").quoteBody =
        "\"IBM\",90.44,\"3/31/2005\",\"4:01pm\",-0.51,\"-0.56%\",90.95,91.2,90.1,N/A,N/A,1500000\n";
    server.canned["/tiingo/daily/GOOGL/prices"] = {{"200 OK", TiingoBar, "application/json", {}}};
    const CliRun ran = run(c.arguments);
    const auto expected = [this](const char* text) { return QString::fromLatin1(text).replace("URL", server.url()); };
    EXPECT_EQ(ran.exitCode, c.exitCode) << ran.err.toStdString();
    EXPECT_TRUE(ran.out.contains(expected(c.out))) << ran.out.toStdString();
    EXPECT_TRUE(ran.err.contains(expected(c.err))) << ran.err.toStdString();
    EXPECT_FALSE((ran.out + ran.err).contains(TiingoKey));
    for (const auto& request : server.requests())
        EXPECT_EQ(request.userAgent, QByteArray("Ticksmith/" TICKSMITH_VERSION));
}

INSTANTIATE_TEST_SUITE_P(
    Commands,
    CliPrintTest,
    testing::Values(
        PrintCase{"Quote",
                  {"quote", " IBM "},
                  0,
                  "Symbol: IBM\nQuote: 90.44\nLastTradeDate: 3/31/2005\nLastTradeTime: 4:01pm\nChange: -0.51\n"
                  "PercentageChange: -0.56%\nOpening: 90.95\nDayHigh: 91.2\nDayLow: 90.1\nBid: N/A\nAsk: N/A\n"
                  "Volume: 1,500,000\n"},
        PrintCase{"History",
                  {"history", "IBM", "2005-01-03", "2005-01-07"},
                  0,
                  "Request: URL/table.csv?s=IBM&d=0&e=7&f=2005&a=0&b=3&c=2005&ignore=.csv\nStatus: 0\n"
                  "1\t2005-01-05\t"},
        PrintCase{"Unknown", {"history", "NOPE", "2005-01-03", "2005-01-07"}, 1, "\nStatus: 2\n", "404"},
        PrintCase{"HistoryFromAnotherSource",
                  {"history", "GOOGL", "2018-04-12", "2018-04-12", "--source", "tiingo"},
                  0,
                  "Status: 0\n1\t2018-04-12\t1031.47\t1044.65\t1026.05\t1037.29\t1644794\n"},
        PrintCase{"QuoteFromAnotherSource", {"quote", "GOOGL", "--source", "tiingo"}, 0, "\nQuote: 1037.29\n"},
        PrintCase{"Refused", {"quote", "NOPE", "--source", "tiingo"}, 1, "Quote: 0.00\n", "Tiingo answered"},
        PrintCase{"Sources",
                  {"sources"},
                  0,
                  "classic\tchosen\tno key needed\tURL\tQuote service (CSV)\n"
                  "yahoo\t-\tno key needed\thttps://query2.finance.yahoo.com\tYahoo Finance\n"
                  "stooq\t-\tkey missing\thttps://stooq.com\tStooq\n"
                  "alphavantage\t-\tkey missing\thttps://www.alphavantage.co\tAlpha Vantage\n"
                  "tiingo\t-\tkey set\tURL\tTiingo\neodhd\t-\tkey missing\thttps://eodhd.com\tEODHD\n"}),
    testing_support::nameOf<PrintCase>);

// Any misbehaviour of the service ends the same way in the job; the client tests go through them all.
TEST_F(CliTest, DownloadExitsWithOneWhileASecurityHasNoData)
{
    addServed("BAD", today.addDays(-10));
    addSecurity(folder, "FUT", everyDay(today.addDays(-3), today.addDays(1)));
    addServed("IBM", today.addDays(-10));
    addServed("MSFT", today);
    server.symbol("BAD").misbehaviour = QuoteServer::Misbehaviour::NotFound;

    const CliRun ran = run({"download", folder, "--weekend", "--threads", "3"});
    EXPECT_EQ(ran.exitCode, 1);
    EXPECT_EQ(ran.out, "BAD\tNo Data\nFUT\tUp to date\nIBM\tOK\n" + Summary.arg(1).arg(1).arg(1));
    EXPECT_TRUE(ran.err.contains("BAD: ") && ran.err.contains("404")) << ran.err.toStdString();
    // Three at a time: the server may see them in any order.
    QStringList asked = historySymbols(server);
    asked.sort();
    EXPECT_EQ(asked, (QStringList{"BAD", "IBM"})) << "a security holding today's bar is left out";
}

// What the options do is the job's (its tests check it); here, that they reach it.
TEST_F(CliTest, DownloadPassesTheSymbolTheCorrectionAndTheCurrentQuoteToTheJob)
{
    addServed("IBM", today);
    addServed("MSFT", today.addDays(-10));
    const QDate from = today.addDays(-5);
    const CliRun ran = run(
        {"download", folder, "--symbol", "ibm", "--correction-from", from.toString(Qt::ISODate), "--current-quote"});
    EXPECT_EQ(ran.exitCode, 0) << ran.err.toStdString();
    EXPECT_TRUE(ran.err.isEmpty()) << ran.err.toStdString();
    EXPECT_EQ(ran.out, "IBM\tOK\n" + Summary.arg(1).arg(0).arg(0));
    QStringList targets;
    for (const auto& request : server.requests())
        targets.append(request.target);
    EXPECT_EQ(targets,
              (QStringList{download::dailyQuotesRequest("IBM", from, today),
                           "/d/quotes.csv?s=IBM&f=sl1d1t1c1p2ohgbav&e=.csv"}));
}

class CliUsageTest
    : public CliTest
    , public testing::WithParamInterface<QStringList>
{};

TEST_P(CliUsageTest, BadArgumentsExitWithTwoAndChangeNothing)
{
    addServed("IBM", today.addDays(-10));
    const CliRun ran = run(GetParam());
    EXPECT_EQ(ran.exitCode, 2) << ran.out.toStdString();
    EXPECT_TRUE(ran.out.isEmpty()) << ran.out.toStdString();
    EXPECT_FALSE(ran.err.isEmpty());
    EXPECT_TRUE(server.requests().isEmpty());
    EXPECT_EQ(barsOf(folder, "IBM").size(), 31);
}

INSTANTIATE_TEST_SUITE_P(
    Arguments,
    CliUsageTest,
    testing::Values(QStringList{"quote"},
                    QStringList{"quote", "IBM", "MSFT"},
                    QStringList{"history", "IBM", "2005-01-03"},
                    QStringList{"history", "IBM", "2005-13-01", "2005-01-07"},
                    QStringList{"history", "IBM", "2005-01-07", "2005-01-03"},
                    QStringList{"history", " ", "2005-01-03", "2005-01-07"},
                    QStringList{"history", "IBM", "2005-01-03", "2005-01-07", "--source", "nowhere"},
                    QStringList{"download"},
                    QStringList{"download", "FOLDER", "--frobnicate"},
                    QStringList{"download", "FOLDER", "--symbol"},
                    QStringList{"download", "FOLDER", "--symbol", "NOPE"},
                    QStringList{"download", "FOLDER", "--correction-from", "2024-13-01"},
                    QStringList{"download", "FOLDER", "--threads", "6"},
                    QStringList{"download", "FOLDER", "FOLDER/missing"}));

} // namespace

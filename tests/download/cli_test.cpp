// ticksmith-cli quote, history and download, run as a separate program against the local quote server
// and real folders. The program reads the system clock, so the folders are dated relative to today.

#include "downloadfixture.h"
#include "version.h"

namespace {

using namespace download_test;

const QString Summary = QStringLiteral("Completed : %1    |    Upto Date : %2    |    No Data : %3\n");

class CliTest : public DownloadTest
{
protected:
    CliTest()
    {
        servedFrom = today.addDays(-40);
        servedTo = today;
    }

    CliRun download(QStringList arguments)
    {
        arguments.prepend("download");
        return runCli(server, arguments);
    }

    QDate today = QDate::currentDate();
};

TEST_F(CliTest, QuotePrintsTheTwelveProperties)
{
    server.symbol("IBM").quoteBody =
        "\"IBM\",90.44,\"3/31/2005\",\"4:01pm\",-0.51,\"-0.56%\",90.95,91.2,90.1,N/A,N/A,1500000\n";
    const CliRun run = runCli(server, {"quote", " IBM "});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out,
              QStringLiteral("Symbol: IBM\nQuote: 90.44\nLastTradeDate: 3/31/2005\nLastTradeTime: 4:01pm\n"
                             "Change: -0.51\nPercentageChange: -0.56%\nOpening: 90.95\nDayHigh: 91.2\n"
                             "DayLow: 90.1\nBid: N/A\nAsk: N/A\nVolume: 1,500,000\n"));
    EXPECT_EQ(server.requests().value(0).symbol(), "IBM");
}

TEST_F(CliTest, HistoryPrintsTheRequestTheStatusAndTheRows)
{
    server.symbol("IBM").history = QuoteServer::syntheticHistory(QDate(2005, 1, 3), QDate(2005, 1, 7));
    const CliRun run = runCli(server, {"history", "IBM", "2005-01-03", "2005-01-07"});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QStringList lines = run.out.split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 7) << run.out.toStdString();
    EXPECT_EQ(lines[0], "Request: " + server.url() + "/table.csv?s=IBM&d=0&e=7&f=2005&a=0&b=3&c=2005&ignore=.csv");
    EXPECT_EQ(lines[1], "Status: 0");
    EXPECT_EQ(server.requests().value(0).userAgent, QByteArray("Ticksmith/" TICKSMITH_VERSION));
    EXPECT_TRUE(lines[2].startsWith("1\t2005-01-07\t")) << lines[2].toStdString();
    EXPECT_TRUE(lines[6].startsWith("5\t2005-01-03\t")) << lines[6].toStdString();
}

TEST_F(CliTest, AnUnusableAnswerExitsWithOne)
{
    const CliRun history = runCli(server, {"history", "NOPE", "2005-01-03", "2005-01-07"});
    EXPECT_EQ(history.exitCode, 1);
    EXPECT_TRUE(history.out.contains("\nStatus: 2\n")) << history.out.toStdString();
    EXPECT_TRUE(history.err.contains("404")) << history.err.toStdString();

    const CliRun quote = runCli(server, {"quote", "IBM"}, false);
    EXPECT_EQ(quote.exitCode, 1);
    EXPECT_TRUE(quote.out.startsWith("Symbol: IBM\nQuote: 0.00\n")) << quote.out.toStdString();
    EXPECT_TRUE(quote.err.contains("not configured")) << quote.err.toStdString();
}

// Any misbehaviour of the service ends the same way in the job; the client tests go through them all.
TEST_F(CliTest, DownloadFailsWhileASecurityHasNoDataAndSucceedsWithOKAndUpToDate)
{
    addServed("BAD", today.addDays(-10));
    addSecurity(folder, "FUT", everyDay(today.addDays(-3), today.addDays(1)));
    addServed("IBM", today.addDays(-10));
    addServed("MSFT", today);
    server.symbol("BAD").misbehaviour = QuoteServer::Misbehaviour::NotFound;

    const CliRun first = download({folder, "--weekend", "--threads", "3"});
    EXPECT_EQ(first.exitCode, 1);
    EXPECT_EQ(first.out, "BAD\tNo Data\nFUT\tUp to date\nIBM\tOK\n" + Summary.arg(1).arg(1).arg(1));
    EXPECT_TRUE(first.err.contains("BAD: ") && first.err.contains("404")) << first.err.toStdString();
    // Three at a time: the server may see them in any order.
    QStringList asked = historySymbols(server);
    asked.sort();
    EXPECT_EQ(asked, (QStringList{"BAD", "IBM"})) << "a security holding today's bar is left out";
    expectBars(barsOf(folder, "IBM"), server.symbol("IBM").history);

    server.symbol("BAD").misbehaviour = QuoteServer::Misbehaviour::None;
    const CliRun second = download({folder});
    EXPECT_EQ(second.exitCode, 0) << second.err.toStdString();
    EXPECT_EQ(second.out, "BAD\tOK\nFUT\tUp to date\n" + Summary.arg(1).arg(1).arg(0));
    EXPECT_TRUE(second.err.isEmpty()) << second.err.toStdString();
    EXPECT_EQ(historySymbols(server).mid(2), QStringList{"BAD"});
}

TEST_F(CliTest, DownloadCorrectsTheNamedSymbolOnlyAndWritesTheCurrentQuote)
{
    // Holding today's bar does not keep a security out of a correction.
    QList<HistoryRow> wrong = everyDay(today.addDays(-40), today);
    for (HistoryRow& row : wrong)
        row.close = 1;
    addSecurity(folder, "IBM", wrong);
    addServed("MSFT", today.addDays(-10));
    const QList<HistoryRow> served = everyDay(today.addDays(-40), today.addDays(-1));
    server.symbol("IBM").history = served;
    server.symbol("IBM").quoteBody =
        "\"IBM\",90.44,\"1/1/2024\",\"4:01pm\",-0.51,\"-0.56%\",90.95,91.2,90.1,N/A,N/A,1500000\n";

    const CliRun run = download(
        {folder, "--symbol", "ibm", "--correction-from", today.addDays(-5).toString(Qt::ISODate), "--current-quote"});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, "IBM\tOK\n" + Summary.arg(1).arg(0).arg(0));
    EXPECT_EQ(historySymbols(server), QStringList{"IBM"});
    QList<HistoryRow> expected = wrong.mid(0, wrong.size() - 6) + served.mid(served.size() - 5);
    expected.append({today, 90.95, 91.2, 90.1, 90.44, 1500000, 90.44});
    expectBars(barsOf(folder, "IBM"), expected);
}

class CliUsageTest
    : public CliTest
    , public testing::WithParamInterface<QStringList>
{};

TEST_P(CliUsageTest, BadArgumentsExitWithTwoAndChangeNothing)
{
    addServed("IBM", today.addDays(-10));
    QStringList arguments = GetParam();
    arguments.replaceInStrings("FOLDER", folder);

    const CliRun run = runCli(server, arguments);
    EXPECT_EQ(run.exitCode, 2) << run.out.toStdString();
    EXPECT_TRUE(run.out.isEmpty()) << run.out.toStdString();
    EXPECT_FALSE(run.err.isEmpty());
    EXPECT_TRUE(server.requests().isEmpty());
    EXPECT_EQ(barsOf(folder, "IBM").size(), 31);
}

INSTANTIATE_TEST_SUITE_P(Arguments,
                         CliUsageTest,
                         testing::Values(QStringList{"quote"},
                                         QStringList{"quote", "IBM", "MSFT"},
                                         QStringList{"history", "IBM", "2005-01-03"},
                                         QStringList{"history", "IBM", "2005-13-01", "2005-01-07"},
                                         QStringList{"history", "IBM", "2005-01-07", "2005-01-03"},
                                         QStringList{"history", " ", "2005-01-03", "2005-01-07"},
                                         QStringList{"download"},
                                         QStringList{"download", "FOLDER", "--frobnicate"},
                                         QStringList{"download", "FOLDER", "--symbol"},
                                         QStringList{"download", "FOLDER", "--symbol", "NOPE"},
                                         QStringList{"download", "FOLDER", "--correction-from", "2024-13-01"},
                                         QStringList{"download", "FOLDER", "--threads", "6"},
                                         QStringList{"download", "FOLDER", "FOLDER/missing"}));

} // namespace

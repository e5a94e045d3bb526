// ticksmith-cli quote and history, run as a separate program against the local quote server.

#include "clirun.h"

#include <gtest/gtest.h>

namespace {

using testing_support::CliRun;
using testing_support::QuoteServer;
using testing_support::runCli;

class QuoteCliTest : public testing::Test
{
protected:
    QuoteCliTest()
    {
        server.symbol(QStringLiteral("IBM")).history =
            QuoteServer::syntheticHistory(QDate(2005, 1, 3), QDate(2005, 1, 7));
    }

    QuoteServer server;
};

TEST_F(QuoteCliTest, QuotePrintsTheTwelveProperties)
{
    server.symbol(QStringLiteral("IBM")).quoteBody =
        "\"IBM\",90.44,\"3/31/2005\",\"4:01pm\",-0.51,\"-0.56%\",90.95,91.2,90.1,N/A,N/A,1500000\n";
    const CliRun run = runCli(server, {QStringLiteral("quote"), QStringLiteral(" IBM ")});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out,
              QStringLiteral("Symbol: IBM\nQuote: 90.44\nLastTradeDate: 3/31/2005\nLastTradeTime: 4:01pm\n"
                             "Change: -0.51\nPercentageChange: -0.56%\nOpening: 90.95\nDayHigh: 91.2\n"
                             "DayLow: 90.1\nBid: N/A\nAsk: N/A\nVolume: 1,500,000\n"));
    EXPECT_EQ(server.requests().value(0).symbol(), QStringLiteral("IBM"));
}

TEST_F(QuoteCliTest, HistoryPrintsTheRequestTheStatusAndTheRows)
{
    const CliRun run = runCli(server, {QStringLiteral("history"), QStringLiteral("IBM"), "2005-01-03", "2005-01-07"});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QStringList lines = run.out.split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 7) << run.out.toStdString();
    EXPECT_EQ(lines[0], "Request: " + server.url() + "/table.csv?s=IBM&d=0&e=7&f=2005&a=0&b=3&c=2005&ignore=.csv");
    EXPECT_EQ(lines[1], QStringLiteral("Status: 0"));
    EXPECT_TRUE(lines[2].startsWith(QStringLiteral("1\t2005-01-07\t"))) << lines[2].toStdString();
    EXPECT_TRUE(lines[6].startsWith(QStringLiteral("5\t2005-01-03\t"))) << lines[6].toStdString();
}

TEST_F(QuoteCliTest, AnUnusableAnswerExitsWithOne)
{
    const CliRun history =
        runCli(server, {QStringLiteral("history"), QStringLiteral("NOPE"), "2005-01-03", "2005-01-07"});
    EXPECT_EQ(history.exitCode, 1);
    EXPECT_TRUE(history.out.contains(QStringLiteral("\nStatus: 2\n"))) << history.out.toStdString();
    EXPECT_TRUE(history.err.contains(QStringLiteral("404"))) << history.err.toStdString();

    const CliRun quote = runCli(server, {QStringLiteral("quote"), QStringLiteral("IBM")}, false);
    EXPECT_EQ(quote.exitCode, 1);
    EXPECT_TRUE(quote.out.startsWith(QStringLiteral("Symbol: IBM\nQuote: 0.00\n"))) << quote.out.toStdString();
    EXPECT_TRUE(quote.err.contains(QStringLiteral("not configured"))) << quote.err.toStdString();
}

class QuoteCliUsageTest
    : public QuoteCliTest
    , public testing::WithParamInterface<QStringList>
{};

TEST_P(QuoteCliUsageTest, BadArgumentsExitWithTwoAndSendNothing)
{
    const CliRun run = runCli(server, GetParam());
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.err.contains(QStringLiteral("Usage"))) << run.err.toStdString();
    EXPECT_TRUE(server.requests().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Arguments,
                         QuoteCliUsageTest,
                         testing::Values(QStringList{"quote"},
                                         QStringList{"quote", "IBM", "MSFT"},
                                         QStringList{"history", "IBM", "2005-01-03"},
                                         QStringList{"history", "IBM", "2005-13-01", "2005-01-07"},
                                         QStringList{"history", "IBM", "2005-01-07", "2005-01-03"},
                                         QStringList{"history", " ", "2005-01-03", "2005-01-07"}));

} // namespace

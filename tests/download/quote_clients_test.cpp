// The two clients over a scripted channel: what they ask for and what they keep when a fetch fails.

#include "download/clsdailyquotes.h"
#include "download/clsstockquote.h"

#include <gtest/gtest.h>

namespace {

using download::clsDailyQuotes;
using download::clsStockQuote;
using download::DailyQuoteRecord;
using download::DailyQuotes;
using download::QuoteService;
using download::TransferReply;

class ScriptedChannel : public download::TransferChannel
{
public:
    TransferReply get(QuoteService service, const QString& pathAndQuery) override
    {
        requests.append({service, pathAndQuery});
        return reply;
    }

    TransferReply reply;
    QList<std::pair<QuoteService, QString>> requests;
};

TransferReply answer(const QString& body)
{
    return {true, body, {}, QStringLiteral("http://service/whatever")};
}

const TransferReply Unreachable{false, {}, QStringLiteral("Connection refused."), {}};

const QLocale English(QLocale::English, QLocale::UnitedStates);

TEST(StockQuoteTest, AsksForTheTwelveFieldsOfTheSymbolAsGiven)
{
    ScriptedChannel channel;
    clsStockQuote quote(channel, English);
    EXPECT_EQ(quote.Symbol(), QString());
    quote.setSymbol(QStringLiteral("^GSPC"));
    ASSERT_EQ(channel.requests.size(), 1);
    EXPECT_EQ(channel.requests[0].first, QuoteService::CurrentQuote);
    EXPECT_EQ(channel.requests[0].second, QStringLiteral("/d/quotes.csv?s=^GSPC&f=sl1d1t1c1p2ohgbav&e=.csv"));
}

TEST(StockQuoteTest, TakesTheSymbolFromTheReply)
{
    ScriptedChannel channel;
    channel.reply = answer(QStringLiteral("\"IBM\",1,\"3/31/2005\",\"4:00pm\",0,\"0%\",1,1,1,N/A,N/A,N/A\n"));
    clsStockQuote quote(channel, English);
    quote.setSymbol(QStringLiteral("ibm"));
    EXPECT_EQ(quote.Symbol(), QStringLiteral("IBM"));
    EXPECT_EQ(quote.LastTradeDate(), QStringLiteral("3/31/2005"));
    EXPECT_EQ(quote.Ask(), QStringLiteral("N/A"));
    EXPECT_EQ(quote.Volume(), QStringLiteral("N/A\n"));
    EXPECT_TRUE(quote.errorString().isEmpty());
}

class StockQuoteResetTest : public testing::TestWithParam<TransferReply>
{};

TEST_P(StockQuoteResetTest, ResetsEveryPropertyButTheCallersSymbol)
{
    ScriptedChannel channel;
    channel.reply = answer(QStringLiteral("\"IBM\",90.44,\"3/31/2005\",\"4:01pm\",-0.51,\"-0.56%\",1,2,3,4,5,1500\n"));
    clsStockQuote quote(channel, English);
    quote.setSymbol(QStringLiteral("IBM"));
    ASSERT_EQ(quote.Quote(), QStringLiteral("90.44"));

    channel.reply = GetParam();
    quote.setSymbol(QStringLiteral("MSFT"));
    download::StockQuoteValues expected;
    expected.fill(QStringLiteral("N/A"));
    expected[0] = QStringLiteral("MSFT");
    expected[1] = QStringLiteral("0.00");
    EXPECT_EQ(quote.values(), expected);
    EXPECT_FALSE(quote.errorString().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Failures,
                         StockQuoteResetTest,
                         testing::Values(answer(QStringLiteral("\"MSFT\",1,2,3,4,5,6,7,8,9,10\n")),
                                         answer(QString()),
                                         Unreachable));

const DailyQuotes Earlier = {{QStringLiteral("2004-12-31"), 1, 2, 0.5, 1.5, 10},
                             {QStringLiteral("2004-12-30"), 1, 2, 0.5, 1.5, 20}};

TEST(DailyQuotesTest, ReplacesTheWholeListOnSuccess)
{
    ScriptedChannel channel;
    channel.reply = answer(QStringLiteral("Date,Open,High,Low,Close,Volume,Adj Close\n"
                                          "2005-01-03,1,2,0.5,1.5,100,1.5\n"));
    DailyQuotes quotes = Earlier;
    clsDailyQuotes client(channel, quotes);
    client.DownloadDailyQuotes(QStringLiteral("IBM"), QDate(2005, 1, 3), QDate(2005, 1, 3));
    EXPECT_EQ(client.Status(), clsDailyQuotes::StatusOk);
    EXPECT_EQ(quotes, (DailyQuotes{{QStringLiteral("2005-01-03"), 1, 2, 0.5, 1.5, 100}}));
    EXPECT_EQ(client.request(), QStringLiteral("http://service/whatever"));
    EXPECT_EQ(channel.requests.value(0).first, QuoteService::History);
}

class DailyQuotesFailureTest : public testing::TestWithParam<TransferReply>
{};

TEST_P(DailyQuotesFailureTest, SetsStatusTwoAndLeavesTheListAsItWas)
{
    ScriptedChannel channel;
    channel.reply = GetParam();
    DailyQuotes quotes = Earlier;
    clsDailyQuotes client(channel, quotes);
    client.DownloadDailyQuotes(QStringLiteral("IBM"), QDate(2005, 1, 3), QDate(2005, 3, 31));
    EXPECT_EQ(client.Status(), clsDailyQuotes::StatusNoData);
    EXPECT_EQ(quotes, Earlier);
    EXPECT_FALSE(client.errorString().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Failures,
    DailyQuotesFailureTest,
    testing::Values(Unreachable,
                    answer(QStringLiteral("Date,Open,High,Low,Close,Volume,Adj Close\n")),
                    // A bad row late in the reply spoils the rows read before it too.
                    answer(QStringLiteral("Date,Open,High,Low,Close,Volume,Adj Close\n"
                                          "2005-01-04,1,2,0.5,1.5,100,1.5\n2005-01-03,1,2,0.5,1.5,3000000000,1.5\n"))));

TEST(DailyQuotesTest, AnInvalidDateSendsNothing)
{
    ScriptedChannel channel;
    DailyQuotes quotes = Earlier;
    clsDailyQuotes client(channel, quotes);
    client.DownloadDailyQuotes(QStringLiteral("IBM"), QDate(), QDate(2005, 1, 3));
    EXPECT_EQ(client.Status(), clsDailyQuotes::StatusNoData);
    EXPECT_TRUE(channel.requests.isEmpty());
    EXPECT_EQ(quotes, Earlier);
}

} // namespace

// The quote clients: the requests they build, how they read replies, and how they fail against the
// local quote server when it misbehaves.

#include "download/clsdailyquotes.h"
#include "download/clsstockquote.h"
#include "download/httpchannel.h"
#include "paramnames.h"
#include "quoteserver.h"
#include "testcontext.h"

#include <QSettings>

#include <gtest/gtest.h>

namespace {

using download::clsDailyQuotes;
using download::clsStockQuote;
using download::DailyQuotes;
using download::HttpChannel;
using download::HttpLimits;
using testing_support::nameOf;
using testing_support::PrintTo;
using testing_support::QuoteServer;
using Misbehaviour = QuoteServer::Misbehaviour;

const QLocale English(QLocale::English, QLocale::UnitedStates);
const QLocale German(QLocale::German, QLocale::Germany);

struct StockQuoteCase
{
    const char* what;
    const char* body;
    QLocale locale;
    const char* fields; // joined with '|'; empty when the reply is refused
};

class StockQuoteParsingTest : public testing::TestWithParam<StockQuoteCase>
{};

TEST_P(StockQuoteParsingTest, ReadsTwelveFieldsWithoutDoubleQuotesAndGroupsANumericVolume)
{
    const auto values = download::parseStockQuote(QLatin1String(GetParam().body), GetParam().locale);
    const QString fields = values ? QStringList(values->begin(), values->end()).join(u'|') : QString();
    EXPECT_EQ(fields, QLatin1String(GetParam().fields));
}

INSTANTIATE_TEST_SUITE_P(
    Replies,
    StockQuoteParsingTest,
    testing::Values(
        StockQuoteCase{"Quoted",
                       "\"X\",1,\"2\",\"3\",4,\"5%\",6,7,8,9,10,1500\n",
                       English,
                       "X|1|2|3|4|5%|6|7|8|9|10|1,500"},
        StockQuoteCase{"Empty", "", English, ""},
        StockQuoteCase{"ElevenFields", "\"IBM\",90.44,a,b,c,d,e,f,g,h,i\n", English, ""},
        StockQuoteCase{"CrLf", "X,1,2,3,4,5,6,7,8,9,10,1500000\r\n", English, "X|1|2|3|4|5|6|7|8|9|10|1,500,000"},
        StockQuoteCase{"German", "X,1,2,3,4,5,6,7,8,9,10,1500000\n", German, "X|1|2|3|4|5|6|7|8|9|10|1.500.000"},
        StockQuoteCase{"NoLineEnd", "X,1,2,3,4,5,6,7,8,9,10,1500", QLocale::c(), "X|1|2|3|4|5|6|7|8|9|10|1,500"},
        StockQuoteCase{"VolumeNA", "X,1,2,3,4,5,6,7,8,9,10,N/A", English, "X|1|2|3|4|5|6|7|8|9|10|N/A"},
        // A volume that is not a number is kept as it stands, line end included.
        StockQuoteCase{"QuotedVolume", "X,1,2,3,4,5,6,7,8,9,10,\"N/A\"\n", English, "X|1|2|3|4|5|6|7|8|9|10|N/A\n"}),
    nameOf<StockQuoteCase>);

TEST(DailyQuotesRequestTest, PutsTheEndDateFirstWithZeroBasedMonthsAndNoPadding)
{
    EXPECT_EQ(download::dailyQuotesRequest(" ^GDAXI ", QDate(1999, 12, 9), QDate(2000, 10, 1)),
              "/table.csv?s=^GDAXI&d=9&e=1&f=2000&a=11&b=9&c=1999&ignore=.csv");
}

const QByteArray ThreeRows = "Date,Open,High,Low,Close,Volume,Adj Close\n"
                             "2005-03-31,90.95,91.2,90.1,90.44,1500,90.44\n"
                             "2005-03-30,90.1,91,89.5,90.95,2147483647,90.95\n"
                             "2005-03-29,89,90.2,88.75,90.1,0,90.1";

// A reply of a good row followed by row.
QByteArray withRow(const QByteArray& row)
{
    return "Date,Open,High,Low,Close,Volume,Adj Close\n2005-04-01,1,2,3,4,5,6\n" + row;
}

struct HistoryCase
{
    const char* what;
    QByteArray body;
    bool ok = false;
    qsizetype rows = 0;
};

class DailyQuotesParsingTest : public testing::TestWithParam<HistoryCase>
{};

TEST_P(DailyQuotesParsingTest, ReadsSevenTokensPerRowAfterTheHeader)
{
    const auto parsed = download::parseDailyQuotes(GetParam().body);
    EXPECT_EQ(parsed.ok, GetParam().ok) << parsed.error.toStdString();
    EXPECT_EQ(parsed.rows.size(), GetParam().rows);
    EXPECT_EQ(parsed.error.isEmpty(), GetParam().ok);

    // Read as it arrives, a byte at a time, the reply gives the same.
    download::DailyQuotesReader reader;
    for (const char byte : GetParam().body) {
        if (!reader.read(QByteArrayView(&byte, 1)))
            break;
    }
    const auto streamed = reader.finish();
    EXPECT_EQ(streamed.rows, parsed.rows);
    EXPECT_EQ(streamed.error, parsed.error);
}

INSTANTIATE_TEST_SUITE_P(
    Replies,
    DailyQuotesParsingTest,
    testing::Values(HistoryCase{"Empty", QByteArray()},
                    HistoryCase{"HeaderAlone", "Date,Open,High,Low,Close,Volume,Adj Close\n"},
                    HistoryCase{"RowsEndingInLineFeed", ThreeRows + '\n', true, 3},
                    HistoryCase{"LastRowWithoutLineFeedIsDropped", ThreeRows, true, 2},
                    HistoryCase{"OneRowWithoutLineFeedReadsAsNone", withRow("").chopped(1), true, 0},
                    HistoryCase{"CrLfLineEndsDrift", QByteArray(ThreeRows).replace("\n", "\r\n")},
                    // Limits that keep a hostile reply from filling memory.
                    HistoryCase{"FieldBeyond255Bytes", withRow("2005-03-31," + QByteArray(300, '1') + ",2,3,4,5,6\n")},
                    HistoryCase{"MoreRowsThanASecurityHolds",
                                withRow(QByteArray("2005-03-31,1,2,3,4,5,6\n").repeated(65534))},
                    // A bad row spoils the rows read before it too.
                    HistoryCase{"NonNumericPrice", withRow("2005-03-31,1,2,abc,4,5,6\n")},
                    HistoryCase{"InfinitePrice", withRow("2005-03-31,1,2,3,inf,5,6\n")},
                    HistoryCase{"VolumeBeyond32Bits", withRow("2005-03-31,1,2,3,4,2147483648,6\n")}),
    nameOf<HistoryCase>);

TEST(DailyQuotesParsingTest, ReadsNumbersWithAPointWhateverTheDefaultLocale)
{
    const QLocale previous;
    QLocale::setDefault(German);
    const auto parsed = download::parseDailyQuotes(withRow("2005-03-31,90.95,91.2,90.1,90.44,1500.5,90.44\n"));
    QLocale::setDefault(previous);
    ASSERT_EQ(parsed.rows.size(), 2);
    EXPECT_EQ(parsed.rows[1].open, 90.95);
    EXPECT_EQ(parsed.rows[1].volume, 1500); // rounded to even
}

struct MisbehaviourCase
{
    const char* what;
    Misbehaviour misbehaviour;
    const char* reason; // a piece of the failure text
    qint64 maxBodyBytes = HttpLimits().maxBodyBytes;
};

class MisbehaviourTest : public testing::TestWithParam<MisbehaviourCase>
{};

TEST_P(MisbehaviourTest, EndsAsAFailureAndKeepsTheList)
{
    const Misbehaviour misbehaviour = GetParam().misbehaviour;
    QuoteServer server;
    server.symbol("IBM").history = QuoteServer::syntheticHistory(QDate(2005, 1, 3), QDate(2005, 3, 31));
    HttpLimits limits;
    // A server that answers gets far more time than it needs, even on a loaded machine.
    limits.timeout = std::chrono::milliseconds(misbehaviour == Misbehaviour::NoReply ? 1000 : 20000);
    limits.maxBodyBytes = GetParam().maxBodyBytes;
    HttpChannel channel({server.url(), server.url()}, limits);
    // A good quote first: a failed one after it must not leave its values standing.
    clsStockQuote quote(channel, English);
    quote.setSymbol("IBM");
    ASSERT_NE(quote.Opening(), u"N/A");

    server.misbehaviour = misbehaviour;
    DailyQuotes quotes = {{"before", 1, 1, 1, 1, 1}};
    clsDailyQuotes client(channel, quotes);
    client.DownloadDailyQuotes("IBM", QDate(2005, 1, 3), QDate(2005, 3, 31));
    EXPECT_EQ(client.Status(), clsDailyQuotes::StatusNoData);
    EXPECT_EQ(quotes.size(), 1);
    EXPECT_TRUE(client.errorString().contains(QLatin1String(GetParam().reason))) << client.errorString().toStdString();

    // The quote is short enough for any limit: only a misbehaving server fails it.
    quote.setSymbol("IBM");
    const bool quoteFails = misbehaviour != Misbehaviour::None;
    EXPECT_EQ(!quote.errorString().isEmpty(), quoteFails) << quote.errorString().toStdString();
    EXPECT_EQ(quote.Opening() == u"N/A", quoteFails);
}

INSTANTIATE_TEST_SUITE_P(
    Server,
    MisbehaviourTest,
    testing::Values(MisbehaviourCase{"NotFound", Misbehaviour::NotFound, "HTTP 404 Not Found"},
                    MisbehaviourCase{"ServerError", Misbehaviour::ServerError, "HTTP 500"},
                    MisbehaviourCase{"HtmlPage", Misbehaviour::HtmlPage, "web page"},
                    MisbehaviourCase{"CutShort", Misbehaviour::CutShort, "could not be read"},
                    MisbehaviourCase{"NoReply", Misbehaviour::NoReply, "within 1 s"},
                    MisbehaviourCase{"RedirectLoop", Misbehaviour::RedirectLoop, "could not be read"},
                    // A body beyond the limit, with its length announced and as a stream that never ends.
                    MisbehaviourCase{"TooLong", Misbehaviour::None, "more than 1000 bytes", 1000},
                    MisbehaviourCase{"EndlessBody", Misbehaviour::EndlessBody, "more than 1000 bytes", 1000}),
    nameOf<MisbehaviourCase>);

TEST(ServiceAddressTest, ComeFromTheSettingsUnlessAVariableOverridesAndAreSchemeHostAndPortOnly)
{
    testing_support::TestContext context;
    context->settings->setValue(QLatin1String(download::QuoteUrlKey), "http://quotes.test");
    context->settings->setValue(QLatin1String(download::HistoryUrlKey), "http://history.test");
    qputenv(download::HistoryUrlVariable, "https://override.test:8443");
    const auto addresses = download::ServiceAddresses::fromSettings(*context->settings);
    qunsetenv(download::HistoryUrlVariable);
    EXPECT_EQ(addresses.quoteUrl, "http://quotes.test");
    EXPECT_EQ(addresses.historyUrl, "https://override.test:8443");

    for (const char* good : {"", "  ", "http://127.0.0.1:8080", "https://quotes.example.net", "https://q.test/"})
        EXPECT_TRUE(download::checkServiceAddress(QLatin1String(good)).isEmpty()) << good;
    for (const char* bad : {"quotes.example.net",
                            "ftp://quotes.test",
                            "http://",
                            "http://quotes.test/csv",
                            "http://quotes.test?s=1",
                            "http://user@quotes.test",
                            "http://quotes.test:99999"})
        EXPECT_FALSE(download::checkServiceAddress(QLatin1String(bad)).isEmpty()) << bad;
}

} // namespace

// The HTTP channel and both clients against the local quote server, which also misbehaves.

#include "download/httpchannel.h"

#include "download/clsdailyquotes.h"
#include "download/clsstockquote.h"
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
using testing_support::QuoteServer;
using Misbehaviour = QuoteServer::Misbehaviour;

const QLocale English(QLocale::English, QLocale::UnitedStates);

// A server that answers gets far more time than it needs, even on a loaded machine; one that is meant to
// time out gets one second.
const std::chrono::milliseconds Generous{20000};
const std::chrono::milliseconds Short{1000};

HttpLimits limits(std::chrono::milliseconds timeout, qint64 maxBodyBytes = HttpLimits().maxBodyBytes)
{
    HttpLimits result;
    result.timeout = timeout;
    result.maxBodyBytes = maxBodyBytes;
    return result;
}

struct MisbehaviourCase
{
    const char* name;
    Misbehaviour misbehaviour;
    const char* reason; // a piece of the failure text
    bool timesOut = false;
    bool quoteFails = true;
    qint64 maxBodyBytes = HttpLimits().maxBodyBytes;
};

class MisbehaviourTest : public testing::TestWithParam<MisbehaviourCase>
{};

TEST_P(MisbehaviourTest, EndsAsAFailureAndKeepsTheList)
{
    QuoteServer server;
    server.symbol(QStringLiteral("IBM")).history = QuoteServer::syntheticHistory(QDate(2005, 1, 3), QDate(2005, 3, 31));
    server.slowDelay = std::chrono::milliseconds(5000);
    server.misbehaviour = GetParam().misbehaviour;
    HttpChannel misbehaving({server.url(), server.url()},
                            limits(GetParam().timesOut ? Short : Generous, GetParam().maxBodyBytes));
    DailyQuotes quotes = {{QStringLiteral("before"), 1, 1, 1, 1, 1}};
    clsDailyQuotes client(misbehaving, quotes);
    client.DownloadDailyQuotes(QStringLiteral("IBM"), QDate(2005, 1, 3), QDate(2005, 3, 31));
    EXPECT_EQ(client.Status(), clsDailyQuotes::StatusNoData);
    EXPECT_EQ(quotes.size(), 1);
    EXPECT_TRUE(client.errorString().contains(QLatin1String(GetParam().reason))) << client.errorString().toStdString();

    clsStockQuote quote(misbehaving, English);
    quote.setSymbol(QStringLiteral("IBM"));
    EXPECT_EQ(!quote.errorString().isEmpty(), GetParam().quoteFails) << quote.errorString().toStdString();
    EXPECT_EQ(quote.Opening() == u"N/A", GetParam().quoteFails);
}

INSTANTIATE_TEST_SUITE_P(
    Server,
    MisbehaviourTest,
    testing::Values(
        MisbehaviourCase{"NotFound", Misbehaviour::NotFound, "HTTP 404 Not Found"},
        MisbehaviourCase{"ServerError", Misbehaviour::ServerError, "HTTP 500"},
        MisbehaviourCase{"HtmlPage", Misbehaviour::HtmlPage, "web page"},
        MisbehaviourCase{"CutShort", Misbehaviour::CutShort, "could not be read"},
        MisbehaviourCase{"Slow", Misbehaviour::Slow, "within 1 s", true},
        MisbehaviourCase{"NoReply", Misbehaviour::NoReply, "within 1 s", true},
        // A quote is one line, so its line end does not matter.
        MisbehaviourCase{"CrlfLineEnds", Misbehaviour::CrlfLineEnds, "not a usable number", false, false},
        MisbehaviourCase{"HeaderOnly", Misbehaviour::HeaderOnly, "no data rows"},
        MisbehaviourCase{"RedirectLoop", Misbehaviour::RedirectLoop, "could not be read"},
        // A body beyond the limit, with its length announced and as a stream that never ends.
        MisbehaviourCase{"TooLong", Misbehaviour::None, "more than 1000 bytes", false, false, 1000},
        MisbehaviourCase{"EndlessBody", Misbehaviour::EndlessBody, "more than 1000 bytes", false, true, 1000}),
    [](const testing::TestParamInfo<MisbehaviourCase>& param) { return param.param.name; });

TEST(ServiceAddressTest, ComeFromTheSettingsUnlessAVariableOverrides)
{
    testing_support::TestContext context;
    context->settings->setValue(QLatin1String(download::QuoteUrlKey), QStringLiteral("http://quotes.test"));
    context->settings->setValue(QLatin1String(download::HistoryUrlKey), QStringLiteral("http://history.test"));
    qputenv(download::HistoryUrlVariable, "https://override.test:8443");
    const auto addresses = download::ServiceAddresses::fromSettings(*context->settings);
    qunsetenv(download::HistoryUrlVariable);
    EXPECT_EQ(addresses.quoteUrl, QStringLiteral("http://quotes.test"));
    EXPECT_EQ(addresses.historyUrl, QStringLiteral("https://override.test:8443"));
}

TEST(ServiceAddressTest, AcceptsOnlySchemeHostAndPort)
{
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

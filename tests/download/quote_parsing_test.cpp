// The pure parts of the quote clients: requests and the reading of replies, without any transfer.

#include "download/clsdailyquotes.h"
#include "download/clsstockquote.h"

#include <gtest/gtest.h>

namespace {

using download::DailyQuoteRecord;

const QLocale English(QLocale::English, QLocale::UnitedStates);

TEST(StockQuoteParsingTest, TwelveFieldsFillEveryPropertyWithoutDoubleQuotes)
{
    const auto values = download::parseStockQuote(
        QStringLiteral("\"IBM\",90.44,\"3/31/2005\",\"4:01pm\",-0.51,\"-0.56%\",90.95,91.2,90.1,90.4,90.5,1500\n"),
        English);
    ASSERT_TRUE(values);
    const download::StockQuoteValues expected =
        {"IBM", "90.44", "3/31/2005", "4:01pm", "-0.51", "-0.56%", "90.95", "91.2", "90.1", "90.4", "90.5", "1,500"};
    EXPECT_EQ(*values, expected);
}

TEST(StockQuoteParsingTest, FewerThanTwelveFieldsDoNotRead)
{
    EXPECT_FALSE(download::parseStockQuote(QString(), English));
    EXPECT_FALSE(download::parseStockQuote(QStringLiteral("\"IBM\",90.44,a,b,c,d,e,f,g,h,i\n"), English));
    EXPECT_TRUE(download::parseStockQuote(QStringLiteral("\"IBM\",90.44,a,b,c,d,e,f,g,h,i,j,k,l"), English));
}

struct VolumeCase
{
    const char* field;
    QLocale locale;
    const char* expected;
};

class StockQuoteVolumeTest : public testing::TestWithParam<VolumeCase>
{};

TEST_P(StockQuoteVolumeTest, IsGroupedWhenNumericAndKeptOtherwise)
{
    const QString body = QStringLiteral("\"X\",1,2,3,4,5,6,7,8,9,10,") + QLatin1String(GetParam().field);
    const auto values = download::parseStockQuote(body, GetParam().locale);
    ASSERT_TRUE(values);
    EXPECT_EQ((*values)[11], QLatin1String(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Volumes,
    StockQuoteVolumeTest,
    testing::Values(VolumeCase{"1500", English, "1,500"},
                    VolumeCase{"1500000\r\n", English, "1,500,000"},
                    VolumeCase{"1500000\n", QLocale(QLocale::German, QLocale::Germany), "1.500.000"},
                    VolumeCase{"1500", QLocale::c(), "1,500"}, // grouping is on even where the locale omits it
                    VolumeCase{"2.6", English, "3"},
                    VolumeCase{"N/A", English, "N/A"},
                    VolumeCase{"\"N/A\"\n", English, "N/A\n"}, // kept as it stands, line end included
                    VolumeCase{"nan", English, "nan"}));

TEST(DailyQuotesRequestTest, PutsTheEndDateFirstWithZeroBasedMonthsAndNoPadding)
{
    EXPECT_EQ(download::dailyQuotesRequest(QStringLiteral(" IBM "), QDate(2005, 1, 3), QDate(2005, 3, 31)),
              QStringLiteral("/table.csv?s=IBM&d=2&e=31&f=2005&a=0&b=3&c=2005&ignore=.csv"));
    EXPECT_EQ(download::dailyQuotesRequest(QStringLiteral("^GDAXI"), QDate(1999, 12, 9), QDate(2000, 10, 1)),
              QStringLiteral("/table.csv?s=^GDAXI&d=9&e=1&f=2000&a=11&b=9&c=1999&ignore=.csv"));
}

const char* const Header = "Date,Open,High,Low,Close,Volume,Adj Close\n";
const char* const ThreeRows = "2005-03-31,90.95,91.2,90.1,90.44,1500,90.44\n"
                              "2005-03-30,90.1,91,89.5,90.95,2147483647,90.95\n"
                              "2005-03-29,89,90.2,88.75,90.1,0,90.1";

struct HistoryCase
{
    const char* name;
    QString body;
    bool ok;
    qsizetype rows;
};

class DailyQuotesParsingTest : public testing::TestWithParam<HistoryCase>
{};

TEST_P(DailyQuotesParsingTest, ReadsSevenTokensPerRowAfterTheHeader)
{
    const auto parsed = download::parseDailyQuotes(GetParam().body);
    EXPECT_EQ(parsed.ok, GetParam().ok) << parsed.error.toStdString();
    EXPECT_EQ(parsed.rows.size(), GetParam().rows);
    EXPECT_EQ(parsed.error.isEmpty(), GetParam().ok);
}

QString history(const char* rows)
{
    return QLatin1String(Header) + QLatin1String(rows);
}

INSTANTIATE_TEST_SUITE_P(
    Replies,
    DailyQuotesParsingTest,
    testing::Values(
        HistoryCase{"Empty", QString(), false, 0},
        HistoryCase{"HeaderAlone", history(""), false, 0},
        HistoryCase{"ErrorPage", QStringLiteral("<html><body>No such symbol</body></html>\n"), false, 0},
        HistoryCase{"RowsEndingInLineFeed", history(ThreeRows) + u'\n', true, 3},
        HistoryCase{"LastRowWithoutLineFeedIsDropped", history(ThreeRows), true, 2},
        HistoryCase{"OneRowWithoutLineFeedReadsAsNone", history("2005-03-31,1,2,3,4,5,6"), true, 0},
        HistoryCase{"CrLfLineEndsDrift", history(ThreeRows).replace(u'\n', QStringLiteral("\r\n")) + "\r\n", false, 0},
        HistoryCase{"NonNumericPrice", history("2005-03-31,1,2,abc,4,5,6\n"), false, 0},
        HistoryCase{"EmptyPrice", history("2005-03-31,1,,3,4,5,6\n"), false, 0},
        HistoryCase{"InfinitePrice", history("2005-03-31,1,2,3,inf,5,6\n"), false, 0},
        HistoryCase{"VolumeBeyond32Bits",
                    history(ThreeRows).replace(QStringLiteral("2147483647"), "2147483648") + '\n',
                    false,
                    0},
        HistoryCase{"NegativeVolumeBeyond32Bits", history("2005-03-31,1,2,3,4,-2147483649,6\n"), false, 0}),
    [](const testing::TestParamInfo<HistoryCase>& param) { return param.param.name; });

TEST(DailyQuotesParsingTest, KeepsTheDateTextAndTheServiceOrder)
{
    const auto parsed = download::parseDailyQuotes(history(ThreeRows) + u'\n');
    ASSERT_TRUE(parsed.ok);
    ASSERT_EQ(parsed.rows.size(), 3);
    EXPECT_EQ(parsed.rows[0], (DailyQuoteRecord{QStringLiteral("2005-03-31"), 90.95, 91.2, 90.1, 90.44, 1500}));
    EXPECT_EQ(parsed.rows[1].volume, 2147483647);
    EXPECT_EQ(parsed.rows[2].date, QStringLiteral("2005-03-29"));
}

TEST(DailyQuotesParsingTest, ReadsNumbersWithAPointWhateverTheDefaultLocale)
{
    const QLocale previous;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const auto parsed = download::parseDailyQuotes(history("2005-03-31,90.95,91.2,90.1,90.44,1500.5,90.44\n"));
    QLocale::setDefault(previous);
    ASSERT_TRUE(parsed.ok);
    EXPECT_EQ(parsed.rows[0].open, 90.95);
    EXPECT_EQ(parsed.rows[0].volume, 1500); // rounded to even
}

} // namespace

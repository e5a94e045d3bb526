#include "context/helpers.h"

#include "testcontext.h"

#include <gtest/gtest.h>

namespace {

struct DateCase
{
    const char* pattern;
    const char* separator;
    qint32 date;
    const char* expected;
};

void PrintTo(const DateCase& c, std::ostream* out)
{
    *out << c.date << " as " << c.pattern;
}

class FormatBarDateTest : public ::testing::TestWithParam<DateCase>
{};

TEST_P(FormatBarDateTest, FollowsThePattern)
{
    const DateCase& c = GetParam();
    EXPECT_EQ(context::FormatBarDate(c.date, QString::fromLatin1(c.pattern), QString::fromLatin1(c.separator)),
              QString::fromLatin1(c.expected));
}

INSTANTIATE_TEST_SUITE_P(
    Patterns,
    FormatBarDateTest,
    ::testing::Values(DateCase{"M/d/yyyy", "/", 20050115, "1/15/2005"},
                      DateCase{"M/d/yyyy", "/", 0, "N/A"},
                      DateCase{"dd.MM.yyyy", ".", 20050115, "15.01.2005"},
                      DateCase{"dd/MM/yyyy", "/", 19991231, "31/12/1999"},
                      DateCase{"yyyy-MM-dd", "-", 20050105, "2005-01-05"},
                      DateCase{"d. M. yyyy", ". ", 20050115, "15. 1. 2005"},
                      // No separator in the pattern, or none known: the fixed form, never a failure.
                      DateCase{"yyyyMMdd", "", 20050115, "2005-01-15"},
                      DateCase{"yyyyMMdd", "/", 20050115, "2005-01-15"},
                      // Numbers that are no date of the calendar are shown as they are.
                      DateCase{"M/d/yyyy", "/", 20050231, "2005-02-31"},
                      DateCase{"M/d/yyyy", "/", 20051300, "2005-13-00"}));

TEST(DatePatternTest, ComesFromTheLocaleWithFourDigitYears)
{
    const QLocale us(QLocale::English, QLocale::UnitedStates);
    EXPECT_EQ(context::GetShortDatePattern(us) + ' ' + context::GetDateSeparator(us), "M/d/yyyy /");
    EXPECT_EQ(context::FormatBarDate(us, 20050115), "1/15/2005");
    const QLocale german(QLocale::German, QLocale::Germany);
    EXPECT_EQ(context::GetDateSeparator(german), ".");
    EXPECT_EQ(context::FormatBarDate(german, 20050115), "15.01.2005");
    EXPECT_EQ(context::FormatBarDate(QLocale(QLocale::Swedish, QLocale::Sweden), 20050115), "2005-01-15");
}

class ParsePathTest : public ::testing::TestWithParam<std::pair<const char*, const char*>>
{};

TEST_P(ParsePathTest, KeepsTheDirectoryWithItsSeparator)
{
    EXPECT_EQ(context::ParsePath(QString::fromLatin1(GetParam().first)), QString::fromLatin1(GetParam().second));
}

INSTANTIATE_TEST_SUITE_P(Paths,
                         ParsePathTest,
                         ::testing::Values(std::pair{"C:\\data\\ibm.csv", "C:\\data\\"},
                                           std::pair{"/home/ann/data/ibm.csv", "/home/ann/data/"},
                                           std::pair{"C:x", "C:"},
                                           std::pair{"D:", "D:"},
                                           std::pair{"report", ""},
                                           std::pair{"", ""},
                                           std::pair{"C:\\data/sub\\", "C:\\data/sub\\"}));

TEST(GoURLTest, OpensAddressesAndIgnoresEmptyText)
{
    testing_support::TestContext context;
    for (const char* address : {"", "http://127.0.0.1/help", "example.org"})
        context::GoURL(context, address);
    EXPECT_EQ(context.openedUrls, QList<QUrl>({QUrl("http://127.0.0.1/help"), QUrl::fromUserInput("example.org")}));
    EXPECT_TRUE(context.prompter().prompts.isEmpty());
}

} // namespace

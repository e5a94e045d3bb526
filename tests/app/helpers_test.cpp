#include "context/helpers.h"

#include "testcontext.h"

#include <gtest/gtest.h>

namespace {

// Each date as "pattern separator date -> shown", so that one comparison names every case that differs.
TEST(FormatBarDateTest, FollowsThePatternAndShowsNonDatesAsTheyAre)
{
    const char* const cases[][4] = {
        {"M/d/yyyy", "/", "20050115", "1/15/2005"},
        {"M/d/yyyy", "/", "0", "N/A"},
        {"dd.MM.yyyy", ".", "20050115", "15.01.2005"},
        {"yyyy-MM-dd", "-", "20050105", "2005-01-05"},
        {"d. M. yyyy", ". ", "20050115", "15. 1. 2005"},
        // No separator in the pattern, or none known: the fixed form, never a failure.
        {"yyyyMMdd", "", "20050115", "2005-01-15"},
        {"yyyyMMdd", "/", "20050115", "2005-01-15"},
        // Numbers that are no date of the calendar are shown as they are.
        {"M/d/yyyy", "/", "20050231", "2005-02-31"},
        {"M/d/yyyy", "/", "20051300", "2005-13-00"},
    };
    QStringList expected, shown;
    for (const auto& [pattern, separator, date, text] : cases) {
        const QString in = QStringLiteral("%1 '%2' %3 -> ").arg(pattern, separator, date);
        expected << in + text;
        shown << in + context::FormatBarDate(QString(date).toInt(), pattern, separator);
    }
    EXPECT_EQ(shown, expected);
}

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

TEST(ParsePathTest, KeepsTheDirectoryWithItsSeparator)
{
    QStringList parsed;
    for (const char* path :
         {"C:\\data\\ibm.csv", "/home/ann/data/ibm.csv", "C:x", "D:", "report", "", "C:\\data/sub\\"})
        parsed << context::ParsePath(QString::fromLatin1(path));
    EXPECT_EQ(parsed, QStringList({"C:\\data\\", "/home/ann/data/", "C:", "D:", "", "", "C:\\data/sub\\"}));
}

TEST(GoURLTest, OpensAddressesAndIgnoresEmptyText)
{
    testing_support::TestContext context;
    for (const char* address : {"", "http://127.0.0.1/help", "example.org"})
        context::GoURL(context, address);
    EXPECT_EQ(context.openedUrls, QList<QUrl>({QUrl("http://127.0.0.1/help"), QUrl::fromUserInput("example.org")}));
    EXPECT_TRUE(context.prompter().prompts.isEmpty());
}

} // namespace

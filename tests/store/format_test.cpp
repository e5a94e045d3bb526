// The number encodings and the data-file layouts, checked against bytes written down by hand from the
// format's description.

#include "store/checksum.h"
#include "store/metastock/datafile.h"
#include "store/metastock/mbf.h"
#include "store/metastock/report.h"
#include "storetest.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace store::metastock;

using store_test::hex;
using store_test::operator<<;

struct MbfCase
{
    const char* what; // the value
    const char* bytes; // in file order
};

class MbfTest : public ::testing::TestWithParam<MbfCase>
{};

TEST_P(MbfTest, ConvertsBothWays)
{
    const double value = QByteArray(GetParam().what).toDouble();
    const QByteArray bytes = hex(GetParam().bytes);
    const auto word = floatToMbf(value);
    ASSERT_TRUE(word.has_value());
    EXPECT_EQ(*word, readU32(bytes.constData()));
    EXPECT_EQ(mbfToFloat(readU32(bytes.constData())), static_cast<float>(value));
}

INSTANTIATE_TEST_SUITE_P(Values,
                         MbfTest,
                         ::testing::Values(MbfCase{"0", "00 00 00 00"},
                                           MbfCase{"0.5", "00 00 00 80"},
                                           MbfCase{"1", "00 00 00 81"},
                                           MbfCase{"-1", "00 00 80 81"},
                                           MbfCase{"12.75", "00 00 4C 84"},
                                           MbfCase{"79.97", "A4 F0 1F 87"},
                                           MbfCase{"1050101", "A8 2F 00 95"},
                                           MbfCase{"16777217", "00 00 00 99"}, // rounds to 2^24
                                           MbfCase{"90500", "00 C2 30 91"}),
                         store_test::nameOf<MbfCase>);

TEST(Mbf, EdgesOfTheRange)
{
    EXPECT_EQ(floatToMbf(-0.0), 0u);
    EXPECT_EQ(floatToMbf(1e-45), 0u); // an IEEE denormal
    EXPECT_FALSE(floatToMbf(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(floatToMbf(std::numeric_limits<double>::infinity()));
    EXPECT_FALSE(floatToMbf(-std::ldexp(1.0, 127)));
    EXPECT_TRUE(floatToMbf(std::ldexp(1.0, 127) * (1 - 1e-7)));
    // Exponents 1 and 2 lie below the IEEE normal range; the other bytes never matter for exponent 0.
    for (quint32 word : {0x01FFFFFFu, 0x02123456u, 0x00FFFFFFu})
        EXPECT_EQ(mbfToFloat(word), 0.0f) << word;
    // Largest MBF exponent: finite.
    EXPECT_TRUE(std::isfinite(mbfToFloat(0xFF7FFFFFu)));
}

TEST(Dates, CalendarAndStoredForm)
{
    for (qint32 date : {19000101, 20991231, 20000229})
        EXPECT_TRUE(isValidDate(date)) << date;
    for (qint32 date : {19000229, 18991231, 21000101, 20041301})
        EXPECT_FALSE(isValidDate(date)) << date;
    EXPECT_EQ(dateFromStored(storedFromDate(20160229)), 20160229);
    EXPECT_EQ(dateFromStored(971231.0f), 19971231);
    EXPECT_EQ(dateFromStored(-5.0f), 0);
    EXPECT_EQ(dateFromStored(std::numeric_limits<float>::max()), 0);
}

// One bar of every layout readers know: dated 2005-01-03 09:05:00, open 12.75, high 13.5, low 12.5,
// close 13, volume 1000, open interest 1000, each field present only when the layout has it.
struct LayoutCase
{
    int count;
    char periodicity;
    const char* order; // the fields in file order: Date, Time, Open, High, Low, Close, Volume, Interest
    const char* line; // as the reference reader prints it

    friend void PrintTo(const LayoutCase& c, std::ostream* out) { *out << c.count << c.periodicity; }
};

// Each field's bytes, in the order of `LayoutCase::order`'s letters DTOHLCVI, written down by hand.
const char* const fieldBytes[] = {"B8 2F 00 95", // 20050103
                                  "00 C2 30 91", // 90500
                                  "00 00 4C 84", // 12.75
                                  "00 00 58 84", // 13.5
                                  "00 00 48 84", // 12.5
                                  "00 00 50 84", // 13
                                  "00 00 7A 8A", // 1000
                                  "00 00 7A 8A"};

class LayoutTest : public ::testing::TestWithParam<LayoutCase>
{};

TEST_P(LayoutTest, ReadsTheFields)
{
    const LayoutCase& c = GetParam();
    const quint8 fields = fieldsFromCount(c.count, c.periodicity);
    ASSERT_EQ(fieldCount(fields), c.count);
    QByteArray file = hex("00 00 02 00") + QByteArray(4 * c.count - 4, '\0');
    for (const char* field = c.order; *field; ++field)
        file += hex(fieldBytes[QByteArray("DTOHLCVI").indexOf(*field)]);
    ASSERT_EQ(file.size(), 8 * c.count);

    std::vector<Bar> bars;
    Problems problems;
    ASSERT_TRUE(parseDataFile(file, fields, QStringLiteral("F1.DAT"), bars, problems));
    EXPECT_TRUE(problems.empty());
    ASSERT_EQ(bars.size(), 1u);
    EXPECT_EQ(barsCsvLine(QStringLiteral("X"), fields, bars[0]).toStdString(), c.line);
    // What is read is written back to the same bytes.
    EXPECT_EQ(encodeDataFile(fields, bars).toHex(' '), file.toHex(' '));
}

INSTANTIATE_TEST_SUITE_P(
    Layouts,
    LayoutTest,
    ::testing::Values(
        LayoutCase{4, 'D', "DHLC", "X,2005-01-03,00:00:00,-0.00000,13.50000,12.50000,13.00000,-0,-0"},
        LayoutCase{5, 'D', "DHLCV", "X,2005-01-03,00:00:00,-0.00000,13.50000,12.50000,13.00000,1000,-0"},
        LayoutCase{5, 'I', "DTHLC", "X,2005-01-03,09:05:00,-0.00000,13.50000,12.50000,13.00000,-0,-0"},
        LayoutCase{6, 'D', "DOHLCV", "X,2005-01-03,00:00:00,12.75000,13.50000,12.50000,13.00000,1000,-0"},
        LayoutCase{6, 'I', "DTHLCV", "X,2005-01-03,09:05:00,-0.00000,13.50000,12.50000,13.00000,1000,-0"},
        LayoutCase{7, 'D', "DOHLCVI", "X,2005-01-03,00:00:00,12.75000,13.50000,12.50000,13.00000,1000,1000"},
        LayoutCase{7, 'I', "DTOHLCV", "X,2005-01-03,09:05:00,12.75000,13.50000,12.50000,13.00000,1000,-0"},
        LayoutCase{8, 'D', "DTOHLCVI", "X,2005-01-03,09:05:00,12.75000,13.50000,12.50000,13.00000,1000,1000"},
        LayoutCase{8, 'I', "DTOHLCVI", "X,2005-01-03,09:05:00,12.75000,13.50000,12.50000,13.00000,1000,1000"}),
    [](const auto& test) { return std::to_string(test.param.count) + test.param.periodicity; });

struct BrokenFile
{
    const char* what;
    QByteArray bytes;
    bool usable;
};

class BrokenFileTest : public ::testing::TestWithParam<BrokenFile>
{};

// A 7-field daily file whose header or size is off: readers must not trust a counter past the end.
TEST_P(BrokenFileTest, IsReportedWithItsName)
{
    std::vector<Bar> bars;
    Problems problems;
    EXPECT_EQ(parseDataFile(GetParam().bytes, dailySevenFields, QStringLiteral("F9.DAT"), bars, problems),
              GetParam().usable);
    ASSERT_FALSE(problems.empty());
    EXPECT_EQ(problems[0].file, QStringLiteral("F9.DAT"));
    EXPECT_EQ(problems[0].damage, !GetParam().usable);
}

const QByteArray oneBar = hex("00 00 02 00") + QByteArray(24, '\0') + hex("B8 2F 00 95") + QByteArray(24, '\0');

INSTANTIATE_TEST_SUITE_P(
    Files,
    BrokenFileTest,
    ::testing::Values(BrokenFile{"empty", QByteArray(), false},
                      BrokenFile{"counter past the end", hex("00 00 03 00") + oneBar.mid(4), false},
                      BrokenFile{"counter 0", hex("00 00 00 00") + oneBar.mid(4), false},
                      BrokenFile{"truncated bar", oneBar.left(40), false},
                      BrokenFile{"bytes after the bars", oneBar + "xyz", true},
                      BrokenFile{"no date", hex("00 00 02 00") + QByteArray(52, '\0'), true}),
    store_test::nameOf<BrokenFile>);

// The journal's checksum, both ways of computing it, on the values the CRC-32C standard gives (the
// lengths reach the word-wise loop and its tail).
TEST(ChecksumTest, GivesTheStandardCrc32c)
{
    QByteArray ascending(32, '\0');
    for (int i = 0; i < 32; ++i)
        ascending[i] = char(i);
    const std::pair<QByteArray, quint32> known[] = {{"", 0},
                                                    {"123456789", 0xE3069283},
                                                    {QByteArray(32, '\0'), 0x8A9136AA},
                                                    {QByteArray(32, '\xFF'), 0x62A8AB43},
                                                    {ascending, 0x46DD794E}};
    for (const auto& [bytes, crc] : known) {
        EXPECT_EQ(store::crc32c(bytes), crc) << bytes.size();
        EXPECT_EQ(store::crc32cByTable(bytes), crc) << bytes.size();
    }
}

} // namespace

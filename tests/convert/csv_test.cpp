// The CSV form: numbers and lines as written, file names, and what the reader accepts and refuses.

#include "convert/csvformat.h"
#include "convertfixture.h"

#include <QBuffer>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <optional>
#include <random>
#include <string>

namespace {

using convert_test::barText;
using store_test::nameOf;
using store_test::operator<<;

struct NumberCase
{
    const char* what;
    double value;
    char point;
    const char* text;
};

class PrintNumber : public ::testing::TestWithParam<NumberCase>
{};

TEST_P(PrintNumber, IsWrittenInThePrintForm)
{
    std::string out;
    convert::appendPrintNumber(out, GetParam().value, GetParam().point);
    EXPECT_EQ(out, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Convert,
    PrintNumber,
    ::testing::Values(NumberCase{"whole", 13, '.', " 13 "},
                      NumberCase{"zero", 0, '.', " 0 "},
                      NumberCase{"negative zero", -0.0, '.', " 0 "},
                      NumberCase{"negative", -3.25, '.', "-3.25 "},
                      NumberCase{"single precision fraction shortest", double(12.1f), '.', " 12.1 "},
                      NumberCase{"large volume in full", double(123456789.0f), '.', " 123456792 "},
                      NumberCase{"small fraction", 0.001, '.', " 0.001 "},
                      NumberCase{"tiny with exponent", double(1.5e-7f), '.', " 1.5E-07 "},
                      NumberCase{"huge with exponent", double(2.5e20f), '.', " 2.5E+20 "},
                      NumberCase{"decimal comma", 0.5, ',', " 0,5 "}),
    nameOf<NumberCase>);

struct NameCase
{
    const char* what;
    const char* file;
    const char* name;
    const char* symbol;
};

class FileNames : public ::testing::TestWithParam<NameCase>
{};

TEST_P(FileNames, SplitIntoNameAndSymbol)
{
    const convert::CsvFileName split = convert::splitCsvFileName(QLatin1String(GetParam().file));
    EXPECT_EQ(split.name, QLatin1String(GetParam().name));
    EXPECT_EQ(split.symbol, QLatin1String(GetParam().symbol));
}

INSTANTIATE_TEST_SUITE_P(
    Convert,
    FileNames,
    ::testing::Values(NameCase{"name cut and symbol with dot", "ABCDE FGHI.XYZ.NS.csv", "ABCDE FGHI", "XYZ.NS"},
                      NameCase{"symbol only", "IBM.csv", "IBM", "IBM"},
                      NameCase{"name is the symbol", "WSPG.L.WSPG.L.csv", "WSPG.L", "WSPG.L"},
                      NameCase{"name is the symbol cut", "MTROsdba.S.MTROSDBA.ST.csv", "MTROsdba.S", "MTROSDBA.ST"},
                      NameCase{"dot in name before lower case", "Aust.Pacif.AQC.csv", "Aust.Pacif", "AQC"},
                      NameCase{"short name symbol with dot", "Endesa.ELE.MC.csv", "Endesa", "ELE.MC"},
                      NameCase{"index symbol", "Dow Jones ..DJX.csv", "Dow Jones", ".DJX"},
                      NameCase{"lower case symbol file", "bmw.de.csv", "bmw.de", "bmw.de"}),
    nameOf<NameCase>);

TEST(FileNames, AreWrittenFromTheNameCutAndTheWholeSymbol)
{
    EXPECT_EQ(convert::csvFileName("ABCDE FGHIJKL", "XYZ.NS"), "ABCDE FGHI.XYZ.NS.csv");
    EXPECT_EQ(convert::csvFileName("Short", "zodIb.st"), "Short.ZODIB.ST.csv");
}

// The value std::from_chars reads from the whole text, with `point` as the decimal point: what the fast
// path must give, and only where this gives anything.
std::optional<float> fromChars(std::string text, char point)
{
    std::replace(text.begin(), text.end(), point, '.');
    float value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size())
        return std::nullopt;
    return value;
}

// Where the fast path takes a number, it reads the very float from_chars reads, to the bit.
void expectSameAsFromChars(const std::string& text, char point)
{
    float fast = 0;
    if (!convert::readPlainDecimal(text.data(), text.data() + text.size(), point, fast))
        return;
    const std::optional<float> slow = fromChars(text, point);
    ASSERT_TRUE(slow.has_value()) << text << " is no number for from_chars";
    EXPECT_EQ(std::bit_cast<quint32>(fast), std::bit_cast<quint32>(*slow)) << text << ": " << fast << " " << *slow;
}

struct DecimalCase
{
    const char* what;
    const char* text;
    char point;
    bool fast; // whether the fast path takes it
};

class PlainDecimal : public ::testing::TestWithParam<DecimalCase>
{};

TEST_P(PlainDecimal, ReadsWhatFromCharsReads)
{
    const std::string text = GetParam().text;
    float value = 0;
    EXPECT_EQ(convert::readPlainDecimal(text.data(), text.data() + text.size(), GetParam().point, value),
              GetParam().fast);
    expectSameAsFromChars(text, GetParam().point);
}

INSTANTIATE_TEST_SUITE_P(
    Convert,
    PlainDecimal,
    ::testing::Values(DecimalCase{"price", "12.34", '.', true},
                      DecimalCase{"whole", "1234", '.', true},
                      DecimalCase{"negative fraction", "-0.5", '.', true},
                      DecimalCase{"negative zero", "-0", '.', true},
                      DecimalCase{"negative zero with point", "-0.000", '.', true},
                      DecimalCase{"leading zeros", "0007.50", '.', true},
                      DecimalCase{"decimal comma", "12,34", ',', true},
                      DecimalCase{"point in a comma locale", "12.34", ',', true},
                      DecimalCase{"comma in a point locale", "12,34", '.', false},
                      DecimalCase{"seven digits", "1234.567", '.', true},
                      DecimalCase{"eight digits", "1677.7215", '.', true},
                      DecimalCase{"nine digits", "12345.6789", '.', false},
                      DecimalCase{"below two to the 24", "1677721.5", '.', true},
                      DecimalCase{"two to the 24 as mantissa", "1677721.6", '.', false},
                      DecimalCase{"two to the 24 plus one whole", "16777217", '.', true},
                      DecimalCase{"halfway rounding to even up", "16777219", '.', true},
                      DecimalCase{"above halfway where a double rounds twice", "9007199791611905", '.', true},
                      DecimalCase{"eighteen digits", "999999999999999999", '.', true},
                      DecimalCase{"nineteen digits", "1999999999999999999", '.', false},
                      DecimalCase{"one tenth", "0.1", '.', true},
                      DecimalCase{"ten decimals", "0.0000000001", '.', true},
                      DecimalCase{"eleven decimals", "0.00000000001", '.', false},
                      DecimalCase{"largest fast mantissa and scale", "0.0016777215", '.', true},
                      DecimalCase{"plus sign", "+5", '.', false},
                      DecimalCase{"two minus signs", "--5", '.', false},
                      DecimalCase{"minus alone", "-", '.', false},
                      DecimalCase{"point first", ".5", '.', false},
                      DecimalCase{"point last", "5.", '.', false},
                      DecimalCase{"two points", "1.5.3", '.', false},
                      DecimalCase{"point and comma", "1.5,3", ',', false},
                      DecimalCase{"exponent", "1e5", '.', false},
                      DecimalCase{"empty", "", '.', false}),
    nameOf<DecimalCase>);

TEST(PlainDecimal, ReadsGeneratedDecimalsAsFromChars)
{
    // Mantissas of every length up to past 2^24 with every scale the fast path takes and one more.
    std::mt19937_64 random(2024);
    int taken = 0;
    const int count = 200000;
    for (int i = 0; i < count; ++i) {
        const quint64 mantissa = random() % (quint64(1) << (1 + random() % 26));
        const int decimals = int(random() % 12);
        std::string digits = std::to_string(mantissa);
        if (decimals > 0) {
            digits.insert(0, size_t(std::max(0, decimals + 1 - int(digits.size()))), '0');
            digits.insert(digits.size() - size_t(decimals), 1, '.');
        }
        const std::string text = (random() % 4 == 0 ? "-" : "") + digits;
        float value = 0;
        taken += convert::readPlainDecimal(text.data(), text.data() + text.size(), '.', value) ? 1 : 0;
        expectSameAsFromChars(text, '.');
        if (HasFatalFailure())
            return;
    }
    EXPECT_GT(taken, count * 3 / 4);
}

bool readText(const QByteArray& text,
              std::vector<store::PriceBar>& bars,
              convert::CsvProblem& problem,
              const QLocale& locale = QLocale(QLocale::English, QLocale::UnitedStates))
{
    QBuffer buffer;
    buffer.setData(text);
    buffer.open(QIODevice::ReadOnly);
    return convert::CsvBarReader(locale).read(buffer, bars, problem);
}

struct GoodCase
{
    const char* what;
    const char* text;
    QLocale::Language language;
    store::PriceBar first; // the oldest bar
    size_t count;
};

class ReaderAccepts : public ::testing::TestWithParam<GoodCase>
{};

TEST_P(ReaderAccepts, TheBarsOldestFirst)
{
    std::vector<store::PriceBar> bars;
    convert::CsvProblem problem;
    const QLocale locale(GetParam().language,
                         GetParam().language == QLocale::German ? QLocale::Germany : QLocale::UnitedStates);
    ASSERT_TRUE(readText(GetParam().text, bars, problem, locale)) << problem.line << ": " << qPrintable(problem.text);
    ASSERT_EQ(bars.size(), GetParam().count);
    if (bars.empty())
        return;
    EXPECT_EQ(barText(bars.front()), barText(GetParam().first));
    EXPECT_EQ(bars.front().openInterest, GetParam().first.openInterest);
    for (size_t i = 1; i < bars.size(); ++i)
        EXPECT_LT(bars[i - 1].date, bars[i].date);
}

INSTANTIATE_TEST_SUITE_P(
    Convert,
    ReaderAccepts,
    ::testing::Values(GoodCase{"own form",
                               "Date,Open,High,Low,Close,Volume\r\n5/1/2004, 12.5 , 13 , 12.1 , 12.75 , 10000 \r\n"
                               "5/3/2004,-1.5 , 2 , 1 , 1.5E-07 , 0 \r\n",
                               QLocale::English,
                               {20040501, 0, 12.5, 13, 12.1, 12.75, 10000, 0},
                               2},
                      GoodCase{"own form with decimal commas",
                               "Date,Open,High,Low,Close,Volume\r\n01.05.2004, 12,5 , 13 , 12,1 , 12,75 , 10000 \r\n",
                               QLocale::German,
                               {20040501, 0, 12.5, 13, 12.1, 12.75, 10000, 0},
                               1},
                      GoodCase{"quote site export newest first",
                               "Date,Open,High,Low,Close,Adj Close,Volume\n2024-01-03,2,3,1,2.5,2.4,700\n"
                               "2024-01-02,1,2,0.5,1.5,1.4,600\n",
                               QLocale::English,
                               {20240102, 0, 1, 2, 0.5, 1.5, 600, 0},
                               2},
                      GoodCase{"columns in another order without open",
                               "\xEF\xBB\xBF volume ,CLOSE,low,High,date,OpenInt\n100,4,3,5,20240105,7\n",
                               QLocale::English,
                               {20240105, 0, 0, 5, 3, 4, 100, 7},
                               1},
                      GoodCase{"header only", "Date,Open,High,Low,Close,Volume\r\n", QLocale::English, {}, 0}),
    nameOf<GoodCase>);

struct BadCase
{
    const char* what;
    const char* text;
    qint64 line;
    const char* says;
};

class ReaderRefuses : public ::testing::TestWithParam<BadCase>
{};

TEST_P(ReaderRefuses, NamingTheLine)
{
    std::vector<store::PriceBar> bars;
    convert::CsvProblem problem;
    EXPECT_FALSE(readText(GetParam().text, bars, problem));
    EXPECT_EQ(problem.line, GetParam().line);
    EXPECT_TRUE(problem.text.contains(QLatin1String(GetParam().says))) << qPrintable(problem.text);
}

INSTANTIATE_TEST_SUITE_P(
    Convert,
    ReaderRefuses,
    ::testing::Values(
        BadCase{"empty file", "", 0, "empty"},
        BadCase{"blank lines only", "\r\n  \r\n", 0, "empty"},
        BadCase{"missing column", "Date,Open,High,Low,Close\n1/2/2004,1,2,3,4\n", 1, "Volume"},
        BadCase{"column twice", "Date,High,Low,Close,Volume,high\n", 1, "twice"},
        BadCase{"bad date", "Date,High,Low,Close,Volume\n1/2/2004,1,1,1,1\n13/45/2004,1,1,1,1\n", 3, "13/45/2004"},
        BadCase{"two digit year", "Date,High,Low,Close,Volume\n1/2/04,1,1,1,1\n", 2, "not a date"},
        BadCase{"three digit month", "Date,High,Low,Close,Volume\n101/1/1990,1,1,1,1\n", 2, "not a date"},
        BadCase{"bad number", "Date,High,Low,Close,Volume\n\n1/2/2004,1,1,x1,1\n", 3, "Close"},
        BadCase{"number too large", "Date,High,Low,Close,Volume\n1/2/2004,1,1,1,1e39\n", 2, "Volume"},
        BadCase{"too few fields", "Date,High,Low,Close,Volume\n1/2/2004,1,1,1\n", 2, "4 fields"},
        BadCase{"date twice",
                "Date,High,Low,Close,Volume\n1/2/2004,1,1,1,1\n1/3/2004,1,1,1,1\n2004-01-02,2,2,2,2\n",
                4,
                "also on line 2"}),
    nameOf<BadCase>);

// A file of any size costs no more memory than the bars a security can hold: reading stops there. The
// device makes up an endless file, as large as a file can be.
class EndlessFile : public QIODevice
{
public:
    EndlessFile() { open(QIODevice::ReadOnly); }

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 size) override
    {
        static const QByteArray header = "Date,High,Low,Close,Volume\n";
        static const QByteArray line = "2004-01-02,1,1,1,1\n";
        for (qint64 i = 0; i < size; ++i, ++m_position) {
            data[i] =
                m_position < header.size() ? header[m_position] : line[(m_position - header.size()) % line.size()];
        }
        return size;
    }

    qint64 writeData(const char*, qint64) override { return -1; }

private:
    qint64 m_position = 0;
};

TEST(CsvBarReader, StopsAtMoreBarsThanASecurityHolds)
{
    EndlessFile file;
    std::vector<store::PriceBar> bars;
    convert::CsvProblem problem;
    EXPECT_FALSE(convert::CsvBarReader(QLocale::c()).read(file, bars, problem));
    EXPECT_EQ(problem.line, 65536);
    EXPECT_TRUE(problem.text.contains(QLatin1String("more than 65534 bars"))) << qPrintable(problem.text);
}

TEST(CsvBarReader, RefusesAnEndlessLine)
{
    std::vector<store::PriceBar> bars;
    convert::CsvProblem problem;
    EXPECT_FALSE(readText("Date,High,Low,Close,Volume\n" + QByteArray(10000, '1'), bars, problem));
    EXPECT_EQ(problem.line, 2);
    EXPECT_TRUE(problem.text.contains(QLatin1String("longer than"))) << qPrintable(problem.text);
}

} // namespace

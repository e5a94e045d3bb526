#include "csvformat.h"

#include "context/helpers.h"
#include "store/arguments.h"
#include "store/metastock/datafile.h"
#include "store/metastock/indexfiles.h"
#include "store/metastock/mbf.h"

#include <QDate>
#include <QIODevice>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <numeric>

namespace convert {

namespace {

constexpr int firstCachedYear = 1900;
constexpr int cachedYears = 200; // the years a folder can hold
constexpr int daySlots = 12 * 31;
constexpr int printedBits = 12; // 4,096 numbers kept

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The value of a run of decimal digits, false when it holds anything else. For runs of at most 9.
bool readDigits(const char* begin, const char* end, int& value)
{
    int result = 0;
    for (const char* p = begin; p < end; ++p) {
        if (!isDigit(*p))
            return false;
        result = result * 10 + (*p - '0');
    }
    value = result;
    return true;
}

// The yyyymmdd date of a year, month and day, if it is one a folder can hold.
bool makeDate(int year, int month, int day, qint32& date)
{
    // A month or day of three digits would carry into the year: "101/1/1990" is no 1991-01-01.
    if (month > 12 || day > 31)
        return false;
    date = year * 10000 + month * 100 + day;
    return store::metastock::isValidDate(date);
}

void trim(const char*& begin, const char*& end)
{
    while (begin < end && (isBlank(*begin) || *begin == '"'))
        ++begin;
    while (end > begin && (isBlank(end[-1]) || end[-1] == '"'))
        --end;
}

// Any number from_chars reads, with '.' or `decimalPoint`.
bool readAnyDecimal(const char* begin, const char* end, char decimalPoint, float& value)
{
    char text[64];
    const size_t length = size_t(end - begin);
    if (length == 0 || length >= sizeof text)
        return false;
    std::memcpy(text, begin, length);
    if (decimalPoint != '.')
        std::replace(text, text + length, decimalPoint, '.');
    // Straight to single precision, the precision of the folder: through a double it could round twice.
    const auto result = std::from_chars(text, text + length, value);
    return result.ec == std::errc() && result.ptr == text + length;
}

QString quoted(const char* begin, const char* end)
{
    return u'"' + QString::fromLocal8Bit(begin, end - begin) + u'"';
}

} // namespace

namespace {

constexpr double powersOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};

// `n` in decimal with the last `decimals` digits after the point (zeros added in front as needed);
// returns the end. Written digit by digit in place: these are short, and a copy would cost more.
char* writeFixed(char* out, unsigned long long n, int decimals, char decimalPoint)
{
    int digits = 1;
    for (unsigned long long rest = n / 10; rest != 0; rest /= 10)
        ++digits;
    digits = std::max(digits, decimals + 1);
    char* const end = out + digits + (decimals > 0 ? 1 : 0);
    char* p = end;
    for (int i = 0; i < digits; ++i) {
        if (i == decimals && decimals > 0)
            *--p = decimalPoint;
        *--p = char('0' + n % 10);
        n /= 10;
    }
    return end;
}

// Fixed-point digits of `magnitude` with the fewest decimals (at most 9) that still read back as the
// same single-precision number, or nullptr when it needs more or an exponent. The decimal is checked
// to lie well within half a unit of the last place, so that reading it rounds to this number whatever
// rounding path the reader takes.
char* writeFewestDecimals(char* out, float magnitude, char decimalPoint)
{
    const double value = magnitude;
    const float next = std::bit_cast<float>(std::bit_cast<quint32>(magnitude) + 1);
    const double margin = double(next - magnitude) / 2 * 0.99;
    for (int decimals = 0; decimals < 10; ++decimals) {
        const double exact = value * powersOfTen[decimals];
        if (exact >= 9e15)
            return nullptr;
        const auto scaled = static_cast<unsigned long long>(exact + 0.5);
        if (std::fabs(double(scaled) - exact) >= margin * powersOfTen[decimals])
            continue;
        return writeFixed(out, scaled, decimals, decimalPoint);
    }
    return nullptr;
}

} // namespace

char* writePrintNumber(char* out, double value, char decimalPoint)
{
    // The value was read from a single-precision field; its shortest form is what the user typed or
    // downloaded, where the double's 15 digits would show the binary rounding ("12.1000003814697").
    const float single = static_cast<float>(value);
    *out++ = std::signbit(single) && single != 0 ? '-' : ' ';
    const float magnitude = std::fabs(single);
    if (!std::isfinite(magnitude)) {
        out = std::copy_n(std::isnan(magnitude) ? "NaN" : "Inf", 3, out);
    } else if (magnitude < 1e15f && std::floor(magnitude) == magnitude) {
        out = writeFixed(out, static_cast<unsigned long long>(magnitude), 0, decimalPoint);
    } else if (char* fixed = magnitude >= 1e-5f && magnitude < 1e15f ? writeFewestDecimals(out, magnitude, decimalPoint)
                                                                     : nullptr) {
        out = fixed;
    } else {
        // Shortest digits as d.ddde+XX, laid out like the general format: plain for exponents from -5
        // to 14, otherwise with an exponent of at least two digits.
        char digits[32];
        const char* const end =
            std::to_chars(digits, digits + sizeof digits, magnitude, std::chars_format::scientific).ptr;
        const char* const e = std::find(static_cast<const char*>(digits), end, 'e');
        char mantissa[sizeof digits];
        size_t count = 0;
        for (const char* p = digits; p < e; ++p) {
            if (*p != '.')
                mantissa[count++] = *p;
        }
        int exponent = 0;
        std::from_chars(e + (e[1] == '+' ? 2 : 1), end, exponent);
        if (exponent >= -5 && exponent < 0) {
            *out++ = '0';
            *out++ = decimalPoint;
            out = std::fill_n(out, -exponent - 1, '0');
            out = std::copy_n(mantissa, count, out);
        } else {
            *out++ = mantissa[0];
            if (count > 1) {
                *out++ = decimalPoint;
                out = std::copy_n(mantissa + 1, count - 1, out);
            }
            *out++ = 'E';
            *out++ = exponent < 0 ? '-' : '+';
            const int shown = std::abs(exponent);
            if (shown < 10)
                *out++ = '0';
            out = std::to_chars(out, out + 4, shown).ptr;
        }
    }
    *out++ = ' ';
    return out;
}

void appendPrintNumber(std::string& out, double value, char decimalPoint)
{
    char text[printNumberSize];
    out.append(text, writePrintNumber(text, value, decimalPoint));
}

CsvLineWriter::CsvLineWriter(const QLocale& locale)
    : m_locale(locale)
    , m_pattern(context::GetShortDatePattern(locale))
    , m_separator(context::GetDateSeparator(locale))
    , m_dates(size_t(cachedYears) * daySlots)
    , m_printed(size_t(1) << printedBits)
{
    const QString point = locale.decimalPoint();
    m_decimalPoint = point.size() == 1 && point[0].unicode() < 0x80 ? char(point[0].unicode()) : '.';
}

void CsvLineWriter::appendHeader(std::string& out) const
{
    out += csvHeader;
    out += "\r\n";
}

const std::string& CsvLineWriter::dateText(qint32 date)
{
    const int year = date / 10000 - firstCachedYear;
    const int month = date / 100 % 100;
    const int day = date % 100;
    if (year < 0 || year >= cachedYears || month < 1 || month > 12 || day < 1 || day > 31) {
        m_odd = context::FormatBarDate(date, m_pattern, m_separator, m_locale).toLocal8Bit().toStdString();
        return m_odd;
    }
    std::string& text = m_dates[size_t(year) * daySlots + size_t(month - 1) * 31 + size_t(day - 1)];
    if (text.empty())
        text = context::FormatBarDate(date, m_pattern, m_separator, m_locale).toLocal8Bit().toStdString();
    return text;
}

char* CsvLineWriter::writeNumber(char* out, double value)
{
    // The text depends on nothing but the single-precision value (see writePrintNumber).
    const quint64 key = std::bit_cast<quint32>(static_cast<float>(value)) | (quint64(1) << 32);
    PrintedNumber& slot = m_printed[size_t((key * 0x9E3779B97F4A7C15ull) >> (64 - printedBits))];
    if (slot.key == key)
        return std::copy_n(slot.text, slot.length, out);
    char* const end = writePrintNumber(out, value, m_decimalPoint);
    if (end - out <= qsizetype(sizeof slot.text)) {
        slot.key = key;
        slot.length = quint8(end - out);
        std::copy(out, end, slot.text);
    }
    return end;
}

void CsvLineWriter::appendBar(std::string& out, const store::PriceBar& bar)
{
    char line[5 * printNumberSize + 8];
    char* p = line;
    for (double value : {bar.open, bar.high, bar.low, bar.close, bar.volume}) {
        *p++ = ',';
        p = writeNumber(p, value);
    }
    *p++ = '\r';
    *p++ = '\n';
    out += dateText(bar.date);
    out.append(line, p);
}

// ---- reading ----

bool readPlainDecimal(const char* begin, const char* end, char decimalPoint, float& value)
{
    // Exact by Clinger's argument: a whole number below 2^24 and a power of ten up to 10^10 (5^10 is
    // below 2^24) are both exact in single precision, so their quotient, one correctly rounded float
    // division, is the correctly rounded value of the decimal, which is what from_chars gives too. A
    // number without a point is exact in 64 bits, and its one conversion to float rounds correctly.
    static constexpr float powersOfTen[] = {1e0f, 1e1f, 1e2f, 1e3f, 1e4f, 1e5f, 1e6f, 1e7f, 1e8f, 1e9f, 1e10f};
    const bool negative = begin < end && *begin == '-';
    const char* p = begin + (negative ? 1 : 0);
    if (end - p > 18) // at most 18 digits, so that the mantissa cannot overflow
        return false;
    const char* const whole = p;
    qint64 mantissa = 0;
    for (; p < end && isDigit(*p); ++p)
        mantissa = mantissa * 10 + (*p - '0');
    if (p == whole)
        return false;
    float magnitude = 0;
    if (p == end) {
        magnitude = static_cast<float>(mantissa);
    } else {
        if (*p != '.' && *p != decimalPoint)
            return false;
        const char* const fraction = ++p;
        for (; p < end && isDigit(*p); ++p)
            mantissa = mantissa * 10 + (*p - '0');
        const ptrdiff_t decimals = p - fraction;
        if (p < end || decimals == 0 || decimals >= ptrdiff_t(std::size(powersOfTen)) || mantissa >= (1 << 24))
            return false;
        magnitude = static_cast<float>(mantissa) / powersOfTen[decimals];
    }
    value = negative ? -magnitude : magnitude;
    return true;
}

struct CsvBarReader::Columns
{
    enum Field
    {
        Date,
        Open,
        High,
        Low,
        Close,
        Volume,
        OpenInterest,
        Ignored,
    };
};

CsvBarReader::CsvBarReader(const QLocale& locale)
    : m_locale(locale)
    , m_datePattern(context::GetShortDatePattern(locale))
{
    const QString point = locale.decimalPoint();
    m_localeDecimal = point.size() == 1 && point[0].unicode() < 0x80 ? char(point[0].unicode()) : '.';
    // The order of day, month and year in the short date, and the month names it may hold. A pattern
    // with the day of the week is left to QLocale.
    int position = 0;
    for (qsizetype i = 0; i < m_datePattern.size();) {
        const QChar c = m_datePattern[i];
        qsizetype run = 1;
        while (i + run < m_datePattern.size() && m_datePattern[i + run] == c)
            ++run;
        if (c == u'd' || c == u'M' || c == u'y') {
            if ((c == u'd' && run > 2) || (c == u'y' && run != 4))
                m_patternKnown = false;
            (c == u'd' ? m_dayField : c == u'M' ? m_monthField : m_yearField) = position++;
        }
        i += run;
    }
    m_patternKnown = m_patternKnown && position == 3;
    for (int month = 1; month <= 12; ++month) {
        for (QLocale::FormatType format : {QLocale::LongFormat, QLocale::ShortFormat}) {
            for (const QString& name : {locale.monthName(month, format), locale.standaloneMonthName(month, format)}) {
                // Only the letters: a dot that ends an abbreviation ("janv.") reads as a separator.
                std::string letters = name.toLower().toLocal8Bit().toStdString();
                std::erase_if(letters, [](char c) {
                    return !std::isalpha(static_cast<unsigned char>(c)) && static_cast<unsigned char>(c) < 0x80;
                });
                m_monthNames.emplace_back(letters, month);
            }
        }
    }
}

bool CsvBarReader::readDate(const char* begin, const char* end, qint32& date) const
{
    trim(begin, end);
    const qsizetype length = end - begin;
    if (length == 8 && readDigits(begin, end, date))
        return store::metastock::isValidDate(date);
    // Three parts, numbers or words, apart from each other by anything else. Bytes from 0x80 on are
    // letters of the system's encoding.
    auto isLetter = [](char c) {
        const char lower = char(c | 0x20);
        return (lower >= 'a' && lower <= 'z') || static_cast<unsigned char>(c) >= 0x80;
    };
    // The forms of almost every file, yyyy-mm-dd and the short date in numbers, are three numbers of at
    // most four digits apart by one character each: they are read in one pass, by the rules below.
    int numbers[3] = {};
    qsizetype digits[3] = {};
    int found = 0;
    const char* p = begin;
    while (found < 3) {
        const char* const start = p;
        const char* const stop = std::min(end, start + 5); // five digits are one too many
        int number = 0;
        for (; p < stop && isDigit(*p); ++p)
            number = number * 10 + (*p - '0');
        numbers[found] = number;
        digits[found] = p - start;
        if (digits[found] == 0 || digits[found] > 4)
            break;
        if (++found == 3 || p == end || isLetter(*p))
            break;
        ++p; // the one character between two numbers
    }
    const bool isoNumbers = digits[0] == 4;
    if (found == 3 && p == end && (isoNumbers || m_patternKnown)) {
        const int yearAt = isoNumbers ? 0 : m_yearField;
        if (digits[yearAt] != 4)
            return false;
        return makeDate(numbers[yearAt],
                        numbers[isoNumbers ? 1 : m_monthField],
                        numbers[isoNumbers ? 2 : m_dayField],
                        date);
    }

    struct Part
    {
        const char* begin;
        const char* end;
        bool number;
    };

    Part parts[3];
    int count = 0;
    for (p = begin; p < end;) {
        const bool number = isDigit(*p);
        if (!number && !isLetter(*p)) {
            ++p;
            continue;
        }
        const char* start = p;
        while (p < end && (number ? isDigit(*p) : isLetter(*p)))
            ++p;
        if (count < 3)
            parts[count] = {start, p, number};
        ++count;
    }
    auto value = [](const Part& part, int& result) {
        return part.number && part.end - part.begin <= 4 && readDigits(part.begin, part.end, result);
    };
    int year = 0, month = 0, day = 0;
    const bool iso = count == 3 && parts[0].end - parts[0].begin == 4 && parts[0].number;
    if (!iso && m_patternKnown && count != 3)
        return false;
    const Part& yearPart = iso ? parts[0] : parts[m_yearField];
    const Part& monthPart = iso ? parts[1] : parts[m_monthField];
    const Part& dayPart = iso ? parts[2] : parts[m_dayField];
    if (!iso && !m_patternKnown) {
        const QDate parsed = m_locale.toDate(QString::fromLocal8Bit(begin, length), m_datePattern);
        year = parsed.year(), month = parsed.month(), day = parsed.day();
    } else {
        if (yearPart.end - yearPart.begin != 4 || !value(yearPart, year) || !value(dayPart, day))
            return false;
        if (!monthPart.number) {
            std::string name(monthPart.begin, monthPart.end);
            std::transform(name.begin(), name.end(), name.begin(), [](char c) {
                return char(std::tolower(static_cast<unsigned char>(c)));
            });
            for (const auto& [known, number] : m_monthNames) {
                if (known == name)
                    month = number;
            }
        } else if (!value(monthPart, month)) {
            return false;
        }
    }
    return makeDate(year, month, day, date);
}

bool CsvBarReader::readNumber(const char* begin, const char* end, double& value) const
{
    trim(begin, end);
    float single = 0;
    if (!readPlainDecimal(begin, end, m_localeDecimal, single) && !readAnyDecimal(begin, end, m_localeDecimal, single))
        return false;
    value = single;
    return true;
}

bool CsvBarReader::readHeader(const char* begin, const char* end, CsvProblem& problem)
{
    using F = Columns::Field;
    static const std::pair<const char*, F> names[] = {{"date", F::Date},
                                                      {"open", F::Open},
                                                      {"high", F::High},
                                                      {"low", F::Low},
                                                      {"close", F::Close},
                                                      {"volume", F::Volume},
                                                      {"openint", F::OpenInterest},
                                                      {"open interest", F::OpenInterest}};
    m_columnOf.clear();
    bool seen[Columns::Ignored] = {};
    for (const char* p = begin; p <= end;) {
        const char* comma = std::find(p, end, ',');
        const char* b = p;
        const char* e = comma;
        trim(b, e);
        const QString name = QString::fromLocal8Bit(b, e - b).toLower();
        F field = F::Ignored;
        for (const auto& [known, which] : names) {
            if (name == QLatin1String(known))
                field = which;
        }
        if (field != F::Ignored && seen[field]) {
            problem = {1, QStringLiteral("the header names the column %1 twice").arg(quoted(b, e))};
            return false;
        }
        if (field != F::Ignored)
            seen[field] = true;
        m_columnOf.push_back(field);
        p = comma + 1;
    }
    QStringList missing;
    static const char* const needed[] = {"Date", "", "High", "Low", "Close", "Volume"};
    for (int field = F::Date; field <= F::Volume; ++field) {
        if (field != F::Open && !seen[field])
            missing << QLatin1String(needed[field]);
    }
    if (!missing.isEmpty()) {
        problem = {1,
                   QStringLiteral("the header line names no column %1 (it needs Date, High, Low, Close and Volume)")
                       .arg(missing.join(QStringLiteral(", ")))};
        return false;
    }
    return true;
}

bool CsvBarReader::readLine(const char* begin, const char* end, store::PriceBar& bar, QString& problem) const
{
    using F = Columns::Field;
    // Fields apart by commas; with a decimal comma, as the print statement writes it in such locales,
    // a comma between two digits belongs to a number when the line has more fields than the header.
    const bool decimalCommas = m_localeDecimal == ',' && size_t(std::count(begin, end, ',')) + 1 > m_columnOf.size();
    auto nextComma = [&](const char* p) {
        if (!decimalCommas) {
            const void* comma = std::memchr(p, ',', size_t(end - p));
            return comma ? static_cast<const char*>(comma) : end;
        }
        for (; p < end; ++p) {
            if (*p == ',' && !(p > begin && isDigit(p[-1]) && p + 1 < end && isDigit(p[1])))
                return p;
        }
        return end;
    };
    bar = store::PriceBar();
    size_t column = 0;
    for (const char* p = begin;; ++column) {
        const char* comma = nextComma(p);
        if (column < m_columnOf.size()) {
            const F field = F(m_columnOf[column]);
            static constexpr double store::PriceBar::*values[] = {nullptr,
                                                                  &store::PriceBar::open,
                                                                  &store::PriceBar::high,
                                                                  &store::PriceBar::low,
                                                                  &store::PriceBar::close,
                                                                  &store::PriceBar::volume,
                                                                  &store::PriceBar::openInterest};
            if (field == F::Date && !readDate(p, comma, bar.date)) {
                problem = QStringLiteral("%1 is not a date (%2, yyyy-mm-dd or yyyymmdd)")
                              .arg(quoted(p, comma), m_datePattern);
                return false;
            }
            if (field > F::Date && field < F::Ignored && !readNumber(p, comma, bar.*values[field])) {
                static const char* const names[] = {"", "Open", "High", "Low", "Close", "Volume", "OpenInt"};
                problem = QStringLiteral("%1 is not a number (%2)").arg(quoted(p, comma), QLatin1String(names[field]));
                return false;
            }
        }
        if (comma == end)
            break;
        p = comma + 1;
    }
    if (column + 1 < m_columnOf.size()) {
        problem = QStringLiteral("the line has %1 fields, the header %2").arg(column + 1).arg(m_columnOf.size());
        return false;
    }
    if (store::Status s = store::checkBar(bar); !s.ok()) {
        problem = s.text();
        return false;
    }
    return true;
}

bool CsvBarReader::read(QIODevice& device, std::vector<store::PriceBar>& bars, CsvProblem& problem)
{
    bars.clear();
    if (!m_buffer)
        m_buffer = std::make_unique<char[]>(size_t(chunkSize + longestLine + 1));
    char* const buffer = m_buffer.get();
    std::vector<qint64> lines; // the line of each bar, for the report of a date twice
    size_t kept = 0; // the start of a line whose end is still to be read
    qint64 line = 0;
    bool header = true;
    bool atEnd = false;
    while (!atEnd) {
        const qint64 got = device.read(buffer + kept, chunkSize);
        if (got < 0) {
            problem = {0, QStringLiteral("cannot be read: %1").arg(device.errorString())};
            return false;
        }
        atEnd = got == 0;
        const char* p = buffer;
        const char* const end = buffer + kept + size_t(got);
        while (p < end) {
            const void* found = std::memchr(p, '\n', size_t(end - p));
            const char* newline = found ? static_cast<const char*>(found) : end;
            if (newline == end && !atEnd)
                break;
            ++line;
            const char* lineEnd = newline;
            if (lineEnd > p && lineEnd[-1] == '\r')
                --lineEnd;
            if (lineEnd - p > longestLine) {
                problem = {line, QStringLiteral("the line is longer than %1 characters").arg(longestLine)};
                return false;
            }
            if (header && line == 1 && lineEnd - p >= 3 && std::memcmp(p, "\xEF\xBB\xBF", 3) == 0)
                p += 3; // the byte-order mark some spreadsheets put first
            const bool blank = std::all_of(p, lineEnd, isBlank);
            if (header) {
                if (!blank && !readHeader(p, lineEnd, problem)) {
                    problem.line = line;
                    return false;
                }
                header = blank;
            } else if (!blank) {
                if (bars.size() >= size_t(store::metastock::maxBarsPerFile)) {
                    problem = {line,
                               QStringLiteral("the file holds more than %1 bars, more than a security can hold")
                                   .arg(store::metastock::maxBarsPerFile)};
                    return false;
                }
                store::PriceBar bar;
                QString text;
                if (!readLine(p, lineEnd, bar, text)) {
                    problem = {line, text};
                    return false;
                }
                bars.push_back(bar);
                lines.push_back(line);
            }
            p = newline == end ? end : newline + 1;
        }
        kept = size_t(end - p);
        if (kept > size_t(longestLine)) {
            problem = {line + 1, QStringLiteral("the line is longer than %1 characters").arg(longestLine)};
            return false;
        }
        std::memmove(buffer, p, kept);
    }
    if (header) {
        problem = {0, QStringLiteral("the file is empty; it needs a header line such as %1").arg(csvHeader)};
        return false;
    }
    // Oldest first whatever the file's order; most files are in order already.
    const auto byDate = [&bars](size_t a, size_t b) { return bars[a].date < bars[b].date; };
    std::vector<size_t> order(bars.size());
    std::iota(order.begin(), order.end(), size_t(0));
    const auto notAfter = [](const store::PriceBar& a, const store::PriceBar& b) { return a.date <= b.date; };
    if (!std::is_sorted(bars.begin(), bars.end(), notAfter)) {
        std::stable_sort(order.begin(), order.end(), byDate);
        std::vector<store::PriceBar> sorted;
        sorted.reserve(bars.size());
        for (size_t i : order)
            sorted.push_back(bars[i]);
        bars.swap(sorted);
    }
    for (size_t i = 1; i < bars.size(); ++i) {
        if (bars[i].date == bars[i - 1].date) {
            problem = {lines[order[i]],
                       QStringLiteral("the date %1 is there twice (also on line %2)")
                           .arg(bars[i].date)
                           .arg(lines[order[i - 1]])};
            return false;
        }
    }
    return true;
}

// ---- file names ----

namespace {

bool holdsLowerCase(QStringView text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c >= u'a' && c <= u'z'; });
}

} // namespace

QString csvFileName(const QString& name, const QString& symbol)
{
    QString upper = symbol;
    for (QChar& c : upper) {
        if (c >= u'a' && c <= u'z')
            c = QChar(c.unicode() - 'a' + 'A');
    }
    return name.left(10) + u'.' + upper + QStringLiteral(".csv");
}

CsvFileName splitCsvFileName(const QString& fileName)
{
    const QString stem = fileName.left(fileName.size() - 4); // without ".csv"
    std::vector<qsizetype> dots;
    for (qsizetype i = 0; i < stem.size() && i <= 10; ++i) {
        const qsizetype symbolLength = stem.size() - i - 1;
        if (stem[i] == u'.' && i > 0 && symbolLength > 0 && symbolLength <= store::metastock::symbolLength
            && !holdsLowerCase(QStringView(stem).mid(i + 1)))
            dots.push_back(i);
    }
    auto split = [&stem](qsizetype dot) { return CsvFileName{stem.left(dot).trimmed(), stem.mid(dot + 1)}; };
    for (qsizetype dot : dots) {
        if (QStringView(stem).mid(dot + 1).startsWith(QStringView(stem).left(dot), Qt::CaseInsensitive))
            return split(dot);
    }
    if (!dots.empty())
        return split(dots.front());
    return {stem, stem};
}

} // namespace convert

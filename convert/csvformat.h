#pragma once

// The CSV files of the data converter: one security per file, a header line naming the columns, one
// bar per line. Writing produces exactly the form the converter window has always written; reading
// accepts that form and the common exports of quote sites.

#include "store/securitytypes.h"

#include <QLocale>
#include <QString>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QIODevice;

namespace convert {

// The first line of every file written, without its line end.
inline constexpr char csvHeader[] = "Date,Open,High,Low,Close,Volume";

// Formats bars as the lines of a file. Dates are the locale's short date (as FormatBarDate gives it),
// numbers the form the print statement writes: a blank (or the minus sign), the value, a blank. The
// value is the shortest decimal that reads back as the stored single-precision number, whole numbers in
// full, with the locale's decimal separator. Lines end with CR LF; text is in the system's encoding.
class CsvLineWriter
{
public:
    explicit CsvLineWriter(const QLocale& locale);

    void appendHeader(std::string& out) const;
    void appendBar(std::string& out, const store::PriceBar& bar);

private:
    const std::string& dateText(qint32 date);
    char* writeNumber(char* out, double value);

    // The print-statement form of a recent value, found by its single-precision bits: prices recur (a
    // security trades on a grid of ticks), and formatting them is the larger part of an export.
    struct PrintedNumber
    {
        quint64 key = 0; // the bits, with bit 32 set; 0 for an empty slot
        quint8 length = 0;
        char text[23];
    };

    QLocale m_locale;
    QString m_pattern;
    QString m_separator;
    char m_decimalPoint = '.';
    std::vector<std::string> m_dates; // FormatBarDate once per calendar day, as the same days recur
    std::string m_odd; // a date outside the cached years
    std::vector<PrintedNumber> m_printed;
};

// One number in the print-statement form, written at `out`; returns the end. Needs printNumberSize
// characters at most.
inline constexpr int printNumberSize = 40;
char* writePrintNumber(char* out, double value, char decimalPoint);
void appendPrintNumber(std::string& out, double value, char decimalPoint);

// Where and why a file cannot be read.
struct CsvProblem
{
    qint64 line = 0; // 1-based; 0 when the file as a whole is at fault
    QString text;
};

// A number in its most common form, a minus sign or none, digits and at most one decimal point ('.' or
// `decimalPoint`), read to the very float std::from_chars gives for it; false for any other form and
// for the few values it cannot round exactly, which the caller reads the long way.
[[nodiscard]] bool readPlainDecimal(const char* begin, const char* end, char decimalPoint, float& value);

// Reads the bars of one file. Columns are found by the header's names (case and surrounding blanks do
// not matter): Date, High, Low, Close and Volume are needed; Open, OpenInt (or Open Interest) and
// Adj Close are optional, other columns are ignored. Dates may be the locale's short date with a
// four-digit year, yyyy-mm-dd or yyyymmdd; numbers use a decimal point or the locale's separator and
// may carry blanks around them. The bars come back sorted by date; a date twice, a line that cannot be
// read or a bar the folder cannot hold fails the whole file, and so does a file with more bars than a
// security can hold, which also keeps the memory small whatever the file's size.
class CsvBarReader
{
public:
    explicit CsvBarReader(const QLocale& locale);

    [[nodiscard]] bool read(QIODevice& device, std::vector<store::PriceBar>& bars, CsvProblem& problem);

private:
    struct Columns;
    bool readHeader(const char* begin, const char* end, CsvProblem& problem);
    bool readLine(const char* begin, const char* end, store::PriceBar& bar, QString& problem) const;
    bool readDate(const char* begin, const char* end, qint32& date) const;
    bool readNumber(const char* begin, const char* end, double& value) const;

    QLocale m_locale;
    char m_localeDecimal = '.';
    int m_dayField = 0; // positions of day, month and year in the locale's short date
    int m_monthField = 1;
    int m_yearField = 2;
    bool m_patternKnown = true; // false for a short date this reader cannot take apart; QLocale reads it
    std::vector<std::pair<std::string, int>> m_monthNames; // lower case, in the system's encoding
    QString m_datePattern;
    std::vector<int> m_columnOf; // header position -> field (see Columns)
    static constexpr qint64 chunkSize = 64 * 1024; // read at a time
    static constexpr qsizetype longestLine = 4096;
    std::unique_ptr<char[]> m_buffer; // a chunk and the start of a line left from the one before
};

// A CSV file's name split into the security's name and symbol: "NAME.SYMBOL.csv" as the converter
// writes it (the name cut to 10 characters, the symbol whole) or "SYMBOL.csv". The name ends at the
// first dot, except that a name which is the symbol itself (often so in folders that have no names)
// is recognised whole, and a symbol holds no lower-case letters, as written symbols never do.
struct CsvFileName
{
    QString name;
    QString symbol;
};

CsvFileName splitCsvFileName(const QString& fileName);

// The file name the converter writes for a security.
QString csvFileName(const QString& name, const QString& symbol);

} // namespace convert

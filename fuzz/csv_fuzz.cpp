// Feeds arbitrary bytes to the converter's CSV reader, as a file and as a file name: it may not crash,
// hang or read out of range, and what it accepts must be what a folder can hold. The bytes are also one
// number for the reader's fast path, which must read exactly what std::from_chars reads.

#include "convert/csvformat.h"
#include "store/arguments.h"

#include <QBuffer>
#include <QLocale>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void checkPlainDecimal(const char* text, size_t length, char point)
{
    float fast = 0;
    if (!convert::readPlainDecimal(text, text + length, point, fast))
        return;
    std::string copy(text, length);
    std::replace(copy.begin(), copy.end(), point, '.');
    float slow = 0;
    const auto result = std::from_chars(copy.data(), copy.data() + copy.size(), slow);
    if (result.ec != std::errc() || result.ptr != copy.data() + copy.size()
        || std::bit_cast<uint32_t>(fast) != std::bit_cast<uint32_t>(slow))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The first byte picks the locale, whose short date and decimal separator the reader follows.
    static const QLocale locales[] = {QLocale::c(),
                                      QLocale(QLocale::English, QLocale::UnitedStates),
                                      QLocale(QLocale::German, QLocale::Germany),
                                      QLocale(QLocale::French, QLocale::France),
                                      QLocale(QLocale::Japanese, QLocale::Japan)};
    if (size == 0)
        return 0;
    const QLocale& locale = locales[data[0] % std::size(locales)];
    QBuffer file;
    file.setData(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
    file.open(QIODevice::ReadOnly);
    std::vector<store::PriceBar> bars;
    convert::CsvProblem problem;
    if (convert::CsvBarReader(locale).read(file, bars, problem)) {
        for (size_t i = 0; i < bars.size(); ++i) {
            if (!store::checkBar(bars[i]).ok() || (i > 0 && bars[i - 1].date >= bars[i].date))
                std::abort();
        }
    } else if (problem.text.isEmpty() || problem.line < 0) {
        std::abort();
    }

    const QString point = locale.decimalPoint();
    checkPlainDecimal(reinterpret_cast<const char*>(data + 1), std::min<size_t>(size - 1, 32), point[0].toLatin1());

    const QString name = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(std::min<size_t>(size, 64)));
    const convert::CsvFileName split = convert::splitCsvFileName(name + QStringLiteral(".csv"));
    if (split.symbol.isEmpty() && !name.isEmpty())
        std::abort();
    return 0;
}

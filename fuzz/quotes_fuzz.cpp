// Feeds arbitrary bytes to both quote-service readers: neither may crash, hang or read out of range,
// and what they accept must keep their promises.

#include "download/clsdailyquotes.h"
#include "download/clsstockquote.h"

#include <QLocale>
#include <QString>

#include <cmath>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const QString body = QString::fromUtf8(bytes);

    const download::DailyQuotesParse history = download::parseDailyQuotes(bytes);
    if (history.ok == !history.error.isEmpty() || (!history.ok && !history.rows.isEmpty()))
        std::abort();
    // Read in two pieces, split where the first byte says, the reply must read the same.
    if (size > 1) {
        download::DailyQuotesReader reader;
        const qsizetype split = qsizetype(data[0]) % qsizetype(size);
        if (reader.read(bytes.first(split)))
            (void)reader.read(bytes.sliced(split));
        const download::DailyQuotesParse pieces = reader.finish();
        if (pieces.rows != history.rows || pieces.error != history.error)
            std::abort();
    }
    for (const download::DailyQuoteRecord& row : history.rows) {
        if (!std::isfinite(row.open) || !std::isfinite(row.high) || !std::isfinite(row.low)
            || !std::isfinite(row.close))
            std::abort();
    }

    static const QLocale locales[] = {QLocale::c(),
                                      QLocale(QLocale::English, QLocale::UnitedStates),
                                      QLocale(QLocale::German, QLocale::Germany)};
    for (const QLocale& locale : locales) {
        const auto quote = download::parseStockQuote(body, locale);
        if (quote && (*quote)[0].contains(QLatin1Char('"')))
            std::abort();
    }
    return 0;
}

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
    const QString body = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));

    const download::DailyQuotesParse history = download::parseDailyQuotes(body);
    if (history.ok == !history.error.isEmpty() || (!history.ok && !history.rows.isEmpty()))
        std::abort();
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

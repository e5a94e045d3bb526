// Feeds arbitrary bytes to the reply readers of one quote source, chosen at build time
// (TICKSMITH_FUZZ_SOURCE), as a history and as a current quote, with a status taken from the first
// byte: none may crash, hang or read out of range, and what they accept must keep their promises.

#include "download/sources/quotesource.h"

#include <QLocale>
#include <QString>

#include <cmath>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const download::sources::QuoteSource* source =
        download::sources::findSource(QStringLiteral(TICKSMITH_FUZZ_SOURCE));
    if (!source)
        std::abort();
    static const int statuses[] = {200, 200, 200, 400, 401, 404, 429, 0};
    download::sources::SourceReply reply;
    reply.status = size > 0 ? statuses[data[0] % 8] : 200;
    reply.ok = reply.status == 200;
    reply.error = reply.ok ? QString() : QStringLiteral("failed");
    reply.body = QByteArray(reinterpret_cast<const char*>(data), qsizetype(size));

    const download::sources::HistoryParse history = source->parseHistory(reply);
    if (history.ok == !history.reason.isEmpty() || (!history.ok && !history.rows.isEmpty()))
        std::abort();
    for (qsizetype i = 0; i < history.rows.size(); ++i) {
        const download::DailyQuoteRecord& row = history.rows[i];
        if (!std::isfinite(row.open) || !std::isfinite(row.high) || !std::isfinite(row.low)
            || !std::isfinite(row.close))
            std::abort();
        // Newest first, one row per date (the specified service's rows are passed on as sent).
        if (source->name() != u"classic" && i > 0 && !(history.rows[i - 1].date > row.date))
            std::abort();
    }

    static const QLocale locales[] = {QLocale::c(), QLocale(QLocale::German, QLocale::Germany)};
    for (const QLocale& locale : locales) {
        const download::sources::QuoteParse quote = source->parseQuote(reply, locale);
        if (quote.values.has_value() == !quote.reason.isEmpty())
            std::abort();
    }
    return 0;
}

#pragma once

#include <QList>
#include <QString>

namespace download {

// One row of a daily history, as the service sent it. The service's seventh column (the adjusted
// close) is not kept.
struct DailyQuoteRecord
{
    QString date; // exactly as the service wrote it
    double open = 0;
    double high = 0;
    double low = 0;
    double close = 0;
    qint64 volume = 0; // the specified service keeps to 32 bits; other sources (crypto) go beyond

    friend bool operator==(const DailyQuoteRecord&, const DailyQuoteRecord&) = default;
};

// The rows of the last successful history call, in the service's order: newest first, so a writer that
// wants the oldest first walks it from the back. Row i (counted from 1) is element i - 1.
//
// There is no process-wide instance. Whoever runs downloads owns one list per transfer lane and hands
// it to each clsDailyQuotes it creates; a successful call replaces the whole list, a failed one leaves
// it as it was. The owner must read the list before the next call on the same lane; two lanes never
// share one, so they cannot overwrite each other's rows.
using DailyQuotes = QList<DailyQuoteRecord>;

} // namespace download

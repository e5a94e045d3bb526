#pragma once

// What the profiles share to read replies: numbers, CSV tables named by their header, the final
// order of rows, and the twelve quote fields. Only the profiles use it.

#include "quotesource.h"

#include <QDate>
#include <QDateTime>
#include <QHash>
#include <QStringList>

#include <optional>

namespace download::sources {

// A price as providers write it: a point, whatever the user's locale, and finite.
std::optional<double> replyNumber(const QString& text);
// A volume: a number (adjusted volumes carry decimals) rounded to a whole one, not negative.
std::optional<qint64> replyVolume(const QString& text);

// A CSV reply: its header's columns by lower-case name, and its rows. Blank lines and CR line ends do
// not count.
struct CsvTable
{
    QHash<QString, qsizetype> columns;
    QList<QStringList> rows;

    // The row's field in column (lower case), or nothing when the column is absent.
    std::optional<QString> field(const QStringList& row, const QString& column) const;
};

CsvTable readCsv(const QString& body);

// Reads table's rows into bars, taking the named columns (lower case); volume may be empty when the
// provider omits it for some instruments. Dates are yyyy-MM-dd. A row whose prices are all empty or
// "null" is a day without trading and left out.
HistoryParse csvHistory(const CsvTable& table,
                        const QString& date,
                        const QString& open,
                        const QString& high,
                        const QString& low,
                        const QString& close,
                        const QString& volume);

// Puts rows newest first; fails on a date given twice, which would otherwise write two bars of one day.
HistoryParse finishedHistory(HistoryParse parse);

HistoryParse historyFailure(const QString& reason);
QuoteParse quoteFailure(const QString& reason);

// The reason for a provider's own words: "<title> answered: <text>", the text on one line and short.
QString providerSaid(const QuoteSource& source, const QString& text);

// The twelve fields as the specified service writes them, from numbers where there are some.
struct QuoteNumbers
{
    QString symbol;
    std::optional<double> price, change, changePercent, open, high, low, bid, ask;
    std::optional<qint64> volume;
    QDateTime time; // of the last trade, in the exchange's zone
};

StockQuoteValues quoteValues(const QuoteNumbers& numbers, const QLocale& locale);

} // namespace download::sources

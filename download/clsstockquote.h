#pragma once

#include "transferchannel.h"

#include <QLocale>
#include <QString>

#include <array>
#include <memory>
#include <optional>

namespace download {

namespace sources {
class SourceChain;
}

// The twelve properties of a current quote, in the order the service writes them.
using StockQuoteValues = std::array<QString, 12>;

// Their names, in the same order ("Symbol", "Quote", ... "Volume").
extern const std::array<const char*, 12> StockQuotePropertyNames;

// The path and query that ask for the current quote of symbol. The symbol goes in as given: the caller
// trims it, and nothing is escaped.
QString stockQuoteRequest(const QString& symbol);

// The properties of a current-quote reply, or nothing when it holds fewer than twelve comma-separated
// fields. Double quotes are removed from every field. A volume that reads as a number in locale is
// written with digit grouping and no decimals; any other volume ("N/A") is kept as it stands, line end
// included.
std::optional<StockQuoteValues> parseStockQuote(const QString& body, const QLocale& locale);

// The current quote of one symbol. Setting the symbol fetches at once; the properties then hold the
// reply's texts, never converted to numbers. An object serves one security and starts with every
// property empty.
class clsStockQuote
{
public:
    // locale formats the volume; the channel must outlive the object.
    clsStockQuote(TransferChannel& channel, QLocale locale);
    // Asks the quote sources, in their order, until one has a quote; they must outlive the object.
    clsStockQuote(sources::SourceChain& sources, QLocale locale);
    ~clsStockQuote();

    // Fetches the quote of symbol. Without twelve fields in the reply (a failed transfer included), Quote
    // becomes "0.00", the other properties "N/A", and Symbol keeps the text given here; errorString()
    // says why. A caller that tests Opening against "N/A" therefore never writes a bar from a failure.
    void setSymbol(const QString& symbol);

    const QString& Symbol() const { return m_values[0]; }

    const QString& Quote() const { return m_values[1]; }

    const QString& LastTradeDate() const { return m_values[2]; }

    const QString& LastTradeTime() const { return m_values[3]; }

    const QString& Change() const { return m_values[4]; }

    const QString& PercentageChange() const { return m_values[5]; }

    const QString& Opening() const { return m_values[6]; }

    const QString& DayHigh() const { return m_values[7]; }

    const QString& DayLow() const { return m_values[8]; }

    const QString& Bid() const { return m_values[9]; }

    const QString& Ask() const { return m_values[10]; }

    const QString& Volume() const { return m_values[11]; }

    const StockQuoteValues& values() const { return m_values; }

    // Why the last fetch brought no quote; empty after a reply of twelve fields.
    const QString& errorString() const { return m_error; }

    // The address of the last request, its key masked.
    const QString& request() const { return m_request; }

private:
    std::unique_ptr<sources::SourceChain> m_ownSources;
    sources::SourceChain& m_sources;
    QLocale m_locale;
    StockQuoteValues m_values;
    QString m_error;
    QString m_request;
};

} // namespace download

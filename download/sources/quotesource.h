#pragma once

// Quote sources: one profile per provider of daily prices behind one interface. A profile knows how to
// ask its provider for a daily history (and a current quote, where it has one) and how to read the
// reply into the rows and quote fields the specified service's clients produce, so that the download
// job writes the same bars whatever the source. Profiles do no networking: the source client
// (sourceclient.h) sends their requests, waits between them and checks what comes back.
//
// Symbols. Securities keep the symbols they have on disk, written with the exchange suffixes of the
// symbol catalogue ("BHP.AX", "VOD.L", "SAP.DE"; none for the United States, "^" for indices). Each
// profile turns such a symbol into its provider's form through one table, MarketTable below; a market
// a provider does not serve is answered without a request.

#include "download/clsstockquote.h"
#include "download/mdldailyquotes.h"
#include "download/transferchannel.h"

#include <QDate>
#include <QList>
#include <QLocale>
#include <QString>

#include <chrono>
#include <optional>

namespace download::sources {

// What a profile read from a history reply.
struct HistoryParse
{
    bool ok = false;
    DailyQuotes rows; // newest first, dates written yyyy-MM-dd, one row per date
    QString symbol; // the symbol the reply says it holds, in the provider's form; empty when it does not say
    QString reason; // when not ok: what the provider answered, as a sentence
};

// What a profile read from a current-quote reply.
struct QuoteParse
{
    std::optional<StockQuoteValues> values; // the twelve fields, formatted as the specified service writes them
    QString symbol; // as for HistoryParse
    QString reason; // when there are no values
};

// The start of a reason for a provider that refuses because too many requests came: the results
// show it, so that a user knows to wait rather than to look for a fault.
inline const QString RateLimited = QStringLiteral("rate limited");

// A transfer with its body, whatever the status: the profiles read an error reply's body too.
struct SourceReply : TransferReply
{
    QByteArray body; // as received

    QString text() const { return QString::fromUtf8(body); }
};

class QuoteSource
{
public:
    virtual ~QuoteSource() = default;

    virtual QString name() const = 0; // lower case, as settings and the command line name it: "yahoo"
    virtual QString title() const = 0; // for people: "Yahoo Finance (chart API)"
    virtual QString defaultAddress() const = 0; // scheme and host; empty for the specified service
    virtual bool needsKey() const = 0;
    // The least time between two requests, so that a long download list does not trip the provider's
    // limit per minute. Limits per day cannot be paced away: the provider's answer is reported instead.
    virtual std::chrono::milliseconds minimumInterval() const = 0;

    // The provider's form of symbol, or nothing when it serves not that market.
    virtual std::optional<QString> providerSymbol(const QString& symbol) const = 0;

    // Path and query of a history request for providerSymbol from first to last (both included).
    virtual QString historyRequest(const QString& symbol, QDate first, QDate last, const QString& key) const = 0;
    // Path and query of a current-quote request; empty when the provider has none.
    virtual QString quoteRequest(const QString& symbol, const QString& key) const = 0;

    // The reply in full: providers answer errors with any status, the body saying what went wrong.
    virtual HistoryParse parseHistory(const SourceReply& reply) const = 0;
    virtual QuoteParse parseQuote(const SourceReply& reply, const QLocale& locale) const = 0;
};

// Every profile, the specified service ("classic", the default) first.
const QList<const QuoteSource*>& allSources();
// The profile of that name (any case), or null.
const QuoteSource* findSource(const QString& name);
inline const QString ClassicSource = QStringLiteral("classic");

// The one table of symbol forms: a catalogue suffix and what each provider writes for it. An empty
// entry means the provider does not serve that market; "-" means it writes the bare symbol.
struct Market
{
    const char* suffix; // as in the catalogue, "" for the United States
    const char* name;
    const char* stooq;
    const char* alphavantage;
    const char* tiingo;
    const char* eodhd;
};

extern const QList<Market> MarketTable;

// Which column of MarketTable a profile uses.
enum class MarketColumn
{
    Stooq,
    AlphaVantage,
    Tiingo,
    Eodhd,
};

// symbol in the provider's form by MarketTable: the suffix replaced (or dropped, for "-"), the case
// left to the caller. Nothing for an index or a market the provider does not serve.
std::optional<QString> mappedSymbol(const QString& symbol, MarketColumn column);

// text with key, plain or percent-encoded, replaced by asterisks wherever it is a query value, and
// anywhere when it has four characters or more: request lines, errors and logs never show a key.
QString maskKey(QString text, const QString& key);

} // namespace download::sources

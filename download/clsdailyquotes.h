#pragma once

#include "mdldailyquotes.h"
#include "transferchannel.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QDate>
#include <QString>

#include <array>
#include <memory>

namespace download {

namespace sources {
class SourceChain;
}

// The path and query that ask for the daily history of symbol from first to last. The end date comes
// before the start date, months count from 0 (January = 0), and nothing is padded:
// s, d, e, f (end month, day, year), a, b, c (start month, day, year), ignore.
QString dailyQuotesRequest(const QString& symbol, QDate first, QDate last);

struct DailyQuotesParse
{
    bool ok = false;
    DailyQuotes rows;
    QString error; // why the reply holds no usable data; empty when ok
};

// The rows of a history reply. Every carriage return and line feed is taken for a comma and the body
// is read as one flat list of tokens, seven per row: the first seven (the header row) are skipped, and
// a row is read only when another token follows its seventh (the empty one after its line feed, or the
// next row's date), so a last row without a line end after it is dropped. A reply of fewer than twelve
// tokens, a price that is not a number, or a volume beyond 32 bits makes the whole reply unusable.
// Lines that end in CR LF put an empty token between rows and so do not read; the service ends its
// lines with a single line feed. The body is UTF-8.
//
// Two more rules keep a broken or hostile reply from filling memory: a reply of more rows than a
// security can hold (65,534) is unusable, and so is a date or number of more than 255 bytes.
DailyQuotesParse parseDailyQuotes(QByteArrayView body);

// The same rules, applied to a reply piece by piece as it arrives: only the rows and the token in hand
// are kept, and the reply is refused at its first unusable row.
class DailyQuotesReader : public BodyReader
{
public:
    bool read(QByteArrayView piece) override;

    QString refusal() const override { return m_error; }

    // The outcome, once the last piece is read.
    DailyQuotesParse finish();

private:
    bool endToken();

    DailyQuotesParse m_parsed{true, {}, {}};
    QString m_error;
    qint64 m_separators = 0; // so far: the number of the token in hand, counted from 0
    bool m_empty = true;
    std::array<QByteArray, 6> m_fields; // date, open, high, low, close, volume of the row in hand
};

// The daily history of one symbol. A successful call replaces the rows of the list given at creation;
// a failed one leaves them untouched.
class clsDailyQuotes
{
public:
    enum : qint16
    {
        StatusOk = 0, // rows were parsed
        StatusNoData = 2, // no usable data: a failed transfer or a reply that does not read
    };

    // Asks the specified service through channel. Both must outlive the object.
    clsDailyQuotes(TransferChannel& channel, DailyQuotes& quotes);
    // Asks the quote sources, in their order, until one has the history. Both must outlive the object.
    clsDailyQuotes(sources::SourceChain& sources, DailyQuotes& quotes);
    ~clsDailyQuotes();

    // Asks for the history from FirstDate to LastDate; the outcome is Status() and the list.
    void DownloadDailyQuotes(const QString& Symbol, QDate FirstDate, QDate LastDate);

    qint16 Status() const { return m_status; }

    void setStatus(qint16 status) { m_status = status; }

    // The address of the last request (only its path and query when the service has no address).
    const QString& request() const { return m_request; }

    // Why the last call ended with StatusNoData; empty after a successful one.
    const QString& errorString() const { return m_error; }

private:
    std::unique_ptr<sources::SourceChain> m_ownSources;
    sources::SourceChain& m_sources;
    DailyQuotes& m_quotes;
    qint16 m_status = StatusOk;
    QString m_request;
    QString m_error;
};

} // namespace download

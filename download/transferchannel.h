#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace download {

// The two services a client may ask: each has an address of its own.
enum class QuoteService
{
    CurrentQuote, // "/d/quotes.csv"
    History, // "/table.csv"
};

// Takes a reply's body piece by piece as it arrives, so that no reply has to be held whole: a
// reader keeps what it needs and may refuse the rest.
class BodyReader
{
public:
    virtual ~BodyReader() = default;

    // The next piece of the body. False refuses the reply: the transfer stops at once and ends as a
    // failure that refusal() explains.
    virtual bool read(QByteArrayView piece) = 0;
    virtual QString refusal() const = 0;
};

// Keeps the whole body, up to limit bytes; a longer reply is refused.
class WholeBody : public BodyReader
{
public:
    explicit WholeBody(qsizetype limit)
        : m_limit(limit)
    {}

    bool read(QByteArrayView piece) override
    {
        if (body.size() + piece.size() > m_limit)
            return false;
        body += piece;
        return true;
    }

    QString refusal() const override { return QStringLiteral("The reply is longer than %1 bytes.").arg(m_limit); }

    QByteArray body;

private:
    qsizetype m_limit;
};

// The outcome of one transfer; the body went to the reader.
struct TransferReply
{
    bool ok = false;
    QString error; // a sentence for a person; empty when ok
    QString url; // the address asked for; empty when the service has no address
    // What the server answered, kept when it is a failure too: quote sources say what went wrong in
    // the body of an error reply. Status 0 when no answer came.
    int status = 0;
    QString retryAfter; // the Retry-After header, as sent
};

// A synchronous GET, as the quote clients need it. An implementation must keep the caller's event loop
// running while it waits, so that a window stays responsive (its Cancel button included), must end
// every call, whatever the server does, and must allow calls from several threads at once (a download
// job waits for several securities at a time). The HTTP channel is the real one; tests may script
// their own.
class TransferChannel
{
public:
    virtual ~TransferChannel() = default;

    // Fetches pathAndQuery ("/table.csv?s=...") from the service's address, handing the body to
    // reader as it arrives. An error reply's body goes to the reader too, but only a reply that
    // counts (ok) may be refused by it.
    virtual TransferReply get(QuoteService service, const QString& pathAndQuery, BodyReader& reader) = 0;

    // Ends the transfers in progress on every thread as failures, at once, and fails every later one
    // until allowTransfers(). Both may be called from any thread.
    virtual void abortTransfers() {}

    virtual void allowTransfers() {}
};

} // namespace download

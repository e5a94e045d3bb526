#pragma once

#include <QString>

namespace download {

// The two services a client may ask: each has an address of its own.
enum class QuoteService
{
    CurrentQuote, // "/d/quotes.csv"
    History, // "/table.csv"
};

// The outcome of one transfer: the whole body as text, or why there is none.
struct TransferReply
{
    bool ok = false;
    QString body;
    QString error; // a sentence for a person; empty when ok
    QString url; // the address asked for; empty when the service has no address
    // What the server answered, kept when it is a failure too: quote sources say what went wrong in
    // the body of an error reply. Status 0 when no answer came.
    int status = 0;
    QString retryAfter; // the Retry-After header, as sent
};

// A synchronous GET, as the quote clients need it. An implementation must keep the caller's event loop
// running while it waits, so that a window stays responsive (its Cancel button included), and must end
// every call, whatever the server does. The HTTP channel is the real one; tests may script their own.
class TransferChannel
{
public:
    virtual ~TransferChannel() = default;

    // Fetches pathAndQuery ("/table.csv?s=...") from the service's address.
    virtual TransferReply get(QuoteService service, const QString& pathAndQuery) = 0;
};

} // namespace download

#pragma once

// Shows a security's intraday chart: the page whose address is the setting "QuoteService/IntradayChartUrl",
// with "{symbol}" standing for the symbol, opened in the user's browser. No address is built in.

#include <QString>

namespace context {
struct AppContext;
}

namespace symbols {

inline const QString kIntradayChartUrlKey = QStringLiteral("QuoteService/IntradayChartUrl");

// Why an intraday chart address cannot be used, or empty text when it can (empty text included: the
// page is then simply not configured). "{symbol}" may stand anywhere in it.
QString checkIntradayChartUrl(const QString& address);

class PlaceHelper
{
public:
    explicit PlaceHelper(context::AppContext& context);

    // Opens the symbol's intraday chart page and returns true. Without a configured address, with an
    // address that is not an http(s) web address, or with an empty symbol, tells the user why (title
    // "Ticksmith") and returns false. The market-place window passes chartKind 16, the intraday chart,
    // the only kind there is.
    bool ShowChart(const QString& symbol, qint32 chartKind);

private:
    context::AppContext& m_context;
};

} // namespace symbols

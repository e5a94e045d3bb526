#include "placehelper.h"

#include "context/appcontext.h"

#include <QSettings>
#include <QUrl>

namespace symbols {

// The address with the symbol filled in. The symbol is encoded so that "^GSPC" or "M&M.NS" stay one
// symbol inside the address.
static QUrl chartUrl(const QString& address, const QString& symbol)
{
    QString filled = address;
    filled.replace(QLatin1String("{symbol}"), QString::fromLatin1(QUrl::toPercentEncoding(symbol)));
    return QUrl(filled, QUrl::StrictMode);
}

QString checkIntradayChartUrl(const QString& address)
{
    const QString text = address.trimmed();
    if (text.isEmpty())
        return {};
    const QUrl url = chartUrl(text, QStringLiteral("IBM"));
    if (!url.isValid() || (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https"))
        || url.host().isEmpty())
        return QStringLiteral("\"%1\" is not a valid http or https address.").arg(text);
    return {};
}

PlaceHelper::PlaceHelper(context::AppContext& context)
    : m_context(context)
{}

bool PlaceHelper::ShowChart(const QString& symbol, qint32 /*chartKind*/)
{
    const auto tell = [this](const QString& text) {
        m_context.prompter->information(nullptr, QStringLiteral("Ticksmith"), text);
        return false;
    };
    const QString address = m_context.settings->value(kIntradayChartUrlKey).toString().trimmed();
    if (address.isEmpty())
        return tell(QStringLiteral("No intraday chart page is configured. Enter its address under Quote service in "
                                   "Settings."));
    if (symbol.trimmed().isEmpty())
        return tell(QStringLiteral("There is no symbol to show an intraday chart for."));

    if (const QString problem = checkIntradayChartUrl(address); !problem.isEmpty())
        return tell(
            QStringLiteral("The intraday chart address %1 Correct it under Quote service in Settings.").arg(problem));
    const QUrl url = chartUrl(address, symbol.trimmed());
    m_context.openUrl(url);
    return true;
}

} // namespace symbols

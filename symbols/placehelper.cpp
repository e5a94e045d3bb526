#include "placehelper.h"

#include "core/appcontext.h"

#include <QSettings>
#include <QUrl>

namespace symbols {

PlaceHelper::PlaceHelper(app::AppContext& context)
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

    // The symbol is encoded so that "^GSPC" or "M&M.NS" stay one symbol inside the address.
    QString filled = address;
    filled.replace(QLatin1String("{symbol}"), QString::fromLatin1(QUrl::toPercentEncoding(symbol.trimmed())));
    const QUrl url(filled, QUrl::StrictMode);
    if (!url.isValid() || (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https"))
        || url.host().isEmpty())
        return tell(QStringLiteral("The intraday chart address \"%1\" is not a valid http or https address. Correct it "
                                   "under Quote service in Settings.")
                        .arg(address));
    m_context.openUrl(url);
    return true;
}

} // namespace symbols

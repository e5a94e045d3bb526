#include "helpers.h"

#include "appcontext.h"

#include <QDate>
#include <QUrl>

#include <cmath>

namespace context {

QString BrowseForFolder(AppContext& context, QWidget* owner, const QString& title)
{
    return context.prompter->pickFolder(owner, title);
}

QString GetShortDatePattern(const QLocale& locale)
{
    QString pattern = locale.dateFormat(QLocale::ShortFormat);
    if (!pattern.contains(QLatin1String("yyyy")) && pattern.contains(QLatin1String("yy")))
        pattern.replace(QLatin1String("yy"), QLatin1String("yyyy"));
    return pattern;
}

static bool isDateField(QChar c)
{
    return c == u'd' || c == u'M' || c == u'y';
}

QString GetDateSeparator(const QLocale& locale)
{
    // The run of characters that follows the first field, up to the next field.
    const QString pattern = GetShortDatePattern(locale);
    qsizetype start = 0;
    while (start < pattern.size() && !isDateField(pattern[start]))
        ++start;
    while (start < pattern.size() && isDateField(pattern[start]))
        ++start;
    qsizetype end = start;
    while (end < pattern.size() && !isDateField(pattern[end]))
        ++end;
    if (end == pattern.size())
        return {};
    return pattern.mid(start, end - start);
}

static QString isoText(int year, int month, int day)
{
    return QStringLiteral("%1-%2-%3")
        .arg(year, 4, 10, QLatin1Char('0'))
        .arg(month, 2, 10, QLatin1Char('0'))
        .arg(day, 2, 10, QLatin1Char('0'));
}

QString FormatBarDate(qint32 yyyymmdd, const QString& shortDatePattern, const QString& separator, const QLocale& locale)
{
    if (yyyymmdd == 0)
        return QStringLiteral("N/A");
    // Rounding rather than truncating the quotients is how stored dates have always been split; for a
    // day of 1 to 31 it is the same as dropping the day.
    const int day = yyyymmdd % 100;
    const auto ym = static_cast<qint32>(std::nearbyint(yyyymmdd / 100.0));
    const int month = ym % 100;
    const auto year = static_cast<int>(std::nearbyint(ym / 100.0));

    // The fields are gathered in the order the pattern names them around its separators and read back
    // as a date in that order; for every pattern with a separator that is the calendar date itself,
    // written out in the pattern, with the zeros and the month names the pattern asks for.
    const QDate date(year, month, day);
    if (separator.isEmpty() || !shortDatePattern.contains(separator) || !date.isValid())
        return isoText(year, month, day);
    return locale.toString(date, shortDatePattern);
}

QString FormatBarDate(const QLocale& locale, qint32 yyyymmdd)
{
    return FormatBarDate(yyyymmdd, GetShortDatePattern(locale), GetDateSeparator(locale), locale);
}

QString ParsePath(const QString& path)
{
    qsizetype i = path.size();
    while (i > 0) {
        const QChar c = path[i - 1];
        if (c == u':' || c == u'\\' || c == u'/')
            break;
        --i;
    }
    return path.left(i);
}

void GoURL(AppContext& context, const QString& address)
{
    if (address.isEmpty() || !context.openUrl)
        return;
    context.openUrl(QUrl::fromUserInput(address));
}

} // namespace context

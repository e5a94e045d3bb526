#include "arguments.h"

#include "metastock/indexfiles.h"
#include "metastock/mbf.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace store {

namespace {

QString upperAscii(const QString& text)
{
    QString result = text;
    for (QChar& c : result) {
        if (c >= u'a' && c <= u'z')
            c = QChar(c.unicode() - 'a' + 'A');
    }
    return result;
}

// Latin-1 characters that print; control characters would break the fixed-width fields and NUL ends them.
Status checkCharacters(const QString& text, const char* what)
{
    for (QChar c : text) {
        const char16_t u = c.unicode();
        if (u < 0x20 || (u >= 0x7F && u < 0xA0) || u > 0xFF)
            return Status::error(ErrorCode::InvalidArgument,
                                 QStringLiteral("The %1 \"%2\" holds the character U+%3, which the folder cannot store")
                                     .arg(QLatin1String(what), text)
                                     .arg(u, 4, 16, QChar(u'0')));
    }
    return {};
}

} // namespace

Status normalizeSymbol(const QString& text, QString& symbol)
{
    const QString trimmed = upperAscii(text.trimmed());
    if (trimmed.isEmpty())
        return Status::error(ErrorCode::InvalidArgument, QStringLiteral("The symbol is empty"));
    if (trimmed.size() > metastock::symbolLength)
        return Status::error(
            ErrorCode::InvalidArgument,
            QStringLiteral("The symbol \"%1\" is longer than %2 characters").arg(trimmed).arg(metastock::symbolLength));
    if (Status s = checkCharacters(trimmed, "symbol"); !s.ok())
        return s;
    symbol = trimmed;
    return {};
}

Status normalizeName(const QString& text, QString& name)
{
    const QString trimmed = text.trimmed();
    // The windows that adjust and trim securities find them by name.
    if (trimmed.isEmpty())
        return Status::error(ErrorCode::InvalidArgument, QStringLiteral("The name is empty"));
    if (trimmed.size() > metastock::longNameLength)
        return Status::error(
            ErrorCode::InvalidArgument,
            QStringLiteral("The name \"%1\" is longer than %2 characters").arg(trimmed).arg(metastock::longNameLength));
    if (Status s = checkCharacters(trimmed, "name"); !s.ok())
        return s;
    name = trimmed;
    return {};
}

bool sameSymbol(const QString& a, const QString& b)
{
    // Compared in place: lookups by symbol run once per security over the whole index.
    const QStringView x = QStringView(a).trimmed();
    const QStringView y = QStringView(b).trimmed();
    const auto upper = [](QChar c) { return c >= u'a' && c <= u'z' ? QChar(c.unicode() - 'a' + 'A') : c; };
    return x.size() == y.size()
        && std::equal(x.begin(), x.end(), y.begin(), [&](QChar p, QChar q) { return upper(p) == upper(q); });
}

bool sameName(const QString& a, const QString& b)
{
    return a.trimmed().compare(b.trimmed(), Qt::CaseInsensitive) == 0;
}

Status parseDateText(const QString& text, qint32& date)
{
    bool digits = text.size() == 8;
    for (QChar c : text)
        digits = digits && c >= u'0' && c <= u'9';
    if (!digits)
        return Status::error(ErrorCode::InvalidArgument,
                             QStringLiteral("\"%1\" is not a date of the form yyyymmdd").arg(text));
    if (Status s = checkDate(text.toInt()); !s.ok())
        return s;
    date = text.toInt();
    return {};
}

QString barDateText(QDate date)
{
    return date.toString(QStringLiteral("yyyy/MM/dd")).remove(u'/');
}

QString firstDateText(qint32 firstDate)
{
    return QString::number(metastock::isValidDate(firstDate) ? firstDate : earliestDate);
}

Status checkDate(qint32 date)
{
    if (!metastock::isValidDate(date))
        return Status::error(ErrorCode::InvalidArgument,
                             QStringLiteral("%1 is not a date between 1900-01-01 and 2099-12-31").arg(date));
    return {};
}

Status checkValue(double value, const char* what)
{
    if (!metastock::floatToMbf(value))
        return Status::error(ErrorCode::InvalidArgument,
                             QStringLiteral("The %1 %2 cannot be stored (not finite, or 2^127 or more)")
                                 .arg(QLatin1String(what))
                                 .arg(value));
    return {};
}

Status checkBar(const PriceBar& bar)
{
    const std::pair<double, const char*> values[] = {{bar.open, "open"},
                                                     {bar.high, "high"},
                                                     {bar.low, "low"},
                                                     {bar.close, "close"},
                                                     {bar.volume, "volume"},
                                                     {bar.openInterest, "open interest"}};
    // Every bar of a download or a conversion passes here, most of them twice: the sound ones are
    // told apart without building a status for each value.
    const auto storable = [](const auto& value) { return metastock::floatToMbf(value.first).has_value(); };
    if (metastock::isValidDate(bar.date) && std::all_of(std::begin(values), std::end(values), storable))
        return {};
    if (Status s = checkDate(bar.date); !s.ok())
        return s;
    for (const auto& [value, what] : values) {
        if (Status s = checkValue(value, what); !s.ok())
            return s;
    }
    return {};
}

char periodicityLetter(qint32 code)
{
    switch (code) {
    case 1:
        return 'D';
    case 2:
        return 'W';
    case 3:
        return 'M';
    default:
        return 0;
    }
}

qint32 periodicityCode(char letter)
{
    switch (letter) {
    case 'D':
        return 1;
    case 'W':
        return 2;
    case 'M':
        return 3;
    default:
        return 0;
    }
}

} // namespace store

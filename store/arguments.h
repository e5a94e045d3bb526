#pragma once

#include "securitytypes.h"
#include "status.h"

#include <QDate>
#include <QString>

namespace store {

// The checks of what callers hand to the data component, in one place so that the writer, the reader
// and the search agree on them.

// A symbol as stored: trimmed, ASCII letters in upper case, 1 to 14 Latin-1 characters. A longer one is
// refused, never cut, because two cut symbols could name one security.
Status normalizeSymbol(const QString& text, QString& symbol);
// A name as stored: trimmed, 1 to 45 Latin-1 characters (the first 16 go to MASTER, the whole name to
// EMASTER or XMASTER).
Status normalizeName(const QString& text, QString& name);
// Symbols compare without regard to the case of ASCII letters.
bool sameSymbol(const QString& a, const QString& b);
bool sameName(const QString& a, const QString& b);

// A date given as the text "yyyymmdd": exactly eight digits naming a date from 1900-01-01 to 2099-12-31.
Status parseDateText(const QString& text, qint32& date);
// A date as the eight digits yyyymmdd, the text in which the writer takes a date that names bars.
QString barDateText(QDate date);
// The first date a folder can hold: a range from it reaches back to a security's oldest bar.
constexpr qint32 earliestDate = 19000101;

// The dates a folder can hold, as the windows' date boxes offer them.
inline QDate firstStorableDate()
{
    return {1900, 1, 1};
}

inline QDate lastStorableDate()
{
    return {2099, 12, 31};
}

// A security's first date as the text the writer takes to remove its history "from the first date":
// the index's date, or the earliest date when the index holds none (0) or a number that is no date, so
// that the bars are removed all the same.
QString firstDateText(qint32 firstDate);
Status checkDate(qint32 date);
// A price, volume or open interest the folder can hold: finite and below 2^127 in magnitude.
Status checkValue(double value, const char* what);
// A bar the folder can hold: its date and every value checked as above.
Status checkBar(const PriceBar& bar);

char periodicityLetter(qint32 code); // 0 for codes other than 1, 2, 3
qint32 periodicityCode(char letter);

} // namespace store

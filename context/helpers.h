#pragma once

#include <QLocale>
#include <QString>

class QWidget;

namespace context {

struct AppContext;

// The folder the user picks, or empty text when the dialog is cancelled. Folders come back without a
// trailing separator, except a root, which keeps it; callers that build a file path add the separator.
QString BrowseForFolder(AppContext& context, QWidget* owner, const QString& title);

// The locale's short-date pattern in Qt's notation ("M/d/yyyy"); a two-digit year is widened to four
// digits, because price histories reach back a century and "1/15/05" would read back as 1905.
QString GetShortDatePattern(const QLocale& locale);

// The separator between the fields of the short-date pattern ("/", ".", "-", ". "), or empty text when
// the pattern has none.
QString GetDateSeparator(const QLocale& locale);

// A bar date (yyyymmdd) as the locale's short date; "N/A" for 0. When the pattern holds no separator,
// or the number is not a date of the calendar, the result is yyyy-mm-dd: this never fails.
QString FormatBarDate(const QLocale& locale, qint32 yyyymmdd);
QString FormatBarDate(qint32 yyyymmdd,
                      const QString& shortDatePattern,
                      const QString& separator,
                      const QLocale& locale = QLocale::c());

// The directory part of a path, up to and including its last "\", "/" or ":" (empty when it has none).
QString ParsePath(const QString& path);

// Opens an address in the user's browser. Empty text opens nothing and reports nothing.
void GoURL(AppContext& context, const QString& address);

} // namespace context

#pragma once

// What goes into a download: the securities of a folder, which of them are ticked at first, and where
// each one's download starts. The selection window and ticksmith-cli both build their download lists
// with these functions, so a security is chosen and continued the same way from both.

#include "context/appcontext.h"
#include "store/status.h"

#include <QDate>
#include <QList>
#include <QString>

#include <optional>

namespace download {

// Every date of the download list and options travels as ISO text, "yyyy-MM-dd".
QString dateText(QDate date);
// The date of such a text, or an invalid date for anything else.
QDate dateFromText(const QString& text);

// A bar date yyyymmdd as a date (invalid for 0 and non-dates), and back.
QDate dateFromBarDate(qint32 yyyymmdd);
qint32 barDateOf(QDate date);

// One security of a folder as the selection lists it.
struct ListedSecurity
{
    QString name;
    QString symbol;
    qint32 firstDate = 0; // yyyymmdd; 0 when the folder records none
    qint32 lastDate = 0;
};

// The securities of folder in the folder's order. A failure ends the listing: what was read before it
// stays in securities and the status says what went wrong.
store::Status listSecurities(const QString& folder, QList<ListedSecurity>& securities);

// A security starts ticked unless it already holds today's bar. One without a last date cannot be
// continued (there is no date to start from), so it is never offered for download.
bool tickedByDefault(qint32 lastDate, QDate today);
bool canDownload(qint32 lastDate);

// The first date to ask the service for. Only the month numbers are compared, years not: when the last
// month is more than one month before today's, the last date itself is fetched again; otherwise the
// download starts on the day after it. So a security last updated in December continues from the next
// day in January and February, and one last updated in January restarts from its own last date in March.
QDate startDate(QDate lastDate, QDate today);

// The download list entry of a security: the trimmed symbol, the last date less 35 days (kept, not
// used), the start date, and the folder. Nothing when the security has no last date. A security whose
// first date is its last holds that one day's bar at most (a new security holds none: its first date
// is recorded without a bar), so its download starts on that day itself: the writer replaces a bar of
// the same date, and a new security gets its first day's bar.
std::optional<context::DownloadItem>
makeDownloadItem(const QString& symbol, qint32 firstDate, qint32 lastDate, const QString& folder, QDate today);

} // namespace download

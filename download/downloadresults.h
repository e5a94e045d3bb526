#pragma once

// How the results of a download are counted and summed up, for the results window and ticksmith-cli.

#include "context/appcontext.h"

#include <QList>
#include <QString>

namespace download {

// A result without data: shown with the second image, counted under "No Data". Blanks around the text
// do not matter.
bool isNoData(const QString& status);

// The summary's counts. Unlike the progress window's counters, every result that is neither "No Data"
// nor "Up to date" ("OK", "No Connection") counts as completed.
struct ResultTally
{
    int completed = 0;
    int upToDate = 0;
    int noData = 0;
};

ResultTally tallyResults(const QList<context::DownloadResult>& results);

// "Completed : 3    |    Upto Date : 1    |    No Data : 0"
QString resultsSummary(const ResultTally& tally);

} // namespace download

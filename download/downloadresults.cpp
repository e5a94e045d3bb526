#include "downloadresults.h"

#include "downloadjob.h"

namespace download {

bool isNoData(const QString& status)
{
    return status.trimmed() == ResultNoData;
}

ResultTally tallyResults(const QList<context::DownloadResult>& results)
{
    ResultTally tally;
    for (const context::DownloadResult& result : results) {
        if (isNoData(result.status))
            ++tally.noData;
        else if (result.status.trimmed() == ResultUpToDate)
            ++tally.upToDate;
        else
            ++tally.completed;
    }
    return tally;
}

QString resultsSummary(const ResultTally& tally)
{
    return QStringLiteral("Completed : %1    |    Upto Date : %2    |    No Data : %3")
        .arg(tally.completed)
        .arg(tally.upToDate)
        .arg(tally.noData);
}

} // namespace download

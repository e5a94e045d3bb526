#pragma once

// What the benchmark programs share: stopping on the first failure, a file system without flushes
// (to tell the flushes' cost from the rest), trading days to date bars by, and the peak memory.

#include "store/filesystem.h"
#include "store/status.h"

#include <QDate>

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>
#include <vector>

namespace bench {

inline void check(const store::Status& status, const char* what)
{
    if (!status.ok()) {
        std::fprintf(stderr, "%s: %s\n", what, qPrintable(status.text()));
        std::exit(1);
    }
}

class NoSyncFileSystem : public store::FileSystem
{
public:
    store::Status syncFiles(const QStringList&) override { return {}; }

    store::Status syncFolder(const QString&) override { return {}; }

    store::Status syncFilesAndFolder(const QStringList&, const QString&) override { return {}; }
};

// Weekdays from 1990-01-02 on, as yyyymmdd numbers.
inline std::vector<qint32> tradingDays(int count)
{
    std::vector<qint32> days;
    for (QDate day(1990, 1, 2); int(days.size()) < count; day = day.addDays(1)) {
        if (day.dayOfWeek() <= 5)
            days.push_back(day.year() * 10000 + day.month() * 100 + day.day());
    }
    return days;
}

inline double peakMegabytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024.0;
}

} // namespace bench

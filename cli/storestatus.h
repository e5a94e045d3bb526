#pragma once

#include "command.h"
#include "store/status.h"

#include <QString>

namespace cli {

// The exit status of a failed folder operation: refused arguments and folders that cannot be read are
// usage errors; everything else that fails (a busy folder, a failed write) is a problem of the run.
int exitFor(const store::Status& status);
// Prints the failure's text and gives its exit status.
int fail(Io& io, const store::Status& status);
// A yyyymmdd date as YYYY-MM-DD, "N/A" for 0.
QString isoDate(qint32 date);

} // namespace cli

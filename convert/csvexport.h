#pragma once

#include "conversion.h"
#include "store/status.h"

#include <QLocale>
#include <QString>

namespace store {
class FileSystem;
}

namespace convert {

// Writes every security of the MetaStock folder `source` as one CSV file into `destination` (created
// when missing), in the folder's order; see CsvLineWriter for the form. Each file appears whole or not
// at all: it is written under a temporary name and renamed into place, replacing an older one.
//
// A security whose file cannot be named (a name or symbol with a character a file name cannot hold),
// whose data file is damaged, or that holds several bars a day (intraday data, which a file of one line
// per date cannot keep apart) is reported in `report` and left out. A folder that cannot be read, and a
// file that cannot be written (the destination is the likely cause), stop the run with that status.
[[nodiscard]] store::Status exportFolder(store::FileSystem& fs,
                                         const QString& source,
                                         const QString& destination,
                                         const QLocale& locale,
                                         ConversionReport& report,
                                         const Progress& progress = {});

} // namespace convert

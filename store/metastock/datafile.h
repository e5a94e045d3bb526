#pragma once

#include "indexfiles.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace store::metastock {

// One bar as a data file stores it. Fields absent from the file read as 0 (time) and 0.0; `fields` of
// the file says which ones were there.
struct Bar
{
    qint32 date = 0; // yyyymmdd, 0 when the stored number is no date
    qint32 time = 0; // HHMMSS
    float open = 0;
    float high = 0;
    float low = 0;
    float close = 0;
    float volume = 0;
    float openInterest = 0;
};

// The most bars one file can count: its header counts the header record too, in 16 bits.
constexpr int maxBarsPerFile = 65534;

// Reads the bars of an F<n>.DAT or F<n>.MWD file with the given field set. Returns false, with a
// problem, when the file cannot be read safely (too short, a counter past its end, an impossible field
// set); inconsistencies it survives (bytes after the counted bars, bad dates, bars out of order) are
// reported as problems and the bars are still delivered.
bool parseDataFile(const QByteArray& bytes,
                   quint8 fields,
                   const QString& file,
                   std::vector<Bar>& bars,
                   Problems& problems);

// The bytes of a data file holding `bars` with the given field set. Values must already be checked
// with floatToMbf (see mbf.h); they are stored as MBF singles.
QByteArray encodeDataFile(quint8 fields, const std::vector<Bar>& bars);

} // namespace store::metastock

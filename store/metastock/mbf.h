#pragma once

#include <QtGlobal>

#include <optional>

namespace store::metastock {

// Microsoft Binary Format single precision, the number format of every value in the data files and of
// the two dates in MASTER. It has the same 24-bit significand as an IEEE single, so both conversions are
// exact; only the exponent bias and the place of the sign differ.
float mbfToFloat(quint32 word);

// The MBF word of a value, after rounding it to single precision. Empty for values MBF cannot hold
// (NaN, infinities, magnitudes of 2^127 or more). Zero, negative zero and values too small for an IEEE
// single become the all-zero word.
std::optional<quint32> floatToMbf(double value);

// Little-endian access to the byte buffers of the index and data files. Callers check the bounds.
quint16 readU16(const char* bytes);
quint32 readU32(const char* bytes);
void writeU16(char* bytes, quint16 value);
void writeU32(char* bytes, quint32 value);
float readIeee(const char* bytes);
void writeIeee(char* bytes, float value);

// Dates travel as yyyymmdd numbers; the files hold them as (year - 1900) * 10000 + month * 100 + day.
// Accepted dates are real calendar dates from 1900-01-01 to 2099-12-31.
bool isValidDate(qint32 yyyymmdd);

// The yyyymmdd date of a stored CYYMMDD number, or 0 when the number is no date at all (zero, negative,
// too large). Fractions are cut off, as other readers do.
qint32 dateFromStored(float cyymmdd);
float storedFromDate(qint32 yyyymmdd);

// The HHMMSS time of a stored number, or -1 when it is out of any time's range.
qint32 timeFromStored(float hhmmss);

} // namespace store::metastock

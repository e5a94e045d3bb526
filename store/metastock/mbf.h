#pragma once

#include <QtGlobal>

#include <bit>
#include <cmath>
#include <optional>

// Every value of every bar passes through these conversions, on reading and on writing, so they are
// defined here where the compiler can inline them.
namespace store::metastock {

// Microsoft Binary Format single precision, the number format of every value in the data files and of
// the two dates in MASTER. It has the same 24-bit significand as an IEEE single, so both conversions are
// exact; only the exponent bias and the place of the sign differ.
inline float mbfToFloat(quint32 word)
{
    const quint32 exponent = word >> 24;
    // Exponents 1 and 2 would give IEEE denormals; no price gets there, and other readers disagree on
    // them, so they read as zero like exponent 0.
    if (exponent <= 2)
        return 0.0f;
    const quint32 sign = (word >> 23) & 1u;
    const quint32 mantissa = word & 0x7FFFFFu;
    return std::bit_cast<float>((sign << 31) | ((exponent - 2) << 23) | mantissa);
}

// The MBF word of a value, after rounding it to single precision. Empty for values MBF cannot hold
// (NaN, infinities, magnitudes of 2^127 or more). Zero, negative zero and values too small for an IEEE
// single become the all-zero word.
inline std::optional<quint32> floatToMbf(double value)
{
    const float single = static_cast<float>(value);
    if (!std::isfinite(value) || !std::isfinite(single))
        return std::nullopt;
    const quint32 bits = std::bit_cast<quint32>(single);
    const quint32 exponent = (bits >> 23) & 0xFFu;
    if (exponent == 0)
        return 0u;
    if (exponent >= 254)
        return std::nullopt;
    const quint32 sign = bits >> 31;
    return ((exponent + 2) << 24) | (sign << 23) | (bits & 0x7FFFFFu);
}

// Little-endian access to the byte buffers of the index and data files. Callers check the bounds.
inline quint16 readU16(const char* bytes)
{
    const auto* b = reinterpret_cast<const unsigned char*>(bytes);
    return static_cast<quint16>(b[0] | (b[1] << 8));
}

inline quint32 readU32(const char* bytes)
{
    const auto* b = reinterpret_cast<const unsigned char*>(bytes);
    return quint32(b[0]) | (quint32(b[1]) << 8) | (quint32(b[2]) << 16) | (quint32(b[3]) << 24);
}

inline void writeU16(char* bytes, quint16 value)
{
    bytes[0] = static_cast<char>(value & 0xFF);
    bytes[1] = static_cast<char>(value >> 8);
}

inline void writeU32(char* bytes, quint32 value)
{
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<char>((value >> (8 * i)) & 0xFF);
}

inline float readIeee(const char* bytes)
{
    return std::bit_cast<float>(readU32(bytes));
}

inline void writeIeee(char* bytes, float value)
{
    writeU32(bytes, std::bit_cast<quint32>(value));
}

// Dates travel as yyyymmdd numbers; the files hold them as (year - 1900) * 10000 + month * 100 + day.
// Accepted dates are real calendar dates from 1900-01-01 to 2099-12-31.
inline bool isValidDate(qint32 yyyymmdd)
{
    const int year = yyyymmdd / 10000;
    const int month = yyyymmdd / 100 % 100;
    const int day = yyyymmdd % 100;
    if (year < 1900 || year > 2099 || month < 1 || month > 12 || day < 1)
        return false;
    constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return day <= days[month - 1] + (month == 2 && leap ? 1 : 0);
}

// The yyyymmdd date of a stored CYYMMDD number, or 0 when the number is no date at all (zero, negative,
// too large). Fractions are cut off, as other readers do.
inline qint32 dateFromStored(float cyymmdd)
{
    // A stored date above 1991231 would be past the year 2099 of the format's century digit range.
    if (cyymmdd == 0.0f || !(cyymmdd >= 0.0f && cyymmdd < 10000000.0f))
        return 0;
    return static_cast<qint32>(cyymmdd) + 19000000;
}

inline float storedFromDate(qint32 yyyymmdd)
{
    // Integer arithmetic first: 20160229 itself is not representable in a float, 1160229 is.
    return static_cast<float>(yyyymmdd - 19000000);
}

// The HHMMSS time of a stored number, or -1 when it is out of any time's range.
inline qint32 timeFromStored(float hhmmss)
{
    if (!(hhmmss >= 0.0f && hhmmss < 1000000.0f))
        return -1;
    return static_cast<qint32>(hhmmss);
}

} // namespace store::metastock

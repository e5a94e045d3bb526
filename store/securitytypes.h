#pragma once

#include <QString>

namespace store {

// Periodicity codes at the interface; the folder stores them as the letters D, W and M.
enum Periodicity : qint32
{
    OtherPeriodicity = 0, // intraday or an unknown letter: read, but never created by this program
    Daily = 1,
    Weekly = 2,
    Monthly = 3,
};

// One security of a folder as the reader enumerates it.
struct SecurityDescriptor
{
    QString name;
    QString symbol; // upper case; the key for lookups, existence tests and selection
    QString fileName; // the data file inside the folder ("F12.DAT"), chosen by the writer
    qint32 periodicity = Daily;
    qint32 firstDate = 0; // yyyymmdd as the index stores it; 0 when none is stored
    qint32 lastDate = 0;
};

// One bar. Downloaded and created bars carry time 0 and open interest 0; bars entered by hand carry
// time -1 and open interest -1.0. Daily files store no time, so a bar read back has time 0.
struct PriceBar
{
    qint32 date = 0; // yyyymmdd
    qint32 time = 0;
    double open = 0;
    double high = 0;
    double low = 0;
    double close = 0;
    double volume = 0;
    double openInterest = 0;
};

} // namespace store

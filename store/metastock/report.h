#pragma once

#include "datafile.h"
#include "indexfiles.h"

#include <QByteArray>

namespace store::metastock {

// Text lines in the layout long-standing readers print, so that a folder's contents can be compared
// with theirs line by line.

// "symbol,date,time,open,high,low,close,volume,openint"
QByteArray barsCsvHeader();
// Date as YYYY-MM-DD, time as HH:MM:SS (00:00:00 without a time field), prices with 5 decimals, volume
// and open interest rounded to whole numbers; fields the file lacks print as -0.00000 and -0.
QByteArray barsCsvLine(const QString& symbol, quint8 fields, const Bar& bar);

// "symbol,long_name,barsize,from_date,to_date,file_number,file_name,field_bitset,record_number,kind"
QByteArray securitiesCsvHeader();
// Dates are those stored in the index. Names are not quoted, as those readers print them.
QByteArray securitiesCsvLine(const IndexEntry& entry);

} // namespace store::metastock

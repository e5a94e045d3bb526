#include "report.h"

#include <cstdio>

namespace store::metastock {

namespace {

QByteArray format(const char* pattern, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, pattern, value);
    return QByteArray(text);
}

QByteArray price(quint8 fields, quint8 field, float value)
{
    return (fields & field) ? format("%.5f", value) : QByteArray("-0.00000");
}

QByteArray whole(quint8 fields, quint8 field, float value)
{
    return (fields & field) ? format("%.0f", value) : QByteArray("-0");
}

QByteArray isoDate(qint32 yyyymmdd)
{
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", yyyymmdd / 10000, yyyymmdd / 100 % 100, yyyymmdd % 100);
    return QByteArray(text);
}

QByteArray clock(qint32 hhmmss)
{
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", hhmmss / 10000, hhmmss / 100 % 100, hhmmss % 100);
    return QByteArray(text);
}

} // namespace

QByteArray barsCsvHeader()
{
    return "symbol,date,time,open,high,low,close,volume,openint";
}

QByteArray barsCsvLine(const QString& symbol, quint8 fields, const Bar& bar)
{
    QByteArray line = symbol.toLatin1();
    line += ',' + isoDate(bar.date) + ',' + clock((fields & TimeField) ? bar.time : 0);
    line += ',' + price(fields, OpenField, bar.open);
    line += ',' + price(fields, HighField, bar.high);
    line += ',' + price(fields, LowField, bar.low);
    line += ',' + price(fields, CloseField, bar.close);
    line += ',' + whole(fields, VolumeField, bar.volume);
    line += ',' + whole(fields, OpenInterestField, bar.openInterest);
    return line;
}

QByteArray securitiesCsvHeader()
{
    return "symbol,long_name,barsize,from_date,to_date,file_number,file_name,field_bitset,record_number,kind";
}

QByteArray securitiesCsvLine(const IndexEntry& entry)
{
    static constexpr char kinds[] = {'M', 'E', 'X'};
    QByteArray line = entry.symbol.toLatin1() + ',' + entry.name.toLatin1() + ',' + entry.periodicity;
    line += ',' + isoDate(entry.firstDate) + ',' + isoDate(entry.lastDate);
    line += ',' + QByteArray::number(entry.fileNumber) + ',' + entry.dataFileName().toLatin1();
    line += ',' + QByteArray::number(entry.fields) + ',' + QByteArray::number(entry.recordNumber);
    line += ',';
    line += kinds[static_cast<int>(entry.kind)];
    return line;
}

} // namespace store::metastock

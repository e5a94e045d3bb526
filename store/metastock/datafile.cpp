#include "datafile.h"

#include "mbf.h"

namespace store::metastock {

namespace {

float Bar::*valueMember(quint8 field)
{
    switch (field) {
    case OpenField:
        return &Bar::open;
    case HighField:
        return &Bar::high;
    case LowField:
        return &Bar::low;
    case CloseField:
        return &Bar::close;
    case VolumeField:
        return &Bar::volume;
    case OpenInterestField:
        return &Bar::openInterest;
    default:
        return nullptr;
    }
}

bool isLayout(quint8 fields)
{
    return (fields & DateField) && fieldCount(fields) >= 4;
}

void checkOrder(const std::vector<Bar>& bars, const QString& file, Problems& problems)
{
    for (size_t i = 0; i < bars.size(); ++i) {
        if (!isValidDate(bars[i].date)) {
            problems.push_back(
                {file, QStringLiteral("bar %1: %2 is not a valid date").arg(i + 1).arg(bars[i].date), false});
            return;
        }
        if (i > 0 && std::pair(bars[i].date, bars[i].time) <= std::pair(bars[i - 1].date, bars[i - 1].time)) {
            problems.push_back(
                {file,
                 QStringLiteral("bar %1 (%2) is not later than the bar before it").arg(i + 1).arg(bars[i].date),
                 false});
            return;
        }
    }
}

} // namespace

bool parseDataFile(const QByteArray& bytes,
                   quint8 fields,
                   const QString& file,
                   std::vector<Bar>& bars,
                   Problems& problems)
{
    bars.clear();
    if (!isLayout(fields)) {
        problems.push_back({file, QStringLiteral("the index gives it no usable field set")});
        return false;
    }
    const qsizetype recordSize = 4 * fieldCount(fields);
    if (bytes.size() < recordSize) {
        problems.push_back({file, QStringLiteral("the file is shorter than its header (%1 bytes)").arg(bytes.size())});
        return false;
    }
    const int counter = readU16(bytes.constData() + 2);
    if (counter == 0) {
        problems.push_back({file, QStringLiteral("the header's record counter is 0; it counts the header itself")});
        return false;
    }
    const qsizetype needed = recordSize * counter;
    if (bytes.size() < needed) {
        problems.push_back({file,
                            QStringLiteral("the header counts %1 bars but the file holds only %2 bytes (%3 needed)")
                                .arg(counter - 1)
                                .arg(bytes.size())
                                .arg(needed)});
        return false;
    }
    if (bytes.size() != needed)
        problems.push_back({file,
                            QStringLiteral("%1 bytes follow the %2 bars the header counts")
                                .arg(bytes.size() - needed)
                                .arg(counter - 1),
                            false});

    bars.resize(counter - 1);
    const char* record = bytes.constData() + recordSize;
    for (Bar& bar : bars) {
        const char* value = record;
        for (quint8 field : fieldOrder) {
            if (!(fields & field))
                continue;
            const float number = mbfToFloat(readU32(value));
            value += 4;
            if (field == DateField)
                bar.date = dateFromStored(number);
            else if (field == TimeField)
                bar.time = timeFromStored(number);
            else
                bar.*valueMember(field) = number;
        }
        record += recordSize;
    }
    checkOrder(bars, file, problems);
    return true;
}

QByteArray encodeDataFile(quint8 fields, const std::vector<Bar>& bars)
{
    const qsizetype recordSize = 4 * fieldCount(fields);
    QByteArray bytes(recordSize * qsizetype(bars.size() + 1), '\0');
    writeU16(bytes.data() + 2, static_cast<quint16>(bars.size() + 1));
    char* value = bytes.data() + recordSize;
    for (const Bar& bar : bars) {
        for (quint8 field : fieldOrder) {
            if (!(fields & field))
                continue;
            float number = 0;
            if (field == DateField)
                number = storedFromDate(bar.date);
            else if (field == TimeField)
                number = static_cast<float>(bar.time);
            else
                number = bar.*valueMember(field);
            writeU32(value, floatToMbf(number).value_or(0u));
            value += 4;
        }
    }
    return bytes;
}

} // namespace store::metastock

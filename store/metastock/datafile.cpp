#include "datafile.h"

#include "mbf.h"

#include <utility>

namespace store::metastock {

namespace {

// Where the fields of a record go in a Bar. A record holds the date first, then the time when it has
// one, then prices and counts in fieldOrder; the lists are made once per file, not per value.
struct Layout
{
    bool time = false;
    int values = 0;
    float Bar::*members[6] = {};

    explicit Layout(quint8 fields)
        : time(fields & TimeField)
    {
        const std::pair<quint8, float Bar::*> valueFields[] = {{OpenField, &Bar::open},
                                                               {HighField, &Bar::high},
                                                               {LowField, &Bar::low},
                                                               {CloseField, &Bar::close},
                                                               {VolumeField, &Bar::volume},
                                                               {OpenInterestField, &Bar::openInterest}};
        for (const auto& [field, member] : valueFields) {
            if (fields & field)
                members[values++] = member;
        }
    }
};

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
    const Layout layout(fields);
    const char* value = bytes.constData() + recordSize;
    for (Bar& bar : bars) {
        bar.date = dateFromStored(mbfToFloat(readU32(value)));
        value += 4;
        if (layout.time) {
            bar.time = timeFromStored(mbfToFloat(readU32(value)));
            value += 4;
        }
        for (int i = 0; i < layout.values; ++i, value += 4)
            bar.*layout.members[i] = mbfToFloat(readU32(value));
    }
    checkOrder(bars, file, problems);
    return true;
}

QByteArray encodeDataFile(quint8 fields, const std::vector<Bar>& bars)
{
    const qsizetype recordSize = 4 * fieldCount(fields);
    QByteArray bytes(recordSize * qsizetype(bars.size() + 1), '\0');
    writeU16(bytes.data() + 2, static_cast<quint16>(bars.size() + 1));
    const Layout layout(fields);
    char* value = bytes.data() + recordSize;
    for (const Bar& bar : bars) {
        writeU32(value, floatToMbf(storedFromDate(bar.date)).value_or(0u));
        value += 4;
        if (layout.time) {
            writeU32(value, floatToMbf(static_cast<float>(bar.time)).value_or(0u));
            value += 4;
        }
        for (int i = 0; i < layout.values; ++i, value += 4)
            writeU32(value, floatToMbf(bar.*layout.members[i]).value_or(0u));
    }
    return bytes;
}

} // namespace store::metastock

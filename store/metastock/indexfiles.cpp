#include "indexfiles.h"

#include "mbf.h"

#include <algorithm>
#include <bit>

namespace store::metastock {

namespace {

const char xmasterMagic[] = {'\x5D', '\xFE', '\x58', '\x4D'};

// Text of a fixed-width field: up to the first NUL, without the trailing padding spaces.
QString readText(const QByteArray& record, int offset, int length)
{
    QByteArray bytes = record.mid(offset, length);
    const qsizetype end = bytes.indexOf('\0');
    if (end >= 0)
        bytes.truncate(end);
    while (!bytes.isEmpty() && bytes.back() == ' ')
        bytes.chop(1);
    return QString::fromLatin1(bytes);
}

void writeText(QByteArray& record, int offset, int length, const QString& text, char padding)
{
    const QByteArray bytes = text.left(length).toLatin1();
    for (int i = 0; i < length; ++i)
        record[offset + i] = i < bytes.size() ? bytes[i] : padding;
}

qint32 readMbfDate(const QByteArray& record, int offset)
{
    return dateFromStored(mbfToFloat(readU32(record.constData() + offset)));
}

void writeMbfDate(QByteArray& record, int offset, qint32 date)
{
    writeU32(record.data() + offset, date == 0 ? 0u : floatToMbf(storedFromDate(date)).value_or(0u));
}

void writeIeeeDate(QByteArray& record, int offset, qint32 date)
{
    writeIeee(record.data() + offset, date == 0 ? 0.0f : storedFromDate(date));
}

// Checks the size against the count in the header and returns how many records can be read.
int usableRecords(const QByteArray& bytes, int recordSize, int count, const QString& file, Problems& problems)
{
    const int present = static_cast<int>(bytes.size() / recordSize) - 1;
    if (count > present) {
        problems.push_back({file,
                            QStringLiteral("the header counts %1 records but the file holds only %2 (%3 bytes)")
                                .arg(count)
                                .arg(std::max(present, 0))
                                .arg(bytes.size())});
        return std::max(present, 0);
    }
    if (bytes.size() != qsizetype(recordSize) * (count + 1))
        problems.push_back({file,
                            QStringLiteral("the file has %1 bytes; %2 records need exactly %3")
                                .arg(bytes.size())
                                .arg(count)
                                .arg(qsizetype(recordSize) * (count + 1)),
                            false});
    return count;
}

void checkDates(const IndexEntry& entry, const QString& file, int record, Problems& problems)
{
    for (qint32 date : {entry.firstDate, entry.lastDate}) {
        if (date != 0 && !isValidDate(date))
            problems.push_back({file,
                                QStringLiteral("record %1 (%2): the date %3 is not a valid date")
                                    .arg(record)
                                    .arg(entry.symbol)
                                    .arg(date),
                                false});
    }
}

QByteArray headerFor(const QByteArray& header, int size)
{
    QByteArray result = header.left(size);
    result.append(QByteArray(size - result.size(), '\0'));
    return result;
}

int highestFileNumber(const std::vector<IndexEntry>& entries)
{
    int highest = 0;
    for (const IndexEntry& entry : entries)
        highest = std::max(highest, entry.fileNumber);
    return highest;
}

QByteArray recordFor(const QByteArray& raw, int size)
{
    return raw.size() == size ? raw : QByteArray(size, '\0');
}

} // namespace

int fieldCount(quint8 bitset)
{
    return std::popcount(bitset);
}

quint8 fieldsFromCount(int count, char periodicity)
{
    const bool intraday = periodicity == 'I';
    switch (count) {
    case 4:
        return DateField | HighField | LowField | CloseField;
    case 5:
        return intraday ? quint8(DateField | TimeField | HighField | LowField | CloseField)
                        : quint8(DateField | HighField | LowField | CloseField | VolumeField);
    case 6:
        return intraday ? quint8(0x9F) : quint8(0x3F);
    case 7:
        return intraday ? quint8(0xBF) : quint8(0x7F);
    case 8:
        return 0xFF;
    default:
        return 0;
    }
}

QString IndexEntry::dataFileName() const
{
    return QStringLiteral("F%1.%2").arg(fileNumber).arg(inXmaster() ? QStringLiteral("MWD") : QStringLiteral("DAT"));
}

void parseMaster(const QByteArray& bytes, const QString& file, std::vector<IndexEntry>& entries, Problems& problems)
{
    entries.clear();
    if (bytes.size() < masterRecordSize) {
        problems.push_back({file, QStringLiteral("the file is shorter than its header (%1 bytes)").arg(bytes.size())});
        return;
    }
    const int count = readU16(bytes.constData());
    if (count > lastMasterFileNumber)
        problems.push_back({file, QStringLiteral("the header counts %1 records; at most 255 fit").arg(count)});
    const int records = usableRecords(bytes, masterRecordSize, count, file, problems);
    for (int i = 1; i <= records; ++i) {
        const QByteArray record = bytes.mid(qsizetype(i) * masterRecordSize, masterRecordSize);
        IndexEntry entry;
        entry.masterRecord = record;
        entry.recordNumber = i;
        entry.fileNumber = static_cast<unsigned char>(record[0]);
        const int recordLength = static_cast<unsigned char>(record[3]);
        const int count7 = static_cast<unsigned char>(record[4]);
        entry.name = readText(record, 7, masterNameLength);
        entry.firstDate = readMbfDate(record, 25);
        entry.lastDate = readMbfDate(record, 29);
        entry.periodicity = record[33];
        entry.timeFrame = readU16(record.constData() + 34);
        entry.symbol = readText(record, 36, symbolLength);
        entry.fields = fieldsFromCount(count7, entry.periodicity);
        if (entry.fileNumber == 0)
            problems.push_back({file, QStringLiteral("record %1 (%2) has file number 0").arg(i).arg(entry.symbol)});
        if (entry.fields == 0 || recordLength != 4 * count7)
            problems.push_back({file,
                                QStringLiteral("record %1 (%2): %3 fields in records of %4 bytes are not a data layout")
                                    .arg(i)
                                    .arg(entry.symbol)
                                    .arg(count7)
                                    .arg(recordLength)});
        checkDates(entry, file, i, problems);
        entries.push_back(entry);
    }
    const int highest = readU16(bytes.constData() + 2);
    if (highest < highestFileNumber(entries))
        problems.push_back({file,
                            QStringLiteral("the header's highest file number %1 is below the file number %2 in use")
                                .arg(highest)
                                .arg(highestFileNumber(entries)),
                            false});
}

void parseEmaster(const QByteArray& bytes, const QString& file, std::vector<EmasterRecord>& records, Problems& problems)
{
    records.clear();
    if (bytes.size() < emasterRecordSize) {
        problems.push_back(
            {file, QStringLiteral("the file is shorter than its header (%1 bytes)").arg(bytes.size()), false});
        return;
    }
    const int count = readU16(bytes.constData());
    const int usable = usableRecords(bytes, emasterRecordSize, count, file, problems);
    // EMASTER only adds long names, so its problems never stop a reader: it is then ignored.
    for (Problem& problem : problems)
        if (problem.file == file)
            problem.damage = false;
    for (int i = 1; i <= usable; ++i) {
        EmasterRecord record;
        record.raw = bytes.mid(qsizetype(i) * emasterRecordSize, emasterRecordSize);
        record.fileNumber = static_cast<unsigned char>(record.raw[2]);
        record.fieldCount = static_cast<unsigned char>(record.raw[6]);
        record.fields = static_cast<quint8>(record.raw[7]);
        record.symbol = readText(record.raw, 11, symbolLength);
        record.longName = readText(record.raw, 139, longNameLength);
        records.push_back(record);
    }
}

void parseXmaster(const QByteArray& bytes, const QString& file, std::vector<IndexEntry>& entries, Problems& problems)
{
    entries.clear();
    if (bytes.size() < xmasterRecordSize || !bytes.startsWith(QByteArray(xmasterMagic, 4))) {
        problems.push_back({file, QStringLiteral("the file does not start with an XMASTER header")});
        return;
    }
    const int count = readU16(bytes.constData() + 10);
    if (readU16(bytes.constData() + 14) != count)
        problems.push_back({file, QStringLiteral("the two record counts of the header differ"), false});
    const int records = usableRecords(bytes, xmasterRecordSize, count, file, problems);
    int highest = 0;
    for (int i = 1; i <= records; ++i) {
        const QByteArray record = bytes.mid(qsizetype(i) * xmasterRecordSize, xmasterRecordSize);
        IndexEntry entry;
        entry.kind = IndexKind::Xmaster;
        entry.xmasterRecord = record;
        entry.recordNumber = i;
        entry.symbol = readText(record, 1, symbolLength);
        entry.name = readText(record, 16, longNameLength);
        entry.periodicity = record[62];
        entry.timeFrame = readU16(record.constData() + 63);
        entry.fileNumber = readU16(record.constData() + 65);
        entry.fields = static_cast<quint8>(record[70]);
        entry.firstDate = static_cast<qint32>(readU32(record.constData() + 108));
        entry.lastDate = static_cast<qint32>(readU32(record.constData() + 116));
        if (entry.fileNumber < firstXmasterFileNumber)
            problems.push_back({file,
                                QStringLiteral("record %1 (%2) has file number %3; XMASTER numbers start at 256")
                                    .arg(i)
                                    .arg(entry.symbol)
                                    .arg(entry.fileNumber)});
        const int fields = fieldCount(entry.fields);
        if (!(entry.fields & DateField) || fields < 4)
            problems.push_back({file,
                                QStringLiteral("record %1 (%2): the field set %3 is not a data layout")
                                    .arg(i)
                                    .arg(entry.symbol)
                                    .arg(entry.fields)});
        checkDates(entry, file, i, problems);
        highest = std::max(highest, entry.fileNumber);
        entries.push_back(entry);
    }
    if (xmasterNextFileNumber(bytes) <= highest)
        problems.push_back(
            {file,
             QStringLiteral("the header's next file number %1 is already in use").arg(xmasterNextFileNumber(bytes)),
             false});
}

int xmasterNextFileNumber(const QByteArray& bytes)
{
    return bytes.size() >= 20 ? readU16(bytes.constData() + 18) : 0;
}

QByteArray encodeMaster(const QByteArray& header, const std::vector<IndexEntry>& entries)
{
    QByteArray bytes = headerFor(header, masterRecordSize);
    writeU16(bytes.data(), static_cast<quint16>(entries.size()));
    writeU16(bytes.data() + 2, static_cast<quint16>(highestFileNumber(entries)));
    for (const IndexEntry& entry : entries) {
        QByteArray record = recordFor(entry.masterRecord, masterRecordSize);
        if (entry.changed || entry.masterRecord.size() != masterRecordSize) {
            const int fields = fieldCount(entry.fields);
            record[0] = static_cast<char>(entry.fileNumber);
            record[1] = 'e'; // the "CT file type" 101 that strict readers expect
            record[2] = 0;
            record[3] = static_cast<char>(4 * fields);
            record[4] = static_cast<char>(fields);
            writeText(record, 7, masterNameLength, entry.name, ' ');
            writeMbfDate(record, 25, entry.firstDate);
            writeMbfDate(record, 29, entry.lastDate);
            record[33] = entry.periodicity;
            writeU16(record.data() + 34, static_cast<quint16>(entry.timeFrame));
            writeText(record, 36, symbolLength, entry.symbol, ' ');
            record[50] = ' ';
            if (record[51] != '*')
                record[51] = ' ';
            record[52] = 0;
        }
        bytes += record;
    }
    return bytes;
}

QByteArray encodeEmaster(const QByteArray& header, const std::vector<IndexEntry>& entries)
{
    QByteArray bytes = headerFor(header, emasterRecordSize);
    writeU16(bytes.data(), static_cast<quint16>(entries.size()));
    writeU16(bytes.data() + 2, static_cast<quint16>(highestFileNumber(entries)));
    for (const IndexEntry& entry : entries) {
        QByteArray record = recordFor(entry.emasterRecord, emasterRecordSize);
        if (entry.changed || entry.emasterRecord.size() != emasterRecordSize) {
            record[0] = '6';
            record[1] = '6';
            record[2] = static_cast<char>(entry.fileNumber);
            record[6] = static_cast<char>(fieldCount(entry.fields));
            record[7] = static_cast<char>(entry.fields);
            if (record[9] != '*')
                record[9] = ' ';
            writeText(record, 11, symbolLength, entry.symbol, '\0');
            writeText(record, 32, masterNameLength, entry.name, '\0');
            record[60] = entry.periodicity;
            writeU16(record.data() + 62, static_cast<quint16>(entry.timeFrame));
            writeIeeeDate(record, 64, entry.firstDate);
            writeIeeeDate(record, 72, entry.lastDate);
            writeU32(record.data() + 126, static_cast<quint32>(entry.firstDate));
            // The long name is written only when the short one cuts the name; it starts with the short
            // name, which readers insist on.
            writeText(record, 139, 52, entry.name.size() > masterNameLength ? entry.name : QString(), '\0');
        }
        bytes += record;
    }
    return bytes;
}

QByteArray encodeXmaster(const QByteArray& header, const std::vector<IndexEntry>& entries, int nextFileNumber)
{
    QByteArray bytes = headerFor(header, xmasterRecordSize);
    std::copy(std::begin(xmasterMagic), std::end(xmasterMagic), bytes.begin());
    writeU16(bytes.data() + 10, static_cast<quint16>(entries.size()));
    writeU16(bytes.data() + 14, static_cast<quint16>(entries.size()));
    writeU16(bytes.data() + 18, static_cast<quint16>(nextFileNumber));
    for (const IndexEntry& entry : entries) {
        QByteArray record = recordFor(entry.xmasterRecord, xmasterRecordSize);
        if (entry.changed || entry.xmasterRecord.size() != xmasterRecordSize) {
            record[0] = 1;
            writeText(record, 1, symbolLength + 1, entry.symbol, '\0');
            writeText(record, 16, longNameLength + 1, entry.name, '\0');
            record[62] = entry.periodicity;
            writeU16(record.data() + 63, static_cast<quint16>(entry.timeFrame));
            writeU16(record.data() + 65, static_cast<quint16>(entry.fileNumber));
            record[70] = static_cast<char>(entry.fields);
            writeU32(record.data() + 104, static_cast<quint32>(entry.firstDate));
            writeU32(record.data() + 108, static_cast<quint32>(entry.firstDate));
            writeU32(record.data() + 116, static_cast<quint32>(entry.lastDate));
        }
        bytes += record;
    }
    return bytes;
}

} // namespace store::metastock

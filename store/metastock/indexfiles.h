#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace store::metastock {

// Record sizes of the three index files; record 0 of each is the header.
constexpr int masterRecordSize = 53;
constexpr int emasterRecordSize = 192;
constexpr int xmasterRecordSize = 150;

// Securities with file numbers up to this one live in MASTER/EMASTER as F<n>.DAT, the others in
// XMASTER as F<n>.MWD.
constexpr int lastMasterFileNumber = 255;
constexpr int firstXmasterFileNumber = 256;

// Text limits of the index records.
constexpr int symbolLength = 14;
constexpr int masterNameLength = 16;
constexpr int longNameLength = 45; // EMASTER long name as readers take it, and the XMASTER name

// Field bits of a data record (EMASTER byte 7, XMASTER byte 70), listed in the order the fields are
// stored in a bar.
enum FieldBit : quint8
{
    DateField = 0x01,
    TimeField = 0x80,
    OpenField = 0x20,
    HighField = 0x02,
    LowField = 0x04,
    CloseField = 0x08,
    VolumeField = 0x10,
    OpenInterestField = 0x40,
};

constexpr quint8 fieldOrder[] =
    {DateField, TimeField, OpenField, HighField, LowField, CloseField, VolumeField, OpenInterestField};
constexpr quint8 dailySevenFields = 0x7F; // what this program writes: D O H L C V OI

int fieldCount(quint8 bitset);
// MASTER has only a field count; its meaning depends on the periodicity (intraday files carry a time).
quint8 fieldsFromCount(int count, char periodicity);

// Which index file lists a security, as other readers report it: MASTER only, MASTER with an EMASTER
// long name, or XMASTER.
enum class IndexKind
{
    Master,
    Emaster,
    Xmaster,
};

// One security as the index files describe it.
struct IndexEntry
{
    int fileNumber = 0;
    QString symbol;
    QString name; // the long name when EMASTER or XMASTER carries one
    char periodicity = 'D';
    int timeFrame = 0; // minutes, intraday only
    quint8 fields = dailySevenFields;
    qint32 firstDate = 0; // yyyymmdd as stored in the index; 0 when none is stored
    qint32 lastDate = 0;
    IndexKind kind = IndexKind::Master;
    int recordNumber = 0; // 1-based position in MASTER or XMASTER

    // The records as read, so that bytes this program does not interpret (flags, vendor fields) survive
    // a rewrite. Empty for a new security. `changed` asks the encoder to write the interpreted fields.
    QByteArray masterRecord;
    QByteArray emasterRecord;
    QByteArray xmasterRecord;
    bool changed = false;

    bool inXmaster() const { return fileNumber >= firstXmasterFileNumber; }

    QString dataFileName() const; // F<n>.DAT or F<n>.MWD
};

// A problem found in a file: the file's name and what is wrong. `damage` marks problems that make the
// file unsafe to rewrite; the others are inconsistencies that readers survive.
struct Problem
{
    QString file;
    QString text;
    bool damage = true;
};

using Problems = std::vector<Problem>;

// EMASTER's view of a record, compared with MASTER's when both are read.
struct EmasterRecord
{
    int fileNumber = 0;
    int fieldCount = 0;
    quint8 fields = 0;
    QString symbol;
    QString longName;
    QByteArray raw;
};

// Parsers: they read what the bytes allow and report everything else as a problem of `file`.
void parseMaster(const QByteArray& bytes, const QString& file, std::vector<IndexEntry>& entries, Problems& problems);
void parseEmaster(const QByteArray& bytes,
                  const QString& file,
                  std::vector<EmasterRecord>& records,
                  Problems& problems);
void parseXmaster(const QByteArray& bytes, const QString& file, std::vector<IndexEntry>& entries, Problems& problems);

// Encoders: `header` is the header record as read (empty for a new file); counters are rewritten, other
// header bytes kept. Entries keep their order.
QByteArray encodeMaster(const QByteArray& header, const std::vector<IndexEntry>& entries);
QByteArray encodeEmaster(const QByteArray& header, const std::vector<IndexEntry>& entries);
QByteArray encodeXmaster(const QByteArray& header, const std::vector<IndexEntry>& entries, int nextFileNumber);

// The "next file number" counter of an XMASTER header (0 when there is none).
int xmasterNextFileNumber(const QByteArray& bytes);

} // namespace store::metastock

#include "folder.h"

#include "mbf.h"
#include "store/filesystem.h"
#include "store/transaction.h"

#include <QDir>

#include <algorithm>
#include <set>

namespace store::metastock {

namespace {

// EMASTER adds long names and field sets to the MASTER records, but only when both files describe the
// same securities in the same order; otherwise it is ignored, as other readers ignore it.
void mergeEmaster(const std::vector<EmasterRecord>& records,
                  const QString& file,
                  std::vector<IndexEntry>& entries,
                  Problems& problems)
{
    if (records.size() != entries.size()) {
        problems.push_back({file,
                            QStringLiteral("it lists %1 securities and MASTER %2; its long names are ignored")
                                .arg(records.size())
                                .arg(entries.size()),
                            false});
        return;
    }
    for (size_t i = 0; i < records.size(); ++i) {
        const EmasterRecord& record = records[i];
        IndexEntry& entry = entries[i];
        if (record.fileNumber != entry.fileNumber) {
            problems.push_back(
                {file,
                 QStringLiteral("record %1 names file number %2 where MASTER has %3; the rest of it is ignored")
                     .arg(i + 1)
                     .arg(record.fileNumber)
                     .arg(entry.fileNumber),
                 false});
            return;
        }
        entry.emasterRecord = record.raw;
        if (record.fields != 0 && fieldCount(record.fields) == record.fieldCount && (record.fields & DateField))
            entry.fields = record.fields;
        else
            problems.push_back({file,
                                QStringLiteral("record %1 (%2) has a field set that does not match its field count")
                                    .arg(i + 1)
                                    .arg(entry.symbol),
                                false});
        if (record.symbol != entry.symbol)
            problems.push_back({file,
                                QStringLiteral("record %1 has the symbol %2 where MASTER has %3")
                                    .arg(i + 1)
                                    .arg(record.symbol, entry.symbol),
                                false});
        if (record.longName.isEmpty())
            continue;
        if (!record.longName.startsWith(entry.name)) {
            problems.push_back({file,
                                QStringLiteral("record %1 (%2): the long name does not start with the MASTER name")
                                    .arg(i + 1)
                                    .arg(entry.symbol),
                                false});
            continue;
        }
        entry.name = record.longName;
        entry.kind = IndexKind::Emaster;
    }
}

void checkUniqueFileNumbers(const FolderIndex& index, Problems& problems)
{
    std::set<int> seen;
    for (const IndexEntry* entry : index.securities()) {
        if (entry->fileNumber != 0 && !seen.insert(entry->fileNumber).second)
            problems.push_back(
                {entry->inXmaster() ? index.xmasterFile : index.masterFile,
                 QStringLiteral("file number %1 is given to more than one security").arg(entry->fileNumber)});
    }
}

Status readIndexFile(FileSystem& fs, const FolderIndex& index, const QString& name, QByteArray& bytes)
{
    return fs.readFile(QDir(index.path).filePath(name), bytes);
}

} // namespace

std::vector<const IndexEntry*> FolderIndex::securities() const
{
    std::vector<const IndexEntry*> all;
    all.reserve(masterEntries.size() + xmasterEntries.size());
    for (const IndexEntry& entry : masterEntries)
        all.push_back(&entry);
    for (const IndexEntry& entry : xmasterEntries)
        all.push_back(&entry);
    std::stable_sort(all.begin(), all.end(), [](const IndexEntry* a, const IndexEntry* b) {
        return a->fileNumber < b->fileNumber;
    });
    return all;
}

Status readFolderIndex(FileSystem& fs, const QString& folder, FolderIndex& index, Problems& problems)
{
    index = FolderIndex();
    index.path = folder;
    if (!fs.isFolder(folder))
        return Status::error(ErrorCode::NotFound,
                             QStringLiteral("The folder %1 does not exist").arg(QDir::toNativeSeparators(folder)));
    for (const QString& name : fs.fileNames(folder)) {
        if (!index.files.contains(name.toUpper()))
            index.files.insert(name.toUpper(), name);
    }
    index.masterFile = index.actualName(QStringLiteral("MASTER"));
    index.emasterFile = index.actualName(QStringLiteral("EMASTER"));
    index.xmasterFile = index.actualName(QStringLiteral("XMASTER"));

    QByteArray bytes;
    if (!index.masterFile.isEmpty()) {
        if (Status s = readIndexFile(fs, index, index.masterFile, bytes); !s.ok())
            return s;
        index.masterHeader = bytes.left(masterRecordSize);
        parseMaster(bytes, index.masterFile, index.masterEntries, problems);
    }
    if (!index.emasterFile.isEmpty()) {
        if (Status s = readIndexFile(fs, index, index.emasterFile, bytes); !s.ok())
            return s;
        index.emasterHeader = bytes.left(emasterRecordSize);
        std::vector<EmasterRecord> records;
        parseEmaster(bytes, index.emasterFile, records, problems);
        if (index.masterFile.isEmpty())
            problems.push_back(
                {index.emasterFile,
                 QStringLiteral("there is no MASTER beside it, and readers take the securities from MASTER")});
        else
            mergeEmaster(records, index.emasterFile, index.masterEntries, problems);
    } else if (!index.masterEntries.empty()) {
        problems.push_back(
            {index.masterFile,
             QStringLiteral("there is no EMASTER beside it; programs that read only EMASTER do not see its securities"),
             false});
    }
    if (!index.xmasterFile.isEmpty()) {
        if (Status s = readIndexFile(fs, index, index.xmasterFile, bytes); !s.ok())
            return s;
        index.xmasterHeader = bytes.left(xmasterRecordSize);
        index.xmasterNext = xmasterNextFileNumber(bytes);
        parseXmaster(bytes, index.xmasterFile, index.xmasterEntries, problems);
    }
    for (const IndexEntry& entry : index.masterEntries) {
        if (entry.inXmaster())
            problems.push_back(
                {index.masterFile,
                 QStringLiteral("%1 has file number %2, beyond MASTER's 255").arg(entry.symbol).arg(entry.fileNumber)});
    }
    checkUniqueFileNumbers(index, problems);
    return {};
}

Status
readBars(FileSystem& fs, const FolderIndex& index, const IndexEntry& entry, std::vector<Bar>& bars, Problems& problems)
{
    bars.clear();
    const QString name = index.actualName(entry.dataFileName());
    if (name.isEmpty()) {
        problems.push_back({entry.dataFileName(), QStringLiteral("the data file of %1 is missing").arg(entry.symbol)});
        return damageStatus({problems.back()});
    }
    QByteArray bytes;
    if (Status s = fs.readFile(QDir(index.path).filePath(name), bytes); !s.ok())
        return s;
    Problems found;
    const bool usable = parseDataFile(bytes, entry.fields, name, bars, found);
    problems.insert(problems.end(), found.begin(), found.end());
    if (!usable)
        return damageStatus(found);
    return {};
}

bool hasDamage(const Problems& problems)
{
    return std::any_of(problems.begin(), problems.end(), [](const Problem& p) { return p.damage; });
}

Status damageStatus(const Problems& problems)
{
    for (const Problem& problem : problems) {
        if (problem.damage)
            return Status::error(ErrorCode::Damaged, QStringLiteral("%1: %2").arg(problem.file, problem.text));
    }
    return {};
}

Status checkFolder(FileSystem& fs, const QString& folder, Problems& problems)
{
    FolderIndex index;
    if (Status s = readFolderIndex(fs, folder, index, problems); !s.ok())
        return s;
    // A running writer keeps the journal of its last change until its next one: not a leftover.
    QString holder;
    const bool writing = FolderLock::inspect(folder, holder) == FolderLock::State::Held;
    for (const QString& name : std::as_const(index.files)) {
        if (isTransactionFile(name) && !(writing && name == appliedJournalFileName()))
            problems.push_back({name,
                                QStringLiteral("an interrupted update left this file; check --repair or opening the "
                                               "folder for writing finishes or undoes it")});
    }
    for (const IndexEntry* entry : index.securities()) {
        std::vector<Bar> bars;
        if (Status s = readBars(fs, index, *entry, bars, problems); !s.ok()) {
            if (s.code() != ErrorCode::Damaged)
                return s;
            continue;
        }
        const QString file = index.actualName(entry->dataFileName());
        const qint32 first = bars.empty() ? entry->firstDate : bars.front().date;
        const qint32 last = bars.empty() ? entry->firstDate : bars.back().date;
        if (entry->firstDate != first || entry->lastDate != last)
            problems.push_back({file,
                                QStringLiteral("the index gives %1 dates %2..%3, its bars run %4..%5")
                                    .arg(entry->symbol)
                                    .arg(entry->firstDate)
                                    .arg(entry->lastDate)
                                    .arg(first)
                                    .arg(last),
                                false});
    }
    return {};
}

} // namespace store::metastock

#include "transaction.h"

#include "checksum.h"

#include <QCryptographicHash>
#include <QDir>

#include <algorithm>
#include <limits>

namespace store {

namespace {

const QLatin1String appliedJournalName("TICKSMITH.JNA");
// Consecutive changes alternate between two journal names and two suffixes of their temporary files:
// a change's renames (its journal's to the applied journal among them) reach the medium only with the
// next change's first folder flush, and until then the next change must not create files under the
// names those renames come from.
const QLatin1String journalNames[] = {QLatin1String("TICKSMITH.JNL"), QLatin1String("TICKSMITH.JN2")};
const QLatin1String temporarySuffixes[] = {QLatin1String(".TSTMP"), QLatin1String(".TSTM2")};
const QByteArray journalHeader("TICKSMITH JOURNAL 3 ");
const QByteArray journalHeaderWithoutGeneration("TICKSMITH JOURNAL 2");
const QByteArray journalEnd("END");

// What tells a file the journal names from another: its CRC-32C and length ("1a2b3c4d/140028").
// Journals of version 2 gave an MD5 digest (32 hex digits), which is still understood.
QByteArray digest(const QByteArray& bytes)
{
    return QByteArray::number(crc32c(bytes), 16).rightJustified(8, '0') + '/' + QByteArray::number(bytes.size());
}

bool hasDigestOf(const QByteArray& bytes, const QByteArray& expected)
{
    if (!expected.contains('/'))
        return QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex() == expected;
    return digest(bytes) == expected;
}

// A name of a file in the folder itself; a NUL would cut the name short where the system reads it.
bool isPlainName(const QString& name)
{
    return !name.isEmpty() && !name.contains(u'/') && !name.contains(u'\\') && !name.contains(QChar(0)) && name != u"."
        && name != u"..";
}

// One line of a journal: a file replaced by its temporary file, whose bytes have the digest `digest`
// ("R <digest> <name>"), or a file deleted ("D <name>").
struct JournalEntry
{
    bool replaced = false;
    QString name;
    QByteArray digest;
};

struct Journal
{
    // Counts the changes of one writer's session: the next change's is one more, and its parity
    // chooses the journal's name and the temporary files' suffix.
    qint64 generation = 0;
    std::vector<JournalEntry> entries;

    QString name() const { return journalNames[generation % 2]; }

    QString temporaryName(const QString& target) const { return target + temporarySuffixes[generation % 2]; }
};

// Journal text: a header with the generation, the entries, and an end line that tells a whole journal
// from one cut short.
QByteArray journalText(const Journal& journal)
{
    QByteArray text = journalHeader + QByteArray::number(journal.generation) + '\n';
    for (const JournalEntry& entry : journal.entries)
        text += (entry.replaced ? "R " + entry.digest + ' ' : QByteArray("D ")) + entry.name.toUtf8() + '\n';
    return text + journalEnd + '\n';
}

// False for a journal that is not whole. Journals of earlier versions are read too: one without the
// generation (its temporary files end in ".TSTMP"), and one of plain "R <name>" and "D <name>" lines
// (no header, no digests).
bool parseJournal(const QByteArray& text, Journal& journal)
{
    QList<QByteArray> lines = text.split('\n');
    const bool withGeneration = lines.front().startsWith(journalHeader);
    const bool digests = withGeneration || lines.front() == journalHeaderWithoutGeneration;
    if (withGeneration) {
        bool number = false;
        journal.generation = lines.front().mid(journalHeader.size()).toLongLong(&number);
        if (!number || journal.generation < 0)
            return false;
    }
    if (digests) {
        if (lines.size() < 3 || lines[lines.size() - 2] != journalEnd || !lines.back().isEmpty())
            return false;
        lines = lines.mid(1, lines.size() - 3);
    }
    for (const QByteArray& line : std::as_const(lines)) {
        if (line.isEmpty() && !digests)
            continue;
        JournalEntry entry;
        entry.replaced = line.startsWith("R ");
        if (!entry.replaced && !line.startsWith("D "))
            return false;
        QByteArray rest = line.mid(2);
        if (entry.replaced && digests) {
            const qsizetype length = withGeneration ? rest.indexOf(' ') : 32;
            entry.digest = rest.left(length);
            rest = rest.mid(length + 1);
        }
        entry.name = QString::fromUtf8(rest);
        if (!isPlainName(entry.name))
            return false;
        journal.entries.push_back(entry);
    }
    return true;
}

// Reads the journal `name` of the folder when there is one; `found` tells, `whole` whether it parsed
// (one that did not is empty, of generation -1).
Status readJournal(FileSystem& fs, const QDir& dir, const QString& name, bool& found, bool& whole, Journal& journal)
{
    found = fs.exists(dir.filePath(name));
    whole = false;
    if (!found)
        return {};
    QByteArray text;
    if (Status s = fs.readFile(dir.filePath(name), text); !s.ok())
        return s;
    whole = parseJournal(text, journal);
    if (!whole)
        journal = Journal{-1, {}};
    return {};
}

bool hasDigest(FileSystem& fs, const QString& path, const QByteArray& expected)
{
    QByteArray bytes;
    return fs.exists(path) && fs.readFile(path, bytes).ok() && hasDigestOf(bytes, expected);
}

// A temporary file that is the one its journal entry wrote (always so for a journal without digests).
bool isWaiting(FileSystem& fs, const QDir& dir, const Journal& journal, const JournalEntry& entry)
{
    const QString temporary = dir.filePath(journal.temporaryName(entry.name));
    return entry.digest.isEmpty() ? fs.exists(temporary) : hasDigest(fs, temporary, entry.digest);
}

// True when the journal describes a change that was made: each of its new files waits under its
// temporary name or is in place already. After a power cut the journal can be on the medium without
// all of its temporary files; the change was not made then, and no target has been touched yet.
bool isMade(FileSystem& fs, const QDir& dir, const Journal& journal)
{
    return std::all_of(journal.entries.begin(), journal.entries.end(), [&](const JournalEntry& entry) {
        return !entry.replaced || entry.digest.isEmpty() || isWaiting(fs, dir, journal, entry)
            || hasDigest(fs, dir.filePath(entry.name), entry.digest);
    });
}

// Applies a made change: renames what still waits under its temporary name, deletes what still exists.
// Running it twice does no harm, so a crash during recovery is recovered by the next open. Right after
// the change was made (`justMade`) every temporary file waits, as it was written, so none is read back.
// `actions` counts what was renamed or deleted.
Status
applyJournal(FileSystem& fs, const QDir& dir, const Journal& journal, bool justMade = false, int* actions = nullptr)
{
    for (const JournalEntry& entry : journal.entries) {
        const QString target = dir.filePath(entry.name);
        if (entry.replaced && (justMade || isWaiting(fs, dir, journal, entry))) {
            if (Status s = fs.rename(dir.filePath(journal.temporaryName(entry.name)), target); !s.ok())
                return s;
        } else if (!entry.replaced && fs.exists(target)) {
            if (Status s = fs.remove(target); !s.ok())
                return s;
        } else {
            continue;
        }
        if (actions)
            ++*actions;
    }
    return {};
}

bool isTemporaryName(const QString& name)
{
    return std::any_of(std::begin(temporarySuffixes), std::end(temporarySuffixes), [&](const QLatin1String& suffix) {
        return name.endsWith(suffix, Qt::CaseInsensitive);
    });
}

} // namespace

QStringList journalFileNames()
{
    return {journalNames[0], journalNames[1]};
}

QString appliedJournalFileName()
{
    return appliedJournalName;
}

bool isTransactionFile(const QString& name)
{
    return std::any_of(std::begin(journalNames),
                       std::end(journalNames),
                       [&](const QLatin1String& journal) { return name.compare(journal, Qt::CaseInsensitive) == 0; })
        || name.compare(appliedJournalName, Qt::CaseInsensitive) == 0 || isTemporaryName(name);
}

Transaction::Transaction(FileSystem& fs, const QString& folder)
    : m_fs(fs)
    , m_folder(folder)
{}

void Transaction::replace(const QString& name, const QByteArray& bytes)
{
    for (Replacement& replacement : m_replacements) {
        if (replacement.name == name) {
            replacement.bytes = bytes;
            return;
        }
    }
    m_replacements.push_back({name, bytes});
}

void Transaction::remove(const QString& name)
{
    m_removals.push_back(name);
}

QString Transaction::path(const QString& name) const
{
    return QDir(m_folder).filePath(name);
}

Status Transaction::commit(bool& committed)
{
    committed = false;
    if (isEmpty())
        return {};
    // The change before this one, applied, its renames perhaps not on the medium yet.
    Journal previous;
    bool unsettled = false;
    bool whole = false;
    if (Status s = readJournal(m_fs, QDir(m_folder), appliedJournalName, unsettled, whole, previous); !s.ok())
        return s;
    Journal journal;
    journal.generation = unsettled ? previous.generation + 1 : 0;

    QStringList written; // files to delete again if we stop before the change is made
    auto undo = [&](Status failure) {
        for (const QString& file : written)
            (void)m_fs.remove(file);
        return failure;
    };
    for (const Replacement& replacement : m_replacements) {
        written << path(journal.temporaryName(replacement.name));
        if (Status s = m_fs.writeFile(written.back(), replacement.bytes); !s.ok())
            return undo(s);
        journal.entries.push_back({true, replacement.name, digest(replacement.bytes)});
    }
    for (const QString& name : m_removals)
        journal.entries.push_back({false, name, {}});

    // One file replaced needs no journal: the rename itself is the change. Unless the change before
    // is not settled: the rename could then reach the medium before that change's renames.
    const bool journaled = journal.entries.size() > 1 || !journal.entries.front().replaced || unsettled;
    if (journaled) {
        written << path(journal.name());
        if (Status s = m_fs.writeFile(written.back(), journalText(journal)); !s.ok())
            return undo(s);
    }
    if (!journaled) {
        if (Status s = m_fs.syncFiles(written); !s.ok())
            return undo(s);
        if (Status s = m_fs.rename(written.front(), path(journal.entries.front().name)); !s.ok())
            return undo(s);
        committed = true;
        return m_fs.syncFolder(m_folder);
    }

    // The moment of the change: the journal and the files it names are on the medium together, and
    // so are the renames of the change before, whose journal can go now. The journal of this one
    // stays, under its second name, until the next flush of the folder (see the class comment). The
    // files and the folder are flushed at once: until both are done nothing has been renamed, and a
    // journal on the medium whose files are not (their digests tell) describes a change not made.
    if (Status s = m_fs.syncFilesAndFolder(written, m_folder); !s.ok())
        return undo(s);
    committed = true;
    Status s = unsettled ? m_fs.remove(path(appliedJournalName)) : Status();
    if (s.ok())
        s = applyJournal(m_fs, QDir(m_folder), journal, true);
    if (s.ok())
        s = m_fs.rename(path(journal.name()), path(appliedJournalName));
    // Refused half way (a file held open by another program, say): one more try from what the folder
    // holds, as the next open would make it.
    return s.ok() ? s : recoverFolder(m_fs, m_folder);
}

Status settleFolder(FileSystem& fs, const QString& folder)
{
    const QString applied = QDir(folder).filePath(appliedJournalName);
    if (!fs.exists(applied))
        return {};
    if (Status s = fs.syncFolder(folder); !s.ok())
        return s;
    return fs.remove(applied);
}

Status recoverFolder(FileSystem& fs, const QString& folder, QStringList* done)
{
    const QDir dir(folder);
    // The applied journal, when there is one, is older than the others: a journal is written under its
    // first name and renamed to the applied journal's only after the applied journal before it went.
    // Of two journals under the first names the later one is the higher generation.
    std::vector<std::pair<QString, Journal>> journals;
    for (const QString& name : {QString(appliedJournalName), QString(journalNames[0]), QString(journalNames[1])}) {
        Journal journal;
        bool found = false;
        bool whole = false;
        if (Status s = readJournal(fs, dir, name, found, whole, journal); !s.ok())
            return s;
        if (found)
            journals.emplace_back(name, journal);
    }
    // One cut short (never flushed, so never made) goes last.
    auto order = [](const Journal& journal) {
        return journal.generation < 0 ? std::numeric_limits<qint64>::max() : journal.generation;
    };
    std::stable_sort(journals.begin() + (journals.empty() || journals.front().first != appliedJournalName ? 0 : 1),
                     journals.end(),
                     [&](const auto& a, const auto& b) { return order(a.second) < order(b.second); });
    // Each change is finished in turn. A journal was written only after the change before it was made,
    // so all but the last describe changes that were made (whose files a later change may have
    // replaced since); the last one, when it is not the applied journal, only if its new files are all
    // there.
    size_t made = journals.size();
    if (made > 0 && journals.back().first != appliedJournalName
        && (journals.back().second.generation < 0 || !isMade(fs, dir, journals.back().second)))
        --made;
    for (size_t i = 0; i < made; ++i) {
        Journal& journal = journals[i].second;
        // A file that a later change writes anew stays, though this one deleted it.
        std::erase_if(journal.entries, [&](const JournalEntry& entry) {
            return !entry.replaced
                && std::any_of(journals.begin() + i + 1, journals.begin() + made, [&](const auto& later) {
                       return std::any_of(later.second.entries.begin(),
                                          later.second.entries.end(),
                                          [&](const JournalEntry& e) { return e.replaced && e.name == entry.name; });
                   });
        });
        int actions = 0;
        if (Status s = applyJournal(fs, dir, journal, false, &actions); !s.ok())
            return s;
        // A later change's renames must not reach the medium before this one's: an earlier temporary
        // file still waiting would then be renamed over the later change's file by the next recovery.
        if (i + 1 < made) {
            if (Status s = fs.syncFolder(folder); !s.ok())
                return s;
        }
        if (done && journals[i].first != appliedJournalName)
            *done << QStringLiteral("finished an interrupted change of %1 files").arg(journal.entries.size());
        else if (done && actions > 0)
            *done << QStringLiteral("finished the renames of the last change");
    }
    if (done && made < journals.size())
        *done << QStringLiteral("undid an interrupted change that had not been made");
    // The renames and removals must be on the medium before the journals go. The last journal's
    // removal is not flushed: the next change flushes the folder before it counts, and a journal that
    // comes back after a power cut before that describes a change that is in place, which applying
    // again leaves as it is (the digests tell its files from the temporary files of a later change).
    // An earlier journal must not come back without the later one, though: alone, it would delete
    // again a file that the later change wrote anew. So each removal but the last is flushed.
    if (made > 0) {
        if (Status s = fs.syncFolder(folder); !s.ok())
            return s;
    }
    for (size_t i = 0; i < journals.size(); ++i) {
        if (Status s = fs.remove(dir.filePath(journals[i].first)); !s.ok())
            return s;
        if (i + 1 < made) {
            if (Status s = fs.syncFolder(folder); !s.ok())
                return s;
        }
    }
    // Whatever temporary files remain belong to a change that was not made. Their removal needs no
    // flush: a file that comes back after a power cut is removed the next time.
    for (const QString& name : fs.fileNames(folder)) {
        if (isTemporaryName(name)) {
            if (Status s = fs.remove(dir.filePath(name)); !s.ok())
                return s;
            if (done)
                *done << QStringLiteral("removed the temporary file %1").arg(name);
        }
    }
    return {};
}

} // namespace store

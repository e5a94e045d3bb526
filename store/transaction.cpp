#include "transaction.h"

#include <QCryptographicHash>
#include <QDir>

#include <algorithm>

namespace store {

namespace {

const QLatin1String journalName("TICKSMITH.JNL");
const QLatin1String temporarySuffix(".TSTMP");
const QByteArray journalHeader("TICKSMITH JOURNAL 2");
const QByteArray journalEnd("END");

QString temporaryName(const QString& name)
{
    return name + temporarySuffix;
}

QByteArray digest(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex();
}

bool isPlainName(const QString& name)
{
    return !name.isEmpty() && !name.contains(u'/') && !name.contains(u'\\') && name != u"." && name != u"..";
}

// One line of a journal: a file replaced by its temporary file, whose bytes have the digest `digest`
// ("R <digest> <name>"), or a file deleted ("D <name>").
struct JournalEntry
{
    bool replaced = false;
    QString name;
    QByteArray digest;
};

// Journal text: a header, the entries, and an end line that tells a whole journal from one cut short.
QByteArray journalText(const std::vector<JournalEntry>& entries)
{
    QByteArray text = journalHeader + '\n';
    for (const JournalEntry& entry : entries)
        text += (entry.replaced ? "R " + entry.digest + ' ' : QByteArray("D ")) + entry.name.toUtf8() + '\n';
    return text + journalEnd + '\n';
}

// False for a journal that is not whole. A journal of the earlier form (plain "R <name>" and "D <name>"
// lines, no header) is read without digests.
bool parseJournal(const QByteArray& text, std::vector<JournalEntry>& entries)
{
    QList<QByteArray> lines = text.split('\n');
    const bool digests = lines.front() == journalHeader;
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
            entry.digest = rest.left(32);
            rest = rest.mid(33);
        }
        entry.name = QString::fromUtf8(rest);
        if (!isPlainName(entry.name))
            return false;
        entries.push_back(entry);
    }
    return true;
}

bool hasDigest(FileSystem& fs, const QString& path, const QByteArray& expected)
{
    QByteArray bytes;
    return fs.exists(path) && fs.readFile(path, bytes).ok() && digest(bytes) == expected;
}

// A temporary file that is the one its journal entry wrote (always so for a journal without digests).
bool isWaiting(FileSystem& fs, const QDir& dir, const JournalEntry& entry)
{
    const QString temporary = dir.filePath(temporaryName(entry.name));
    return entry.digest.isEmpty() ? fs.exists(temporary) : hasDigest(fs, temporary, entry.digest);
}

// True when the journal describes a change that was made: each of its new files waits under its
// temporary name or is in place already. After a power cut the journal can be on the medium without
// all of its temporary files; the change was not made then, and no target has been touched yet.
bool isMade(FileSystem& fs, const QDir& dir, const std::vector<JournalEntry>& entries)
{
    return std::all_of(entries.begin(), entries.end(), [&](const JournalEntry& entry) {
        return !entry.replaced || entry.digest.isEmpty() || isWaiting(fs, dir, entry)
            || hasDigest(fs, dir.filePath(entry.name), entry.digest);
    });
}

// Applies a made change: renames what still waits under its temporary name, deletes what still exists.
// Running it twice does no harm, so a crash during recovery is recovered by the next open. Right after
// the change was made (`justMade`) every temporary file waits, as it was written, so none is read back.
Status applyJournal(FileSystem& fs, const QDir& dir, const std::vector<JournalEntry>& entries, bool justMade = false)
{
    for (const JournalEntry& entry : entries) {
        const QString target = dir.filePath(entry.name);
        if (entry.replaced && (justMade || isWaiting(fs, dir, entry))) {
            if (Status s = fs.rename(dir.filePath(temporaryName(entry.name)), target); !s.ok())
                return s;
        } else if (!entry.replaced && fs.exists(target)) {
            if (Status s = fs.remove(target); !s.ok())
                return s;
        }
    }
    return {};
}

// The renames and removals must be on the medium before the journal goes. The journal's own removal
// is not flushed here: the next change flushes the folder before it counts, and a journal that comes
// back after a power cut before that describes a change that is in place, which applying again
// leaves as it is (the digests tell its files from the temporary files of a later change).
Status closeJournal(FileSystem& fs, const QDir& dir)
{
    if (Status s = fs.syncFolder(dir.path()); !s.ok())
        return s;
    return fs.remove(dir.filePath(journalName));
}

} // namespace

QString journalFileName()
{
    return journalName;
}

bool isTransactionFile(const QString& name)
{
    return name.compare(journalName, Qt::CaseInsensitive) == 0 || name.endsWith(temporarySuffix, Qt::CaseInsensitive);
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
    QStringList written; // files to delete again if we stop before the change is made
    auto undo = [&](Status failure) {
        for (const QString& file : written)
            (void)m_fs.remove(file);
        return failure;
    };

    std::vector<JournalEntry> entries;
    for (const Replacement& replacement : m_replacements) {
        written << path(temporaryName(replacement.name));
        if (Status s = m_fs.writeFile(written.back(), replacement.bytes); !s.ok())
            return undo(s);
        entries.push_back({true, replacement.name, digest(replacement.bytes)});
    }
    for (const QString& name : m_removals)
        entries.push_back({false, name, {}});

    // One file replaced needs no journal: the rename itself is the change.
    const bool journaled = entries.size() > 1 || !entries.front().replaced;
    if (journaled) {
        written << path(journalName);
        if (Status s = m_fs.writeFile(written.back(), journalText(entries)); !s.ok())
            return undo(s);
    }
    if (Status s = m_fs.syncFiles(written); !s.ok())
        return undo(s);
    if (!journaled) {
        if (Status s = m_fs.rename(written.front(), path(entries.front().name)); !s.ok())
            return undo(s);
        committed = true;
        return m_fs.syncFolder(m_folder);
    }

    // The moment of the change: the journal and the files it names are on the medium together.
    if (Status s = m_fs.syncFolder(m_folder); !s.ok())
        return undo(s);
    committed = true;
    if (Status s = applyJournal(m_fs, QDir(m_folder), entries, true); !s.ok()) {
        // Refused half way (a file held open by another program, say): one more try from what the
        // folder holds, as the next open would make it.
        return recoverFolder(m_fs, m_folder);
    }
    return closeJournal(m_fs, QDir(m_folder));
}

Status recoverFolder(FileSystem& fs, const QString& folder, QStringList* done)
{
    const QDir dir(folder);
    if (fs.exists(dir.filePath(journalName))) {
        QByteArray journal;
        if (Status s = fs.readFile(dir.filePath(journalName), journal); !s.ok())
            return s;
        std::vector<JournalEntry> entries;
        if (parseJournal(journal, entries) && isMade(fs, dir, entries)) {
            if (Status s = applyJournal(fs, dir, entries); !s.ok())
                return s;
            if (Status s = closeJournal(fs, dir); !s.ok())
                return s;
            if (done)
                *done << QStringLiteral("finished an interrupted change of %1 files").arg(entries.size());
        } else {
            if (Status s = fs.remove(dir.filePath(journalName)); !s.ok())
                return s;
            if (done)
                *done << QStringLiteral("undid an interrupted change that had not been made");
        }
    }
    // Whatever temporary files remain belong to a change that was not made. Their removal needs no
    // flush: a file that comes back after a power cut is removed the next time.
    for (const QString& name : fs.fileNames(folder)) {
        if (name.endsWith(temporarySuffix)) {
            if (Status s = fs.remove(dir.filePath(name)); !s.ok())
                return s;
            if (done)
                *done << QStringLiteral("removed the temporary file %1").arg(name);
        }
    }
    return {};
}

} // namespace store

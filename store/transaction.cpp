#include "transaction.h"

#include <QDir>

namespace store {

namespace {

const QLatin1String journalName("TICKSMITH.JNL");
const QLatin1String temporarySuffix(".TSTMP");

QString temporaryName(const QString& name)
{
    return name + temporarySuffix;
}

// Journal lines: "R <name>" for a file replaced by its temporary file, "D <name>" for a file deleted.
QByteArray journalText(const QStringList& replaced, const QStringList& removed)
{
    QByteArray text;
    for (const QString& name : replaced)
        text += "R " + name.toUtf8() + '\n';
    for (const QString& name : removed)
        text += "D " + name.toUtf8() + '\n';
    return text;
}

bool isPlainName(const QString& name)
{
    return !name.isEmpty() && !name.contains(u'/') && !name.contains(u'\\') && name != u"." && name != u"..";
}

// Applies a journal: renames what is still waiting under its temporary name, deletes what still exists.
// Running it twice does no harm, so a crash during recovery is recovered by the next open.
Status applyJournal(FileSystem& fs, const QDir& dir, const QByteArray& journal)
{
    const QList<QByteArray> lines = journal.split('\n');
    for (const QByteArray& line : lines) {
        if (line.size() < 3 || line[1] != ' ')
            continue;
        const QString name = QString::fromUtf8(line.mid(2));
        if (!isPlainName(name))
            continue;
        const QString target = dir.filePath(name);
        if (line[0] == 'R') {
            const QString temporary = dir.filePath(temporaryName(name));
            if (fs.exists(temporary)) {
                if (Status s = fs.rename(temporary, target); !s.ok())
                    return s;
            }
        } else if (line[0] == 'D' && fs.exists(target)) {
            if (Status s = fs.remove(target); !s.ok())
                return s;
        }
    }
    // The renames must be on the medium before the journal goes. Its own removal needs no flush: a
    // journal that comes back after a crash is applied again, which changes nothing any more, and
    // the next change's flush of the folder makes the removal durable anyway.
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
    QStringList written; // temporary files to delete again if we stop before the change is made
    auto undo = [&](Status failure) {
        for (const QString& name : written)
            (void)m_fs.remove(path(name));
        return failure;
    };

    QStringList replaced;
    QStringList temporaries;
    for (const Replacement& replacement : m_replacements) {
        written << temporaryName(replacement.name);
        temporaries << path(temporaryName(replacement.name));
        if (Status s = m_fs.writeFile(temporaries.back(), replacement.bytes); !s.ok())
            return undo(s);
        replaced << replacement.name;
    }
    if (!temporaries.isEmpty()) {
        if (Status s = m_fs.syncFiles(temporaries); !s.ok())
            return undo(s);
    }

    // One file replaced needs no journal: the rename itself is the change.
    if (replaced.size() == 1 && m_removals.isEmpty()) {
        if (Status s = m_fs.rename(temporaries.front(), path(replaced.front())); !s.ok())
            return undo(s);
        committed = true;
        return m_fs.syncFolder(m_folder);
    }

    const QByteArray journal = journalText(replaced, m_removals);
    const QString journalTemporary = temporaryName(journalName);
    written << journalTemporary;
    if (Status s = m_fs.writeFile(path(journalTemporary), journal); !s.ok())
        return undo(s);
    if (Status s = m_fs.syncFiles({path(journalTemporary)}); !s.ok())
        return undo(s);
    if (Status s = m_fs.rename(path(journalTemporary), path(journalName)); !s.ok())
        return undo(s);

    committed = true;
    return applyJournal(m_fs, QDir(m_folder), journal);
}

Status recoverFolder(FileSystem& fs, const QString& folder)
{
    const QDir dir(folder);
    const QStringList names = fs.fileNames(folder);
    for (const QString& name : names) {
        if (name == journalName) {
            QByteArray journal;
            if (Status s = fs.readFile(dir.filePath(name), journal); !s.ok())
                return s;
            if (Status s = applyJournal(fs, dir, journal); !s.ok())
                return s;
        }
    }
    // Whatever temporary files remain belong to a change that never reached its journal.
    bool removed = false;
    for (const QString& name : fs.fileNames(folder)) {
        if (name.endsWith(temporarySuffix)) {
            if (Status s = fs.remove(dir.filePath(name)); !s.ok())
                return s;
            removed = true;
        }
    }
    return removed ? fs.syncFolder(folder) : Status();
}

} // namespace store

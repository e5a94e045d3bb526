#pragma once

#include "filesystem.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace store {

// Replaces and deletes several files of one folder as one step: after a crash or a power cut at any
// point the folder holds either all old files or all new ones.
//
// Each new file is first written beside its target under a temporary name. Then a journal listing the
// replacements (with a digest of each new file) and deletions is written; the new files and the
// journal are flushed, and then the folder: that folder flush is the moment the change happens.
// Afterwards the temporary files are renamed over their targets, the deleted files removed, and the
// journal renamed to the applied journal. Those renames reach the medium with the next change's folder
// flush, which then deletes the applied journal, or with settleFolder when the writer closes the
// folder: one folder flush per change instead of two. Until then the applied journal lets a recovery
// redo them; meanwhile the next change writes its journal and temporary files under the other of two
// names and suffixes, so that no name a pending rename comes from is taken again (a generation number
// in each journal orders two of them). A change of one file needs no journal when
// no applied journal is waiting: its temporary file is flushed and renamed into place, and the folder
// flushed.
// Opening the folder again (recoverFolder) redoes the applied journal's renames, finishes a change
// whose journal exists and whose new files are all there (waiting, or in place already), and otherwise
// throws the journal and the temporary files away. Flushes cost: the new files and the journal at once,
// and one of the folder.
// No file is ever written in place, so a reader never sees a data file whose header disagrees with its
// size, and a reader that finds no journal (an applied one aside) before and after its reads has seen
// one whole state of the folder.
class Transaction
{
public:
    Transaction(FileSystem& fs, const QString& folder);

    // `name` is the file's name inside the folder, with the case it has (or will have) there.
    void replace(const QString& name, const QByteArray& bytes);
    void remove(const QString& name);

    bool isEmpty() const { return m_replacements.empty() && m_removals.empty(); }

    // On an error before the journal is in place nothing has changed and the temporary files are gone
    // (as far as the file system lets us delete them). An error after it means the change is made but
    // not yet tidied up; `committed` tells the two apart, and the next recoverFolder finishes the work.
    Status commit(bool& committed);

private:
    struct Replacement
    {
        QString name;
        QByteArray bytes;
    };

    QString path(const QString& name) const;

    FileSystem& m_fs;
    QString m_folder;
    std::vector<Replacement> m_replacements;
    QStringList m_removals;
};

// Puts the renames of the last Transaction of `folder` on the medium and deletes its applied journal.
// A writer calls it before it lets the folder go.
Status settleFolder(FileSystem& fs, const QString& folder);

// Finishes or undoes an interrupted Transaction in `folder` (see there) and removes leftover temporary
// files; adds a line to `done` for each thing it did. Needs the folder lock.
Status recoverFolder(FileSystem& fs, const QString& folder, QStringList* done = nullptr);

// True for the names of the journal and temporary files a Transaction leaves while it runs.
bool isTransactionFile(const QString& name);

// The names of the journal while a change is being applied.
QStringList journalFileNames();

// The name of the journal of the last change applied, until its renames are on the medium.
QString appliedJournalFileName();

} // namespace store

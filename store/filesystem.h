#pragma once

#include "status.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

namespace store {

// Every file-system operation of the data component goes through this class, so that a port to another
// system changes one file and tests can make any single operation fail (a derived class overrides the
// operation and returns an error, or simulates a crash by failing everything from some point on).
// Paths are absolute or relative to the process; names inside a folder are joined by the caller.
class FileSystem
{
public:
    virtual ~FileSystem();

    // The points at which a write sequence can be interrupted.
    virtual Status writeFile(const QString& path, const QByteArray& bytes); // creates or truncates
    // Puts the contents of the files on the medium. Many files at once are flushed with one call for
    // the whole file system, which costs about as much as flushing a few files one by one.
    virtual Status syncFiles(const QStringList& paths);
    virtual Status rename(const QString& from, const QString& to); // replaces `to` atomically
    virtual Status remove(const QString& path);
    virtual Status syncFolder(const QString& folder); // renames and removals on the medium
    // syncFiles and syncFolder at once, in no particular order: for a change whose moment needs both
    // and that tells by its own means a file whose contents did not reach the medium.
    virtual Status syncFilesAndFolder(const QStringList& paths, const QString& folder);

    virtual Status readFile(const QString& path, QByteArray& bytes);
    virtual Status makeFolder(const QString& path); // with missing parents
    virtual bool isFolder(const QString& path);
    // A folder whose names this process may list (and whose files it may open).
    virtual bool isReadableFolder(const QString& path);
    virtual bool exists(const QString& path);
    // Names of the plain files (or of the subfolders) of a folder, sorted.
    virtual QStringList fileNames(const QString& folder);
    virtual QStringList folderNames(const QString& folder);
    // A text that changes whenever one of the named files of the folder is replaced, created or
    // removed. Readers compare it before and after reading to know that nothing changed meanwhile.
    virtual QString stamp(const QString& folder, const QStringList& names);

    // The folder lock (see FolderLock): takes the advisory lock of the file `path`, creating it, without
    // waiting. Busy when another holder has it. `handle` identifies the lock for unlock().
    virtual Status tryLock(const QString& path, int& handle);
    // Releases the lock and removes its file.
    virtual void unlock(const QString& path, int handle);

    // How long a writer waits for another writer of the same folder before it gives up with Busy.
    int lockTimeoutMs = 10000;
};

// Held by a writer from OpenFolder to CloseFolder, so that writers of one folder take turns, also
// across processes of this program and across computers where the file system carries locks;
// released on destruction. The lock is the operating system's advisory lock on TICKSMITH.LCK, not the
// file's existence or content, so a writer that dies (killed, power cut) never blocks the next one: the
// system drops its lock with the process. Readers take no lock (see MetaStockReader).
class FolderLock
{
public:
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    // Waits up to `timeoutMs` (the file system's lock timeout when negative); Busy when another
    // writer keeps the folder.
    [[nodiscard]] static Status
    acquire(FileSystem& fs, const QString& folder, std::unique_ptr<FolderLock>& lock, int timeoutMs = -1);

    // True for the name of the lock file, which lives in the folder while a writer has it open (and after
    // one that died, harmlessly).
    static bool isLockFile(const QString& name);

    enum class State
    {
        None, // no lock file
        Held, // a live writer holds the lock
        Stale, // a lock file nobody holds: left by a writer that died
    };
    // How the lock of `folder` stands, without taking it; `holder` tells who wrote the file (its
    // process number and computer), empty when unknown.
    static State inspect(const QString& folder, QString& holder);

private:
    FolderLock(FileSystem& fs, const QString& path, int handle);
    FileSystem& m_fs;
    QString m_path;
    int m_handle;
};

} // namespace store

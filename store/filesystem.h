#pragma once

#include "status.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

class QLockFile;

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
    virtual Status syncFile(const QString& path); // contents on the medium
    virtual Status rename(const QString& from, const QString& to); // replaces `to` atomically
    virtual Status remove(const QString& path);
    virtual Status syncFolder(const QString& folder); // renames and removals on the medium

    virtual Status readFile(const QString& path, QByteArray& bytes);
    virtual Status makeFolder(const QString& path); // with missing parents
    virtual bool isFolder(const QString& path);
    virtual bool exists(const QString& path);
    // Names of the plain files (or of the subfolders) of a folder, sorted.
    virtual QStringList fileNames(const QString& folder);
    virtual QStringList folderNames(const QString& folder);
    // Changes whenever an index file of the folder (MASTER, EMASTER, XMASTER) is replaced, added or
    // removed; readers use it to skip reading an unchanged index again.
    virtual QString stamp(const QString& folder);

    // How long a writer waits for another writer of the same folder before it gives up with Busy.
    int lockTimeoutMs = 10000;
};

// A lock on a folder, released on destruction; other processes of this program and other objects of
// this process wait for it. There are two: a writer holds the Session lock from OpenFolder to
// CloseFolder, so writers take turns; the Update lock is held only while files are replaced (and while
// a reader reads), so readers never wait for a writer that is merely open, and never see half an update.
class FolderLock
{
public:
    enum class Kind
    {
        Session,
        Update,
    };

    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    // Waits up to the file system's lock timeout. When the folder cannot hold a lock file at all
    // (read-only medium) and `mayProceedUnlocked` is set, the result is ok with `lock` left empty,
    // because then nobody can write the folder either.
    [[nodiscard]] static Status acquire(FileSystem& fs,
                                        const QString& folder,
                                        Kind kind,
                                        bool mayProceedUnlocked,
                                        std::unique_ptr<FolderLock>& lock);

    // True for the names of the lock files, which live in the locked folder while it is locked.
    static bool isLockFile(const QString& name);

private:
    explicit FolderLock(std::unique_ptr<QLockFile> file);
    std::unique_ptr<QLockFile> m_file;
};

} // namespace store

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

    // How long a writer waits for another writer of the same folder before it gives up with Busy.
    int lockTimeoutMs = 10000;
};

// Held while a folder is being written (or while a reader takes its snapshot); released on destruction.
// Other processes of this program and other objects of this process see the folder as busy meanwhile.
class FolderLock
{
public:
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    // Waits up to the file system's lock timeout. When the folder cannot hold a lock file at all
    // (read-only medium) and `mayProceedUnlocked` is set, the result is ok with `lock` left empty,
    // because then nobody can write the folder either.
    [[nodiscard]] static Status
    acquire(FileSystem& fs, const QString& folder, bool mayProceedUnlocked, std::unique_ptr<FolderLock>& lock);

    // The name of the lock file in a locked folder; folder scans ignore it.
    static const char* const fileName;

private:
    explicit FolderLock(std::unique_ptr<QLockFile> file);
    std::unique_ptr<QLockFile> m_file;
};

} // namespace store

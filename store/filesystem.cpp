#include "filesystem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace store {

namespace {

Status ioError(const QString& what, const QString& path, const QString& reason)
{
    return Status::error(ErrorCode::Io, QStringLiteral("%1 %2: %3").arg(what, QDir::toNativeSeparators(path), reason));
}

// fsync through a fresh descriptor: POSIX flushes a file's data whichever descriptor asks, and the same
// call on a folder makes its renames and removals durable.
Status syncPath(const QString& path, bool folder)
{
    const int fd = ::open(QFile::encodeName(path).constData(), folder ? (O_RDONLY | O_DIRECTORY) : O_RDONLY);
    if (fd < 0)
        return ioError(QStringLiteral("Cannot open"), path, QString::fromLocal8Bit(strerror(errno)));
    const int result = ::fsync(fd);
    const int error = errno;
    ::close(fd);
    if (result != 0)
        return ioError(QStringLiteral("Cannot flush"), path, QString::fromLocal8Bit(strerror(error)));
    return {};
}

} // namespace

FileSystem::~FileSystem() = default;

Status FileSystem::writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return ioError(QStringLiteral("Cannot create"), path, file.errorString());
    if (file.write(bytes) != bytes.size() || !file.flush())
        return ioError(QStringLiteral("Cannot write"), path, file.errorString());
    return {};
}

Status FileSystem::syncFiles(const QStringList& paths)
{
#ifdef __linux__
    // One flush of the whole file system also flushes what other programs wrote, so it pays only for
    // many files at once (a batch of new securities).
    if (paths.size() > 16) {
        const int fd = ::open(QFile::encodeName(paths.front()).constData(), O_RDONLY);
        if (fd < 0)
            return ioError(QStringLiteral("Cannot open"), paths.front(), QString::fromLocal8Bit(strerror(errno)));
        const int result = ::syncfs(fd);
        const int error = errno;
        ::close(fd);
        if (result != 0)
            return ioError(QStringLiteral("Cannot flush"), paths.front(), QString::fromLocal8Bit(strerror(error)));
        return {};
    }
#endif
    for (const QString& path : paths) {
        if (Status s = syncPath(path, false); !s.ok())
            return s;
    }
    return {};
}

Status FileSystem::rename(const QString& from, const QString& to)
{
    if (::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0)
        return ioError(QStringLiteral("Cannot rename"), from, QString::fromLocal8Bit(strerror(errno)));
    return {};
}

Status FileSystem::remove(const QString& path)
{
    QFile file(path);
    if (!file.remove())
        return ioError(QStringLiteral("Cannot delete"), path, file.errorString());
    return {};
}

Status FileSystem::syncFolder(const QString& folder)
{
    return syncPath(folder, true);
}

Status FileSystem::readFile(const QString& path, QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return ioError(QStringLiteral("Cannot read"), path, file.errorString());
    bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return ioError(QStringLiteral("Cannot read"), path, file.errorString());
    return {};
}

Status FileSystem::makeFolder(const QString& path)
{
    if (!QDir().mkpath(path))
        return ioError(QStringLiteral("Cannot create the folder"), path, QStringLiteral("refused"));
    return {};
}

bool FileSystem::isFolder(const QString& path)
{
    return QFileInfo(path).isDir();
}

bool FileSystem::isReadableFolder(const QString& path)
{
    const QFileInfo info(path);
    return info.isDir() && info.isReadable() && info.isExecutable();
}

bool FileSystem::exists(const QString& path)
{
    return QFileInfo::exists(path);
}

QStringList FileSystem::fileNames(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
}

QStringList FileSystem::folderNames(const QString& folder)
{
    return QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
}

QString FileSystem::stamp(const QString& folder, const QStringList& names)
{
    // Every replacement renames a new file into place, so the inode number alone tells most changes;
    // the times catch an inode that was freed and given out again.
    QString text;
    for (const QString& name : names) {
        struct stat info;
        if (::stat(QFile::encodeName(QDir(folder).filePath(name)).constData(), &info) != 0) {
            text += QStringLiteral("-;");
            continue;
        }
        text += QStringLiteral("%1/%2/%3.%4/%5.%6;")
                    .arg(quint64(info.st_ino))
                    .arg(qint64(info.st_size))
                    .arg(qint64(info.st_mtim.tv_sec))
                    .arg(qint64(info.st_mtim.tv_nsec))
                    .arg(qint64(info.st_ctim.tv_sec))
                    .arg(qint64(info.st_ctim.tv_nsec));
    }
    return text;
}

namespace {

const QLatin1String lockName("TICKSMITH.LCK");

} // namespace

bool FolderLock::isLockFile(const QString& name)
{
    return name == lockName;
}

FolderLock::FolderLock(std::unique_ptr<QLockFile> file)
    : m_file(std::move(file))
{}

FolderLock::~FolderLock() = default;

Status FolderLock::acquire(FileSystem& fs, const QString& folder, std::unique_ptr<FolderLock>& lock, int timeoutMs)
{
    lock.reset();
    auto file = std::make_unique<QLockFile>(QDir(folder).filePath(lockName));
    // A lock older than this belongs to a program that hung; a crashed one is detected by its process id.
    file->setStaleLockTime(10 * 60 * 1000);
    if (file->tryLock(timeoutMs < 0 ? fs.lockTimeoutMs : timeoutMs)) {
        lock.reset(new FolderLock(std::move(file)));
        return {};
    }
    if (file->error() == QLockFile::LockFailedError)
        return Status::error(ErrorCode::Busy,
                             QStringLiteral("The folder %1 is being written by another program or window")
                                 .arg(QDir::toNativeSeparators(folder)));
    return ioError(QStringLiteral("Cannot lock the folder"), folder, QStringLiteral("the lock file cannot be created"));
}

} // namespace store

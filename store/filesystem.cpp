#include "filesystem.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>
#include <QThread>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

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

// A few threads for the waits of the file system, so that the writer's thread need not wait for each
// in turn.
// - Flushes: fdatasync waits for a file's data and then for a flush of the device's cache; one file
//   after another, each waits for a flush of its own, while waits that overlap share them (the block
//   layer merges flushes asked for together). On an idle machine each wait also pays for waking the
//   processor, once for all of them here.
// - Letting go of replaced files: the last close of a file that was renamed over or removed frees its
//   blocks (and, on a medium mounted with discard, waits for the device to hear of them). The writer
//   holds such a file open across the rename and the crew closes it.
class IoCrew
{
public:
    static IoCrew& instance()
    {
        static IoCrew crew;
        return crew;
    }

    ~IoCrew()
    {
        {
            std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_wake.notify_all();
        for (std::thread& thread : m_threads)
            thread.join();
    }

    // A descriptor to flush: a file's data (fdatasync), or a folder's names (fsync).
    struct Flush
    {
        int descriptor;
        bool folder;
    };

    // Each flush; the error number of each (0 when it succeeded), in the same order.
    std::vector<int> flush(const std::vector<Flush>& flushes)
    {
        std::vector<int> errors(flushes.size(), 0);
        if (flushes.empty())
            return errors;
        Batch batch{int(flushes.size()) - 1, {}};
        {
            std::lock_guard lock(m_mutex);
            for (size_t i = 1; i < flushes.size(); ++i)
                m_tasks.push_back({flushes[i], &errors[i], &batch});
        }
        m_wake.notify_all();
        errors[0] = flushOne(flushes[0]);
        std::unique_lock lock(m_mutex);
        batch.done.wait(lock, [&] { return batch.pending == 0; });
        return errors;
    }

    // Closes the descriptor soon, without waiting for it.
    void close(int descriptor)
    {
        {
            std::lock_guard lock(m_mutex);
            if (m_tasks.size() < 256) {
                m_tasks.push_back({{descriptor, false}, nullptr, nullptr});
                descriptor = -1;
            }
        }
        if (descriptor >= 0)
            ::close(descriptor);
        else
            m_wake.notify_one();
    }

private:
    struct Batch
    {
        int pending;
        std::condition_variable done;
    };

    // A flush when it belongs to a batch, otherwise the close of the descriptor.
    struct Task
    {
        Flush flush;
        int* error;
        Batch* batch;
    };

    IoCrew()
    {
        for (int i = 0; i < 3; ++i)
            m_threads.emplace_back([this] { work(); });
    }

    static int flushOne(Flush flush)
    {
        return (flush.folder ? ::fsync(flush.descriptor) : ::fdatasync(flush.descriptor)) == 0 ? 0 : errno;
    }

    void work()
    {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [&] { return m_stopping || !m_tasks.empty(); });
            if (m_tasks.empty())
                return;
            const Task task = m_tasks.front();
            m_tasks.pop_front();
            lock.unlock();
            const int error = task.batch ? flushOne(task.flush) : ::close(task.flush.descriptor);
            lock.lock();
            if (task.batch) {
                *task.error = error;
                if (--task.batch->pending == 0)
                    task.batch->done.notify_all();
            }
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Task> m_tasks;
    std::vector<std::thread> m_threads;
    bool m_stopping = false;
};

// Opens the file at `path` so that replacing or removing it does not free it yet; -1 when there is
// none (or it cannot be opened: it is then freed at once, as it would be anyway).
int holdReplaced(const QString& path)
{
    return ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

void letGo(int held)
{
    if (held >= 0)
        IoCrew::instance().close(held);
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

namespace {

// The files' data, and the names of `folder` unless it is empty, flushed together (see IoCrew).
Status flushTogether(const QStringList& paths, const QString& folder)
{
    // The writing of every file is started before the first wait, so that the device takes them
    // together. fdatasync is enough: a file's size and blocks are flushed with its data, and its name
    // is the folder's to flush.
    const QStringList flushed = folder.isEmpty() ? paths : paths + QStringList{folder};
    std::vector<IoCrew::Flush> flushes;
    Status result;
    for (const QString& path : flushed) {
        const bool isFolder = qsizetype(flushes.size()) == paths.size();
        const int fd = ::open(QFile::encodeName(path).constData(), isFolder ? (O_RDONLY | O_DIRECTORY) : O_RDONLY);
        if (fd < 0) {
            result = ioError(QStringLiteral("Cannot open"), path, QString::fromLocal8Bit(strerror(errno)));
            break;
        }
        flushes.push_back({fd, isFolder});
#ifdef __linux__
        if (!isFolder)
            (void)::sync_file_range(fd, 0, 0, SYNC_FILE_RANGE_WRITE);
#endif
    }
    const std::vector<int> errors = result.ok() ? IoCrew::instance().flush(flushes) : std::vector<int>();
    for (size_t i = 0; i < errors.size() && result.ok(); ++i) {
        if (errors[i] != 0)
            result = ioError(QStringLiteral("Cannot flush"),
                             flushed[qsizetype(i)],
                             QString::fromLocal8Bit(strerror(errors[i])));
    }
    for (const IoCrew::Flush& flush : flushes)
        ::close(flush.descriptor);
    return result;
}

} // namespace

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
    return flushTogether(paths, {});
}

Status FileSystem::syncFilesAndFolder(const QStringList& paths, const QString& folder)
{
    if (paths.size() > 16) {
        if (Status s = syncFiles(paths); !s.ok())
            return s;
        return syncFolder(folder);
    }
    return flushTogether(paths, folder);
}

Status FileSystem::rename(const QString& from, const QString& to)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    int replaced = holdReplaced(to);
    int result = ::rename(source.constData(), target.constData());
    if (result != 0 && replaced >= 0) {
        // Some network file systems refuse to replace a file that is open: try again without holding it.
        ::close(replaced);
        replaced = -1;
        result = ::rename(source.constData(), target.constData());
    }
    const int error = errno;
    letGo(replaced);
    if (result != 0)
        return ioError(QStringLiteral("Cannot rename"), from, QString::fromLocal8Bit(strerror(error)));
    return {};
}

Status FileSystem::remove(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    int removed = holdReplaced(path);
    int result = ::unlink(name.constData());
    if (result != 0 && removed >= 0) {
        ::close(removed); // as for rename
        removed = -1;
        result = ::unlink(name.constData());
    }
    const int error = errno;
    letGo(removed);
    if (result != 0)
        return ioError(QStringLiteral("Cannot delete"), path, QString::fromLocal8Bit(strerror(error)));
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
    // A folder made here must outlast a power cut together with the files then written into it, so
    // the name of each new folder is flushed in its parent.
    QStringList made;
    for (QString folder = QDir(path).absolutePath(); !QFileInfo::exists(folder); folder = QFileInfo(folder).path())
        made.prepend(folder);
    if (!QDir().mkpath(path))
        return ioError(QStringLiteral("Cannot create the folder"), path, QStringLiteral("refused"));
    for (const QString& folder : std::as_const(made)) {
        if (Status s = syncPath(QFileInfo(folder).path(), true); !s.ok())
            return s;
    }
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
    // Read straight from the directory: opening a folder lists it, and for a folder of a few thousand
    // securities QDir's file information per entry cost more than the rest of the open.
    QStringList names;
    DIR* dir = ::opendir(QFile::encodeName(folder).constData());
    if (!dir)
        return names;
    const int dirFd = ::dirfd(dir);
    while (const dirent* entry = ::readdir(dir)) {
        bool isFolder = entry->d_type == DT_DIR;
        if (entry->d_type == DT_UNKNOWN || entry->d_type == DT_LNK) {
            struct stat info;
            isFolder = ::fstatat(dirFd, entry->d_name, &info, 0) != 0 || S_ISDIR(info.st_mode);
        }
        if (!isFolder)
            names.append(QFile::decodeName(entry->d_name));
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end());
    return names;
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

// On Linux an open-file-description lock: it belongs to one open of the file, so two writers of one
// process exclude each other too. Elsewhere a record lock of the process. Both are dropped by the
// system when the process ends, and NFS carries both to the server.
#ifdef F_OFD_SETLK
constexpr int setLockCommand = F_OFD_SETLK;
constexpr int getLockCommand = F_OFD_GETLK;
#else
constexpr int setLockCommand = F_SETLK;
constexpr int getLockCommand = F_GETLK;
#endif

Status FileSystem::tryLock(const QString& path, int& handle)
{
    const QByteArray name = QFile::encodeName(path);
    for (;;) {
        const int fd = ::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (fd < 0)
            return ioError(QStringLiteral("Cannot lock"), path, QString::fromLocal8Bit(strerror(errno)));
        struct flock lock = {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        if (::fcntl(fd, setLockCommand, &lock) != 0) {
            const int error = errno;
            ::close(fd);
            if (error == EACCES || error == EAGAIN)
                return Status::error(ErrorCode::Busy, QStringLiteral("%1 is locked").arg(path));
            return ioError(QStringLiteral("Cannot lock"), path, QString::fromLocal8Bit(strerror(error)));
        }
        // The holder before us removes the file as it lets go: a lock taken on the removed file
        // protects nothing, so we try again on the file the name now gives.
        struct stat opened;
        struct stat named;
        if (::fstat(fd, &opened) == 0 && ::stat(name.constData(), &named) == 0 && opened.st_ino == named.st_ino
            && opened.st_dev == named.st_dev) {
            // Only for people and `check`: who holds the lock.
            const QByteArray holder =
                QByteArray::number(::getpid()) + ' ' + QSysInfo::machineHostName().toUtf8() + '\n';
            const bool noted =
                ::ftruncate(fd, 0) == 0 && ::pwrite(fd, holder.constData(), size_t(holder.size()), 0) > 0;
            Q_UNUSED(noted); // the lock holds without the text
            handle = fd;
            return {};
        }
        ::close(fd);
    }
}

void FileSystem::unlock(const QString& path, int handle)
{
    // Removed while still locked, so that nobody takes a lock on a file about to go.
    ::unlink(QFile::encodeName(path).constData());
    ::close(handle);
}

namespace {

const QLatin1String lockName("TICKSMITH.LCK");

} // namespace

bool FolderLock::isLockFile(const QString& name)
{
    return name == lockName;
}

FolderLock::FolderLock(FileSystem& fs, const QString& path, int handle)
    : m_fs(fs)
    , m_path(path)
    , m_handle(handle)
{}

FolderLock::~FolderLock()
{
    m_fs.unlock(m_path, m_handle);
}

Status FolderLock::acquire(FileSystem& fs, const QString& folder, std::unique_ptr<FolderLock>& lock, int timeoutMs)
{
    lock.reset();
    const QString path = QDir(folder).filePath(lockName);
    const int timeout = timeoutMs < 0 ? fs.lockTimeoutMs : timeoutMs;
    QElapsedTimer waited;
    waited.start();
    for (;;) {
        int handle = -1;
        const Status status = fs.tryLock(path, handle);
        if (status.ok()) {
            lock.reset(new FolderLock(fs, path, handle));
            return {};
        }
        if (status.code() != ErrorCode::Busy)
            return status;
        if (waited.elapsed() >= timeout)
            return Status::error(ErrorCode::Busy,
                                 QStringLiteral("The folder %1 is being written by another program or window")
                                     .arg(QDir::toNativeSeparators(folder)));
        QThread::msleep(10);
    }
}

FolderLock::State FolderLock::inspect(const QString& folder, QString& holder)
{
    holder.clear();
    QFile file(QDir(folder).filePath(lockName));
    if (!file.open(QIODevice::ReadOnly))
        return file.exists() ? State::Held : State::None;
    holder = QString::fromUtf8(file.read(256)).trimmed();
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (::fcntl(file.handle(), getLockCommand, &lock) != 0)
        return State::Held; // cannot tell: the safe answer
    return lock.l_type == F_UNLCK ? State::Stale : State::Held;
}

} // namespace store

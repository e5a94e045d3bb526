#pragma once

#include "store/filesystem.h"

#include <QMap>

#include <map>
#include <random>
#include <vector>

namespace store_test {

// The files of a folder by name, with their bytes.
using Files = QMap<QString, QByteArray>;

// What a power cut may leave of writes and folder changes that were not flushed.
enum class CrashModel
{
    // ext4 with data=ordered, our baseline: the folder changes since the folder's last flush reach
    // the medium in the order they were made, so some first part of them is there. A file's
    // unflushed bytes are lost or kept, whole or cut at a block boundary.
    Ext4Ordered,
    // What POSIX alone promises: any subset of the unflushed folder changes is there, and an unflushed
    // file may also have its new length with zeros in place of its bytes.
    Posix,
};

// A file system in memory holding one folder, for crash tests of the data component. It keeps what
// the program sees and what is durable: each file's bytes as of its last flush, and the folder's names
// as of its last flush, with the changes made since in order. Every write, flush, rename and removal is
// an operation with a number; the operation numbered `crashAt` and every later one fail, as if the
// power went at that moment, and the state of that moment is kept for durableStates().
class SimFileSystem : public store::FileSystem
{
public:
    explicit SimFileSystem(const QString& folder, const Files& files = {});

    int crashAt = -1;
    int failAt = -1; // this operation alone fails, the program goes on
    int operations = 0;

    Files visibleFiles() const { return filesOf(m_state.visible, false); }

    bool crashed() const { return m_crashed; }

    // The folders a power cut now (or at the crash) may leave, at most `limit` of them: beyond that a
    // sample drawn with `random`. `possible` counts them all.
    std::vector<Files> durableStates(CrashModel model, size_t limit, std::mt19937& random, size_t& possible) const;

    store::Status writeFile(const QString& path, const QByteArray& bytes) override;
    store::Status syncFiles(const QStringList& paths) override;
    store::Status rename(const QString& from, const QString& to) override;
    store::Status remove(const QString& path) override;
    store::Status syncFolder(const QString& folder) override;
    // The folder first: the order that leaves the journal's names on the medium before its contents.
    store::Status syncFilesAndFolder(const QStringList& paths, const QString& folder) override;
    store::Status readFile(const QString& path, QByteArray& bytes) override;
    store::Status makeFolder(const QString& path) override;
    bool isFolder(const QString& path) override;
    bool exists(const QString& path) override;
    QStringList fileNames(const QString& folder) override;
    QStringList folderNames(const QString& folder) override;
    QString stamp(const QString& folder, const QStringList& names) override;
    store::Status tryLock(const QString& path, int& handle) override;
    void unlock(const QString& path, int handle) override;

private:
    struct Inode
    {
        QByteArray visible;
        QByteArray durable; // as of the last flush
    };

    // A change of the folder's names not yet flushed: `name` now points to `inode` (a new file, or
    // the target of a rename), and `removed` (the source of a rename, or a removed file) is gone.
    struct FolderChange
    {
        QString name;
        int inode = -1;
        QString removed;
    };

    struct State
    {
        std::vector<Inode> inodes;
        std::map<QString, int> visible;
        std::map<QString, int> durable;
        std::vector<FolderChange> pending;
    };

    bool fails(); // counts the operation
    QString nameOf(const QString& path) const;
    Files filesOf(const std::map<QString, int>& names, bool durable) const;

    QString m_folder;
    State m_state;
    State m_atCrash;
    bool m_crashed = false;
};

} // namespace store_test

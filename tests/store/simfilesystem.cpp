#include "simfilesystem.h"

#include <QDir>

namespace store_test {

namespace {

constexpr int blockSize = 4096;

store::Status failure(const QString& path)
{
    return store::Status::error(store::ErrorCode::Io, QStringLiteral("simulated failure at ") + path);
}

store::Status missing(const QString& path)
{
    return store::Status::error(store::ErrorCode::Io, QStringLiteral("no such file: ") + path);
}

// The bytes an unflushed file may hold after a power cut.
std::vector<QByteArray> contentsAfterCut(const QByteArray& durable, const QByteArray& visible, CrashModel model)
{
    std::vector<QByteArray> contents{durable};
    for (qsizetype size = 0; size < visible.size(); size += blockSize)
        contents.push_back(visible.left(size));
    contents.push_back(visible);
    if (model == CrashModel::Posix)
        contents.push_back(QByteArray(visible.size(), '\0'));
    std::sort(contents.begin(), contents.end());
    contents.erase(std::unique(contents.begin(), contents.end()), contents.end());
    return contents;
}

} // namespace

SimFileSystem::SimFileSystem(const QString& folder, const Files& files)
    : m_folder(folder)
{
    for (auto file = files.begin(); file != files.end(); ++file) {
        m_state.visible[file.key()] = int(m_state.inodes.size());
        m_state.inodes.push_back({file.value(), file.value()});
    }
    m_state.durable = m_state.visible;
}

bool SimFileSystem::fails()
{
    const int operation = operations++;
    if (operation == crashAt) {
        m_atCrash = m_state;
        m_crashed = true;
    }
    return operation == failAt || m_crashed;
}

QString SimFileSystem::nameOf(const QString& path) const
{
    const QFileInfo info(path);
    return QDir::cleanPath(info.path()) == QDir::cleanPath(m_folder) ? info.fileName() : QString();
}

Files SimFileSystem::filesOf(const std::map<QString, int>& names, bool durable) const
{
    Files files;
    for (const auto& [name, inode] : names)
        files.insert(name, durable ? m_state.inodes[inode].durable : m_state.inodes[inode].visible);
    return files;
}

store::Status SimFileSystem::writeFile(const QString& path, const QByteArray& bytes)
{
    const QString name = nameOf(path);
    if (name.isEmpty())
        return missing(path);
    const bool failed = fails();
    if (failed && m_crashed)
        return failure(path);
    auto found = m_state.visible.find(name);
    if (found == m_state.visible.end()) {
        found = m_state.visible.emplace(name, int(m_state.inodes.size())).first;
        m_state.inodes.push_back({});
        m_state.pending.push_back({name, found->second, {}});
    }
    // A write that fails leaves part of its bytes, as a full disk does.
    m_state.inodes[found->second].visible = failed ? bytes.left(bytes.size() / 2) : bytes;
    return failed ? failure(path) : store::Status();
}

store::Status SimFileSystem::syncFiles(const QStringList& paths)
{
    if (fails())
        return failure(paths.front());
    for (const QString& path : paths) {
        const auto found = m_state.visible.find(nameOf(path));
        if (found == m_state.visible.end())
            return missing(path);
        Inode& inode = m_state.inodes[found->second];
        inode.durable = inode.visible;
    }
    return {};
}

store::Status SimFileSystem::rename(const QString& from, const QString& to)
{
    if (fails())
        return failure(from);
    const auto found = m_state.visible.find(nameOf(from));
    if (found == m_state.visible.end() || nameOf(to).isEmpty())
        return missing(from);
    const int inode = found->second;
    m_state.visible.erase(found);
    m_state.visible[nameOf(to)] = inode;
    m_state.pending.push_back({nameOf(to), inode, nameOf(from)});
    return {};
}

store::Status SimFileSystem::remove(const QString& path)
{
    if (fails())
        return failure(path);
    if (m_state.visible.erase(nameOf(path)) == 0)
        return missing(path);
    m_state.pending.push_back({{}, -1, nameOf(path)});
    return {};
}

store::Status SimFileSystem::syncFolder(const QString& folder)
{
    if (fails())
        return failure(folder);
    m_state.durable = m_state.visible;
    m_state.pending.clear();
    return {};
}

store::Status SimFileSystem::readFile(const QString& path, QByteArray& bytes)
{
    const auto found = m_state.visible.find(nameOf(path));
    if (found == m_state.visible.end())
        return missing(path);
    bytes = m_state.inodes[found->second].visible;
    return {};
}

store::Status SimFileSystem::makeFolder(const QString& path)
{
    return isFolder(path) ? store::Status() : failure(path);
}

bool SimFileSystem::isFolder(const QString& path)
{
    return QDir::cleanPath(path) == QDir::cleanPath(m_folder);
}

bool SimFileSystem::exists(const QString& path)
{
    return isFolder(path) || m_state.visible.count(nameOf(path));
}

QStringList SimFileSystem::fileNames(const QString& folder)
{
    QStringList names;
    if (isFolder(folder)) {
        for (const auto& entry : m_state.visible)
            names << entry.first;
    }
    return names;
}

QStringList SimFileSystem::folderNames(const QString&)
{
    return {};
}

QString SimFileSystem::stamp(const QString&, const QStringList& names)
{
    QString text;
    for (const QString& name : names) {
        const auto found = m_state.visible.find(name);
        text += found == m_state.visible.end() ? QStringLiteral("-;") : QStringLiteral("%1;").arg(found->second);
    }
    return text;
}

// One process, one writer at a time: the lock itself is tested on the real file system.
store::Status SimFileSystem::tryLock(const QString&, int& handle)
{
    handle = 0;
    return {};
}

void SimFileSystem::unlock(const QString&, int) {}

std::vector<Files>
SimFileSystem::durableStates(CrashModel model, size_t limit, std::mt19937& random, size_t& possible) const
{
    const State& state = m_crashed ? m_atCrash : m_state;

    // The folder's names: the flushed ones with a first part (ext4) or any subset (POSIX) of the
    // changes made since, applied in their order.
    const size_t changes = state.pending.size();
    std::vector<std::map<QString, int>> folders;
    const size_t variants = model == CrashModel::Ext4Ordered ? changes + 1 : size_t(1) << std::min<size_t>(changes, 16);
    for (size_t variant = 0; variant < variants; ++variant) {
        std::map<QString, int> names = state.durable;
        for (size_t i = 0; i < changes; ++i) {
            const bool applied = model == CrashModel::Ext4Ordered ? i < variant : (variant >> i) & 1;
            if (!applied)
                continue;
            const FolderChange& change = state.pending[i];
            if (!change.removed.isEmpty())
                names.erase(change.removed);
            if (!change.name.isEmpty())
                names[change.name] = change.inode;
        }
        folders.push_back(std::move(names));
    }

    // For each, the contents its unflushed files may have.
    struct Choice
    {
        QString name;
        std::vector<QByteArray> contents;
    };

    std::vector<std::vector<Choice>> choices;
    std::vector<size_t> counts;
    possible = 0;
    for (const auto& names : folders) {
        std::vector<Choice> files;
        size_t count = 1;
        for (const auto& [name, inode] : names) {
            const Inode& file = state.inodes[inode];
            if (file.durable != file.visible) {
                files.push_back({name, contentsAfterCut(file.durable, file.visible, model)});
                count *= files.back().contents.size();
            }
        }
        choices.push_back(std::move(files));
        counts.push_back(count);
        possible += count;
    }

    auto stateOf = [&](size_t folder, size_t number) {
        Files files;
        for (const auto& [name, inode] : folders[folder])
            files.insert(name, state.inodes[inode].durable);
        for (const Choice& choice : choices[folder]) {
            files[choice.name] = choice.contents[number % choice.contents.size()];
            number /= choice.contents.size();
        }
        return files;
    };
    std::vector<Files> states;
    if (possible <= limit) {
        for (size_t folder = 0; folder < folders.size(); ++folder) {
            for (size_t number = 0; number < counts[folder]; ++number)
                states.push_back(stateOf(folder, number));
        }
    } else {
        std::uniform_int_distribution<size_t> anyFolder(0, folders.size() - 1);
        while (states.size() < limit) {
            const size_t folder = anyFolder(random);
            states.push_back(stateOf(folder, std::uniform_int_distribution<size_t>(0, counts[folder] - 1)(random)));
        }
    }
    return states;
}

store::Status SimFileSystem::syncFilesAndFolder(const QStringList& paths, const QString& folder)
{
    if (store::Status s = syncFolder(folder); !s.ok())
        return s;
    return syncFiles(paths);
}

} // namespace store_test

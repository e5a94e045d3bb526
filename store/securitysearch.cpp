#include "securitysearch.h"

#include "metastock/folder.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

namespace store {

bool matchesPattern(const QString& pattern, const QString& text)
{
    // Greedy matching with one backtrack point (the last "*"): linear in practice, never exponential.
    const QString p = pattern.toCaseFolded();
    const QString t = text.toCaseFolded();
    qsizetype pi = 0;
    qsizetype ti = 0;
    qsizetype star = -1;
    qsizetype resume = 0;
    while (ti < t.size()) {
        if (pi < p.size() && p[pi] == u'*') {
            star = pi++;
            resume = ti;
        } else if (pi < p.size() && p[pi] == t[ti]) {
            ++pi;
            ++ti;
        } else if (star >= 0) {
            pi = star + 1;
            ti = ++resume;
        } else {
            return false;
        }
    }
    while (pi < p.size() && p[pi] == u'*')
        ++pi;
    return pi == p.size();
}

SecuritySearch::SecuritySearch()
    : m_ownFs(std::make_unique<FileSystem>())
    , m_fs(*m_ownFs)
{}

SecuritySearch::SecuritySearch(FileSystem& fs)
    : m_fs(fs)
{}

SecuritySearch::~SecuritySearch() = default;

Status SecuritySearch::SetOption(bool matchNames)
{
    m_matchNames = matchNames;
    return {};
}

Status SecuritySearch::SetIncludeSubfolders(bool include)
{
    m_includeSubfolders = include;
    return {};
}

Status SecuritySearch::SetStatusText(const QString& text)
{
    m_statusText = text;
    return {};
}

void SecuritySearch::searchFolder(const QString& folder, const QString& pattern)
{
    if (m_progress)
        m_progress(m_statusText, folder);
    const QString shown = QDir::toNativeSeparators(folder);
    if (!m_fs.isReadableFolder(folder)) {
        m_problems << QStringLiteral("%1: the folder cannot be read").arg(shown);
        return;
    }
    metastock::FolderIndex index;
    metastock::Problems problems;
    if (Status s = metastock::readFolderIndex(m_fs, folder, index, problems); !s.ok()) {
        m_problems << s.text();
        return;
    }
    // A damaged index still gives the securities before the damage; they are listed, and the damage named.
    if (Status s = metastock::damageStatus(problems); !s.ok())
        m_problems << QStringLiteral("%1: %2").arg(shown, s.text());
    const int folderIndex = int(m_folders.size());
    for (const metastock::IndexEntry* entry : index.securities()) {
        if (matchesPattern(pattern, entry->symbol) || (m_matchNames && matchesPattern(pattern, entry->name)))
            m_hits.push_back({folderIndex, entry->name, entry->symbol, entry->dataFileName()});
    }
    if (m_hits.empty() || m_hits.back().folder != folderIndex)
        return;
    m_folders << shown;
}

void SecuritySearch::searchTree(const QString& root, const QString& pattern)
{
    // Depth first without recursion, so that a deep tree cannot exhaust the stack: subfolders go on the
    // stack in reverse name order and so come off it in name order. Links can make a folder its own
    // subfolder; each real folder is searched once.
    QSet<QString> visited;
    QStringList pending{root};
    while (!pending.isEmpty()) {
        const QString folder = pending.takeLast();
        const QString real = QFileInfo(folder).canonicalFilePath();
        if (real.isEmpty() || visited.contains(real))
            continue;
        visited.insert(real);
        searchFolder(folder, pattern);
        if (!m_includeSubfolders)
            continue;
        const QStringList names = m_fs.folderNames(folder);
        for (auto name = names.rbegin(); name != names.rend(); ++name)
            pending << QDir(folder).filePath(*name);
    }
}

Status SecuritySearch::Start(const QString& pattern, const QString& folder)
{
    m_hits.clear();
    m_folders.clear();
    m_problems.clear();
    m_current = 0;
    if (!m_fs.isFolder(folder))
        return Status::error(ErrorCode::NotFound,
                             QStringLiteral("The folder %1 does not exist").arg(QDir::toNativeSeparators(folder)));
    searchTree(folder, pattern.isEmpty() ? QStringLiteral("*") : pattern);
    if (m_progress)
        m_progress(QString(), QString());
    return {};
}

Status SecuritySearch::requireHit() const
{
    if (m_current >= m_hits.size())
        return Status::error(ErrorCode::NoMoreData, QStringLiteral("There is no hit"));
    return {};
}

Status SecuritySearch::NextHit()
{
    if (m_current + 1 >= m_hits.size()) {
        m_current = m_hits.size();
        return Status::error(ErrorCode::NoMoreData, QStringLiteral("There is no further hit"));
    }
    ++m_current;
    return {};
}

Status SecuritySearch::GetName(QString& name) const
{
    if (Status s = requireHit(); !s.ok())
        return s;
    name = m_hits[m_current].name;
    return {};
}

Status SecuritySearch::GetFileName(QString& fileName) const
{
    if (Status s = requireHit(); !s.ok())
        return s;
    fileName = m_hits[m_current].fileName;
    return {};
}

Status SecuritySearch::GetSymbol(QString& symbol) const
{
    if (Status s = requireHit(); !s.ok())
        return s;
    symbol = m_hits[m_current].symbol;
    return {};
}

Status SecuritySearch::GetFolder(QString& folder) const
{
    if (Status s = requireHit(); !s.ok())
        return s;
    folder = m_folders[m_hits[m_current].folder];
    return {};
}

} // namespace store

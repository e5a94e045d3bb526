#include "securitysearch.h"

#include "metastock/folder.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

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
    Q_UNUSED(text);
    return {};
}

void SecuritySearch::searchFolder(const QString& folder, const QString& pattern, std::vector<QString>& visited)
{
    // Links can make a folder its own subfolder; each real folder is searched once.
    const QString real = QFileInfo(folder).canonicalFilePath();
    if (std::find(visited.begin(), visited.end(), real) != visited.end())
        return;
    visited.push_back(real);

    metastock::FolderIndex index;
    metastock::Problems problems;
    if (metastock::readFolderIndex(m_fs, folder, index, problems).ok() && index.hasIndexFiles()) {
        for (const metastock::IndexEntry* entry : index.securities()) {
            if (matchesPattern(pattern, entry->symbol) || (m_matchNames && matchesPattern(pattern, entry->name)))
                m_hits.push_back({entry->name,
                                  entry->symbol,
                                  QDir::toNativeSeparators(QDir(folder).filePath(entry->dataFileName()))});
        }
    }
    if (!m_includeSubfolders)
        return;
    for (const QString& name : m_fs.folderNames(folder))
        searchFolder(QDir(folder).filePath(name), pattern, visited);
}

Status SecuritySearch::Start(const QString& pattern, const QString& folder)
{
    m_hits.clear();
    m_current = 0;
    if (!m_fs.isFolder(folder))
        return Status::error(ErrorCode::NotFound,
                             QStringLiteral("The folder %1 does not exist").arg(QDir::toNativeSeparators(folder)));
    std::vector<QString> visited;
    searchFolder(folder, pattern.isEmpty() ? QStringLiteral("*") : pattern, visited);
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

} // namespace store

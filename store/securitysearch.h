#pragma once

#include "filesystem.h"
#include "status.h"

#include <QString>

#include <memory>
#include <vector>

namespace store {

// Finds securities in a folder and, when asked, in all folders below it.
//
// A folder counts when it holds an index file (MASTER, EMASTER or XMASTER, in any case); damaged index
// files are read as far as they can be and never stop the search. The pattern matches a whole symbol or
// name: "*" stands for any run of characters (also none), every other character for itself, without
// regard to case; an empty pattern matches everything. Hits come folder by folder (the start folder
// first, then subfolders in name order, depth first) and within a folder in file-number order.
//
// After Start the first hit is current; with no hit at all Start still succeeds and the getters fail
// with NoMoreData. NextHit fails with NoMoreData after the last hit.
class SecuritySearch
{
public:
    SecuritySearch();
    explicit SecuritySearch(FileSystem& fs); // `fs` must outlive the search
    ~SecuritySearch();
    SecuritySearch(const SecuritySearch&) = delete;
    SecuritySearch& operator=(const SecuritySearch&) = delete;

    // Fails with NotFound when `folder` is no directory.
    [[nodiscard]] Status Start(const QString& pattern, const QString& folder);
    [[nodiscard]] Status GetName(QString& name) const;
    // The data file's full path, so that hits of different folders can be told apart.
    [[nodiscard]] Status GetFileName(QString& fileName) const;
    [[nodiscard]] Status GetSymbol(QString& symbol) const;
    [[nodiscard]] Status NextHit();
    // true (the default): a security is a hit when its symbol or its name matches; false: only the
    // symbol is matched.
    [[nodiscard]] Status SetOption(bool matchNames);
    [[nodiscard]] Status SetIncludeSubfolders(bool include);
    // The search finishes quickly and shows nothing while it runs; the text is accepted and not shown.
    [[nodiscard]] Status SetStatusText(const QString& text);

private:
    struct Hit
    {
        QString name;
        QString symbol;
        QString fileName;
    };

    void searchFolder(const QString& folder, const QString& pattern, std::vector<QString>& visited);
    Status requireHit() const;

    std::unique_ptr<FileSystem> m_ownFs;
    FileSystem& m_fs;
    bool m_matchNames = true;
    bool m_includeSubfolders = false;
    std::vector<Hit> m_hits;
    size_t m_current = 0;
};

// True when `text` matches `pattern` as SecuritySearch matches ("*" wild card, case ignored).
bool matchesPattern(const QString& pattern, const QString& text);

} // namespace store

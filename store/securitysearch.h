#pragma once

#include "filesystem.h"
#include "status.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace store {

// Finds securities in a folder and, when asked, in all folders below it.
//
// A folder counts when it holds an index file (MASTER, EMASTER or XMASTER, in any case). The pattern
// matches a whole symbol or name: "*" stands for any run of characters (also none), every other
// character for itself, without regard to case; an empty pattern matches everything. Hits come folder
// by folder (the start folder first, then subfolders in name order, depth first) and within a folder in
// file-number order. Each real folder is searched once, however many links lead to it, so a link that
// points back up the tree ends nowhere.
//
// A folder that cannot be read, or whose index files are damaged, never stops the search: it is named
// in problems() and the search goes on (with what a damaged index still gives).
//
// After Start the first hit is current; with no hit at all Start still succeeds and the getters fail
// with NoMoreData. NextHit fails with NoMoreData after the last hit.
class SecuritySearch
{
public:
    // Told the status text and the folder about to be searched, as each folder begins, and called with
    // two empty texts when the search is over: a window shows the text and keeps painting, a terminal
    // shows where a long search is.
    using Progress = std::function<void(const QString& statusText, const QString& folder)>;

    SecuritySearch();
    explicit SecuritySearch(FileSystem& fs); // `fs` must outlive the search
    ~SecuritySearch();
    SecuritySearch(const SecuritySearch&) = delete;
    SecuritySearch& operator=(const SecuritySearch&) = delete;

    // Fails with NotFound when `folder` is no directory.
    [[nodiscard]] Status Start(const QString& pattern, const QString& folder);
    [[nodiscard]] Status GetName(QString& name) const;
    // The data file's name inside its folder ("F12.DAT"); GetFolder tells the folder.
    [[nodiscard]] Status GetFileName(QString& fileName) const;
    [[nodiscard]] Status GetSymbol(QString& symbol) const;
    [[nodiscard]] Status NextHit();
    // true (the default): a security is a hit when its symbol or its name matches; false: only the
    // symbol is matched.
    [[nodiscard]] Status SetOption(bool matchNames);
    [[nodiscard]] Status SetIncludeSubfolders(bool include);
    // The text handed to the progress function while a search runs.
    [[nodiscard]] Status SetStatusText(const QString& text);

    // The folder of the current hit, as the search reached it (start folder joined with subfolder names).
    [[nodiscard]] Status GetFolder(QString& folder) const;

    void setProgress(Progress progress) { m_progress = std::move(progress); }

    // What kept the last search from reading a folder fully, one text per problem naming the folder or
    // the file.
    const QStringList& problems() const { return m_problems; }

private:
    struct Hit
    {
        int folder; // index into m_folders
        QString name;
        QString symbol;
        QString fileName;
    };

    void searchFolder(const QString& folder, const QString& pattern);
    void searchTree(const QString& root, const QString& pattern);
    Status requireHit() const;

    std::unique_ptr<FileSystem> m_ownFs;
    FileSystem& m_fs;
    bool m_matchNames = true;
    bool m_includeSubfolders = false;
    QString m_statusText;
    Progress m_progress;
    QStringList m_folders; // folders that gave hits, each once
    std::vector<Hit> m_hits;
    size_t m_current = 0;
    QStringList m_problems;
};

// True when `text` matches `pattern` as SecuritySearch matches ("*" wild card, case ignored).
bool matchesPattern(const QString& pattern, const QString& text);

} // namespace store

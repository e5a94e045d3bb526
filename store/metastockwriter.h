#pragma once

#include "filesystem.h"
#include "metastock/datafile.h"
#include "metastock/folder.h"
#include "securitytypes.h"
#include "status.h"

#include <QString>

#include <map>
#include <memory>
#include <vector>

namespace store {

class FolderLock;

// Creates and changes the securities of one MetaStock data folder.
//
// Sessions. OpenFolder locks the folder against other writers (a second writer waits up to the file
// system's lock timeout, then fails with Busy) and CloseFolder releases it. A session may last long (a
// download keeps its folder open for a whole list of securities): whenever nothing is pending, the
// writer reads the index again before it starts on a security if a program that does not know the
// lock has replaced an index file meanwhile. Changes are collected in
// memory and reach the disk at Commit, CloseSecurity and CloseFolder, each of which writes everything
// changed so far as one all-or-nothing step: after a crash the folder is as it was before that step or
// as it is after it. Dropping the object without CloseFolder discards unwritten changes. A write that
// fails either did not happen (the changes stay pending, so a later Commit or CloseFolder tries again)
// or happened but could not tidy up, which the next OpenFolder or reader finishes.
//
// Securities. New securities are daily files of 7 fields (date, open, high, low, close, volume, open
// interest) with the lowest free number F1.DAT..F255.DAT, listed in MASTER and EMASTER; beyond 255 they
// go to F256.MWD and on, listed in XMASTER. Symbols are at most 14 characters and names at most 45;
// longer text, characters outside Latin-1 and control characters are refused with InvalidArgument,
// never cut. Symbols are kept in upper case (ASCII letters) and compared without regard to case; names
// are compared the same way. Periodicity codes are 1 daily, 2 weekly, 3 monthly.
//
// Bars. A security's bars stay in date order and hold at most one bar per date: AddBar inserts an older
// bar in its place and replaces a bar of the same date. Intraday securities can be read but not
// changed (Unsupported). Dates outside 1900-01-01..2099-12-31 and values MBF cannot hold (NaN,
// infinities, magnitudes of 2^127 or more) are refused; values are stored as single-precision numbers.
// The index dates follow the bars. A security without bars reports one date as its first and last
// date, so that a download can start from it: a deletion that removes a security's last remaining bars
// sets both to the date of the newest bar it removed. A download continues after a security's last
// date, so the next one fetches only what is newer than the deleted history instead of all of it
// again; to have the history back, the user asks for it with a data correction from an earlier date.
// (Creating a security adds and deletes one bar: the same rule leaves it with its first date.)
class MetaStockWriter
{
public:
    MetaStockWriter();
    // Works through `fs`, which must outlive the writer (tests pass one that fails on purpose).
    explicit MetaStockWriter(FileSystem& fs);
    ~MetaStockWriter();
    MetaStockWriter(const MetaStockWriter&) = delete;
    MetaStockWriter& operator=(const MetaStockWriter&) = delete;

    // Adds a new security without bars to the open folder and selects it. Fails with AlreadyExists
    // when the symbol is taken.
    [[nodiscard]] Status CreateSecurity(const QString& symbol, const QString& name, qint32 periodicity);
    // Adds or replaces the bar of `date` (yyyymmdd) in the selected security. Daily files store no time:
    // `time` is accepted and not kept.
    [[nodiscard]] Status AddBar(qint32 date,
                                qint32 time,
                                double open,
                                double high,
                                double low,
                                double close,
                                double volume,
                                double openInterest);
    // Writes what is pending and releases the folder, also when the write fails.
    [[nodiscard]] Status CloseFolder();
    // Creates the directory and any missing parents. A directory without index files opens as an empty
    // folder; its index files are written with its first security.
    [[nodiscard]] Status CreateFolder(const QString& folder);
    // Fails with NotFound for a missing directory, Busy when another writer holds it, Damaged (naming
    // the file) when its index files cannot be rewritten safely. Finishes an update a crash interrupted.
    [[nodiscard]] Status OpenFolder(const QString& folder);
    // Selects by the security's name as the reader reports it, the first match when names repeat.
    [[nodiscard]] Status SelectSecurityByName(const QString& name);
    [[nodiscard]] Status SelectSecurity(const QString& symbol);
    // Removes the index entry and the data file.
    [[nodiscard]] Status DeleteSecurity(const QString& symbol);
    // Removes the bar of `date` ("yyyymmdd"); NotFound when there is none, and nothing changes.
    [[nodiscard]] Status DeleteBar(const QString& date);
    // Removes the bars from `fromDate` to `toDate`, both included; a start after the end removes nothing.
    [[nodiscard]] Status DeleteBarsBetween(const QString& fromDate, const QString& toDate);
    // Replaces the values of the bar of `date`; NotFound when there is none, and nothing changes.
    // `timeText` and `time` are accepted and not kept, as for AddBar.
    [[nodiscard]] Status ChangeBar(const QString& date,
                                   const QString& timeText,
                                   qint32 time,
                                   double open,
                                   double high,
                                   double low,
                                   double close,
                                   double volume,
                                   double openInterest);
    // Renames the security of `currentSymbol`; AlreadyExists when another security has `newSymbol`.
    [[nodiscard]] Status ChangeSecurity(const QString& currentSymbol, const QString& newName, const QString& newSymbol);
    [[nodiscard]] Status SecurityExists(const QString& symbol, bool& exists);
    // Writes what is pending and ends the selection, forgetting its bars. Succeeds and does nothing when no security is
    // selected, also after CloseFolder (the delete-before-date window closes the folder first).
    [[nodiscard]] Status CloseSecurity();
    [[nodiscard]] Status BarExists(const QString& date, bool& exists);
    // Writes what is pending.
    [[nodiscard]] Status Commit();

    // The same as AddBar with the fields of `bar`.
    [[nodiscard]] Status AddBar(const PriceBar& bar);

    // What a range deletion removed: the number of bars and the dates of the oldest and newest of them
    // (0 when none was removed).
    struct RemovedBars
    {
        qint32 count = 0;
        qint32 firstDate = 0;
        qint32 lastDate = 0;
    };

    // The same as DeleteBarsBetween, telling what it removed.
    [[nodiscard]] Status DeleteBarsBetween(const QString& fromDate, const QString& toDate, RemovedBars& removed);

private:
    // A security's bars in date order, one per date. Downloads and conversions append, so a vector
    // with binary search beats a tree: an append is a push_back, and the file is encoded straight from it.
    using Bars = std::vector<metastock::Bar>;

    struct LoadedBars
    {
        Bars bars;
        bool changed = false;
    };

    // Which index files hold changes that are not written yet.
    struct PendingIndex
    {
        bool master = false; // MASTER and EMASTER
        bool xmaster = false;

        bool any() const { return master || xmaster; }
    };

    Status requireOpen() const;
    Status readIndex();
    Status refreshIndex();
    QString indexStamp() const;
    Status requireBars(LoadedBars*& loaded);
    Status select(metastock::IndexEntry* entry);
    Status loadBars(const metastock::IndexEntry& entry);
    Status flush();
    metastock::IndexEntry* findSymbol(const QString& symbol);
    metastock::IndexEntry* findFileNumber(int fileNumber);
    metastock::IndexEntry& selectedEntry();
    void indexChanged(const metastock::IndexEntry& entry);
    void adoptWritten(const QByteArray& master, const QByteArray& emaster, const QByteArray& xmaster);
    void barsChanged(metastock::IndexEntry& entry, LoadedBars& loaded);
    void barsRemoved(metastock::IndexEntry& entry, LoadedBars& loaded, qint32 newestRemoved);
    int newFileNumber() const;
    int xmasterNext() const;
    bool fileNumberFree(int number) const;

    std::unique_ptr<FileSystem> m_ownFs;
    FileSystem& m_fs;
    std::unique_ptr<FolderLock> m_lock;
    bool m_open = false;
    metastock::FolderIndex m_index;
    PendingIndex m_indexChanged;
    QString m_indexStamp; // of the index files as this writer last read or wrote them
    std::map<int, LoadedBars> m_loaded; // by file number
    QStringList m_removedFiles;
    int m_selected = 0; // file number, 0 when none
    // The index entry of m_selected, found once rather than for every bar; cleared whenever the entry
    // lists change, since that moves entries.
    metastock::IndexEntry* m_selectedEntry = nullptr;
};

} // namespace store

#pragma once

#include "filesystem.h"
#include "metastock/datafile.h"
#include "metastock/folder.h"
#include "metastock/indexfiles.h"
#include "securitytypes.h"
#include "status.h"

#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace store {

// Reads the securities of a MetaStock data folder and the bars of one of them.
//
// OpenFolder takes the list of securities (in file-number order: F1.DAT, F2.DAT, ..., F256.MWD, ...) and
// SelectSecurity the header fields and all bars of one security, each as one consistent state of the
// folder: before or after each step of a writer, never between. A reader takes no lock and does not
// wait for a writer that is merely open; it writes to the folder only to finish an update a crashed
// writer left behind. Dates are yyyymmdd numbers and are the dates the index stores, which other tools
// sometimes leave out of step with the bars; `check` reports that. Bars come in file order, which is
// date order in a sound file. A security's data file is read only when it is selected, so a damaged
// data file fails SelectSecurity (Damaged, naming the file) and no other call.
//
// "Current security": the one last loaded by NextSecurity or selected. "Current bar": the one last
// loaded by ReadNextBar. Getters fail with NoSecurity or NoMoreData when there is none.
class MetaStockReader
{
public:
    MetaStockReader();
    explicit MetaStockReader(FileSystem& fs); // `fs` must outlive the reader
    ~MetaStockReader();
    MetaStockReader(const MetaStockReader&) = delete;
    MetaStockReader& operator=(const MetaStockReader&) = delete;

    // Releases the folder. The current security's fields stay readable (GetSymbol and the others).
    [[nodiscard]] Status Close();
    // Forgets the selected security's bars. Succeeds also after Close and without a selection.
    [[nodiscard]] Status CloseSecurity();
    // Fails with NotFound for a missing directory and Damaged when the index files cannot be read
    // safely. A directory without index files is an empty folder.
    [[nodiscard]] Status OpenFolder(const QString& folder);
    // The first security whose name (as GetName reports it) matches, without regard to case; the
    // current one (the one NextSecurity moved to) when it matches.
    [[nodiscard]] Status SelectSecurityByName(const QString& name);
    // The same by symbol.
    [[nodiscard]] Status SelectSecurity(const QString& symbol);
    [[nodiscard]] Status ReadNextBar();
    [[nodiscard]] Status NextSecurity();
    // The first date, or the last date after SetDateField(2).
    [[nodiscard]] Status GetFirstDate(qint32& date) const;
    [[nodiscard]] Status GetLastDate(qint32& date) const;
    // The number of securities NextSecurity can still load.
    [[nodiscard]] Status HasMoreSecurities(qint32& count) const;
    [[nodiscard]] Status GetFileName(QString& fileName) const;
    [[nodiscard]] Status GetName(QString& name) const;
    [[nodiscard]] Status GetSymbol(QString& symbol) const;
    [[nodiscard]] Status GetClose(double& value) const;
    [[nodiscard]] Status GetBarDate(qint32& date) const;
    [[nodiscard]] Status GetHigh(double& value) const;
    [[nodiscard]] Status GetLow(double& value) const;
    [[nodiscard]] Status GetBarCount(qint32& count) const;
    [[nodiscard]] Status GetOpen(double& value) const;
    // The number of bars ReadNextBar can still load.
    [[nodiscard]] Status HasMoreBars(qint32& count) const;
    [[nodiscard]] Status GetVolume(double& value) const;
    // 1 daily, 2 weekly, 3 monthly, 0 for intraday and other letters.
    [[nodiscard]] Status GetPeriodicity(qint32& periodicity) const;
    // 1: GetFirstDate gives the first date (the default after OpenFolder); 2: it gives the last date.
    // Other values are refused.
    [[nodiscard]] Status SetDateField(qint32 field);

    // The current security and the current bar as records (fields absent from the file read as 0).
    [[nodiscard]] Status GetSecurity(SecurityDescriptor& security) const;
    [[nodiscard]] Status GetBar(PriceBar& bar) const;

private:
    Status requireSecurity() const;
    Status requireBar() const;
    static QStringList watchedNames(const metastock::FolderIndex& index);
    Status waitForUpdate(bool applied);
    Status loadIndex(bool selecting);
    Status select(const QString& key, bool byName);
    Status barValue(float metastock::Bar::*field, double& value) const;

    std::unique_ptr<FileSystem> m_ownFs;
    FileSystem& m_fs;
    QString m_folder;
    metastock::FolderIndex m_index;
    QString m_stamp; // of the files watchedNames() lists, when m_index was read
    bool m_open = false;
    std::vector<metastock::IndexEntry> m_securities; // file-number order
    size_t m_next = 0;
    std::optional<metastock::IndexEntry> m_current;
    std::vector<metastock::Bar> m_bars;
    bool m_selected = false;
    qint64 m_barIndex = -1;
    qint32 m_dateField = 1;
};

} // namespace store

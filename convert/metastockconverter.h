#pragma once

#include "conversion.h"
#include "store/status.h"

#include <QLocale>
#include <QString>

#include <memory>

namespace store {
class FileSystem;
}

namespace convert {

// Turns the CSV files of a folder into securities of a MetaStock data folder.
//
// Every *.csv file of the source (any case), in file-name order, becomes one daily security named by
// the file (see splitCsvFileName) with the file's bars (see CsvBarReader). A security that exists
// already gets the bars added, replacing those of the same dates. Each security is written through
// MetaStockWriter as one all-or-nothing step, so a file either arrives whole or leaves the folder as it
// was. A file that cannot be read is reported in report() and skipped; a destination that cannot be
// opened or written stops the run with that status.
class MetaStockConverter
{
public:
    explicit MetaStockConverter(const QLocale& locale = QLocale());
    // Works through `fs`, which must outlive the converter (tests pass one that fails on purpose).
    MetaStockConverter(store::FileSystem& fs, const QLocale& locale);
    ~MetaStockConverter();
    MetaStockConverter(const MetaStockConverter&) = delete;
    MetaStockConverter& operator=(const MetaStockConverter&) = delete;

    // `kind` names the files' format; "CSV" is the one there is.
    [[nodiscard]] store::Status Convert(const QString& source, const QString& destination, const QString& kind);

    void setProgress(Progress progress) { m_progress = std::move(progress); }

    // The outcome of the last Convert.
    const ConversionReport& report() const { return m_report; }

private:
    std::unique_ptr<store::FileSystem> m_ownFs;
    store::FileSystem& m_fs;
    QLocale m_locale;
    Progress m_progress;
    ConversionReport m_report;
};

} // namespace convert

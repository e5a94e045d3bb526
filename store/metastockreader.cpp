#include "metastockreader.h"

#include "arguments.h"
#include "metastock/folder.h"
#include "transaction.h"

#include <QDir>
#include <QElapsedTimer>
#include <QThread>

namespace store {

using metastock::Bar;
using metastock::IndexEntry;

MetaStockReader::MetaStockReader()
    : m_ownFs(std::make_unique<FileSystem>())
    , m_fs(*m_ownFs)
{}

MetaStockReader::MetaStockReader(FileSystem& fs)
    : m_fs(fs)
{}

MetaStockReader::~MetaStockReader() = default;

// The files whose change means the index must be read again: the index files (as named in the
// folder) and the journals of an update in progress.
QStringList MetaStockReader::watchedNames(const metastock::FolderIndex& index)
{
    auto nameOr = [](const QString& actual, const char* canonical) {
        return actual.isEmpty() ? QString::fromLatin1(canonical) : actual;
    };
    return QStringList{nameOr(index.masterFile, "MASTER"),
                       nameOr(index.emasterFile, "EMASTER"),
                       nameOr(index.xmasterFile, "XMASTER")}
    + journalFileNames();
}

// A journal means a writer is replacing files right now, or crashed while doing so. A running writer
// holds the folder lock and finishes soon; otherwise the reader finishes the update itself, as a
// writer would on opening the folder. The applied journal of a running writer needs no wait: what it
// renamed is in place for readers, just not yet sure to be on the medium; only a writer that is gone
// leaves it to be finished.
Status MetaStockReader::waitForUpdate(bool applied)
{
    std::unique_ptr<FolderLock> lock;
    const Status status = FolderLock::acquire(m_fs, m_folder, lock, 0);
    if (status.code() == ErrorCode::Busy) {
        if (!applied)
            QThread::msleep(5);
        return {};
    }
    if (!status.ok())
        return Status::error(
            ErrorCode::Damaged,
            QStringLiteral("%1: an update of the folder was interrupted; open it for writing to finish it")
                .arg(applied ? appliedJournalFileName() : journalFileNames().join(QStringLiteral(", "))));
    return recoverFolder(m_fs, m_folder);
}

// Reads the index (and, when selecting, the current security's bars) as one state of the folder,
// without a lock: files are only ever replaced whole, so the reads are consistent when the index files
// are the same and no update was running before and after them. Otherwise they are read again.
Status MetaStockReader::loadIndex(bool selecting)
{
    QElapsedTimer waited;
    waited.start();
    QStringList names = watchedNames(m_index);
    while (waited.elapsed() <= m_fs.lockTimeoutMs) {
        const QString before = m_fs.stamp(m_folder, names);
        const QStringList journals = journalFileNames();
        if (std::any_of(journals.begin(), journals.end(), [&](const QString& name) {
                return m_fs.exists(QDir(m_folder).filePath(name));
            })) {
            if (Status s = waitForUpdate(false); !s.ok())
                return s;
            continue;
        }
        if (m_fs.exists(QDir(m_folder).filePath(appliedJournalFileName()))) {
            if (Status s = waitForUpdate(true); !s.ok())
                return s;
        }
        metastock::FolderIndex index;
        metastock::Problems problems;
        const bool reread = !selecting || before != m_stamp;
        if (reread) {
            if (Status s = metastock::readFolderIndex(m_fs, m_folder, index, problems); !s.ok())
                return s;
            if (Status s = metastock::damageStatus(problems); !s.ok())
                return s;
        }
        const metastock::FolderIndex& current = reread ? index : m_index;
        std::optional<IndexEntry> entry;
        std::vector<Bar> bars;
        if (selecting) {
            for (const auto* entries : {&current.masterEntries, &current.xmasterEntries}) {
                for (const IndexEntry& found : *entries) {
                    if (found.fileNumber == m_current->fileNumber)
                        entry = found;
                }
            }
            if (!entry)
                return Status::error(ErrorCode::NotFound,
                                     QStringLiteral("The security %1 was deleted meanwhile").arg(m_current->symbol));
            if (Status s = metastock::readBars(m_fs, current, *entry, bars, problems); !s.ok())
                return s;
        }
        // Index files found under other names (lower case, or new ones) are watched from now on.
        if (watchedNames(current) != names) {
            names = watchedNames(current);
            continue;
        }
        if (m_fs.stamp(m_folder, names) != before)
            continue;
        if (reread) {
            m_index = std::move(index);
            m_stamp = before;
        }
        if (selecting) {
            m_current = entry;
            m_bars = std::move(bars);
        } else {
            m_securities.clear();
            for (const IndexEntry* found : m_index.securities())
                m_securities.push_back(*found);
        }
        return {};
    }
    return Status::error(ErrorCode::Busy,
                         QStringLiteral("The folder %1 kept changing while it was read").arg(m_folder));
}

Status MetaStockReader::OpenFolder(const QString& folder)
{
    m_open = false;
    m_securities.clear();
    m_next = 0;
    m_current.reset();
    m_bars.clear();
    m_selected = false;
    m_barIndex = -1;
    m_dateField = 1;
    m_index = metastock::FolderIndex();
    m_stamp.clear();
    if (!m_fs.isFolder(folder))
        return Status::error(ErrorCode::NotFound, QStringLiteral("The folder %1 does not exist").arg(folder));
    m_folder = folder;
    if (Status s = loadIndex(false); !s.ok())
        return s;
    m_open = true;
    return {};
}

Status MetaStockReader::Close()
{
    m_open = false;
    m_securities.clear();
    m_bars.clear();
    m_selected = false;
    m_barIndex = -1;
    return {};
}

Status MetaStockReader::CloseSecurity()
{
    m_bars.clear();
    m_selected = false;
    m_barIndex = -1;
    return {};
}

Status MetaStockReader::select(const QString& key, bool byName)
{
    if (!m_open)
        return Status::error(ErrorCode::NotOpen, QStringLiteral("No folder is open for reading"));
    (void)CloseSecurity();
    const auto matches = [&](const IndexEntry& entry) {
        return byName ? sameName(entry.name, key) : sameSymbol(entry.symbol, key);
    };
    // The security NextSecurity moved to is the one meant when it matches: a folder another program
    // wrote may list two securities under one symbol, and going through the folder must reach both.
    std::optional<IndexEntry> found = m_current && matches(*m_current) ? m_current : std::nullopt;
    for (auto entry = m_securities.begin(); !found && entry != m_securities.end(); ++entry) {
        if (matches(*entry))
            found = *entry;
    }
    if (found) {
        m_current = std::move(found);
        if (Status s = loadIndex(true); !s.ok())
            return s;
        m_selected = true;
        return {};
    }
    return Status::error(ErrorCode::NotFound,
                         QStringLiteral("The folder holds no security %1 \"%2\"")
                             .arg(byName ? QStringLiteral("named") : QStringLiteral("with the symbol"), key));
}

Status MetaStockReader::SelectSecurity(const QString& symbol)
{
    return select(symbol, false);
}

Status MetaStockReader::SelectSecurityByName(const QString& name)
{
    return select(name, true);
}

Status MetaStockReader::NextSecurity()
{
    if (!m_open)
        return Status::error(ErrorCode::NotOpen, QStringLiteral("No folder is open for reading"));
    if (m_next >= m_securities.size())
        return Status::error(ErrorCode::NoMoreData, QStringLiteral("There is no further security"));
    (void)CloseSecurity();
    m_current = m_securities[m_next++];
    return {};
}

Status MetaStockReader::HasMoreSecurities(qint32& count) const
{
    count = m_open ? static_cast<qint32>(m_securities.size() - m_next) : 0;
    return {};
}

Status MetaStockReader::ReadNextBar()
{
    if (!m_selected)
        return Status::error(ErrorCode::NoSecurity, QStringLiteral("No security is selected"));
    if (m_barIndex + 1 >= qint64(m_bars.size()))
        return Status::error(ErrorCode::NoMoreData, QStringLiteral("There is no further bar"));
    ++m_barIndex;
    return {};
}

Status MetaStockReader::HasMoreBars(qint32& count) const
{
    count = m_selected ? static_cast<qint32>(qint64(m_bars.size()) - m_barIndex - 1) : 0;
    return {};
}

Status MetaStockReader::GetBarCount(qint32& count) const
{
    if (!m_selected)
        return Status::error(ErrorCode::NoSecurity, QStringLiteral("No security is selected"));
    count = static_cast<qint32>(m_bars.size());
    return {};
}

Status MetaStockReader::requireSecurity() const
{
    return m_current ? Status() : Status::error(ErrorCode::NoSecurity, QStringLiteral("No security is loaded"));
}

Status MetaStockReader::requireBar() const
{
    if (!m_selected || m_barIndex < 0)
        return Status::error(ErrorCode::NoMoreData, QStringLiteral("No bar is loaded"));
    return {};
}

Status MetaStockReader::SetDateField(qint32 field)
{
    if (field != 1 && field != 2)
        return Status::error(ErrorCode::InvalidArgument,
                             QStringLiteral("%1 is not a date field (1 first, 2 last)").arg(field));
    m_dateField = field;
    return {};
}

Status MetaStockReader::GetFirstDate(qint32& date) const
{
    if (Status s = requireSecurity(); !s.ok())
        return s;
    date = m_dateField == 2 ? m_current->lastDate : m_current->firstDate;
    return {};
}

Status MetaStockReader::GetLastDate(qint32& date) const
{
    if (Status s = requireSecurity(); !s.ok())
        return s;
    date = m_current->lastDate;
    return {};
}

Status MetaStockReader::GetFileName(QString& fileName) const
{
    if (Status s = requireSecurity(); !s.ok())
        return s;
    fileName = m_current->dataFileName();
    return {};
}

Status MetaStockReader::GetName(QString& name) const
{
    if (Status s = requireSecurity(); !s.ok())
        return s;
    name = m_current->name;
    return {};
}

Status MetaStockReader::GetSymbol(QString& symbol) const
{
    if (Status s = requireSecurity(); !s.ok())
        return s;
    symbol = m_current->symbol;
    return {};
}

Status MetaStockReader::GetPeriodicity(qint32& periodicity) const
{
    if (Status s = requireSecurity(); !s.ok())
        return s;
    periodicity = periodicityCode(m_current->periodicity);
    return {};
}

Status MetaStockReader::barValue(float Bar::*field, double& value) const
{
    if (Status s = requireBar(); !s.ok())
        return s;
    value = m_bars[size_t(m_barIndex)].*field;
    return {};
}

Status MetaStockReader::GetBarDate(qint32& date) const
{
    if (Status s = requireBar(); !s.ok())
        return s;
    date = m_bars[size_t(m_barIndex)].date;
    return {};
}

Status MetaStockReader::GetOpen(double& value) const
{
    return barValue(&Bar::open, value);
}

Status MetaStockReader::GetHigh(double& value) const
{
    return barValue(&Bar::high, value);
}

Status MetaStockReader::GetLow(double& value) const
{
    return barValue(&Bar::low, value);
}

Status MetaStockReader::GetClose(double& value) const
{
    return barValue(&Bar::close, value);
}

Status MetaStockReader::GetVolume(double& value) const
{
    return barValue(&Bar::volume, value);
}

Status MetaStockReader::GetSecurity(SecurityDescriptor& security) const
{
    if (Status s = requireSecurity(); !s.ok())
        return s;
    security = {m_current->name,
                m_current->symbol,
                m_current->dataFileName(),
                periodicityCode(m_current->periodicity),
                m_current->firstDate,
                m_current->lastDate};
    return {};
}

Status MetaStockReader::GetBar(PriceBar& bar) const
{
    if (Status s = requireBar(); !s.ok())
        return s;
    const Bar& b = m_bars[size_t(m_barIndex)];
    bar = {b.date, b.time, b.open, b.high, b.low, b.close, b.volume, b.openInterest};
    return {};
}

} // namespace store

#include "metastockreader.h"

#include "arguments.h"
#include "metastock/folder.h"
#include "transaction.h"

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

// Reads the index (and, when selecting, a data file) as one state of the folder: under the folder lock,
// after finishing an update a crash interrupted. A folder on a read-only medium has no writer, so it is
// read without a lock, unless it holds an unfinished update, which only a writer can finish.
Status MetaStockReader::loadIndex(bool selecting)
{
    std::unique_ptr<FolderLock> lock;
    if (Status s = FolderLock::acquire(m_fs, m_folder, FolderLock::Kind::Update, true, lock); !s.ok())
        return s;
    if (lock) {
        if (Status s = recoverFolder(m_fs, m_folder); !s.ok())
            return s;
    }
    // The index is read again only when a writer changed it; large folders have large index files.
    const QString stamp = m_fs.stamp(m_folder);
    if (!selecting || stamp != m_stamp) {
        metastock::FolderIndex index;
        metastock::Problems problems;
        if (Status s = metastock::readFolderIndex(m_fs, m_folder, index, problems); !s.ok())
            return s;
        if (Status s = metastock::damageStatus(problems); !s.ok())
            return s;
        if (!lock) {
            for (const QString& name : std::as_const(index.files)) {
                if (isTransactionFile(name))
                    return Status::error(ErrorCode::Damaged,
                                         QStringLiteral("%1: an update of the folder was interrupted; open it for "
                                                        "writing to finish it")
                                             .arg(name));
            }
        }
        m_index = std::move(index);
        m_stamp = stamp;
        if (!selecting) {
            m_securities.clear();
            for (const IndexEntry* entry : m_index.securities())
                m_securities.push_back(*entry);
        }
    }
    if (!selecting)
        return {};
    // Selecting: the current security's header and bars come from this state of the folder.
    for (const IndexEntry* entry : m_index.securities()) {
        if (entry->fileNumber != m_current->fileNumber)
            continue;
        metastock::Problems problems;
        std::vector<Bar> bars;
        if (Status s = metastock::readBars(m_fs, m_index, *entry, bars, problems); !s.ok())
            return s;
        m_current = *entry;
        m_bars = std::move(bars);
        return {};
    }
    return Status::error(ErrorCode::NotFound,
                         QStringLiteral("The security %1 was deleted meanwhile").arg(m_current->symbol));
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
    for (const IndexEntry& entry : m_securities) {
        if (byName ? sameName(entry.name, key) : sameSymbol(entry.symbol, key)) {
            m_current = entry;
            if (Status s = loadIndex(true); !s.ok())
                return s;
            m_selected = true;
            return {};
        }
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

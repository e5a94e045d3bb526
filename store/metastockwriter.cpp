#include "metastockwriter.h"

#include "arguments.h"
#include "metastock/mbf.h"
#include "transaction.h"

#include <QDir>

#include <algorithm>
#include <iterator>

namespace store {

using metastock::Bar;
using metastock::IndexEntry;

namespace {

Status notOpen()
{
    return Status::error(ErrorCode::NotOpen, QStringLiteral("No folder is open for writing"));
}

Status noSuchSymbol(const QString& symbol)
{
    return Status::error(ErrorCode::NotFound,
                         QStringLiteral("The folder holds no security with the symbol \"%1\"").arg(symbol));
}

Status noBar(qint32 date)
{
    return Status::error(ErrorCode::NotFound, QStringLiteral("The security has no bar dated %1").arg(date));
}

} // namespace

MetaStockWriter::MetaStockWriter()
    : m_ownFs(std::make_unique<FileSystem>())
    , m_fs(*m_ownFs)
{}

MetaStockWriter::MetaStockWriter(FileSystem& fs)
    : m_fs(fs)
{}

MetaStockWriter::~MetaStockWriter() = default;

Status MetaStockWriter::requireOpen() const
{
    return m_open ? Status() : notOpen();
}

IndexEntry* MetaStockWriter::findSymbol(const QString& symbol)
{
    for (auto* entries : {&m_index.masterEntries, &m_index.xmasterEntries}) {
        for (IndexEntry& entry : *entries) {
            if (sameSymbol(entry.symbol, symbol))
                return &entry;
        }
    }
    return nullptr;
}

IndexEntry* MetaStockWriter::findFileNumber(int fileNumber)
{
    for (auto* entries : {&m_index.masterEntries, &m_index.xmasterEntries}) {
        for (IndexEntry& entry : *entries) {
            if (entry.fileNumber == fileNumber)
                return &entry;
        }
    }
    return nullptr;
}

Status MetaStockWriter::CreateFolder(const QString& folder)
{
    if (folder.trimmed().isEmpty())
        return Status::error(ErrorCode::InvalidArgument, QStringLiteral("No folder was given"));
    return m_fs.makeFolder(folder);
}

Status MetaStockWriter::OpenFolder(const QString& folder)
{
    if (m_open)
        return Status::error(ErrorCode::InvalidArgument, QStringLiteral("A folder is open already; close it first"));
    if (!m_fs.isFolder(folder))
        return Status::error(ErrorCode::NotFound,
                             QStringLiteral("The folder %1 does not exist").arg(QDir::toNativeSeparators(folder)));
    std::unique_ptr<FolderLock> lock;
    if (Status s = FolderLock::acquire(m_fs, folder, lock); !s.ok())
        return s;
    if (Status s = recoverFolder(m_fs, folder); !s.ok())
        return s;
    metastock::Problems problems;
    if (Status s = metastock::readFolderIndex(m_fs, folder, m_index, problems); !s.ok())
        return s;
    if (Status s = metastock::damageStatus(problems); !s.ok())
        return s;
    m_lock = std::move(lock);
    m_open = true;
    m_indexChanged = false;
    m_loaded.clear();
    m_removedFiles.clear();
    m_selected = 0;
    return {};
}

Status MetaStockWriter::CloseFolder()
{
    if (!m_open)
        return notOpen();
    Status result = flush();
    m_open = false;
    m_selected = 0;
    m_loaded.clear();
    m_removedFiles.clear();
    m_index = metastock::FolderIndex();
    m_lock.reset();
    return result;
}

Status MetaStockWriter::SecurityExists(const QString& symbol, bool& exists)
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    QString normalized;
    if (Status s = normalizeSymbol(symbol, normalized); !s.ok())
        return s;
    exists = findSymbol(normalized) != nullptr;
    return {};
}

bool MetaStockWriter::fileNumberFree(int number) const
{
    auto used = [number](const std::vector<IndexEntry>& entries) {
        return std::any_of(entries.begin(), entries.end(), [number](const IndexEntry& e) {
            return e.fileNumber == number;
        });
    };
    IndexEntry probe;
    probe.fileNumber = number;
    // A data file nobody lists is left alone rather than overwritten; it may be someone's data.
    return !used(m_index.masterEntries) && !used(m_index.xmasterEntries)
        && m_index.actualName(probe.dataFileName()).isEmpty();
}

int MetaStockWriter::newFileNumber() const
{
    if (m_index.masterEntries.size() < size_t(metastock::lastMasterFileNumber)) {
        for (int number = 1; number <= metastock::lastMasterFileNumber; ++number) {
            if (fileNumberFree(number))
                return number;
        }
    }
    int next = std::max(metastock::firstXmasterFileNumber, m_index.xmasterNext);
    for (const IndexEntry& entry : m_index.xmasterEntries)
        next = std::max(next, entry.fileNumber + 1);
    for (int number = next; number <= 0xFFFF; ++number) {
        if (fileNumberFree(number))
            return number;
    }
    return 0;
}

Status MetaStockWriter::CreateSecurity(const QString& symbol, const QString& name, qint32 periodicity)
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    IndexEntry entry;
    if (Status s = normalizeSymbol(symbol, entry.symbol); !s.ok())
        return s;
    if (Status s = normalizeName(name, entry.name); !s.ok())
        return s;
    entry.periodicity = periodicityLetter(periodicity);
    if (entry.periodicity == 0)
        return Status::error(ErrorCode::InvalidArgument,
                             QStringLiteral("%1 is not a periodicity code (1, 2 or 3)").arg(periodicity));
    if (findSymbol(entry.symbol))
        return Status::error(ErrorCode::AlreadyExists,
                             QStringLiteral("A security with the symbol \"%1\" exists already").arg(entry.symbol));
    entry.fileNumber = newFileNumber();
    if (entry.fileNumber == 0)
        return Status::error(ErrorCode::InvalidArgument, QStringLiteral("The folder has no free file number left"));
    entry.fields = metastock::dailySevenFields;
    entry.kind = entry.inXmaster() ? metastock::IndexKind::Xmaster : metastock::IndexKind::Master;
    entry.changed = true;
    auto& entries = entry.inXmaster() ? m_index.xmasterEntries : m_index.masterEntries;
    entries.push_back(entry);
    m_loaded[entry.fileNumber].changed = true; // a data file with its header only
    m_indexChanged = true;
    m_selected = entry.fileNumber;
    return {};
}

Status MetaStockWriter::loadBars(const IndexEntry& entry)
{
    if (m_loaded.count(entry.fileNumber))
        return {};
    std::vector<Bar> bars;
    metastock::Problems problems;
    if (Status s = metastock::readBars(m_fs, m_index, entry, bars, problems); !s.ok())
        return s;
    LoadedBars loaded;
    for (const Bar& bar : bars) {
        // Rewriting would drop or reorder such bars, so the file is left as it is.
        if (!metastock::isValidDate(bar.date) || (!loaded.bars.empty() && loaded.bars.rbegin()->first >= bar.date))
            return Status::error(
                ErrorCode::Damaged,
                QStringLiteral("%1: the bars are not in ascending date order; the file is left unchanged")
                    .arg(m_index.actualName(entry.dataFileName())));
        loaded.bars.emplace_hint(loaded.bars.end(), bar.date, bar);
    }
    m_loaded.emplace(entry.fileNumber, std::move(loaded));
    return {};
}

Status MetaStockWriter::select(IndexEntry* entry)
{
    m_selected = 0;
    if (entry->periodicity != 'I' && !(entry->fields & metastock::TimeField)) {
        if (Status s = loadBars(*entry); !s.ok())
            return s;
    }
    m_selected = entry->fileNumber;
    return {};
}

Status MetaStockWriter::SelectSecurity(const QString& symbol)
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    IndexEntry* entry = findSymbol(symbol);
    return entry ? select(entry) : noSuchSymbol(symbol);
}

Status MetaStockWriter::SelectSecurityByName(const QString& name)
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    for (const IndexEntry* found : m_index.securities()) {
        if (sameName(found->name, name))
            return select(findFileNumber(found->fileNumber));
    }
    return Status::error(ErrorCode::NotFound, QStringLiteral("The folder holds no security named \"%1\"").arg(name));
}

Status MetaStockWriter::requireBars(LoadedBars*& loaded)
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    if (m_selected == 0)
        return Status::error(ErrorCode::NoSecurity, QStringLiteral("No security is selected"));
    auto found = m_loaded.find(m_selected);
    if (found == m_loaded.end())
        return Status::error(ErrorCode::Unsupported, QStringLiteral("Intraday securities are read, not changed"));
    loaded = &found->second;
    return {};
}

void MetaStockWriter::barsChanged(IndexEntry& entry, LoadedBars& loaded)
{
    loaded.changed = true;
    const qint32 first = loaded.bars.empty() ? entry.firstDate : loaded.bars.begin()->first;
    const qint32 last = loaded.bars.empty() ? entry.firstDate : loaded.bars.rbegin()->first;
    if (first != entry.firstDate || last != entry.lastDate) {
        entry.firstDate = first;
        entry.lastDate = last;
        entry.changed = true;
        m_indexChanged = true;
    }
}

// An emptied security's dates move to the newest bar removed (see the class comment).
void MetaStockWriter::barsRemoved(IndexEntry& entry, LoadedBars& loaded, qint32 newestRemoved)
{
    if (loaded.bars.empty() && entry.firstDate != newestRemoved) {
        entry.firstDate = newestRemoved;
        entry.changed = true;
        m_indexChanged = true;
    }
    barsChanged(entry, loaded);
}

Status MetaStockWriter::AddBar(qint32 date,
                               qint32 time,
                               double open,
                               double high,
                               double low,
                               double close,
                               double volume,
                               double openInterest)
{
    Q_UNUSED(time);
    LoadedBars* loaded = nullptr;
    if (Status s = requireBars(loaded); !s.ok())
        return s;
    if (Status s = checkBar({date, time, open, high, low, close, volume, openInterest}); !s.ok())
        return s;
    if (loaded->bars.size() >= size_t(metastock::maxBarsPerFile) && !loaded->bars.count(date))
        return Status::error(ErrorCode::InvalidArgument,
                             QStringLiteral("A data file holds at most %1 bars").arg(metastock::maxBarsPerFile));
    Bar bar;
    bar.date = date;
    bar.open = static_cast<float>(open);
    bar.high = static_cast<float>(high);
    bar.low = static_cast<float>(low);
    bar.close = static_cast<float>(close);
    bar.volume = static_cast<float>(volume);
    bar.openInterest = static_cast<float>(openInterest);
    loaded->bars.insert_or_assign(loaded->bars.end(), date, bar);
    barsChanged(*findFileNumber(m_selected), *loaded);
    return {};
}

Status MetaStockWriter::AddBar(const PriceBar& bar)
{
    return AddBar(bar.date, bar.time, bar.open, bar.high, bar.low, bar.close, bar.volume, bar.openInterest);
}

Status MetaStockWriter::BarExists(const QString& date, bool& exists)
{
    LoadedBars* loaded = nullptr;
    qint32 day = 0;
    if (Status s = requireBars(loaded); !s.ok())
        return s;
    if (Status s = parseDateText(date, day); !s.ok())
        return s;
    exists = loaded->bars.count(day) > 0;
    return {};
}

Status MetaStockWriter::DeleteBar(const QString& date)
{
    LoadedBars* loaded = nullptr;
    qint32 day = 0;
    if (Status s = requireBars(loaded); !s.ok())
        return s;
    if (Status s = parseDateText(date, day); !s.ok())
        return s;
    if (loaded->bars.erase(day) == 0)
        return noBar(day);
    barsRemoved(*findFileNumber(m_selected), *loaded, day);
    return {};
}

Status MetaStockWriter::DeleteBarsBetween(const QString& fromDate, const QString& toDate)
{
    RemovedBars removed;
    return DeleteBarsBetween(fromDate, toDate, removed);
}

Status MetaStockWriter::DeleteBarsBetween(const QString& fromDate, const QString& toDate, RemovedBars& removed)
{
    removed = RemovedBars();
    LoadedBars* loaded = nullptr;
    qint32 from = 0;
    qint32 to = 0;
    if (Status s = requireBars(loaded); !s.ok())
        return s;
    if (Status s = parseDateText(fromDate, from); !s.ok())
        return s;
    if (Status s = parseDateText(toDate, to); !s.ok())
        return s;
    if (from > to)
        return {};
    const auto begin = loaded->bars.lower_bound(from);
    const auto end = loaded->bars.upper_bound(to);
    if (begin == end)
        return {};
    removed.count = static_cast<qint32>(std::distance(begin, end));
    removed.firstDate = begin->first;
    removed.lastDate = std::prev(end)->first;
    loaded->bars.erase(begin, end);
    barsRemoved(*findFileNumber(m_selected), *loaded, removed.lastDate);
    return {};
}

Status MetaStockWriter::ChangeBar(const QString& date,
                                  const QString& timeText,
                                  qint32 time,
                                  double open,
                                  double high,
                                  double low,
                                  double close,
                                  double volume,
                                  double openInterest)
{
    Q_UNUSED(timeText);
    Q_UNUSED(time);
    LoadedBars* loaded = nullptr;
    qint32 day = 0;
    if (Status s = requireBars(loaded); !s.ok())
        return s;
    if (Status s = parseDateText(date, day); !s.ok())
        return s;
    if (!loaded->bars.count(day))
        return noBar(day);
    return AddBar(day, 0, open, high, low, close, volume, openInterest);
}

Status MetaStockWriter::ChangeSecurity(const QString& currentSymbol, const QString& newName, const QString& newSymbol)
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    IndexEntry* entry = findSymbol(currentSymbol);
    if (!entry)
        return noSuchSymbol(currentSymbol);
    QString symbol;
    QString name;
    if (Status s = normalizeSymbol(newSymbol, symbol); !s.ok())
        return s;
    if (Status s = normalizeName(newName, name); !s.ok())
        return s;
    const IndexEntry* holder = findSymbol(symbol);
    if (holder && holder != entry)
        return Status::error(ErrorCode::AlreadyExists,
                             QStringLiteral("A security with the symbol \"%1\" exists already").arg(symbol));
    entry->symbol = symbol;
    entry->name = name;
    entry->changed = true;
    m_indexChanged = true;
    return {};
}

Status MetaStockWriter::DeleteSecurity(const QString& symbol)
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    const IndexEntry* entry = findSymbol(symbol);
    if (!entry)
        return noSuchSymbol(symbol);
    const int number = entry->fileNumber;
    const QString file = m_index.actualName(entry->dataFileName());
    if (!file.isEmpty())
        m_removedFiles << file;
    for (auto* entries : {&m_index.masterEntries, &m_index.xmasterEntries})
        std::erase_if(*entries, [number](const IndexEntry& e) { return e.fileNumber == number; });
    m_loaded.erase(number);
    if (m_selected == number)
        m_selected = 0;
    m_indexChanged = true;
    return {};
}

Status MetaStockWriter::CloseSecurity()
{
    if (!m_open || m_selected == 0)
        return {};
    Status result = flush();
    // Written bars are read again should the security be selected again, so that a long session (the
    // converter's, which writes a whole folder) holds the bars of one security at a time.
    if (result.ok())
        m_loaded.erase(m_selected);
    m_selected = 0;
    return result;
}

Status MetaStockWriter::Commit()
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    return flush();
}

Status MetaStockWriter::flush()
{
    Transaction transaction(m_fs, m_index.path);
    auto nameOf = [this](const QString& name) {
        const QString actual = m_index.actualName(name);
        return actual.isEmpty() ? name : actual;
    };
    for (auto& [number, loaded] : m_loaded) {
        if (!loaded.changed)
            continue;
        const IndexEntry* entry = findFileNumber(number);
        std::vector<Bar> bars;
        bars.reserve(loaded.bars.size());
        for (const auto& [date, bar] : loaded.bars)
            bars.push_back(bar);
        transaction.replace(nameOf(entry->dataFileName()), metastock::encodeDataFile(entry->fields, bars));
    }
    if (m_indexChanged) {
        // MASTER and EMASTER are written together so that they always describe the same securities.
        if (!m_index.masterEntries.empty() || !m_index.masterFile.isEmpty() || !m_index.emasterFile.isEmpty()) {
            transaction.replace(nameOf(QStringLiteral("MASTER")),
                                metastock::encodeMaster(m_index.masterHeader, m_index.masterEntries));
            transaction.replace(nameOf(QStringLiteral("EMASTER")),
                                metastock::encodeEmaster(m_index.emasterHeader, m_index.masterEntries));
        }
        if (!m_index.xmasterEntries.empty() || !m_index.xmasterFile.isEmpty()) {
            int next = std::max(metastock::firstXmasterFileNumber, m_index.xmasterNext);
            for (const IndexEntry& entry : m_index.xmasterEntries)
                next = std::max(next, entry.fileNumber + 1);
            transaction.replace(nameOf(QStringLiteral("XMASTER")),
                                metastock::encodeXmaster(m_index.xmasterHeader, m_index.xmasterEntries, next));
        }
    }
    // Data files are removed only once the index no longer lists them.
    for (const QString& file : std::as_const(m_removedFiles))
        transaction.remove(file);
    if (transaction.isEmpty())
        return {};

    bool committed = false;
    Status result = transaction.commit(committed);
    if (!committed)
        return result;
    // The change is made, and a failure afterwards (the tidying up, or a flush that makes it
    // durable) is reported; the next OpenFolder finishes what is left.
    for (auto& [number, loaded] : m_loaded)
        loaded.changed = false;
    m_removedFiles.clear();
    m_indexChanged = false;
    metastock::FolderIndex index;
    metastock::Problems problems;
    if (Status s = metastock::readFolderIndex(m_fs, m_index.path, index, problems); !s.ok())
        return s;
    m_index = std::move(index);
    return result;
}

} // namespace store

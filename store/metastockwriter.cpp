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

bool earlier(const Bar& bar, qint32 date)
{
    return bar.date < date;
}

// The first bar dated `date` or later.
auto barAtOrAfter(std::vector<Bar>& bars, qint32 date)
{
    return std::lower_bound(bars.begin(), bars.end(), date, earlier);
}

// The bar dated `date`, or the end.
auto barOf(std::vector<Bar>& bars, qint32 date)
{
    const auto found = barAtOrAfter(bars, date);
    return found != bars.end() && found->date == date ? found : bars.end();
}

// Puts the records of `written` (a header record, then one record per entry) into the entries, so that
// the next rewrite starts from what the file holds now. An entry that was not encoded anew was written
// as the record it holds.
void adoptRecords(const QByteArray& written,
                  int recordSize,
                  QByteArray& header,
                  std::vector<IndexEntry>& entries,
                  QByteArray IndexEntry::*record)
{
    header = written.left(recordSize);
    for (size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].changed || (entries[i].*record).size() != recordSize)
            entries[i].*record = written.mid(qsizetype(i + 1) * recordSize, recordSize);
    }
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

IndexEntry& MetaStockWriter::selectedEntry()
{
    if (!m_selectedEntry)
        m_selectedEntry = findFileNumber(m_selected);
    return *m_selectedEntry;
}

void MetaStockWriter::indexChanged(const IndexEntry& entry)
{
    (entry.inXmaster() ? m_indexChanged.xmaster : m_indexChanged.master) = true;
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
    m_index.path = folder;
    if (Status s = readIndex(); !s.ok())
        return s;
    m_lock = std::move(lock);
    m_open = true;
    m_indexChanged = {};
    m_loaded.clear();
    m_removedFiles.clear();
    m_selected = 0;
    m_selectedEntry = nullptr;
    return {};
}

QString MetaStockWriter::indexStamp() const
{
    auto nameOr = [this](const QString& name) {
        const QString actual = m_index.actualName(name);
        return actual.isEmpty() ? name : actual;
    };
    return m_fs.stamp(
        m_index.path,
        {nameOr(QStringLiteral("MASTER")), nameOr(QStringLiteral("EMASTER")), nameOr(QStringLiteral("XMASTER"))});
}

Status MetaStockWriter::readIndex()
{
    metastock::FolderIndex index;
    metastock::Problems problems;
    if (Status s = metastock::readFolderIndex(m_fs, m_index.path, index, problems); !s.ok())
        return s;
    if (Status s = metastock::damageStatus(problems); !s.ok())
        return s;
    m_index = std::move(index);
    m_indexStamp = indexStamp();
    return {};
}

// Only between securities: with changes pending, the index in memory is the one they were made to.
Status MetaStockWriter::refreshIndex()
{
    const bool pending = m_indexChanged.any() || !m_removedFiles.isEmpty()
        || std::any_of(m_loaded.begin(), m_loaded.end(), [](const auto& loaded) { return loaded.second.changed; });
    if (pending || indexStamp() == m_indexStamp)
        return {};
    m_loaded.clear();
    m_selected = 0;
    m_selectedEntry = nullptr;
    return readIndex();
}

Status MetaStockWriter::CloseFolder()
{
    if (!m_open)
        return notOpen();
    Status result = flush();
    // What the last step renamed goes on the medium before the folder is another writer's.
    if (Status s = settleFolder(m_fs, m_index.path); result.ok())
        result = s;
    m_open = false;
    m_selected = 0;
    m_selectedEntry = nullptr;
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
    if (Status s = refreshIndex(); !s.ok())
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
    for (int number = xmasterNext(); number <= 0xFFFF; ++number) {
        if (fileNumberFree(number))
            return number;
    }
    return 0;
}

Status MetaStockWriter::CreateSecurity(const QString& symbol, const QString& name, qint32 periodicity)
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    if (Status s = refreshIndex(); !s.ok())
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
    indexChanged(entry);
    m_selected = entry.fileNumber;
    m_selectedEntry = &entries.back();
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
    // Rewriting would drop or reorder such bars, so the file is left as it is.
    const bool ordered =
        std::all_of(bars.begin(), bars.end(), [](const Bar& bar) { return metastock::isValidDate(bar.date); })
        && std::adjacent_find(bars.begin(), bars.end(), [](const Bar& a, const Bar& b) { return a.date >= b.date; })
            == bars.end();
    if (!ordered)
        return Status::error(ErrorCode::Damaged,
                             QStringLiteral("%1: the bars are not in ascending date order; the file is left unchanged")
                                 .arg(m_index.actualName(entry.dataFileName())));
    LoadedBars loaded;
    loaded.bars = std::move(bars);
    m_loaded.emplace(entry.fileNumber, std::move(loaded));
    return {};
}

Status MetaStockWriter::select(IndexEntry* entry)
{
    m_selected = 0;
    m_selectedEntry = nullptr;
    if (entry->periodicity != 'I' && !(entry->fields & metastock::TimeField)) {
        if (Status s = loadBars(*entry); !s.ok())
            return s;
    }
    m_selected = entry->fileNumber;
    m_selectedEntry = entry;
    return {};
}

Status MetaStockWriter::SelectSecurity(const QString& symbol)
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    if (Status s = refreshIndex(); !s.ok())
        return s;
    IndexEntry* entry = findSymbol(symbol);
    return entry ? select(entry) : noSuchSymbol(symbol);
}

Status MetaStockWriter::SelectSecurityByName(const QString& name)
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    if (Status s = refreshIndex(); !s.ok())
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
    const qint32 first = loaded.bars.empty() ? entry.firstDate : loaded.bars.front().date;
    const qint32 last = loaded.bars.empty() ? entry.firstDate : loaded.bars.back().date;
    if (first != entry.firstDate || last != entry.lastDate) {
        entry.firstDate = first;
        entry.lastDate = last;
        entry.changed = true;
        indexChanged(entry);
    }
}

// An emptied security's dates move to the newest bar removed (see the class comment).
void MetaStockWriter::barsRemoved(IndexEntry& entry, LoadedBars& loaded, qint32 newestRemoved)
{
    if (loaded.bars.empty() && entry.firstDate != newestRemoved) {
        entry.firstDate = newestRemoved;
        entry.changed = true;
        indexChanged(entry);
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
    Bars& bars = loaded->bars;
    const bool appended = bars.empty() || bars.back().date < date;
    const auto place = appended ? bars.end() : barAtOrAfter(bars, date);
    const bool replaced = place != bars.end() && place->date == date;
    if (bars.size() >= size_t(metastock::maxBarsPerFile) && !replaced)
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
    if (replaced)
        *place = bar;
    else
        bars.insert(place, bar);
    barsChanged(selectedEntry(), *loaded);
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
    exists = barOf(loaded->bars, day) != loaded->bars.end();
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
    const auto bar = barOf(loaded->bars, day);
    if (bar == loaded->bars.end())
        return noBar(day);
    loaded->bars.erase(bar);
    barsRemoved(selectedEntry(), *loaded, day);
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
    const auto begin = barAtOrAfter(loaded->bars, from);
    const auto end = barAtOrAfter(loaded->bars, to + 1);
    if (begin == end)
        return {};
    removed.count = static_cast<qint32>(std::distance(begin, end));
    removed.firstDate = begin->date;
    removed.lastDate = std::prev(end)->date;
    loaded->bars.erase(begin, end);
    barsRemoved(selectedEntry(), *loaded, removed.lastDate);
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
    if (barOf(loaded->bars, day) == loaded->bars.end())
        return noBar(day);
    return AddBar(day, 0, open, high, low, close, volume, openInterest);
}

Status MetaStockWriter::ChangeSecurity(const QString& currentSymbol, const QString& newName, const QString& newSymbol)
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    if (Status s = refreshIndex(); !s.ok())
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
    indexChanged(*entry);
    return {};
}

Status MetaStockWriter::DeleteSecurity(const QString& symbol)
{
    if (Status s = requireOpen(); !s.ok())
        return s;
    if (Status s = refreshIndex(); !s.ok())
        return s;
    const IndexEntry* entry = findSymbol(symbol);
    if (!entry)
        return noSuchSymbol(symbol);
    const int number = entry->fileNumber;
    indexChanged(*entry);
    const QString file = m_index.actualName(entry->dataFileName());
    if (!file.isEmpty())
        m_removedFiles << file;
    for (auto* entries : {&m_index.masterEntries, &m_index.xmasterEntries})
        std::erase_if(*entries, [number](const IndexEntry& e) { return e.fileNumber == number; });
    m_loaded.erase(number);
    if (m_selected == number)
        m_selected = 0;
    m_selectedEntry = nullptr; // the erase moved the entries after it
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
    m_selectedEntry = nullptr;
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
    QStringList written;
    auto replace = [&](const QString& name, const QByteArray& bytes) {
        written << nameOf(name);
        transaction.replace(written.back(), bytes);
    };
    for (auto& [number, loaded] : m_loaded) {
        if (loaded.changed) {
            const IndexEntry* entry = findFileNumber(number);
            replace(entry->dataFileName(), metastock::encodeDataFile(entry->fields, loaded.bars));
        }
    }
    // MASTER and EMASTER are written together so that they always describe the same securities. An
    // index file whose securities did not change is left alone: a new security past 255 rewrites
    // XMASTER only.
    QByteArray master;
    QByteArray emaster;
    QByteArray xmaster;
    if (m_indexChanged.master
        && (!m_index.masterEntries.empty() || !m_index.masterFile.isEmpty() || !m_index.emasterFile.isEmpty())) {
        master = metastock::encodeMaster(m_index.masterHeader, m_index.masterEntries);
        emaster = metastock::encodeEmaster(m_index.emasterHeader, m_index.masterEntries);
        replace(QStringLiteral("MASTER"), master);
        replace(QStringLiteral("EMASTER"), emaster);
    }
    if (m_indexChanged.xmaster && (!m_index.xmasterEntries.empty() || !m_index.xmasterFile.isEmpty())) {
        xmaster = metastock::encodeXmaster(m_index.xmasterHeader, m_index.xmasterEntries, xmasterNext());
        replace(QStringLiteral("XMASTER"), xmaster);
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
    // durable) is reported; the next OpenFolder finishes what is left. The index in memory becomes what
    // the folder now holds, without reading it back: a long session (a conversion) would otherwise read
    // the whole index and list the folder after every security.
    for (auto& [number, loaded] : m_loaded)
        loaded.changed = false;
    for (const QString& name : std::as_const(written))
        m_index.files.insert(name.toUpper(), name);
    for (const QString& name : std::as_const(m_removedFiles))
        m_index.files.remove(name.toUpper());
    m_removedFiles.clear();
    m_indexChanged = {};
    adoptWritten(master, emaster, xmaster);
    m_indexStamp = indexStamp();
    return result;
}

int MetaStockWriter::xmasterNext() const
{
    int next = std::max(metastock::firstXmasterFileNumber, m_index.xmasterNext);
    for (const IndexEntry& entry : m_index.xmasterEntries)
        next = std::max(next, entry.fileNumber + 1);
    return next;
}

void MetaStockWriter::adoptWritten(const QByteArray& master, const QByteArray& emaster, const QByteArray& xmaster)
{
    using namespace metastock;
    if (!master.isEmpty()) {
        adoptRecords(master, masterRecordSize, m_index.masterHeader, m_index.masterEntries, &IndexEntry::masterRecord);
        adoptRecords(emaster,
                     emasterRecordSize,
                     m_index.emasterHeader,
                     m_index.masterEntries,
                     &IndexEntry::emasterRecord);
        m_index.masterFile = m_index.actualName(QStringLiteral("MASTER"));
        m_index.emasterFile = m_index.actualName(QStringLiteral("EMASTER"));
        for (size_t i = 0; i < m_index.masterEntries.size(); ++i) {
            IndexEntry& entry = m_index.masterEntries[i];
            entry.changed = false;
            entry.recordNumber = int(i + 1);
            entry.kind = entry.name.size() > masterNameLength ? IndexKind::Emaster : IndexKind::Master;
        }
    }
    if (!xmaster.isEmpty()) {
        adoptRecords(xmaster,
                     xmasterRecordSize,
                     m_index.xmasterHeader,
                     m_index.xmasterEntries,
                     &IndexEntry::xmasterRecord);
        m_index.xmasterFile = m_index.actualName(QStringLiteral("XMASTER"));
        m_index.xmasterNext = xmasterNextFileNumber(xmaster);
        for (size_t i = 0; i < m_index.xmasterEntries.size(); ++i) {
            m_index.xmasterEntries[i].changed = false;
            m_index.xmasterEntries[i].recordNumber = int(i + 1);
        }
    }
}

} // namespace store

#include "folderinput.h"

#include "store/metastock/folder.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"

#include <QDir>
#include <QFile>

#include <iterator>

namespace fuzz {

namespace {

// Flushing to the medium only slows the search for faults down.
class NoSyncFileSystem : public store::FileSystem
{
public:
    store::Status syncFiles(const QStringList&) override { return {}; }

    store::Status syncFolder(const QString&) override { return {}; }

    store::Status syncFilesAndFolder(const QStringList&, const QString&) override { return {}; }
};

void writeFiles(const uint8_t* data, size_t size, QDir dir)
{
    // The index and data files, and what an interrupted writer leaves: its journals and a temporary file.
    static const char* const names[] = {"MASTER",
                                        "EMASTER",
                                        "XMASTER",
                                        "F1.DAT",
                                        "F2.DAT",
                                        "F256.MWD",
                                        "TICKSMITH.JNL",
                                        "TICKSMITH.JN2",
                                        "TICKSMITH.JNA",
                                        "MASTER.TSTM2"};
    for (const QString& name : dir.entryList(QDir::Files))
        dir.remove(name);
    size_t at = 0;
    while (at + 3 <= size) {
        const char* name = names[data[at] % std::size(names)];
        const size_t length = std::min<size_t>(data[at + 1] | (data[at + 2] << 8), size - at - 3);
        QFile file(dir.filePath(QLatin1String(name)));
        if (file.open(QIODevice::WriteOnly | QIODevice::Append))
            file.write(reinterpret_cast<const char*>(data + at + 3), qint64(length));
        at += 3 + length;
    }
}

void readEverything(store::FileSystem& fs, const QString& folder)
{
    store::MetaStockReader reader(fs);
    if (!reader.OpenFolder(folder).ok())
        return;
    qint32 more = 0;
    while (reader.HasMoreSecurities(more).ok() && more > 0) {
        store::SecurityDescriptor security;
        if (!reader.NextSecurity().ok() || !reader.GetSecurity(security).ok())
            break;
        if (!reader.SelectSecurity(security.symbol).ok())
            continue;
        (void)reader.SetDateField(2);
        qint32 count = 0;
        (void)reader.GetBarCount(count);
        while (reader.HasMoreBars(more).ok() && more > 0 && reader.ReadNextBar().ok()) {
            store::PriceBar bar;
            (void)reader.GetBar(bar);
        }
        (void)reader.CloseSecurity();
    }
    (void)reader.Close();
}

} // namespace

void runFolderInput(const uint8_t* data, size_t size, const QString& folder)
{
    writeFiles(data, size, QDir(folder));
    NoSyncFileSystem fs;
    fs.lockTimeoutMs = 0;
    readEverything(fs, folder);
    store::metastock::Problems problems;
    (void)store::metastock::checkFolder(fs, folder, problems);

    store::MetaStockWriter writer(fs);
    if (!writer.OpenFolder(folder).ok())
        return;
    bool exists = false;
    if (writer.SecurityExists(QStringLiteral("FUZZ"), exists).ok() && !exists
        && writer.CreateSecurity(QStringLiteral("FUZZ"), QStringLiteral("A fuzzed security with a long name"), 1)
               .ok()) {
        (void)writer.AddBar(20200102, 0, 1, 2, 0.5, 1.5, 100, 0);
    }
    (void)writer.CloseFolder();
    readEverything(fs, folder);
}

} // namespace fuzz

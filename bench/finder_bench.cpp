// Times SecuritySearch on a generated tree of 100 data folders (10 folders with 9 subfolders each)
// holding 200 securities each, 20,000 in all: one search per pattern over the whole tree, with every
// hit read back as the finder window and the find command read them. Prints the time of each search,
// its hits and the peak memory of the process (generation included).

#include "benchsupport.h"
#include "store/metastockwriter.h"
#include "store/securitysearch.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace {

using bench::check;
using bench::NoSyncFileSystem;
using bench::peakMegabytes;

constexpr int kFolders = 100;
constexpr int kSecuritiesPerFolder = 200;

// Symbols and names of the kinds users search for: exchange suffixes, common prefixes, words in names.
void writeFolder(store::FileSystem& fs, const QString& folder, int number)
{
    static const char* const prefixes[] = {"BH", "RIO", "ANZ", "WOW", "CBA", "FMG", "NCM", "WES"};
    static const char* const suffixes[] = {".AX", ".L", "", ".TO", ".DE"};
    static const char* const words[] = {"Mining", "Bank", "Energy", "Retail", "Holdings", "Gold", "Telecom"};
    store::MetaStockWriter writer(fs);
    check(writer.CreateFolder(folder), "CreateFolder");
    check(writer.OpenFolder(folder), "OpenFolder");
    for (int i = 0; i < kSecuritiesPerFolder; ++i) {
        const int n = number * kSecuritiesPerFolder + i;
        const QString symbol =
            QStringLiteral("%1%2%3").arg(QLatin1String(prefixes[n % 8])).arg(n).arg(QLatin1String(suffixes[n % 5]));
        const QString name = QStringLiteral("Company %1 %2 Limited").arg(n).arg(QLatin1String(words[(n / 8) % 7]));
        check(writer.CreateSecurity(symbol, name, 1), "CreateSecurity");
    }
    check(writer.CloseFolder(), "CloseFolder");
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QTemporaryDir root;
    NoSyncFileSystem fs;
    QElapsedTimer timer;
    timer.start();
    for (int f = 0; f < kFolders; ++f) {
        const QString top = root.filePath(QStringLiteral("market%1").arg(f / 10));
        writeFolder(fs, f % 10 == 0 ? top : QDir(top).filePath(QStringLiteral("sub%1").arg(f % 10)), f);
    }
    std::printf("generated %d securities in %d folders: %8.3f s, peak memory %.1f MB\n",
                kFolders * kSecuritiesPerFolder,
                kFolders,
                double(timer.nsecsElapsed()) / 1e9,
                peakMegabytes());

    for (const char* pattern : {"*", "BH*", "*.AX", "*MINING*", "NOTHING"}) {
        timer.restart();
        store::SecuritySearch search;
        check(search.SetIncludeSubfolders(true), "SetIncludeSubfolders");
        check(search.Start(QLatin1String(pattern), root.path()), "Start");
        int hits = 0;
        for (store::Status s; s.ok(); s = search.NextHit()) {
            QString folder, fileName, symbol, name;
            if (!search.GetFolder(folder).ok() || !search.GetFileName(fileName).ok() || !search.GetSymbol(symbol).ok()
                || !search.GetName(name).ok())
                break;
            ++hits;
        }
        std::printf("search %-10s %6d hits: %8.3f s\n", pattern, hits, double(timer.nsecsElapsed()) / 1e9);
    }
    std::printf("peak memory:                 %8.1f MB\n", peakMegabytes());
    return 0;
}

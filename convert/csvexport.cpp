#include "csvexport.h"

#include "csvformat.h"
#include "store/filesystem.h"
#include "store/metastockreader.h"

#include <QDir>

#include <future>
#include <optional>
#include <string>
#include <vector>

namespace convert {

namespace {

// The characters the file system refuses in a file name: the separators, and on Windows a few more.
bool holdsForbiddenCharacter(const QString& fileName, QChar& found)
{
#ifdef Q_OS_WIN
    const QString forbidden = QStringLiteral("/\\:*?\"<>|");
#else
    const QString forbidden = QStringLiteral("/");
#endif
    for (QChar c : fileName) {
        if (forbidden.contains(c) || c.unicode() < 0x20) {
            found = c;
            return true;
        }
    }
    return false;
}

// The bars of the selected security; false when two share a date (intraday data).
bool readDailyBars(store::MetaStockReader& reader, std::vector<store::PriceBar>& bars)
{
    qint32 more = 0;
    store::PriceBar bar;
    while (reader.HasMoreBars(more).ok() && more > 0 && reader.ReadNextBar().ok() && reader.GetBar(bar).ok()) {
        if (!bars.empty() && bars.back().date == bar.date)
            return false;
        bars.push_back(bar);
    }
    return true;
}

// A security read and on its way to a file: its text is made on another thread.
struct Pending
{
    int done = 0;
    QString fileName;
    qint64 bars = 0;
    std::future<std::string> text; // not valid when the security is left out
};

} // namespace

store::Status exportFolder(store::FileSystem& fs,
                           const QString& source,
                           const QString& destination,
                           const QLocale& locale,
                           ConversionReport& report,
                           const Progress& progress)
{
    report = ConversionReport();
    store::MetaStockReader reader(fs);
    if (store::Status s = reader.OpenFolder(source); !s.ok())
        return s;
    if (store::Status s = fs.makeFolder(destination); !s.ok())
        return s;
    qint32 more = 0;
    (void)reader.HasMoreSecurities(more);
    report.total = more;

    // A security's bars are read on this thread and turned into text on a second one while this one
    // writes the file of the security before: formatting the numbers is the larger half of the work.
    // The file system is used from this thread only; the formatting thread has the line writer to itself.
    CsvLineWriter lines(locale);
    std::optional<Pending> previous;
    store::Status failure;
    // Writes the file of `pending`; false when the run stops.
    auto finish = [&](Pending& pending) {
        if (pending.text.valid()) {
            const std::string text = pending.text.get();
            const QString path = QDir(destination).filePath(pending.fileName);
            const QString temporary = path + QStringLiteral(".part");
            failure = fs.writeFile(temporary, QByteArray::fromRawData(text.data(), qsizetype(text.size())));
            if (failure.ok())
                failure = fs.rename(temporary, path);
            if (!failure.ok()) {
                (void)fs.remove(temporary);
                report.problems.push_back({pending.fileName, 0, failure.text()});
                return false;
            }
            ++report.converted;
            report.bars += pending.bars;
        }
        if (progress && !progress(pending.done, report.total, pending.fileName)) {
            report.cancelled = true;
            return false;
        }
        return true;
    };
    for (int done = 1; reader.HasMoreSecurities(more).ok() && more > 0; ++done) {
        store::SecurityDescriptor security;
        if (store::Status s = reader.NextSecurity(); !s.ok())
            return s;
        (void)reader.GetSecurity(security);
        Pending current{done, csvFileName(security.name, security.symbol), 0, {}};
        QString problem;
        std::vector<store::PriceBar> bars;
        QChar forbidden;
        if (holdsForbiddenCharacter(current.fileName, forbidden)) {
            problem = QStringLiteral("the security %1 (%2) cannot be written: a file name cannot hold \"%3\"")
                          .arg(security.symbol, security.name, QString(forbidden));
        } else if (store::Status s = reader.SelectSecurity(security.symbol); !s.ok()) {
            problem = s.text();
        } else if (!readDailyBars(reader, bars)) {
            problem = QStringLiteral("the security %1 holds several bars a day (intraday data), which a file of "
                                     "one line per date cannot keep apart")
                          .arg(security.symbol);
        }
        (void)reader.CloseSecurity();
        if (previous && !finish(*previous))
            return failure;
        if (problem.isEmpty()) {
            current.bars = qint64(bars.size());
            current.text = std::async(std::launch::async, [&lines, bars = std::move(bars)] {
                std::string text;
                lines.appendHeader(text);
                for (const store::PriceBar& bar : bars)
                    lines.appendBar(text, bar);
                return text;
            });
        } else {
            report.problems.push_back({current.fileName, 0, problem});
        }
        previous = std::move(current);
    }
    if (previous && !finish(*previous))
        return failure;
    (void)reader.Close();
    return {};
}

} // namespace convert

#include "csvexport.h"

#include "csvformat.h"
#include "store/filesystem.h"
#include "store/metastockreader.h"

#include <QDir>

#include <deque>
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
    QString problem; // why it is left out; empty when it is written
    std::vector<store::PriceBar> bars; // handed to the formatting thread
    qint64 barCount = 0;
    std::future<std::string> text;
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

    // Formatting the numbers is half of the work, so it runs on other threads: two securities are
    // turned into text at a time while this thread reads the next and writes the files in order. The
    // file system is used from this thread only; each formatting thread has a line writer to itself.
    CsvLineWriter lineWriters[2] = {CsvLineWriter(locale), CsvLineWriter(locale)};
    store::Status failure;
    // The next security into `pending`; false at the end of the folder or when it cannot be read on.
    auto readNext = [&](Pending& pending, int done) {
        if (!reader.HasMoreSecurities(more).ok() || more <= 0)
            return false;
        if (failure = reader.NextSecurity(); !failure.ok())
            return false;
        store::SecurityDescriptor security;
        (void)reader.GetSecurity(security);
        pending = Pending{done, csvFileName(security.name, security.symbol), {}, {}, 0, {}};
        QChar forbidden;
        if (holdsForbiddenCharacter(pending.fileName, forbidden)) {
            pending.problem = QStringLiteral("the security %1 (%2) cannot be written: a file name cannot hold \"%3\"")
                                  .arg(security.symbol, security.name, QString(forbidden));
        } else if (store::Status s = reader.SelectSecurity(security.symbol); !s.ok()) {
            pending.problem = s.text();
        } else if (!readDailyBars(reader, pending.bars)) {
            pending.problem = QStringLiteral("the security %1 holds several bars a day (intraday data), which a "
                                             "file of one line per date cannot keep apart")
                                  .arg(security.symbol);
        }
        (void)reader.CloseSecurity();
        return true;
    };
    // Writes the file of `written` with `text`; false when the run stops.
    auto finish = [&](const Pending& written, const std::string& text) {
        if (!written.problem.isEmpty()) {
            report.problems.push_back({written.fileName, 0, written.problem});
        } else {
            const QString path = QDir(destination).filePath(written.fileName);
            const QString temporary = path + QStringLiteral(".part");
            failure = fs.writeFile(temporary, QByteArray::fromRawData(text.data(), qsizetype(text.size())));
            if (failure.ok())
                failure = fs.rename(temporary, path);
            if (!failure.ok()) {
                (void)fs.remove(temporary);
                report.problems.push_back({written.fileName, 0, failure.text()});
                return false;
            }
            ++report.converted;
            report.bars += written.barCount;
        }
        if (progress && !progress(written.done, report.total, written.fileName)) {
            report.cancelled = true;
            return false;
        }
        return true;
    };

    std::deque<Pending> inFlight; // in file order, the oldest first
    auto finishOldest = [&] {
        Pending oldest = std::move(inFlight.front());
        inFlight.pop_front();
        return finish(oldest, oldest.text.valid() ? oldest.text.get() : std::string());
    };
    Pending current;
    for (int done = 1; readNext(current, done); ++done) {
        // The oldest used the line writer the new one is given.
        if (inFlight.size() == 2 && !finishOldest())
            return failure;
        if (current.problem.isEmpty()) {
            current.barCount = qint64(current.bars.size());
            current.text = std::async(anotherThread, [&lines = lineWriters[done % 2], bars = std::move(current.bars)] {
                std::string text;
                lines.appendHeader(text);
                for (const store::PriceBar& bar : bars)
                    lines.appendBar(text, bar);
                return text;
            });
        }
        inFlight.push_back(std::move(current));
    }
    if (!failure.ok())
        return failure;
    while (!inFlight.empty()) {
        if (!finishOldest())
            return failure;
    }
    (void)reader.Close();
    return {};
}

} // namespace convert

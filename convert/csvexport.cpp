#include "csvexport.h"

#include "csvformat.h"
#include "store/filesystem.h"
#include "store/metastockreader.h"

#include <QDir>

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
    CsvLineWriter lines(locale);
    std::string text;
    for (int done = 1; reader.HasMoreSecurities(more).ok() && more > 0; ++done) {
        store::SecurityDescriptor security;
        if (store::Status s = reader.NextSecurity(); !s.ok())
            return s;
        (void)reader.GetSecurity(security);
        const QString fileName = csvFileName(security.name, security.symbol);
        auto problem = [&](const QString& why) { report.problems.push_back({fileName, 0, why}); };
        QChar forbidden;
        text.clear();
        qint64 bars = 0;
        if (holdsForbiddenCharacter(fileName, forbidden)) {
            problem(QStringLiteral("the security %1 (%2) cannot be written: a file name cannot hold \"%3\"")
                        .arg(security.symbol, security.name, QString(forbidden)));
        } else if (store::Status s = reader.SelectSecurity(security.symbol); !s.ok()) {
            problem(s.text());
        } else {
            lines.appendHeader(text);
            store::PriceBar bar;
            qint32 previous = 0;
            while (reader.HasMoreBars(more).ok() && more > 0 && reader.ReadNextBar().ok() && reader.GetBar(bar).ok()) {
                if (bar.date == previous) {
                    problem(QStringLiteral("the security %1 holds several bars a day (intraday data), which a file "
                                           "of one line per date cannot keep apart")
                                .arg(security.symbol));
                    text.clear();
                    break;
                }
                previous = bar.date;
                lines.appendBar(text, bar);
                ++bars;
            }
            (void)reader.CloseSecurity();
        }
        if (!text.empty()) {
            const QString path = QDir(destination).filePath(fileName);
            const QString temporary = path + QStringLiteral(".part");
            store::Status s = fs.writeFile(temporary, QByteArray::fromRawData(text.data(), qsizetype(text.size())));
            if (s.ok())
                s = fs.rename(temporary, path);
            if (!s.ok()) {
                (void)fs.remove(temporary);
                problem(s.text());
                return s;
            }
            ++report.converted;
            report.bars += bars;
        }
        if (progress && !progress(done, report.total, fileName)) {
            report.cancelled = true;
            break;
        }
    }
    (void)reader.Close();
    return {};
}

} // namespace convert

#include "metastockconverter.h"

#include "csvformat.h"
#include "store/arguments.h"
#include "store/filesystem.h"
#include "store/metastockwriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <deque>
#include <future>

namespace convert {

namespace {

// The securities' data go into the folder one at a time; what one file brings is checked whole before
// the writer sees any of it, so a bad file changes nothing.
struct Security
{
    QString name;
    QString symbol;
    std::vector<store::PriceBar> bars;
};

// The security a file names and its bars, or false with the problem.
bool readSecurity(const QString& path, CsvBarReader& reader, Security& security, FileProblem& problem)
{
    const CsvFileName named = splitCsvFileName(QFileInfo(path).fileName());
    store::Status status = store::normalizeSymbol(named.symbol, security.symbol);
    if (status.ok())
        status = store::normalizeName(named.name, security.name);
    if (!status.ok()) {
        problem.text = status.text();
        return false;
    }
    QFile input(path);
    if (!input.open(QIODevice::ReadOnly)) {
        problem.text = QStringLiteral("cannot be read: %1").arg(input.errorString());
        return false;
    }
    CsvProblem read;
    if (!reader.read(input, security.bars, read)) {
        problem.line = read.line;
        problem.text = read.text;
        return false;
    }
    return true;
}

store::Status writeSecurity(store::MetaStockWriter& writer, const Security& security)
{
    bool exists = false;
    if (store::Status s = writer.SecurityExists(security.symbol, exists); !s.ok())
        return s;
    store::Status status = exists ? writer.SelectSecurity(security.symbol)
                                  : writer.CreateSecurity(security.symbol, security.name, store::Daily);
    for (const store::PriceBar& bar : security.bars) {
        if (!status.ok())
            break;
        status = writer.AddBar(bar);
    }
    if (status.ok())
        status = writer.CloseSecurity();
    return status;
}

} // namespace

MetaStockConverter::MetaStockConverter(const QLocale& locale)
    : m_ownFs(std::make_unique<store::FileSystem>())
    , m_fs(*m_ownFs)
    , m_locale(locale)
{}

MetaStockConverter::MetaStockConverter(store::FileSystem& fs, const QLocale& locale)
    : m_fs(fs)
    , m_locale(locale)
{}

MetaStockConverter::~MetaStockConverter() = default;

store::Status MetaStockConverter::Convert(const QString& source, const QString& destination, const QString& kind)
{
    m_report = ConversionReport();
    if (kind.compare(QLatin1String("CSV"), Qt::CaseInsensitive) != 0)
        return store::Status::error(store::ErrorCode::InvalidArgument,
                                    QStringLiteral("\"%1\" is not a kind of file the converter reads (CSV)").arg(kind));
    if (!m_fs.isFolder(source))
        return store::Status::error(
            store::ErrorCode::NotFound,
            QStringLiteral("The folder %1 does not exist").arg(QDir::toNativeSeparators(source)));
    QStringList files;
    for (const QString& name : m_fs.fileNames(source)) {
        if (name.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive) && name.size() > 4)
            files << name;
    }
    m_report.total = int(files.size());

    auto writer = std::make_unique<store::MetaStockWriter>(m_fs);
    if (store::Status s = writer->CreateFolder(destination); !s.ok())
        return s;
    if (store::Status s = writer->OpenFolder(destination); !s.ok())
        return s;
    // Reading and checking a file costs more than storing it, so the next two files are read on other
    // threads while the writer stores the one before them, in file order. Each reading thread has a CSV
    // reader to itself.
    CsvBarReader readers[2] = {CsvBarReader(m_locale), CsvBarReader(m_locale)};

    struct ReadFile
    {
        Security security;
        FileProblem problem;
        bool ok = false;
    };

    auto readFile = [&](int index) {
        return std::async(anotherThread, [&, index] {
            ReadFile read;
            read.problem = {files[index], 0, {}};
            read.ok =
                readSecurity(QDir(source).filePath(files[index]), readers[index % 2], read.security, read.problem);
            return read;
        });
    };
    std::deque<std::future<ReadFile>> reading; // files[done - 1] and the one after it
    for (int index = 0; index < std::min(2, int(files.size())); ++index)
        reading.push_back(readFile(index));
    for (int done = 1; done <= files.size(); ++done) {
        const QString& file = files[done - 1];
        const ReadFile read = reading.front().get();
        reading.pop_front();
        // Its reader is free now.
        if (done + 1 < files.size())
            reading.push_back(readFile(done + 1));
        const Security& security = read.security;
        if (!read.ok) {
            m_report.problems.push_back(read.problem);
        } else if (const store::Status s = writeSecurity(*writer, security); s.ok()) {
            ++m_report.converted;
            m_report.bars += qint64(security.bars.size());
        } else {
            m_report.problems.push_back({file, 0, s.text()});
            // What the writer still holds of this security is dropped with it; the folder keeps the
            // securities written before. A folder that cannot be written stops the run.
            if (s.code() == store::ErrorCode::Io || s.code() == store::ErrorCode::Busy)
                return s;
            writer = std::make_unique<store::MetaStockWriter>(m_fs);
            if (store::Status reopened = writer->OpenFolder(destination); !reopened.ok())
                return reopened;
        }
        if (m_progress && !m_progress(done, m_report.total, file)) {
            m_report.cancelled = true;
            break;
        }
    }
    return writer->CloseFolder();
}

} // namespace convert

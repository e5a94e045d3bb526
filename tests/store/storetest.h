#pragma once

#include "paramnames.h"
#include "qtprinters.h"
#include "store/filesystem.h"
#include "store/metastock/folder.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"
#include "store/status.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QString>

#include <gtest/gtest.h>

#include <cctype>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

// Fails the test with the status text when an operation of the data component fails.
#define STORE_CHECK_STATUS_(check, expression, errorCode)                                                              \
    do {                                                                                                               \
        const ::store::Status status_ = (expression);                                                                  \
        check(status_.code(), errorCode) << #expression << ": " << qPrintable(status_.text());                         \
    } while (false)
#define ASSERT_OK(expression) STORE_CHECK_STATUS_(ASSERT_EQ, expression, ::store::ErrorCode::None)
#define EXPECT_OK(expression) STORE_CHECK_STATUS_(EXPECT_EQ, expression, ::store::ErrorCode::None)
#define EXPECT_FAILS_WITH(expression, errorCode) STORE_CHECK_STATUS_(EXPECT_EQ, expression, errorCode)

namespace store_test {

// For tests about layout rather than durability: flushing thousands of files to the medium only makes
// them slow.
class NoSyncFileSystem : public store::FileSystem
{
public:
    store::Status syncFiles(const QStringList&) override { return {}; }

    store::Status syncFolder(const QString&) override { return {}; }

    store::Status syncFilesAndFolder(const QStringList&, const QString&) override { return {}; }
};

// Every file of a folder with its bytes; the lock file of a running writer is left out.
inline QMap<QString, QByteArray> snapshot(const QString& folder)
{
    QMap<QString, QByteArray> files;
    const QStringList names = QDir(folder).entryList(QDir::Files | QDir::Hidden);
    for (const QString& name : names) {
        if (store::FolderLock::isLockFile(name))
            continue;
        QFile file(QDir(folder).filePath(name));
        if (file.open(QIODevice::ReadOnly))
            files.insert(name, file.readAll());
    }
    return files;
}

// Bytes written as hexadecimal pairs, blanks allowed between them.
inline QByteArray hex(const char* text)
{
    return QByteArray::fromHex(QByteArray(text).replace(' ', ""));
}

using testing_support::nameOf;

// A test parameter with a `what` is shown in test lists by it rather than as a dump of its bytes; a test
// file brings this in with `using store_test::operator<<;` beside its parameters.
template<class Param>

requires requires(const Param& param)
{
    std::string_view(param.what);
}

std::ostream& operator<<(std::ostream& out, const Param& param)
{
    return out << param.what;
}

inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

// The problems `check` reports for a folder, one text per line, empty when the folder is sound.
inline QString problemsOf(const QString& folder, store::FileSystem& fs)
{
    store::metastock::Problems problems;
    const store::Status status = store::metastock::checkFolder(fs, folder, problems);
    QString text = status.ok() ? QString() : status.text() + u'\n';
    for (const auto& problem : problems)
        text += problem.file + QStringLiteral(": ") + problem.text + u'\n';
    return text;
}

inline QString problemsOf(const QString& folder)
{
    store::FileSystem fs;
    return problemsOf(folder, fs);
}

// Every security of a folder as the reader lists it.
inline std::vector<store::SecurityDescriptor> securitiesOf(const QString& folder)
{
    std::vector<store::SecurityDescriptor> found;
    store::MetaStockReader reader;
    EXPECT_OK(reader.OpenFolder(folder));
    qint32 more = 0;
    while (reader.HasMoreSecurities(more).ok() && more > 0 && reader.NextSecurity().ok()) {
        EXPECT_OK(reader.GetSecurity(found.emplace_back()));
    }
    EXPECT_OK(reader.Close());
    return found;
}

// Each security of a folder as "SYMBOL|Name|periodicity|first date", to compare a whole listing at once.
inline QStringList listingOf(const QString& folder)
{
    QStringList lines;
    for (const store::SecurityDescriptor& security : securitiesOf(folder))
        lines << QStringLiteral("%1|%2|%3|%4")
                     .arg(security.symbol, security.name)
                     .arg(security.periodicity)
                     .arg(security.firstDate);
    return lines;
}

// The texts of every message and question a window showed, in order.
template<class Prompter>
QStringList promptTexts(const Prompter& prompter)
{
    QStringList texts;
    for (const auto& prompt : prompter.prompts)
        texts << prompt.text;
    return texts;
}

// Every bar of a security as the reader delivers them.
inline std::vector<store::PriceBar> barsOf(const QString& folder, const QString& symbol)
{
    std::vector<store::PriceBar> bars;
    store::MetaStockReader reader;
    EXPECT_OK(reader.OpenFolder(folder));
    EXPECT_OK(reader.SelectSecurity(symbol));
    qint32 more = 0;
    while (reader.HasMoreBars(more).ok() && more > 0 && reader.ReadNextBar().ok())
        EXPECT_OK(reader.GetBar(bars.emplace_back()));
    return bars;
}

inline std::vector<qint32> barDatesOf(const QString& folder, const QString& symbol)
{
    std::vector<qint32> dates;
    for (const store::PriceBar& bar : barsOf(folder, symbol))
        dates.push_back(bar.date);
    return dates;
}

// A daily security for makeFolder, with a bar (open 1, high 2, low 0.5, close 1.5, volume 100) on each date.
struct Security
{
    QString symbol;
    QString name;
    std::vector<qint32> dates = {};
};

// Creates the folder when missing and adds the securities to it.
inline void makeFolder(const QString& folder, const std::vector<Security>& securities)
{
    NoSyncFileSystem fs;
    store::MetaStockWriter writer(fs);
    ASSERT_OK(writer.CreateFolder(folder));
    ASSERT_OK(writer.OpenFolder(folder));
    for (const Security& security : securities) {
        ASSERT_OK(writer.CreateSecurity(security.symbol, security.name, store::Daily));
        for (qint32 date : security.dates)
            ASSERT_OK(writer.AddBar({date, 0, 1, 2, 0.5, 1.5, 100, 0}));
    }
    ASSERT_OK(writer.CloseFolder());
}

// ABC "Alpha" with bars of 2 to 5 January 2024, and DEF "Delta" without bars.
inline void makeAlphaAndDelta(const QString& folder)
{
    makeFolder(folder, {{"ABC", "Alpha", {20240102, 20240103, 20240104, 20240105}}, {"DEF", "Delta"}});
}

// A run of the real ticksmith-cli: its exit status and what it printed.
struct CliRun
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

inline CliRun cli(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(TICKSMITH_BUILD_DIR "/ticksmith-cli"), arguments);
    CliRun run;
    if (!process.waitForFinished(30000))
        return run;
    run.status = process.exitCode();
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

// Bad arguments: exit status 2, a message on standard error and nothing on standard output.
inline void expectRefused(const QStringList& arguments)
{
    const CliRun run = cli(arguments);
    EXPECT_EQ(run.status, 2) << qPrintable(arguments.join(u' '));
    EXPECT_FALSE(run.err.isEmpty());
    EXPECT_TRUE(run.out.isEmpty());
}

} // namespace store_test

// Whole folders both ways: the round trip, what is left out and reported, and that a failure leaves
// nothing half-written.

#include "convert/csvexport.h"
#include "convert/csvformat.h"
#include "convert/metastockconverter.h"
#include "convertfixture.h"

#include <QDir>
#include <QTemporaryDir>

using namespace convert_test;

namespace {

const QLocale english(QLocale::English, QLocale::UnitedStates);

store::Status exportTo(const QString& source,
                       const QString& destination,
                       convert::ConversionReport& report,
                       const QLocale& locale = english)
{
    store::FileSystem fs;
    return convert::exportFolder(fs, source, destination, locale, report);
}

store::Status importTo(const QString& source,
                       const QString& destination,
                       convert::ConversionReport& report,
                       const QLocale& locale = english)
{
    NoSyncFileSystem fs;
    convert::MetaStockConverter converter(fs, locale);
    const store::Status status = converter.Convert(source, destination, "CSV");
    report = converter.report();
    return status;
}

QStringList problemTexts(const convert::ConversionReport& report)
{
    QStringList texts;
    for (const convert::FileProblem& problem : report.problems)
        texts << problem.message();
    return texts;
}

class RoundTrip : public ::testing::TestWithParam<QLocale::Language>
{};

// Every locale's date and number form reads back.
TEST_P(RoundTrip, GivesBackEveryBar)
{
    QTemporaryDir dir;
    const QString source = dir.filePath("source");
    const QString csv = dir.filePath("csv");
    const QString back = dir.filePath("back");
    makeFolder(source, 4, 40);
    const QLocale locale(GetParam(), QLocale::AnyTerritory);
    convert::ConversionReport exported, imported;
    ASSERT_OK(exportTo(source, csv, exported, locale));
    ASSERT_OK(importTo(csv, back, imported, locale));
    EXPECT_EQ(QList<int>({exported.converted, imported.converted}), QList<int>({4, 4}));
    EXPECT_EQ(problemTexts(imported), QStringList());
    const FolderBars expected = barsOf(source);
    const FolderBars actual = barsOf(back);
    ASSERT_EQ(actual.keys(), expected.keys());
    for (const QString& symbol : expected.keys())
        expectSameBars(actual[symbol], expected[symbol], symbol);
}

INSTANTIATE_TEST_SUITE_P(Convert,
                         RoundTrip,
                         ::testing::Values(QLocale::English, QLocale::German, QLocale::Swedish, QLocale::Japanese),
                         [](const auto& param) { return QLocale::languageToCode(param.param).toStdString(); });

// Real folders written by other tools. Files cannot hold a "/" of a name, and a name whose first 10
// characters hold a dot (and that is not the symbol) may read back under another symbol; every other security comes
// back whole. Of the large folder every tenth file is read back (still reaching XMASTER), as each security is a step of
// its own on the disk.
class SampleRoundTrip : public ::testing::TestWithParam<const char*>
{};

TEST_P(SampleRoundTrip, GivesBackEveryBarOfEveryDailySecurity)
{
    const QString folder = QStringLiteral(TICKSMITH_SHARED_DIR "/metastock-samples/%1/folder").arg(GetParam());
    if (!QDir(folder).exists())
        GTEST_SKIP() << "the shared samples are not beside this checkout: " << qPrintable(folder);
    QTemporaryDir dir;
    const QString csv = dir.filePath("csv");
    const QString back = dir.filePath("back");
    convert::ConversionReport exported, imported;
    ASSERT_OK(exportTo(folder, csv, exported));
    const QStringList written = QDir(csv).entryList(QDir::Files, QDir::Name);
    const int every = 1 + int(written.size()) / 300;
    for (qsizetype i = 0; i < written.size(); ++i) {
        if (i % every != 0)
            QFile::remove(QDir(csv).filePath(written[i]));
    }
    ASSERT_OK(importTo(csv, back, imported));
    EXPECT_EQ(problemTexts(imported), QStringList());
    EXPECT_EQ(imported.converted, (written.size() + every - 1) / every);
    const FolderBars actual = barsOf(back);
    const FolderBars original = barsOf(folder);
    int compared = 0, left = 0;
    for (const store::SecurityDescriptor& security : store_test::securitiesOf(folder)) {
        const QString file = convert::csvFileName(security.name, security.symbol);
        if (!written.contains(file))
            ++left;
        if (!QFile::exists(QDir(csv).filePath(file)))
            continue;
        const QString symbol = convert::splitCsvFileName(file).symbol.toUpper();
        const QString cut = security.name.left(10);
        if (!cut.contains(u'.') || security.symbol.startsWith(cut, Qt::CaseInsensitive)) {
            EXPECT_EQ(symbol, security.symbol.toUpper());
        }
        ASSERT_TRUE(actual.contains(symbol)) << qPrintable(symbol);
        expectSameBars(actual[symbol], original[security.symbol.toUpper()], symbol);
        ++compared;
    }
    EXPECT_EQ(compared, imported.converted);
    EXPECT_EQ(left, int(exported.problems.size())) << qPrintable(problemTexts(exported).join(u'\n'));
    for (const convert::FileProblem& problem : exported.problems)
        EXPECT_TRUE(problem.text.contains(QLatin1String("cannot hold \"/\""))
                    || problem.text.contains(QLatin1String("several bars a day")))
            << qPrintable(problem.message());
}

INSTANTIATE_TEST_SUITE_P(Convert,
                         SampleRoundTrip,
                         ::testing::Values("asx_mining_emaster", "equis_xmaster", "stooq_intraday"),
                         [](const auto& param) { return std::string(param.param); });

TEST(Export, NamesFilesReplacesOlderOnesAndWritesEmptySecurities)
{
    QTemporaryDir dir;
    const QString source = dir.filePath("source");
    const QString csv = dir.filePath("csv");
    store_test::makeFolder(
        source,
        {{"XYZ.NS", "ABCDE FGHIJKL"}, {"A/B", "Slash"}, {"OK", "Fine", {20040501}}, {"TWIN", "Twin"}});
    // Another program listed the last security under the symbol of the one before (MASTER and EMASTER).
    QByteArray master = store_test::readFile(QDir(source).filePath("MASTER"));
    QByteArray emaster = store_test::readFile(QDir(source).filePath("EMASTER"));
    master.replace(4 * 53 + 36, 4, "OK  ");
    emaster.replace(4 * 192 + 11, 4, QByteArray("OK\0\0", 4));
    store_test::writeFile(QDir(source).filePath("MASTER"), master);
    store_test::writeFile(QDir(source).filePath("EMASTER"), emaster);
    QDir().mkpath(csv);
    store_test::writeFile(QDir(csv).filePath("ABCDE FGHI.XYZ.NS.csv"), "old contents");
    convert::ConversionReport report;
    ASSERT_OK(exportTo(source, csv, report));
    EXPECT_EQ(report.converted, 3);
    EXPECT_EQ(report.bars, 1);
    EXPECT_EQ(QDir(csv).entryList(QDir::Files), (QStringList{"ABCDE FGHI.XYZ.NS.csv", "Fine.OK.csv", "Twin.OK.csv"}));
    EXPECT_EQ(store_test::readFile(QDir(csv).filePath("Twin.OK.csv")), "Date,Open,High,Low,Close,Volume\r\n");
    EXPECT_EQ(store_test::readFile(QDir(csv).filePath("ABCDE FGHI.XYZ.NS.csv")), "Date,Open,High,Low,Close,Volume\r\n");
    EXPECT_EQ(store_test::readFile(QDir(csv).filePath("Fine.OK.csv")),
              "Date,Open,High,Low,Close,Volume\r\n5/1/2004, 1 , 2 , 0.5 , 1.5 , 100 \r\n");
    EXPECT_EQ(problemTexts(report),
              QStringList{"Slash.A/B.csv: the security A/B (Slash) cannot be written: a file name cannot hold \"/\""});
}

// The destination refuses the second file: the run stops there with the file named, the first file
// stays, and no part of the second is left behind.
class RefusingFileSystem : public store::FileSystem
{
public:
    int writes = 0;

    store::Status writeFile(const QString& path, const QByteArray& bytes) override
    {
        if (++writes < 2)
            return FileSystem::writeFile(path, bytes);
        (void)FileSystem::writeFile(path, bytes.left(10));
        return store::Status::error(store::ErrorCode::Io,
                                    QStringLiteral("Cannot create %1: Permission denied").arg(path));
    }
};

TEST(Export, StopsAtADestinationThatRefusesToBeWritten)
{
    QTemporaryDir dir;
    const QString source = dir.filePath("source");
    const QString csv = dir.filePath("csv");
    makeFolder(source, 3, 2);
    RefusingFileSystem fs;
    convert::ConversionReport report;
    const store::Status status = convert::exportFolder(fs, source, csv, english, report);
    EXPECT_EQ(status.code(), store::ErrorCode::Io);
    EXPECT_TRUE(status.text().contains(QLatin1String("Permission denied")));
    EXPECT_EQ(QDir(csv).entryList(QDir::Files), QStringList{"Name 0.S0.X.csv"});
    ASSERT_EQ(report.problems.size(), 1u);
    EXPECT_EQ(report.problems[0].file, "Name 1.S1.X.csv");
}

// A bad file among good ones: reported with its line, the others converted, the folder unchanged by it.
// A security that exists gets the bars added, those of the same date replaced.
TEST(Import, SkipsBadFilesAndAddsToExistingSecurities)
{
    QTemporaryDir dir;
    const QString csv = dir.filePath("csv");
    const QString folder = dir.filePath("folder");
    QDir().mkpath(csv);
    store_test::writeFile(
        QDir(csv).filePath("Alpha.AAA.csv"),
        "Date,Open,High,Low,Close,Volume\r\n1/2/2004, 1 , 2 , 1 , 2 , 10 \r\n1/5/2004, 2 , 3 , 2 , 3 , 20 \r\n");
    store_test::writeFile(
        QDir(csv).filePath("Bad.BBB.CSV"),
        "Date,Open,High,Low,Close,Volume\r\n1/2/2004, 1 , 2 , 1 , 2 , 10 \r\n1/32/2004, 1 , 2 , 1 , 2 , 10 \r\n");
    store_test::writeFile(QDir(csv).filePath("notes.txt"), "not a CSV file");
    store_test::makeFolder(folder, {{"AAA", "Alpha", {20040101, 20040102}}});
    convert::ConversionReport report;
    ASSERT_OK(importTo(csv, folder, report));
    EXPECT_EQ(QString::number(report.converted) + " of " + QString::number(report.total), "1 of 2");
    EXPECT_EQ(problemTexts(report),
              QStringList{"Bad.BBB.CSV, line 3: \"1/32/2004\" is not a date (M/d/yyyy, yyyy-mm-dd or yyyymmdd)"});
    const FolderBars bars = barsOf(folder);
    EXPECT_EQ(bars.keys(), QStringList{"AAA"});
    expectSameBars(
        bars["AAA"],
        {{20040101, 0, 1, 2, 0.5, 1.5, 100, 0}, {20040102, 0, 1, 2, 1, 2, 10, 0}, {20040105, 0, 2, 3, 2, 3, 20, 0}},
        "AAA");
}

using store_test::cli;
using store_test::CliRun;

TEST(Cli, ExportsAndImportsWithOneLinePerProblem)
{
    QTemporaryDir dir;
    const QString source = dir.filePath("source");
    const QString csv = dir.filePath("csv");
    makeFolder(source, 2, 3);
    const CliRun exported = cli({"export", source, csv, "--locale", "de_DE"});
    EXPECT_EQ(exported.status, 0) << exported.err.constData();
    EXPECT_EQ(exported.out, "2 of 2 converted, 6 bars\n");
    EXPECT_TRUE(store_test::readFile(QDir(csv).filePath("Name 0.S0.X.csv")).contains("20.12.1999, 0,37 "));
    store_test::writeFile(QDir(csv).filePath("Broken.csv"), "Date,Close\n");
    const CliRun imported = cli({"import", csv, dir.filePath("back"), "--locale", "de_DE"});
    EXPECT_EQ(imported.status, 1);
    EXPECT_EQ(imported.out, "2 of 3 converted, 6 bars, 1 with problems\n");
    EXPECT_EQ(imported.err,
              "ticksmith-cli: Broken.csv, line 1: the header line names no column High, Low, Volume (it needs "
              "Date, High, Low, Close and Volume)\n");
    EXPECT_EQ(cli({"import", dir.filePath("missing"), csv}).status, 2);
    EXPECT_EQ(cli({"export", source}).status, 2);
}

} // namespace

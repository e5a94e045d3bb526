// ticksmith-cli as scripts use it: exit statuses, and output that compares with other tools'.

#include "storetest.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using store_test::cli;
using store_test::CliRun;

// A run as its exit status and standard output, to compare both at once.
QString said(const CliRun& run)
{
    return QString::number(run.status) + ": " + QString::fromUtf8(run.out);
}

// Leftovers of a writer that died are listed by check and removed by check --repair, which says so.
TEST(Cli, CreateListCheckRepair)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath("new/folder");
    EXPECT_EQ(cli({"create", folder, "abc", "Alpha, the first", "2024-01-02"}).status, 0);
    EXPECT_EQ(cli({"create", folder, "DEF", "Delta", "20240103", "--periodicity", "weekly"}).status, 0);
    const CliRun again = cli({"create", folder, "ABC", "Again", "20240102"});
    EXPECT_EQ(again.status, 1);
    EXPECT_TRUE(again.err.contains("exists already"));
    for (const QStringList& bad : {QStringList{"create", folder, "X", "x", "20240230"},
                                   QStringList{"create", folder, "X", "x", "20240102", "--periodicity", "hourly"},
                                   QStringList{"list"},
                                   QStringList{"check", dir.filePath("missing")}})
        store_test::expectRefused(bad);

    EXPECT_EQ(said(cli({"list", folder})),
              "0: ABC\tAlpha, the first\tF1.DAT\tDaily\t2024-01-02\t2024-01-02\t0\n"
              "DEF\tDelta\tF2.DAT\tWeekly\t2024-01-03\t2024-01-03\t0\n");
    EXPECT_EQ(said(cli({"check", folder})), "0: No problems found\n");

    store_test::writeFile(QDir(folder).filePath("MASTER.TSTMP"), "half");
    store_test::writeFile(QDir(folder).filePath("TICKSMITH.LCK"), {});
    const QString leftovers = said(cli({"check", folder}));
    EXPECT_TRUE(leftovers.startsWith("1: ") && leftovers.contains("MASTER.TSTMP: an interrupted update")
                && leftovers.contains("TICKSMITH.LCK: left by a writer that ended"))
        << qPrintable(leftovers);
    EXPECT_EQ(said(cli({"check", "--repair", folder})),
              "0: Repaired: removed the lock file of a writer that ended (unknown)\n"
              "Repaired: removed the temporary file MASTER.TSTMP\n"
              "No problems found\n");
    EXPECT_EQ(QDir(folder).entryList(QDir::Files), QStringList({"EMASTER", "F1.DAT", "F2.DAT", "MASTER"}));

    store_test::writeFile(QDir(folder).filePath("F2.DAT"), "short");
    EXPECT_TRUE(said(cli({"check", folder})).startsWith("1: F2.DAT: "));
}

TEST(Cli, BarsMatchTheReferenceFormat)
{
    const QString sample = QStringLiteral(TICKSMITH_SHARED_DIR "/metastock-samples/stooq_intraday");
    if (!QDir(sample).exists())
        GTEST_SKIP() << "the shared samples are not beside this checkout";
    const CliRun all = cli({"bars", sample + "/folder"});
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.out, store_test::readFile(sample + "/bars.csv"));
    EXPECT_EQ(cli({"bars", sample + "/folder", "2hr.de"}).out, all.out);
    EXPECT_EQ(cli({"bars", sample + "/folder", "NONE"}).status, 2);
}

// rename, remove and trim as a script runs them: what they print, and bad input that changes nothing.
TEST(Cli, RenameRemoveTrim)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath("data");
    store_test::makeAlphaAndDelta(folder);
    const QString notData = dir.filePath("other");
    ASSERT_TRUE(QDir().mkpath(notData));
    const auto before = store_test::snapshot(folder);
    for (const QStringList& bad : {QStringList{"rename", folder, "ABC"},
                                   QStringList{"rename", folder, "ABC", "--symbol", " "},
                                   QStringList{"remove", folder, "XYZ"},
                                   QStringList{"remove", notData, "ABC"},
                                   QStringList{"trim", folder, "ABC"}})
        store_test::expectRefused(bad);
    EXPECT_TRUE(cli({"remove", notData, "ABC"}).err.contains("not a MetaStock data folder"));
    const CliRun taken = cli({"rename", folder, "DEF", "--symbol", "abc"});
    EXPECT_EQ(taken.status, 1);
    EXPECT_TRUE(taken.err.contains("exists already"));
    EXPECT_EQ(store_test::snapshot(folder), before);

    EXPECT_EQ(said(cli({"rename", folder, "abc", "--name", " Alpha Two ", "--symbol", "abx"})),
              "0: ABC\tABX\tAlpha Two\n");
    EXPECT_EQ(said(cli({"trim", folder, "ABX", "--until", "2024-01-03"})), "0: ABX\t2\t2024-01-02\t2024-01-03\n");
    const CliRun emptied = cli({"trim", folder, "ABX", "--until", "2024-12-31"});
    EXPECT_EQ(said(emptied), "0: ABX\t2\t2024-01-04\t2024-01-05\n");
    EXPECT_TRUE(emptied.err.contains("2024-01-05")) << emptied.err.constData();
    EXPECT_EQ(said(cli({"remove", folder, "DEF"})), "0: DEF\tDelta\tF2.DAT\t0\n");
    EXPECT_EQ(said(cli({"list", folder})), "0: ABX\tAlpha Two\tF1.DAT\tDaily\t2024-01-05\t2024-01-05\t0\n");
}

// Hits as tab-separated folder, file, symbol and name; 1 when nothing matches, 2 for bad arguments. A
// damaged folder is named on standard error, and the hits elsewhere still count.
TEST(Cli, FindListsHitsWithTheirFolders)
{
    QTemporaryDir dir;
    const QString sub = dir.filePath("asx");
    ASSERT_EQ(cli({"create", dir.path(), "BHP", "BHP Group", "2024-01-02"}).status, 0);
    ASSERT_EQ(cli({"create", sub, "BHX.AX", "Broken Hill Mining", "2024-01-02"}).status, 0);
    const QString bhp = "0: " + dir.path() + "\tF1.DAT\tBHP\tBHP Group\n";
    EXPECT_EQ(said(cli({"find", "bh*", dir.path()})), bhp);
    const CliRun all = cli({"find", "*MINING*", dir.path(), "--subfolders"});
    EXPECT_EQ(said(all), "0: " + sub + "\tF1.DAT\tBHX.AX\tBroken Hill Mining\n");
    EXPECT_TRUE(all.err.isEmpty());
    EXPECT_EQ(cli({"find", "*.L", dir.path(), "--subfolders"}).status, 1);
    for (const QStringList& bad : {QStringList{"find", "*"}, QStringList{"find", "*", dir.filePath("missing")}})
        store_test::expectRefused(bad);

    store_test::writeFile(sub + "/MASTER", "damaged");
    const CliRun damaged = cli({"find", "*", dir.path(), "--subfolders"});
    EXPECT_EQ(said(damaged), bhp);
    EXPECT_TRUE(damaged.err.contains("MASTER")) << damaged.err.constData();
}

} // namespace

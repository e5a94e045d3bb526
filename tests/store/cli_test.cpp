// ticksmith-cli as scripts use it: exit statuses, and output that compares with other tools'.

#include "storetest.h"

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct CliRun
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

CliRun cli(const QStringList& arguments)
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

TEST(Cli, CreateListCheck)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("new/folder"));
    EXPECT_EQ(cli({"create", folder, "abc", "Alpha, the first", "2024-01-02"}).status, 0);
    EXPECT_EQ(cli({"create", folder, "DEF", "Delta", "20240103", "--periodicity", "weekly"}).status, 0);

    const CliRun again = cli({"create", folder, "ABC", "Again", "20240102"});
    EXPECT_EQ(again.status, 1);
    EXPECT_TRUE(again.err.contains("exists already"));
    for (const QStringList& bad : {QStringList{"create", folder, "ABCDEFGHIJKLMNO", "x", "20240102"},
                                   QStringList{"create", folder, "X", "x", "20240230"},
                                   QStringList{"create", folder, "X", "x", "20240102", "--periodicity", "hourly"},
                                   QStringList{"list"},
                                   QStringList{"check", dir.filePath(QStringLiteral("missing"))}}) {
        const CliRun run = cli(bad);
        EXPECT_EQ(run.status, 2) << qPrintable(bad.join(u' '));
        EXPECT_FALSE(run.err.isEmpty());
        EXPECT_TRUE(run.out.isEmpty());
    }

    const CliRun list = cli({"list", folder});
    EXPECT_EQ(list.status, 0);
    EXPECT_EQ(list.out,
              "ABC\tAlpha, the first\tF1.DAT\tDaily\t2024-01-02\t2024-01-02\t0\n"
              "DEF\tDelta\tF2.DAT\tWeekly\t2024-01-03\t2024-01-03\t0\n");
    const CliRun check = cli({"check", folder});
    EXPECT_EQ(check.status, 0);
    EXPECT_EQ(check.out, "No problems found\n");

    store_test::writeFile(dir.filePath(QStringLiteral("new/folder/F2.DAT")), "short");
    const CliRun damaged = cli({"check", folder});
    EXPECT_EQ(damaged.status, 1);
    EXPECT_TRUE(damaged.out.startsWith("F2.DAT: ")) << damaged.out.constData();
}

// Leftovers of a writer that died: check lists them, check --repair removes them and says so.
TEST(Cli, CheckRepairsLeftovers)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("data"));
    ASSERT_EQ(cli({"create", folder, "ABC", "Alpha", "2024-01-02"}).status, 0);
    store_test::writeFile(QDir(folder).filePath(QStringLiteral("MASTER.TSTMP")), "half");
    store_test::writeFile(QDir(folder).filePath(QStringLiteral("TICKSMITH.LCK")), {});

    const CliRun check = cli({"check", folder});
    EXPECT_EQ(check.status, 1);
    EXPECT_TRUE(check.out.contains("MASTER.TSTMP: an interrupted update")) << check.out.constData();
    EXPECT_TRUE(check.out.contains("TICKSMITH.LCK: left by a writer that ended")) << check.out.constData();

    const CliRun repair = cli({"check", "--repair", folder});
    EXPECT_EQ(repair.status, 0) << repair.err.constData();
    EXPECT_EQ(repair.out,
              "Repaired: removed the lock file of a writer that ended (unknown)\n"
              "Repaired: removed the temporary file MASTER.TSTMP\n"
              "No problems found\n");
    EXPECT_EQ(QDir(folder).entryList(QDir::Files), QStringList({"EMASTER", "F1.DAT", "MASTER"}));
}

TEST(Cli, BarsMatchTheReferenceFormat)
{
    const QString sample = QStringLiteral(TICKSMITH_SHARED_DIR "/metastock-samples/stooq_intraday");
    if (!QDir(sample).exists())
        GTEST_SKIP() << "the shared samples are not beside this checkout";
    const CliRun all = cli({"bars", sample + QStringLiteral("/folder")});
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.out, store_test::readFile(sample + QStringLiteral("/bars.csv")));
    EXPECT_EQ(cli({"bars", sample + QStringLiteral("/folder"), "2hr.de"}).out, all.out);
    EXPECT_EQ(cli({"bars", sample + QStringLiteral("/folder"), "NONE"}).status, 2);
}

} // namespace

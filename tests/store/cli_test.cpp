// ticksmith-cli as scripts use it: exit statuses, and output that compares with other tools'.

#include "storetest.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using store_test::cli;
using store_test::CliRun;

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

// Writers and readers in separate processes, as a user runs the program beside a charting program or a
// scheduled download: the folder lock of a writer that is killed never blocks the next one, and a reader
// never sees half of a change. The other process is this test program started again, running the
// disabled test ChildProcess.Run in the role named by an environment variable.

#include "store/metastockreader.h"
#include "store/metastockwriter.h"
#include "storetest.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

namespace {

using store::ErrorCode;
using store::FolderLock;
using store::MetaStockReader;
using store::MetaStockWriter;

const char* const roleVariable = "TICKSMITH_TEST_CHILD_ROLE";
const char* const folderVariable = "TICKSMITH_TEST_CHILD_FOLDER";
constexpr int commits = 300;
const QStringList symbols{QStringLiteral("AAA"), QStringLiteral("BBB")};

// Every commit adds the next day to each security: bar n (from 0) is dated 2000-01-01 + n days.
qint32 dayNumber(int n)
{
    const QDate date = QDate(2000, 1, 1).addDays(n);
    return date.year() * 10000 + date.month() * 100 + date.day();
}

// "hold": opens the folder for writing, says so and waits to be killed. "write": makes `commits`
// commits, each one change of both securities, opening the folder afresh every tenth.
TEST(ChildProcess, DISABLED_Run)
{
    const QByteArray role = qgetenv(roleVariable);
    ASSERT_FALSE(role.isEmpty()) << "runs only as the other process of a test";
    const QString folder = QString::fromLocal8Bit(qgetenv(folderVariable));
    store_test::NoSyncFileSystem fs; // what readers see does not depend on flushes
    MetaStockWriter writer(fs);
    ASSERT_OK(writer.OpenFolder(folder));
    if (role == "hold") {
        std::printf("locked\n");
        std::fflush(stdout);
        QThread::sleep(60);
        return;
    }
    for (int n = 1; n <= commits; ++n) {
        for (const QString& symbol : symbols) {
            ASSERT_OK(writer.SelectSecurity(symbol));
            ASSERT_OK(writer.AddBar(dayNumber(n), 0, n, n, n, n, n, 0));
        }
        ASSERT_OK(writer.Commit());
        if (n % 10 == 0) {
            ASSERT_OK(writer.CloseFolder());
            ASSERT_OK(writer.OpenFolder(folder));
        }
    }
    ASSERT_OK(writer.CloseFolder());
}

class ProcessTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_folder = m_root.filePath(QStringLiteral("data"));
        store_test::makeFolder(m_folder,
                               {{symbols[0], symbols[0], {dayNumber(0)}}, {symbols[1], symbols[1], {dayNumber(0)}}});
    }

    void start(const char* role)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(roleVariable), QString::fromLatin1(role));
        environment.insert(QString::fromLatin1(folderVariable), m_folder);
        m_child.setProcessEnvironment(environment);
        m_child.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--gtest_also_run_disabled_tests"),
                       QStringLiteral("--gtest_filter=ChildProcess.DISABLED_Run")});
        ASSERT_TRUE(m_child.waitForStarted());
    }

    QTemporaryDir m_root;
    QString m_folder;
    QProcess m_child;
};

TEST_F(ProcessTest, AKilledWriterNeverBlocksTheNext)
{
    start("hold");
    QByteArray said;
    while (!said.contains("locked\n") && m_child.waitForReadyRead(30000))
        said += m_child.readAll();
    ASSERT_TRUE(said.contains("locked\n")) << said.constData();

    store::FileSystem impatient;
    impatient.lockTimeoutMs = 0;
    MetaStockWriter writer(impatient);
    EXPECT_FAILS_WITH(writer.OpenFolder(m_folder), ErrorCode::Busy);
    QString holder;
    EXPECT_EQ(FolderLock::inspect(m_folder, holder), FolderLock::State::Held);
    EXPECT_TRUE(holder.startsWith(QString::number(m_child.processId()) + u' ')) << qPrintable(holder);

    m_child.kill();
    ASSERT_TRUE(m_child.waitForFinished(30000));
    EXPECT_EQ(FolderLock::inspect(m_folder, holder), FolderLock::State::Stale);
    ASSERT_OK(writer.OpenFolder(m_folder));
    ASSERT_OK(writer.CloseFolder());
    EXPECT_EQ(FolderLock::inspect(m_folder, holder), FolderLock::State::None);

    // A lock file killed while it was being written is as harmless.
    store_test::writeFile(QDir(m_folder).filePath(QStringLiteral("TICKSMITH.LCK")), {});
    ASSERT_OK(writer.OpenFolder(m_folder));
    ASSERT_OK(writer.CloseFolder());
}

// Each security read is whole: its bars end at the index's last date and there is one per day, and
// reading fails with Busy at most.
TEST_F(ProcessTest, AReaderNeverSeesHalfAChange)
{
    start("write");
    int reads = 0;
    int busy = 0;
    auto readOnce = [&] {
        MetaStockReader reader;
        store::Status status = reader.OpenFolder(m_folder);
        for (const QString& symbol : symbols) {
            if (!status.ok())
                break;
            qint32 count = 0;
            qint32 lastDate = 0;
            store::PriceBar bar;
            status = reader.SelectSecurity(symbol);
            if (status.ok())
                status = reader.GetBarCount(count);
            if (status.ok())
                status = reader.GetLastDate(lastDate);
            while (status.ok() && reader.ReadNextBar().ok())
                status = reader.GetBar(bar);
            if (status.ok()) {
                EXPECT_EQ(bar.date, lastDate) << qPrintable(symbol);
                EXPECT_EQ(dayNumber(count - 1), lastDate) << qPrintable(symbol);
            }
        }
        if (status.code() == ErrorCode::Busy)
            ++busy;
        else
            EXPECT_OK(status);
        ++reads;
    };
    while (m_child.state() != QProcess::NotRunning && !HasFailure()) {
        readOnce();
        m_child.waitForFinished(0);
    }
    ASSERT_TRUE(m_child.state() == QProcess::NotRunning || m_child.waitForFinished(60000));
    EXPECT_EQ(m_child.exitCode(), 0) << m_child.readAll().constData();
    readOnce();
    EXPECT_EQ(store_test::securitiesOf(m_folder).front().lastDate, dayNumber(commits));
    std::printf("[ reads    ] %d reads while %d commits were made, %d of them busy\n", reads, commits, busy);
}

} // namespace

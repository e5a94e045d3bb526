// ticksmith-cli download, run as a separate program against the local quote server and real folders.
// The program reads the system clock, so the folders are dated relative to today.

#include "clirun.h"
#include "downloadfixture.h"

namespace {

using namespace download_test;
using testing_support::CliRun;
using testing_support::runCli;

const QString Summary = QStringLiteral("Completed : %1    |    Upto Date : %2    |    No Data : %3\n");

class DownloadCliTest : public testing::Test
{
protected:
    DownloadCliTest()
        : today(QDate::currentDate())
        , folder(context.makeFolder(QStringLiteral("data")))
    {}

    // A security holding the served rows up to last.
    void addServed(const QString& symbol, QDate last)
    {
        const QList<HistoryRow> rows = everyDay(today.addDays(-40), today);
        server.symbol(symbol).history = rows;
        addSecurity(folder, symbol, rows.mid(0, today.addDays(-40).daysTo(last) + 1));
    }

    CliRun download(QStringList arguments)
    {
        arguments.prepend(QStringLiteral("download"));
        return runCli(server, arguments);
    }

    testing_support::TestContext context;
    QuoteServer server;
    QDate today;
    QString folder;
};

TEST_F(DownloadCliTest, BringsTickedSecuritiesUpToDateAndASecondRunHasNothingToDo)
{
    addServed(QStringLiteral("IBM"), today.addDays(-10));
    addServed(QStringLiteral("MSFT"), today);

    const CliRun first = download({folder});
    EXPECT_EQ(first.exitCode, 0) << first.err.toStdString();
    EXPECT_EQ(first.out, QStringLiteral("IBM\tOK\n") + Summary.arg(1).arg(0).arg(0));
    EXPECT_TRUE(first.err.isEmpty()) << first.err.toStdString();
    EXPECT_EQ(historySymbols(server), QStringList{"IBM"}) << "a security holding today's bar is left out";
    expectBars(barsOf(folder, QStringLiteral("IBM")), server.symbol(QStringLiteral("IBM")).history);

    const CliRun second = download({folder});
    EXPECT_EQ(second.exitCode, 0) << second.err.toStdString();
    EXPECT_EQ(second.out, Summary.arg(0).arg(0).arg(0));
    EXPECT_EQ(server.requests().size(), 1);
    expectBars(barsOf(folder, QStringLiteral("IBM")), server.symbol(QStringLiteral("IBM")).history);
}

TEST_F(DownloadCliTest, ASecurityWithoutDataMakesTheRunFailAfterTheOthersAreDone)
{
    addServed(QStringLiteral("BAD"), today.addDays(-10));
    addServed(QStringLiteral("IBM"), today.addDays(-10));
    server.symbol(QStringLiteral("BAD")).misbehaviour = QuoteServer::Misbehaviour::NotFound;

    const CliRun run = download({folder, QStringLiteral("--weekend")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, QStringLiteral("BAD\tNo Data\nIBM\tOK\n") + Summary.arg(1).arg(0).arg(1));
    EXPECT_TRUE(run.err.contains(QStringLiteral("BAD: "))) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(QStringLiteral("404"))) << run.err.toStdString();
}

TEST_F(DownloadCliTest, CorrectsTheNamedSymbolOnlyAndWritesTheCurrentQuote)
{
    QList<HistoryRow> wrong = everyDay(today.addDays(-40), today.addDays(-1));
    for (HistoryRow& row : wrong)
        row.close = 1;
    addSecurity(folder, QStringLiteral("IBM"), wrong);
    addServed(QStringLiteral("MSFT"), today.addDays(-10));
    QList<HistoryRow> served = everyDay(today.addDays(-40), today.addDays(-1));
    server.symbol(QStringLiteral("IBM")).history = served;
    server.symbol(QStringLiteral("IBM")).quoteBody =
        "\"IBM\",90.44,\"1/1/2024\",\"4:01pm\",-0.51,\"-0.56%\",90.95,91.2,"
        "90.1,N/A,N/A,1500000\n";

    const CliRun run = download({folder,
                                 QStringLiteral("--symbol"),
                                 QStringLiteral("ibm"),
                                 QStringLiteral("--correction-from"),
                                 today.addDays(-5).toString(Qt::ISODate),
                                 QStringLiteral("--current-quote")});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, QStringLiteral("IBM\tOK\n") + Summary.arg(1).arg(0).arg(0));
    EXPECT_EQ(historySymbols(server), QStringList{"IBM"});
    QList<HistoryRow> expected = wrong.mid(0, wrong.size() - 5) + served.mid(served.size() - 5);
    expected.append({today, 90.95, 91.2, 90.1, 90.44, 1500000, 90.44});
    expectBars(barsOf(folder, QStringLiteral("IBM")), expected);
}

class DownloadCliUsageTest
    : public DownloadCliTest
    , public testing::WithParamInterface<QStringList>
{};

TEST_P(DownloadCliUsageTest, BadArgumentsExitWithTwoAndChangeNothing)
{
    addServed(QStringLiteral("IBM"), today.addDays(-10));
    QStringList arguments = GetParam();
    arguments.replaceInStrings(QStringLiteral("FOLDER"), folder);

    const CliRun run = download(arguments);
    EXPECT_EQ(run.exitCode, 2) << run.out.toStdString();
    EXPECT_TRUE(run.out.isEmpty()) << run.out.toStdString();
    EXPECT_FALSE(run.err.isEmpty());
    EXPECT_TRUE(server.requests().isEmpty());
    EXPECT_EQ(barsOf(folder, QStringLiteral("IBM")).size(), 31);
}

INSTANTIATE_TEST_SUITE_P(Arguments,
                         DownloadCliUsageTest,
                         testing::Values(QStringList{},
                                         QStringList{"FOLDER", "--frobnicate"},
                                         QStringList{"FOLDER", "--symbol"},
                                         QStringList{"FOLDER", "--symbol", "NOPE"},
                                         QStringList{"FOLDER", "--correction-from", "2024-13-01"},
                                         QStringList{"FOLDER", "FOLDER/missing"}));

} // namespace

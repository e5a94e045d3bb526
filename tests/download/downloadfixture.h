#pragma once

// Real data folders, the local quote server and the command-line program for the download tests.

#include "download/httpchannel.h"
#include "quoteserver.h"
#include "testcontext.h"
#include "tests/store/storetest.h"

#include <QEventLoop>
#include <QProcess>
#include <QSettings>
#include <QTimer>

#include <gtest/gtest.h>

namespace download_test {

using store_test::barsOf;
using testing_support::HistoryRow;
using testing_support::QuoteServer;

// One row per calendar day, weekends included, so that a security can be brought up to any day.
inline QList<HistoryRow> everyDay(QDate first, QDate last)
{
    QList<HistoryRow> rows;
    for (QDate date = first; date <= last; date = date.addDays(1)) {
        const double open = 20 + date.day() / 4.0;
        rows.append({date, open, open + 2, open - 1, open + 0.5, 1000 + date.dayOfYear(), open + 0.5});
    }
    return rows;
}

inline store::PriceBar barOf(const HistoryRow& row)
{
    const qint32 date = row.date.year() * 10000 + row.date.month() * 100 + row.date.day();
    return {date, 0, row.open, row.high, row.low, row.close, double(row.volume), 0};
}

// Creates the folder if need be and adds a daily security with the given bars.
inline void addSecurity(const QString& folder, const QString& symbol, const QList<HistoryRow>& rows)
{
    store_test::NoSyncFileSystem fs;
    store::MetaStockWriter writer(fs);
    ASSERT_OK(writer.CreateFolder(folder));
    ASSERT_OK(writer.OpenFolder(folder));
    ASSERT_OK(writer.CreateSecurity(symbol, symbol + QStringLiteral(" Corp"), store::Daily));
    for (const HistoryRow& row : rows)
        ASSERT_OK(writer.AddBar(barOf(row)));
    ASSERT_OK(writer.CloseFolder());
}

// A bar as a folder keeps it: prices and volume as single-precision numbers.
inline QString barText(const store::PriceBar& bar)
{
    const auto f = [](double value) { return QString::number(float(value)); };
    return QStringLiteral("%1 %2 %3 %4 %5 %6")
        .arg(bar.date)
        .arg(f(bar.open), f(bar.high), f(bar.low), f(bar.close), f(bar.volume));
}

// The bars hold exactly the rows, in the same order and with the values a folder can keep.
inline void expectBars(const std::vector<store::PriceBar>& bars, const QList<HistoryRow>& rows)
{
    QStringList held, expected;
    for (const store::PriceBar& bar : bars)
        held.append(barText(bar));
    for (const HistoryRow& row : rows)
        expected.append(barText(barOf(row)));
    EXPECT_EQ(held, expected);
}

// The history requests the server saw, by symbol, in order.
inline QStringList historySymbols(const QuoteServer& server)
{
    QStringList symbols;
    for (const auto& request : server.requests()) {
        if (request.path == QLatin1String("/table.csv"))
            symbols.append(request.symbol());
    }
    return symbols;
}

struct CliRun
{
    int exitCode = -1;
    QString out;
    QString err;
};

// Runs ticksmith-cli with both service addresses set to the server, while this process's event loop keeps
// the server answering; variables are added to the program's environment.
inline CliRun
runCli(const QuoteServer& server, const QStringList& arguments, const QMap<QString, QString>& variables = {})
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* proxy : {"http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
        environment.remove(QLatin1String(proxy));
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("en_US.UTF-8"));
    environment.insert(QLatin1String(download::QuoteUrlVariable), server.url());
    environment.insert(QLatin1String(download::HistoryUrlVariable), server.url());
    for (auto it = variables.begin(); it != variables.end(); ++it)
        environment.insert(it.key(), it.value());
    QProcess process; // one still running when the test gives up is killed on the way out
    process.setProcessEnvironment(environment);
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&process, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    QTimer::singleShot(30000, &loop, &QEventLoop::quit); // a safety net, never reached when all is well
    process.start(QStringLiteral(TICKSMITH_BUILD_DIR "/ticksmith-cli"), arguments);
    loop.exec();
    if (process.state() != QProcess::NotRunning || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(),
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

// A data folder and a server that serves every day from servedFrom to servedTo.
class DownloadTest : public testing::Test
{
protected:
    // Serves symbol's history and puts the served rows up to held into the folder (by default this one).
    void addServed(const QString& symbol, QDate held, const QString& in = {})
    {
        const QList<HistoryRow> rows = everyDay(servedFrom, servedTo);
        server.symbol(symbol).history = rows;
        addSecurity(in.isEmpty() ? folder : in, symbol, rows.mid(0, servedFrom.daysTo(held) + 1));
    }

    testing_support::TestContext context;
    QuoteServer server;
    QString folder = context.makeFolder(QStringLiteral("data"));
    QDate servedFrom{2024, 5, 1};
    QDate servedTo{2024, 6, 14};
};

} // namespace download_test

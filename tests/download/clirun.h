#pragma once

// Runs ticksmith-cli as a separate program against the local quote server.

#include "download/httpchannel.h"
#include "quoteserver.h"

#include <QEventLoop>
#include <QProcess>
#include <QTimer>

namespace testing_support {

struct CliRun
{
    int exitCode = -1;
    QString out;
    QString err;
};

// Runs the program while this process's event loop keeps the server answering. addressed sets both
// service addresses to the server; without it the program sees none (the tests' home has no settings).
inline CliRun runCli(const QuoteServer& server, const QStringList& arguments, bool addressed = true)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* proxy : {"http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
        environment.remove(QLatin1String(proxy));
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("en_US.UTF-8"));
    environment.remove(QLatin1String(download::QuoteUrlVariable));
    environment.remove(QLatin1String(download::HistoryUrlVariable));
    if (addressed) {
        environment.insert(QLatin1String(download::QuoteUrlVariable), server.url());
        environment.insert(QLatin1String(download::HistoryUrlVariable), server.url());
    }
    QProcess process;
    process.setProcessEnvironment(environment);
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&process, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    QTimer::singleShot(30000, &loop, &QEventLoop::quit); // a safety net, never reached when all is well
    process.start(QStringLiteral(TICKSMITH_BUILD_DIR "/ticksmith-cli"), arguments);
    loop.exec();
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace testing_support

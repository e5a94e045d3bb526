// The download command: brings the securities of data folders up to date from the quote service.

#include "command.h"
#include "download/downloadjob.h"
#include "download/downloadresults.h"
#include "download/httpchannel.h"
#include "download/selection.h"
#include "sourceoption.h"
#include "store/arguments.h"
#include "symbols/installation.h"
#include "symbols/symbolsdb.h"

#include <QCoreApplication>
#include <QDate>
#include <QLocale>

#include <algorithm>
#include <optional>

namespace cli {

namespace {

const char* const Arguments = "FOLDER... [--symbol SYMBOL]... [--correction-from YYYY-MM-DD] [--current-quote] "
                              "[--weekend] [--threads N] [--source NAME]";

struct Request
{
    QStringList folders;
    QStringList symbols; // empty: every security
    download::DownloadOptions options;
    int threads = 0; // 0: the "Threads" setting
};

// The "Threads" value of the program's symbol database, as the download window uses it; 1 when the
// database cannot be read.
int threadsSetting()
{
    context::AppContext context;
    const symbols::Installation installation = symbols::currentInstallation();
    context.programFolder = installation.programFolder;
    context.dataFolder = installation.dataFolder;
    try {
        return std::clamp(int(symbols::readOptions(context).s2), 1, download::MaxThreads);
    } catch (const symbols::DatabaseError&) {
        return 1;
    }
}

int usage(Io& io, const QString& problem)
{
    io.err << "ticksmith-cli: " << problem << "\nUsage: ticksmith-cli download " << Arguments << "\n";
    return Usage;
}

// The request, or the reason it cannot be one.
std::optional<Request> parse(const QStringList& arguments, QString& problem)
{
    Request request;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const bool takesValue = argument == u"--symbol" || argument == u"--correction-from" || argument == u"--threads";
        if (takesValue && i + 1 >= arguments.size()) {
            problem = argument + QStringLiteral(" needs a value");
            return std::nullopt;
        }
        if (argument == u"--symbol") {
            const QString symbol = arguments[++i].trimmed();
            if (symbol.isEmpty()) {
                problem = QStringLiteral("--symbol needs a symbol");
                return std::nullopt;
            }
            request.symbols.append(symbol);
        } else if (argument == u"--correction-from") {
            request.options.dataCorrection = true;
            request.options.correctionFrom = download::dateFromText(arguments[++i]);
            if (!request.options.correctionFrom.isValid()) {
                problem = QStringLiteral("'%1' is not a date of the form YYYY-MM-DD").arg(arguments[i]);
                return std::nullopt;
            }
        } else if (argument == u"--threads") {
            bool ok = false;
            request.threads = arguments[++i].toInt(&ok);
            if (!ok || request.threads < 1 || request.threads > download::MaxThreads) {
                problem = QStringLiteral("--threads takes a number from 1 to %1").arg(download::MaxThreads);
                return std::nullopt;
            }
        } else if (argument == u"--current-quote") {
            request.options.currentQuote = true;
        } else if (argument == u"--weekend") {
            request.options.weekendQuotes = true;
        } else if (argument.startsWith(QLatin1String("--"))) {
            problem = QStringLiteral("unknown option '%1'").arg(argument);
            return std::nullopt;
        } else {
            request.folders.append(argument);
        }
    }
    if (request.folders.isEmpty()) {
        problem = QStringLiteral("name at least one folder");
        return std::nullopt;
    }
    return request;
}

bool holds(const QStringList& symbols, const QString& symbol)
{
    return std::any_of(symbols.begin(), symbols.end(), [&](const QString& named) {
        return store::sameSymbol(named, symbol);
    });
}

int download(const QStringList& given, Io& io)
{
    QString problem;
    QStringList arguments = given;
    const auto sources = takeSourceChain(arguments, problem);
    if (!sources)
        return usage(io, problem);
    const std::optional<Request> request = parse(arguments, problem);
    if (!request)
        return usage(io, problem);

    // Every folder is read before anything is fetched, so a mistyped folder changes nothing.
    const QDate today = QDate::currentDate();
    QList<context::DownloadItem> items;
    QStringList found;
    for (const QString& folder : request->folders) {
        QList<download::ListedSecurity> securities;
        if (const store::Status status = download::listSecurities(folder, securities); !status.ok()) {
            io.err << "ticksmith-cli: " << status.text() << "\n";
            return Usage;
        }
        for (const download::ListedSecurity& security : securities) {
            if (!request->symbols.isEmpty() && !holds(request->symbols, security.symbol))
                continue;
            found.append(security.symbol);
            if (!download::canDownload(security.lastDate))
                io.err << "ticksmith-cli: " << security.symbol << " has no bars to continue from; left out\n";
            // Correction is asked for whatever a security already holds, today's bar included.
            else if (request->options.dataCorrection || download::tickedByDefault(security.lastDate, today))
                items.append(
                    *download::makeDownloadItem(security.symbol, security.firstDate, security.lastDate, folder, today));
        }
    }
    for (const QString& symbol : request->symbols) {
        if (!holds(found, symbol))
            return usage(io, QStringLiteral("no folder holds the symbol '%1'").arg(symbol));
    }

    const bool classic = sources->clients().front()->profile().name() == download::sources::ClassicSource;
    if (!items.isEmpty() && classic && download::ServiceAddresses::fromSettings(ProgramSettings()).historyUrl.isEmpty())
        io.err << "ticksmith-cli: the quote service is not configured; set " << download::HistoryUrlVariable
               << " or the address in the Settings window\n";
    download::DownloadJob::Events events;
    events.ignoredError = [&io](const QString& symbol, const QString& error) {
        io.err << "ticksmith-cli: " << symbol << ": " << error << "\n";
        io.err.flush();
    };
    events.recorded = [&io](int, int, const context::DownloadResult& result) {
        io.out << result.symbol << "\t" << result.status << "\n";
        io.out.flush();
        if (!result.reason.isEmpty()) {
            io.err << "ticksmith-cli: " << result.symbol << ": " << result.reason << "\n";
            io.err.flush();
        }
    };
    download::DownloadJob job(*sources, QLocale(), std::move(events));
    download::DownloadOptions options = request->options;
    options.threads = request->threads > 0 ? request->threads : threadsSetting();
    const download::JobOutcome outcome = job.run(items, options, today);
    // A request that keeps a scheduled run waiting is worth a line in its log.
    if (!outcome.slowestRequests.isEmpty() && outcome.slowestRequests.constFirst().ms >= 1000)
        io.err << "ticksmith-cli: " << download::slowestRequestsText(outcome.slowestRequests) << "\n";

    io.out << download::resultsSummary(download::tallyResults(outcome.results)) << "\n";
    if (outcome.end == download::JobOutcome::End::Stopped) {
        io.err << "ticksmith-cli: the download stopped: " << outcome.stopReason << "\n";
        return Problems;
    }
    const bool allWell = std::all_of(outcome.results.begin(), outcome.results.end(), [](const auto& result) {
        return result.status == download::ResultOk || result.status == download::ResultUpToDate;
    });
    return allWell && outcome.ignoredErrors == 0 ? Success : Problems;
}

} // namespace

std::vector<Command> downloadCommands()
{
    return {
        {"download",
         Arguments,
         "Brings the securities of the FOLDERs (or only the SYMBOLs named) up to date from the quote service, "
         "leaving out those that already hold today's bar unless correcting; prints each symbol with its "
         "result, then the summary. --threads asks for N securities at once (default: the Threads setting). "
         "Exits with 1 when any security did not end OK or Up to date, or a write failed.",
         download},
    };
}

} // namespace cli

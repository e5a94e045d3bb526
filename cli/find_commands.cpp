// The find command: securities whose symbol or name matches a pattern, in a folder and its subfolders.

#include "command.h"
#include "store/securitysearch.h"

#include <QCommandLineParser>

#include <cstdio>
#include <unistd.h>

namespace cli {

namespace {

const char* const Arguments = "PATTERN FOLDER [--subfolders]";

int usage(Io& io, const QString& problem)
{
    io.err << "ticksmith-cli: " << problem << "\nUsage: ticksmith-cli find " << Arguments << "\n";
    return Usage;
}

// Where a long search is, on one line of a terminal that is rewritten folder by folder; nothing when
// standard error goes to a file or a pipe, so that logs stay clean.
store::SecuritySearch::Progress terminalProgress(Io& io)
{
    if (!::isatty(::fileno(stderr)))
        return {};
    return [&io, folders = 0](const QString& text, const QString&) mutable {
        if (text.isEmpty()) {
            io.err << "\r\033[K";
        } else {
            io.err << '\r' << text << " folders searched: " << ++folders;
        }
        io.err.flush();
    };
}

int find(const QStringList& arguments, Io& io)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Lists the securities whose symbol or name matches PATTERN (\"*\" stands for any run of "
                       "characters; case does not matter): folder, data file, symbol and name, tab-separated."));
    parser.addPositionalArgument(QStringLiteral("PATTERN"), QStringLiteral("for example BH*, *.AX or *MINING*"));
    parser.addPositionalArgument(QStringLiteral("FOLDER"), QStringLiteral("the data folder to search"));
    const QCommandLineOption subfolders(QStringLiteral("subfolders"),
                                        QStringLiteral("Searches every folder below FOLDER as well."));
    const QCommandLineOption help(QStringLiteral("help"), QStringLiteral("Shows this text."));
    parser.addOption(subfolders);
    parser.addOption(help);
    if (!parser.parse(QStringList{QStringLiteral("find")} + arguments))
        return usage(io, parser.errorText());
    if (parser.isSet(help)) {
        io.out << "Usage: ticksmith-cli find " << Arguments << "\n\n"
               << parser.helpText().section(u'\n', 1).trimmed() << "\n";
        return Success;
    }
    const QStringList positional = parser.positionalArguments();
    if (positional.size() != 2)
        return usage(io, QStringLiteral("name one pattern and one folder"));

    store::SecuritySearch search;
    search.setProgress(terminalProgress(io));
    (void)search.SetIncludeSubfolders(parser.isSet(subfolders));
    (void)search.SetStatusText(QStringLiteral("Finding....."));
    if (store::Status s = search.Start(positional[0], positional[1]); !s.ok())
        return usage(io, s.text());
    for (const QString& problem : search.problems())
        io.err << "ticksmith-cli: " << problem << "\n";
    int hits = 0;
    for (store::Status s; s.ok(); s = search.NextHit()) {
        QString folder, fileName, symbol, name;
        if (!search.GetFolder(folder).ok() || !search.GetFileName(fileName).ok() || !search.GetSymbol(symbol).ok()
            || !search.GetName(name).ok())
            break;
        io.out << folder << '\t' << fileName << '\t' << symbol << '\t' << name << '\n';
        ++hits;
    }
    return hits > 0 ? Success : Problems;
}

} // namespace

std::vector<Command> findCommands()
{
    return {
        {"find",
         Arguments,
         "The securities whose symbol or name matches PATTERN: folder, data file, symbol, name",
         find},
    };
}

} // namespace cli

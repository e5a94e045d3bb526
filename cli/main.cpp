// ticksmith-cli: the program's work without a window, for scripts and scheduled runs.

#include "command.h"
#include "version.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

std::vector<cli::Command> allCommands()
{
    std::vector<cli::Command> commands;
    for (auto group : {cli::storeCommands(),
                       cli::adjustCommands(),
                       cli::quoteCommands(),
                       cli::downloadCommands(),
                       cli::convertCommands(),
                       cli::findCommands(),
                       cli::sourceCommands()})
        commands.insert(commands.end(), group.begin(), group.end());
    return commands;
}

void printUsage(QTextStream& out, const std::vector<cli::Command>& commands)
{
    out << "Usage: ticksmith-cli COMMAND [ARGUMENTS...]\n"
        << "       ticksmith-cli --help | --version\n\n"
        << "Works on MetaStock data folders and the quote service without opening a window.\n\n"
        << "Commands:\n";
    for (const auto& command : commands) {
        const QString synopsis =
            QStringLiteral("%1 %2").arg(QLatin1String(command.name), QLatin1String(command.arguments));
        out << "  " << synopsis.trimmed() << "\n      " << command.summary << "\n";
    }
    out << "\nExit status: 0 success, 1 problems found or the service did not answer usefully, "
           "2 bad arguments or unreadable input.\n";
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ticksmith-cli"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TICKSMITH_VERSION));
    QTextStream out(stdout);
    QTextStream err(stderr);
    cli::Io io{out, err};

    QStringList arguments = QCoreApplication::arguments().mid(1);
    const auto commands = allCommands();
    if (arguments.isEmpty()) {
        printUsage(err, commands);
        return cli::Usage;
    }
    const QString first = arguments.takeFirst();
    if (first == u"--help" || first == u"-h" || first == u"help") {
        printUsage(out, commands);
        return cli::Success;
    }
    if (first == u"--version") {
        out << "ticksmith-cli " << TICKSMITH_VERSION << "\n";
        return cli::Success;
    }
    for (const auto& command : commands) {
        if (first == QLatin1String(command.name))
            return command.run(arguments, io);
    }
    err << "ticksmith-cli: unknown command '" << first << "'; see ticksmith-cli --help\n";
    return cli::Usage;
}

// The quote sources: the --source option and the sources command, which lists them.

#include "command.h"
#include "sourceoption.h"

namespace cli {

namespace sources = download::sources;

std::unique_ptr<sources::SourceChain> takeSourceChain(QStringList& arguments, QString& problem)
{
    QString chosen;
    for (qsizetype i = arguments.indexOf(QStringLiteral("--source")); i >= 0;
         i = arguments.indexOf(QStringLiteral("--source"))) {
        if (i + 1 >= arguments.size() || arguments[i + 1].trimmed().isEmpty()) {
            problem = QStringLiteral("--source needs the name of a quote source (see ticksmith-cli sources)");
            return nullptr;
        }
        chosen = arguments[i + 1];
        arguments.remove(i, 2);
    }
    const ProgramSettings settings;
    const sources::SourceChoice choice = sources::SourceChoice::fromSettings(settings, chosen);
    problem = choice.problem();
    if (!problem.isEmpty())
        return nullptr;
    return std::make_unique<sources::SourceChain>(choice, settings, download::HttpLimits::fromSettings(settings));
}

namespace {

int listSources(const QStringList& arguments, Io& io)
{
    if (!arguments.isEmpty()) {
        io.err << "Usage: ticksmith-cli sources\n";
        return Usage;
    }
    const ProgramSettings settings;
    const sources::SourceChoice choice = sources::SourceChoice::fromSettings(settings);
    for (const sources::QuoteSource* source : sources::allSources()) {
        const bool classic = source->name() == sources::ClassicSource;
        const QString key = !source->needsKey()               ? QStringLiteral("no key needed")
            : sources::sourceKey(*source, settings).isEmpty() ? QStringLiteral("key missing")
                                                              : QStringLiteral("key set");
        QString address = classic ? download::ServiceAddresses::fromSettings(settings).historyUrl
                                  : sources::sourceAddress(*source, settings);
        if (address.isEmpty())
            address = QStringLiteral("(not configured)");
        const qsizetype fallback = choice.fallback.indexOf(source->name());
        const QString role = source->name() == choice.source ? QStringLiteral("chosen")
            : fallback >= 0                                  ? QStringLiteral("fallback %1").arg(fallback + 1)
                                                             : QStringLiteral("-");
        io.out << source->name() << "\t" << role << "\t" << key << "\t" << address << "\t" << source->title() << "\n";
    }
    if (const QString problem = choice.problem(); !problem.isEmpty()) {
        io.err << "ticksmith-cli: " << problem << "\n";
        return Problems;
    }
    return Success;
}

} // namespace

std::vector<Command> sourceCommands()
{
    return {
        {"sources",
         "",
         "Lists the quote sources, one a line: name, whether it is the chosen source or a fallback, whether "
         "its API key is set, its address and its title. --source NAME on history, quote and download (or "
         "TICKSMITH_SOURCE) chooses another; TICKSMITH_<NAME>_KEY gives a key.",
         listSources},
    };
}

} // namespace cli

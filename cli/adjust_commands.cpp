// The commands that change securities already in a folder: rename, remove, trim.

#include "command.h"
#include "store/arguments.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"
#include "storestatus.h"

#include <QCommandLineParser>

#include <optional>

namespace cli {

namespace {

const char* const RenameArguments = "FOLDER SYMBOL [--name NAME] [--symbol NEW]";
const char* const RemoveArguments = "FOLDER SYMBOL";
const char* const TrimArguments = "FOLDER SYMBOL --until YYYY-MM-DD";

// Parses FOLDER SYMBOL and the options of one command. Gives the exit status when the command is done
// here: after --help (0) or with bad arguments (2, with the reason and the usage).
std::optional<int>
parseArguments(QCommandLineParser& parser, const QStringList& arguments, const char* name, const char* synopsis, Io& io)
{
    parser.addPositionalArgument(QStringLiteral("FOLDER"), QStringLiteral("The data folder"));
    parser.addPositionalArgument(QStringLiteral("SYMBOL"), QStringLiteral("The security's symbol"));
    const QCommandLineOption help(QStringLiteral("help"), QStringLiteral("Shows this text"));
    parser.addOption(help);
    const QString usage =
        QStringLiteral("Usage: ticksmith-cli %1 %2\n").arg(QLatin1String(name), QLatin1String(synopsis));
    QString problem;
    if (!parser.parse(QStringList{QLatin1String(name)} + arguments))
        problem = parser.errorText();
    else if (parser.isSet(help)) {
        // The parser's own first line names the executable without the command.
        const QString text = parser.helpText();
        io.out << usage << text.mid(text.indexOf(u'\n') + 1);
        return Success;
    } else if (parser.positionalArguments().size() != 2)
        problem = QStringLiteral("give a folder and a symbol");
    if (problem.isEmpty())
        return std::nullopt;
    io.err << "ticksmith-cli: " << problem << "\n" << usage;
    return Usage;
}

// A security of a folder as the reader lists it, with its number of bars (-1 when its data file cannot
// be read).
struct Listed
{
    store::SecurityDescriptor security;
    qint32 bars = -1;
};

store::Status find(const QString& folder, const QString& symbol, Listed& listed)
{
    store::MetaStockReader reader;
    store::Status status = reader.OpenFolder(folder);
    qint32 more = 0;
    bool any = false;
    while (status.ok() && (status = reader.HasMoreSecurities(more)).ok() && more > 0) {
        any = true;
        if (!(status = reader.NextSecurity()).ok() || !(status = reader.GetSecurity(listed.security)).ok())
            break;
        if (!store::sameSymbol(listed.security.symbol, symbol))
            continue;
        if (!reader.SelectSecurity(listed.security.symbol).ok() || !reader.GetBarCount(listed.bars).ok())
            listed.bars = -1;
        return reader.Close();
    }
    (void)reader.Close();
    if (!status.ok())
        return status;
    if (!any)
        return store::Status::error(
            store::ErrorCode::NotFound,
            QStringLiteral("The folder %1 holds no securities: it is not a MetaStock data folder, or an empty one")
                .arg(folder));
    return store::Status::error(store::ErrorCode::NotFound,
                                QStringLiteral("The folder holds no security with the symbol \"%1\"").arg(symbol));
}

// Opens the folder for writing (so that nothing changes it meanwhile), finds the security, runs `change`
// and closes the folder, which writes the change as one step. Nothing is written when a step fails.
template<class Change>
store::Status changeFolder(const QString& folder, const QString& symbol, Listed& listed, Change change)
{
    store::MetaStockWriter writer;
    store::Status status = writer.OpenFolder(folder);
    if (status.ok())
        status = find(folder, symbol, listed);
    if (status.ok())
        status = change(writer);
    if (!status.ok())
        return status; // the writer is dropped unclosed: nothing of the change is written
    return writer.CloseFolder();
}

QString barCount(qint32 bars)
{
    return bars < 0 ? QStringLiteral("?") : QString::number(bars);
}

int rename(const QStringList& arguments, Io& io)
{
    QCommandLineParser parser;
    const QCommandLineOption name(QStringLiteral("name"), QStringLiteral("The new name"), QStringLiteral("NAME"));
    const QCommandLineOption symbol(QStringLiteral("symbol"), QStringLiteral("The new symbol"), QStringLiteral("NEW"));
    parser.addOptions({name, symbol});
    if (const auto done = parseArguments(parser, arguments, "rename", RenameArguments, io))
        return *done;
    if (!parser.isSet(name) && !parser.isSet(symbol)) {
        io.err << "ticksmith-cli: give --name, --symbol or both\nUsage: ticksmith-cli rename " << RenameArguments
               << "\n";
        return Usage;
    }
    const QString folder = parser.positionalArguments()[0];
    const QString current = parser.positionalArguments()[1];
    Listed listed;
    QString newName;
    QString newSymbol;
    const store::Status status = changeFolder(folder, current, listed, [&](store::MetaStockWriter& writer) {
        newName = parser.isSet(name) ? parser.value(name) : listed.security.name;
        newSymbol = parser.isSet(symbol) ? parser.value(symbol) : listed.security.symbol;
        return writer.ChangeSecurity(listed.security.symbol, newName, newSymbol);
    });
    if (!status.ok())
        return fail(io, status);
    // As the folder now holds them: trimmed, the symbol in upper case.
    Listed renamed;
    if (const store::Status s = find(folder, newSymbol, renamed); !s.ok())
        return fail(io, s);
    io.out << listed.security.symbol << '\t' << renamed.security.symbol << '\t' << renamed.security.name << '\n';
    return Success;
}

int remove(const QStringList& arguments, Io& io)
{
    QCommandLineParser parser;
    if (const auto done = parseArguments(parser, arguments, "remove", RemoveArguments, io))
        return *done;
    Listed listed;
    const store::Status status =
        changeFolder(parser.positionalArguments()[0],
                     parser.positionalArguments()[1],
                     listed,
                     [&](store::MetaStockWriter& writer) { return writer.DeleteSecurity(listed.security.symbol); });
    if (!status.ok())
        return fail(io, status);
    io.out << listed.security.symbol << '\t' << listed.security.name << '\t' << listed.security.fileName << '\t'
           << barCount(listed.bars) << '\n';
    return Success;
}

int trim(const QStringList& arguments, Io& io)
{
    QCommandLineParser parser;
    const QCommandLineOption until(QStringLiteral("until"),
                                   QStringLiteral("The last day removed (YYYY-MM-DD)"),
                                   QStringLiteral("YYYY-MM-DD"));
    parser.addOption(until);
    if (const auto done = parseArguments(parser, arguments, "trim", TrimArguments, io))
        return *done;
    if (!parser.isSet(until)) {
        io.err << "ticksmith-cli: give the last day to remove with --until\nUsage: ticksmith-cli trim " << TrimArguments
               << "\n";
        return Usage;
    }
    qint32 lastDay = 0;
    if (const store::Status s = store::parseDateText(parser.value(until).remove(u'-'), lastDay); !s.ok())
        return fail(io, s);
    const QString folder = parser.positionalArguments()[0];
    Listed listed;
    store::MetaStockWriter::RemovedBars removed;
    const store::Status status =
        changeFolder(folder, parser.positionalArguments()[1], listed, [&](store::MetaStockWriter& writer) {
            store::Status s = writer.SelectSecurity(listed.security.symbol);
            if (s.ok())
                s = writer.DeleteBarsBetween(QString::number(store::earliestDate), QString::number(lastDay), removed);
            return s.ok() ? writer.CloseSecurity() : s;
        });
    if (!status.ok())
        return fail(io, status);
    io.out << listed.security.symbol << '\t' << removed.count << '\t' << isoDate(removed.firstDate) << '\t'
           << isoDate(removed.lastDate) << '\n';
    Listed left;
    if (removed.count > 0 && find(folder, listed.security.symbol, left).ok() && left.bars == 0)
        io.err << "ticksmith-cli: " << listed.security.symbol << " has no bars left; its first and last date are now "
               << isoDate(left.security.lastDate)
               << ", so the next download continues after that day (download --correction-from fetches the "
                  "history again)\n";
    return Success;
}

} // namespace

std::vector<Command> adjustCommands()
{
    return {
        {"rename",
         RenameArguments,
         "Gives the security of SYMBOL a new name, a new symbol or both; prints the old symbol, the new symbol "
         "and the name. A symbol another security has is refused.",
         rename},
        {"remove",
         RemoveArguments,
         "Removes the security of SYMBOL with its data file; prints its symbol, name, data file and number of bars",
         remove},
        {"trim",
         TrimArguments,
         "Removes the bars of SYMBOL up to and including the --until day; prints the symbol, the number of bars "
         "removed and the first and last date removed",
         trim},
    };
}

} // namespace cli

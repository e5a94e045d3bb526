// The folder commands: list, bars, create, check.

#include "command.h"
#include "store/arguments.h"
#include "store/filesystem.h"
#include "store/metastock/folder.h"
#include "store/metastock/report.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"
#include "store/transaction.h"
#include "storestatus.h"

#include <QCommandLineParser>

namespace cli {

namespace {

int usage(Io& io, const char* synopsis)
{
    io.err << "Usage: ticksmith-cli " << synopsis << "\n";
    return Usage;
}

QString periodicityName(qint32 code)
{
    static const char* const names[] = {"Other", "Daily", "Weekly", "Monthly"};
    return QLatin1String(names[code >= 0 && code <= 3 ? code : 0]);
}

int list(const QStringList& arguments, Io& io)
{
    if (arguments.size() != 1)
        return usage(io, "list FOLDER");
    store::MetaStockReader reader;
    if (store::Status s = reader.OpenFolder(arguments[0]); !s.ok())
        return fail(io, s);
    int result = Success;
    qint32 more = 0;
    while (reader.HasMoreSecurities(more).ok() && more > 0) {
        store::SecurityDescriptor security;
        if (store::Status s = reader.NextSecurity(); !s.ok())
            return fail(io, s);
        if (store::Status s = reader.GetSecurity(security); !s.ok())
            return fail(io, s);
        QString bars = QStringLiteral("?");
        qint32 count = 0;
        if (store::Status s = reader.SelectSecurity(security.symbol); !s.ok()) {
            io.err << "ticksmith-cli: " << s.text() << "\n";
            result = Problems;
        } else if (reader.GetBarCount(count).ok()) {
            bars = QString::number(count);
        }
        (void)reader.CloseSecurity();
        io.out << security.symbol << '\t' << security.name << '\t' << security.fileName << '\t'
               << periodicityName(security.periodicity) << '\t' << isoDate(security.firstDate) << '\t'
               << isoDate(security.lastDate) << '\t' << bars << '\n';
    }
    (void)reader.Close();
    return result;
}

int bars(const QStringList& arguments, Io& io)
{
    if (arguments.isEmpty() || arguments.size() > 2)
        return usage(io, "bars FOLDER [SYMBOL]");
    store::FileSystem fs;
    store::metastock::FolderIndex index;
    store::metastock::Problems problems;
    if (store::Status s = store::metastock::readFolderIndex(fs, arguments[0], index, problems); !s.ok())
        return fail(io, s);
    if (store::Status s = store::metastock::damageStatus(problems); !s.ok())
        return fail(io, s);
    int result = Success;
    bool found = arguments.size() == 1;
    io.out << QLatin1String(store::metastock::barsCsvHeader()) << '\n';
    for (const store::metastock::IndexEntry* entry : index.securities()) {
        if (arguments.size() == 2 && !store::sameSymbol(entry->symbol, arguments[1]))
            continue;
        found = true;
        std::vector<store::metastock::Bar> bars;
        if (store::Status s = store::metastock::readBars(fs, index, *entry, bars, problems); !s.ok()) {
            io.err << "ticksmith-cli: " << s.text() << "\n";
            result = Problems;
            continue;
        }
        for (const store::metastock::Bar& bar : bars)
            io.out << QLatin1String(store::metastock::barsCsvLine(entry->symbol, entry->fields, bar)) << '\n';
    }
    if (!found)
        return fail(io,
                    store::Status::error(
                        store::ErrorCode::NotFound,
                        QStringLiteral("The folder holds no security with the symbol \"%1\"").arg(arguments[1])));
    return result;
}

int create(const QStringList& arguments, Io& io)
{
    const char* synopsis = "create FOLDER SYMBOL NAME FIRSTDATE [--periodicity daily|weekly|monthly]";
    QStringList positional;
    qint32 periodicity = store::Daily;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments[i] != u"--periodicity") {
            positional << arguments[i];
            continue;
        }
        const QString value = i + 1 < arguments.size() ? arguments[++i].toLower() : QString();
        const QStringList names{QStringLiteral("daily"), QStringLiteral("weekly"), QStringLiteral("monthly")};
        if (!names.contains(value))
            return usage(io, synopsis);
        periodicity = static_cast<qint32>(names.indexOf(value)) + 1;
    }
    if (positional.size() != 4)
        return usage(io, synopsis);
    const QString& folder = positional[0];
    const QString& symbol = positional[1];
    qint32 firstDate = 0;
    if (store::Status s = store::parseDateText(QString(positional[3]).remove(u'-'), firstDate); !s.ok())
        return fail(io, s);

    // The order the create-security window uses.
    store::MetaStockWriter writer;
    if (store::Status s = writer.CreateFolder(folder); !s.ok())
        return fail(io, s);
    if (store::Status s = writer.OpenFolder(folder); !s.ok())
        return fail(io, s);
    bool exists = false;
    store::Status status = writer.SecurityExists(symbol, exists);
    if (status.ok() && exists)
        status = store::Status::error(store::ErrorCode::AlreadyExists,
                                      QStringLiteral("A security with the symbol \"%1\" exists already").arg(symbol));
    if (status.ok())
        status = writer.CreateSecurity(symbol, positional[2], periodicity);
    if (status.ok())
        status = writer.AddBar(firstDate, 0, 0, 0, 0, 0, 0, 0);
    if (status.ok())
        status = writer.DeleteBar(QString::number(firstDate));
    if (status.ok())
        status = writer.CloseSecurity();
    const store::Status closed = writer.CloseFolder();
    if (status.ok())
        status = closed;
    return status.ok() ? Success : fail(io, status);
}

// Takes the folder lock (removing a lock file left by a writer that ended), finishes or undoes an
// interrupted change and removes leftover temporary files, reporting each thing it did.
int repair(store::FileSystem& fs, const QString& folder, Io& io)
{
    if (!fs.isFolder(folder))
        return fail(io,
                    store::Status::error(store::ErrorCode::NotFound,
                                         QStringLiteral("The folder %1 does not exist").arg(folder)));
    QString holder;
    const bool stale = store::FolderLock::inspect(folder, holder) == store::FolderLock::State::Stale;
    std::unique_ptr<store::FolderLock> lock;
    if (store::Status s = store::FolderLock::acquire(fs, folder, lock, 0); !s.ok())
        return fail(io, s);
    QStringList done;
    if (stale)
        done << QStringLiteral("removed the lock file of a writer that ended (%1)")
                    .arg(holder.isEmpty() ? QStringLiteral("unknown") : holder);
    const store::Status recovered = store::recoverFolder(fs, folder, &done);
    lock.reset();
    for (const QString& line : std::as_const(done))
        io.out << "Repaired: " << line << '\n';
    return recovered.ok() ? Success : fail(io, recovered);
}

int check(const QStringList& arguments, Io& io)
{
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("FOLDER"), QStringLiteral("The data folder"));
    const QCommandLineOption repairOption(
        QStringLiteral("repair"),
        QStringLiteral("First finish or undo an interrupted change and remove a lock left by a writer that ended"));
    parser.addOption(repairOption);
    if (!parser.parse(QStringList{QStringLiteral("check")} + arguments) || parser.positionalArguments().size() != 1)
        return usage(io, "check FOLDER [--repair]");
    const QString folder = parser.positionalArguments().front();
    store::FileSystem fs;
    if (parser.isSet(repairOption)) {
        if (const int status = repair(fs, folder, io); status != Success)
            return status;
    }
    store::metastock::Problems problems;
    if (store::Status s = store::metastock::checkFolder(fs, folder, problems); !s.ok())
        return fail(io, s);
    QString holder;
    switch (store::FolderLock::inspect(folder, holder)) {
    case store::FolderLock::State::Held:
        problems.push_back({QStringLiteral("TICKSMITH.LCK"),
                            QStringLiteral("a writer is changing the folder (%1)").arg(holder),
                            false});
        break;
    case store::FolderLock::State::Stale:
        problems.push_back(
            {QStringLiteral("TICKSMITH.LCK"),
             QStringLiteral("left by a writer that ended (%1); it blocks nobody, check --repair removes it")
                 .arg(holder),
             false});
        break;
    case store::FolderLock::State::None:
        break;
    }
    for (const store::metastock::Problem& problem : problems)
        io.out << problem.file << ": " << problem.text << '\n';
    if (!problems.empty())
        return Problems;
    io.out << "No problems found\n";
    return Success;
}

} // namespace

std::vector<Command> storeCommands()
{
    return {
        {"list",
         "FOLDER",
         "One line per security: symbol, name, data file, periodicity, first and last date, bars",
         list},
        {"bars", "FOLDER [SYMBOL]", "Every bar as CSV (symbol,date,time,open,high,low,close,volume,openint)", bars},
        {"create",
         "FOLDER SYMBOL NAME FIRSTDATE [--periodicity daily|weekly|monthly]",
         "Creates a security without bars, starting at FIRSTDATE (YYYY-MM-DD)",
         create},
        {"check",
         "FOLDER [--repair]",
         "Checks every index entry and data file, leftovers of an interrupted change and the folder lock; lists each "
         "problem with its file. --repair first finishes or undoes an interrupted change and removes a stale lock",
         check},
    };
}

} // namespace cli

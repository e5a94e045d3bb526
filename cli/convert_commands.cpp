// The conversion commands: export (a MetaStock folder to CSV files) and import (CSV files into a folder).

#include "command.h"
#include "convert/csvexport.h"
#include "convert/metastockconverter.h"
#include "store/filesystem.h"

#include <QCommandLineParser>
#include <QLocale>

#include <optional>
#include <unistd.h>

namespace cli {

namespace {

struct Request
{
    QString from;
    QString to;
    QLocale locale;
};

// The two folders and the locale, or the exit status of a usage error already reported.
std::optional<Request> parse(const char* name, const char* synopsis, const QStringList& arguments, Io& io, int& exit)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("ticksmith-cli %1 %2").arg(QLatin1String(name), QLatin1String(synopsis)));
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this text."));
    const QCommandLineOption locale(QStringLiteral("locale"),
                                    QStringLiteral("Dates and decimal separator of LOCALE (such as en_US or de_DE) "
                                                   "instead of the system's."),
                                    QStringLiteral("LOCALE"));
    parser.addOption(help);
    parser.addOption(locale);
    if (!parser.parse(QStringList{QLatin1String(name)} + arguments)) {
        io.err << "ticksmith-cli: " << parser.errorText() << "\nUsage: ticksmith-cli " << name << ' ' << synopsis
               << "\n";
        exit = Usage;
        return std::nullopt;
    }
    if (parser.isSet(help)) {
        io.out << parser.helpText();
        exit = Success;
        return std::nullopt;
    }
    const QStringList folders = parser.positionalArguments();
    if (folders.size() != 2) {
        io.err << "Usage: ticksmith-cli " << name << ' ' << synopsis << "\n";
        exit = Usage;
        return std::nullopt;
    }
    Request request{folders[0], folders[1], QLocale()};
    if (parser.isSet(locale)) {
        request.locale = QLocale(parser.value(locale));
        if (request.locale == QLocale::c() && parser.value(locale) != u"C") {
            io.err << "ticksmith-cli: '" << parser.value(locale) << "' is not a locale\n";
            exit = Usage;
            return std::nullopt;
        }
    }
    return request;
}

// Progress on standard error, only for a person watching: one line rewritten in place.
convert::Progress terminalProgress(Io& io)
{
    if (!::isatty(STDERR_FILENO))
        return {};
    return [&io](int done, int total, const QString&) {
        if (done % 16 == 0 || done == total) {
            io.err << '\r' << done << " of " << total << (done == total ? "\n" : "");
            io.err.flush();
        }
        return true;
    };
}

int finish(Io& io, const store::Status& status, const convert::ConversionReport& report)
{
    for (const convert::FileProblem& problem : report.problems)
        io.err << "ticksmith-cli: " << problem.message() << "\n";
    io.out << report.summary() << "\n";
    if (!status.ok()) {
        io.err << "ticksmith-cli: " << status.text() << "\n";
        const bool unusable = status.code() == store::ErrorCode::NotFound || status.code() == store::ErrorCode::Damaged
            || status.code() == store::ErrorCode::InvalidArgument;
        return unusable && report.converted == 0 ? Usage : Problems;
    }
    return report.problems.empty() ? Success : Problems;
}

int exportCommand(const QStringList& arguments, Io& io)
{
    int exit = Success;
    const auto request = parse("export", "FOLDER DEST [--locale LOCALE]", arguments, io, exit);
    if (!request)
        return exit;
    store::FileSystem fs;
    convert::ConversionReport report;
    const store::Status status =
        convert::exportFolder(fs, request->from, request->to, request->locale, report, terminalProgress(io));
    return finish(io, status, report);
}

int importCommand(const QStringList& arguments, Io& io)
{
    int exit = Success;
    const auto request = parse("import", "SOURCE FOLDER [--locale LOCALE]", arguments, io, exit);
    if (!request)
        return exit;
    convert::MetaStockConverter converter(request->locale);
    converter.setProgress(terminalProgress(io));
    const store::Status status = converter.Convert(request->from, request->to, QStringLiteral("CSV"));
    return finish(io, status, converter.report());
}

} // namespace

std::vector<Command> convertCommands()
{
    return {
        {"export",
         "FOLDER DEST [--locale LOCALE]",
         "Writes every security of the data FOLDER as a CSV file into DEST, as the Data Converter window does: "
         "named NAME.SYMBOL.csv (the name cut to 10 characters), a first line Date,Open,High,Low,Close,Volume, "
         "then one line per bar, oldest first, with the locale's short date and each number between blanks "
         "(5/1/2004, 12.5 , 13 , 12.1 , 12.75 , 10000 ), lines ended by CR LF. One line per security left out on "
         "standard error, then the summary; exits with 1 when any security was left out.",
         exportCommand},
        {"import",
         "SOURCE FOLDER [--locale LOCALE]",
         "Turns every *.csv file of SOURCE into a daily security of the data FOLDER (NAME.SYMBOL.csv or "
         "SYMBOL.csv), adding to securities that exist and replacing bars of the same dates. The first line "
         "names the columns: Date, High, Low, Close and Volume are needed, Open, OpenInt and Adj Close may be "
         "there; dates are the locale's short date, yyyy-mm-dd or yyyymmdd. A file that cannot be read is "
         "named with its line on standard error and changes nothing; exits with 1 when any file failed.",
         importCommand},
    };
}

} // namespace cli

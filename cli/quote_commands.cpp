#include "command.h"
#include "download/clsdailyquotes.h"
#include "download/clsstockquote.h"
#include "sourceoption.h"

#include <QDate>
#include <QLocale>

namespace cli {

namespace {

// A property as one line of output: the volume may still carry the reply's line end.
QString oneLine(QString text)
{
    while (text.endsWith(QLatin1Char('\n')) || text.endsWith(QLatin1Char('\r')))
        text.chop(1);
    return text;
}

QString number(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

int quote(const QStringList& given, Io& io)
{
    QStringList arguments = given;
    QString problem;
    const auto sources = takeSourceChain(arguments, problem);
    const QString symbol = arguments.value(0).trimmed();
    if (!sources || arguments.size() != 1 || symbol.isEmpty()) {
        if (!problem.isEmpty())
            io.err << "ticksmith-cli: " << problem << "\n";
        io.err << "Usage: ticksmith-cli quote SYMBOL " << SourceOption << "\n";
        return Usage;
    }
    download::clsStockQuote quote(*sources, QLocale());
    quote.setSymbol(symbol);
    for (std::size_t i = 0; i < quote.values().size(); ++i)
        io.out << download::StockQuotePropertyNames[i] << ": " << oneLine(quote.values()[i]) << "\n";
    if (!quote.errorString().isEmpty()) {
        io.err << "ticksmith-cli: " << quote.errorString() << "\n";
        return Problems;
    }
    return Success;
}

int history(const QStringList& given, Io& io)
{
    QStringList arguments = given;
    QString problem;
    const auto sources = takeSourceChain(arguments, problem);
    const QString symbol = arguments.value(0).trimmed();
    const QDate from = QDate::fromString(arguments.value(1), QStringLiteral("yyyy-MM-dd"));
    const QDate to = QDate::fromString(arguments.value(2), QStringLiteral("yyyy-MM-dd"));
    if (!sources || arguments.size() != 3 || symbol.isEmpty() || !from.isValid() || !to.isValid() || from > to) {
        if (!problem.isEmpty())
            io.err << "ticksmith-cli: " << problem << "\n";
        io.err << "Usage: ticksmith-cli history SYMBOL FROM TO " << SourceOption
               << "   (dates as YYYY-MM-DD, FROM not after TO)\n";
        return Usage;
    }
    download::DailyQuotes rows;
    download::clsDailyQuotes history(*sources, rows);
    history.DownloadDailyQuotes(symbol, from, to);
    io.out << "Request: " << history.request() << "\n"
           << "Status: " << history.Status() << "\n";
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const download::DailyQuoteRecord& row = rows[i];
        io.out << i + 1 << "\t" << row.date << "\t" << number(row.open) << "\t" << number(row.high) << "\t"
               << number(row.low) << "\t" << number(row.close) << "\t" << row.volume << "\n";
    }
    if (history.Status() != download::clsDailyQuotes::StatusOk) {
        io.err << "ticksmith-cli: " << history.errorString() << "\n";
        return Problems;
    }
    return Success;
}

} // namespace

std::vector<Command> quoteCommands()
{
    return {
        {"quote",
         "SYMBOL [--source NAME]",
         "Fetches the current quote of SYMBOL and prints its twelve properties.",
         quote},
        {"history",
         "SYMBOL FROM TO [--source NAME]",
         "Fetches the daily history of SYMBOL from FROM to TO (YYYY-MM-DD); prints the request, the Status "
         "and the rows, newest first.",
         history},
    };
}

} // namespace cli

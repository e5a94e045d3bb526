#include "newsecurity.h"

#include "context/appcontext.h"
#include "store/arguments.h"
#include "store/metastockwriter.h"

#include <QFileInfo>

namespace store {

QString startingFolder(const context::AppContext& context)
{
    const QString& current = context.state.currentFolder;
    return current.isEmpty() ? context.programFolder : current;
}

Status checkNewSecurity(const QString& symbol, const QString& name, QDate firstDate)
{
    QString normalized;
    for (const Status& status : {normalizeSymbol(symbol, normalized),
                                 normalizeName(name, normalized),
                                 checkDate(barDateText(firstDate).toInt())}) {
        if (!status.ok())
            return status;
    }
    return {};
}

bool folderReady(context::AppContext& context, QWidget* parent, MetaStockWriter& writer, const QString& folder)
{
    if (QFileInfo(folder).isDir())
        return true;
    if (!context.prompter->question(parent,
                                    kCreateTitle,
                                    QStringLiteral("Directory Not Found.\nDo You Want Create It?")))
        return false;
    carryOn(writer.CreateFolder(folder));
    return true;
}

void createEmptySecurity(MetaStockWriter& writer,
                         const QString& symbol,
                         const QString& name,
                         qint32 periodicity,
                         QDate firstDate)
{
    carryOn(writer.CreateSecurity(symbol, name, periodicity));
    const QString date = barDateText(firstDate);
    carryOn(writer.AddBar(date.toInt(), 0, 0, 0, 0, 0, 0, 0));
    carryOn(writer.DeleteBar(date));
}

} // namespace store

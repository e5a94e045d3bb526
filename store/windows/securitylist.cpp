#include "securitylist.h"

#include "context/helpers.h"
#include "store/arguments.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"

#include <QDateEdit>
#include <QListWidget>

namespace store {

Status fillSecurityNames(MetaStockReader& reader, const QString& folder, QListWidget& list)
{
    list.clear();
    Status status = reader.OpenFolder(folder);
    qint32 more = 0;
    while (status.ok() && (status = reader.HasMoreSecurities(more)).ok() && more >= 1) {
        QString name;
        if (!(status = reader.NextSecurity()).ok() || !(status = reader.GetName(name)).ok())
            return status;
        list.addItem(name);
    }
    return status.ok() ? reader.Close() : status;
}

Status readChosenSecurity(MetaStockReader& reader,
                          const QString& folder,
                          const QString& name,
                          Status (MetaStockReader::*date)(qint32&) const,
                          ChosenSecurity& chosen)
{
    Status status = reader.OpenFolder(folder);
    if (status.ok())
        status = reader.SelectSecurityByName(name);
    if (status.ok())
        status = reader.GetName(chosen.name);
    if (status.ok())
        status = reader.GetSymbol(chosen.symbol);
    if (status.ok())
        status = (reader.*date)(chosen.date);
    if (status.ok())
        status = reader.CloseSecurity();
    if (status.ok())
        status = reader.Close();
    return status;
}

Status runWriterSteps(std::unique_ptr<MetaStockWriter>& writer, std::initializer_list<WriterStep> steps)
{
    if (!writer)
        writer = std::make_unique<MetaStockWriter>();
    for (const WriterStep& step : steps) {
        if (Status status = step(*writer); !status.ok()) {
            writer.reset();
            return status;
        }
    }
    return {};
}

void setUpBarDatePicker(QDateEdit& picker, const QLocale& locale)
{
    picker.setDisplayFormat(context::GetShortDatePattern(locale));
    picker.setCalendarPopup(true);
    picker.setDateRange(QDate(1899, 12, 31), QDate(2099, 12, 31));
    picker.setSpecialValueText(QStringLiteral("N/A"));
}

void showBarDate(QDateEdit& picker, qint32 yyyymmdd)
{
    const QDate date(yyyymmdd / 10000, yyyymmdd / 100 % 100, yyyymmdd % 100);
    picker.setDate(checkDate(yyyymmdd).ok() ? date : picker.minimumDate());
}

QString barDateText(QDate date)
{
    return date.toString(QStringLiteral("yyyy/MM/dd")).remove(u'/');
}

} // namespace store

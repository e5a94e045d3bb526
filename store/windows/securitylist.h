#pragma once

// What the windows that adjust securities and delete data share: the list of a folder's securities,
// the header fields of the one clicked, and the date pickers that show them.

#include "store/status.h"

#include <QDate>
#include <QString>

#include <functional>
#include <initializer_list>
#include <memory>

class QDateEdit;
class QListWidget;
class QLocale;

namespace store {

class MetaStockReader;
class MetaStockWriter;

// Clears `list` and adds the name of every security of `folder`, in the reader's order: OpenFolder,
// then HasMoreSecurities / NextSecurity / GetName until the end, then Close. Stops at the first
// failure and returns it, keeping the names added so far.
Status fillSecurityNames(MetaStockReader& reader, const QString& folder, QListWidget& list);

// The security named `name` as the windows show it after a click: OpenFolder, SelectSecurityByName,
// GetName, GetSymbol, then `date` (GetFirstDate or GetLastDate), then CloseSecurity and Close.
struct ChosenSecurity
{
    QString name;
    QString symbol;
    qint32 date = 0; // yyyymmdd
};

Status readChosenSecurity(MetaStockReader& reader,
                          const QString& folder,
                          const QString& name,
                          Status (MetaStockReader::*date)(qint32&) const,
                          ChosenSecurity& chosen);

// Runs the steps of one action on a window's writer, which it makes at first use, until one fails. A
// failure drops the writer: that releases the folder and writes nothing the steps left pending (the
// writer writes at CloseFolder), and the window's next action makes a new one.
using WriterStep = std::function<Status(MetaStockWriter&)>;
Status runWriterSteps(std::unique_ptr<MetaStockWriter>& writer, std::initializer_list<WriterStep> steps);

// A picker for bar dates: the locale's short date, the range a folder can hold, and "N/A" below it.
void setUpBarDatePicker(QDateEdit& picker, const QLocale& locale);
// Shows a yyyymmdd date; a number that is no date (0 for none) shows as "N/A".
void showBarDate(QDateEdit& picker, qint32 yyyymmdd);
// A date as the eight digits yyyymmdd, the form in which the writer takes a date that names bars.
QString barDateText(QDate date);

} // namespace store

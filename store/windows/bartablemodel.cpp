#include "bartablemodel.h"

#include "context/helpers.h"

#include <charconv>

namespace store {

BarTableModel::BarTableModel(const QLocale& locale, QObject* parent)
    : QAbstractTableModel(parent)
    , m_locale(locale)
    , m_datePattern(context::GetShortDatePattern(locale))
    , m_dateSeparator(context::GetDateSeparator(locale))
{}

int BarTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int BarTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant BarTableModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    if (role == Qt::DisplayRole)
        return cellText(row(index.row()), index.column());
    if (role == Qt::TextAlignmentRole && index.column() != Date)
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}

QVariant BarTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    static const char* const titles[ColumnCount] = {"Date", "Open", "High", "Low", "Close", "Volume"};
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= ColumnCount)
        return {};
    return QLatin1String(titles[section]);
}

bool BarTableModel::removeRows(int row, int count, const QModelIndex& parent)
{
    if (parent.isValid() || row < 0 || count < 1 || row + count > rowCount())
        return false;
    beginRemoveRows({}, row, row + count - 1);
    m_rows.erase(m_rows.begin() + row, m_rows.begin() + row + count);
    endRemoveRows();
    return true;
}

void BarTableModel::setRows(std::vector<PriceBar> rows)
{
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
}

void BarTableModel::setRow(int index, const PriceBar& row)
{
    m_rows[size_t(index)] = row;
    emit dataChanged(this->index(index, 0), this->index(index, ColumnCount - 1));
}

QString BarTableModel::cellText(const PriceBar& row, int column) const
{
    switch (column) {
    case Date:
        return dateText(row.date);
    case Open:
        return priceText(row.open);
    case High:
        return priceText(row.high);
    case Low:
        return priceText(row.low);
    case Close:
        return priceText(row.close);
    case Volume:
        return volumeText(row.volume);
    }
    return {};
}

QString BarTableModel::dateText(qint32 yyyymmdd) const
{
    return context::FormatBarDate(yyyymmdd, m_datePattern, m_dateSeparator, m_locale);
}

QString BarTableModel::priceText(double value)
{
    return QString::number(value, 'f', 2);
}

QString BarTableModel::volumeText(double value)
{
    return plainNumber(value);
}

QString plainNumber(double value)
{
    char text[64];
    const auto result = std::to_chars(text, text + sizeof text, float(value), std::chars_format::fixed);
    return result.ec == std::errc() ? QString::fromLatin1(text, int(result.ptr - text)) : QString::number(value);
}

} // namespace store

#pragma once

#include "store/securitytypes.h"

#include <QAbstractTableModel>
#include <QLocale>
#include <QString>

#include <vector>

namespace store {

// The bars of one security as the data sheet's table: "Date", "Open", "High", "Low", "Close", "Volume".
// Rows keep the bars as read and are turned into text only when shown, so a history of tens of thousands of
// bars costs a few bytes a row and no widget items. Dates show as the locale's short date, prices with
// two decimals ("####0.00"), volumes as plain decimal text.
class BarTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        Date,
        Open,
        High,
        Low,
        Close,
        Volume,
        ColumnCount,
    };

    explicit BarTableModel(const QLocale& locale, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    bool removeRows(int row, int count, const QModelIndex& parent = {}) override;

    void setRows(std::vector<PriceBar> rows);

    const PriceBar& row(int index) const { return m_rows[size_t(index)]; }

    void setRow(int index, const PriceBar& row);

    // The texts the table shows.
    QString dateText(qint32 yyyymmdd) const;
    static QString priceText(double value);
    static QString volumeText(double value);

private:
    QString cellText(const PriceBar& row, int column) const;

    std::vector<PriceBar> m_rows;
    QLocale m_locale;
    QString m_datePattern;
    QString m_dateSeparator;
};

// A stored value as the shortest text that reads back as the same single-precision number the folder
// holds ("12.345", "1500000"), in fixed notation: what an editing box shows, so applying it unchanged
// writes the same value back.
QString plainNumber(double value);

} // namespace store

#pragma once

#include "chart/chartgeometry.h"
#include "store/metastockwriter.h"

#include <QDate>
#include <QString>

#include <gtest/gtest.h>

#include <vector>

namespace chart_test {

// Writes a daily security "X" with the bars given.
inline void writeSecurity(const QString& folder, const std::vector<store::PriceBar>& bars)
{
    store::MetaStockWriter writer;
    ASSERT_TRUE(writer.OpenFolder(folder).ok());
    ASSERT_TRUE(writer.CreateSecurity(QStringLiteral("X"), QStringLiteral("Example"), 1).ok());
    for (const store::PriceBar& bar : bars)
        ASSERT_TRUE(writer.AddBar(bar.date, 0, bar.open, bar.high, bar.low, bar.close, bar.volume, 0).ok());
    ASSERT_TRUE(writer.CloseFolder().ok());
}

inline void writeSecurity(const QString& folder, const std::vector<chart::ChartBar>& bars)
{
    std::vector<store::PriceBar> prices;
    for (const chart::ChartBar& bar : bars)
        prices.push_back({bar.yyyymmdd, 0, bar.open, bar.high, bar.low, bar.close, double(bar.volume), 0});
    writeSecurity(folder, prices);
}

// `count` bars between `low` and `high`, rising by one cent a bar; dates from 2005-01-03.
inline std::vector<chart::ChartBar> bars(int count, double low = 99, double high = 130)
{
    std::vector<chart::ChartBar> result;
    QDate day(2005, 1, 3);
    for (int i = 0; i < count; ++i) {
        const double close = low + 0.01 * i;
        result.push_back({day.toString(QStringLiteral("M/d/yyyy")),
                          day.year() * 10000 + day.month() * 100 + day.day(),
                          close,
                          high,
                          low,
                          close,
                          1000});
        day = day.addDays(1);
    }
    return result;
}

} // namespace chart_test

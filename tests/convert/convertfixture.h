#pragma once

#include "../store/storetest.h"
#include "store/filesystem.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"

#include <QByteArray>
#include <QMap>

#include <gtest/gtest.h>

#include <vector>

namespace convert_test {

using store_test::NoSyncFileSystem;

// Every bar of every daily security, by symbol; the values as the reader gives them.
using FolderBars = QMap<QString, std::vector<store::PriceBar>>;

inline FolderBars barsOf(const QString& folder)
{
    FolderBars found;
    store::MetaStockReader reader;
    EXPECT_TRUE(reader.OpenFolder(folder).ok()) << qPrintable(folder);
    qint32 more = 0;
    while (reader.HasMoreSecurities(more).ok() && more > 0 && reader.NextSecurity().ok()) {
        QString symbol;
        EXPECT_TRUE(reader.GetSymbol(symbol).ok());
        EXPECT_TRUE(reader.SelectSecurity(symbol).ok()) << qPrintable(symbol);
        auto& bars = found[symbol.toUpper()];
        store::PriceBar bar;
        while (reader.HasMoreBars(more).ok() && more > 0 && reader.ReadNextBar().ok() && reader.GetBar(bar).ok())
            bars.push_back(bar);
    }
    return found;
}

// A folder of `securities` daily securities with `bars` bars each, the values chosen to need every form
// of number the files write: fractions, whole numbers, small and large magnitudes.
inline void makeFolder(const QString& folder, int securities, int bars)
{
    NoSyncFileSystem fs;
    store::MetaStockWriter writer(fs);
    ASSERT_TRUE(writer.CreateFolder(folder).ok());
    ASSERT_TRUE(writer.OpenFolder(folder).ok());
    for (int s = 0; s < securities; ++s) {
        ASSERT_TRUE(writer.CreateSecurity(QStringLiteral("S%1.X").arg(s), QStringLiteral("Name %1").arg(s), 1).ok());
        for (int b = 0; b < bars; ++b) {
            const double price = (s + 1) * 0.37 + b * 1.013;
            const qint32 date = 19991220 + (b % 10) + (b / 10) * 10000;
            ASSERT_TRUE(
                writer.AddBar(date, 0, price, price * 1.5, price / 3, -price / 7, b * 123457.0 + 1e-4 * s, 0).ok());
        }
        ASSERT_TRUE(writer.CloseSecurity().ok());
    }
    ASSERT_TRUE(writer.CloseFolder().ok());
}

inline void expectSameBars(const std::vector<store::PriceBar>& actual,
                           const std::vector<store::PriceBar>& expected,
                           const QString& symbol)
{
    ASSERT_EQ(actual.size(), expected.size()) << qPrintable(symbol);
    for (size_t i = 0; i < actual.size(); ++i) {
        const store::PriceBar& a = actual[i];
        const store::PriceBar& e = expected[i];
        EXPECT_TRUE(a.date == e.date && a.open == e.open && a.high == e.high && a.low == e.low && a.close == e.close
                    && a.volume == e.volume)
            << qPrintable(symbol) << " bar " << i << ": " << a.date << " " << a.close << " " << a.volume
            << " != " << e.date << " " << e.close << " " << e.volume;
    }
}

} // namespace convert_test

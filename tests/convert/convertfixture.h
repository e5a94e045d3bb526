#pragma once

#include "../store/storetest.h"

#include <QMap>

#include <gtest/gtest.h>

#include <vector>

namespace convert_test {

using store_test::NoSyncFileSystem;

// Every bar of every security, by symbol in capitals; the values as the reader gives them.
using FolderBars = QMap<QString, std::vector<store::PriceBar>>;

inline FolderBars barsOf(const QString& folder)
{
    FolderBars found;
    store::MetaStockReader reader; // one for all: opening a folder reads its whole index
    EXPECT_OK(reader.OpenFolder(folder));
    store::SecurityDescriptor security;
    qint32 more = 0;
    while (reader.HasMoreSecurities(more).ok() && more > 0 && reader.NextSecurity().ok()
           && reader.GetSecurity(security).ok()) {
        EXPECT_OK(reader.SelectSecurity(security.symbol));
        auto& bars = found[security.symbol.toUpper()];
        while (reader.HasMoreBars(more).ok() && more > 0 && reader.ReadNextBar().ok())
            EXPECT_OK(reader.GetBar(bars.emplace_back()));
    }
    return found;
}

// A folder of `securities` daily securities with `bars` bars each, the values chosen to need every form
// of number the files write: fractions, whole numbers, small and large magnitudes.
inline void makeFolder(const QString& folder, int securities, int bars)
{
    NoSyncFileSystem fs;
    store::MetaStockWriter writer(fs);
    ASSERT_OK(writer.CreateFolder(folder));
    ASSERT_OK(writer.OpenFolder(folder));
    for (int s = 0; s < securities; ++s) {
        ASSERT_OK(writer.CreateSecurity(QStringLiteral("S%1.X").arg(s), QStringLiteral("Name %1").arg(s), 1));
        for (int b = 0; b < bars; ++b) {
            const double price = (s + 1) * 0.37 + b * 1.013;
            const qint32 date = 19991220 + (b % 10) + (b / 10) * 10000;
            ASSERT_OK(writer.AddBar(date, 0, price, price * 1.5, price / 3, -price / 7, b * 123457.0 + 1e-4 * s, 0));
        }
    }
    ASSERT_OK(writer.CloseFolder());
}

// What a CSV file carries of a bar: date, prices and volume (no time), each as the single-precision
// number the folder stores, in full.
inline QString barText(const store::PriceBar& b)
{
    return QString::asprintf("%d %.9g %.9g %.9g %.9g %.9g",
                             b.date,
                             float(b.open),
                             float(b.high),
                             float(b.low),
                             float(b.close),
                             float(b.volume));
}

inline void expectSameBars(const std::vector<store::PriceBar>& actual,
                           const std::vector<store::PriceBar>& expected,
                           const QString& symbol)
{
    QStringList a, e;
    for (const store::PriceBar& bar : actual)
        a << barText(bar);
    for (const store::PriceBar& bar : expected)
        e << barText(bar);
    EXPECT_EQ(a, e) << qPrintable(symbol);
}

} // namespace convert_test

// The writer in the orders the windows call it, its decisions on what the calls leave open,
// and the bytes it leaves on disk.

#include "store/metastockreader.h"
#include "store/metastockwriter.h"
#include "storetest.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using store::ErrorCode;
using store::MetaStockReader;
using store::MetaStockWriter;
using store_test::problemsOf;
using store_test::snapshot;

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(QByteArray(text).replace(' ', ""));
}

class WriterTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_root.isValid()); }

    // As the create-security window does: a security with its first date and no bars.
    void create(const QString& symbol, const QString& name, qint32 firstDate, qint32 periodicity = store::Daily)
    {
        MetaStockWriter writer;
        ASSERT_OK(writer.CreateFolder(m_folder));
        ASSERT_OK(writer.OpenFolder(m_folder));
        bool exists = true;
        ASSERT_OK(writer.SecurityExists(symbol, exists));
        ASSERT_FALSE(exists);
        ASSERT_OK(writer.CreateSecurity(symbol, name, periodicity));
        ASSERT_OK(writer.AddBar(firstDate, 0, 0, 0, 0, 0, 0, 0));
        ASSERT_OK(writer.DeleteBar(QString::number(firstDate)));
        ASSERT_OK(writer.CloseSecurity());
        ASSERT_OK(writer.CloseFolder());
    }

    // As the download does: bars oldest first, replacing bars of the same date.
    void append(const QString& symbol, const std::vector<store::PriceBar>& bars)
    {
        MetaStockWriter writer;
        ASSERT_OK(writer.OpenFolder(m_folder));
        ASSERT_OK(writer.SelectSecurity(symbol));
        for (const store::PriceBar& bar : bars) {
            bool exists = false;
            ASSERT_OK(writer.BarExists(QString::number(bar.date), exists));
            if (exists) {
                ASSERT_OK(writer.DeleteBar(QString::number(bar.date)));
            }
            ASSERT_OK(writer.AddBar(bar));
        }
        ASSERT_OK(writer.Commit());
        ASSERT_OK(writer.CloseSecurity());
        ASSERT_OK(writer.CloseFolder());
    }

    // Dates and closes of a security as the reader delivers them.
    std::vector<std::pair<qint32, double>> closes(const QString& symbol)
    {
        std::vector<std::pair<qint32, double>> result;
        MetaStockReader reader;
        EXPECT_OK(reader.OpenFolder(m_folder));
        EXPECT_OK(reader.SelectSecurity(symbol));
        qint32 more = 0;
        while (reader.HasMoreBars(more).ok() && more > 0) {
            qint32 date = 0;
            double close = 0;
            EXPECT_OK(reader.ReadNextBar());
            EXPECT_OK(reader.GetBarDate(date));
            EXPECT_OK(reader.GetClose(close));
            result.emplace_back(date, close);
        }
        EXPECT_OK(reader.CloseSecurity());
        EXPECT_OK(reader.Close());
        return result;
    }

    std::pair<qint32, qint32> indexDates(const QString& symbol)
    {
        MetaStockReader reader;
        qint32 first = 0;
        qint32 last = 0;
        EXPECT_OK(reader.OpenFolder(m_folder));
        EXPECT_OK(reader.SelectSecurity(symbol));
        EXPECT_OK(reader.GetFirstDate(first));
        EXPECT_OK(reader.GetLastDate(last));
        return {first, last};
    }

    static store::PriceBar bar(qint32 date, double close)
    {
        return {date, 0, close, close + 1, close - 1, close, 1000, 0};
    }

    QTemporaryDir m_root;
    QString m_folder = m_root.filePath(QStringLiteral("data/nested"));
};

TEST_F(WriterTest, WritesTheFormatByteForByte)
{
    create(QStringLiteral("abc"), QStringLiteral("Alpha Beta"), 20050103);
    append(QStringLiteral("ABC"), {{20050103, 0, 12.5, 13.5, 12.5, 13.0, 1000, 0}});

    const auto files = snapshot(m_folder);
    EXPECT_EQ(files.keys(), (QStringList{"EMASTER", "F1.DAT", "MASTER"}));
    const QByteArray master = hex("01 00 01 00") + QByteArray(49, '\0') + hex("01 65 00 1C 07 00 00")
        + "Alpha Beta      " + hex("00 00") + hex("B8 2F 00 95 B8 2F 00 95") + "D" + hex("00 00") + "ABC           "
        + hex("20 20 00");
    EXPECT_EQ(files.value("MASTER").toHex(' '), master.toHex(' '));
    const QByteArray data = hex("00 00 02 00") + QByteArray(24, '\0')
        + hex("B8 2F 00 95 00 00 48 84 00 00 58 84 00 00 48 84 00 00 50 84 00 00 7A 8A 00 00 00 00");
    EXPECT_EQ(files.value("F1.DAT").toHex(' '), data.toHex(' '));

    const QByteArray emaster = files.value("EMASTER");
    ASSERT_EQ(emaster.size(), 2 * 192);
    EXPECT_EQ(emaster.left(4), hex("01 00 01 00"));
    const QByteArray record = emaster.mid(192);
    EXPECT_EQ(record.left(11), hex("36 36 01 00 00 00 07 7F 00 20 00"));
    EXPECT_EQ(record.mid(11, 14), QByteArray("ABC").leftJustified(14, '\0'));
    EXPECT_EQ(record.mid(32, 16), QByteArray("Alpha Beta").leftJustified(16, '\0'));
    EXPECT_EQ(record.mid(64, 4), hex("B8 2F 80 49"));
    EXPECT_EQ(record.mid(126, 4), hex("B7 F0 31 01")); // 20050103
    EXPECT_EQ(record.mid(139), QByteArray(53, '\0')); // no long name for a name that fits
    EXPECT_EQ(problemsOf(m_folder), QString());
}

TEST_F(WriterTest, NewSecurityKeepsItsFirstDateWithoutBars)
{
    create(QStringLiteral("ABC"), QStringLiteral("Alpha"), 20040315);
    EXPECT_TRUE(closes(QStringLiteral("ABC")).empty());
    EXPECT_EQ(indexDates(QStringLiteral("ABC")), std::make_pair(20040315, 20040315));
    EXPECT_EQ(problemsOf(m_folder), QString());

    append(QStringLiteral("ABC"), {bar(20040316, 1), bar(20040317, 2)});
    EXPECT_EQ(indexDates(QStringLiteral("ABC")), std::make_pair(20040316, 20040317));
    // Deleting every bar again falls back to the first date.
    MetaStockWriter writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    ASSERT_OK(writer.SelectSecurity(QStringLiteral("ABC")));
    ASSERT_OK(writer.DeleteBarsBetween(QStringLiteral("20040101"), QStringLiteral("20041231")));
    ASSERT_OK(writer.CloseFolder());
    EXPECT_EQ(indexDates(QStringLiteral("ABC")), std::make_pair(20040316, 20040316));
    EXPECT_EQ(problemsOf(m_folder), QString());
}

TEST_F(WriterTest, KeepsBarsInDateOrderWithOneBarPerDate)
{
    create(QStringLiteral("ABC"), QStringLiteral("Alpha"), 20040105);
    append(QStringLiteral("ABC"), {bar(20040105, 1), bar(20040107, 3)});
    MetaStockWriter writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    ASSERT_OK(writer.SelectSecurity(QStringLiteral("ABC")));
    ASSERT_OK(writer.AddBar(bar(20040106, 2))); // older than the last bar: inserted in its place
    ASSERT_OK(writer.AddBar(bar(20040107, 30))); // same date: replaces
    ASSERT_OK(writer.AddBar(bar(20040102, 0.5))); // before the first bar: the first date moves
    ASSERT_OK(writer.Commit());
    ASSERT_OK(writer.CloseFolder());
    const std::vector<std::pair<qint32, double>> expected{{20040102, 0.5},
                                                          {20040105, 1},
                                                          {20040106, 2},
                                                          {20040107, 30}};
    EXPECT_EQ(closes(QStringLiteral("ABC")), expected);
    EXPECT_EQ(indexDates(QStringLiteral("ABC")), std::make_pair(20040102, 20040107));
}

struct RangeCase
{
    const char* from;
    const char* to;
    std::vector<qint32> left;
};

class DeleteRangeTest
    : public WriterTest
    , public ::testing::WithParamInterface<RangeCase>
{};

TEST_P(DeleteRangeTest, IncludesBothEnds)
{
    create(QStringLiteral("ABC"), QStringLiteral("Alpha"), 20040105);
    append(QStringLiteral("ABC"), {bar(20040105, 1), bar(20040106, 2), bar(20040107, 3), bar(20040108, 4)});
    // As the delete-before-date window does: no Commit, the folder closed before the security.
    MetaStockWriter writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    ASSERT_OK(writer.SelectSecurityByName(QStringLiteral("ALPHA")));
    ASSERT_OK(writer.DeleteBarsBetween(QLatin1String(GetParam().from), QLatin1String(GetParam().to)));
    ASSERT_OK(writer.CloseFolder());
    ASSERT_OK(writer.CloseSecurity());
    std::vector<qint32> left;
    for (const auto& [date, close] : closes(QStringLiteral("ABC")))
        left.push_back(date);
    EXPECT_EQ(left, GetParam().left);
    EXPECT_EQ(problemsOf(m_folder), QString());
}

INSTANTIATE_TEST_SUITE_P(
    Ranges,
    DeleteRangeTest,
    ::testing::Values(RangeCase{"20040106", "20040107", {20040105, 20040108}},
                      RangeCase{"20040101", "20040105", {20040106, 20040107, 20040108}},
                      RangeCase{"20040108", "20040105", {20040105, 20040106, 20040107, 20040108}},
                      RangeCase{"20040109", "20040120", {20040105, 20040106, 20040107, 20040108}}));

TEST_F(WriterTest, HandEditsPersistWithoutCommit)
{
    create(QStringLiteral("ABC"), QStringLiteral("Alpha"), 20040105);
    append(QStringLiteral("ABC"), {bar(20040105, 1), bar(20040107, 3)});
    {
        // As the data sheet inserts a bar by hand: time -1 and open interest -1.0, no Commit.
        MetaStockWriter writer;
        ASSERT_OK(writer.OpenFolder(m_folder));
        ASSERT_OK(writer.SelectSecurity(QStringLiteral("ABC")));
        bool exists = true;
        ASSERT_OK(writer.BarExists(QStringLiteral("20040106"), exists));
        ASSERT_FALSE(exists);
        ASSERT_OK(writer.AddBar(20040106, -1, 2, 2, 2, 2, 5, -1.0));
        ASSERT_OK(writer.CloseSecurity());
        ASSERT_OK(writer.CloseFolder());
    }
    {
        // Change by hand, no Commit.
        MetaStockWriter writer;
        ASSERT_OK(writer.OpenFolder(m_folder));
        ASSERT_OK(writer.SelectSecurity(QStringLiteral("ABC")));
        ASSERT_OK(writer.ChangeBar(QStringLiteral("20040107"), QStringLiteral("-1"), -1, 3, 4, 2, 3.5, 9, -1.0));
        ASSERT_OK(writer.CloseSecurity());
        ASSERT_OK(writer.CloseFolder());
    }
    const std::vector<std::pair<qint32, double>> expected{{20040105, 1}, {20040106, 2}, {20040107, 3.5}};
    EXPECT_EQ(closes(QStringLiteral("ABC")), expected);
}

TEST_F(WriterTest, MissingBarsAndSecuritiesFailAndChangeNothing)
{
    create(QStringLiteral("ABC"), QStringLiteral("Alpha"), 20040105);
    append(QStringLiteral("ABC"), {bar(20040105, 1)});
    const auto before = snapshot(m_folder);
    MetaStockWriter writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    EXPECT_FAILS_WITH(writer.AddBar(bar(20040106, 2)), ErrorCode::NoSecurity);
    EXPECT_FAILS_WITH(writer.SelectSecurity(QStringLiteral("XYZ")), ErrorCode::NotFound);
    EXPECT_FAILS_WITH(writer.DeleteSecurity(QStringLiteral("XYZ")), ErrorCode::NotFound);
    EXPECT_FAILS_WITH(writer.ChangeSecurity(QStringLiteral("XYZ"), QStringLiteral("n"), QStringLiteral("S")),
                      ErrorCode::NotFound);
    ASSERT_OK(writer.SelectSecurity(QStringLiteral("abc")));
    EXPECT_FAILS_WITH(writer.DeleteBar(QStringLiteral("20040106")), ErrorCode::NotFound);
    EXPECT_FAILS_WITH(writer.ChangeBar(QStringLiteral("20040106"), QStringLiteral("-1"), -1, 1, 1, 1, 1, 1, -1),
                      ErrorCode::NotFound);
    ASSERT_OK(writer.Commit());
    ASSERT_OK(writer.CloseFolder());
    EXPECT_EQ(snapshot(m_folder), before);
}

struct BadInput
{
    const char* what;
    std::function<store::Status(MetaStockWriter&)> call;
};

class BadInputTest
    : public WriterTest
    , public ::testing::WithParamInterface<BadInput>
{};

TEST_P(BadInputTest, IsRefusedAndChangesNothing)
{
    create(QStringLiteral("ABC"), QStringLiteral("Alpha"), 20040105);
    append(QStringLiteral("ABC"), {bar(20040105, 1)});
    const auto before = snapshot(m_folder);
    MetaStockWriter writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    ASSERT_OK(writer.SelectSecurity(QStringLiteral("ABC")));
    const store::Status status = GetParam().call(writer);
    EXPECT_EQ(status.code(), ErrorCode::InvalidArgument) << qPrintable(status.text());
    EXPECT_FALSE(status.text().isEmpty());
    ASSERT_OK(writer.CloseFolder());
    EXPECT_EQ(snapshot(m_folder), before);
}

const double inf = std::numeric_limits<double>::infinity();
const double nan = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
    Inputs,
    BadInputTest,
    ::testing::Values(
        BadInput{"symbol of 15 characters",
                 [](MetaStockWriter& w) {
                     return w.CreateSecurity(QStringLiteral("ABCDEFGHIJKLMNO"), QStringLiteral("n"), 1);
                 }},
        BadInput{"empty symbol",
                 [](MetaStockWriter& w) { return w.CreateSecurity(QStringLiteral("  "), QStringLiteral("n"), 1); }},
        BadInput{"name of 46 characters",
                 [](MetaStockWriter& w) { return w.CreateSecurity(QStringLiteral("X"), QString(46, u'n'), 1); }},
        BadInput{"name outside Latin-1",
                 [](MetaStockWriter& w) {
                     return w.CreateSecurity(QStringLiteral("X"), QStringLiteral("Zloty \u0141"), 1);
                 }},
        BadInput{"control character",
                 [](MetaStockWriter& w) { return w.CreateSecurity(QStringLiteral("X\tY"), QStringLiteral("n"), 1); }},
        BadInput{"periodicity 4",
                 [](MetaStockWriter& w) { return w.CreateSecurity(QStringLiteral("X"), QStringLiteral("n"), 4); }},
        BadInput{"rename to a long symbol",
                 [](MetaStockWriter& w) {
                     return w.ChangeSecurity(QStringLiteral("ABC"),
                                             QStringLiteral("n"),
                                             QStringLiteral("ABCDEFGHIJKLMNOP"));
                 }},
        BadInput{"NaN", [](MetaStockWriter& w) { return w.AddBar(20040106, 0, nan, 1, 1, 1, 1, 0); }},
        BadInput{"infinite volume", [](MetaStockWriter& w) { return w.AddBar(20040106, 0, 1, 1, 1, 1, inf, 0); }},
        BadInput{"2^127",
                 [](MetaStockWriter& w) { return w.AddBar(20040106, 0, 1, 1, 1, std::ldexp(1.0, 127), 1, 0); }},
        BadInput{"date before 1900", [](MetaStockWriter& w) { return w.AddBar(18991231, 0, 1, 1, 1, 1, 1, 0); }},
        BadInput{"date after 2099", [](MetaStockWriter& w) { return w.AddBar(21000101, 0, 1, 1, 1, 1, 1, 0); }},
        BadInput{"30 February", [](MetaStockWriter& w) { return w.AddBar(20040230, 0, 1, 1, 1, 1, 1, 0); }},
        BadInput{"date text with slashes",
                 [](MetaStockWriter& w) { return w.DeleteBar(QStringLiteral("2004/01/05")); }},
        BadInput{"date text of 7 digits", [](MetaStockWriter& w) { return w.DeleteBar(QStringLiteral("2004010")); }}),
    [](const ::testing::TestParamInfo<BadInput>& param) {
        std::string name;
        for (const char* c = param.param.what; *c; ++c)
            name += std::isalnum(static_cast<unsigned char>(*c)) ? *c : '_';
        return name;
    });

TEST_F(WriterTest, DuplicateSymbolsAreRefused)
{
    create(QStringLiteral("ABC"), QStringLiteral("Alpha"), 20040105);
    create(QStringLiteral("DEF"), QStringLiteral("Delta"), 20040105);
    MetaStockWriter writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    EXPECT_FAILS_WITH(writer.CreateSecurity(QStringLiteral("abc"), QStringLiteral("Again"), 1),
                      ErrorCode::AlreadyExists);
    EXPECT_FAILS_WITH(writer.ChangeSecurity(QStringLiteral("DEF"), QStringLiteral("Delta"), QStringLiteral("ABC")),
                      ErrorCode::AlreadyExists);
    ASSERT_OK(writer.CloseFolder());
}

TEST_F(WriterTest, RenamesAndDeletesSecurities)
{
    const QString longName = QStringLiteral("A name much longer than sixteen");
    create(QStringLiteral("ABC"), QStringLiteral("Alpha"), 20040105);
    create(QStringLiteral("DEF"), QStringLiteral("Delta"), 20040105);
    create(QStringLiteral("GHI"), QStringLiteral("Gamma"), 20040105);
    {
        // As the adjust-security window does.
        MetaStockWriter writer;
        ASSERT_OK(writer.OpenFolder(m_folder));
        ASSERT_OK(writer.ChangeSecurity(QStringLiteral("ABC"), longName, QStringLiteral("XYZ")));
        ASSERT_OK(writer.CloseFolder());
        ASSERT_OK(writer.OpenFolder(m_folder));
        ASSERT_OK(writer.DeleteSecurity(QStringLiteral("DEF")));
        ASSERT_OK(writer.CloseFolder());
    }
    MetaStockReader reader;
    ASSERT_OK(reader.OpenFolder(m_folder));
    QStringList listed;
    qint32 more = 0;
    while (reader.HasMoreSecurities(more).ok() && more > 0) {
        QString symbol, name, file;
        ASSERT_OK(reader.NextSecurity());
        ASSERT_OK(reader.GetSymbol(symbol));
        ASSERT_OK(reader.GetName(name));
        ASSERT_OK(reader.GetFileName(file));
        listed << symbol + u'/' + name + u'/' + file;
    }
    EXPECT_EQ(listed,
              (QStringList{"XYZ/" + longName, "GHI/Gamma/F3.DAT"}).replaceInStrings(longName, longName + "/F1.DAT"));
    EXPECT_FALSE(snapshot(m_folder).contains(QStringLiteral("F2.DAT")));
    EXPECT_EQ(problemsOf(m_folder), QString());

    // The freed number is given to the next security.
    create(QStringLiteral("JKL"), QStringLiteral("Kappa"), 20040105);
    EXPECT_TRUE(snapshot(m_folder).contains(QStringLiteral("F2.DAT")));
}

TEST_F(WriterTest, FolderWithoutIndexFilesOpensEmpty)
{
    ASSERT_TRUE(QDir().mkpath(m_folder));
    MetaStockWriter writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    ASSERT_OK(writer.CloseFolder());
    EXPECT_TRUE(snapshot(m_folder).isEmpty());
    MetaStockReader reader;
    ASSERT_OK(reader.OpenFolder(m_folder));
    qint32 more = -1;
    ASSERT_OK(reader.HasMoreSecurities(more));
    EXPECT_EQ(more, 0);
    EXPECT_FAILS_WITH(writer.OpenFolder(m_root.filePath(QStringLiteral("missing"))), ErrorCode::NotFound);
}

TEST_F(WriterTest, SecondWriterFailsCleanly)
{
    create(QStringLiteral("ABC"), QStringLiteral("Alpha"), 20040105);
    store::FileSystem impatient;
    impatient.lockTimeoutMs = 0;
    MetaStockWriter first;
    MetaStockWriter second(impatient);
    MetaStockReader reader(impatient);
    ASSERT_OK(first.OpenFolder(m_folder));
    EXPECT_FAILS_WITH(second.OpenFolder(m_folder), ErrorCode::Busy);
    // A reader does not wait for a writer that is only open; it sees the folder as last written.
    ASSERT_OK(first.SelectSecurity(QStringLiteral("ABC")));
    ASSERT_OK(first.AddBar(bar(20040106, 2)));
    ASSERT_OK(reader.OpenFolder(m_folder));
    ASSERT_OK(reader.SelectSecurity(QStringLiteral("ABC")));
    qint32 count = -1;
    ASSERT_OK(reader.GetBarCount(count));
    EXPECT_EQ(count, 0);
    ASSERT_OK(first.CloseFolder());
    ASSERT_OK(second.OpenFolder(m_folder));
    ASSERT_OK(second.CloseFolder());
}

// Long names go to EMASTER below 256 securities and to XMASTER beyond; the 256th security is the first
// F*.MWD file; the folder passes validation at each size.
TEST_F(WriterTest, GrowsIntoXmaster)
{
    const QString longName = QStringLiteral("Security with a long name number %1");
    store_test::NoSyncFileSystem fs;
    MetaStockWriter writer(fs);
    ASSERT_OK(writer.CreateFolder(m_folder));
    ASSERT_OK(writer.OpenFolder(m_folder));
    for (int i = 1; i <= 2100; ++i) {
        ASSERT_OK(writer.CreateSecurity(QStringLiteral("S%1").arg(i), longName.arg(i), 1));
        ASSERT_OK(writer.AddBar(bar(20000101 + (i % 28), i)));
        if (i == 1 || i == 255 || i == 256 || i == 300) {
            ASSERT_OK(writer.Commit());
        }
        if (i == 255 || i == 256) {
            EXPECT_EQ(problemsOf(m_folder), QString()) << i;
        }
    }
    ASSERT_OK(writer.CloseFolder());
    const auto files = snapshot(m_folder);
    EXPECT_EQ(files.size(), 3 + 2100);
    EXPECT_TRUE(files.contains(QStringLiteral("F255.DAT")));
    EXPECT_TRUE(files.contains(QStringLiteral("F256.MWD")));
    EXPECT_TRUE(files.contains(QStringLiteral("F2100.MWD")));
    EXPECT_EQ(files.value(QStringLiteral("MASTER")).size(), 53 * 256);
    EXPECT_EQ(files.value(QStringLiteral("XMASTER")).size(), 150 * (2100 - 255 + 1));
    EXPECT_EQ(problemsOf(m_folder), QString());

    MetaStockReader reader;
    ASSERT_OK(reader.OpenFolder(m_folder));
    for (const char* symbol : {"S1", "S255", "S256", "S2100"}) {
        store::SecurityDescriptor security;
        ASSERT_OK(reader.SelectSecurity(QLatin1String(symbol)));
        ASSERT_OK(reader.GetSecurity(security));
        EXPECT_EQ(security.name, longName.arg(QString::fromLatin1(symbol).mid(1)));
    }
}

} // namespace

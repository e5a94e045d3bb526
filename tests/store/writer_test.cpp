// The writer in the orders the windows call it, its decisions on what the calls leave open,
// and the bytes it leaves on disk.

#include "store/metastockreader.h"
#include "store/metastockwriter.h"
#include "storetest.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace {

using store::ErrorCode;
using store::MetaStockReader;
using store::MetaStockWriter;
using store::Status;
using store_test::hex;
using store_test::operator<<;
using store_test::problemsOf;
using store_test::snapshot;
using W = MetaStockWriter;
using Closes = std::vector<std::pair<qint32, double>>;

store::PriceBar bar(qint32 date, double close)
{
    return {date, 0, close, close + 1, close - 1, close, 1000, 0};
}

class WriterTest : public ::testing::Test
{
protected:
    // As the create-security window does: a security with its first date and no bars.
    void create(const QString& symbol, const QString& name, qint32 firstDate, qint32 periodicity = store::Daily)
    {
        W writer;
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

    // Bars added in one session and committed, as the download does.
    void append(const std::vector<store::PriceBar>& bars)
    {
        edit(
            [&](W& writer) {
                for (const store::PriceBar& bar : bars)
                    ASSERT_OK(writer.AddBar(bar));
            },
            true);
    }

    // Opens the folder, selects ABC, makes the changes and closes security and folder; Commit only when asked.
    void edit(const std::function<void(W&)>& change, bool commit = false)
    {
        W writer;
        ASSERT_OK(writer.OpenFolder(m_folder));
        ASSERT_OK(writer.SelectSecurity("ABC"));
        change(writer);
        if (commit) {
            ASSERT_OK(writer.Commit());
        }
        ASSERT_OK(writer.CloseSecurity());
        ASSERT_OK(writer.CloseFolder());
    }

    // Dates and closes of ABC as the reader delivers them.
    Closes closes()
    {
        Closes result;
        for (const store::PriceBar& bar : store_test::barsOf(m_folder, "ABC"))
            result.emplace_back(bar.date, bar.close);
        return result;
    }

    // First and last date of ABC as the index gives them.
    std::pair<qint32, qint32> indexDates()
    {
        for (const auto& security : store_test::securitiesOf(m_folder)) {
            if (security.symbol == "ABC")
                return {security.firstDate, security.lastDate};
        }
        return {};
    }

    QTemporaryDir m_root;
    QString m_folder = m_root.filePath("data/nested");
};

TEST_F(WriterTest, WritesTheFormatByteForByte)
{
    create("abc", "Alpha Beta", 20050103);
    append({{20050103, 0, 12.5, 13.5, 12.5, 13.0, 1000, 0}});

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

TEST_F(WriterTest, KeepsBarsInDateOrderWithOneBarPerDate)
{
    create("ABC", "Alpha", 20040105);
    append({bar(20040105, 1), bar(20040107, 3)});
    edit(
        [](W& w) {
            ASSERT_OK(w.AddBar(bar(20040106, 2))); // older than the last bar: inserted in its place
            ASSERT_OK(w.AddBar(bar(20040107, 30))); // same date: replaces
            ASSERT_OK(w.AddBar(bar(20040102, 0.5))); // before the first bar: the first date moves
        },
        true);
    EXPECT_EQ(closes(), (Closes{{20040102, 0.5}, {20040105, 1}, {20040106, 2}, {20040107, 30}}));
    EXPECT_EQ(indexDates(), std::make_pair(20040102, 20040107));
}

struct RangeCase
{
    const char* what;
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
    create("ABC", "Alpha", 20040105);
    append({bar(20040105, 1), bar(20040106, 2), bar(20040107, 3), bar(20040108, 4)});
    // As the delete-before-date window does: no Commit, the folder closed before the security.
    W writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    ASSERT_OK(writer.SelectSecurityByName("ALPHA"));
    ASSERT_OK(writer.DeleteBarsBetween(GetParam().from, GetParam().to));
    ASSERT_OK(writer.CloseFolder());
    ASSERT_OK(writer.CloseSecurity());
    std::vector<qint32> left;
    for (const auto& [date, close] : closes())
        left.push_back(date);
    EXPECT_EQ(left, GetParam().left);
    EXPECT_EQ(problemsOf(m_folder), QString());
}

INSTANTIATE_TEST_SUITE_P(
    Ranges,
    DeleteRangeTest,
    ::testing::Values(RangeCase{"inside", "20040106", "20040107", {20040105, 20040108}},
                      RangeCase{"up to the first", "20040101", "20040105", {20040106, 20040107, 20040108}},
                      RangeCase{"reversed", "20040108", "20040105", {20040105, 20040106, 20040107, 20040108}},
                      RangeCase{"after the last", "20040109", "20040120", {20040105, 20040106, 20040107, 20040108}}),
    store_test::nameOf<RangeCase>);

TEST_F(WriterTest, MissingBarsAndSecuritiesFailAndChangeNothing)
{
    create("ABC", "Alpha", 20040105);
    create("DEF", "Delta", 20040105);
    append({bar(20040105, 1)});
    const auto before = snapshot(m_folder);
    W writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    EXPECT_FAILS_WITH(writer.AddBar(bar(20040106, 2)), ErrorCode::NoSecurity);
    EXPECT_FAILS_WITH(writer.SelectSecurity("XYZ"), ErrorCode::NotFound);
    EXPECT_FAILS_WITH(writer.DeleteSecurity("XYZ"), ErrorCode::NotFound);
    EXPECT_FAILS_WITH(writer.ChangeSecurity("XYZ", "n", "S"), ErrorCode::NotFound);
    // Symbols are unique whatever their case.
    EXPECT_FAILS_WITH(writer.CreateSecurity("abc", "Again", 1), ErrorCode::AlreadyExists);
    EXPECT_FAILS_WITH(writer.ChangeSecurity("DEF", "Delta", "ABC"), ErrorCode::AlreadyExists);
    ASSERT_OK(writer.SelectSecurity("abc"));
    EXPECT_FAILS_WITH(writer.DeleteBar("20040106"), ErrorCode::NotFound);
    EXPECT_FAILS_WITH(writer.ChangeBar("20040106", "-1", -1, 1, 1, 1, 1, 1, -1), ErrorCode::NotFound);
    ASSERT_OK(writer.Commit());
    ASSERT_OK(writer.CloseFolder());
    EXPECT_EQ(snapshot(m_folder), before);
}

struct BadInput
{
    const char* what;
    std::function<Status(W&)> call;
};

class BadInputTest
    : public WriterTest
    , public ::testing::WithParamInterface<BadInput>
{};

TEST_P(BadInputTest, IsRefusedAndChangesNothing)
{
    create("ABC", "Alpha", 20040105);
    append({bar(20040105, 1)});
    const auto before = snapshot(m_folder);
    W writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    ASSERT_OK(writer.SelectSecurity("ABC"));
    const Status status = GetParam().call(writer);
    EXPECT_EQ(status.code(), ErrorCode::InvalidArgument) << qPrintable(status.text());
    EXPECT_FALSE(status.text().isEmpty());
    ASSERT_OK(writer.CloseFolder());
    EXPECT_EQ(snapshot(m_folder), before);
}

const double nan = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
    Inputs,
    BadInputTest,
    ::testing::Values(
        BadInput{"symbol of 15 characters", [](W& w) { return w.CreateSecurity("ABCDEFGHIJKLMNO", "n", 1); }},
        BadInput{"empty symbol", [](W& w) { return w.CreateSecurity("  ", "n", 1); }},
        BadInput{"empty name", [](W& w) { return w.ChangeSecurity("ABC", " ", "ABC"); }},
        BadInput{"name of 46 characters", [](W& w) { return w.CreateSecurity("X", QString(46, u'n'), 1); }},
        BadInput{"name outside Latin-1", [](W& w) { return w.CreateSecurity("X", QStringLiteral("Zloty \u0141"), 1); }},
        BadInput{"control character", [](W& w) { return w.CreateSecurity("X\tY", "n", 1); }},
        BadInput{"periodicity 4", [](W& w) { return w.CreateSecurity("X", "n", 4); }},
        BadInput{"NaN", [](W& w) { return w.AddBar(20040106, 0, nan, 1, 1, 1, 1, 0); }},
        BadInput{"2^127", [](W& w) { return w.AddBar(20040106, 0, 1, 1, 1, std::ldexp(1.0, 127), 1, 0); }},
        BadInput{"date before 1900", [](W& w) { return w.AddBar(18991231, 0, 1, 1, 1, 1, 1, 0); }},
        BadInput{"30 February", [](W& w) { return w.AddBar(20040230, 0, 1, 1, 1, 1, 1, 0); }},
        BadInput{"date text with slashes", [](W& w) { return w.DeleteBar("2004/01/05"); }}),
    store_test::nameOf<BadInput>);

TEST_F(WriterTest, RenamesAndDeletesSecurities)
{
    const QString longName = "A name much longer than sixteen";
    for (const char* symbol : {"ABC", "DEF", "GHI"})
        create(symbol, QString::fromLatin1(symbol) + " Co", 20040105);
    {
        // As the adjust-security window does.
        W writer;
        ASSERT_OK(writer.OpenFolder(m_folder));
        ASSERT_OK(writer.ChangeSecurity("ABC", longName, "XYZ"));
        ASSERT_OK(writer.CloseFolder());
        ASSERT_OK(writer.OpenFolder(m_folder));
        ASSERT_OK(writer.DeleteSecurity("DEF"));
        ASSERT_OK(writer.CloseFolder());
    }
    QStringList listed;
    for (const auto& security : store_test::securitiesOf(m_folder))
        listed << security.symbol + u'/' + security.name + u'/' + security.fileName;
    EXPECT_EQ(listed, (QStringList{"XYZ/" + longName + "/F1.DAT", "GHI/GHI Co/F3.DAT"}));
    EXPECT_FALSE(snapshot(m_folder).contains("F2.DAT"));
    EXPECT_EQ(problemsOf(m_folder), QString());

    // The freed number is given to the next security.
    create("JKL", "Kappa", 20040105);
    EXPECT_TRUE(snapshot(m_folder).contains("F2.DAT"));
}

// A journal an earlier version left (names only, no digests) is still finished when the folder opens.
TEST_F(WriterTest, FinishesAJournalOfTheEarlierForm)
{
    create("ABC", "Alpha", 20040105);
    const auto before = snapshot(m_folder);
    const QDir dir(m_folder);
    store_test::writeFile(dir.filePath("EMASTER.TSTMP"), before["EMASTER"]);
    store_test::writeFile(dir.filePath("STRAY"), "x");
    store_test::writeFile(dir.filePath("TICKSMITH.JNL"), "R EMASTER\nD STRAY\n");
    W writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    ASSERT_OK(writer.CloseFolder());
    EXPECT_EQ(snapshot(m_folder), before);
}

TEST_F(WriterTest, FolderWithoutIndexFilesOpensEmpty)
{
    ASSERT_TRUE(QDir().mkpath(m_folder));
    W writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    ASSERT_OK(writer.CloseFolder());
    EXPECT_TRUE(snapshot(m_folder).isEmpty());
    EXPECT_TRUE(store_test::securitiesOf(m_folder).empty());
    EXPECT_FAILS_WITH(writer.OpenFolder(m_root.filePath("missing")), ErrorCode::NotFound);
}

// A second writer fails cleanly; a reader does not wait for a writer and sees each commit whole.
TEST_F(WriterTest, SecondWriterFailsAndReadersSeeTheFolderBeforeOrAfter)
{
    create("ABC", "Alpha", 20040105);
    store::FileSystem impatient;
    impatient.lockTimeoutMs = 0;
    W first;
    W second(impatient);
    MetaStockReader reader(impatient);
    ASSERT_OK(first.OpenFolder(m_folder));
    EXPECT_FAILS_WITH(second.OpenFolder(m_folder), ErrorCode::Busy);
    ASSERT_OK(first.SelectSecurity("ABC"));
    ASSERT_OK(first.AddBar(bar(20040106, 2)));
    ASSERT_OK(reader.OpenFolder(m_folder));
    qint32 count = -1;
    qint32 last = 0;
    ASSERT_OK(reader.SelectSecurity("ABC"));
    ASSERT_OK(reader.GetBarCount(count));
    EXPECT_EQ(count, 0);
    ASSERT_OK(first.Commit());
    // Selected after the commit: the new bar and the index date that goes with it.
    ASSERT_OK(reader.SelectSecurity("ABC"));
    ASSERT_OK(reader.GetBarCount(count));
    ASSERT_OK(reader.GetLastDate(last));
    EXPECT_EQ(count, 1);
    EXPECT_EQ(last, 20040106);
    ASSERT_OK(first.CloseFolder());
    ASSERT_OK(second.OpenFolder(m_folder));
    ASSERT_OK(second.CloseFolder());

    // A writer that goes without closing the folder leaves its last journal; the next reader, finding
    // no writer, puts that change on the medium and tidies up.
    {
        W dropped;
        ASSERT_OK(dropped.OpenFolder(m_folder));
        ASSERT_OK(dropped.SelectSecurity("ABC"));
        ASSERT_OK(dropped.AddBar(bar(20040107, 3)));
        ASSERT_OK(dropped.Commit());
        EXPECT_TRUE(snapshot(m_folder).contains("TICKSMITH.JNA"));
    }
    ASSERT_OK(reader.OpenFolder(m_folder));
    EXPECT_EQ(snapshot(m_folder).keys(), (QStringList{"EMASTER", "F1.DAT", "MASTER"}));
}

// A writer carries what it wrote into its next step without reading the folder again: a session of
// many steps, into XMASTER and with renames and deletions, leaves the bytes of one session per step.
TEST_F(WriterTest, ALongSessionWritesWhatSeparateSessionsWrite)
{
    const std::vector<std::function<void(W&)>> steps = {
        [](W& w) { ASSERT_OK(w.CreateSecurity("KEEP", "A name longer than sixteen", 1)); },
        [](W& w) { ASSERT_OK(w.DeleteSecurity("S3")); },
        [](W& w) { ASSERT_OK(w.ChangeSecurity("S2", "Renamed", "S2B")); },
        [](W& w) {
            ASSERT_OK(w.SelectSecurity("S300"));
            ASSERT_OK(w.AddBar(bar(20240105, 3)));
        },
        [](W& w) { ASSERT_OK(w.CreateSecurity("NEW", "Takes the free number", 1)); },
    };
    store_test::NoSyncFileSystem fs;
    auto run = [&](const QString& folder, bool oneSession) {
        std::vector<store_test::Security> securities;
        for (int i = 1; i <= 300; ++i)
            securities.push_back({QStringLiteral("S%1").arg(i), QStringLiteral("Security %1").arg(i), {20240102}});
        store_test::makeFolder(folder, securities);
        W writer(fs);
        for (const auto& step : steps) {
            if (!oneSession || &step == &steps.front())
                ASSERT_OK(writer.OpenFolder(folder));
            step(writer);
            ASSERT_OK(writer.CloseSecurity());
            ASSERT_OK(writer.Commit());
            if (!oneSession)
                ASSERT_OK(writer.CloseFolder());
        }
        if (oneSession)
            ASSERT_OK(writer.CloseFolder());
    };
    run(m_root.filePath("one"), true);
    run(m_root.filePath("many"), false);
    EXPECT_EQ(snapshot(m_root.filePath("one")), snapshot(m_root.filePath("many")));
    EXPECT_EQ(problemsOf(m_root.filePath("one")), QString());
}

// A program that does not know the lock may replace the index between two securities of a long
// session; the writer works from what it finds then and keeps the other program's security.
TEST_F(WriterTest, ALongSessionSeesIndexFilesReplacedBetweenSecurities)
{
    const QString other = m_root.filePath("other");
    store_test::makeFolder(m_folder, {{"ABC", "Alpha", {20240102}}});
    store_test::makeFolder(other, {{"ABC", "Alpha", {20240102}}, {"DEF", "Delta", {20240103}}});
    W writer;
    ASSERT_OK(writer.OpenFolder(m_folder));
    ASSERT_OK(writer.SelectSecurity("ABC"));
    ASSERT_OK(writer.CloseSecurity());
    for (const char* name : {"MASTER", "EMASTER", "F2.DAT"})
        store_test::writeFile(QDir(m_folder).filePath(name), store_test::readFile(QDir(other).filePath(name)));
    ASSERT_OK(writer.SelectSecurity("DEF"));
    ASSERT_OK(writer.AddBar(bar(20240104, 4)));
    ASSERT_OK(writer.CloseSecurity());
    ASSERT_OK(writer.CreateSecurity("GHI", "Gamma", 1));
    ASSERT_OK(writer.CloseFolder());
    EXPECT_EQ(store_test::barDatesOf(m_folder, "DEF"), (std::vector<qint32>{20240103, 20240104}));
    EXPECT_EQ(store_test::securitiesOf(m_folder).size(), 3u);
    EXPECT_EQ(problemsOf(m_folder), QString());
}

// Long names go to EMASTER below 256 securities and to XMASTER beyond; the 256th security is the first
// F*.MWD file; the folder passes validation at each size.
TEST_F(WriterTest, GrowsIntoXmaster)
{
    const QString longName = "Security with a long name number %1";
    store_test::NoSyncFileSystem fs;
    W writer(fs);
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
    for (const char* name : {"F255.DAT", "F256.MWD", "F2100.MWD"})
        EXPECT_TRUE(files.contains(name)) << name;
    EXPECT_EQ(files.value("MASTER").size(), 53 * 256);
    EXPECT_EQ(files.value("XMASTER").size(), 150 * (2100 - 255 + 1));
    EXPECT_EQ(problemsOf(m_folder), QString());

    MetaStockReader reader;
    ASSERT_OK(reader.OpenFolder(m_folder));
    for (const char* symbol : {"S1", "S255", "S256", "S2100"}) {
        store::SecurityDescriptor security;
        ASSERT_OK(reader.SelectSecurity(symbol));
        ASSERT_OK(reader.GetSecurity(security));
        EXPECT_EQ(security.name, longName.arg(QString::fromLatin1(symbol).mid(1)));
    }
}

} // namespace

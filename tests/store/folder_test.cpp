// Folders that other programs left in unusual or damaged states: they are read as far as that is safe,
// every problem names its file, and a writer refuses to touch what it cannot rewrite safely.

#include "store/metastock/mbf.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"
#include "storetest.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using store::ErrorCode;
using store::MetaStockReader;
using store::MetaStockWriter;
using store_test::hex;
using store_test::operator<<;
using store_test::problemsOf;
using store_test::readFile;
using store_test::snapshot;
using store_test::writeFile;

// A folder of two daily securities, ABC (F1.DAT, 3 bars) and DEF (F2.DAT, 1 bar), written by the writer.
class FolderTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        store_test::makeFolder(
            m_dir.path(),
            {{"ABC", "Alpha Beta Gamma Delta", {20200102, 20200103, 20200106}}, {"DEF", "Def", {20200102}}});
        ASSERT_EQ(problemsOf(m_dir.path()), QString());
    }

public:
    QString path(const char* name) const { return m_dir.filePath(QLatin1String(name)); }

    // Writes `bytes` over the file's bytes from `offset`, making the file longer where needed.
    void patch(const char* name, qsizetype offset, const QByteArray& bytes)
    {
        QByteArray content = readFile(path(name));
        content.resize(std::max(content.size(), offset + bytes.size()));
        content.replace(offset, bytes.size(), bytes);
        writeFile(path(name), content);
    }

    qint32 barCount(MetaStockReader& reader, const char* symbol)
    {
        qint32 count = -1;
        EXPECT_OK(reader.SelectSecurity(QLatin1String(symbol)));
        EXPECT_OK(reader.GetBarCount(count));
        return count;
    }

protected:
    QTemporaryDir m_dir;
};

TEST_F(FolderTest, LowerCaseNamesAreFoundAndKept)
{
    for (const char* name : {"MASTER", "EMASTER", "F1.DAT", "F2.DAT"})
        ASSERT_TRUE(QFile::rename(path(name), path(name).toLower().replace(m_dir.path().toLower(), m_dir.path())));
    MetaStockReader reader;
    ASSERT_OK(reader.OpenFolder(m_dir.path()));
    EXPECT_EQ(barCount(reader, "ABC"), 3);
    ASSERT_OK(reader.Close());

    MetaStockWriter writer;
    ASSERT_OK(writer.OpenFolder(m_dir.path()));
    ASSERT_OK(writer.SelectSecurity("ABC"));
    ASSERT_OK(writer.AddBar(20200107, 0, 1, 1, 1, 1, 1, 0));
    ASSERT_OK(writer.CreateSecurity("GHI", "Ghi", 1));
    ASSERT_OK(writer.CloseFolder());
    EXPECT_EQ(snapshot(m_dir.path()).keys(), (QStringList{"F3.DAT", "emaster", "f1.dat", "f2.dat", "master"}));
    EXPECT_EQ(problemsOf(m_dir.path()), QString());
}

TEST_F(FolderTest, MasterWithoutEmasterIsReadAndCompleted)
{
    ASSERT_TRUE(QFile::remove(path("EMASTER")));
    EXPECT_TRUE(problemsOf(m_dir.path()).startsWith("MASTER: there is no EMASTER"));
    MetaStockReader reader;
    ASSERT_OK(reader.OpenFolder(m_dir.path()));
    EXPECT_EQ(barCount(reader, "ABC"), 3);
    QString name;
    ASSERT_OK(reader.GetName(name));
    EXPECT_EQ(name, "Alpha Beta Gamma"); // MASTER holds 16 characters
    ASSERT_OK(reader.Close());

    MetaStockWriter writer;
    ASSERT_OK(writer.OpenFolder(m_dir.path()));
    ASSERT_OK(writer.ChangeSecurity("DEF", "Def", "DEF"));
    ASSERT_OK(writer.CloseFolder());
    EXPECT_EQ(problemsOf(m_dir.path()), QString());
}

TEST_F(FolderTest, ReaderReportsTheStoredIndexDates)
{
    // The last date in MASTER (MBF at 29 of record 1) and EMASTER (IEEE at 72) say 2020-12-31.
    const quint32 word = *store::metastock::floatToMbf(1201231);
    QByteArray mbf(4, '\0');
    store::metastock::writeU32(mbf.data(), word);
    patch("MASTER", 53 + 29, mbf);
    MetaStockReader reader;
    ASSERT_OK(reader.OpenFolder(m_dir.path()));
    ASSERT_OK(reader.SelectSecurity("ABC"));
    qint32 last = 0;
    ASSERT_OK(reader.GetLastDate(last));
    EXPECT_EQ(last, 20201231);
    EXPECT_TRUE(problemsOf(m_dir.path()).contains("F1.DAT: the index gives ABC dates 20200102..20201231"));
}

// A reader delivers bars out of order as they are; a writer would have to reorder them, and refuses.
TEST_F(FolderTest, BarsOutOfOrderAreReadButNotRewritten)
{
    patch("F1.DAT", 2 * 28, hex("C82F0095")); // bar 2 dated 2005-01-05
    const auto before = snapshot(m_dir.path());
    EXPECT_TRUE(problemsOf(m_dir.path()).contains("F1.DAT: bar 2 (20050105) is not later than the bar before it"))
        << qPrintable(problemsOf(m_dir.path()));
    MetaStockReader reader;
    ASSERT_OK(reader.OpenFolder(m_dir.path()));
    EXPECT_EQ(barCount(reader, "ABC"), 3);
    MetaStockWriter writer;
    ASSERT_OK(writer.OpenFolder(m_dir.path()));
    EXPECT_FAILS_WITH(writer.SelectSecurity("ABC"), ErrorCode::Damaged);
    ASSERT_OK(writer.CloseFolder());
    EXPECT_EQ(snapshot(m_dir.path()), before);
}

// `bytes` written into `file` at `offset`; without bytes the file is cut to `offset` bytes, or removed when
// `offset` is -1.
struct Damage
{
    const char* what;
    const char* file; // the damaged file, which the error names
    bool openFails; // OpenFolder fails; otherwise selecting ABC fails
    qsizetype offset;
    QByteArray bytes;
};

class DamageTest
    : public FolderTest
    , public ::testing::WithParamInterface<Damage>
{};

TEST_P(DamageTest, FailsCleanlyNamingTheFile)
{
    const Damage& damage = GetParam();
    if (damage.offset < 0)
        ASSERT_TRUE(QFile::remove(path(damage.file)));
    else if (damage.bytes.isEmpty())
        writeFile(path(damage.file), readFile(path(damage.file)).left(damage.offset));
    else
        patch(damage.file, damage.offset, damage.bytes);
    const auto before = snapshot(m_dir.path());
    EXPECT_TRUE(problemsOf(m_dir.path()).contains(QLatin1String(GetParam().file) + u':'))
        << qPrintable(problemsOf(m_dir.path()));

    MetaStockReader reader;
    MetaStockWriter writer;
    store::Status read = reader.OpenFolder(m_dir.path());
    store::Status write = writer.OpenFolder(m_dir.path());
    if (!GetParam().openFails) {
        ASSERT_OK(read);
        ASSERT_OK(write);
        read = reader.SelectSecurity("ABC");
        write = writer.SelectSecurity("ABC");
        EXPECT_FAILS_WITH(writer.AddBar(20200108, 0, 1, 1, 1, 1, 1, 0), ErrorCode::NoSecurity);
        // The sound security next to it still works.
        EXPECT_EQ(barCount(reader, "DEF"), 1);
    }
    for (const store::Status& status : {read, write}) {
        EXPECT_EQ(status.code(), ErrorCode::Damaged);
        EXPECT_TRUE(status.text().startsWith(QLatin1String(GetParam().file) + u':')) << qPrintable(status.text());
    }
    (void)writer.CloseFolder();
    EXPECT_EQ(snapshot(m_dir.path()), before);
}

INSTANTIATE_TEST_SUITE_P(
    Damages,
    DamageTest,
    ::testing::Values(Damage{"MASTER count beyond its size", "MASTER", true, 0, hex("0300")},
                      Damage{"MASTER cut short", "MASTER", true, 100, {}},
                      Damage{"two securities with one file", "MASTER", true, 2 * 53, hex("01")},
                      Damage{"impossible field count", "MASTER", true, 53 + 3, hex("2409")},
                      Damage{"XMASTER without its magic", "XMASTER", true, 0, QByteArray(300, 'x')},
                      Damage{"data file counter past its end", "F1.DAT", false, 2, hex("0500")},
                      Damage{"data file missing", "F1.DAT", false, -1, {}}),
    store_test::nameOf<Damage>);

} // namespace

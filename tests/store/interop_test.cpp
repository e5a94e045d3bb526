// Real folders written by other tools read back exactly as a long-standing independent reader prints
// them (bars.csv and securities.csv beside each sample).

#include "store/filesystem.h"
#include "store/metastock/folder.h"
#include "store/metastock/report.h"
#include "store/metastockreader.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace {

using namespace store::metastock;

QString samplesFolder()
{
    return QStringLiteral(TICKSMITH_SHARED_DIR "/metastock-samples");
}

QList<QByteArray> fileLines(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QByteArray> lines = file.readAll().split('\n');
    if (!lines.isEmpty() && lines.back().isEmpty())
        lines.pop_back();
    return lines;
}

// Line by line, so that a difference names its line.
void expectSameLines(const QList<QByteArray>& actual, const QList<QByteArray>& expected)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (qsizetype i = 0; i < actual.size(); ++i)
        ASSERT_EQ(actual[i].toStdString(), expected[i].toStdString()) << "line " << i + 1;
}

class SampleTest : public ::testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        m_sample = samplesFolder() + u'/' + QLatin1String(GetParam());
        if (!QDir(m_sample).exists())
            GTEST_SKIP() << "the shared samples are not beside this checkout: " << qPrintable(m_sample);
        Problems problems;
        ASSERT_TRUE(readFolderIndex(m_fs, m_sample + QStringLiteral("/folder"), m_index, problems).ok());
        ASSERT_FALSE(hasDamage(problems)) << qPrintable(damageStatus(problems).text());
    }

    QString m_sample;
    store::FileSystem m_fs;
    FolderIndex m_index;
};

TEST_P(SampleTest, SecuritiesAndBarsMatchTheReference)
{
    QList<QByteArray> securities{securitiesCsvHeader()};
    QList<QByteArray> bars{barsCsvHeader()};
    for (const IndexEntry* entry : m_index.securities()) {
        securities << securitiesCsvLine(*entry);
        std::vector<Bar> read;
        Problems problems;
        ASSERT_TRUE(readBars(m_fs, m_index, *entry, read, problems).ok()) << qPrintable(entry->dataFileName());
        for (const Bar& bar : read)
            bars << barsCsvLine(entry->symbol, entry->fields, bar);
    }
    expectSameLines(securities, fileLines(m_sample + "/securities.csv"));
    expectSameLines(bars, fileLines(m_sample + "/bars.csv"));
}

// The same through the reader the windows use: names, files and stored dates of securities.csv, and
// as many bars as bars.csv holds.
TEST_P(SampleTest, ReaderAgreesWithTheReference)
{
    const QList<QByteArray> expected = fileLines(m_sample + QStringLiteral("/securities.csv")).mid(1);
    store::MetaStockReader reader;
    ASSERT_TRUE(reader.OpenFolder(m_sample + QStringLiteral("/folder")).ok());
    qint64 bars = 0;
    for (const QByteArray& line : expected) {
        // Names may hold commas: the symbol is the first field, the other eight are the last ones.
        const QList<QByteArray> fields = line.split(',');
        const QByteArray name = fields.mid(1, fields.size() - 9).join(',');
        store::SecurityDescriptor security;
        ASSERT_TRUE(reader.NextSecurity().ok());
        ASSERT_TRUE(reader.GetSecurity(security).ok());
        EXPECT_EQ(security.symbol.toLatin1(), fields[0]);
        EXPECT_EQ(security.name.toLatin1(), name);
        EXPECT_EQ(security.fileName.toLatin1(), fields[fields.size() - 4]);
        EXPECT_EQ(QByteArray::number(security.lastDate), QByteArray(fields[fields.size() - 6]).replace("-", ""));
        ASSERT_TRUE(reader.SelectSecurity(security.symbol).ok());
        qint32 count = 0;
        ASSERT_TRUE(reader.GetBarCount(count).ok());
        bars += count;
    }
    qint32 more = -1;
    ASSERT_TRUE(reader.HasMoreSecurities(more).ok());
    EXPECT_EQ(more, 0);
    EXPECT_EQ(bars, fileLines(m_sample + QStringLiteral("/bars.csv")).size() - 1);
}

INSTANTIATE_TEST_SUITE_P(Samples,
                         SampleTest,
                         ::testing::Values("equis_xmaster", "asx_mining_emaster", "stooq_intraday"));

} // namespace

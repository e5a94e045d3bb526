// Renaming, removing and trimming one security of real folders written by other tools, in the orders the
// adjust-security and delete-data windows use: every other security keeps its bytes, and the folder
// stays sound.

#include "store/arguments.h"
#include "store/metastock/folder.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"
#include "storetest.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

namespace {

using store::MetaStockWriter;
using store::SecurityDescriptor;
using store_test::securitiesOf;
using store_test::operator<<;
using store_test::snapshot;

enum class Change
{
    Rename,
    Remove,
    Trim,
};

struct SampleCase
{
    const char* what;
    const char* sample;
    int position; // of the security changed, in file-number order from 1
    Change change;
};

// The records of an index file by file number; the header record is left out.
QMap<int, QByteArray> recordsOf(const QByteArray& file, int size, int numberOffset, bool twoBytes)
{
    QMap<int, QByteArray> records;
    for (qsizetype at = size; at + size <= file.size(); at += size) {
        const QByteArray record = file.mid(at, size);
        const auto byte = [&](int i) { return int(static_cast<unsigned char>(record[numberOffset + i])); };
        records.insert(twoBytes ? byte(0) | byte(1) << 8 : byte(0), record);
    }
    return records;
}

QMap<int, QByteArray> recordsOf(const QString& name, const QByteArray& file)
{
    if (name == u"MASTER")
        return recordsOf(file, 53, 0, false);
    if (name == u"EMASTER")
        return recordsOf(file, 192, 2, false);
    return recordsOf(file, 150, 65, true);
}

class SampleChangeTest : public ::testing::TestWithParam<SampleCase>
{
protected:
    void SetUp() override
    {
        const QString sample =
            QStringLiteral(TICKSMITH_SHARED_DIR "/metastock-samples/%1/folder").arg(QLatin1String(GetParam().sample));
        if (!QDir(sample).exists())
            GTEST_SKIP() << "the shared samples are not beside this checkout: " << qPrintable(sample);
        // Written plainly: QFile::copy goes through a temporary file each time, which takes seconds here.
        for (const QString& name : QDir(sample).entryList(QDir::Files))
            store_test::writeFile(m_dir.filePath(name), store_test::readFile(QDir(sample).filePath(name)));
    }

    QTemporaryDir m_dir;
    QString m_folder = m_dir.path();
};

TEST_P(SampleChangeTest, LeavesEveryOtherSecurityAsItWas)
{
    const SampleCase& param = GetParam();
    const std::vector<SecurityDescriptor> securities = securitiesOf(m_folder);
    const SecurityDescriptor target = securities.at(param.position - 1);
    const int number = target.fileName.mid(1, target.fileName.indexOf(u'.') - 1).toInt();
    const size_t bars = store_test::barDatesOf(m_folder, target.symbol).size();
    const auto before = snapshot(m_folder);

    store_test::NoSyncFileSystem fs;
    MetaStockWriter writer(fs);
    const bool removed = param.change == Change::Remove;
    ASSERT_OK(writer.OpenFolder(m_folder));
    if (param.change == Change::Rename) {
        ASSERT_OK(writer.ChangeSecurity(target.symbol, "Renamed by a test", "RENAMED"));
    } else if (removed) {
        ASSERT_OK(writer.DeleteSecurity(target.symbol));
    } else {
        // Up to the first bar, the rest kept; the folder closed before the security, as the window does.
        ASSERT_OK(writer.SelectSecurityByName(target.name));
        ASSERT_OK(writer.DeleteBarsBetween(store::firstDateText(target.firstDate), QString::number(target.firstDate)));
    }
    ASSERT_OK(writer.CloseFolder());
    if (param.change == Change::Trim)
        ASSERT_OK(writer.CloseSecurity());
    const auto after = snapshot(m_folder);

    for (const QString& name : before.keys()) {
        if (name == u"MASTER" || name == u"EMASTER" || name == u"XMASTER") {
            auto old = recordsOf(name, before[name]);
            auto now = recordsOf(name, after[name]);
            const QByteArray oldRecord = old.take(number);
            const QByteArray newRecord = now.take(number);
            EXPECT_TRUE(old == now) << qPrintable(name) << ": another security's record changed";
            EXPECT_EQ(newRecord.isEmpty(), oldRecord.isEmpty() || removed) << qPrintable(name);
        } else if (name != target.fileName || param.change == Change::Rename) {
            EXPECT_TRUE(after.value(name) == before[name]) << qPrintable(name);
        }
    }
    EXPECT_EQ(after.contains(target.fileName), !removed);
    EXPECT_EQ(after.size(), before.size() - (removed ? 1 : 0));
    store::metastock::Problems problems;
    ASSERT_OK(store::metastock::checkFolder(fs, m_folder, problems));
    EXPECT_FALSE(store::metastock::hasDamage(problems)) << qPrintable(store::metastock::damageStatus(problems).text());

    const std::vector<SecurityDescriptor> now = securitiesOf(m_folder);
    ASSERT_EQ(now.size(), securities.size() - (removed ? 1 : 0));
    const SecurityDescriptor& there = now.at(param.position - 1);
    if (param.change == Change::Rename) {
        EXPECT_EQ(QStringList({there.symbol, there.name}), QStringList({"RENAMED", "Renamed by a test"}));
    }
    if (removed) {
        EXPECT_NE(there.symbol, target.symbol);
    } else {
        EXPECT_EQ(store_test::barDatesOf(m_folder, there.symbol).size(), bars - (param.change == Change::Trim ? 1 : 0));
    }
}

INSTANTIATE_TEST_SUITE_P(Samples,
                         SampleChangeTest,
                         ::testing::Values(SampleCase{"xmaster rename", "equis_xmaster", 300, Change::Rename},
                                           SampleCase{"xmaster remove", "equis_xmaster", 300, Change::Remove},
                                           SampleCase{"xmaster trim", "equis_xmaster", 300, Change::Trim},
                                           SampleCase{"master remove", "equis_xmaster", 100, Change::Remove},
                                           SampleCase{"emaster rename", "asx_mining_emaster", 2, Change::Rename},
                                           SampleCase{"emaster trim", "asx_mining_emaster", 2, Change::Trim}),
                         store_test::nameOf<SampleCase>);

} // namespace

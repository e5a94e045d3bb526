// Every write sequence is all-or-nothing: the file operations fail, or the program "dies", at each
// single write, sync, rename and removal in turn, and the folder reopened afterwards is always the
// folder before the sequence or the folder after it, sound and without leftovers.

#include "store/metastockreader.h"
#include "store/metastockwriter.h"
#include "storetest.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <unistd.h>

namespace {

using store::MetaStockWriter;
using store::Status;
using store_test::problemsOf;
using store_test::snapshot;

// Fails the write point numbered `failAt` (counting from 0) and, when `crash` is set, every point
// after it, as if the program had died there. A failed write leaves half of the bytes behind. Syncs
// count as points but do nothing: a test cannot cut the power, and it stays fast.
class FailingFileSystem : public store::FileSystem
{
public:
    int failAt = -1;
    bool crash = false;
    int points = 0;

    Status writeFile(const QString& path, const QByteArray& bytes) override
    {
        if (!fails())
            return FileSystem::writeFile(path, bytes);
        (void)FileSystem::writeFile(path, bytes.left(bytes.size() / 2));
        return failure(path);
    }

    Status syncFiles(const QStringList& paths) override { return fails() ? failure(paths.front()) : Status(); }

    Status syncFolder(const QString& path) override { return fails() ? failure(path) : Status(); }

    Status rename(const QString& from, const QString& to) override
    {
        return fails() ? failure(from) : FileSystem::rename(from, to);
    }

    Status remove(const QString& path) override { return fails() ? failure(path) : FileSystem::remove(path); }

private:
    bool fails()
    {
        const int point = points++;
        return point == failAt || (crash && failAt >= 0 && point > failAt);
    }

    static Status failure(const QString& path)
    {
        return Status::error(store::ErrorCode::Io, QStringLiteral("injected failure at ") + path);
    }
};

// Runs steps until the first that fails, as the windows do.
Status chain(std::initializer_list<std::function<Status()>> steps)
{
    for (const auto& step : steps) {
        if (Status s = step(); !s.ok())
            return s;
    }
    return {};
}

// A sequence from OpenFolder to CloseFolder: with `select`, ABC is selected before the change and closed after it.
struct CrashCase
{
    const char* what;
    int securities; // in the folder before the sequence
    bool select;
    bool commit;
    std::function<Status(MetaStockWriter&)> change;

    Status run(MetaStockWriter& w, const QString& folder) const
    {
        return chain({[&] { return w.OpenFolder(folder); },
                      [&] { return select ? w.SelectSecurity("ABC") : Status(); },
                      [&] { return change(w); },
                      [&] { return commit ? w.Commit() : Status(); },
                      [&] { return select ? w.CloseSecurity() : Status(); },
                      [&] { return w.CloseFolder(); }});
    }
};

// A folder of `count` daily securities S1, S2, ... with a bar each, and ABC with ten bars.
void makeFolder(const QString& folder, int count)
{
    store_test::NoSyncFileSystem fs;
    MetaStockWriter writer(fs);
    ASSERT_OK(writer.OpenFolder(folder));
    for (int i = 1; i <= count; ++i) {
        ASSERT_OK(writer.CreateSecurity(i == 1 ? QStringLiteral("ABC") : QStringLiteral("S%1").arg(i),
                                        QStringLiteral("Security %1").arg(i),
                                        1));
        for (int day = 1; day <= (i == 1 ? 10 : 1); ++day)
            ASSERT_OK(writer.AddBar(20200100 + day, 0, day, day, day, day, day, 0));
    }
    ASSERT_OK(writer.CloseFolder());
}

// Hard links are enough: the writer never changes a file in place, it renames new files over old ones.
void linkFolder(const QString& from, const QString& to)
{
    ASSERT_TRUE(QDir().mkpath(to));
    for (const QString& name : QDir(from).entryList(QDir::Files)) {
        const QByteArray source = QFile::encodeName(QDir(from).filePath(name));
        ASSERT_EQ(::link(source.constData(), QFile::encodeName(QDir(to).filePath(name)).constData()), 0);
    }
}

class CrashTest : public ::testing::TestWithParam<CrashCase>
{};

TEST_P(CrashTest, LeavesTheFolderBeforeOrAfter)
{
    QTemporaryDir root;
    const QString templateFolder = root.filePath(QStringLiteral("template"));
    ASSERT_TRUE(QDir().mkpath(templateFolder));
    makeFolder(templateFolder, GetParam().securities);
    const auto before = snapshot(templateFolder);

    // A run without failures counts the points and gives the folder after.
    const QString clean = root.filePath(QStringLiteral("clean"));
    linkFolder(templateFolder, clean);
    FailingFileSystem counter;
    {
        MetaStockWriter writer(counter);
        ASSERT_OK(GetParam().run(writer, clean));
    }
    const auto after = snapshot(clean);
    ASSERT_NE(before, after);
    ASSERT_GT(counter.points, 0);

    int runs = 0;
    for (bool crash : {false, true}) {
        for (int point = 0; point < counter.points; ++point) {
            const QString folder = root.filePath(QStringLiteral("run%1").arg(runs++));
            linkFolder(templateFolder, folder);
            FailingFileSystem failing;
            failing.failAt = point;
            failing.crash = crash;
            {
                MetaStockWriter writer(failing);
                (void)GetParam().run(writer, folder);
            }
            // A reader after a crash finishes an update whose journal is in place; the temporary files of an
            // unfinished one are left for the next writer.
            if (crash) {
                store::MetaStockReader reader;
                ASSERT_OK(reader.OpenFolder(folder));
                auto seen = snapshot(folder);
                seen.removeIf([](const auto& file) { return file.key().endsWith(QStringLiteral(".TSTMP")); });
                EXPECT_TRUE(seen == before || seen == after) << "reader after a crash at point " << point;
            }
            // Reopening finishes or undoes what the failed run left.
            store_test::NoSyncFileSystem plain;
            MetaStockWriter reopened(plain);
            ASSERT_OK(reopened.OpenFolder(folder));
            ASSERT_OK(reopened.CloseFolder());
            const auto state = snapshot(folder);
            EXPECT_TRUE(state == before || state == after)
                << (crash ? "crash" : "failure") << " at point " << point << " of " << counter.points << ": "
                << qPrintable(state.keys().join(u' '));
            EXPECT_EQ(problemsOf(folder), QString()) << "point " << point;
            QDir(folder).removeRecursively();
        }
    }
    RecordProperty("points", counter.points);
    EXPECT_EQ(snapshot(templateFolder), before);
}

// As the create-security window does.
Status createNew(MetaStockWriter& w)
{
    return chain({[&] { return w.CreateSecurity("NEW", "A long name for NEW", 1); },
                  [&] { return w.AddBar(20200102, 0, 0, 0, 0, 0, 0, 0); },
                  [&] { return w.DeleteBar("20200102"); },
                  [&] { return w.CloseSecurity(); }});
}

Status appendBars(MetaStockWriter& w)
{
    return chain({[&] { return w.AddBar(20200113, 0, 1, 2, 0.5, 1.5, 100, 0); },
                  [&] { return w.AddBar(20200114, 0, 1, 2, 0.5, 1.5, 100, 0); },
                  [&] { return w.AddBar(20200115, 0, 1, 2, 0.5, 1.5, 100, 0); }});
}

using W = MetaStockWriter;

const CrashCase crashCases[] = {
    {"create_first", 0, false, false, createNew},
    {"create_255th", 254, false, false, createNew},
    {"create_256th", 255, false, false, createNew},
    {"append_bars", 3, true, true, appendBars},
    {"delete_bar", 3, true, true, [](W& w) { return w.DeleteBar("20200105"); }},
    {"change_bar", 3, true, false, [](W& w) { return w.ChangeBar("20200110", "-1", -1, 9, 9, 9, 9, 9, -1); }},
    {"delete_range", 3, true, false, [](W& w) { return w.DeleteBarsBetween("20200101", "20200104"); }},
    {"rename_security", 3, false, false, [](W& w) { return w.ChangeSecurity("S2", "Renamed", "NEWNAME"); }},
    {"delete_security", 3, false, false, [](W& w) { return w.DeleteSecurity("S2"); }},
};

INSTANTIATE_TEST_SUITE_P(Sequences, CrashTest, ::testing::ValuesIn(crashCases), [](const auto& param) {
    return std::string(param.param.what);
});

} // namespace

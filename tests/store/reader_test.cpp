// The reader, the progress display and the search, in the orders the windows call them.

#include "store/metastockreader.h"
#include "store/progresswindow.h"
#include "store/securitysearch.h"
#include "storetest.h"

#include <QApplication>
#include <QProgressDialog>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using store::ErrorCode;
using store::MetaStockReader;
using store::ProgressWindow;
using store::SecuritySearch;

// ABC "Alpha" with bars of 1 to 5 March 2021, and EMPTY "Nothing yet" without bars.
void writeFolder(const QString& folder)
{
    store_test::makeFolder(
        folder,
        {{"ABC", "Alpha", {20210301, 20210302, 20210303, 20210304, 20210305}}, {"EMPTY", "Nothing yet"}});
}

// Listing and reading are checked through the data sheet, which calls the reader in the same order
// (datasheet_test.cpp); here what the windows never ask.
class ReaderTest : public ::testing::Test
{
protected:
    void SetUp() override { writeFolder(m_dir.path()); }

    QTemporaryDir m_dir;
};

TEST_F(ReaderTest, RefusesWhatItCannotAnswer)
{
    MetaStockReader reader;
    double value = 0;
    qint32 number = 0;
    EXPECT_FAILS_WITH(reader.NextSecurity(), ErrorCode::NotOpen);
    EXPECT_FAILS_WITH(reader.OpenFolder(m_dir.filePath("missing")), ErrorCode::NotFound);
    ASSERT_OK(reader.OpenFolder(m_dir.path()));
    EXPECT_FAILS_WITH(reader.GetLastDate(number), ErrorCode::NoSecurity);
    EXPECT_FAILS_WITH(reader.SelectSecurity("NONE"), ErrorCode::NotFound);
    EXPECT_FAILS_WITH(reader.SetDateField(3), ErrorCode::InvalidArgument);
    // As the delete-before-date window does: by name, closed before its security.
    ASSERT_OK(reader.SelectSecurity("abc"));
    ASSERT_OK(reader.SelectSecurityByName("alpha"));
    EXPECT_FAILS_WITH(reader.GetOpen(value), ErrorCode::NoMoreData); // before the first ReadNextBar
    ASSERT_OK(reader.GetFirstDate(number));
    EXPECT_EQ(number, 20210301);
    ASSERT_OK(reader.Close());
    ASSERT_OK(reader.CloseSecurity());
    // Past the last security.
    ASSERT_OK(reader.OpenFolder(m_dir.path()));
    for (int i = 0; i < 2; ++i)
        ASSERT_OK(reader.NextSecurity());
    EXPECT_FAILS_WITH(reader.NextSecurity(), ErrorCode::NoMoreData);
}

// The data sheet's progress: a real window whose Cancel is seen, or silent offscreen; never past its range.
TEST(ProgressWindowTest, ShowsARealWindowWhenAskedAndStopsAtItsRange)
{
    const auto dialogShown = [] {
        QProgressDialog* dialog = nullptr;
        for (QWidget* widget : QApplication::topLevelWidgets())
            dialog = dialog ? dialog : qobject_cast<QProgressDialog*>(widget);
        return dialog;
    };
    for (const auto display : {ProgressWindow::Display::Window, ProgressWindow::Display::Automatic}) {
        ProgressWindow progress(display);
        ASSERT_OK(progress.Open());
        ASSERT_OK(progress.SetRange(0, 2));
        ASSERT_OK(progress.SetCaption("Read Security data..."));
        ASSERT_OK(progress.SetVisible(1));
        for (int i = 0; i < 5; ++i)
            ASSERT_OK(progress.Step());
        EXPECT_EQ(progress.state().value, 2);
        QProgressDialog* dialog = dialogShown();
        ASSERT_EQ(dialog != nullptr, display == ProgressWindow::Display::Window);
        bool cancelled = true;
        ASSERT_OK(progress.IsCancelled(cancelled));
        EXPECT_FALSE(cancelled);
        if (dialog) {
            EXPECT_TRUE(dialog->isVisible());
            EXPECT_EQ(dialog->windowTitle(), "Read Security data...");
            EXPECT_EQ(dialog->value(), 2);
            dialog->cancel();
        } else {
            progress.cancel(); // as Ctrl-C in the command line does
        }
        ASSERT_OK(progress.IsCancelled(cancelled));
        EXPECT_TRUE(cancelled);
        ASSERT_OK(progress.Close());
        EXPECT_EQ(dialogShown(), nullptr);
    }
}

TEST(PatternTest, MatchesWithStarsCaseBlind)
{
    const struct
    {
        const char* pattern;
        const char* text;
        bool matches;
    } cases[] = {{"ABC", "abc", true},
                 {"AB", "ABC", false},
                 {"A*", "ABC", true},
                 {"*C", "ABC", true},
                 {"*B*", "ABC", true},
                 {"A*C", "AC", true},
                 {"A*B*C", "AXBXBXC", true},
                 {"*", "", true},
                 {"**", "X", true},
                 {"A*B*C", "AXBXBX", false},
                 {"A?C", "ABC", false},
                 {"A?C", "A?C", true}};

    for (const auto& c : cases)
        EXPECT_EQ(store::matchesPattern(c.pattern, c.text), c.matches) << c.pattern << " " << c.text;
}

// Three folders: the root (ABC, EMPTY), sub/inner (ABD "Abacus") and an empty folder without index.
class SearchTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        writeFolder(m_dir.path());
        store_test::makeFolder(m_dir.filePath("sub/inner"), {{"ABD", "Abacus"}});
        ASSERT_TRUE(QDir().mkpath(m_dir.filePath("other")));
    }

    // The finder's loop: the first hit without asking, then NextHit until it fails. Each hit as its
    // symbol and its data file's path below the test folder.
    QStringList search(const QString& pattern, bool subfolders, bool matchNames = true)
    {
        m_search.setProgress([this](const QString& text, const QString& folder) {
            m_progress << (folder.isEmpty() ? text : text + u' ' + QDir(m_dir.path()).relativeFilePath(folder));
        });
        EXPECT_OK(m_search.SetOption(matchNames));
        EXPECT_OK(m_search.SetIncludeSubfolders(subfolders));
        EXPECT_OK(m_search.SetStatusText("Finding....."));
        EXPECT_OK(m_search.Start(pattern, m_dir.path()));
        QStringList hits;
        store::Status status;
        do {
            QString name, symbol, file, folder;
            if (!m_search.GetName(name).ok() || !m_search.GetSymbol(symbol).ok() || !m_search.GetFileName(file).ok()
                || !m_search.GetFolder(folder).ok())
                break;
            EXPECT_FALSE(file.contains(u'/')) << qPrintable(file);
            hits << symbol + u' ' + QDir(m_dir.path()).relativeFilePath(QDir(folder).filePath(file));
            status = m_search.NextHit();
        } while (status.ok());
        EXPECT_FAILS_WITH(m_search.NextHit(), ErrorCode::NoMoreData);
        return hits;
    }

    QTemporaryDir m_dir;
    SecuritySearch m_search;
    QStringList m_progress;
};

TEST_F(SearchTest, FindsBySymbolOrName)
{
    EXPECT_EQ(search("AB*", false), (QStringList{"ABC F1.DAT"}));
    EXPECT_EQ(search("AB*", true), (QStringList{"ABC F1.DAT", "ABD sub/inner/F1.DAT"}));
    EXPECT_EQ(search("*YET", false), (QStringList{"EMPTY F2.DAT"}));
    EXPECT_EQ(search("*YET", false, false), QStringList());
    EXPECT_EQ(search(QString(), true).size(), 3);
    EXPECT_TRUE(m_search.problems().isEmpty());

    // The status text is reported folder by folder, and the end with empty text.
    m_progress.clear();
    EXPECT_EQ(search("XYZ", true), QStringList());
    EXPECT_EQ(m_progress,
              (QStringList{"Finding..... .", "Finding..... other", "Finding..... sub", "Finding..... sub/inner", ""}));

    SecuritySearch missing;
    EXPECT_FAILS_WITH(missing.Start("*", m_dir.filePath("missing")), ErrorCode::NotFound);
    QString name;
    EXPECT_FAILS_WITH(missing.GetName(name), ErrorCode::NoMoreData);
}

// A folder the process may not list (the test runs with any rights, so the file system says so).
class UnreadableFolder : public store_test::NoSyncFileSystem
{
public:
    explicit UnreadableFolder(QString name)
        : m_name(std::move(name))
    {}

    bool isReadableFolder(const QString& path) override
    {
        return !path.endsWith(m_name) && store::FileSystem::isReadableFolder(path);
    }

private:
    QString m_name;
};

// A link back up the tree, a folder without read permission and a damaged index: each is searched at
// most once or named, and the hits elsewhere are all listed.
TEST_F(SearchTest, LinkLoopsUnreadableAndDamagedFoldersNeitherHangNorStopTheSearch)
{
    ASSERT_TRUE(QFile::link(m_dir.path(), m_dir.filePath("sub/inner/loop")));
    ASSERT_TRUE(QDir().mkpath(m_dir.filePath("broken")));
    store_test::writeFile(m_dir.filePath("broken/MASTER"), "not an index");

    UnreadableFolder fs("other");
    SecuritySearch search(fs);
    ASSERT_OK(search.SetIncludeSubfolders(true));
    ASSERT_OK(search.Start("*", m_dir.path()));
    QStringList symbols;
    QString symbol;
    for (store::Status s; s.ok() && search.GetSymbol(symbol).ok(); s = search.NextHit())
        symbols << symbol;
    EXPECT_EQ(symbols, (QStringList{"ABC", "EMPTY", "ABD"}));
    ASSERT_EQ(search.problems().size(), 2) << qPrintable(search.problems().join(u'\n'));
    EXPECT_TRUE(search.problems()[0].contains("broken")) << qPrintable(search.problems()[0]);
    EXPECT_TRUE(search.problems()[1].endsWith("other: the folder cannot be read")) << qPrintable(search.problems()[1]);
}

} // namespace

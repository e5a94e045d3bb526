#include "desktopcontext.h"
#include "testcontext.h"

#include <QCoreApplication>
#include <QDialog>
#include <QDir>
#include <QSettings>
#include <QStandardPaths>

#include <gtest/gtest.h>

namespace {

using testing_support::Prompt;
using testing_support::TestContext;

TEST(TestPrompterTest, RecordsMessagesAndAnswersQuestionsFromTheScript)
{
    TestContext context;
    auto& prompter = *context->prompter;
    prompter.information(nullptr,
                         QStringLiteral("Ticksmith"),
                         QStringLiteral("Already Exists."),
                         app::Prompter::Icon::Information);
    context.prompter().answers = {true};
    EXPECT_TRUE(prompter.question(nullptr, QStringLiteral("Ticksmith"), QStringLiteral("Create it?")));
    EXPECT_FALSE(prompter.question(nullptr, QStringLiteral("Ticksmith"), QStringLiteral("Again?")));

    const auto& prompts = context.prompter().prompts;
    ASSERT_EQ(prompts.size(), 3);
    EXPECT_EQ(prompts[0].kind, Prompt::Kind::Information);
    EXPECT_EQ(prompts[0].icon, app::Prompter::Icon::Information);
    EXPECT_EQ(prompts[1].kind, Prompt::Kind::Question);
    EXPECT_EQ(context.prompter().messages(), QStringList{QStringLiteral("Already Exists.")});
    EXPECT_EQ(context.prompter().unscripted, 1);
}

TEST(ModalHookTest, DrivesEachDialogInTurnAndRejectsUnscriptedOnes)
{
    TestContext context;
    QString seenTitle;
    context.modalDrivers.push_back([&](QDialog& dialog) {
        seenTitle = dialog.windowTitle();
        dialog.accept();
        return dialog.result();
    });
    QDialog first;
    first.setObjectName(QStringLiteral("frmTip"));
    first.setWindowTitle(QStringLiteral("Tip of the Day"));
    QDialog second;
    second.setObjectName(QStringLiteral("Form3"));

    EXPECT_EQ(context->runModal(first), int(QDialog::Accepted));
    EXPECT_EQ(context->runModal(second), int(QDialog::Rejected));
    EXPECT_EQ(seenTitle, QStringLiteral("Tip of the Day"));
    EXPECT_EQ(context.modalsShown, (QStringList{QStringLiteral("frmTip"), QStringLiteral("Form3")}));
}

TEST(SettingsIsolationTest, TestsNeverReachTheUsersConfiguration)
{
    TestContext context;
    const QString realHome = qEnvironmentVariable("TICKSMITH_TEST_REAL_HOME");
    ASSERT_FALSE(realHome.isEmpty());
    EXPECT_TRUE(context->settings->fileName().startsWith(QDir::tempPath()))
        << context->settings->fileName().toStdString();

    // Even the program's own store resolves inside the test's private folders.
    QSettings programStore(QStringLiteral("Ticksmith"), QStringLiteral("Ticksmith"));
    EXPECT_FALSE(programStore.fileName().startsWith(realHome + u'/')) << programStore.fileName().toStdString();
}

TEST(ProgramFolderTest, TicksmithHomeOverridesTheExecutablesFolder)
{
    const QByteArray saved = qgetenv("TICKSMITH_HOME");
    qputenv("TICKSMITH_HOME", "/opt/ticksmith-data");
    EXPECT_EQ(app::programFolder(), QStringLiteral("/opt/ticksmith-data"));
    qunsetenv("TICKSMITH_HOME");
    EXPECT_EQ(app::programFolder(), QCoreApplication::applicationDirPath());
    if (!saved.isEmpty())
        qputenv("TICKSMITH_HOME", saved);
}

TEST(TestContextTest, ProgramFilesLiveInTheTemporaryProgramFolder)
{
    TestContext context;
    EXPECT_EQ(context->programFile(QStringLiteral("symbols.mdb")),
              QDir(context.programFolder()).filePath(QStringLiteral("symbols.mdb")));
    EXPECT_TRUE(QDir(context.programFolder()).exists());
    EXPECT_EQ(context->today(), QDate(2024, 6, 14));
    context.setToday(QDate(2005, 1, 3));
    EXPECT_EQ(context->today(), QDate(2005, 1, 3));
}

} // namespace

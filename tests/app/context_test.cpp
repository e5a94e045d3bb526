#include "app/desktopcontext.h"
#include "testcontext.h"

#include <QCoreApplication>
#include <QDialog>
#include <QDir>
#include <QSettings>

#include <gtest/gtest.h>

namespace {

using testing_support::Prompt;
using testing_support::TestContext;

TEST(TestPrompterTest, RecordsMessagesAndAnswersQuestionsFromTheScript)
{
    TestContext context;
    auto& prompter = *context->prompter;
    prompter.information(nullptr, "Ticksmith", "Already Exists.", context::Prompter::Icon::Information);
    context.prompter().answers = {true};
    EXPECT_TRUE(prompter.question(nullptr, "Ticksmith", "Create it?"));
    EXPECT_FALSE(prompter.question(nullptr, "Ticksmith", "Again?"));

    const auto& prompts = context.prompter().prompts;
    ASSERT_EQ(prompts.size(), 3);
    EXPECT_EQ(prompts[0].kind, Prompt::Kind::Information);
    EXPECT_EQ(prompts[0].icon, context::Prompter::Icon::Information);
    EXPECT_EQ(prompts[1].kind, Prompt::Kind::Question);
    EXPECT_EQ(context.prompter().messages(), QStringList{"Already Exists."});
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
    first.setObjectName("frmTip");
    first.setWindowTitle("Tip of the Day");
    QDialog second;
    second.setObjectName("Form3");

    EXPECT_EQ(context->runModal(first), int(QDialog::Accepted));
    EXPECT_EQ(context->runModal(second), int(QDialog::Rejected));
    EXPECT_EQ(seenTitle, "Tip of the Day");
    EXPECT_EQ(context.modalsShown, (QStringList{"frmTip", "Form3"}));
}

TEST(SettingsIsolationTest, TestsNeverReachTheUsersConfiguration)
{
    TestContext context;
    const QString realHome = qEnvironmentVariable("TICKSMITH_TEST_REAL_HOME");
    ASSERT_FALSE(realHome.isEmpty());
    EXPECT_TRUE(context->settings->fileName().startsWith(QDir::tempPath()))
        << context->settings->fileName().toStdString();

    // Even the program's own store resolves inside the test's private folders.
    QSettings programStore("Ticksmith", "Ticksmith");
    EXPECT_FALSE(programStore.fileName().startsWith(realHome + u'/')) << programStore.fileName().toStdString();
}

TEST(ProgramFolderTest, TicksmithHomeOverridesTheExecutablesFolder)
{
    const QByteArray saved = qgetenv("TICKSMITH_HOME");
    qputenv("TICKSMITH_HOME", "/opt/ticksmith-data");
    EXPECT_EQ(app::programFolder(), "/opt/ticksmith-data");
    qunsetenv("TICKSMITH_HOME");
    EXPECT_EQ(app::programFolder(), QCoreApplication::applicationDirPath());
    if (!saved.isEmpty())
        qputenv("TICKSMITH_HOME", saved);
}

} // namespace

#include "app/frmsettings.h"
#include "app/frmtip.h"
#include "symbols/installation.h"
#include "symbols/symbolsdb.h"
#include "testcontext.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QSlider>

#include <gtest/gtest.h>

namespace {

using testing_support::TestContext;

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

// An installed program in <root>/usr: read-only files in share/ticksmith, the user's copy of the
// database in the data folder, made at first start from a template that opens and holds its options.
class InstallationTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(QDir().mkpath(bin) && QDir().mkpath(shared));
        ASSERT_TRUE(QFile::copy(QDir(TICKSMITH_BUILD_DIR).filePath("symbols.mdb"), templateFile));
    }

    symbols::Installation locate(const QString& home = {}) { return symbols::locateInstallation(bin, home, userData); }

    QString file(const QString& name) const { return context.makeFolder("root") + u'/' + name; }

    TestContext context;
    const QString bin = file("usr/bin");
    const QString shared = file("usr/share/ticksmith");
    const QString templateFile = shared + "/symbols.mdb";
    const QString userData = file("home/.local/share/Ticksmith/Ticksmith");
    const QString userCopy = userData + "/symbols.mdb";
};

TEST_F(InstallationTest, FirstStartCopiesTheTemplateOnceAndSettingsWriteTheCopy)
{
    const symbols::Installation installation = locate();
    EXPECT_EQ(QStringList({installation.programFolder, installation.dataFolder, installation.problem}),
              QStringList({shared, userData, ""}));
    ASSERT_TRUE(QFileInfo::exists(userCopy));
    EXPECT_EQ(QFile::permissions(userCopy) & (QFile::ReadOther | QFile::WriteOther), QFile::Permissions());
    QFile::setPermissions(templateFile, QFile::ReadOwner); // as installed: nobody writes there
    context->programFolder = installation.programFolder;
    context->dataFolder = installation.dataFolder;
    app::frmSettings settings(context);
    settings.Slider1->setValue(settings.Slider1->value() == 5 ? 4 : 5);
    ASSERT_TRUE(settings.Command2_Click());
    EXPECT_EQ(symbols::readOptions(context).s2, settings.Slider1->value());
    context->dataFolder = shared; // the template keeps the shipped options
    EXPECT_NE(symbols::readOptions(context).s2, settings.Slider1->value());
    const QFileInfo before(userCopy);
    EXPECT_EQ(locate().problem, ""); // a later start keeps the user's copy
    EXPECT_EQ(QFileInfo(userCopy).lastModified(), before.lastModified());
}

TEST_F(InstallationTest, AMissingOrDamagedTemplateIsReportedAndNeverCopied)
{
    for (const QByteArray& content : {QByteArray(), QByteArray(4096, 'x')}) {
        QFile::remove(templateFile);
        if (!content.isEmpty()) {
            QFile damaged(templateFile);
            ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
            damaged.write(content);
        }
        const QString problem = locate().problem;
        EXPECT_TRUE(problem.contains(templateFile) && problem.contains("Reinstall")) << problem.toStdString();
        EXPECT_FALSE(QFileInfo::exists(userCopy));
    }
    // The settings window explains why its options cannot be read, shows the engine's error and saves
    // nothing.
    context->setupProblem = locate().problem;
    app::frmSettings settings(context);
    EXPECT_FALSE(settings.lblSetupProblem->isHidden());
    EXPECT_EQ(settings.lblSetupProblem->text(), context->setupProblem);
    EXPECT_EQ(context.prompter().messages().size(), 1);
    settings.Command1->click();
    EXPECT_EQ(context.prompter().messages().size(), 2);
    EXPECT_NE(settings.result(), int(QDialog::Accepted));
    EXPECT_FALSE(context->settings->contains(app::showTipsAtStartupKey()));
}

TEST_F(InstallationTest, TheHomeVariableAndTheBuildTreeKeepEverythingInOneFolder)
{
    EXPECT_EQ(locate("/opt/ticksmith-data").dataFolder, "/opt/ticksmith-data");
    ASSERT_TRUE(QFile::copy(templateFile, bin + "/symbols.mdb"));
    const symbols::Installation buildTree = locate();
    EXPECT_EQ(QStringList({buildTree.programFolder, buildTree.dataFolder}), QStringList({bin, bin}));
    EXPECT_FALSE(QFileInfo::exists(userCopy));
}

} // namespace

// The Data Converter window: its checks, both directions, and the one message that ends a run.

#include "convert/windows/frmconvert.h"
#include "convertfixture.h"
#include "testcontext.h"

#include <QDir>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QToolButton>

using namespace convert_test;
using testing_support::TestContext;

namespace {

TEST(ConvertWindow, AsksForBothFoldersBeforeAnything)
{
    TestContext context;
    convert::frmConvert window(context);
    context.prompter().folders = {"/chosen/source", QString()};
    window.Command6->click();
    window.Command7->click();
    EXPECT_EQ(window.Text1->text(), "/chosen/source");
    EXPECT_EQ(window.Text2->text(), QString());
    window.Text2->setText("   ");
    window.Command3->click();
    window.Command2->click();
    EXPECT_EQ(context.prompter().messages(),
              (QStringList{"Please choose the directory.", "Please choose the directory."}));
    EXPECT_FALSE(window.ProgressBar1->isVisibleTo(&window));
}

TEST(ConvertWindow, ConvertsBothWaysAndSumsUpProblemsInOneMessage)
{
    TestContext context;
    const QString source = context.makeFolder("source");
    const QString csv = context.makeFolder("csv");
    const QString back = context.makeFolder("back");
    makeFolder(source, 3, 4);
    convert::frmConvert window(context);
    window.Text1->setText(u' ' + source + u' ');
    window.Text2->setText(csv);
    window.Command3->click();
    EXPECT_EQ(QDir(csv).entryList(QDir::Files).size(), 3);
    store_test::writeFile(QDir(csv).filePath("Empty.csv"), "");
    window.Text1->setText(csv);
    window.Text2->setText(back);
    window.Command2->click();
    EXPECT_EQ(barsOf(back).size(), 3);
    ASSERT_EQ(context.prompter().prompts.size(), 2);
    EXPECT_EQ(context.prompter().prompts[0].text, "Conversion Complete.");
    EXPECT_EQ(context.prompter().prompts[1].text,
              QStringLiteral("Conversion Complete.\n\n3 of 4 converted, 12 bars, 1 with problems.\n"
                             "Empty.csv: the file is empty; it needs a header line such as "
                             "Date,Open,High,Low,Close,Volume"));
    EXPECT_TRUE(window.Command2->isEnabled());
}

} // namespace

#include "form2.h"
#include "form3.h"
#include "frmmain.h"
#include "frmtip.h"
#include "store/frmcreate.h"
#include "store/metastockreader.h"
#include "symbolsdb.h"
#include "testcontext.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QTreeWidget>

#include <gtest/gtest.h>

namespace {

using testing_support::TestContext;

struct MenuCase
{
    const char* name;
    const char* caption;
    const char* shortcut;
};

class MenuTreeTest : public ::testing::TestWithParam<MenuCase>
{};

TEST_P(MenuTreeTest, ItemHasItsCaptionAndShortcut)
{
    TestContext context;
    app::frmMain window(context);
    const MenuCase& c = GetParam();
    const QString name = QLatin1String(c.name);
    if (auto* menu = window.findChild<QMenu*>(name)) {
        EXPECT_EQ(menu->title(), QLatin1String(c.caption));
        return;
    }
    auto* action = window.findChild<QAction*>(name);
    ASSERT_NE(action, nullptr) << c.name;
    EXPECT_EQ(action->text(), QLatin1String(c.caption));
    EXPECT_EQ(action->shortcut(), QKeySequence(QLatin1String(c.shortcut)));
}

INSTANTIATE_TEST_SUITE_P(Items,
                         MenuTreeTest,
                         ::testing::Values(MenuCase{"mnuFile", "&File   ", ""},
                                           MenuCase{"mnuNew", "&New", ""},
                                           MenuCase{"mnuCreateNew", "Create Security", "Ctrl+N"},
                                           MenuCase{"mnuCreateMultiple", "Create Multiple Securities", ""},
                                           MenuCase{"mnuOpen", "&Open", "Ctrl+O"},
                                           MenuCase{"mnuOpenChart", "Open Chart", ""},
                                           MenuCase{"mnuClose", "&Close", "Ctrl+W"},
                                           MenuCase{"mnuCloseAll", "Close All", ""},
                                           MenuCase{"mnuExit", "&Exit", "Ctrl+Q"},
                                           MenuCase{"mnuTools", "&Tools    ", ""},
                                           MenuCase{"mnuDownload", "&Download", "F5"},
                                           MenuCase{"mnuAdjust", "Adjust", ""},
                                           MenuCase{"mnuSecurity", "Security", ""},
                                           MenuCase{"mnuData", "Data", ""},
                                           MenuCase{"mnuConvert", "&Convert", "F6"},
                                           MenuCase{"mnuTest", "&Test Data", "F4"},
                                           MenuCase{"mnuSecFinder", "Security &Finder", ""},
                                           MenuCase{"mnuSymbolBrowser", "Symbol &Lookup", ""},
                                           MenuCase{"mnuSettings", "Settings", ""},
                                           MenuCase{"mnuWindow", "&Window    ", ""},
                                           MenuCase{"mnuArrangeHori", "Arrange Horizontal", ""},
                                           MenuCase{"mnuCascade", "Arrange Cascade", ""},
                                           MenuCase{"mnuHelp", "&Help", ""},
                                           MenuCase{"mnuContents", "Contents", "F1"},
                                           MenuCase{"mnuTip", "Tip of the day", ""},
                                           MenuCase{"mnuLookUp", "Yahoo Symbol Lookup", ""},
                                           MenuCase{"mnuUpdates", "Browse For Updates", ""},
                                           MenuCase{"mnuAbout", "&About", ""}));

TEST(MainWindowTest, HiddenItemsAndTheOrderOfTheMenus)
{
    TestContext context;
    app::frmMain window(context);
    EXPECT_FALSE(window.mnuRecent->isVisible());
    EXPECT_FALSE(window.mnub5->isVisible());
    EXPECT_FALSE(window.mnuTest->isVisible());
    EXPECT_FALSE(window.mnuTest->isEnabled());

    QStringList fileMenu;
    for (QAction* action : window.mnuFile->actions())
        fileMenu.append(action->objectName());
    EXPECT_EQ(fileMenu,
              (QStringList{"",
                           "mnuOpen",
                           "mnuOpenChart",
                           "mnub1",
                           "mnuClose",
                           "mnuCloseAll",
                           "mbub9",
                           "mnuRecent",
                           "mnub5",
                           "mnuExit"}));
    EXPECT_EQ(window.mnuFile->actions().first()->menu(), window.mnuNew);
}

TEST(MainWindowTest, ToolbarTooltipsStandAtTheirPositions)
{
    TestContext context;
    app::frmMain window(context);
    const QMap<int, QString> tooltips{{2, "New Security"},
                                      {3, "Open Security"},
                                      {5, "Find Security"},
                                      {6, "Test Report"},
                                      {8, "Download Quotes"},
                                      {10, "Convert"},
                                      {11, "Symbol Lookup"},
                                      {13, "Settings"},
                                      {17, "Copy to Clipboard"}};
    const auto actions = window.Toolbar1->actions();
    ASSERT_EQ(actions.size(), 17);
    for (int index = 1; index <= 17; ++index) {
        QAction* button = actions[index - 1];
        if (tooltips.contains(index)) {
            EXPECT_EQ(button->toolTip(), tooltips[index]) << index;
        } else if (index != 15) {
            EXPECT_TRUE(button->isSeparator()) << index;
        }
    }
    EXPECT_FALSE(actions[15 - 1]->isSeparator());
}

TEST(MainWindowTest, ItemsWithoutAWindowStayDisabledUntilWired)
{
    TestContext context;
    app::frmMain window(context);
    EXPECT_FALSE(window.mnuConvert->isEnabled());
    EXPECT_FALSE(window.Toolbar1->actions()[10 - 1]->isEnabled());
    EXPECT_TRUE(window.mnuSymbolBrowser->isEnabled());
    window.Toolbar1_ButtonClick(11);
    EXPECT_EQ(context.modalsShown, QStringList{QStringLiteral("frmLookup")});

    int opened = 0;
    window.setOpener(window.mnuConvert, [&] { ++opened; });
    EXPECT_TRUE(window.Toolbar1->actions()[10 - 1]->isEnabled());
    window.Toolbar1_ButtonClick(10);
    window.mnuConvert->trigger();
    EXPECT_EQ(opened, 2);
    window.Toolbar1_ButtonClick(6); // "Test Report" does nothing
    EXPECT_EQ(opened, 2);
}

// From the menu or the toolbar: securities created in a new folder are listed there and in the recent list.
TEST(MainWindowTest, CreateSecurityFillsANewFolderAndTheRecentList)
{
    TestContext context;
    app::frmMain window(context);
    const QString folder = context.makeFolder(QStringLiteral("data")) + QStringLiteral("/new");
    context.prompter().answers = {true};
    context.modalDrivers.push_back([&](QDialog& dialog) {
        auto* create = qobject_cast<store::frmCreate*>(&dialog);
        create->Text1->setText(folder);
        for (const char* symbol : {"IBM", "VOD"}) {
            create->Text2->setText(QStringLiteral("%1 plc").arg(QLatin1String(symbol)));
            create->Text3->setText(QLatin1String(symbol));
            create->Command3->click();
        }
        create->Command5->click();
        return dialog.result();
    });
    window.mnuCreateNew->trigger();
    window.Toolbar1_ButtonClick(2);
    EXPECT_EQ(context.modalsShown, QStringList({QStringLiteral("frmCreate"), QStringLiteral("frmCreate")}));

    store::MetaStockReader reader;
    qint32 count = 0;
    EXPECT_TRUE(reader.OpenFolder(folder).ok() && reader.HasMoreSecurities(count).ok());
    EXPECT_EQ(count, 2);
    const auto items = window.recentItems();
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(items[1]->text(), QStringLiteral("&2 %1\\VOD plc").arg(folder));
    EXPECT_EQ(context->state.currentFolder, folder);
}

TEST(MainWindowTest, RecentEntriesAreNumberedAndDuplicatesAdded)
{
    TestContext context;
    app::frmMain window(context);
    context->addRecent({QStringLiteral("IBM"), QStringLiteral("/data"), QStringLiteral("IBM")});
    context->addRecent({QStringLiteral("IBM"), QStringLiteral("/data"), QStringLiteral("IBM")});
    context->addRecent({QStringLiteral("Vodafone"), QStringLiteral("/uk"), QStringLiteral("/uk\\Vodafone")});

    const auto items = window.recentItems();
    ASSERT_EQ(items.size(), 3);
    EXPECT_EQ(items[0]->text(), QStringLiteral("&1 IBM"));
    EXPECT_EQ(items[1]->text(), QStringLiteral("&2 IBM"));
    EXPECT_EQ(items[2]->text(), QStringLiteral("&3 /uk\\Vodafone"));
    EXPECT_TRUE(window.mnub5->isVisible());
    // They stand between the template and the separator before Exit.
    const auto actions = window.mnuFile->actions();
    EXPECT_EQ(actions.indexOf(items[0]), actions.indexOf(window.mnuRecent) + 1);
    EXPECT_EQ(actions.indexOf(window.mnub5), actions.indexOf(items[2]) + 1);

    int openedIndex = 0;
    window.setRecentOpener([&](int index) { openedIndex = index; });
    items[1]->trigger();
    EXPECT_EQ(openedIndex, 2);
}

TEST(MainWindowTest, StartUpRecordsTheProgramFolderAndOffersTheTipOnce)
{
    TestContext context;
    QFile tips(context->programFile(QStringLiteral("TIP.TXT")));
    ASSERT_TRUE(tips.open(QIODevice::WriteOnly));
    tips.write("Press F5 to download.\n");
    tips.close();
    context->state.recent.append({QStringLiteral("old"), QString(), QString()});
    app::frmMain window(context);
    window.Form_Load();

    EXPECT_EQ(context->settings->value(QStringLiteral("InstallDir/Dir")).toString(), context.programFolder());
    EXPECT_TRUE(context->state.recent.isEmpty());
    EXPECT_EQ(window.Timer1->interval(), 100);
    EXPECT_TRUE(window.Timer1->isActive());

    window.Timer1_Timer();
    window.Timer1_Timer();
    EXPECT_EQ(context.modalsShown, QStringList{QStringLiteral("frmTip")});
    EXPECT_EQ(window.Timer1->interval(), 3000);
}

void showChild(app::frmMain& window, QWidget* child)
{
    QMdiSubWindow* frame = window.mdiArea()->addSubWindow(child);
    frame->show();
    window.mdiArea()->setActiveSubWindow(frame);
}

TEST(MainWindowTest, StartUpReadsTheOptionsOrKeepsZeroWithoutTheDatabase)
{
    TestContext withDatabase;
    ASSERT_TRUE(withDatabase.installProgramFile(symbols::kDatabaseFileName));
    symbols::writeOptions(withDatabase, {1, 4});
    app::frmMain first(withDatabase);
    first.Form_Load();
    EXPECT_EQ(withDatabase->state.s1, 1);
    EXPECT_EQ(withDatabase->state.s2, 4);

    TestContext withoutDatabase;
    app::frmMain second(withoutDatabase);
    second.Form_Load();
    EXPECT_EQ(withoutDatabase->state.s1, 0);
    EXPECT_EQ(withoutDatabase->state.s2, 0);
    EXPECT_TRUE(withoutDatabase.prompter().prompts.isEmpty());

    TestContext withoutTable;
    ASSERT_TRUE(withoutTable.installProgramFile(symbols::kDatabaseFileName));
    symbols::openDatabase(withoutTable)->execute(QStringLiteral("drop table settings"));
    app::frmMain third(withoutTable);
    third.Form_Load();
    EXPECT_EQ(withoutTable->state.s2, 0);
    EXPECT_TRUE(withoutTable.prompter().prompts.isEmpty());
}

TEST(MainWindowTest, TimerCopiesTheActiveChildsTitle)
{
    TestContext context;
    context->settings->setValue(app::showTipsAtStartupKey(), QStringLiteral("0"));
    app::frmMain window(context);
    window.show();
    window.panelText->setText(QStringLiteral("Download Listing."));
    window.Timer1_Timer();
    EXPECT_EQ(window.panelText->text(), QStringLiteral("Download Listing.")); // no child: kept
    EXPECT_TRUE(context.modalsShown.isEmpty());

    auto* child = new QWidget;
    child->setWindowTitle(QStringLiteral("IBM - Daily"));
    showChild(window, child);
    window.Timer1_Timer();
    EXPECT_EQ(window.panelText->text(), QStringLiteral("IBM - Daily"));

    context->setStatusText(QStringLiteral("Download Progress."));
    EXPECT_EQ(window.panelText->text(), QStringLiteral("Download Progress."));
}

TEST(MainWindowTest, CloseAllKeepsTheMainWindowAndClosesHiddenHelpers)
{
    TestContext context;
    app::frmMain window(context);
    window.show();
    window.mdiArea()->addSubWindow(new QWidget)->show();
    window.mdiArea()->addSubWindow(new QWidget)->show();
    QWidget helper;
    helper.setAttribute(Qt::WA_DontShowOnScreen);
    helper.show();
    helper.hide();
    QWidget visible;
    visible.show();

    window.mnuCloseAll->trigger();
    QApplication::processEvents();
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(window.mdiArea()->subWindowList().isEmpty());
    EXPECT_FALSE(visible.isVisible());
}

TEST(MainWindowTest, HelpItemsOpenConfiguredAddressesOnly)
{
    TestContext context;
    app::frmMain window(context);
    window.mnuLookUp->trigger();
    window.mnuUpdates->trigger();
    EXPECT_TRUE(context.openedUrls.isEmpty());

    context->settings->setValue(QStringLiteral("Help/UpdatesUrl"), QStringLiteral("https://updates.test/"));
    window.mnuUpdates->trigger();
    window.mnuContents->trigger();
    ASSERT_EQ(context.openedUrls.size(), 2);
    EXPECT_EQ(context.openedUrls[0], QUrl(QStringLiteral("https://updates.test/")));
    EXPECT_EQ(context.openedUrls[1], QUrl::fromLocalFile(context->programFile(QStringLiteral("help/index.html"))));
}

TEST(MainWindowTest, RowCopyTakesTheSelectedRowsOfADataSheetOnly)
{
    TestContext context;
    context.clipboard().content = QStringLiteral("kept");
    app::frmMain window(context);
    window.show();

    auto* chart = new QWidget;
    chart->setObjectName(QStringLiteral("frmChart"));
    showChild(window, chart);
    window.Toolbar1_ButtonClick(17);
    EXPECT_EQ(context.clipboard().content, QStringLiteral("kept"));

    auto* sheet = new QWidget;
    sheet->setObjectName(QStringLiteral("frmView"));
    auto* list = new QTreeWidget(sheet);
    list->setObjectName(QStringLiteral("ListView1"));
    list->setColumnCount(6);
    list->setSelectionMode(QAbstractItemView::MultiSelection);
    for (const char* date : {"1/3/2005", "1/4/2005", "1/5/2005"}) {
        auto* row = new QTreeWidgetItem(list);
        row->setText(0, QLatin1String(date));
        for (int column = 1; column <= 5; ++column)
            row->setText(column, QString::number(column));
    }
    showChild(window, sheet);
    ASSERT_EQ(window.mdiArea()->activeSubWindow()->widget(), sheet);
    window.RowCopy();
    EXPECT_EQ(context.clipboard().content, QStringLiteral("kept")); // nothing selected

    list->topLevelItem(0)->setSelected(true);
    list->topLevelItem(2)->setSelected(true);
    window.RowCopy();
    EXPECT_EQ(context.clipboard().content, QStringLiteral("1/3/2005,1,2,3,4,5\r\n1/5/2005,1,2,3,4,5\r\n"));
}

void writeTips(TestContext& context, const QByteArray& content)
{
    QFile file(context->programFile(QStringLiteral("TIP.TXT")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

TEST(TipTest, MissingFileShowsHowToMakeOne)
{
    TestContext context;
    app::frmTip tip(context);
    ASSERT_TRUE(tip.Form_Load());
    EXPECT_TRUE(tip.chkLoadTipsAtStartup->isChecked());
    EXPECT_EQ(
        tip.lblTipText->text(),
        QStringLiteral("That the TIP.TXT file was not found? \r\n\r\nCreate a text file named TIP.TXT using NotePad "
                       "with 1 tip per line. Then place it in the same directory as the application. "));
}

TEST(TipTest, EmptyFileKeepsTheDesignText)
{
    TestContext context;
    writeTips(context, "");
    app::frmTip tip(context);
    const QString design = tip.lblTipText->text();
    ASSERT_TRUE(tip.Form_Load());
    tip.cmdNextTip->click();
    EXPECT_EQ(tip.lblTipText->text(), design);
    EXPECT_EQ(tip.currentIndex(), 0);
}

TEST(TipTest, ThreeLinesGiveIndexesOneToThreeOnly)
{
    TestContext context;
    writeTips(context, "first\r\n\r\nthird\r\n");
    app::frmTip tip(context);
    ASSERT_TRUE(tip.Form_Load());
    EXPECT_EQ(tip.tips(), (QStringList{"first", "", "third"}));
    QSet<int> seen;
    for (int i = 0; i < 200; ++i) {
        tip.cmdNextTip->click();
        seen.insert(tip.currentIndex());
        EXPECT_EQ(tip.lblTipText->text(), tip.tips()[tip.currentIndex() - 1]);
    }
    EXPECT_EQ(seen, (QSet<int>{1, 2, 3}));
}

TEST(TipTest, TurnedOffItIsNeitherShownAtStartNorFromTheMenu)
{
    TestContext context;
    writeTips(context, "a tip\n");
    app::frmTip tip(context);
    ASSERT_TRUE(tip.Form_Load());
    tip.chkLoadTipsAtStartup->click();
    EXPECT_EQ(context->settings->value(app::showTipsAtStartupKey()).toString(), QStringLiteral("0"));

    app::frmMain window(context);
    window.Timer1_Timer();
    window.mnuTip->trigger();
    EXPECT_TRUE(context.modalsShown.isEmpty());
}

class SplashTest : public ::testing::TestWithParam<std::pair<int, int>>
{};

TEST_P(SplashTest, ProgressFollowsTheTicks)
{
    int shown = 0;
    auto* splash = new app::Form2([&] { ++shown; });
    splash->Timer1->stop();
    QPointer<app::Form2> alive(splash);
    const auto [ticks, value] = GetParam();
    for (int i = 0; i < ticks; ++i)
        splash->Timer1_Timer();
    EXPECT_EQ(splash->P->value(), value);
    EXPECT_EQ(shown, ticks >= 10 ? 1 : 0);
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(alive.isNull(), ticks >= 10);
    delete alive.data();
}

INSTANTIATE_TEST_SUITE_P(Ticks,
                         SplashTest,
                         ::testing::Values(std::pair{1, 1},
                                           std::pair{2, 1},
                                           std::pair{3, 2},
                                           std::pair{4, 3},
                                           std::pair{5, 3},
                                           std::pair{6, 4},
                                           std::pair{7, 4},
                                           std::pair{8, 5},
                                           std::pair{9, 5},
                                           std::pair{10, 6}));

TEST(AboutTest, LinkChangesColourOnHoverOpensTheManualAndEscapeCloses)
{
    TestContext context;
    app::Form3 about(context);
    about.show();
    QTest::mouseMove(about.Label4);
    EXPECT_TRUE(about.Label4->styleSheet().contains(QStringLiteral("#ff0000")));
    QTest::mouseMove(about.Picture1);
    EXPECT_TRUE(about.Label4->styleSheet().contains(QStringLiteral("#0000ff")));

    QTest::mouseClick(about.Label4, Qt::LeftButton);
    ASSERT_EQ(context.openedUrls.size(), 1);
    EXPECT_TRUE(context.openedUrls[0].isLocalFile());

    QTest::keyClick(&about, Qt::Key_Escape);
    EXPECT_FALSE(about.isVisible());
}

} // namespace

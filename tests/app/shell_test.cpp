#include "app/form2.h"
#include "app/form3.h"
#include "app/frmmain.h"
#include "app/frmtip.h"
#include "chart/windows/frmchart.h"
#include "store/metastockwriter.h"
#include "store/windows/bartablemodel.h"
#include "store/windows/frmopen.h"
#include "store/windows/frmview.h"
#include "symbols/symbolsdb.h"
#include "testcontext.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
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
#include <QTreeView>

#include <gtest/gtest.h>

namespace {

using testing_support::TestContext;

void writeTips(TestContext& context, const QByteArray& content)
{
    QFile file(context->programFile("TIP.TXT"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

// The recent list and Exit keep their places in the File menu, and the toolbar's buttons keep the positions
// their handler numbers them by.
TEST(MainWindowTest, MenuAndToolbarLayoutAndTheirWindows)
{
    TestContext context;
    app::frmMain window(context);
    EXPECT_FALSE(window.mnuRecent->isVisible() || window.mnub5->isVisible() || window.mnuTest->isVisible()
                 || window.mnuTest->isEnabled());
    QStringList fileMenu;
    for (QAction* action : window.mnuFile->actions())
        fileMenu.append(action->objectName());
    EXPECT_EQ(fileMenu.join(u','), ",mnuOpen,mnuOpenChart,mnub1,mnuClose,mnuCloseAll,mbub9,mnuRecent,mnub5,mnuExit");
    EXPECT_EQ(window.mnuFile->actions().first()->menu(), window.mnuNew);
    QStringList toolbar; // tooltips by position, "|" for a separator
    for (QAction* button : window.Toolbar1->actions())
        toolbar.append(button->isSeparator() ? "|" : button->toolTip());
    EXPECT_EQ(toolbar.join(u','),
              "|,New Security,Open Security,|,Find Security,Test Report,|,Download Quotes,|,Convert,Symbol Lookup,|,"
              "Settings,|,,|,Copy to Clipboard");
    // Each task item opens its window; the toolbar buttons do what their menu items do.
    for (QAction* item : {window.mnuCreateNew,
                          window.mnuCreateMultiple,
                          window.mnuSecFinder,
                          window.mnuDownload,
                          window.mnuSecurity,
                          window.mnuData,
                          window.mnuConvert})
        item->trigger();
    for (int button : {2, 5})
        window.Toolbar1_ButtonClick(button);
    EXPECT_EQ(context.modalsShown.join(u','),
              "frmCreate,frmCreateMultiple,frmFinder,frmDownload,frmAdjustSecurity,frmDeleteData,frmConvert,frmCreate,"
              "frmFinder");

    // Recent entries, numbered or not and duplicates kept, stand between the template and the separator
    // before Exit; each opens by its number.
    context->addRecent(" IBM ", "/data", context::RecentCaption::Numbered);
    context->addRecent("IBM", "/data", context::RecentCaption::Numbered);
    context->addRecent("Vodafone", "/uk ", context::RecentCaption::FolderAndName);
    fileMenu.clear();
    for (QAction* action : window.mnuFile->actions().mid(7))
        fileMenu.append(action->isVisible() ? action->text() : "-");
    EXPECT_EQ(fileMenu.join(u','), "-,&1 IBM,&2 IBM,/uk\\Vodafone,,&Exit");
    int openedIndex = 0;
    window.setRecentOpener([&](int index) { openedIndex = index; });
    window.recentItems()[1]->trigger();
    EXPECT_EQ(openedIndex, 2);
}

TEST(MainWindowTest, ItemsWithoutAWindowStayDisabledUntilWired)
{
    TestContext context;
    app::frmMain window(context);
    // Every task window is wired now; an item whose opener is taken away shows how one without a window
    // behaves.
    window.setOpener(window.mnuSecFinder, {});
    EXPECT_FALSE(window.mnuSecFinder->isEnabled());
    EXPECT_FALSE(window.Toolbar1->actions()[5 - 1]->isEnabled());
    EXPECT_TRUE(window.mnuSymbolBrowser->isEnabled());
    window.Toolbar1_ButtonClick(11);
    EXPECT_EQ(context.modalsShown, QStringList{"frmLookup"});
    int opened = 0;
    window.setOpener(window.mnuSecFinder, [&] { ++opened; });
    EXPECT_TRUE(window.Toolbar1->actions()[5 - 1]->isEnabled());
    window.Toolbar1_ButtonClick(5);
    window.mnuSecFinder->trigger();
    EXPECT_EQ(opened, 2);
    window.Toolbar1_ButtonClick(6); // "Test Report" does nothing
    EXPECT_EQ(opened, 2);
}

// The program folder is recorded, the recent list emptied, the options read (zero, silently, without the
// database) and the tip offered once.
TEST(MainWindowTest, StartUp)
{
    for (bool withDatabase : {true, false}) {
        TestContext context;
        if (withDatabase) {
            ASSERT_TRUE(context.installProgramFile(symbols::kDatabaseFileName));
            symbols::writeOptions(context, {1, 4});
        }
        writeTips(context, "Press F5 to download.\n");
        context->state.recent.append({"old", QString(), QString()});
        app::frmMain window(context);
        window.Form_Load();
        EXPECT_EQ(context->settings->value("InstallDir/Dir").toString(), context.programFolder());
        EXPECT_TRUE(context->state.recent.isEmpty() && window.Timer1->isActive());
        EXPECT_EQ(QList<int>({context->state.s1, context->state.s2}), QList<int>({withDatabase, withDatabase * 4}));
        window.Timer1_Timer();
        window.Timer1_Timer();
        EXPECT_EQ(context.modalsShown, QStringList{"frmTip"});
        EXPECT_TRUE(context.prompter().prompts.isEmpty());
    }
}

// The help items open only the addresses configured; the about window's link opens the manual, and
// Escape closes the window.
TEST(MainWindowTest, HelpItemsOpenConfiguredAddressesOnly)
{
    TestContext context;
    app::frmMain window(context);
    window.mnuLookUp->trigger();
    window.mnuUpdates->trigger();
    EXPECT_TRUE(context.openedUrls.isEmpty());
    context->settings->setValue("Help/UpdatesUrl", "https://updates.test/");
    context->settings->setValue("Sources/Source", "yahoo"); // a source with a public symbol search
    window.mnuUpdates->trigger();
    window.mnuContents->trigger();
    window.mnuLookUp->trigger();
    EXPECT_EQ(context.openedUrls,
              QList<QUrl>({QUrl("https://updates.test/"),
                           QUrl::fromLocalFile(context->programFile("help/index.html")),
                           QUrl("https://finance.yahoo.com/lookup")}));
    app::Form3 about(context);
    about.show();
    QTest::mouseClick(about.Label4, Qt::LeftButton);
    EXPECT_EQ(context.openedUrls.last(), context.openedUrls[1]);
    QTest::keyClick(&about, Qt::Key_Escape);
    EXPECT_FALSE(about.isVisible());
}

// File, Open and toolbar button 3 open Open Security in data-sheet mode, File, Open Chart in chart mode;
// each opening adds a recent item, and an item opens the data sheet of its security again. Copy to
// Clipboard takes the selected rows of the active data sheet, and nothing while a chart is active; the
// status panel shows the active child's title; Close All closes every window but the main one.
TEST(MainWindowTest, ChildWindowsOpenCopyRowsShowTheirTitlesAndClose)
{
    TestContext context;
    context->state.currentFolder = context.makeFolder("data");
    store::MetaStockWriter writer;
    ASSERT_TRUE(writer.OpenFolder(context->state.currentFolder).ok() && writer.CreateSecurity("ALP", "Alpha", 1).ok());
    for (qint32 day : {20050103, 20050104, 20050105})
        ASSERT_TRUE(writer.AddBar(day, 0, 1, 2, 0.5, 1.5, 100, 0).ok());
    ASSERT_TRUE(writer.CloseFolder().ok());
    app::frmMain window(context);
    window.show();
    for (int chartMode : {0, 0, 1}) {
        context.modalDrivers.push_back([chartMode](QDialog& dialog) {
            auto& open = dynamic_cast<store::frmOpen&>(dialog);
            EXPECT_EQ(open.chartMode, chartMode);
            open.Text2->setText("Alpha");
            open.Command2->click();
            return open.result();
        });
    }
    window.mnuOpen->trigger();
    window.Toolbar1_ButtonClick(3);
    window.mnuOpenChart->trigger();
    ASSERT_EQ(window.recentItems().size(), 3);
    window.recentItems()[0]->trigger();
    const auto windows = window.mdiArea()->subWindowList();
    ASSERT_EQ(windows.size(), 4);
    auto* chart = dynamic_cast<chart::frmChart*>(windows[2]->widget());
    EXPECT_EQ(windows[2]->windowTitle(), "Chart of Alpha");
    EXPECT_EQ(chart ? chart->bars().size() : 0u, 3u);
    auto* sheet = dynamic_cast<store::frmView*>(windows[3]->widget());
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(windows[3]->windowTitle() + ' ' + sheet->Text3->text(), "DataSheet of Alpha ALP");
    const QItemSelectionModel::SelectionFlags rows = QItemSelectionModel::Select | QItemSelectionModel::Rows;
    sheet->ListView1->selectionModel()->select(sheet->bars().index(0, 0), rows);
    sheet->ListView1->selectionModel()->select(sheet->bars().index(2, 0), rows);
    context.clipboard().content = "kept";
    window.mdiArea()->setActiveSubWindow(windows[2]);
    window.Toolbar1_ButtonClick(17);
    EXPECT_EQ(context.clipboard().content, "kept");
    window.mdiArea()->setActiveSubWindow(windows[3]);
    window.Toolbar1_ButtonClick(17);
    EXPECT_EQ(context.clipboard().content, "1/3/2005,1.00,2.00,0.50,1.50,100\r\n1/5/2005,1.00,2.00,0.50,1.50,100\r\n");

    // The timer shows the active child's title, until a status text replaces it.
    window.Timer1_Timer();
    EXPECT_EQ(window.panelText->text(), "DataSheet of Alpha");
    context->setStatusText("Download Progress.");
    EXPECT_EQ(window.panelText->text(), "Download Progress.");
    // Close All keeps the main window only.
    QWidget other;
    other.show();
    window.mnuCloseAll->trigger();
    QApplication::processEvents();
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(window.mdiArea()->subWindowList().isEmpty());
    EXPECT_FALSE(other.isVisible());
}

// A missing file is explained and an empty one keeps the window's own text; every line of a file is a
// tip, empty ones included, shown at random. Turned off, no tip shows at start or from the menu.
TEST(TipTest, TipsComeFromTheFileAndCanBeTurnedOff)
{
    TestContext context;
    for (const char* expected : {"Create a text file named TIP.TXT", "keeps your MetaStock folders"}) {
        app::frmTip tip(context);
        ASSERT_TRUE(tip.Form_Load());
        EXPECT_TRUE(tip.lblTipText->text().contains(expected)) << expected;
        EXPECT_EQ(tip.currentIndex(), 0);
        writeTips(context, "");
    }
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
    tip.chkLoadTipsAtStartup->click();
    EXPECT_EQ(context->settings->value(app::showTipsAtStartupKey()).toString(), "0");
    app::frmMain window(context);
    window.Timer1_Timer();
    window.mnuTip->trigger();
    EXPECT_TRUE(context.modalsShown.isEmpty());
}

// The bar advances every other tick; the tenth tick shows the main window once and the splash goes.
TEST(SplashTest, ProgressFollowsTheTicks)
{
    int shown = 0;
    QPointer<app::Form2> splash(new app::Form2([&] { ++shown; }));
    splash->Timer1->stop();
    for (int value : {1, 1, 2, 3, 3, 4, 4, 5, 5, 6}) {
        ASSERT_FALSE(splash.isNull());
        EXPECT_EQ(shown, 0);
        splash->Timer1_Timer();
        EXPECT_EQ(splash->P->value(), value);
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    EXPECT_EQ(shown, 1);
    EXPECT_TRUE(splash.isNull());
}

} // namespace

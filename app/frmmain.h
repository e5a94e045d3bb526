#pragma once

#include "context/appcontext.h"

#include <QMainWindow>

#include <functional>
#include <map>

class QAction;
class QLabel;
class QMdiArea;
class QMenu;
class QTimer;
class QToolBar;

namespace app {

class KeyboardLocks;

// The frame of the program: menus, toolbar, status bar, the recent-securities list, and the area that
// holds the data sheets and charts. Every task window opens from here.
class frmMain : public QMainWindow
{
    Q_OBJECT

public:
    explicit frmMain(context::AppContext& context, QWidget* parent = nullptr);
    ~frmMain() override;

    // Operations other windows call.
    void GoURL(const QString& address);
    QString ParsePath(const QString& path) const;
    void RowCopy();

    QMdiArea* mdiArea() const { return m_mdiArea; }

    // A menu item or toolbar button whose window is not part of the program yet stays disabled; giving it
    // an opener enables it. Items that share an opener (menu and toolbar) are enabled together.
    void setOpener(QAction* item, std::function<void()> opener);

    // What clicking recent item i (from 1) does; with none set the items open nothing.
    void setRecentOpener(std::function<void(int index)> opener) { m_openRecent = std::move(opener); }

    // Start-up: records the program folder in the settings, empties the recent list and reads the
    // download options. A missing or damaged symbol database leaves them at 0, silently.
    void Form_Load();

    // Dispatches a toolbar click by the button's position (from 1, separators included).
    void Toolbar1_ButtonClick(int index);
    void Timer1_Timer();
    void mnuCloseAll_Click();
    void mnuArrangeHori_Click();
    // File, Open (0) and Open Chart (non-zero): the Open Security window in that mode.
    void showOpenSecurity(int chartMode);
    // Recent item i (from 1): the data sheet of its security.
    void openRecent(int index);

    // Menu items, named as in the menu tree.
    QMenu* mnuFile;
    QMenu* mnuNew;
    QAction* mnuCreateNew;
    QAction* mnuCreateMultiple;
    QAction* mnuOpen;
    QAction* mnuOpenChart;
    QAction* mnuClose;
    QAction* mnuCloseAll;
    QAction* mnuRecent; // hidden template; recent items follow it
    QAction* mnub5;
    QAction* mnuExit;
    QMenu* mnuTools;
    QAction* mnuDownload;
    QMenu* mnuAdjust;
    QAction* mnuSecurity;
    QAction* mnuData;
    QAction* mnuConvert;
    QAction* mnuTest;
    QAction* mnuSecFinder;
    QAction* mnuSymbolBrowser;
    QAction* mnuSettings;
    QMenu* mnuWindow;
    QAction* mnuArrangeHori;
    QAction* mnuCascade;
    QMenu* mnuHelp;
    QAction* mnuContents;
    QAction* mnuTip;
    QAction* mnuLookUp;
    QAction* mnuUpdates;
    QAction* mnuAbout;

    QToolBar* Toolbar1;
    QTimer* Timer1;

    // Status-bar panels: text, then the lock states, the time and the date.
    QLabel* panelText;
    QLabel* panelCaps;
    QLabel* panelNum;
    QLabel* panelIns;
    QLabel* panelTime;
    QLabel* panelDate;

    QList<QAction*> recentItems() const { return m_recentItems; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildMenus();
    void buildToolbar();
    void buildStatusBar();
    void wireWindows();
    void addRecentItem(int index);
    void refreshPanels();
    void runOpener(QAction* item);

    context::AppContext& m_context;
    QMdiArea* m_mdiArea;
    QTimer* m_clock;
    std::unique_ptr<KeyboardLocks> m_locks;
    bool m_tipShown = false;
    bool m_insertMode = false;
    QList<QAction*> m_recentItems;
    QList<QAction*> m_toolbarButtons; // by position from 1; separators included
    std::map<int, QAction*> m_buttonItems; // toolbar position -> the menu item it stands for
    std::map<QAction*, std::function<void()>> m_openers;
    std::function<void(int)> m_openRecent;
};

} // namespace app

#include "frmmain.h"

#include "chart/windows/frmchart.h"
#include "context/helpers.h"
#include "context/windowhelpers.h"
#include "convert/windows/frmconvert.h"
#include "download/windows/frmdownload.h"
#include "form3.h"
#include "frmsettings.h"
#include "frmtip.h"
#include "keyboardlocks.h"
#include "startupoptions.h"
#include "store/metastockreader.h"
#include "store/windows/frmadjustsecurity.h"
#include "store/windows/frmcreate.h"
#include "store/windows/frmdeletedata.h"
#include "store/windows/frmopen.h"
#include "store/windows/frmview.h"
#include "symbols/windows/frmlookup.h"
#include "toolbaricons.h"
#include "version.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QSettings>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>

namespace app {

frmMain::frmMain(context::AppContext& context, QWidget* parent)
    : QMainWindow(parent)
    , m_context(context)
    , m_mdiArea(new QMdiArea(this))
    , m_clock(new QTimer(this))
    , m_locks(makeKeyboardLocks())
{
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(QStringLiteral(TICKSMITH_PRODUCT " " TICKSMITH_VERSION));
    m_mdiArea->setObjectName(QStringLiteral("mdiArea"));
    setCentralWidget(m_mdiArea);
    buildMenus();
    buildToolbar();
    buildStatusBar();
    wireWindows();

    m_context.mainWindow = this;
    m_context.onRecentAdded = [this](int index) { addRecentItem(index); };
    m_context.onStatusText = [this](const QString& text) { panelText->setText(text); };
    m_context.onShowChild = [this](QWidget* child) {
        child->setAttribute(Qt::WA_DeleteOnClose);
        m_mdiArea->addSubWindow(child)->show();
    };

    Timer1 = context::named(new QTimer(this), "Timer1");
    Timer1->setInterval(100);
    connect(Timer1, &QTimer::timeout, this, &frmMain::Timer1_Timer);

    m_clock->setInterval(1000);
    connect(m_clock, &QTimer::timeout, this, &frmMain::refreshPanels);
    m_clock->start();
    refreshPanels();
    qApp->installEventFilter(this);
}

frmMain::~frmMain()
{
    qApp->removeEventFilter(this);
    m_context.onRecentAdded = nullptr;
    m_context.onStatusText = nullptr;
    m_context.onShowChild = nullptr;
    m_context.makeChart = nullptr;
    if (m_context.mainWindow == this)
        m_context.mainWindow = nullptr;
}

static QAction* separator(QMenu* menu, const char* name, bool visible = true)
{
    QAction* action = menu->addSeparator();
    action->setObjectName(QLatin1String(name));
    action->setVisible(visible);
    return action;
}

static QAction* item(QMenu* menu, const char* name, const QString& caption, const QKeySequence& shortcut = {})
{
    QAction* action = menu->addAction(caption);
    action->setObjectName(QLatin1String(name));
    action->setShortcut(shortcut);
    return action;
}

static QMenu* submenu(QWidget* parent, const char* name, const QString& caption)
{
    auto* menu = new QMenu(caption, parent);
    menu->setObjectName(QLatin1String(name));
    return menu;
}

void frmMain::buildMenus()
{
    mnuFile = submenu(this, "mnuFile", QStringLiteral("&File   "));
    mnuNew = submenu(mnuFile, "mnuNew", QStringLiteral("&New"));
    mnuFile->addMenu(mnuNew);
    mnuCreateNew = item(mnuNew, "mnuCreateNew", QStringLiteral("Create Security"), QKeySequence(Qt::CTRL | Qt::Key_N));
    mnuCreateMultiple = item(mnuNew, "mnuCreateMultiple", QStringLiteral("Create Multiple Securities"));
    mnuOpen = item(mnuFile, "mnuOpen", QStringLiteral("&Open"), QKeySequence(Qt::CTRL | Qt::Key_O));
    mnuOpenChart = item(mnuFile, "mnuOpenChart", QStringLiteral("Open Chart"));
    separator(mnuFile, "mnub1");
    mnuClose = item(mnuFile, "mnuClose", QStringLiteral("&Close"), QKeySequence(Qt::CTRL | Qt::Key_W));
    mnuCloseAll = item(mnuFile, "mnuCloseAll", QStringLiteral("Close All"));
    separator(mnuFile, "mbub9");
    mnuRecent = item(mnuFile, "mnuRecent", QString());
    mnuRecent->setVisible(false);
    mnub5 = separator(mnuFile, "mnub5", false);
    mnuExit = item(mnuFile, "mnuExit", QStringLiteral("&Exit"), QKeySequence(Qt::CTRL | Qt::Key_Q));

    mnuTools = submenu(this, "mnuTools", QStringLiteral("&Tools    "));
    mnuDownload = item(mnuTools, "mnuDownload", QStringLiteral("&Download"), QKeySequence(Qt::Key_F5));
    separator(mnuTools, "mnub8");
    mnuAdjust = submenu(mnuTools, "mnuAdjust", QStringLiteral("Adjust"));
    mnuTools->addMenu(mnuAdjust);
    mnuSecurity = item(mnuAdjust, "mnuSecurity", QStringLiteral("Security"));
    mnuData = item(mnuAdjust, "mnuData", QStringLiteral("Data"));
    separator(mnuTools, "mnub9");
    mnuConvert = item(mnuTools, "mnuConvert", QStringLiteral("&Convert"), QKeySequence(Qt::Key_F6));
    mnuTest = item(mnuTools, "mnuTest", QStringLiteral("&Test Data"), QKeySequence(Qt::Key_F4));
    mnuTest->setVisible(false);
    separator(mnuTools, "b8");
    mnuSecFinder = item(mnuTools, "mnuSecFinder", QStringLiteral("Security &Finder"));
    mnuSymbolBrowser = item(mnuTools, "mnuSymbolBrowser", QStringLiteral("Symbol &Lookup"));
    separator(mnuTools, "b16");
    mnuSettings = item(mnuTools, "mnuSettings", QStringLiteral("Settings"));

    mnuWindow = submenu(this, "mnuWindow", QStringLiteral("&Window    "));
    mnuArrangeHori = item(mnuWindow, "mnuArrangeHori", QStringLiteral("Arrange Horizontal"));
    mnuCascade = item(mnuWindow, "mnuCascade", QStringLiteral("Arrange Cascade"));
    // The open child windows follow the two arrangements.
    connect(mnuWindow, &QMenu::aboutToShow, this, [this] {
        const auto actions = mnuWindow->actions();
        for (QAction* action : actions) {
            if (action == mnuArrangeHori || action == mnuCascade)
                continue;
            mnuWindow->removeAction(action);
            action->deleteLater();
        }
        const auto windows = m_mdiArea->subWindowList();
        if (!windows.isEmpty())
            mnuWindow->addSeparator();
        for (QMdiSubWindow* window : windows) {
            QAction* entry = mnuWindow->addAction(window->windowTitle());
            entry->setCheckable(true);
            entry->setChecked(window == m_mdiArea->activeSubWindow());
            connect(entry, &QAction::triggered, m_mdiArea, [this, window] { m_mdiArea->setActiveSubWindow(window); });
        }
    });

    mnuHelp = submenu(this, "mnuHelp", QStringLiteral("&Help"));
    mnuContents = item(mnuHelp, "mnuContents", QStringLiteral("Contents"), QKeySequence(Qt::Key_F1));
    mnuTip = item(mnuHelp, "mnuTip", QStringLiteral("Tip of the day"));
    separator(mnuHelp, "mnub11");
    mnuLookUp = item(mnuHelp, "mnuLookUp", QStringLiteral("Yahoo Symbol Lookup"));
    mnuUpdates = item(mnuHelp, "mnuUpdates", QStringLiteral("Browse For Updates"));
    separator(mnuHelp, "b12");
    mnuAbout = item(mnuHelp, "mnuAbout", QStringLiteral("&About"));

    for (QMenu* menu : {mnuFile, mnuTools, mnuWindow, mnuHelp})
        menuBar()->addMenu(menu);

    // Items that open a task window stay disabled until the window gets its opener.
    for (QAction* opener : {mnuCreateNew,
                            mnuCreateMultiple,
                            mnuOpen,
                            mnuOpenChart,
                            mnuDownload,
                            mnuSecurity,
                            mnuData,
                            mnuConvert,
                            mnuSecFinder,
                            mnuSymbolBrowser,
                            mnuSettings}) {
        opener->setEnabled(false);
        connect(opener, &QAction::triggered, this, [this, opener] { runOpener(opener); });
    }
    mnuTest->setEnabled(false);

    connect(mnuClose, &QAction::triggered, this, [this] {
        if (QMdiSubWindow* active = m_mdiArea->activeSubWindow())
            active->close();
    });
    connect(mnuCloseAll, &QAction::triggered, this, &frmMain::mnuCloseAll_Click);
    connect(mnuExit, &QAction::triggered, qApp, &QApplication::quit, Qt::QueuedConnection);
    connect(mnuArrangeHori, &QAction::triggered, this, &frmMain::mnuArrangeHori_Click);
    connect(mnuCascade, &QAction::triggered, m_mdiArea, &QMdiArea::cascadeSubWindows);
    connect(mnuContents, &QAction::triggered, this, [this] {
        m_context.openUrl(QUrl::fromLocalFile(m_context.programFile(QStringLiteral("help/index.html"))));
    });
    connect(mnuTip, &QAction::triggered, this, [this] { frmTip::offer(m_context, this); });
    connect(mnuAbout, &QAction::triggered, this, [this] {
        Form3 about(m_context, this);
        m_context.runModal(about);
    });
    connect(mnuLookUp, &QAction::triggered, this, [this] {
        GoURL(m_context.settings->value(QStringLiteral("Help/SymbolLookupUrl")).toString());
    });
    connect(mnuUpdates, &QAction::triggered, this, [this] {
        GoURL(m_context.settings->value(QStringLiteral("Help/UpdatesUrl"), QStringLiteral(TICKSMITH_HOMEPAGE))
                  .toString());
    });
}

void frmMain::buildToolbar()
{
    Toolbar1 = addToolBar(QStringLiteral("Toolbar1"));
    Toolbar1->setObjectName(QStringLiteral("Toolbar1"));
    Toolbar1->setMovable(false);

    struct Button
    {
        const char* tooltip; // null: a separator
        ToolbarIcon icon;
    };

    // Positions count from 1, separators included, as the click handler dispatches on them.
    const Button buttons[] = {
        {nullptr, {}},
        {"New Security", ToolbarIcon::NewSecurity},
        {"Open Security", ToolbarIcon::OpenSecurity},
        {nullptr, {}},
        {"Find Security", ToolbarIcon::FindSecurity},
        {"Test Report", ToolbarIcon::TestReport},
        {nullptr, {}},
        {"Download Quotes", ToolbarIcon::Download},
        {nullptr, {}},
        {"Convert", ToolbarIcon::Convert},
        {"Symbol Lookup", ToolbarIcon::SymbolLookup},
        {nullptr, {}},
        {"Settings", ToolbarIcon::Settings},
        {nullptr, {}},
        {"", ToolbarIcon::Help},
        {nullptr, {}},
        {"Copy to Clipboard", ToolbarIcon::Copy},
    };
    for (const Button& button : buttons) {
        QAction* action =
            button.tooltip ? Toolbar1->addAction(toolbarIcon(button.icon), QString()) : Toolbar1->addSeparator();
        if (button.tooltip)
            action->setToolTip(QLatin1String(button.tooltip));
        const int index = int(m_toolbarButtons.size()) + 1;
        action->setObjectName(QStringLiteral("Toolbar1_%1").arg(index));
        m_toolbarButtons.append(action);
        connect(action, &QAction::triggered, this, [this, index] { Toolbar1_ButtonClick(index); });
    }
    // The buttons stand for menu items and follow their enabled state; "Test Report" has no action and
    // "Copy to Clipboard" copies rows of the active data sheet.
    m_buttonItems = {{2, mnuCreateNew},
                     {3, mnuOpen},
                     {5, mnuSecFinder},
                     {8, mnuDownload},
                     {10, mnuConvert},
                     {11, mnuSymbolBrowser},
                     {13, mnuSettings},
                     {15, mnuContents}};
    for (const auto& [index, menuItem] : m_buttonItems) {
        QAction* button = m_toolbarButtons[index - 1];
        button->setEnabled(menuItem->isEnabled());
        connect(menuItem, &QAction::enabledChanged, button, &QAction::setEnabled);
    }
    m_toolbarButtons[6 - 1]->setEnabled(false);
}

void frmMain::Toolbar1_ButtonClick(int index)
{
    if (index == 17) {
        RowCopy();
        return;
    }
    const auto found = m_buttonItems.find(index);
    if (found != m_buttonItems.end())
        found->second->trigger();
}

void frmMain::buildStatusBar()
{
    QStatusBar* bar = statusBar();
    bar->setObjectName(QStringLiteral("StatusBar1"));
    auto panel = [bar](const char* name, const QString& text, bool stretch) {
        auto* label = new QLabel(text, bar);
        label->setObjectName(QLatin1String(name));
        label->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        label->setContentsMargins(4, 0, 4, 0);
        if (stretch)
            bar->addWidget(label, 1);
        else
            bar->addPermanentWidget(label);
        return label;
    };
    panelText = panel("Panel1", QString(), true);
    panelCaps = panel("PanelCaps", QStringLiteral("CAPS"), false);
    panelNum = panel("PanelNum", QStringLiteral("NUM"), false);
    panelIns = panel("PanelIns", QStringLiteral("INS"), false);
    panelTime = panel("PanelTime", QString(), false);
    panelDate = panel("PanelDate", QString(), false);
}

void frmMain::refreshPanels()
{
    const auto locks = m_locks->read().value_or(KeyboardLocks::State{});
    panelCaps->setEnabled(locks.caps);
    panelNum->setEnabled(locks.num);
    panelIns->setEnabled(m_insertMode);
    const QDateTime now = QDateTime::currentDateTime();
    panelTime->setText(m_context.locale.toString(now.time(), QLocale::ShortFormat));
    panelDate->setText(m_context.locale.toString(now.date(), context::GetShortDatePattern(m_context.locale)));
}

bool frmMain::eventFilter(QObject* watched, QEvent* event)
{
    // Lock keys change state outside the clock's rhythm: show the change at once.
    if (event->type() == QEvent::KeyRelease) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_CapsLock || key == Qt::Key_NumLock)
            refreshPanels();
    } else if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Insert
               && !static_cast<QKeyEvent*>(event)->isAutoRepeat() && watched->isWidgetType()
               && static_cast<QWidget*>(watched)->window() == window()) {
        m_insertMode = !m_insertMode;
        refreshPanels();
    }
    return QMainWindow::eventFilter(watched, event);
}

void frmMain::Form_Load()
{
    m_context.settings->setValue(QStringLiteral("InstallDir/Dir"), m_context.programFolder);
    m_context.state.recent.clear();
    loadStartupOptions(m_context);
    Timer1->setInterval(100);
    Timer1->start();
}

void frmMain::Timer1_Timer()
{
    if (!m_tipShown) {
        // The interval grows only after the tip window has closed, so that no tick comes in between.
        frmTip::offer(m_context, this);
        m_tipShown = true;
        Timer1->setInterval(3000);
    }
    if (QMdiSubWindow* active = m_mdiArea->activeSubWindow())
        panelText->setText(active->windowTitle());
}

void frmMain::mnuCloseAll_Click()
{
    m_mdiArea->closeAllSubWindows();
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget* window : windows) {
        if (window != this && !qobject_cast<QMenu*>(window))
            window->close();
    }
}

void frmMain::mnuArrangeHori_Click()
{
    // One window above the other, each as wide as the frame.
    const auto windows = m_mdiArea->subWindowList();
    if (windows.isEmpty())
        return;
    const QRect area = m_mdiArea->viewport()->rect();
    const int height = area.height() / int(windows.size());
    int top = 0;
    for (QMdiSubWindow* window : windows) {
        window->showNormal();
        window->setGeometry(0, top, area.width(), height);
        top += height;
    }
}

void frmMain::addRecentItem(int index)
{
    const context::RecentSecurity& entry = m_context.state.recent[index - 1];
    auto* action = new QAction(entry.caption, mnuFile);
    action->setObjectName(QStringLiteral("mnuRecent_%1").arg(index));
    mnuFile->insertAction(mnub5, action);
    mnub5->setVisible(true);
    m_recentItems.append(action);
    connect(action, &QAction::triggered, this, [this, index] {
        if (m_openRecent)
            m_openRecent(index);
    });
}

void frmMain::wireWindows()
{
    setOpener(mnuCreateNew, [this] {
        store::frmCreate create(m_context, this);
        m_context.runModal(create);
    });
    setOpener(mnuOpen, [this] { showOpenSecurity(0); });
    setOpener(mnuOpenChart, [this] { showOpenSecurity(1); });
    m_context.makeChart = [this](const QString& folder, const QString&, const QString& symbol) -> QWidget* {
        return new chart::frmChart(m_context, folder, symbol);
    };
    setRecentOpener([this](int index) { openRecent(index); });
    setOpener(mnuSymbolBrowser, [this] {
        symbols::frmLookup lookup(m_context, this);
        m_context.runModal(lookup);
    });
    setOpener(mnuSettings, [this] {
        frmSettings settings(m_context, this);
        m_context.runModal(settings);
    });
    setOpener(mnuDownload, [this] {
        download::frmDownload selection(m_context, this);
        m_context.runModal(selection);
    });
    setOpener(mnuSecurity, [this] {
        store::frmAdjustSecurity adjust(m_context, this);
        m_context.runModal(adjust);
    });
    setOpener(mnuData, [this] {
        store::frmDeleteData deleteData(m_context, this);
        m_context.runModal(deleteData);
    });
    setOpener(mnuConvert, [this] {
        convert::frmConvert converter(m_context, this);
        m_context.runModal(converter);
    });
}

void frmMain::showOpenSecurity(int chartMode)
{
    store::frmOpen open(m_context, this);
    open.chartMode = chartMode;
    m_context.runModal(open);
}

// The entry keeps the folder and the name as typed in Open Security; the symbol the data sheet reads
// through is that of the security of this name.
void frmMain::openRecent(int index)
{
    const context::RecentSecurity& entry = m_context.state.recent.at(index - 1);
    store::MetaStockReader reader;
    QString symbol;
    const bool found = reader.OpenFolder(entry.folder.trimmed()).ok()
        && reader.SelectSecurityByName(entry.name.trimmed()).ok() && reader.GetSymbol(symbol).ok();
    (void)reader.Close();
    if (found)
        store::openDataSheet(m_context, entry.folder.trimmed(), entry.name.trimmed(), symbol);
}

void frmMain::setOpener(QAction* item, std::function<void()> opener)
{
    item->setEnabled(bool(opener));
    m_openers[item] = std::move(opener);
}

void frmMain::runOpener(QAction* item)
{
    const auto found = m_openers.find(item);
    if (found != m_openers.end() && found->second)
        found->second();
}

void frmMain::GoURL(const QString& address)
{
    context::GoURL(m_context, address);
}

QString frmMain::ParsePath(const QString& path) const
{
    return context::ParsePath(path);
}

void frmMain::RowCopy()
{
    // Only a data sheet has rows to copy: its list of bars, the date and the five values of each row.
    QMdiSubWindow* active = m_mdiArea->activeSubWindow();
    if (!active || !active->widget() || active->widget()->objectName() != u"frmView")
        return;
    auto* list = active->widget()->findChild<QAbstractItemView*>(QStringLiteral("ListView1"));
    if (!list || !list->model())
        return;
    const QAbstractItemModel& rows = *list->model();
    const QItemSelectionModel* selection = list->selectionModel();
    QString text;
    for (int row = 0; row < rows.rowCount(); ++row) {
        if (!selection->isRowSelected(row, {}))
            continue;
        QStringList cells;
        for (int column = 0; column <= 5; ++column)
            cells.append(rows.index(row, column).data().toString());
        text += cells.join(u',') + QStringLiteral("\r\n");
    }
    if (!text.isEmpty())
        m_context.clipboard->setText(text);
}

} // namespace app

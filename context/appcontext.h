#pragma once

#include "prompter.h"

#include <QDate>
#include <QList>
#include <QLocale>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>

class QDialog;
class QWidget;
class QSettings;

namespace context {

// Text put on and read from the system clipboard.
class Clipboard
{
public:
    virtual ~Clipboard() = default;
    virtual QString text() const = 0;
    virtual void setText(const QString& text) = 0;
};

// One entry of the main window's recent-securities list.
struct RecentSecurity
{
    QString name;
    QString folder;
    QString caption; // the menu item's whole text
};

// The two forms of a recent item's caption. Open Security numbers its entries ("&4 Gold": the digit is
// the access key); Create Security names the folder and the security ("C:\data\Gold").
enum class RecentCaption
{
    Numbered,
    FolderAndName,
};

// One security to bring up to date, as the selection window hands it over. Dates are ISO texts,
// "yyyy-MM-dd" (download/selection.h reads and writes them).
struct DownloadItem
{
    QString symbol;
    QString lastDateLess35; // kept for the record; the download job does not read it
    QString fromDate; // first date still missing in the security
    QString folder;
};

// The outcome of one security: "OK", "Up to date", "No Data" or "No Connection", and why, when the
// status alone does not say (the service's answer to a failed request, rows left out).
struct DownloadResult
{
    QString symbol;
    QString status;
    QString reason = {}; // for "No Data": what the quote source answered, when it said
};

// State the windows share for the whole run of the program.
struct SharedState
{
    QString currentFolder;
    QString finderFolder; // the folder the security finder last closed with; not saved
    QList<RecentSecurity> recent; // recent item i (from 1) is recent[i - 1]
    QString statusText; // the main window's first status-bar panel

    // Options of the "settings" table, mirrored at start-up and on Apply.
    qint16 s1 = 0; // 1: also download quotes dated Saturday and Sunday
    qint16 s2 = 0; // the "Threads" value: how many securities a download asks for at once

    bool downloadWeekendQuotes() const { return s1 != 0; }

    // Entries chosen in the symbol lookup's multiple-choice mode, in list order.
    QStringList lookupNames;
    QStringList lookupSymbols;

    // The download job: what the selection window hands to the progress window, and what comes back.
    QList<DownloadItem> downloadList;
    bool downloadCurrentQuote = false;
    bool dataCorrection = false;
    QString dataCorrectionFrom; // "yyyy-MM-dd"
    QList<DownloadResult> downloadResults;
};

// The services a window may use and the shared state, handed to every window by reference.
// The program fills it with the desktop's services (see desktopcontext.h); tests with recording ones.
struct AppContext
{
    std::unique_ptr<Prompter> prompter;
    std::unique_ptr<Clipboard> clipboard;
    std::unique_ptr<QSettings> settings;
    // Shows a dialog modally and returns its result; the program calls exec(), tests drive the dialog.
    std::function<int(QDialog&)> runModal;
    std::function<QDate()> today;
    std::function<void(const QUrl&)> openUrl;
    QLocale locale;
    QString programFolder; // the files shipped with the program: TIP.TXT, the help pages
    QString dataFolder; // the user's own symbols.mdb; empty: the program folder, as in the build tree
    QString setupProblem; // why the user's symbol database could not be prepared at start, else empty

    SharedState state;

    // The main window, parent of every dialog; null until it exists (and in tests of single windows).
    QWidget* mainWindow = nullptr;
    // Called by addRecent and setStatusText so that the main window shows the change at once.
    std::function<void(int index)> onRecentAdded;
    std::function<void(const QString&)> onStatusText;
    // Puts a data sheet or chart into the main window's area and shows it, which then owns it; null
    // where there is no main window (tests of single windows), and showChild() shows it on its own.
    std::function<void(QWidget* child)> onShowChild;
    // Makes the chart window of a security (the chart subsystem, which the security windows cannot
    // include); null until the program has one, and Open Security in chart mode then opens nothing.
    std::function<QWidget*(const QString& folder, const QString& name, const QString& symbol)> makeChart;

    // Appends to the recent-securities list and returns the new entry's number (from 1). Both texts are
    // trimmed. The list lives in memory only: it starts empty at every start-up.
    int addRecent(const QString& name, const QString& folder, RecentCaption form);
    void showChild(QWidget* child);
    void setStatusText(const QString& text);

    AppContext();
    ~AppContext();
    AppContext(const AppContext&) = delete;
    AppContext& operator=(const AppContext&) = delete;

    // A file beside the program, such as "symbols.mdb" or "TIP.TXT".
    QString programFile(const QString& name) const;
    QString dataFile(const QString& name) const;
};

} // namespace context

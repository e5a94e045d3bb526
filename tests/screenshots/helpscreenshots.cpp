// Renders the windows the user manual shows into PNG files, offscreen, from a scratch program folder.
// Usage: help-screenshots OUTPUT_FOLDER

#include "app/frmmain.h"
#include "app/frmsettings.h"
#include "chart/windows/frmchart.h"
#include "convert/windows/frmconvert.h"
#include "download/windows/frmdownload.h"
#include "store/metastockwriter.h"
#include "store/windows/frmcreate.h"
#include "store/windows/frmopen.h"
#include "store/windows/frmview.h"
#include "symbols/symbolsdb.h"
#include "symbols/windows/frmlookup.h"
#include "testcontext.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QRadioButton>
#include <QTreeWidget>
#include <QWidget>

#include <cmath>
#include <cstdio>
#include <random>

namespace {

bool save(QWidget& window, const QString& folder, const char* name)
{
    window.show();
    QApplication::processEvents();
    const QString path = QDir(folder).filePath(QLatin1String(name) + QStringLiteral(".png"));
    if (!window.grab().save(path)) {
        std::fprintf(stderr, "help-screenshots: cannot write %s\n", qPrintable(path));
        return false;
    }
    return true;
}

// The download window over a folder of three securities, one of them up to date.
bool saveDownload(testing_support::TestContext& context, const QString& output)
{
    // A short, plain path reads better in the manual than a temporary folder's name.
    const QString data = QDir::temp().filePath(QStringLiteral("quotes/asx"));
    QDir(data).removeRecursively();
    QDir().mkpath(data);
    store::MetaStockWriter writer;
    (void)writer.OpenFolder(data);

    const struct
    {
        const char* symbol;
        const char* name;
        qint32 lastDate;
    } securities[] = {{"BHP.AX", "BHP Group", 20240612},
                      {"RIO.AX", "Rio Tinto", 20240613},
                      {"FMG.AX", "Fortescue", 20240614}};

    for (const auto& security : securities) {
        (void)writer.CreateSecurity(QLatin1String(security.symbol), QLatin1String(security.name), 1);
        (void)writer.AddBar(security.lastDate, 0, 40, 41, 39, 40.5, 1000000, 0);
    }
    (void)writer.CloseFolder();
    symbols::writeSys(context, {data});

    download::frmDownload window(context);
    window.resize(720, 520);
    window.Timer1_Timer();
    window.ListView2->topLevelItem(0)->setCheckState(0, Qt::Checked);
    const bool saved = save(window, output, "download");
    QDir(data).removeRecursively();
    return saved;
}

// Open Security over a folder of three securities, and the data sheet of one of them with a year of bars.
bool saveOpenAndDataSheet(testing_support::TestContext& context, const QString& output)
{
    const QString data = QDir::temp().filePath(QStringLiteral("quotes/nyse"));
    QDir(data).removeRecursively();
    QDir().mkpath(data);
    store::MetaStockWriter writer;
    (void)writer.OpenFolder(data);
    const char* const securities[][2] = {{"IBM", "Intl Business Machines"},
                                         {"KO", "Coca-Cola"},
                                         {"GE", "General Electric"}};
    for (const auto& [symbol, name] : securities) {
        (void)writer.CreateSecurity(QLatin1String(symbol), QLatin1String(name), 1);
        double price = 80;
        for (QDate day(2023, 6, 1); day <= QDate(2024, 6, 14); day = day.addDays(1)) {
            if (day.dayOfWeek() > 5)
                continue;
            price *= 1.0 + ((day.dayOfYear() * 7) % 11 - 5) / 1000.0;
            (void)writer.AddBar(day.year() * 10000 + day.month() * 100 + day.day(),
                                0,
                                price,
                                price * 1.01,
                                price * 0.99,
                                price * 1.002,
                                3000000 + day.dayOfYear() * 1000,
                                0);
        }
    }
    (void)writer.CloseFolder();

    context->state.currentFolder = data;
    store::frmOpen open(context);
    open.resize(620, 360);
    open.ListView1->setCurrentItem(open.ListView1->topLevelItem(0));
    open.Text2->setText(open.ListView1->topLevelItem(0)->text(0));
    bool ok = save(open, output, "open-security");

    store::frmView sheet(context, data, QStringLiteral("Intl Business Machines"), QStringLiteral("IBM"));
    sheet.setWindowTitle(QStringLiteral("DataSheet of Intl Business Machines"));
    sheet.resize(640, 480);
    ok = save(sheet, output, "data-sheet") && ok;
    QDir(data).removeRecursively();
    return ok;
}

// A chart of half a year of a security in each of the three styles.
bool saveCharts(testing_support::TestContext& context, const QString& output)
{
    const QString data = QDir::temp().filePath(QStringLiteral("quotes/chart"));
    QDir(data).removeRecursively();
    QDir().mkpath(data);
    store::MetaStockWriter writer;
    (void)writer.OpenFolder(data);
    (void)writer.CreateSecurity(QStringLiteral("BHP.AX"), QStringLiteral("BHP Group"), 1);
    // A walk of small steps with a slow swing under it, as prices go.
    std::minstd_rand random(11);
    const auto move = [&random](double size) { return (double(random() % 2001) / 1000.0 - 1.0) * size; };
    double close = 44.0;
    QDate day(2024, 1, 2);
    for (int i = 0; i < 120; day = day.addDays(1)) {
        if (day.dayOfWeek() > 5)
            continue;
        const double open = close + move(0.3);
        close = open + move(0.9) + 0.35 * std::sin(i / 14.0);
        const double high = std::max(open, close) + std::abs(move(0.4));
        const double low = std::min(open, close) - std::abs(move(0.4));
        (void)writer.AddBar(day.year() * 10000 + day.month() * 100 + day.day(), 0, open, high, low, close, 1e6, 0);
        ++i;
    }
    (void)writer.CloseFolder();

    chart::frmChart window(context, data, QStringLiteral("BHP.AX"));
    window.setWindowTitle(QStringLiteral("Chart of BHP Group"));
    window.resize(760, 420);
    bool ok = true;
    const std::pair<QRadioButton*, const char*> styles[] = {{window.Option1, "chart-line"},
                                                            {window.Option2, "chart-bar"},
                                                            {window.Option3, "chart-candle"}};
    for (const auto& [option, name] : styles) {
        option->click();
        ok = save(window, output, name) && ok;
    }
    QDir(data).removeRecursively();
    return ok;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "Usage: help-screenshots OUTPUT_FOLDER\n");
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(folder);

    testing_support::TestContext context;
    app::frmMain main(context);
    main.resize(900, 560);
    context->addRecent(QStringLiteral("BHP Group"), QStringLiteral("/data/asx"), context::RecentCaption::Numbered);
    main.panelText->setText(QStringLiteral("Ready."));
    bool ok = save(main, folder, "main");

    context.installProgramFile(QStringLiteral("symbols.mdb"));
    app::frmSettings settings(context);
    settings.txtHistoryUrl->setText(QStringLiteral("https://history.example.net"));
    ok = save(settings, folder, "settings") && ok;
    symbols::frmLookup lookup(context);
    lookup.resize(640, 420);
    ok = save(lookup, folder, "lookup") && ok;

    context->state.currentFolder = QStringLiteral("/data/asx");
    store::frmCreate create(context);
    create.Text2->setText(QStringLiteral("BHP Group"));
    create.Text3->setText(QStringLiteral("BHP.AX"));
    ok = save(create, folder, "create") && ok;
    ok = saveDownload(context, folder) && ok;
    ok = saveOpenAndDataSheet(context, folder) && ok;
    ok = saveCharts(context, folder) && ok;
    convert::frmConvert converter(context);
    converter.Text1->setText(QStringLiteral("/data/asx"));
    converter.Text2->setText(QStringLiteral("/data/csv"));
    ok = save(converter, folder, "convert") && ok;
    return ok ? 0 : 1;
}

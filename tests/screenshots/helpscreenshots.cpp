// Renders the windows the user manual shows into PNG files, offscreen, from a scratch program folder.
// Usage: help-screenshots OUTPUT_FOLDER

#include "app/frmmain.h"
#include "app/frmsettings.h"
#include "chart/windows/frmchart.h"
#include "convert/windows/frmconvert.h"
#include "download/windows/frmdownload.h"
#include "store/metastockwriter.h"
#include "store/windows/frmcreate.h"
#include "store/windows/frmcreatemultiple.h"
#include "store/windows/frmfinder.h"
#include "store/windows/frmopen.h"
#include "store/windows/frmview.h"
#include "symbols/symbolsdb.h"
#include "symbols/windows/frmlookup.h"
#include "testcontext.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QPushButton>
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

struct Security
{
    const char* symbol;
    const char* name;
    QDate first = {}; // of its weekday bars; none without
    QDate last = {};
};

// A fresh folder under a short, plain path (it reads better in the manual than a temporary folder's name)
// with the securities, their bars a walk of small steps with a slow swing under it, as prices go.
QString writeFolder(const QString& name, std::initializer_list<Security> securities)
{
    const QString folder = QDir::temp().filePath(QStringLiteral("quotes/") + name);
    QDir(folder).removeRecursively();
    store::MetaStockWriter writer;
    (void)writer.CreateFolder(folder);
    (void)writer.OpenFolder(folder);
    std::minstd_rand random(11);
    const auto move = [&random](double size) { return (double(random() % 2001) / 1000.0 - 1.0) * size; };
    for (const Security& security : securities) {
        (void)writer.CreateSecurity(QLatin1String(security.symbol), QLatin1String(security.name), 1);
        double close = 44.0;
        int i = 0;
        for (QDate day = security.first; day.isValid() && day <= security.last; day = day.addDays(1)) {
            if (day.dayOfWeek() > 5)
                continue;
            const double open = close + move(0.3);
            close = open + move(0.9) + 0.35 * std::sin(i++ / 14.0);
            const double high = std::max(open, close) + std::abs(move(0.4));
            const double low = std::min(open, close) - std::abs(move(0.4));
            (void)writer.AddBar(day.year() * 10000 + day.month() * 100 + day.day(), 0, open, high, low, close, 1e6, 0);
        }
    }
    (void)writer.CloseFolder();
    return folder;
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

    // The download window over a folder of three securities, one of them up to date.
    const QString asx = writeFolder(QStringLiteral("asx"),
                                    {{"BHP.AX", "BHP Group", {2024, 6, 12}, {2024, 6, 12}},
                                     {"RIO.AX", "Rio Tinto", {2024, 6, 13}, {2024, 6, 13}},
                                     {"FMG.AX", "Fortescue", {2024, 6, 14}, {2024, 6, 14}}});
    symbols::writeSys(context, {asx});
    download::frmDownload download(context);
    download.resize(720, 520);
    download.Timer1_Timer();
    download.ListView2->topLevelItem(0)->setCheckState(0, Qt::Checked);
    ok = save(download, folder, "download") && ok;

    // Open Security over a folder of three securities with a year of bars, and the data sheet of one.
    const QDate yearFrom(2023, 6, 1), yearTo(2024, 6, 14);
    context->state.currentFolder = writeFolder(QStringLiteral("nyse"),
                                               {{"IBM", "Intl Business Machines", yearFrom, yearTo},
                                                {"KO", "Coca-Cola", yearFrom, yearTo},
                                                {"GE", "General Electric", yearFrom, yearTo}});
    store::frmOpen open(context);
    open.resize(620, 360);
    open.ListView1->setCurrentItem(open.ListView1->topLevelItem(0));
    open.Text2->setText(open.ListView1->topLevelItem(0)->text(0));
    ok = save(open, folder, "open-security") && ok;
    store::frmView sheet(context,
                         context->state.currentFolder,
                         QStringLiteral("Intl Business Machines"),
                         QStringLiteral("IBM"));
    sheet.setWindowTitle(QStringLiteral("DataSheet of Intl Business Machines"));
    sheet.resize(640, 480);
    ok = save(sheet, folder, "data-sheet") && ok;

    // A chart of half a year of a security in each of the three styles.
    chart::frmChart chart(context,
                          writeFolder(QStringLiteral("chart"), {{"BHP.AX", "BHP Group", {2024, 1, 2}, {2024, 6, 14}}}),
                          QStringLiteral("BHP.AX"));
    chart.setWindowTitle(QStringLiteral("Chart of BHP Group"));
    chart.resize(760, 420);
    const std::pair<QRadioButton*, const char*> styles[] = {{chart.Option1, "chart-line"},
                                                            {chart.Option2, "chart-bar"},
                                                            {chart.Option3, "chart-candle"}};
    for (const auto& [option, name] : styles) {
        option->click();
        ok = save(chart, folder, name) && ok;
    }

    convert::frmConvert converter(context);
    converter.Text1->setText(QStringLiteral("/data/asx"));
    converter.Text2->setText(QStringLiteral("/data/csv"));
    ok = save(converter, folder, "convert") && ok;
    // The finder after a search of two folders for "B*".
    writeFolder(QStringLiteral("finder/asx"),
                {{"BHP.AX", "BHP Group"}, {"BSL.AX", "BlueScope Steel"}, {"RIO.AX", "Rio Tinto"}});
    writeFolder(QStringLiteral("finder/lse"), {{"BARC.L", "Barclays"}, {"BP.L", "BP"}});
    store::frmFinder finder(context);
    finder.Text1->setText(QStringLiteral("B*"));
    finder.Text2->setText(QDir::temp().filePath(QStringLiteral("quotes/finder")));
    finder.Check1->setChecked(true);
    finder.Command1->click();
    ok = save(finder, folder, "finder") && ok;
    context->state.lookupNames = {QStringLiteral("BHP Group"),
                                  QStringLiteral("Fortescue"),
                                  QStringLiteral("Rio Tinto")};
    context->state.lookupSymbols = {QStringLiteral("BHP.AX"), QStringLiteral("FMG.AX"), QStringLiteral("RIO.AX")};
    store::frmCreateMultiple multiple(context);
    ok = save(multiple, folder, "create-multiple") && ok;
    QDir(QDir::temp().filePath(QStringLiteral("quotes"))).removeRecursively();
    return ok ? 0 : 1;
}

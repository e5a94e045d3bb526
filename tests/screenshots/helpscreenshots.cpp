// Renders the windows the user manual shows into PNG files, offscreen, from a scratch program folder.
// Usage: help-screenshots OUTPUT_FOLDER

#include "app/frmmain.h"
#include "app/frmsettings.h"
#include "convert/windows/frmconvert.h"
#include "download/windows/frmdownload.h"
#include "store/metastockwriter.h"
#include "store/windows/frmcreate.h"
#include "symbols/symbolsdb.h"
#include "symbols/windows/frmlookup.h"
#include "testcontext.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QTreeWidget>
#include <QWidget>

#include <cstdio>

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
    context->addRecent({QStringLiteral("BHP Group"), QStringLiteral("/data/asx"), QStringLiteral("BHP Group")});
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
    convert::frmConvert converter(context);
    converter.Text1->setText(QStringLiteral("/data/asx"));
    converter.Text2->setText(QStringLiteral("/data/csv"));
    ok = save(converter, folder, "convert") && ok;
    return ok ? 0 : 1;
}

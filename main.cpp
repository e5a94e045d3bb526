// ticksmith: the desktop program.

#include "app/desktopcontext.h"
#include "app/form2.h"
#include "app/frmmain.h"
#include "app/logo.h"
#include "symbols/installation.h"
#include "version.h"

#include <QApplication>

#include <cstdio>
#include <cstring>

namespace {

void nameTheApplication()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Ticksmith"));
    QCoreApplication::setApplicationName(QStringLiteral("Ticksmith"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TICKSMITH_VERSION));
}

// Where the program finds its files, after the first-start copy of the symbol database: what a user or
// a packager checks when the program does not find its database. Exit 1 when the database is not ready.
int printPaths(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    nameTheApplication();
    const symbols::Installation installation = symbols::currentInstallation();
    std::printf("Program folder: %s\nData folder: %s\n",
                qPrintable(installation.programFolder),
                qPrintable(installation.dataFolder));
    if (!installation.problem.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(installation.problem));
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    // Answered before a QApplication exists, so that they work without a display.
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--version") == 0) {
            std::printf("ticksmith %s\n", TICKSMITH_VERSION);
            return 0;
        }
        if (std::strcmp(argv[i], "--help") == 0) {
            std::printf("Usage: ticksmith [--help | --version | --paths]\n\n"
                        "Keeps end-of-day price data in MetaStock data folders up to date: downloads daily\n"
                        "quotes and creates, edits, charts, finds and converts securities.\n\n"
                        "  --paths    print the program and data folders and prepare the user's symbol\n"
                        "             database, without opening a window\n"
                        "  --version  print the version\n\n"
                        "ticksmith-cli does the same work from the command line.\n");
            return 0;
        }
        if (std::strcmp(argv[i], "--paths") == 0)
            return printPaths(argc, argv);
    }

    QApplication application(argc, argv);
    nameTheApplication();
    QApplication::setWindowIcon(QIcon(app::drawLogo(64)));

    auto context = app::makeDesktopContext();
    app::frmMain mainWindow(*context);
    auto* splash = new app::Form2([&] {
        mainWindow.resize(1024, 700);
        mainWindow.show();
        mainWindow.Form_Load();
    });
    splash->show();
    return application.exec();
}

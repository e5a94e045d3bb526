// ticksmith: the desktop program.

#include "app/desktopcontext.h"
#include "app/form2.h"
#include "app/frmmain.h"
#include "app/logo.h"
#include "version.h"

#include <QApplication>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    // Answered before a QApplication exists, so that it works without a display.
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--version") == 0) {
            std::printf("ticksmith %s\n", TICKSMITH_VERSION);
            return 0;
        }
    }

    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Ticksmith"));
    QApplication::setApplicationName(QStringLiteral("Ticksmith"));
    QApplication::setApplicationVersion(QStringLiteral(TICKSMITH_VERSION));
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

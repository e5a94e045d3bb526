// ticksmith: the desktop program.

#include "desktopcontext.h"

#include "version.h"

#include <QApplication>
#include <QMainWindow>

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

    auto context = app::makeDesktopContext();
    QMainWindow window;
    window.setWindowTitle(QStringLiteral(TICKSMITH_PRODUCT " " TICKSMITH_VERSION));
    window.resize(1024, 700);
    window.show();
    return application.exec();
}

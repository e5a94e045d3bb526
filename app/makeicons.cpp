// make-icons FOLDER SIZE...: writes the program's logo as FOLDER/<size>x<size>/ticksmith.png for each
// size, so the menu icons of the installed program are the logo the program shows in its windows.

#include "logo.h"

#include <QDir>
#include <QGuiApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments().mid(1);
    if (arguments.size() < 2) {
        std::fprintf(stderr, "usage: make-icons FOLDER SIZE...\n");
        return 2;
    }
    const QDir folder(arguments.first());
    for (const QString& text : arguments.mid(1)) {
        const int size = text.toInt();
        const QString sized = QStringLiteral("%1x%1").arg(size);
        if (size <= 0 || !folder.mkpath(sized)
            || !app::drawLogo(size).save(folder.filePath(sized + QStringLiteral("/ticksmith.png")))) {
            std::fprintf(stderr, "make-icons: cannot write the %s icon\n", qPrintable(sized));
            return 1;
        }
    }
    return 0;
}

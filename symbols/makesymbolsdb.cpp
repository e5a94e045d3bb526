// Build step: turns the catalogue text into the encrypted symbol database that ships beside the program.
//
//     make-symbols-db CATALOGUE OUTPUT
//
// The database is written to OUTPUT.tmp and renamed at the end, so a failed run never leaves a file that
// looks finished.

#include "catalogue.h"

#include <QFile>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: make-symbols-db CATALOGUE OUTPUT\n");
        return 2;
    }
    const QString catalogueFile = QString::fromLocal8Bit(argv[1]);
    const QString output = QString::fromLocal8Bit(argv[2]);
    const QString temporary = output + QStringLiteral(".tmp");
    try {
        QFile catalogue(catalogueFile);
        if (!catalogue.open(QIODevice::ReadOnly))
            throw std::runtime_error(catalogue.errorString().toStdString());
        const auto entries = symbols::parseCatalogue(QString::fromUtf8(catalogue.readAll()));
        QFile::remove(temporary);
        symbols::createDatabase(temporary, symbols::kConnect, entries);
        QFile::remove(output);
        if (!QFile::rename(temporary, output))
            throw std::runtime_error("cannot rename the new database into place");
    } catch (const std::exception& error) {
        QFile::remove(temporary);
        std::fprintf(stderr, "make-symbols-db: %s: %s\n", argv[1], error.what());
        return 1;
    }
    return 0;
}

#pragma once

// Every test works on its own copy of the symbols.mdb the build made, placed in the test's program folder.

#include "symbolsdb.h"
#include "testcontext.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

class SymbolsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const QString built = QDir(QStringLiteral(TICKSMITH_BUILD_DIR)).filePath(symbols::kDatabaseFileName);
        ASSERT_TRUE(QFile::copy(built, file())) << "the build makes " << built.toStdString();
    }

    QString file() const { return QDir(context.programFolder()).filePath(symbols::kDatabaseFileName); }

    // Runs statements of the test's own against the copy.
    void run(const QStringList& statements)
    {
        symbols::Database database(file(), symbols::kConnect);
        for (const QString& statement : statements)
            database.execute(statement);
    }

    testing_support::TestContext context;
};

// Readable failure messages for texts and lists of texts.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

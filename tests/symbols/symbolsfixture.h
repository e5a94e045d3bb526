#pragma once

// Every test works on its own copy of the symbols.mdb the build made, placed in the test's program folder.

#include "symbols/symbolsdb.h"
#include "testcontext.h"

#include <QDir>

#include <gtest/gtest.h>

class SymbolsTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(context.installProgramFile(symbols::kDatabaseFileName)); }

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

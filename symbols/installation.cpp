#include "installation.h"

#include "database.h"
#include "symbolsdb.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace symbols {

namespace {

// Opening the template and reading its options proves it is the database the program expects, so a
// broken package never leaves a broken copy behind in the user's folder.
QString templateProblem(const QString& path)
{
    if (!QFileInfo::exists(path))
        return QStringLiteral("The symbol database %1 is missing. Reinstall Ticksmith to get it back.").arg(path);
    try {
        Database database(path, kConnect);
        Recordset settings = database.openTable(sql::kSettingsTable);
        settings.field(0);
    } catch (const DatabaseError& error) {
        return QStringLiteral("The symbol database %1 cannot be read (%2). Reinstall Ticksmith to get it back.")
            .arg(path, error.text());
    }
    return {};
}

// Written through a temporary file and renamed, so an interrupted first start leaves no half copy that
// every later start would take for the real one.
QString copyTemplate(const QString& source, const QString& target)
{
    const auto failed = [&](const QString& why) {
        return QStringLiteral("Ticksmith could not copy the symbol database to %1: %2").arg(target, why);
    };
    if (!QDir().mkpath(QFileInfo(target).absolutePath()))
        return failed(QStringLiteral("the folder cannot be created"));
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly))
        return failed(in.errorString());
    QSaveFile out(target);
    if (!out.open(QIODevice::WriteOnly) || out.write(in.readAll()) != in.size() || !out.commit())
        return failed(out.errorString());
    QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner);
    return {};
}

} // namespace

Installation locateInstallation(const QString& executableFolder, const QString& home, const QString& userDataFolder)
{
    if (!home.isEmpty())
        return {home, home, {}};
    const QDir executable(executableFolder);
    const QString shared = QDir::cleanPath(executable.filePath(QStringLiteral("../share/ticksmith")));
    if (executable.exists(kDatabaseFileName) || !QFileInfo(shared).isDir())
        return {executableFolder, executableFolder, {}};

    Installation installed{shared, userDataFolder, {}};
    const QString copy = QDir(userDataFolder).filePath(kDatabaseFileName);
    if (QFileInfo::exists(copy))
        return installed;
    const QString source = QDir(shared).filePath(kDatabaseFileName);
    installed.problem = templateProblem(source);
    if (installed.problem.isEmpty())
        installed.problem = copyTemplate(source, copy);
    return installed;
}

Installation currentInstallation()
{
    return locateInstallation(QCoreApplication::applicationDirPath(),
                              qEnvironmentVariable("TICKSMITH_HOME"),
                              QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
}

} // namespace symbols

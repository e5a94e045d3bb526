#pragma once

#include <QString>

namespace symbols {

// Where the program's files are. Run from the build tree, or with TICKSMITH_HOME, everything is in one
// folder. Installed, the program's own files are read-only in <prefix>/share/ticksmith and the symbol
// database the user changes (options, saved download folders, added securities) is a copy in the
// per-user data folder, made from the shipped template at first start.
struct Installation
{
    QString programFolder;
    QString dataFolder;
    QString problem; // why the user's database could not be prepared, for the settings window; else empty
};

// The layout for a program in executableFolder, with TICKSMITH_HOME's value in home (may be empty) and
// the per-user data folder in userDataFolder. Copies the template to userDataFolder when the program
// is installed and the user has no copy yet; a missing or damaged template is reported, never copied.
Installation locateInstallation(const QString& executableFolder, const QString& home, const QString& userDataFolder);

// The same for the running program.
Installation currentInstallation();

} // namespace symbols

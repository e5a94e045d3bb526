#pragma once

// The --source option of the commands that ask for quotes.

#include "download/sources/sourceclient.h"

#include <QSettings>
#include <QStringList>

#include <memory>

namespace cli {

inline constexpr const char* SourceOption = "[--source NAME]";

// Takes "--source NAME" out of arguments and returns the chain of quote sources to ask: that source
// (else TICKSMITH_SOURCE, else the settings' choice), then the settings' fallbacks. Null, with the
// problem, for a missing or unknown name.
std::unique_ptr<download::sources::SourceChain> takeSourceChain(QStringList& arguments, QString& problem);

// The program's settings, as the Settings window writes them.
struct ProgramSettings : QSettings
{
    ProgramSettings()
        : QSettings(QStringLiteral("Ticksmith"), QStringLiteral("Ticksmith"))
    {}
};

} // namespace cli

#pragma once

#include "context/appcontext.h"

#include <memory>

namespace app {

// The folder the program reads its own files from: TICKSMITH_HOME when set, else the executable's.
QString programFolder();

// The context of the running program: real message boxes and dialogs, the system clock, the user's
// locale and settings (QSettings "Ticksmith"/"Ticksmith"), the desktop's browser and clipboard.
std::unique_ptr<context::AppContext> makeDesktopContext();

} // namespace app

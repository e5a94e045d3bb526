#pragma once

#include "context/appcontext.h"

#include <memory>

namespace app {

// The context of the running program: real message boxes and dialogs, the system clock, the user's
// locale and settings (QSettings "Ticksmith"/"Ticksmith"), the desktop's browser and clipboard, and
// the folders of the installation (see symbols/installation.h).
std::unique_ptr<context::AppContext> makeDesktopContext();

} // namespace app

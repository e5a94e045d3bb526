#pragma once

#include <QIcon>

namespace app {

// The pictures of the main toolbar, drawn rather than loaded so that the program needs no icon theme.
enum class ToolbarIcon
{
    NewSecurity,
    OpenSecurity,
    FindSecurity,
    TestReport,
    Download,
    Convert,
    SymbolLookup,
    Settings,
    Help,
    Copy,
};

QIcon toolbarIcon(ToolbarIcon icon);

} // namespace app

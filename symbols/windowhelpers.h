#pragma once

#include <QString>

class QWidget;

namespace app {
struct AppContext;
}

namespace symbols {

// Dialogs open in the middle of the screen: left = (screen width - window width) / 2, top likewise.
void centreOnScreen(QWidget& window);

// A database failure as a message box with the engine's own text; the window stays usable.
void showDatabaseError(app::AppContext& context, QWidget* parent, const QString& engineText);

} // namespace symbols

#pragma once

#include <QString>

class QWidget;

namespace app {

struct AppContext;

// Dialogs open in the middle of the screen: left = (screen width - window width) / 2, top likewise.
void centreOnScreen(QWidget& window);

// A failure as a message box with the text of whatever failed (a database engine, a file); the window
// stays usable.
void showFailure(AppContext& context, QWidget* parent, const QString& text);

} // namespace app

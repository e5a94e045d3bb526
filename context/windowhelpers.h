#pragma once

#include <QString>

class QKeyEvent;
class QLineEdit;
class QWidget;

namespace context {

struct AppContext;

// Gives a control, where it is created, the name the code and the tests know it by.
template<class Control>
Control* named(Control* control, const char* name)
{
    control->setObjectName(QLatin1String(name));
    return control;
}

// Dialogs open in the middle of the screen: left = (screen width - window width) / 2, top likewise.
void centreOnScreen(QWidget& window);

// A failure as a message box with the text of whatever failed (a database engine, a file); the window
// stays usable.
void showFailure(AppContext& context, QWidget* parent, const QString& text);

// Symbol boxes take every typed letter in upper case. For a box's key-press filter: true when the key
// has been inserted here and must go no further.
bool typeUpperCase(QLineEdit& box, const QKeyEvent& key);

} // namespace context

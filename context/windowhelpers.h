#pragma once

#include <QHBoxLayout> // the button row is added to its window's layout as a QLayout
#include <QString>
#include <QStringList>

#include <functional>
#include <initializer_list>

class QAbstractButton;
class QDateEdit;
class QGridLayout;
class QKeyEvent;
class QLineEdit;
class QLocale;
class QTreeWidget;
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

// Symbol boxes take every typed letter in upper case. For a box's key-press handler: true when the key
// has been inserted here and must go no further. A box that starts a search or a creation passes what
// Return and Enter do as `onEnter`; they go no further either.
bool typeUpperCase(QLineEdit& box, const QKeyEvent& key, const std::function<void()>& onEnter = {});

// Return on the main keys or Enter on the keypad.
bool isEnter(const QKeyEvent& key);

// Hands every key pressed in `control` to `handler` before the control has it; a handler that returns
// true keeps the key from the control. The window's X_KeyPress handlers are wired with this.
void onKeyPress(QWidget& control, std::function<bool(const QKeyEvent&)> handler);

// The row of buttons at the foot of a window: a stretch pushes `right` (OK, Close and the like) to the
// right edge; `left`, when given, stays at the left edge.
QHBoxLayout* buttonRow(std::initializer_list<QWidget*> right);
QHBoxLayout* buttonRow(std::initializer_list<QWidget*> left, std::initializer_list<QWidget*> right);

// One line of a form grid: the caption in the first column, the field in the second and, when given, the
// button that fills the field (Browse for a folder box, Symbol Lookup) in the third.
void addFieldRow(QGridLayout& grid, int row, const QString& caption, QWidget* field, QWidget* button = nullptr);

// A Browse button for a folder box shown as a folder picture, with `tip` to name it.
void showAsFolderButton(QAbstractButton& button, const QString& tip);

template<class Button>
Button* folderButton(Button* button, const QString& tip = {})
{
    showAsFolderButton(*button, tip);
    return button;
}

// A list of rows under column headings, as the windows' list views show securities and results: no
// tree lines, the focus on the whole row, and the first columns `widths` pixels wide.
void showAsReport(QTreeWidget& list, const QStringList& headings, std::initializer_list<int> widths);

// A date box in the user's short-date notation, with a calendar to pick from.
void showShortDates(QDateEdit& picker, const QLocale& locale);

} // namespace context

#include "windowhelpers.h"

#include "appcontext.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScreen>
#include <QWidget>

namespace context {

void centreOnScreen(QWidget& window)
{
    const QScreen* screen = window.screen() ? window.screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return;
    const QRect area = screen->geometry();
    window.move(area.x() + (area.width() - window.width()) / 2, area.y() + (area.height() - window.height()) / 2);
}

void showFailure(AppContext& context, QWidget* parent, const QString& text)
{
    context.prompter->information(parent, QStringLiteral("Ticksmith"), text, Prompter::Icon::Critical);
}

bool typeUpperCase(QLineEdit& box, const QKeyEvent& key)
{
    const QString typed = key.text();
    if (typed.isEmpty() || typed == typed.toUpper() || !typed.at(0).isPrint())
        return false;
    box.insert(typed.toUpper());
    return true;
}

} // namespace context

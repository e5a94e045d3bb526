#include "windowhelpers.h"

#include "core/appcontext.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace symbols {

void centreOnScreen(QWidget& window)
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    const QRect area = screen->geometry();
    window.move(area.x() + (area.width() - window.width()) / 2, area.y() + (area.height() - window.height()) / 2);
}

void showDatabaseError(app::AppContext& context, QWidget* parent, const QString& engineText)
{
    context.prompter->information(parent, QStringLiteral("Ticksmith"), engineText, app::Prompter::Icon::Critical);
}

} // namespace symbols

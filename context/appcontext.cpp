#include "appcontext.h"

#include <QDir>
#include <QSettings>
#include <QWidget>

namespace context {

AppContext::AppContext() = default;

AppContext::~AppContext() = default;

int AppContext::addRecent(const QString& name, const QString& folder, RecentCaption form)
{
    const int index = int(state.recent.size()) + 1;
    const QString caption = form == RecentCaption::Numbered ? QStringLiteral("&%1 %2").arg(index).arg(name.trimmed())
                                                            : folder.trimmed() + u'\\' + name.trimmed();
    state.recent.append({name.trimmed(), folder.trimmed(), caption});
    if (onRecentAdded)
        onRecentAdded(index);
    return index;
}

void AppContext::showChild(QWidget* child)
{
    if (onShowChild) {
        onShowChild(child);
        return;
    }
    child->setAttribute(Qt::WA_DeleteOnClose);
    child->show();
}

void AppContext::setStatusText(const QString& text)
{
    state.statusText = text;
    if (onStatusText)
        onStatusText(text);
}

QString AppContext::programFile(const QString& name) const
{
    return QDir(programFolder).filePath(name);
}

QString AppContext::dataFile(const QString& name) const
{
    return dataFolder.isEmpty() ? programFile(name) : QDir(dataFolder).filePath(name);
}

} // namespace context

#include "appcontext.h"

#include <QDir>
#include <QSettings>

namespace context {

AppContext::AppContext() = default;

AppContext::~AppContext() = default;

int AppContext::addRecent(const RecentSecurity& entry)
{
    state.recent.append(entry);
    const int index = int(state.recent.size());
    if (onRecentAdded)
        onRecentAdded(index);
    return index;
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

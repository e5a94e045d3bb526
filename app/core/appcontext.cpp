#include "appcontext.h"

#include <QDir>
#include <QSettings>

namespace app {

AppContext::AppContext() = default;

AppContext::~AppContext() = default;

QString AppContext::programFile(const QString& name) const
{
    return QDir(programFolder).filePath(name);
}

} // namespace app

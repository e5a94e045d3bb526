#pragma once

// The steps the two creating windows share: the question about a missing folder and the calls that
// leave a new security with its first date recorded and no bars.

#include "store/status.h"

#include <QDate>
#include <QString>

class QWidget;

namespace context {
struct AppContext;
}

namespace store {

class MetaStockWriter;

// The title of the creating windows' messages.
inline const QString kCreateTitle = QStringLiteral("Ticksmith");

// A failing step of a creation does not stop it: the next step runs as if this one had succeeded, and
// nothing is shown. Every status of the sequence passes through here, so that this is a visible choice.
inline void carryOn(const Status&) {}

// The folder a creating window starts with: the shared current folder, or the program folder while there
// is none.
QString startingFolder(const context::AppContext& context);

// The symbol, name and first date checked as the writer checks them. Asking first means that no folder
// is created, and nothing written, for a security the folder could never hold.
Status checkNewSecurity(const QString& symbol, const QString& name, QDate firstDate);

// True when `folder` exists, or the user agreed to create it and CreateFolder was called; false when it
// is missing and the answer was not Yes.
bool folderReady(context::AppContext& context, QWidget* parent, MetaStockWriter& writer, const QString& folder);

// CreateSecurity, then one bar added and taken away again, which leaves the new security selected with
// its first date recorded and no bars. The caller ends it with CloseSecurity.
void createEmptySecurity(MetaStockWriter& writer,
                         const QString& symbol,
                         const QString& name,
                         qint32 periodicity,
                         QDate firstDate);

} // namespace store

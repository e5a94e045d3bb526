#include "storestatus.h"

namespace cli {

int exitFor(const store::Status& status)
{
    switch (status.code()) {
    case store::ErrorCode::None:
        return Success;
    case store::ErrorCode::InvalidArgument:
    case store::ErrorCode::NotFound:
    case store::ErrorCode::Damaged:
        return Usage;
    default:
        return Problems;
    }
}

int fail(Io& io, const store::Status& status)
{
    io.err << "ticksmith-cli: " << status.text() << "\n";
    return exitFor(status);
}

QString isoDate(qint32 date)
{
    if (date == 0)
        return QStringLiteral("N/A");
    return QStringLiteral("%1-%2-%3")
        .arg(date / 10000, 4, 10, QChar(u'0'))
        .arg(date / 100 % 100, 2, 10, QChar(u'0'))
        .arg(date % 100, 2, 10, QChar(u'0'));
}

} // namespace cli

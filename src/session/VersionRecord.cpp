#include "session/VersionRecord.h"

namespace session {

QString VersionRecord::versionText() const
{
    return QStringLiteral("%1.%2.%3").arg(major).arg(minor).arg(revision);
}

const VersionRecord &versionRecord()
{
    static const VersionRecord record{
        QStringLiteral("Quronda"),
        1,
        0,
        0,
        QStringLiteral("Novadat"),
        QStringLiteral("Copyright © Novadat. Todos los derechos reservados."),
        QStringLiteral("Quronda para Institutos de enseñanza"),
    };
    return record;
}

}  // namespace session

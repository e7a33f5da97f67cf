#include "store/Backend.h"

namespace store {

QString backendName(Backend backend)
{
    switch (backend) {
    case Backend::SQLite:
        return QStringLiteral("SQLite");
    case Backend::PostgreSQL:
        return QStringLiteral("PostgreSQL");
    }
    return {};
}

}  // namespace store

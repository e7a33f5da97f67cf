#include "Session.h"

#include "session/modPrincipal.h"

namespace tests {

void signIn(const QString &login, const QString &person, const QString &area, qint16 role)
{
    modPrincipal::setSession(core::Session{login, person, area, role});
}

void amendSession(const std::function<void(core::Session &)> &change)
{
    core::Session session = modPrincipal::session();
    change(session);
    modPrincipal::setSession(session);
}

}  // namespace tests

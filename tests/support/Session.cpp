#include "Session.h"

#include "session/modPrincipal.h"

namespace tests {

void signIn(const QString &login, const QString &person, const QString &area, qint16 role)
{
    modPrincipal::setSession(core::Session{login, person, area, role});
}

void signInAs(int role)
{
    static const char *const users[][3] = {{"usuario", "11111111", "DOC"}, {"jefe", "22222222", "DOC"},
                                           {"admin", "33333333", "ADM"}, {"super", "44444444", "ADM"}};
    const auto &u = users[qBound(5, role, 8) - 5];
    signIn(QString::fromLatin1(u[0]), QString::fromLatin1(u[1]), QString::fromLatin1(u[2]), qint16(role));
}

void amendSession(const std::function<void(core::Session &)> &change)
{
    core::Session session = modPrincipal::session();
    change(session);
    modPrincipal::setSession(session);
}

}  // namespace tests

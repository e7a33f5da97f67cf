#pragma once

#include "core/Session.h"

#include <QString>
#include <functional>

namespace tests {

// Puts the program in the session a login would leave: the windows read it from there.
void signIn(const QString &login, const QString &person, const QString &area, qint16 role);
// Signs in the demo store's user of that role: 5 usuario, 6 jefe (DOC), 7 admin, 8 super (ADM).
void signInAs(int role);
// Changes part of the current session, the rest kept.
void amendSession(const std::function<void(core::Session &)> &change);

}  // namespace tests

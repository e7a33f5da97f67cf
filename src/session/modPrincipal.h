#pragma once

#include "core/Session.h"

#include <QString>

#include <exception>
#include <functional>
#include <memory>

class QWidget;
class frmLogin;

namespace store {
class Connection;
}

// The program's entry and its only shared memory: the current session.
namespace modPrincipal {

// The session the windows work in: set by the login, its person changed by "cambio".
// Windows read it when they need it; the rules below the windows take it as a value.
const core::Session &session();
void setSession(const core::Session &session);
// "cambio": the session goes on working on another staff member.
void setSessionPerson(const QString &funCedula);

// The login code's error reporter: pointer back to the default, then "Seleccione primero
// una empresa" (OK, no icon, default title) for a missing current row (3021), or the
// error's description with an exclamation icon and the program's title for any other.
// A store::StoreError gives its number and description; any other exception is reported
// by its text.
void ReportarError(const std::exception &error);

// Builds and loads the main window of a role (5 to 8) and hands it back not yet shown, or
// nullptr for a role that has none. The windows live in folders that build on this one,
// so main() registers the factory that knows them.
using MainWindowFactory = std::function<QWidget *(qint16 perId)>;
void setMainWindowFactory(MainWindowFactory factory);

// Fills a new personal store with its tables and its first administrator: the store
// tool's routine, which lives in a folder that builds on this one, so main() registers it.
using StoreFiller = std::function<void(store::Connection &, const QString &login, const QString &password)>;
void setStoreFiller(StoreFiller filler);

// The start-up: when the data source RRHHODBC is not defined, the first-start window
// (Cancel there ends the program at once); then the login window shown modally, then
// continueStartUp.
void Main();

// What Main does once the login window has hidden itself: ends the program at once if the
// login did not succeed; otherwise unloads the login window, puts up the presentation
// window, shows the main window of the session's role (a role outside 5 to 8 has none), unloads the
// presentation window and returns.
void continueStartUp(std::unique_ptr<frmLogin> login);

// Sets up the application (locale, the error boundary, the store's error reporter) and
// runs Main and the event loop. Called by main().
int run(int argc, char *argv[]);

}  // namespace modPrincipal

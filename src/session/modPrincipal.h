#pragma once

#include <QString>
#include <exception>

// The program's entry and its only shared memory: the four session variables.
namespace modPrincipal {

extern QString gUsuLogin;   // the login as typed, not trimmed (status bar only)
extern QString gFunCedula;  // the person the session works on; "cambio" overwrites it
extern QString gAreId;      // area of the first contract row of the login
extern qint16 gPerId;       // role: 5 common user, 6 area chief, 7 administrator, 8 super user

// The login code's error reporter: hourglass off, then "Seleccione primero una empresa"
// for a missing current row (3021) or the error's description with an exclamation icon.
void ReportarError(const std::exception &error);

// Login, presentation window, the role's main window.
void Main();

// Sets up the application (locale, the error boundary, the dialogs) and runs Main and the
// event loop. Called by main().
int run(int argc, char *argv[]);

}  // namespace modPrincipal

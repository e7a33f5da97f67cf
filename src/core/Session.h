#pragma once

#include <QString>

namespace core {

// Who is working and on whom: filled by the login, handed to whatever needs it.
//  - `login` is the login as typed, blanks kept; it only names the user on screen.
//  - `person` is the FunCedula of the staff member the session works on: the user's own
//    at login, another's once a chief or the super user takes a person from the staff list.
//  - `area` is the AreId of the first contract row the login read; it never changes.
//  - `role` is the PerId: 5 common user, 6 area chief, 7 administrator, 8 super user.
struct Session {
    QString login;
    QString person;
    QString area;
    qint16 role = 0;

    // The same session working on another person.
    Session withPerson(const QString &funCedula) const
    {
        Session other = *this;
        other.person = funCedula;
        return other;
    }

    bool operator==(const Session &) const = default;
};

}  // namespace core

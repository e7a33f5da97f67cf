#pragma once

#include "core/Session.h"
#include "store/Connection.h"

#include <QString>
#include <QVariant>

#include <functional>

namespace core {

// One entry of hours as a window holds it: the values to store, not the controls that
// show them. A null value is "nothing chosen or typed". Typed numbers and times may come
// as the text the user typed; the store converts them, and refuses what it cannot read.
struct HoursEntry {
    QVariant areId;
    QVariant actId;
    QVariant desId;
    QVariant tipId;
    QVariant funInsId;  // the contract; null when the person has none
    QVariant fecha;     // a QDate
    QVariant semana;
    QVariant horas;
    QVariant valorHora;
    QVariant categoria;
    QVariant moneda;  // "Pesos Uruguayos", "Dolares", or empty when none was chosen
    QVariant horarioInicial;
    QVariant horarioFinal;

    // The row of HORAS_RUBROS_MATERIAS that a teaching entry has, and only it.
    bool teaching = false;
    QString rubId;
    QString matId;
    QString turno;
};

// The HORAS columns of an entry, each read by its column name (from a data control's row).
HoursEntry entryFromColumns(const std::function<QVariant(const QString &column)> &valueOf);

// What a window does after a save: closes when `saved`, otherwise stays open with what the
// user typed and shows `message` (with an exclamation icon when `warning`).
struct HoursSaveResult {
    bool saved = false;
    QVariant horId;  // the entry's key once its row of HORAS is stored, even if the rest failed
    QString message;
    bool warning = false;
};

// The saving of one entry of hours: its row of HORAS, then its row of
// HORAS_RUBROS_MATERIAS kept in step with the activity (created for a teaching entry,
// updated while it is one, deleted when it stops being one). The two writes are not one
// transaction: when the second fails the hours stay stored and the result says so, with
// the key, so that the next save completes that row instead of entering the hours twice.
//
// Before anything is written the save needs a contract, and a chosen area that has
// activities; everything else is left to the store's own rules.
class HoursSave {
public:
    explicit HoursSave(QString connectString = QString::fromLatin1(store::kDefaultConnectString));

    // A new entry for the session's person. `storedHorId` is the key an earlier save of
    // the same entry stored before its link failed; that row is then written again.
    HoursSaveResult enter(const Session &session, const HoursEntry &entry, const QVariant &storedHorId = {}) const;

    // A change of the stored entry `horId`: `read` is the entry as the window read it,
    // `edited` as it stands now. Only the columns that differ are written, and only while
    // the store still holds what was read in them: a row another user changed meanwhile
    // is refused.
    HoursSaveResult change(qlonglong horId, const HoursEntry &read, const HoursEntry &edited) const;

    // Shown when the hours went in and their group, subject and turn did not.
    static QString linkFailedNote();

private:
    QString missingPiece(const HoursEntry &entry) const;
    void writeLink(qlonglong horId, const HoursEntry &entry) const;

    QString m_connectString;
};

}  // namespace core

#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QVariant>
#include <optional>
#include <vector>

namespace store {

class Connection;

// The history of the hour records, as the store writes it (HORAS_HISTORIAL, filled by
// triggers on HORAS and HHORAS: see the schema files) and as the program reads it.
namespace history {

// Makes `login` the program's login on every connection of this process, open or opened
// later (reconnects and the close's own connection included), so that the store's history
// lines carry it. PostgreSQL: the session setting tempalia.login. SQLite: a TEMP trigger
// per connection that stamps the login on the lines that connection's statements write
// (a main trigger cannot see anything per connection). A store without the history
// (not upgraded yet) is left alone.
void announceLogin(const QString &login);

// What a close's move did: rows copied into HHORAS, rows taken from HORAS.
struct ArchiveMove {
    int copied = 0;
    int deleted = 0;
};

// The close's move of one area, inside the caller's transaction: every row of HORAS of
// `area` dated up to `cutOff` is copied into HHORAS (a row already there takes the values
// of the one in HORAS: the newer of the two) and deleted from HORAS. The history records
// the move as one 'Archivo' line for the area, without looking up each moved row:
// PostgreSQL moves through the store's function tempalia_cierre_mover, which announces
// the close to the triggers for its own transaction; SQLite drops the row triggers that
// recognise an archive for the transaction, writes the line itself and creates them again
// before the commit. A store without the history just moves. Throws StoreError.
ArchiveMove moveToArchive(Connection &conn, const QString &area, const QDate &cutOff);

struct Filter {
    QString cedula;               // FunCedula; empty: everybody (an archive line has none)
    QDate from, to;               // days of the change, in local time; null: open
    std::optional<qlonglong> horId;
};

struct Line {
    qlonglong id = 0;
    QDateTime when;               // local time
    QString login;                // the program's login; empty for a writer that is not the program
    QString account;              // the database account (PostgreSQL)
    QString kind;                 // Alta, Cambio, Baja, Archivo
    QString table;                // HORAS or HHORAS
    QVariant horId;               // Null on an archive line
    QString cedula, area;
    QVariant rows;                // archive line: rows moved
    QDate until;                  // archive line: the last date moved
    QString before, after;        // the row's fifteen columns as a JSON object, as stored
};

std::vector<Line> read(Connection &conn, const Filter &filter);

// A line said in one sentence: the values of an insert or a delete, what changed in a
// change ("HorHoras: 2 → 3"), the area, rows and last date of an archive.
QString describe(const Line &line);

}  // namespace history
}  // namespace store

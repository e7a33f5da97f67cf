#pragma once

#include <QDate>
#include <QString>
#include <QVariant>

namespace store {
class Connection;
}

namespace core {

// The month close of one area: every hour row of the area dated up to the cut-off moves
// from HORAS into the archive HHORAS, and the close's row of CIERREMESES is marked closed,
// all in one transaction on a connection of the close's own.
//
// Other users keep working while it runs, so the copy and the delete must see the same
// rows, as they stand when they are deleted:
//  - PostgreSQL runs both statements in one REPEATABLE READ transaction: they read one
//    snapshot, so the copy archives exactly the rows the delete takes. A row another user
//    changes, re-dates or deletes after the snapshot makes the delete fail with a
//    serialization failure (40001) instead of archiving a stale copy; the transaction is
//    rolled back and the close starts again on the rows as they are then (at most
//    kAttempts times). A user whose change comes after the delete took the row waits for
//    the close and then finds the row gone (refused, window kept).
//  - SQLite has one writer at a time: the copy and the delete run in one write transaction
//    that holds the file's write lock from the copy to the commit, so no other commit can
//    fall between them.
// A row that already stands in the archive (left by an interrupted close of an older
// version) is replaced by the one in HORAS, the newer of the two.
class MonthClose {
public:
    MonthClose(QString area, QDate cutOff, QVariant closeId = {});

    // Runs the close; returns the number of rows archived. Throws store::StoreError, in
    // which case nothing has changed.
    int run(store::Connection &conn) const;
    // The same, on a connection of its own opened on the connect string.
    int run(const QString &connectString) const;

    static constexpr int kAttempts = 5;

private:
    int moveRows(store::Connection &conn) const;

    QString m_area;
    QDate m_cutOff;
    QVariant m_closeId;
};

}  // namespace core

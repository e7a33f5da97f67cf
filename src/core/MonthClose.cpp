#include "core/MonthClose.h"

#include "store/Connection.h"
#include "store/HourHistory.h"
#include "store/StoreError.h"

namespace core {
MonthClose::MonthClose(QString area, QDate cutOff, QVariant closeId)
    : m_area(std::move(area)), m_cutOff(cutOff), m_closeId(std::move(closeId))
{
}

int MonthClose::moveRows(store::Connection &conn) const
{
    if (conn.backend() == store::Backend::PostgreSQL)
        conn.executeNative(QStringLiteral("SET TRANSACTION ISOLATION LEVEL REPEATABLE READ"));
    const auto [copied, deleted] = store::history::moveToArchive(conn, m_area, m_cutOff);
    if (copied != deleted)
        throw store::StoreError(store::StoreError::Kind::Store, 0,
                                QStringLiteral("El cierre copió %1 registros al archivo pero quitó %2 de las horas del "
                                               "mes: no se cambió nada. Vuelva a intentarlo.")
                                    .arg(copied)
                                    .arg(deleted));
    return deleted;
}

int MonthClose::run(store::Connection &conn) const
{
    for (int attempt = 1;; ++attempt) {
        conn.beginTransaction();
        try {
            const int moved = moveRows(conn);
            if (m_closeId.isValid() && !m_closeId.isNull())
                conn.executeNative(QStringLiteral("UPDATE CIERREMESES SET CieMesCerrado = ? WHERE CieMesId = ?"),
                                   {true, m_closeId});
            conn.commit();
            return moved;
        } catch (const store::StoreError &e) {
            if (conn.inTransaction()) {
                try {
                    conn.rollback();
                } catch (const store::StoreError &) {
                    // The transaction ends with the connection in any case.
                }
            }
            // Another user changed one of the rows after the close took its snapshot:
            // nothing was moved; the close starts again from the rows as they are now.
            if (e.fault() != store::StoreError::Fault::Serialization || attempt >= kAttempts)
                throw;
        }
    }
}

int MonthClose::run(const QString &connectString) const
{
    const auto conn = store::Connection::open(connectString);
    return run(*conn);
}

}  // namespace core

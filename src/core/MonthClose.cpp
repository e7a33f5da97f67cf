#include "core/MonthClose.h"

#include "store/Connection.h"
#include "store/StoreError.h"

namespace core {
namespace {

// The fifteen columns of HORAS and HHORAS, in their order.
const QString kColumns = QStringLiteral("HORID,FUNCEDULA,AREID,ACTID,DESID,FUNINSID,HORFECHA,HORSEMANA,HORVALORHORA,"
                                        "HORHORAS,HORCATEGORIA,TIPID,HORMONEDA,HORHORARIOINICIAL,HORHORARIOFINAL");

QString updateFromExcluded()
{
    QStringList sets;
    const QStringList columns = kColumns.split(QLatin1Char(','));
    for (const QString &c : columns)
        if (c != QLatin1String("HORID"))
            sets << QStringLiteral("%1 = EXCLUDED.%1").arg(c);
    return sets.join(QStringLiteral(", "));
}

}  // namespace

MonthClose::MonthClose(QString area, QDate cutOff, QVariant closeId)
    : m_area(std::move(area)), m_cutOff(cutOff), m_closeId(std::move(closeId))
{
}

int MonthClose::moveRows(store::Connection &conn) const
{
    const QVariantList due{m_cutOff, m_area};
    const QString where = QStringLiteral(" FROM HORAS WHERE HORFECHA <= ? AND AREID = ?");
    const bool postgres = conn.backend() == store::Backend::PostgreSQL;
    if (postgres)
        conn.executeNative(QStringLiteral("SET TRANSACTION ISOLATION LEVEL REPEATABLE READ"));
    const QString copy = postgres ? QStringLiteral("INSERT INTO HHORAS (%1) SELECT %1%2 ON CONFLICT (HORID) DO UPDATE SET %3")
                                        .arg(kColumns, where, updateFromExcluded())
                                  : QStringLiteral("INSERT OR REPLACE INTO HHORAS (%1) SELECT %1%2").arg(kColumns, where);
    const int copied = conn.executeNative(copy, due);
    const int deleted = conn.executeNative(QStringLiteral("DELETE") + where, due);
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

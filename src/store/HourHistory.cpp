#include "store/HourHistory.h"

#include "store/Connection.h"
#include "store/SchemaInfo.h"
#include "store/SqlValue.h"
#include "store/StoreSetup.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace store::history {
namespace {

void stampLogin(Connection &conn, const QString &login)
{
    try {
        if (conn.backend() == Backend::PostgreSQL) {
            conn.executeNative(QStringLiteral("SELECT set_config('tempalia.login', ?, false)"), {login});
            return;
        }
        conn.executeNative(QStringLiteral("DROP TRIGGER IF EXISTS temp.TR_HISTORIAL_LOGIN"));
        if (login.isEmpty())
            return;
        conn.executeNative(QStringLiteral("CREATE TEMP TRIGGER TR_HISTORIAL_LOGIN AFTER INSERT ON main.HORAS_HISTORIAL "
                                          "WHEN NEW.HisLogin IS NULL BEGIN UPDATE HORAS_HISTORIAL SET HisLogin = %1 "
                                          "WHERE HisId = NEW.HisId; END")
                               .arg(sql::text(login)));
    } catch (const std::exception &) {
        // A store without the history (not upgraded yet): nothing to stamp.
    }
}

// The fifteen columns of HORAS and HHORAS, in their order.
const QString kColumns = QStringLiteral("HORID,FUNCEDULA,AREID,ACTID,DESID,FUNINSID,HORFECHA,HORSEMANA,HORVALORHORA,"
                                        "HORHORAS,HORCATEGORIA,TIPID,HORMONEDA,HORHORARIOINICIAL,HORHORARIOFINAL");
const QString kDue = QStringLiteral(" FROM HORAS WHERE HORFECHA <= ? AND AREID = ?");

QString updateFromExcluded()
{
    QStringList sets;
    const QStringList columns = kColumns.split(QLatin1Char(','));
    for (const QString &c : columns)
        if (c != QLatin1String("HORID"))
            sets << QStringLiteral("%1 = EXCLUDED.%1").arg(c);
    return sets.join(QStringLiteral(", "));
}

// The copy and the delete as plain statements; the store's triggers see to the history.
ArchiveMove moveRows(Connection &conn, const QString &area, const QDate &cutOff)
{
    const QVariantList due{cutOff, area};
    const QString copy = conn.backend() == Backend::PostgreSQL
                             ? QStringLiteral("INSERT INTO HHORAS (%1) SELECT %1%2 ON CONFLICT (HORID) DO UPDATE SET %3")
                                   .arg(kColumns, kDue, updateFromExcluded())
                             : QStringLiteral("INSERT OR REPLACE INTO HHORAS (%1) SELECT %1%2").arg(kColumns, kDue);
    ArchiveMove moved;
    moved.copied = conn.executeNative(copy, due);
    moved.deleted = conn.executeNative(QStringLiteral("DELETE") + kDue, due);
    return moved;
}

ArchiveMove moveThroughStoreFunction(Connection &conn, const QString &area, const QDate &cutOff)
{
    const ResultSet rs =
        conn.selectNative(QStringLiteral("SELECT copiadas, borradas FROM tempalia_cierre_mover(?, ?)"), {area, cutOff});
    return {rs.rows.front().value(0).toInt(), rs.rows.front().value(1).toInt()};
}

// SQLite: the move with the per-row archive triggers dropped for this transaction, and the
// area's one line written here (rows moved, the last date moved), as they would write it.
ArchiveMove moveWithOwnLine(Connection &conn, const QString &area, const QDate &cutOff)
{
    const QVariant until =
        conn.selectNative(QStringLiteral("SELECT MAX(HORFECHA)") + kDue, {cutOff, area}).rows.front().value(0);
    const ArchiveMove moved = moveRows(conn, area, cutOff);
    if (moved.deleted > 0)
        conn.executeNative(QStringLiteral("INSERT INTO HORAS_HISTORIAL (HisInstante, HisTipo, HisTabla, AreId, HisFilas, "
                                          "HisHasta) VALUES (julianday('now'), 'Archivo', 'HORAS', ?, ?, ?)"),
                           {area, moved.deleted, until});
    setup::createArchiveTriggers(conn);
    return moved;
}

QString utcText(const QDate &localDay)
{
    return QDateTime(localDay, QTime(0, 0)).toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QDateTime whenOf(const QVariant &v)
{
    QDateTime utc = v.typeId() == QMetaType::QDateTime
                        ? v.toDateTime()
                        : QDateTime::fromString(v.toString().left(23), QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    if (!utc.isValid())
        utc = QDateTime::fromString(v.toString().left(19), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    utc.setTimeSpec(Qt::UTC);
    return utc.toLocalTime();
}

QString text(const QVariant &v)
{
    return v.isNull() ? QString() : v.toString();
}

// The row's columns in the table's order, whatever case the backend gave the keys.
QList<QPair<QString, QString>> columnsOf(const QString &json)
{
    QList<QPair<QString, QString>> out;
    const QJsonObject object = QJsonDocument::fromJson(json.toUtf8()).object();
    if (object.isEmpty())
        return out;
    for (const QString &column : tableInfo(QStringLiteral("HORAS"))->columns) {
        QJsonValue value;
        for (auto it = object.begin(); it != object.end(); ++it)
            if (it.key().compare(column, Qt::CaseInsensitive) == 0)
                value = it.value();
        QString shown;
        if (value.isDouble()) {
            const double d = value.toDouble();
            shown = d == qint64(d) ? QString::number(qint64(d)) : QString::number(d, 'g', 15);
        } else if (value.isString()) {
            shown = value.toString();
        }
        out.append({column, shown});
    }
    return out;
}

QString listed(const QList<QPair<QString, QString>> &columns)
{
    QStringList parts;
    for (const auto &[column, value] : columns)
        parts << column + QStringLiteral(": ") + value;
    return parts.join(QStringLiteral("; "));
}

}  // namespace

void announceLogin(const QString &login)
{
    // A read-only connection writes nothing, so it has nothing to stamp (and would refuse to).
    Connection::setSessionSetup([login](Connection &conn) {
        if (!conn.spec().readOnly)
            stampLogin(conn, login);
    });
}

ArchiveMove moveToArchive(Connection &conn, const QString &area, const QDate &cutOff)
{
    if (conn.backend() == Backend::PostgreSQL) {
        return setup::hasArchiveFunction(conn) ? moveThroughStoreFunction(conn, area, cutOff)
                                               : moveRows(conn, area, cutOff);
    }
    return setup::dropArchiveTriggers(conn) ? moveWithOwnLine(conn, area, cutOff) : moveRows(conn, area, cutOff);
}

std::vector<Line> read(Connection &conn, const Filter &filter)
{
    const bool pg = conn.backend() == Backend::PostgreSQL;
    const QString instant = pg ? QStringLiteral("CAST(? AS TIMESTAMP)") : QStringLiteral("?");
    QString sql = QStringLiteral("SELECT HisId, HisFecha, HisLogin, HisCuenta, HisTipo, HisTabla, HorId, FunCedula, "
                                 "AreId, HisFilas, HisHasta, HisAntes, HisDespues FROM HORAS_HISTORIAL_LECTURA WHERE 1=1");
    QVariantList values;
    if (!filter.cedula.isEmpty()) {
        sql += QStringLiteral(" AND FunCedula = ?");
        values << filter.cedula;
    }
    if (filter.horId) {
        sql += QStringLiteral(" AND HorId = ?");
        values << *filter.horId;
    }
    if (filter.from.isValid()) {
        sql += QStringLiteral(" AND HisFecha >= ") + instant;
        values << utcText(filter.from);
    }
    if (filter.to.isValid()) {
        sql += QStringLiteral(" AND HisFecha < ") + instant;
        values << utcText(filter.to.addDays(1));
    }
    sql += QStringLiteral(" ORDER BY HisId");

    std::vector<Line> lines;
    const ResultSet rs = conn.selectNative(sql, values);
    for (const Row &r : rs.rows) {
        Line l;
        l.id = r.value(0).toLongLong();
        l.when = whenOf(r.value(1));
        l.login = text(r.value(2));
        l.account = text(r.value(3));
        l.kind = text(r.value(4));
        l.table = text(r.value(5));
        l.horId = r.value(6);
        l.cedula = text(r.value(7));
        l.area = text(r.value(8));
        l.rows = r.value(9);
        l.until = r.value(10).typeId() == QMetaType::QDate ? r.value(10).toDate()
                                                            : QDate::fromString(text(r.value(10)).left(10), Qt::ISODate);
        l.before = text(r.value(11));
        l.after = text(r.value(12));
        lines.push_back(l);
    }
    return lines;
}

QString describe(const Line &line)
{
    if (line.kind == QLatin1String("Archivo"))
        return QStringLiteral("Cierre del área %1: %2 filas pasadas a HHORAS, la última del %3")
            .arg(line.area, line.rows.toString(), line.until.toString(QStringLiteral("dd-MM-yyyy")));
    if (line.kind == QLatin1String("Alta"))
        return listed(columnsOf(line.after));
    if (line.kind == QLatin1String("Baja"))
        return listed(columnsOf(line.before));
    const auto before = columnsOf(line.before);
    const auto after = columnsOf(line.after);
    QStringList changes;
    for (int i = 0; i < before.size() && i < after.size(); ++i)
        if (before[i].second != after[i].second)
            changes << QStringLiteral("%1: %2 → %3").arg(before[i].first, before[i].second, after[i].second);
    return changes.join(QStringLiteral("; "));
}

}  // namespace store::history

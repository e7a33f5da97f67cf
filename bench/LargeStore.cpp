#include "LargeStore.h"

#include "StoreTool.h"
#include "session/Usuario.h"
#include "store/Connection.h"
#include "store/StoreSetup.h"

#include <QDate>
#include <QElapsedTimer>
#include <QStringList>
#include <cstdio>
#include <random>

namespace bench {
namespace {

QString q(const QString &text)
{
    QString out = text;
    out.replace(QLatin1Char('\''), QStringLiteral("''"));
    return QLatin1Char('\'') + out + QLatin1Char('\'');
}

QString d(const QDate &date)
{
    return q(date.toString(Qt::ISODate));
}

QString b(store::Connection &conn, bool value)
{
    if (conn.backend() == store::Backend::PostgreSQL)
        return value ? QStringLiteral("TRUE") : QStringLiteral("FALSE");
    return value ? QStringLiteral("1") : QStringLiteral("0");
}

// Inserts rows in multi-row statements, one transaction per batch.
class BatchInsert {
public:
    BatchInsert(store::Connection &conn, QString head) : m_conn(conn), m_head(std::move(head)) {}
    ~BatchInsert() { flush(); }
    void add(const QString &values)
    {
        m_rows << QLatin1Char('(') + values + QLatin1Char(')');
        if (m_rows.size() >= 500)
            flush();
    }
    void flush()
    {
        if (m_rows.isEmpty())
            return;
        m_conn.executeNative(m_head + QStringLiteral(" VALUES ") + m_rows.join(QLatin1Char(',')));
        m_rows.clear();
    }

private:
    store::Connection &m_conn;
    QString m_head;
    QStringList m_rows;
};

QString areaId(int area)
{
    return QStringLiteral("A%1").arg(area, 2, 10, QLatin1Char('0'));
}

int weekOfYear(const QDate &date)
{
    const QDate jan1(date.year(), 1, 1);
    return (date.dayOfYear() - 1 + jan1.dayOfWeek() - 1) / 7 + 1;
}

}  // namespace

int areaOfPerson(int person, const LargeStoreSize &size)
{
    // The staff is spread so that area A00 holds 8% of the hours and A01 2%: at the full
    // size about 80,000 and 20,000 rows of HORAS, the sizes of a large month close and of a
    // large export or report. The other areas share the rest evenly.
    const int big = size.staff * 8 / 100;
    const int small = size.staff * 2 / 100;
    if (person < big)
        return 0;
    if (person < big + small)
        return 1;
    return 2 + (person - big - small) % (size.areas - 2);
}

LargeStoreSize sizeFor(double scale)
{
    LargeStoreSize s;
    s.hoursRows = int(s.hoursRows * scale);
    s.archiveRows = int(s.archiveRows * scale);
    return s;
}

void fillLargeStore(store::Connection &conn, const LargeStoreSize &size)
{
    QElapsedTimer timer;
    timer.start();
    store::setup::dropSchema(conn);
    storetool::create(conn);
    // The rows are loaded without the history (a million 'Alta' lines would say nothing);
    // it is put back once the store is full.
    store::setup::removeHistory(conn);
    std::mt19937 rng(20261122);
    auto pick = [&](int n) { return int(rng() % unsigned(n)); };

    conn.beginTransaction();
    for (int a = 0; a < size.areas; ++a)
        conn.executeNative(QStringLiteral("INSERT INTO AREAS VALUES (%1, %2)")
                               .arg(q(QStringLiteral("A%1").arg(a, 2, 10, QLatin1Char('0'))),
                                    q(QStringLiteral("Área %1").arg(a + 1))));
    for (int i = 0; i < 4; ++i)
        conn.executeNative(QStringLiteral("INSERT INTO INSTITUTOS VALUES (%1, %2)")
                               .arg(q(QStringLiteral("I%1").arg(i)), q(QStringLiteral("Instituto %1").arg(i + 1))));
    for (int i = 0; i < 6; ++i)
        conn.executeNative(QStringLiteral("INSERT INTO DESTINOS VALUES (%1, %2)")
                               .arg(q(QStringLiteral("D%1").arg(i)), q(QStringLiteral("Destino %1").arg(i + 1))));
    for (int i = 0; i < 20; ++i)
        conn.executeNative(QStringLiteral("INSERT INTO MATERIAS VALUES (%1, %2)")
                               .arg(q(QStringLiteral("M%1").arg(i, 2, 10, QLatin1Char('0'))),
                                    q(QStringLiteral("Materia %1").arg(i + 1))));
    for (int i = 0; i < 4; ++i)
        conn.executeNative(QStringLiteral("INSERT INTO RUBROS VALUES (%1, %2)")
                               .arg(q(QStringLiteral("R%1").arg(i)), q(QStringLiteral("Rubro %1").arg(i + 1))));
    for (int m = 0; m < 20; ++m)
        conn.executeNative(QStringLiteral("INSERT INTO RUBROS_MATERIAS VALUES (%1, %2)")
                               .arg(q(QStringLiteral("R%1").arg(m % 4)),
                                    q(QStringLiteral("M%1").arg(m, 2, 10, QLatin1Char('0')))));
    for (int a = 0; a < 8; ++a)
        conn.executeNative(QStringLiteral("INSERT INTO ACTIVIDADES VALUES (%1, %2, %3)")
                               .arg(q(QStringLiteral("T%1").arg(a)), q(QStringLiteral("Actividad %1").arg(a + 1)),
                                    b(conn, a < 3)));
    for (int a = 0; a < size.areas; ++a)
        for (int t = 0; t < 8; ++t)
            conn.executeNative(QStringLiteral("INSERT INTO AREAS_ACTIVIDADES VALUES (%1, %2)")
                                   .arg(q(QStringLiteral("A%1").arg(a, 2, 10, QLatin1Char('0'))),
                                        q(QStringLiteral("T%1").arg(t))));
    for (int t = 0; t < 3; ++t)
        for (int m = 0; m < 20; ++m)
            conn.executeNative(QStringLiteral("INSERT INTO DOCENTES_RUBROS_MATERIAS VALUES (%1, %2, %3)")
                                   .arg(q(QStringLiteral("T%1").arg(t)), q(QStringLiteral("R%1").arg(m % 4)),
                                        q(QStringLiteral("M%1").arg(m, 2, 10, QLatin1Char('0')))));
    conn.executeNative(QStringLiteral("INSERT INTO TIPOHORAS VALUES ('COM', 'Comunes', 1)"));
    conn.executeNative(QStringLiteral("INSERT INTO TIPOHORAS VALUES ('EXT', 'Extras', 1.5)"));
    conn.executeNative(QStringLiteral("INSERT INTO TIPOHORAS VALUES ('FER', 'Feriados', 2)"));
    {
        BatchInsert staff(conn, QStringLiteral("INSERT INTO FUNCIONARIOS (FunCedula, FunNombres, FunApellidos, "
                                               "FunFacturador)"));
        BatchInsert contracts(conn, QStringLiteral("INSERT INTO FUNCIONARIOS_INSTITUTOS (FunInsId, FunCedula, InsId, "
                                                   "AreId, FunInsCategoria, FunInsHoras_Semanales, FunInsValor_Hora, "
                                                   "FunInsMoneda, FunInsInicio, FunInsFinContrato)"));
        for (int p = 0; p < size.staff; ++p) {
            const QString ced = QStringLiteral("%1").arg(10000000 + p);
            staff.add(QStringLiteral("%1, %2, %3, %4")
                          .arg(q(ced), q(QStringLiteral("Nombre%1").arg(p)), q(QStringLiteral("Apellido%1").arg(p)),
                               b(conn, p % 20 == 0)));
            contracts.add(QStringLiteral("%1, %2, %3, %4, 'A', 20, %5, %6, '2023-01-01', %7")
                              .arg(p + 1)
                              .arg(q(ced), q(QStringLiteral("I%1").arg(p % 4)),
                                   q(areaId(areaOfPerson(p, size))))
                              .arg(300 + p % 200)
                              .arg(q(p % 25 == 0 ? QStringLiteral("Dolares") : QStringLiteral("Pesos Uruguayos")),
                                   b(conn, false)));
        }
    }
    if (conn.backend() == store::Backend::PostgreSQL)
        conn.executeNative(QStringLiteral("SELECT setval('funcionarios_institutos_funinsid_seq', %1)").arg(size.staff));
    const char *logins[][3] = {{"usuario", "10000000", "5"}, {"jefe", "10000001", "6"}, {"admin", "10000002", "7"},
                               {"super", "10000003", "8"}};
    for (auto &l : logins)
        conn.executeNative(QStringLiteral("INSERT INTO USUARIOS VALUES (%1, %2, %3, %4)")
                               .arg(q(QString::fromLatin1(l[0])), q(Usuario::hashPassword(QString::fromLatin1(l[0]))),
                                    q(QString::fromLatin1(l[1])), QString::fromLatin1(l[2])));
    conn.commit();

    // Hours over three years; the oldest archiveRows go to HHORAS afterwards.
    const int total = size.hoursRows + size.archiveRows;
    const QDate first = QDate::currentDate().addYears(-3);
    const int days = int(first.daysTo(QDate::currentDate()));
    {
        conn.beginTransaction();
        BatchInsert hours(conn, QStringLiteral("INSERT INTO HORAS (HorId, FunCedula, AreId, ActId, DesId, FunInsId, "
                                               "HorFecha, HorSemana, HorValorhora, HorHoras, HorCategoria, TipId, "
                                               "HorMoneda)"));
        BatchInsert teach(conn, QStringLiteral("INSERT INTO HORAS_RUBROS_MATERIAS (HorId, RubId, MatId, HorRubMatTurno)"));
        for (int i = 0; i < total; ++i) {
            // Dates grow with the id, as entries do over time.
            const QDate date = first.addDays(qint64(i) * days / total);
            const int person = pick(size.staff);
            const int act = pick(8);
            const int id = i + 1;
            hours.add(QStringLiteral("%1, %2, %3, %4, %5, %6, %7, %8, %9, %10, 'A', %11, %12")
                          .arg(id)
                          .arg(q(QStringLiteral("%1").arg(10000000 + person)),
                               q(areaId(areaOfPerson(person, size))),
                               q(QStringLiteral("T%1").arg(act)), q(QStringLiteral("D%1").arg(pick(6))))
                          .arg(person + 1)
                          .arg(d(date))
                          .arg(weekOfYear(date) - 1)
                          .arg(300 + person % 200)
                          .arg(1 + pick(6))
                          .arg(q(pick(10) == 0 ? QStringLiteral("EXT") : QStringLiteral("COM")),
                               q(person % 25 == 0 ? QStringLiteral("Dolares") : QStringLiteral("Pesos Uruguayos"))));
            if (act < 3) {
                const int m = pick(20);
                teach.add(QStringLiteral("%1, %2, %3, 'Mañana'")
                              .arg(id)
                              .arg(q(QStringLiteral("R%1").arg(m % 4)),
                                   q(QStringLiteral("M%1").arg(m, 2, 10, QLatin1Char('0')))));
            }
            if (i % 100000 == 99999) {
                hours.flush();
                teach.flush();
                conn.commit();
                conn.beginTransaction();
                std::fprintf(stderr, "  %d filas de horas (%.0f s)\n", i + 1, timer.elapsed() / 1000.0);
            }
        }
        hours.flush();
        teach.flush();
        conn.commit();
    }
    if (conn.backend() == store::Backend::PostgreSQL)
        conn.executeNative(QStringLiteral("SELECT setval('horas_horid_seq', %1)").arg(total));
    else
        conn.executeNative(QStringLiteral("INSERT OR REPLACE INTO sqlite_sequence (name, seq) VALUES ('HORAS', %1)")
                               .arg(total));
    const QDate cut = first.addDays(qint64(size.archiveRows) * days / total);
    conn.beginTransaction();
    conn.executeNative(QStringLiteral("INSERT INTO HHORAS SELECT * FROM HORAS WHERE HorId <= %1").arg(size.archiveRows));
    conn.executeNative(QStringLiteral("DELETE FROM HORAS WHERE HorId <= %1").arg(size.archiveRows));
    BatchInsert closes(conn, QStringLiteral("INSERT INTO CIERREMESES (FunCedula, AreId, CieMesMesCierre, "
                                            "CieMesAnioCierre, CieMesFechaActual, CieMesFechaCierre, CieMesAprobado, "
                                            "CieMesDesaprobado, CieMesCerrado)"));
    for (int a = 0; a < size.areas; ++a)
        for (QDate m(first.year(), first.month(), 1); m < cut; m = m.addMonths(1))
            closes.add(QStringLiteral("%1, %2, %3, %4, %5, %6, %7, %8, %9")
                           .arg(q(QStringLiteral("%1").arg(10000000 + a)),
                                q(QStringLiteral("A%1").arg(a, 2, 10, QLatin1Char('0'))))
                           .arg(m.month())
                           .arg(m.year())
                           .arg(d(m.addMonths(1)), d(m.addMonths(1).addDays(-1)), b(conn, true), b(conn, false),
                                b(conn, true)));
    closes.flush();
    conn.commit();
    if (conn.backend() == store::Backend::PostgreSQL)
        conn.executeNative(QStringLiteral("ANALYZE"));
    else
        conn.executeNative(QStringLiteral("ANALYZE"));
    store::setup::installHistory(conn);
    std::fprintf(stderr, "Base grande lista: %d filas en HORAS, %d en HHORAS (%.0f s)\n", size.hoursRows,
                 size.archiveRows, timer.elapsed() / 1000.0);
}

}  // namespace bench

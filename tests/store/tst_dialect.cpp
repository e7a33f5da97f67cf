// The dialect translator: the text it gives each backend, and what those statements do on
// the test's real database (SQLite, or PostgreSQL in the PostgreSQL pass) through QODBC.

#include "StoreTestHelpers.h"
#include "TempStore.h"
#include "store/Dialect.h"
#include "ui/Application.h"

#include <QDate>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTest>
#include <QTime>

using namespace Qt::StringLiterals;
using store::Backend;
using store::Dialect;
using store::StoreError;

namespace {

// One value as text, so that both backends' drivers compare alike: dates ISO, truth values
// 1/0, numbers without trailing zeros.
QString show(const QVariant &v)
{
    if (v.isNull())
        return u"NULL"_s;
    switch (v.typeId()) {
    case QMetaType::QDate: return v.toDate().toString(Qt::ISODate);
    case QMetaType::QDateTime: return v.toDateTime().date().toString(Qt::ISODate);
    case QMetaType::QTime: return v.toTime().toString(u"HH:mm"_s);
    case QMetaType::Bool: return v.toBool() ? u"1"_s : u"0"_s;
    default: break;
    }
    bool ok = false;
    const double d = v.toString().toDouble(&ok);
    return ok ? QString::number(d, 'g', 12) : v.toString();
}

const QString kHead = u"SELECT H.HORFECHA, H.HORSEMANA, H.HORVALORHORA, H.HORHORAS, T.TIPDESCRIPCION, D.DESDESCRIPCION, "
                      "ACT.ACTDESCRIPCION, ARE.AREDESCRIPCION, H.HORID FROM TIPOHORAS T, HORAS H, ACTIVIDADES ACT, AREAS "
                      "ARE, DESTINOS D WHERE H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID AND H.DESID=D.DESID AND "
                      "H.TIPID=T.TIPID"_s;

QString budget(const QString &table, const QString &clauses)
{
    return u"SELECT SUM(H.HORHORAS), SUM(H.HORVALORHORA*(H.HORHORAS*T.TIPPORCENTAJE)), H.HORMONEDA, T.TIPDESCRIPCION, "
           "D.DESDESCRIPCION, ACT.ACTDESCRIPCION FROM TIPOHORAS T, %1 H, ACTIVIDADES ACT, AREAS ARE, DESTINOS D WHERE "
           "H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID AND H.DESID=D.DESID AND H.TIPID=T.TIPID%2 GROUP BY H.HORMONEDA, "
           "T.TIPDESCRIPCION, D.DESDESCRIPCION, ACT.ACTDESCRIPCION"_s.arg(table, clauses);
}

}  // namespace

class TestDialect : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { m_store = std::make_unique<tests::TempStore>(tests::TempStore::Content::Empty); }
    void cleanupTestCase() { m_store.reset(); }

    // The text given to each backend.
    void translation_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("sqlite");
        QTest::addColumn<QString>("postgres");
        // Rows where both backends get the same text.
        const auto both = [](const char *name, const QString &from, const QString &to) {
            QTest::newRow(name) << from << to << to;
        };
        const auto same = [&](const char *name, const QString &s) { both(name, s, s); };

        same("plain select, bare yes/no conditions",
             kHead + u" AND ACT.ACTESDOCENTE AND NOT ACT.ACTESDOCENTE AND H.FUNCEDULA='1'"_s);
        same("text literals are never touched", u"SELECT * FROM FUNCIONARIOS WHERE FUNNOMBRES='a+''b'' #11-4-01# [x] "
                                                "DELETE * FROM' AND FUNAPELLIDOS='Date() YEAR(x) Trim(y)'"_s);
        same("quote before ORDER without a blank", u"SELECT * FROM HORAS H WHERE H.AREID='A1'ORDER BY H.HORFECHA"_s);
        both("sum of numbers stays a sum", u"SELECT H.HORID+1 AS [Siguiente] FROM HORAS H WHERE H.HORHORAS+H.HORVALORHORA>2"_s,
             u"SELECT H.HORID+1 AS Siguiente FROM HORAS H WHERE H.HORHORAS+H.HORVALORHORA>2"_s);
        QTest::newRow("two-digit and four-digit years")
            << u"SELECT * FROM HORAS WHERE HORFECHA>=#01-1-30# AND HORFECHA<=#12-31-29# OR HORFECHA=#3-15-1999# OR "
               "HORFECHA=#02/29/2000# OR HORFECHA=#1-2-00#"_s
            << u"SELECT * FROM HORAS WHERE HORFECHA>='1930-01-01' AND HORFECHA<='2029-12-31' OR HORFECHA='1999-03-15' OR "
               "HORFECHA='2000-02-29' OR HORFECHA='2000-01-02'"_s
            << u"SELECT * FROM HORAS WHERE HORFECHA>=DATE '1930-01-01' AND HORFECHA<=DATE '2029-12-31' OR HORFECHA=DATE "
               "'1999-03-15' OR HORFECHA=DATE '2000-02-29' OR HORFECHA=DATE '2000-01-02'"_s;

        // Joined text gets the name its position gives it; a bare * does not count (T.* counts as
        // one: the closes with trimmed names in results()).
        both("joined name is Expr1001", u"SELECT FUNCEDULA,FUNNOMBRES+' '+FUNAPELLIDOS FROM FUNCIONARIOS"_s,
             u"SELECT FUNCEDULA,FUNNOMBRES||' '||FUNAPELLIDOS AS Expr1001 FROM FUNCIONARIOS"_s);
        both("a bare star does not count", u"SELECT *, R.RUBID+' '+M.MATDESCRIPCION FROM DRM"_s,
             u"SELECT *, R.RUBID||' '||M.MATDESCRIPCION AS Expr1000 FROM DRM"_s);
        both("known text columns join without a literal",
             u"SELECT F.FUNAPELLIDOS + F.FUNNOMBRES, (F.FUNNOMBRES) + [FunApellidos] FROM FUNCIONARIOS F"_s,
             u"SELECT F.FUNAPELLIDOS || F.FUNNOMBRES AS Expr1000, (F.FUNNOMBRES) || FunApellidos AS Expr1001 FROM "
             "FUNCIONARIOS F"_s);
        // A column is known by its table: a count named after a text column still adds, the
        // columns of a subquery in FROM keep their kinds.
        same("counts named after text columns add",
             u"SELECT G.AREID + G.ACTID AS Total FROM (SELECT COUNT(*) AS AREID, COUNT(*) AS ACTID FROM HORAS) G"_s);
        both("text columns of a subquery in FROM join",
             u"SELECT G.FUNNOMBRES + G.FUNAPELLIDOS AS Nombre FROM (SELECT * FROM FUNCIONARIOS) G"_s,
             u"SELECT G.FUNNOMBRES || G.FUNAPELLIDOS AS Nombre FROM (SELECT * FROM FUNCIONARIOS) G"_s);
        both("computed columns of a subquery",
             u"SELECT F.FUNCEDULA FROM FUNCIONARIOS F WHERE EXISTS(SELECT FI.AREID, FI.AREID+'x', COUNT(*) FROM FI)"_s,
             u"SELECT F.FUNCEDULA FROM FUNCIONARIOS F WHERE EXISTS(SELECT FI.AREID, FI.AREID||'x' AS Expr1001, COUNT(*) "
             "AS Expr1002 FROM FI)"_s);
        both("bracketed names, reserved word and quote",
             u"SELECT H.HORHORAS AS [Horas], T.TIPDESCRIPCION AS [Tipo de horas], [HorId] AS [Order], [Año] AS "
             "[Dice \"sí\"] FROM [HORAS]"_s,
             u"SELECT H.HORHORAS AS Horas, T.TIPDESCRIPCION AS \"Tipo de horas\", HorId AS \"Order\", \"Año\" AS "
             "\"Dice \"\"sí\"\"\" FROM HORAS"_s);
        both("delete with table star", u"delete HORAS.* from HORAS where HORID=3"_s, u"delete from HORAS where HORID=3"_s);
        both("delete with a bare star and a correlated subquery",
             u"DELETE * FROM HORAS WHERE AREID='A1' AND EXISTS( SELECT * FROM HHORAS WHERE HHORAS.HORID=HORAS.HORID)"_s,
             u"DELETE FROM HORAS WHERE AREID='A1' AND EXISTS( SELECT * FROM HHORAS WHERE HHORAS.HORID=HORAS.HORID)"_s);
        both("minus signs never make a comment", u"SELECT HORID FROM HORAS WHERE HORID=5--1"_s,
             u"SELECT HORID FROM HORAS WHERE HORID=5- -1"_s);
    }

    void translation()
    {
        QFETCH(QString, statement);
        QFETCH(QString, sqlite);
        QFETCH(QString, postgres);
        QCOMPARE(Dialect::translate(statement, Backend::SQLite), sqlite);
        QCOMPARE(Dialect::translate(statement, Backend::PostgreSQL), postgres);
        // A translated statement goes through again unchanged.
        QCOMPARE(Dialect::translate(sqlite, Backend::SQLite), sqlite);
        QCOMPARE(Dialect::translate(postgres, Backend::PostgreSQL), postgres);
    }

    void unreadableStatement_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("mentions");
        QTest::newRow("open text") << u"SELECT * FROM HORAS WHERE FUNCEDULA='O'Neill'"_s << u"apóstrofo"_s;
        QTest::newRow("open bracket") << u"SELECT HORHORAS AS [Horas FROM HORAS"_s << u"corchete"_s;
        QTest::newRow("open date") << u"SELECT * FROM HORAS WHERE HORFECHA>=#11-4-01"_s << u"#"_s;
        QTest::newRow("no such day") << u"SELECT * FROM HORAS WHERE HORFECHA=#02-30-01#"_s << u"#02-30-01#"_s;
        QTest::newRow("day first") << u"SELECT * FROM HORAS WHERE HORFECHA=#25-12-01#"_s << u"#25-12-01#"_s;
        QTest::newRow("not a date") << u"SELECT * FROM HORAS WHERE HORFECHA=#hoy#"_s << u"#hoy#"_s;
        QTest::newRow("open parenthesis") << u"SELECT SUM(HORHORAS FROM HORAS"_s << u"paréntesis"_s;
    }

    void unreadableStatement()
    {
        QFETCH(QString, statement);
        QFETCH(QString, mentions);
        for (Backend backend : {Backend::SQLite, Backend::PostgreSQL}) {
            const StoreError e = store_tests::errorOf([&] { Dialect::translate(statement, backend); });
            QCOMPARE(e.kind(), StoreError::Kind::Store);
            QCOMPARE(e.number(), 3000);
            QVERIFY2(e.description().startsWith(u"Sentencia no válida: "_s) && e.description().contains(mentions),
                     qPrintable(e.description()));
        }
    }

    // What the translated statements do on the real engine: each row of the named columns
    // (found without regard to case) as "value|value|...".
    void results_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QStringList>("columns");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<bool>("ordered");
        const QStringList sums = {"Expr1000", "Expr1001", "HORMONEDA", "TIPDESCRIPCION", "ACTDESCRIPCION"};
        const QString mine = u" AND H.FUNCEDULA='111'"_s;
        QTest::newRow("budget of the chief, teaching")
            << budget(u"HORAS"_s, u" AND H.AREID='A1' AND ACT.ACTESDOCENTE"_s) << sums
            << QStringList{"3|300|Pesos Uruguayos|Comunes|Clases", "4|60|Dolares|Extras|Clases"} << false;
        QTest::newRow("budget of the current year")
            << budget(u"HHORAS"_s, u" AND YEAR(H.HORFECHA)=YEAR(Date())"_s) << sums
            << QStringList{"2|200|Pesos Uruguayos|Comunes|Clases", "5|75|Dolares|Extras|Secretaría",
                           "1|10|Dolares|Comunes|Secretaría"} << false;
        QTest::newRow("budget of a one-day period")
            << budget(u"HHORAS"_s, u" AND H.HORFECHA BETWEEN #03-15-99# AND #3-15-1999#"_s) << sums
            << QStringList{"7|700|Pesos Uruguayos|Comunes|Clases"} << false;
        QTest::newRow("list sorted by date descending")
            << kHead + u" ORDER BY H.HORFECHA DESC"_s << QStringList{"HORFECHA", "HORID", "TIPDESCRIPCION"}
            << QStringList{"2002-01-02|5|Extras", "2001-12-31|4|Comunes", "2001-11-06|3|Comunes", "2001-11-05|2|Extras",
                           "2001-11-04|1|Comunes"} << true;
        QTest::newRow("list filtered on and from a date")
            << kHead + u" AND (H.HORFECHA>=#11-6-01# OR H.HORFECHA=#11-4-01#)"_s + mine << QStringList{"HORID"}
            << QStringList{"1", "3"} << false;
        QTest::newRow("sorted list with bracketed names")
            << u"SELECT H.HORVALORHORA AS [Valor], H.HORHORAS AS [Horas], T.TIPDESCRIPCION AS [Tipo de horas], H.HORID "
               "FROM TIPOHORAS T, HORAS H WHERE H.TIPID=T.TIPID"_s + mine + u" ORDER BY H.HORFECHA ASC"_s
            << QStringList{"Valor", "Horas", "Tipo de horas", "HORID"}
            << QStringList{"100|2|Comunes|1", "100|1.5|Extras|2", "100|1|Comunes|3"} << true;
        QTest::newRow("star and a joined name")
            << u"SELECT *, F.FUNCEDULA+' '+F.FUNNOMBRES FROM FUNCIONARIOS F WHERE F.FUNCEDULA='222'"_s
            << QStringList{"FUNAPELLIDOS", "Expr1000"} << QStringList{"O'Neill|222 Luis"} << false;
        QTest::newRow("closes with trimmed names")
            << u"SELECT CM.*, TRIM(F.FUNAPELLIDOS) + ',' + TRIM(F.FUNNOMBRES) FROM CIERREMESES CM, FUNCIONARIOS F WHERE "
               "CM.FUNCEDULA=F.FUNCEDULA"_s
            << QStringList{"CIEMESMESCIERRE", "CIEMESFECHACIERRE", "CIEMESAPROBADO", "Expr1001"}
            << QStringList{"11|2001-11-30|1|Pérez,Ana", "12|2001-12-31|0|O'Neill,Luis"} << false;
        QTest::newRow("month export")
            << u"SELECT F.FUNAPELLIDOS+', '+F.FUNNOMBRES, H.HORFECHA FROM HORAS H, FUNCIONARIOS F WHERE "
               "H.FUNCEDULA=F.FUNCEDULA AND H.AREID='A1'ORDER BY H.HORFECHA"_s << QStringList{"Expr1000", "HORFECHA"}
            << QStringList{"Pérez, Ana |2001-11-04", "Pérez, Ana |2001-11-05", "Pérez, Ana |2001-11-06",
                           "O'Neill, Luis|2002-01-02"} << true;
        QTest::newRow("yes/no columns as conditions")
            << u"SELECT FUNCEDULA FROM FUNCIONARIOS WHERE FUNFACTURADOR UNION ALL SELECT FUNCEDULA FROM FUNCIONARIOS "
               "WHERE NOT FUNFACTURADOR AND FUNCEDULA<>'111'"_s << QStringList{"FUNCEDULA"} << QStringList{"111", "222"}
            << false;
        QTest::newRow("yes/no compared with -1, 0 and True")
            << u"SELECT CIEMESMESCIERRE FROM CIERREMESES WHERE CIEMESAPROBADO = -1 OR (CIEMESDESAPROBADO=True AND "
               "CIEMESCERRADO<>-1 AND CIEMESAPROBADO=0)"_s << QStringList{"CIEMESMESCIERRE"} << QStringList{"11", "12"}
            << false;
        QTest::newRow("literal with signs of the dialect")
            << u"SELECT FUNCEDULA FROM FUNCIONARIOS WHERE FUNAPELLIDOS='O''Neill' OR FUNNOMBRES='x+y #1-1-01# [z]'"_s
            << QStringList{"FUNCEDULA"} << QStringList{"222"} << false;
        QTest::newRow("dates and numbers computed")
            << u"SELECT YEAR(Date()), MONTH(H.HORFECHA), H.HORID+1, H.HORHORAS+H.HORVALORHORA FROM HORAS H WHERE "
               "H.HORID+1=2"_s << QStringList{"Expr1000", "Expr1001", "Expr1002", "Expr1003"}
            << QStringList{QString::number(QDate::currentDate().year()) + u"|11|2|102"_s} << false;
        QTest::newRow("today's archive") << u"SELECT HORID FROM HHORAS WHERE HORFECHA=Date()"_s << QStringList{"HORID"}
                                         << QStringList{"10", "11"} << false;
    }

    void results()
    {
        QFETCH(QString, statement);
        QFETCH(QStringList, columns);
        QFETCH(QStringList, expected);
        QFETCH(bool, ordered);
        resetTables();
        const QString sql = Dialect::translate(statement, m_store->backend());
        QSqlQuery q(m_store->conn().database());
        q.setForwardOnly(true);
        QVERIFY2(q.exec(sql), qPrintable(sql + u"\n  -> "_s + q.lastError().text()));
        QList<int> positions;
        for (const QString &column : columns) {
            int found = -1;
            for (int i = 0; i < q.record().count() && found < 0; ++i)
                if (q.record().fieldName(i).compare(column, Qt::CaseInsensitive) == 0)
                    found = i;
            QVERIFY2(found >= 0, qPrintable(u"no column %1 in %2"_s.arg(column, sql)));
            positions << found;
        }
        QStringList rows;
        while (q.next()) {
            QStringList values;
            for (int p : positions)
                values << show(q.value(p));
            rows << values.join(u'|');
        }
        if (!ordered) {
            rows.sort();
            expected.sort();
        }
        QCOMPARE(rows, expected);
    }

private:
    // The tables the statements read, with the column kinds of the store (dates DATE, times
    // TIME, decimals REAL / DOUBLE PRECISION, yes/no 0/1 or boolean), and a few rows written
    // through bound values as the data controls write them.
    void resetTables()
    {
        const bool pg = m_store->backend() == Backend::PostgreSQL;
        const QString yesNo = pg ? u"BOOLEAN NOT NULL DEFAULT false"_s : u"INTEGER NOT NULL DEFAULT 0"_s;
        const QString decimal = pg ? u"DOUBLE PRECISION"_s : u"REAL"_s;
        const QString hours = u"(HorId INTEGER NOT NULL PRIMARY KEY, FunCedula VARCHAR(12), AreId VARCHAR(4), ActId "
                              "VARCHAR(4), DesId VARCHAR(4), FunInsId INTEGER, HorFecha DATE, HorSemana INTEGER, "
                              "HorValorhora %1, HorHoras %1, HorCategoria VARCHAR(2), TipId VARCHAR(4), HorMoneda "
                              "VARCHAR(20), HorHorarioInicial TIME, HorHorarioFinal TIME)"_s.arg(decimal);
        const QStringList tables = {
            u"AREAS (AreId VARCHAR(4) PRIMARY KEY, AreDescripcion VARCHAR(30))"_s,
            u"ACTIVIDADES (ActId VARCHAR(4) PRIMARY KEY, ActDescripcion VARCHAR(30), ActEsDocente %1)"_s.arg(yesNo),
            u"DESTINOS (DesId VARCHAR(4) PRIMARY KEY, DesDescripcion VARCHAR(30))"_s,
            u"TIPOHORAS (TipId VARCHAR(4) PRIMARY KEY, TipDescripcion VARCHAR(30), TipPorcentaje %1)"_s.arg(decimal),
            u"FUNCIONARIOS (FunCedula VARCHAR(12) PRIMARY KEY, FunNombres VARCHAR(30), FunApellidos VARCHAR(30), "
            "FunFacturador %1)"_s.arg(yesNo),
            u"HORAS "_s + hours, u"HHORAS "_s + hours,
            u"CIERREMESES (CieMesId INTEGER PRIMARY KEY, FunCedula VARCHAR(12), AreId VARCHAR(4), CieMesMesCierre "
            "INTEGER, CieMesAnioCierre INTEGER, CieMesFechaCierre DATE, CieMesAprobado %1, CieMesDesaprobado %1, "
            "CieMesCerrado %1)"_s.arg(yesNo),
        };
        for (const QString &t : tables) {
            m_store->execNative(u"DROP TABLE IF EXISTS "_s + t.section(u' ', 0, 0));
            m_store->execNative(u"CREATE TABLE "_s + t);
        }
        const auto rows = [&](const QString &table, const QList<QVariantList> &values) {
            for (const QVariantList &v : values)
                m_store->execNative(u"INSERT INTO %1 VALUES (%2)"_s.arg(table, QStringList(v.size(), u"?"_s).join(u',')), v);
        };
        rows(u"AREAS"_s, {{"A1", "Docencia"}, {"A2", u"Administración"_s}});
        rows(u"ACTIVIDADES"_s, {{"T1", "Clases", true}, {"N1", u"Secretaría"_s, false}});
        rows(u"DESTINOS"_s, {{"D1", "Carrera"}});
        rows(u"TIPOHORAS"_s, {{"C", "Comunes", 1.0}, {"E", "Extras", 1.5}});
        rows(u"FUNCIONARIOS"_s, {{"111", "Ana ", u"Pérez"_s, true}, {"222", "Luis", "O'Neill", false}});
        const QString pesos = u"Pesos Uruguayos"_s;
        const QString dolares = u"Dolares"_s;
        const QDate today = QDate::currentDate();
        const QVariant no = QVariant(QMetaType(QMetaType::QTime));
        // HorId, FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, HorSemana, HorValorhora, HorHoras,
        // HorCategoria, TipId, HorMoneda, start, end
        rows(u"HORAS"_s,
             {{1, "111", "A1", "T1", "D1", 1, QDate(2001, 11, 4), 45, 100.0, 2.0, "A", "C", pesos, QTime(8, 0), QTime(10, 0)},
              {2, "111", "A1", "N1", "D1", 1, QDate(2001, 11, 5), 45, 100.0, 1.5, "A", "E", pesos, no, no},
              {3, "111", "A1", "T1", "D1", 1, QDate(2001, 11, 6), 45, 100.0, 1.0, "A", "C", pesos, no, no},
              {4, "222", "A2", "N1", "D1", 2, QDate(2001, 12, 31), 1, 10.0, 3.0, "B", "C", dolares, no, no},
              {5, "222", "A1", "T1", "D1", 2, QDate(2002, 1, 2), 1, 10.0, 4.0, "B", "E", dolares, no, no}});
        rows(u"HHORAS"_s, {{10, "111", "A1", "T1", "D1", 1, today, 1, 100.0, 2.0, "A", "C", pesos, no, no},
                           {11, "222", "A2", "N1", "D1", 2, today, 1, 10.0, 5.0, "B", "E", dolares, no, no},
                           {12, "111", "A1", "T1", "D1", 1, QDate(1999, 3, 15), 11, 100.0, 7.0, "A", "C", pesos, no, no},
                           {13, "222", "A2", "N1", "D1", 2, QDate(today.year(), 1, 1), 1, 10.0, 1.0, "B", "C", dolares, no, no}});
        rows(u"CIERREMESES"_s, {{1, "111", "A1", 11, 2001, QDate(2001, 11, 30), true, false, false},
                                {2, "222", "A2", 12, 2001, QDate(2001, 12, 31), false, true, false}});
    }

    std::unique_ptr<tests::TempStore> m_store;
};

TEMPALIA_TEST_MAIN(TestDialect)
#include "tst_dialect.moc"

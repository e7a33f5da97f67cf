// The dialect translator: the text it gives each backend, and what those statements do on
// a real SQLite database and a real PostgreSQL database reached through QODBC.

#include "store/Dialect.h"
#include "store/StoreError.h"

#include <QCoreApplication>
#include <QDate>
#include <QDir>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QTest>
#include <QTime>

#include <memory>

using store::Backend;
using store::Dialect;
using store::StoreError;

Q_DECLARE_METATYPE(store::Backend)

namespace {

const char *const kSqliteDsn = "TstDialectSqlite";
const char *const kPostgresDsn = "TstDialectPg";

bool postgresConfigured()
{
    for (const char *name : {"TEMPALIA_PG_HOST", "TEMPALIA_PG_PORT", "TEMPALIA_PG_USER", "TEMPALIA_PG_DB"})
        if (qEnvironmentVariableIsEmpty(name))
            return false;
    return true;
}

// One value as text, so that both backends' drivers compare alike: dates ISO, truth values
// 1/0, numbers without trailing zeros.
QString show(const QVariant &v)
{
    if (!v.isValid() || v.isNull())
        return QStringLiteral("NULL");
    switch (v.typeId()) {
    case QMetaType::QDate:
        return v.toDate().toString(Qt::ISODate);
    case QMetaType::QDateTime:
        return v.toDateTime().date().toString(Qt::ISODate);
    case QMetaType::QTime:
        return v.toTime().toString(QStringLiteral("HH:mm"));
    case QMetaType::Bool:
        return v.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    default:
        break;
    }
    bool ok = false;
    const double d = v.toString().toDouble(&ok);
    return ok ? QString::number(d, 'g', 12) : v.toString();
}

const QString kHead = QStringLiteral(
    "SELECT H.HORFECHA, H.HORSEMANA, H.HORVALORHORA, H.HORHORAS, T.TIPDESCRIPCION, D.DESDESCRIPCION, "
    "ACT.ACTDESCRIPCION, ARE.AREDESCRIPCION, H.HORID FROM TIPOHORAS T, HORAS H, ACTIVIDADES ACT, AREAS ARE, "
    "DESTINOS D WHERE H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID AND H.DESID=D.DESID AND H.TIPID=T.TIPID");

QString budget(const QString &table, const QString &clauses)
{
    return QStringLiteral("SELECT SUM(H.HORHORAS), SUM(H.HORVALORHORA*(H.HORHORAS*T.TIPPORCENTAJE)), H.HORMONEDA, "
                          "T.TIPDESCRIPCION, D.DESDESCRIPCION, ACT.ACTDESCRIPCION FROM TIPOHORAS T, %1 H, "
                          "ACTIVIDADES ACT, AREAS ARE, DESTINOS D WHERE H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID AND "
                          "H.DESID=D.DESID AND H.TIPID=T.TIPID%2 GROUP BY H.HORMONEDA, T.TIPDESCRIPCION, "
                          "D.DESDESCRIPCION, ACT.ACTDESCRIPCION")
        .arg(table, clauses);
}

// The translated budget statement: the same text with the two sums named.
}  // namespace

class TestDialect : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        // A private set of ODBC data sources, set before the first ODBC call.
        QFile inst(m_dir.filePath(QStringLiteral("odbcinst.ini")));
        QVERIFY(inst.open(QIODevice::WriteOnly | QIODevice::Text));
        inst.write("[SQLite3]\nDriver=/usr/lib/x86_64-linux-gnu/odbc/libsqlite3odbc.so\n\n"
                   "[PostgreSQL Unicode]\nDriver=/usr/lib/x86_64-linux-gnu/odbc/psqlodbcw.so\n");
        inst.close();
        QFile ini(m_dir.filePath(QStringLiteral("odbc.ini")));
        QVERIFY(ini.open(QIODevice::WriteOnly | QIODevice::Text));
        ini.write(QStringLiteral("[%1]\nDriver=SQLite3\nDatabase=%2\n\n")
                      .arg(QLatin1String(kSqliteDsn), m_dir.filePath(QStringLiteral("dialect.db")))
                      .toUtf8());
        m_postgres = postgresConfigured();
        if (m_postgres)
            ini.write(QStringLiteral("[%1]\nDriver=PostgreSQL Unicode\nServername=%2\nPort=%3\nDatabase=%4\n"
                                     "Username=%5\nBoolsAsChar=0\n")
                          .arg(QLatin1String(kPostgresDsn), qEnvironmentVariable("TEMPALIA_PG_HOST"),
                               qEnvironmentVariable("TEMPALIA_PG_PORT"), qEnvironmentVariable("TEMPALIA_PG_DB"),
                               qEnvironmentVariable("TEMPALIA_PG_USER"))
                          .toUtf8());
        ini.close();
        qputenv("ODBCSYSINI", QFile::encodeName(m_dir.path()));

        QSqlDatabase sqlite = QSqlDatabase::addDatabase(QStringLiteral("QODBC"), QStringLiteral("sqlite"));
        sqlite.setDatabaseName(QLatin1String(kSqliteDsn));
        QVERIFY2(sqlite.open(), qPrintable(sqlite.lastError().text()));

        if (m_postgres) {
            QSqlDatabase pg = QSqlDatabase::addDatabase(QStringLiteral("QODBC"), QStringLiteral("postgres"));
            pg.setDatabaseName(QLatin1String(kPostgresDsn));
            QVERIFY2(pg.open(), qPrintable(pg.lastError().text()));
            // Tables of our own, apart from whatever else uses the same database.
            m_pgSchema = QStringLiteral("tst_dialect_%1").arg(QCoreApplication::applicationPid());
            exec(pg, QStringLiteral("DROP SCHEMA IF EXISTS %1 CASCADE").arg(m_pgSchema));
            exec(pg, QStringLiteral("CREATE SCHEMA %1").arg(m_pgSchema));
            exec(pg, QStringLiteral("SET search_path TO %1").arg(m_pgSchema));
        }
    }

    void cleanupTestCase()
    {
        if (m_postgres) {
            QSqlDatabase pg = database(Backend::PostgreSQL);
            QSqlQuery(pg).exec(QStringLiteral("DROP SCHEMA IF EXISTS %1 CASCADE").arg(m_pgSchema));
        }
        for (const QString &name : {QStringLiteral("sqlite"), QStringLiteral("postgres")}) {
            if (QSqlDatabase::contains(name)) {
                QSqlDatabase::database(name, false).close();
                QSqlDatabase::removeDatabase(name);
            }
        }
    }

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
             kHead + QStringLiteral(" AND ACT.ACTESDOCENTE AND NOT ACT.ACTESDOCENTE AND H.FUNCEDULA='1'"));
        same("text literals are never touched",
             QStringLiteral("SELECT * FROM FUNCIONARIOS WHERE FUNNOMBRES='a+''b'' #11-4-01# [x] DELETE * FROM' "
                            "AND FUNAPELLIDOS='Date() YEAR(x) Trim(y)'"));
        same("quote before ORDER without a blank",
             QStringLiteral("SELECT * FROM HORAS H WHERE H.AREID='A1'ORDER BY H.HORFECHA"));
        both("sum of numbers stays a sum",
             QStringLiteral("SELECT H.HORID+1 AS [Siguiente] FROM HORAS H WHERE H.HORHORAS+H.HORVALORHORA>2"),
             QStringLiteral("SELECT H.HORID+1 AS Siguiente FROM HORAS H WHERE H.HORHORAS+H.HORVALORHORA>2"));
        QTest::newRow("two-digit and four-digit years")
            << QStringLiteral("SELECT * FROM HORAS WHERE HORFECHA>=#01-1-30# AND HORFECHA<=#12-31-29# OR "
                              "HORFECHA=#3-15-1999# OR HORFECHA=#02/29/2000# OR HORFECHA=#1-2-00#")
            << QStringLiteral("SELECT * FROM HORAS WHERE HORFECHA>='1930-01-01' AND HORFECHA<='2029-12-31' OR "
                              "HORFECHA='1999-03-15' OR HORFECHA='2000-02-29' OR HORFECHA='2000-01-02'")
            << QStringLiteral("SELECT * FROM HORAS WHERE HORFECHA>=DATE '1930-01-01' AND HORFECHA<=DATE '2029-12-31' "
                              "OR HORFECHA=DATE '1999-03-15' OR HORFECHA=DATE '2000-02-29' OR HORFECHA=DATE "
                              "'2000-01-02'");

        // Joined text gets the name its position gives it; a bare * does not count (T.* counts as
        // one: the closes with trimmed names in results()).
        both("joined name is Expr1001", QStringLiteral("SELECT FUNCEDULA,FUNNOMBRES+' '+FUNAPELLIDOS FROM FUNCIONARIOS"),
             QStringLiteral("SELECT FUNCEDULA,FUNNOMBRES||' '||FUNAPELLIDOS AS Expr1001 FROM FUNCIONARIOS"));
        both("a bare star does not count", QStringLiteral("SELECT *, R.RUBID+' '+M.MATDESCRIPCION FROM DRM"),
             QStringLiteral("SELECT *, R.RUBID||' '||M.MATDESCRIPCION AS Expr1000 FROM DRM"));
        both("known text columns join without a literal",
             QStringLiteral("SELECT F.FUNAPELLIDOS + F.FUNNOMBRES, (F.FUNNOMBRES) + [FunApellidos] FROM FUNCIONARIOS F"),
             QStringLiteral("SELECT F.FUNAPELLIDOS || F.FUNNOMBRES AS Expr1000, (F.FUNNOMBRES) || FunApellidos AS "
                            "Expr1001 FROM FUNCIONARIOS F"));
        // A column is known by its table: a count named after a text column still adds, the
        // columns of a subquery in FROM keep their kinds.
        same("counts named after text columns add",
             QStringLiteral("SELECT G.AREID + G.ACTID AS Total FROM (SELECT COUNT(*) AS AREID, COUNT(*) AS ACTID "
                            "FROM HORAS) G"));
        both("text columns of a subquery in FROM join",
             QStringLiteral("SELECT G.FUNNOMBRES + G.FUNAPELLIDOS AS Nombre FROM (SELECT * FROM FUNCIONARIOS) G"),
             QStringLiteral("SELECT G.FUNNOMBRES || G.FUNAPELLIDOS AS Nombre FROM (SELECT * FROM FUNCIONARIOS) G"));
        both("computed columns of a subquery",
             QStringLiteral("SELECT F.FUNCEDULA FROM FUNCIONARIOS F WHERE EXISTS(SELECT FI.AREID, FI.AREID+'x', "
                            "COUNT(*) FROM FI)"),
             QStringLiteral("SELECT F.FUNCEDULA FROM FUNCIONARIOS F WHERE EXISTS(SELECT FI.AREID, FI.AREID||'x' AS "
                            "Expr1001, COUNT(*) AS Expr1002 FROM FI)"));
        both("bracketed names, reserved word and quote",
             QStringLiteral("SELECT H.HORHORAS AS [Horas], T.TIPDESCRIPCION AS [Tipo de horas], [HorId] AS [Order], "
                            "[Año] AS [Dice \"sí\"] FROM [HORAS]"),
             QStringLiteral("SELECT H.HORHORAS AS Horas, T.TIPDESCRIPCION AS \"Tipo de horas\", HorId AS \"Order\", "
                            "\"Año\" AS \"Dice \"\"sí\"\"\" FROM HORAS"));

        both("delete with table star", QStringLiteral("delete HORAS.* from HORAS where HORID=3"),
             QStringLiteral("delete from HORAS where HORID=3"));
        both("delete with a bare star and a correlated subquery",
             QStringLiteral("DELETE * FROM HORAS WHERE AREID='A1' AND EXISTS( SELECT * FROM HHORAS WHERE "
                            "HHORAS.HORID=HORAS.HORID)"),
             QStringLiteral("DELETE FROM HORAS WHERE AREID='A1' AND EXISTS( SELECT * FROM HHORAS WHERE "
                            "HHORAS.HORID=HORAS.HORID)"));

        both("minus signs never make a comment", QStringLiteral("SELECT HORID FROM HORAS WHERE HORID=5--1"),
             QStringLiteral("SELECT HORID FROM HORAS WHERE HORID=5- -1"));
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

        QTest::newRow("open text") << QStringLiteral("SELECT * FROM HORAS WHERE FUNCEDULA='O'Neill'")
                                   << QStringLiteral("apóstrofo");
        QTest::newRow("open bracket") << QStringLiteral("SELECT HORHORAS AS [Horas FROM HORAS")
                                      << QStringLiteral("corchete");
        QTest::newRow("open date") << QStringLiteral("SELECT * FROM HORAS WHERE HORFECHA>=#11-4-01")
                                   << QStringLiteral("#");
        QTest::newRow("no such day") << QStringLiteral("SELECT * FROM HORAS WHERE HORFECHA=#02-30-01#")
                                     << QStringLiteral("#02-30-01#");
        QTest::newRow("day first") << QStringLiteral("SELECT * FROM HORAS WHERE HORFECHA=#25-12-01#")
                                   << QStringLiteral("#25-12-01#");
        QTest::newRow("not a date") << QStringLiteral("SELECT * FROM HORAS WHERE HORFECHA=#hoy#")
                                    << QStringLiteral("#hoy#");
        QTest::newRow("open parenthesis") << QStringLiteral("SELECT SUM(HORHORAS FROM HORAS")
                                          << QStringLiteral("paréntesis");
    }

    void unreadableStatement()
    {
        QFETCH(QString, statement);
        QFETCH(QString, mentions);
        for (Backend backend : {Backend::SQLite, Backend::PostgreSQL}) {
            try {
                Dialect::translate(statement, backend);
                QFAIL("the statement was accepted");
            } catch (const StoreError &e) {
                QCOMPARE(e.kind(), StoreError::Kind::Store);
                QCOMPARE(e.number(), 3000);
                QVERIFY2(e.description().startsWith(QStringLiteral("Sentencia no válida: ")), qPrintable(e.description()));
                QVERIFY2(e.description().contains(mentions), qPrintable(e.description()));
            }
        }
    }

    // What the translated statements do on the real engines.
    void results_data()
    {
        QTest::addColumn<Backend>("backend");
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QStringList>("columns");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<bool>("ordered");

        const QString year = QString::number(QDate::currentDate().year());
        const QStringList sums = {QStringLiteral("Expr1000"), QStringLiteral("Expr1001"), QStringLiteral("HORMONEDA"),
                                  QStringLiteral("TIPDESCRIPCION"), QStringLiteral("ACTDESCRIPCION")};
        const QString mine = QStringLiteral(" AND H.FUNCEDULA='111'");

        struct Case {
            const char *name;
            QString statement;
            QStringList columns;
            QStringList expected;
            bool ordered;
        };
        const QList<Case> cases = {
            {"budget of the chief, teaching",
             budget(QStringLiteral("HORAS"), QStringLiteral(" AND H.AREID='A1' AND ACT.ACTESDOCENTE")), sums,
             {"3|300|Pesos Uruguayos|Comunes|Clases", "4|60|Dolares|Extras|Clases"}, false},
            {"budget of the current year",
             budget(QStringLiteral("HHORAS"), QStringLiteral(" AND YEAR(H.HORFECHA)=YEAR(Date())")), sums,
             {"2|200|Pesos Uruguayos|Comunes|Clases", "5|75|Dolares|Extras|Secretaría",
              "1|10|Dolares|Comunes|Secretaría"},
             false},
            {"budget of a one-day period",
             budget(QStringLiteral("HHORAS"), QStringLiteral(" AND H.HORFECHA BETWEEN #03-15-99# AND #3-15-1999#")),
             sums, {"7|700|Pesos Uruguayos|Comunes|Clases"}, false},
            {"list sorted by date descending", kHead + QStringLiteral(" ORDER BY H.HORFECHA DESC"),
             {"HORFECHA", "HORID", "TIPDESCRIPCION"},
             {"2002-01-02|5|Extras", "2001-12-31|4|Comunes", "2001-11-06|3|Comunes", "2001-11-05|2|Extras",
              "2001-11-04|1|Comunes"},
             true},
            {"list filtered on and from a date",
             kHead + QStringLiteral(" AND (H.HORFECHA>=#11-6-01# OR H.HORFECHA=#11-4-01#)") + mine, {"HORID"},
             {"1", "3"}, false},
            {"sorted list with bracketed names",
             QStringLiteral("SELECT H.HORVALORHORA AS [Valor], H.HORHORAS AS [Horas], T.TIPDESCRIPCION AS [Tipo de "
                            "horas], H.HORID FROM TIPOHORAS T, HORAS H WHERE H.TIPID=T.TIPID") +
                 mine + QStringLiteral(" ORDER BY H.HORFECHA ASC"),
             {"Valor", "Horas", "Tipo de horas", "HORID"}, {"100|2|Comunes|1", "100|1.5|Extras|2", "100|1|Comunes|3"},
             true},
            {"star and a joined name",
             QStringLiteral("SELECT *, F.FUNCEDULA+' '+F.FUNNOMBRES FROM FUNCIONARIOS F WHERE F.FUNCEDULA='222'"),
             {"FUNAPELLIDOS", "Expr1000"}, {"O'Neill|222 Luis"}, false},
            {"closes with trimmed names",
             QStringLiteral("SELECT CM.*, TRIM(F.FUNAPELLIDOS) + ',' + TRIM(F.FUNNOMBRES) FROM CIERREMESES CM, "
                            "FUNCIONARIOS F WHERE CM.FUNCEDULA=F.FUNCEDULA"),
             {"CIEMESMESCIERRE", "CIEMESFECHACIERRE", "CIEMESAPROBADO", "Expr1001"},
             {"11|2001-11-30|1|Pérez,Ana", "12|2001-12-31|0|O'Neill,Luis"}, false},
            {"month export",
             QStringLiteral("SELECT F.FUNAPELLIDOS+', '+F.FUNNOMBRES, H.HORFECHA FROM HORAS H, FUNCIONARIOS F WHERE "
                            "H.FUNCEDULA=F.FUNCEDULA AND H.AREID='A1'ORDER BY H.HORFECHA"),
             {"Expr1000", "HORFECHA"},
             {"Pérez, Ana |2001-11-04", "Pérez, Ana |2001-11-05", "Pérez, Ana |2001-11-06", "O'Neill, Luis|2002-01-02"},
             true},
            {"yes/no columns as conditions",
             QStringLiteral("SELECT FUNCEDULA FROM FUNCIONARIOS WHERE FUNFACTURADOR UNION ALL SELECT FUNCEDULA FROM "
                            "FUNCIONARIOS WHERE NOT FUNFACTURADOR AND FUNCEDULA<>'111'"),
             {"FUNCEDULA"}, {"111", "222"}, false},
            {"yes/no compared with -1, 0 and True",
             QStringLiteral("SELECT CIEMESMESCIERRE FROM CIERREMESES WHERE CIEMESAPROBADO = -1 OR "
                            "(CIEMESDESAPROBADO=True AND CIEMESCERRADO<>-1 AND CIEMESAPROBADO=0)"),
             {"CIEMESMESCIERRE"}, {"11", "12"}, false},
            {"literal with signs of the dialect",
             QStringLiteral("SELECT FUNCEDULA FROM FUNCIONARIOS WHERE FUNAPELLIDOS='O''Neill' OR "
                            "FUNNOMBRES='x+y #1-1-01# [z]'"),
             {"FUNCEDULA"}, {"222"}, false},
            {"dates and numbers computed",
             QStringLiteral("SELECT YEAR(Date()), MONTH(H.HORFECHA), H.HORID+1, H.HORHORAS+H.HORVALORHORA FROM HORAS H "
                            "WHERE H.HORID+1=2"),
             {"Expr1000", "Expr1001", "Expr1002", "Expr1003"}, {year + QStringLiteral("|11|2|102")}, false},
            {"today's archive", QStringLiteral("SELECT HORID FROM HHORAS WHERE HORFECHA=Date()"), {"HORID"},
             {"10", "11"}, false},
        };
        for (Backend backend : {Backend::SQLite, Backend::PostgreSQL})
            for (const Case &c : cases)
                QTest::addRow("%s: %s", qPrintable(store::backendName(backend)), c.name)
                    << backend << c.statement << c.columns << c.expected << c.ordered;
    }

    void results()
    {
        QFETCH(Backend, backend);
        QFETCH(QString, statement);
        QFETCH(QStringList, columns);
        QFETCH(QStringList, expected);
        QFETCH(bool, ordered);
        if (backend == Backend::PostgreSQL && !m_postgres)
            QSKIP("PostgreSQL not configured (TEMPALIA_PG_HOST, TEMPALIA_PG_PORT, TEMPALIA_PG_USER, TEMPALIA_PG_DB)");
        resetTables(backend);

        QStringList rows = run(backend, statement, columns);
        if (QTest::currentTestFailed())
            return;
        if (!ordered) {
            rows.sort();
            expected.sort();
        }
        QCOMPARE(rows, expected);
    }

private:
    QSqlDatabase database(Backend backend)
    {
        return QSqlDatabase::database(backend == Backend::SQLite ? QStringLiteral("sqlite") : QStringLiteral("postgres"));
    }

    // The tables the statements read, with the column kinds of the store (dates DATE, times
    // TIME, decimals REAL / DOUBLE PRECISION, yes/no 0/1 or boolean), and a few rows written
    // through bound values as the data controls write them.
    void resetTables(Backend backend)
    {
        QSqlDatabase db = database(backend);
        const bool pg = backend == Backend::PostgreSQL;
        QVERIFY(db.transaction());
        const QString yesNo = pg ? QStringLiteral("BOOLEAN NOT NULL DEFAULT false")
                                 : QStringLiteral("INTEGER NOT NULL DEFAULT 0");
        const QString decimal = pg ? QStringLiteral("DOUBLE PRECISION") : QStringLiteral("REAL");
        const QString hours = QStringLiteral(
                                  "(HorId INTEGER NOT NULL PRIMARY KEY, FunCedula VARCHAR(12), AreId VARCHAR(4), "
                                  "ActId VARCHAR(4), DesId VARCHAR(4), FunInsId INTEGER, HorFecha DATE, HorSemana "
                                  "INTEGER, HorValorhora %1, HorHoras %1, HorCategoria VARCHAR(2), TipId VARCHAR(4), "
                                  "HorMoneda VARCHAR(20), HorHorarioInicial TIME, HorHorarioFinal TIME)")
                                  .arg(decimal);
        const QStringList tables = {
            QStringLiteral("AREAS (AreId VARCHAR(4) PRIMARY KEY, AreDescripcion VARCHAR(30))"),
            QStringLiteral("ACTIVIDADES (ActId VARCHAR(4) PRIMARY KEY, ActDescripcion VARCHAR(30), ActEsDocente %1)")
                .arg(yesNo),
            QStringLiteral("DESTINOS (DesId VARCHAR(4) PRIMARY KEY, DesDescripcion VARCHAR(30))"),
            QStringLiteral("TIPOHORAS (TipId VARCHAR(4) PRIMARY KEY, TipDescripcion VARCHAR(30), TipPorcentaje %1)")
                .arg(decimal),
            QStringLiteral("FUNCIONARIOS (FunCedula VARCHAR(12) PRIMARY KEY, FunNombres VARCHAR(30), FunApellidos "
                           "VARCHAR(30), FunFacturador %1)")
                .arg(yesNo),
            QStringLiteral("HORAS ") + hours,
            QStringLiteral("HHORAS ") + hours,
            QStringLiteral("CIERREMESES (CieMesId INTEGER PRIMARY KEY, FunCedula VARCHAR(12), AreId VARCHAR(4), "
                           "CieMesMesCierre INTEGER, CieMesAnioCierre INTEGER, CieMesFechaCierre DATE, "
                           "CieMesAprobado %1, CieMesDesaprobado %1, CieMesCerrado %1)")
                .arg(yesNo),
        };
        for (const QString &t : tables) {
            const QString name = t.section(QLatin1Char(' '), 0, 0);
            exec(db, QStringLiteral("DROP TABLE IF EXISTS ") + name);
            exec(db, QStringLiteral("CREATE TABLE ") + t);
        }

        const auto rows = [&](const QString &insert, const QList<QVariantList> &values) {
            for (const QVariantList &v : values)
                exec(db, insert, v);
        };
        rows(QStringLiteral("INSERT INTO AREAS VALUES (?, ?)"),
             {{"A1", "Docencia"}, {"A2", QStringLiteral("Administración")}});
        rows(QStringLiteral("INSERT INTO ACTIVIDADES VALUES (?, ?, ?)"),
             {{"T1", "Clases", true}, {"N1", QStringLiteral("Secretaría"), false}});
        rows(QStringLiteral("INSERT INTO DESTINOS VALUES (?, ?)"), {{"D1", "Carrera"}});
        rows(QStringLiteral("INSERT INTO TIPOHORAS VALUES (?, ?, ?)"), {{"C", "Comunes", 1.0}, {"E", "Extras", 1.5}});
        rows(QStringLiteral("INSERT INTO FUNCIONARIOS VALUES (?, ?, ?, ?)"),
             {{"111", "Ana ", QStringLiteral("Pérez"), true}, {"222", "Luis", "O'Neill", false}});

        const QString pesos = QStringLiteral("Pesos Uruguayos");
        const QString dolares = QStringLiteral("Dolares");
        const QDate today = QDate::currentDate();
        const QDate newYear(today.year(), 1, 1);
        const QVariant noTime = QVariant(QMetaType(QMetaType::QTime));
        const QString insertHours = QStringLiteral("INSERT INTO %1 VALUES (?, ?, ?, ?, 'D1', ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
        // HorId, FunCedula, AreId, ActId, FunInsId, HorFecha, HorSemana, HorValorhora, HorHoras,
        // HorCategoria, TipId, HorMoneda, start, end
        rows(insertHours.arg(QLatin1String("HORAS")),
             {{1, "111", "A1", "T1", 1, QDate(2001, 11, 4), 45, 100.0, 2.0, "A", "C", pesos, QTime(8, 0), QTime(10, 0)},
              {2, "111", "A1", "N1", 1, QDate(2001, 11, 5), 45, 100.0, 1.5, "A", "E", pesos, noTime, noTime},
              {3, "111", "A1", "T1", 1, QDate(2001, 11, 6), 45, 100.0, 1.0, "A", "C", pesos, noTime, noTime},
              {4, "222", "A2", "N1", 2, QDate(2001, 12, 31), 1, 10.0, 3.0, "B", "C", dolares, noTime, noTime},
              {5, "222", "A1", "T1", 2, QDate(2002, 1, 2), 1, 10.0, 4.0, "B", "E", dolares, noTime, noTime}});
        rows(insertHours.arg(QLatin1String("HHORAS")),
             {{10, "111", "A1", "T1", 1, today, 1, 100.0, 2.0, "A", "C", pesos, noTime, noTime},
              {11, "222", "A2", "N1", 2, today, 1, 10.0, 5.0, "B", "E", dolares, noTime, noTime},
              {12, "111", "A1", "T1", 1, QDate(1999, 3, 15), 11, 100.0, 7.0, "A", "C", pesos, noTime, noTime},
              {13, "222", "A2", "N1", 2, newYear, 1, 10.0, 1.0, "B", "C", dolares, noTime, noTime}});
        rows(QStringLiteral("INSERT INTO CIERREMESES VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)"),
             {{1, "111", "A1", 11, 2001, QDate(2001, 11, 30), true, false, false},
              {2, "222", "A2", 12, 2001, QDate(2001, 12, 31), false, true, false}});
        QVERIFY(db.commit());
    }

    // Runs a dialect statement on a backend; each row as "value|value|..." of the named columns,
    // which must be in the result (found without regard to case).
    QStringList run(Backend backend, const QString &statement, const QStringList &columns)
    {
        QSqlDatabase db = database(backend);
        const QString sql = Dialect::translate(statement, backend);
        QSqlQuery q(db);
        q.setForwardOnly(true);
        if (!q.exec(sql)) {
            QTest::qFail(qPrintable(QStringLiteral("%1\n  -> %2").arg(sql, q.lastError().text())), __FILE__, __LINE__);
            return {QStringLiteral("<error>")};
        }
        QStringList rows;
        if (!q.isSelect())
            return rows;
        const QSqlRecord record = q.record();
        QList<int> positions;
        for (const QString &column : columns) {
            int found = -1;
            for (int i = 0; i < record.count() && found < 0; ++i)
                if (record.fieldName(i).compare(column, Qt::CaseInsensitive) == 0)
                    found = i;
            if (found < 0) {
                QTest::qFail(qPrintable(QStringLiteral("no column %1 in %2").arg(column, sql)), __FILE__, __LINE__);
                return {QStringLiteral("<error>")};
            }
            positions << found;
        }
        while (q.next()) {
            QStringList values;
            for (int p : positions)
                values << show(q.value(p));
            rows << values.join(QLatin1Char('|'));
        }
        return rows;
    }

    void exec(QSqlDatabase &db, const QString &sql, const QVariantList &values = {})
    {
        QSqlQuery q(db);
        if (values.isEmpty()) {
            QVERIFY2(q.exec(sql), qPrintable(sql + QLatin1String(": ") + q.lastError().text()));
            return;
        }
        QVERIFY2(q.prepare(sql), qPrintable(sql + QLatin1String(": ") + q.lastError().text()));
        for (const QVariant &v : values)
            q.addBindValue(v);
        QVERIFY2(q.exec(), qPrintable(sql + QLatin1String(": ") + q.lastError().text()));
    }

    QTemporaryDir m_dir;
    bool m_postgres = false;
    QString m_pgSchema;
};

QTEST_GUILESS_MAIN(TestDialect)
#include "tst_dialect.moc"

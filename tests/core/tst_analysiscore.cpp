// The budget and the statistics without any window, on a fresh store: what each budget
// query sums per group and per currency, the order of the chart's groups, and the reading of
// small results without a server cursor.
#include "TempStore.h"
#include "analysis/AnalysisFixture.h"
#include "core/BudgetQuery.h"
#include "core/StatisticsQuery.h"
#include "store/Connection.h"
#include "ui/Application.h"

#include <QTest>

using namespace Qt::StringLiterals;

using namespace analysis_tests;
using core::BudgetQuery;
using core::StatisticsQuery;
using store::Connection;

Q_DECLARE_METATYPE(BudgetQuery)
Q_DECLARE_METATYPE(StatisticsQuery::Filter)
Q_DECLARE_METATYPE(Connection::Reading)

namespace {

const int Y = QDate::currentDate().year();

// One line per row ("hours|amount|currency|type|destination|activity"), sorted: the store
// gives groups in its own order.
QStringList lines(const store::ResultSet &rs)
{
    QStringList out;
    for (const store::Row &row : rs.rows) {
        QStringList cells;
        for (int c = 0; c < row.size(); ++c)
            cells << (c < 2 ? QString::number(row.at(c).toDouble()) : row.at(c).toString());
        out << cells.join(u'|');
    }
    out.sort();
    return out;
}

// What the server is running for this very statement on the connection that sends it.
QString ownStatement(Connection &conn)
{
    return conn.selectNative(u"SELECT query FROM pg_stat_activity WHERE pid = pg_backend_pid()"_s).rows.at(0).at(0).toString();
}

}  // namespace

class TestAnalysisCore : public QObject {
    Q_OBJECT
private slots:
    void budgetSumsPerGroupAndCurrency_data()
    {
        QTest::addColumn<BudgetQuery>("query");
        QTest::addColumn<QStringList>("rows");
        QTest::addColumn<double>("pesos");
        QTest::addColumn<double>("dolares");
        using P = BudgetQuery::Period;
        using A = BudgetQuery::Activities;
        const QStringList clasesPesos = {"2|200|Pesos Uruguayos|Comunes|Cursos|Clases",
                                         "4|600|Pesos Uruguayos|Extra|Cursos|Clases"};
        const QStringList tareas = {"1.5|300|pesos|Comunes|Cursos|Tareas", "3|31.5|Dolares|Comunes|Cursos|Tareas"};

        BudgetQuery q;
        // Whatever its date; a currency spelt otherwise than "Dolares" counts as pesos.
        QTest::newRow("mes en curso") << q
                                      << QStringList{"1|50|DOLARES|Comunes|Cursos|Clases", "2|60|Dolares|Extra|Cursos|Clases"}
                                      << 50.0 << 60.0;
        q.area = u"DOC"_s;
        QTest::newRow("mes en curso, un área") << q << QStringList{"1|50|DOLARES|Comunes|Cursos|Clases"} << 50.0 << 0.0;
        q = {};
        q.period = P::CurrentYear;  // last year's record left out; type EXT multiplies by 1.5
        QTest::newRow("año en curso") << q << clasesPesos + tareas << 1100.0 << 31.5;
        q.activities = A::Teaching;
        QTest::newRow("docentes") << q << clasesPesos << 800.0 << 0.0;
        q.activities = A::NonTeaching;
        QTest::newRow("no docentes") << q << tareas << 300.0 << 31.5;
        q.area = u"ADM"_s;
        q.areaPlace = BudgetQuery::AreaPlace::AfterPeriod;
        QTest::newRow("no docentes de un área") << q << QStringList{tareas.at(0)} << 300.0 << 0.0;
        q = {};
        q.period = P::Range;
        q.from = QDate(Y - 1, 12, 31);
        q.to = QDate(Y, 1, 10);
        QTest::newRow("período, extremos incluidos") << q << QStringList{"3|1200|Pesos Uruguayos|Comunes|Cursos|Clases"}
                                                    << 1200.0 << 0.0;
        std::swap(q.from, q.to);
        QTest::newRow("período al revés") << q << QStringList() << 0.0 << 0.0;
        q = {};
        q.area = u"D'O"_s;
        QTest::newRow("área con apóstrofo") << q << QStringList() << 0.0 << 0.0;
    }

    void budgetSumsPerGroupAndCurrency()
    {
        QFETCH(BudgetQuery, query);
        QFETCH(QStringList, rows);
        QFETCH(double, pesos);
        QFETCH(double, dolares);
        tests::TempStore db(tests::TempStore::Content::Schema);
        fillBudgetStore(db);
        const store::ResultSet result = query.run(db.conn());
        rows.sort();
        QCOMPARE(lines(result), rows);
        const core::BudgetTotals totals = core::BudgetTotals::of(result);
        QCOMPARE(totals.pesos, pesos);
        QCOMPARE(totals.dolares, dolares);
    }

    void chartGroupsKeepTheOrderOfTheirFirstRecord_data()
    {
        QTest::addColumn<StatisticsQuery::Filter>("filter");
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("changeFirst");
        QTest::addColumn<QStringList>("groups");
        using F = StatisticsQuery::Filter;
        // The records as stored: Tareas/ADM, Clases/DOC, Clases/ADM, Tareas/ADM again, Clases/DOC
        // on the other destination, Tareas/ADM on a third destination that shares the first one's
        // text (one group: the chart groups by texts). Groups: area|activity|destination|type|hours.
        const QStringList all = {"Administración|Tareas|Cursos|Comunes|6", "Docencia|Clases|Cursos|Extra|2",
                                 "Administración|Clases|Cursos|Comunes|3", "Docencia|Clases|Extensión|Comunes|4"};
        QTest::newRow("todo") << F::None << QString() << false << all;
        // A changed record keeps its place: on PostgreSQL its new version stands last in the table.
        QTest::newRow("primero cambiado") << F::None << QString() << true << all;
        QTest::newRow("docentes") << F::Teaching << QString() << false << all.mid(1);
        QTest::newRow("un área") << F::Area << u"DOC"_s << false
                                 << QStringList{all.at(1), all.at(3)};
        QTest::newRow("nadie") << F::Staff << QString() << false << QStringList();
    }

    void chartGroupsKeepTheOrderOfTheirFirstRecord()
    {
        QFETCH(StatisticsQuery::Filter, filter);
        QFETCH(QString, value);
        QFETCH(bool, changeFirst);
        QFETCH(QStringList, groups);
        tests::TempStore db(tests::TempStore::Content::Schema);
        insertCatalogues(db);
        db.execNative(u"INSERT INTO DESTINOS (DesId, DesDescripcion) VALUES ('EXT', 'Extensión')"_s);
        db.execNative(u"INSERT INTO DESTINOS (DesId, DesDescripcion) VALUES ('CU2', 'Cursos')"_s);
        const QDate d(Y, 1, 10);
        const Hour hours[] = {
            {d, "ADM", "TAR", "COM", 2, 1, "Dolares"},        {d, "DOC", "CLA", "EXT", 2, 1, "Dolares"},
            {d, "ADM", "CLA", "COM", 3, 1, "Dolares"},        {d, "ADM", "TAR", "COM", 3, 1, "Dolares"},
            {d, "DOC", "CLA", "COM", 4, 1, "Dolares", "EXT"}, {d, "ADM", "TAR", "COM", 1, 1, "Dolares", "CU2"},
        };
        for (const Hour &h : hours)
            insertHour(db, h, "HHORAS");
        if (changeFirst) {
            db.execNative(u"UPDATE HHORAS SET HorHoras = 2.0 WHERE HorId = 1"_s);
            if (db.backend() == store::Backend::PostgreSQL)  // the case: the table no longer reads in key order
                QCOMPARE(db.selectNative(u"SELECT HorId FROM HHORAS"_s).rows.back().at(0).toInt(), 1);
        }

        const auto conn = Connection::open(u"DSN=RRHHODBC"_s, Connection::Reading::Whole);
        const store::ShapeResult totals = StatisticsQuery::totals(StatisticsQuery::statement(filter, {}, {}, value), *conn);
        QStringList got;
        for (std::size_t r = 0; r < totals.size(); ++r) {
            QStringList cells;
            for (const char *c : {"AreDescripcion", "ActDescripcion", "DesDescripcion", "TipDescripcion"})
                cells << totals.value(r, QLatin1String(c)).toString();
            cells << QString::number(totals.value(r, u"HorHoras"_s).toDouble());
            got << cells.join(u'|');
        }
        QCOMPARE(got, groups);
    }

    void smallResultsAreReadWhole_data()
    {
        QTest::addColumn<Connection::Reading>("reading");
        QTest::newRow("cursor") << Connection::Reading::Cursor;
        QTest::newRow("entero") << Connection::Reading::Whole;
    }

    // On PostgreSQL a whole read sends the statement itself, not a cursor over it, and stays so
    // when a lost connection is opened again for the read to be sent once more. On SQLite both
    // readings are one connection.
    void smallResultsAreReadWhole()
    {
        QFETCH(Connection::Reading, reading);
        tests::TempStore db(tests::TempStore::Content::Schema);
        const QString dsn = u"DSN=RRHHODBC"_s;
        const auto cursor = Connection::shared(dsn);
        const auto conn = Connection::shared(dsn, reading);
        if (db.backend() == store::Backend::SQLite) {
            QCOMPARE(conn.get(), cursor.get());
            return;
        }
        QCOMPARE(conn.get() == cursor.get(), reading == Connection::Reading::Cursor);
        const bool whole = reading == Connection::Reading::Whole;
        QCOMPARE(ownStatement(*conn).startsWith(u"SELECT query"_s, Qt::CaseInsensitive), whole);

        const QVariant pid = conn->selectNative(u"SELECT pg_backend_pid()"_s).rows.at(0).at(0);
        QVERIFY(db.scalar(u"SELECT pg_terminate_backend(?)"_s, {pid}).toBool());
        QTRY_COMPARE(db.scalar(u"SELECT COUNT(*) FROM pg_stat_activity WHERE pid = ?"_s, {pid}).toInt(), 0);
        QCOMPARE(ownStatement(*conn).startsWith(u"SELECT query"_s, Qt::CaseInsensitive), whole);
        QVERIFY(conn->selectNative(u"SELECT pg_backend_pid()"_s).rows.at(0).at(0) != pid);
    }
};

TEMPALIA_TEST_MAIN(TestAnalysisCore)
#include "tst_analysiscore.moc"

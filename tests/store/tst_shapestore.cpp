// The SHAPE grouping on a real store: the totals worked out by the store give the same
// groups, in the same order, with the same sums as the grouping done in the client.
#include "TempStore.h"
#include "store/Shape.h"
#include "ui/Application.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestShapeStore : public QObject {
    Q_OBJECT
private slots:
    void totalsMatchClientGrouping_data()
    {
        QTest::addColumn<QString>("clause");
        QTest::newRow("whole archive") << QString();
        QTest::newRow("teaching only") << u" AND ACT.ACTESDOCENTE"_s;
        QTest::newRow("one person") << u" AND H.FUNCEDULA='11111111'"_s;
        QTest::newRow("nothing") << u" AND H.FUNCEDULA='nadie'"_s;
    }

    void totalsMatchClientGrouping()
    {
        QFETCH(QString, clause);
        tests::TempStore store;
        // A Null in a grouping column and in the hours, which both sides must group alike.
        store.execNative(u"UPDATE HHORAS SET HorHoras = NULL WHERE HorId = (SELECT MIN(HorId) FROM HHORAS)"_s);
        const QString shape = u"SHAPE {select HorId,AreDescripcion,ActDescripcion,TipDescripcion,DesDescripcion,HorHoras "
                              "from HHoras H, Areas ARE, Actividades ACT, Destinos D, TipoHoras T WHERE H.AREID=ARE.AREID "
                              "AND H.ACTID=ACT.ACTID AND H.DESID=D.DESID AND H.TIPID=T.TIPID%1 } AS ChildCommand COMPUTE "
                              "ChildCommand, SUM(ChildCommand.[HorHoras]) AS [HorHoras] BY [AreDescripcion], "
                              "[ActDescripcion], [DesDescripcion], [TipDescripcion]"_s.arg(clause);
        const auto run = [&](const QString &s) { return store.conn().select(s); };
        const store::ShapeResult client = store::runShape(shape, run);
        const store::ShapeResult totals = store::runShapeTotals(shape, run);
        QCOMPARE(totals.columns(), client.columns());
        QCOMPARE(totals.size(), client.size());
        for (std::size_t r = 0; r < client.size(); ++r)
            for (const char *c : {"AreDescripcion", "ActDescripcion", "DesDescripcion", "TipDescripcion", "HorHoras"})
                QCOMPARE(totals.value(r, QLatin1String(c)).toString(), client.value(r, QLatin1String(c)).toString());
    }
};

TEMPALIA_TEST_MAIN(TestShapeStore)
#include "tst_shapestore.moc"

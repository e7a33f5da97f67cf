// The month close without any window: how it settles a row an interrupted close left in
// both tables.
#include "TempStore.h"
#include "core/MonthClose.h"
#include "ui/Application.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestMonthCloseCore : public QObject {
    Q_OBJECT
private slots:
    // A row an interrupted close of an older version left in both tables: the close keeps the
    // one in HORAS, the only one a user could have changed since.
    void rowLeftInBothTablesKeepsTheCurrentOne()
    {
        tests::TempStore db;
        const QDate cutOff = QDate::currentDate();
        const auto inBoth = [&] {
            return db.scalar(u"SELECT COUNT(*) FROM HORAS H WHERE EXISTS (SELECT 1 FROM HHORAS A WHERE A.HorId = H.HorId)"_s)
                .toInt();
        };
        const QVariant horId = db.scalar(u"SELECT MIN(HorId) FROM HORAS WHERE AreId='DOC' AND HorFecha <= ?"_s, {cutOff});
        db.execNative(u"INSERT INTO HHORAS SELECT * FROM HORAS WHERE HorId = ?"_s, {horId});
        db.execNative(u"UPDATE HORAS SET HorHoras = 6.5 WHERE HorId = ?"_s, {horId});
        QCOMPARE(inBoth(), 1);
        core::MonthClose(u"DOC"_s, cutOff).run(db.conn());
        QCOMPARE(inBoth(), 0);
        QCOMPARE(db.scalar(u"SELECT HorHoras FROM HHORAS WHERE HorId = ?"_s, {horId}).toDouble(), 6.5);
    }
};

TEMPALIA_TEST_MAIN(TestMonthCloseCore)
#include "tst_monthclosecore.moc"

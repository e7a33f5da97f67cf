// The month close without any window: what it moves, how it settles a row left in both
// tables, and (on PostgreSQL, where writers do not queue) that changes other users commit
// while it runs are neither lost nor archived stale.
#include "TempStore.h"
#include "core/MonthClose.h"
#include "store/Connection.h"
#include "store/StoreError.h"
#include "ui/Application.h"

#include <QElapsedTimer>
#include <QTest>
#include <thread>

class TestMonthCloseCore : public QObject {
    Q_OBJECT
private slots:
    void movesTheAreaUpToTheCutOffAndMarksTheClose();
    void rowLeftInBothTablesKeepsTheCurrentOne();
    void changesCommittedDuringTheCloseAreKept();
};

namespace {

int inBoth(tests::TempStore &db)
{
    return db.scalar(QStringLiteral("SELECT COUNT(*) FROM HORAS H WHERE EXISTS (SELECT 1 FROM HHORAS A WHERE "
                                    "A.HorId = H.HorId)"))
        .toInt();
}

}  // namespace

void TestMonthCloseCore::movesTheAreaUpToTheCutOffAndMarksTheClose()
{
    tests::TempStore db;
    const QDate cutOff = QDate::currentDate().addDays(-20);
    const qlonglong id = tests::approvedClose(db, cutOff);
    const int due = db.count(QStringLiteral("HORAS"), QStringLiteral("AreId='DOC' AND HorFecha <= ?"), {cutOff});
    const int later = db.count(QStringLiteral("HORAS"), QStringLiteral("AreId='DOC' AND HorFecha > ?"), {cutOff});
    const int others = db.count(QStringLiteral("HORAS"), QStringLiteral("AreId<>'DOC'"));
    const int archived = db.count(QStringLiteral("HHORAS"));
    QVERIFY(due > 0 && later > 0 && others > 0);

    QCOMPARE(core::MonthClose(QStringLiteral("DOC"), cutOff, id).run(db.conn()), due);
    QCOMPARE(db.count(QStringLiteral("HORAS"), QStringLiteral("AreId='DOC' AND HorFecha <= ?"), {cutOff}), 0);
    QCOMPARE(db.count(QStringLiteral("HORAS"), QStringLiteral("AreId='DOC'")), later);
    QCOMPARE(db.count(QStringLiteral("HORAS"), QStringLiteral("AreId<>'DOC'")), others);
    QCOMPARE(db.count(QStringLiteral("HHORAS")), archived + due);
    QVERIFY(db.scalar(QStringLiteral("SELECT CieMesCerrado FROM CIERREMESES WHERE CieMesId = ?"), {id}).toBool());
    // A second close to the same date moves nothing more.
    QCOMPARE(core::MonthClose(QStringLiteral("DOC"), cutOff).run(db.conn()), 0);
    QCOMPARE(inBoth(db), 0);
}

// A row an interrupted close of an older version left in both tables: the close keeps the
// one in HORAS, the only one a user could have changed since.
void TestMonthCloseCore::rowLeftInBothTablesKeepsTheCurrentOne()
{
    tests::TempStore db;
    const QDate cutOff = QDate::currentDate();
    const qlonglong horId =
        db.scalar(QStringLiteral("SELECT MIN(HorId) FROM HORAS WHERE AreId='DOC' AND HorFecha <= ?"), {cutOff}).toLongLong();
    db.execNative(QStringLiteral("INSERT INTO HHORAS SELECT * FROM HORAS WHERE HorId = ?"), {horId});
    db.execNative(QStringLiteral("UPDATE HORAS SET HorHoras = 6.5 WHERE HorId = ?"), {horId});
    QCOMPARE(inBoth(db), 1);
    core::MonthClose(QStringLiteral("DOC"), cutOff).run(db.conn());
    QCOMPARE(inBoth(db), 0);
    QCOMPARE(db.scalar(QStringLiteral("SELECT HorHoras FROM HHORAS WHERE HorId = ?"), {horId}).toDouble(), 6.5);
}

// Another session holds KEY SHARE locks on the area's rows but three: the close's delete
// stops at the first of them, after its copy. Meanwhile another user changes the hours of
// one of the three, moves one past the cut-off and deletes the third, and commits. The
// close then finds those rows changed since its snapshot, starts again, and archives the
// rows as they are.
void TestMonthCloseCore::changesCommittedDuringTheCloseAreKept()
{
    tests::TempStore db;
    if (db.backend() != store::Backend::PostgreSQL)
        QSKIP("SQLite has one writer at a time: nobody can commit while the close runs");
    const QDate cutOff = QDate::currentDate();
    const qlonglong model =
        db.scalar(QStringLiteral("SELECT MIN(HorId) FROM HORAS WHERE AreId='DOC' AND HorFecha <= ?"), {cutOff}).toLongLong();
    const qlonglong changed = tests::copyOfHourRow(db, model, cutOff);
    const qlonglong redated = tests::copyOfHourRow(db, model, cutOff);
    const qlonglong deleted = tests::copyOfHourRow(db, model, cutOff);
    const int due = db.count(QStringLiteral("HORAS"), QStringLiteral("AreId='DOC' AND HorFecha <= ?"), {cutOff});

    const qlonglong lastLine = db.scalar(QStringLiteral("SELECT MAX(HisId) FROM HORAS_HISTORIAL")).toLongLong();

    auto locker = store::Connection::open();
    locker->beginTransaction();
    const store::ResultSet locked = locker->selectNative(
        QStringLiteral("SELECT HorId FROM HORAS WHERE AreId = 'DOC' AND HorFecha <= ? AND HorId NOT IN (?, ?, ?) FOR "
                       "KEY SHARE"),
        {cutOff, changed, redated, deleted});
    QCOMPARE(int(locked.rows.size()), due - 3);

    int moved = -1;
    QString failure;
    std::thread close([&] {
        try {
            moved = core::MonthClose(QStringLiteral("DOC"), cutOff).run(QStringLiteral("DSN=RRHHODBC"));
        } catch (const store::StoreError &e) {
            failure = e.description();
        }
    });
    auto joined = qScopeGuard([&] {
        if (locker->inTransaction())
            locker->rollback();
        close.join();
    });
    QElapsedTimer waited;
    waited.start();
    bool waiting = false;
    while (!waiting && waited.elapsed() < 30000) {
        // The delete is the close's only statement that waits for those locks, whether the
        // close sends it itself or through the store's function.
        waiting = db.scalar(QStringLiteral("SELECT count(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock' AND "
                                           "(query LIKE 'DELETE%HORAS%' OR query LIKE '%tempalia_cierre_mover%')"))
                      .toInt() > 0;
        if (!waiting)
            QTest::qWait(20);
    }
    QVERIFY2(waiting, "the close's delete was never seen waiting after its copy");

    db.execNative(QStringLiteral("UPDATE HORAS SET HorHoras = 9.75 WHERE HorId = ?"), {changed});
    db.execNative(QStringLiteral("UPDATE HORAS SET HorFecha = ? WHERE HorId = ?"), {cutOff.addDays(10), redated});
    db.execNative(QStringLiteral("DELETE FROM HORAS WHERE HorId = ?"), {deleted});
    QCOMPARE(moved, -1);  // still under way
    locker->commit();
    joined.dismiss();
    close.join();

    QVERIFY2(failure.isEmpty(), qPrintable(failure));
    QCOMPARE(moved, due - 2);
    QCOMPARE(inBoth(db), 0);
    QCOMPARE(db.scalar(QStringLiteral("SELECT HorHoras FROM HHORAS WHERE HorId = ?"), {changed}).toDouble(), 9.75);
    QCOMPARE(db.count(QStringLiteral("HORAS"), QStringLiteral("HorId = ?"), {redated}), 1);
    QCOMPARE(db.count(QStringLiteral("HHORAS"), QStringLiteral("HorId = ?"), {redated}), 0);
    QCOMPARE(db.count(QStringLiteral("HORAS"), QStringLiteral("HorId = ?"), {deleted}), 0);
    QCOMPARE(db.count(QStringLiteral("HHORAS"), QStringLiteral("HorId = ?"), {deleted}), 0);
    // The attempt that was rolled back left no line: one for the close, for what it moved.
    const QString archive = QStringLiteral("HisTipo = 'Archivo' AND HisId > ?");
    QCOMPARE(db.count(QStringLiteral("HORAS_HISTORIAL"), archive, {lastLine}), 1);
    QCOMPARE(db.scalar(QStringLiteral("SELECT HisFilas FROM HORAS_HISTORIAL WHERE ") + archive, {lastLine}).toInt(),
             due - 2);
}

TEMPALIA_TEST_MAIN(TestMonthCloseCore)
#include "tst_monthclosecore.moc"

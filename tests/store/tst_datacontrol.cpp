// The data control on a real store: reading, moving, writing, the key the store assigns,
// refused writes and the optimistic lock between two controls.
#include "TempStore.h"
#include "store/Connection.h"
#include "store/DataControl.h"
#include "store/StoreError.h"
#include "ui/Application.h"
#include "ui/DataGrid.h"

#include <QScrollBar>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include <random>

using store::DataControl;
using store::StoreError;

class TestDataControl : public QObject {
    Q_OBJECT
private slots:
    void positionsAndMoves();
    void emptyResult();
    void addNewLearnsAssignedKey();
    void refusedWriteKeepsRowInEdit_data();
    void refusedWriteKeepsRowInEdit();
    void updateAndDeleteReachTheStore();
    void optimisticConflictBetweenTwoControls();
    void rowGoneOnUpdateAndDelete();
    void lazyReadOfLargeTable();
    void gridScrollReadsChunks_data();
    void gridScrollReadsChunks();
    void rowCacheStaysBounded_data();
    void rowCacheStaysBounded();
    void joinStatementWritesItsStarTable();
    void movingAwaySavesPendingChanges();
};

void TestDataControl::positionsAndMoves()
{
    tests::TempStore store;
    DataControl adc(QStringLiteral("adcAreas"));
    adc.setRecordSource(QStringLiteral("SELECT * FROM AREAS ORDER BY AREID"));
    adc.refresh();
    adc.refresh();  // twice, as the windows do: the same result
    QCOMPARE(adc.recordCount(), 3);
    QCOMPARE(adc.absolutePosition(), 1);
    QCOMPARE(adc.value(QStringLiteral("areid")).toString(), QStringLiteral("ADM"));
    adc.moveNext();
    QCOMPARE(adc.value(QStringLiteral("AreId")).toString(), QStringLiteral("DOC"));
    adc.moveLast();
    QCOMPARE(adc.absolutePosition(), 3);
    adc.moveNext();
    QVERIFY(adc.eof());
    QCOMPARE(adc.absolutePosition(), DataControl::PosEOF);
    QVERIFY_THROWS_EXCEPTION(StoreError, adc.value(QStringLiteral("AreId")));
    adc.moveFirst();
    adc.movePrevious();
    QVERIFY(adc.bof());
    QCOMPARE(adc.absolutePosition(), DataControl::PosBOF);
    try {
        adc.value(QStringLiteral("AreId"));
        QFAIL("no current row must throw");
    } catch (const StoreError &e) {
        QCOMPARE(e.number(), 3021);
    }
}

void TestDataControl::emptyResult()
{
    tests::TempStore store;
    DataControl adc(QStringLiteral("adcHoras"));
    adc.setRecordSource(QStringLiteral("SELECT * FROM HORAS WHERE FUNCEDULA='nadie'"));
    adc.refresh();
    QCOMPARE(adc.recordCount(), 0);
    QVERIFY(adc.eof() && adc.bof());
    QVERIFY(!adc.hasCurrentRow());
    QVERIFY_THROWS_EXCEPTION(StoreError, adc.moveFirst());
    QCOMPARE(adc.fields().size(), 15);  // columns known without rows
}

void TestDataControl::addNewLearnsAssignedKey()
{
    tests::TempStore store;
    DataControl adc(QStringLiteral("adcHoras"));
    adc.setRecordSource(QStringLiteral("SELECT * FROM HORAS"));
    adc.refresh();
    const int before = store.count(QStringLiteral("HORAS"));
    // Someone else inserts meanwhile: our key must still be our own row's.
    store.execNative(QStringLiteral("INSERT INTO HORAS (FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, TipId) "
                                    "VALUES ('22222222', 'DOC', 'CLA', 'CUR', 1, '2026-01-05', 'COM')"));
    adc.addNew();
    QVERIFY(adc.absolutePosition() > 0);  // a new row counts as a row
    adc.setValue(QStringLiteral("FunCedula"), QStringLiteral("11111111"));
    adc.setValue(QStringLiteral("AreId"), QStringLiteral("DOC"));
    adc.setValue(QStringLiteral("ActId"), QStringLiteral("REU"));
    adc.setValue(QStringLiteral("DesId"), QStringLiteral("CUR"));
    adc.setValue(QStringLiteral("FunInsId"), 1);
    adc.setValue(QStringLiteral("HorFecha"), QDate(2026, 3, 4));
    adc.setValue(QStringLiteral("HorHoras"), QStringLiteral("2,5"));
    adc.setValue(QStringLiteral("HorValorhora"), 350);
    adc.setValue(QStringLiteral("TipId"), QStringLiteral("COM"));
    adc.setValue(QStringLiteral("HorHorarioInicial"), QTime(8, 30));
    adc.update();
    const qlonglong key = adc.lastInsertedKey().toLongLong();
    QVERIFY(key > 0);
    QCOMPARE(store.count(QStringLiteral("HORAS")), before + 2);
    const auto row = store.selectNative(QStringLiteral("SELECT FunCedula, HorHoras, HorFecha, HorHorarioInicial "
                                                       "FROM HORAS WHERE HorId = ?"),
                                        {key});
    QCOMPARE(row.value(0, QStringLiteral("FunCedula")).toString(), QStringLiteral("11111111"));
    QCOMPARE(row.value(0, QStringLiteral("HorHoras")).toDouble(), 2.5);
    QCOMPARE(row.value(0, QStringLiteral("HorFecha")).toDate(), QDate(2026, 3, 4));
    QCOMPARE(row.value(0, QStringLiteral("HorHorarioInicial")).toTime(), QTime(8, 30));
    QCOMPARE(adc.value(QStringLiteral("HorId")).toLongLong(), key);
}

void TestDataControl::refusedWriteKeepsRowInEdit_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("message");
    QTest::newRow("duplicate key") << "TipId" << QVariant(QStringLiteral("COM")) << "Ya existe un registro con esa clave.";
    QTest::newRow("empty key") << "TipId" << QVariant(QString()) << "Falta un valor obligatorio";
    QTest::newRow("key too long") << "TipId" << QVariant(QStringLiteral("ABCDE")) << "TipId";
    QTest::newRow("factor not a number") << "TipPorcentaje" << QVariant(QStringLiteral("uno")) << "no es un número";
}

void TestDataControl::refusedWriteKeepsRowInEdit()
{
    QFETCH(QString, field);
    QFETCH(QVariant, value);
    QFETCH(QString, message);
    tests::TempStore store;
    DataControl adc(QStringLiteral("adcTipoHoras"));
    adc.setRecordSource(QStringLiteral("SELECT * FROM TIPOHORAS ORDER BY TIPDESCRIPCION ASC"));
    adc.refresh();
    adc.addNew();
    adc.setValue(QStringLiteral("TipId"), QStringLiteral("NUE"));
    adc.setValue(QStringLiteral("TipDescripcion"), QStringLiteral("Nueva"));
    adc.setValue(QStringLiteral("TipPorcentaje"), 1.25);
    adc.setValue(field, value);
    try {
        adc.update();
        QFAIL("the store must refuse the row");
    } catch (const StoreError &e) {
        QVERIFY2(e.description().contains(message, Qt::CaseInsensitive) ||
                     (message == QLatin1String("TipId") && e.description().contains(QLatin1String("largo"))),
                 qPrintable(e.description()));
    }
    QVERIFY(adc.isNewRow());
    QVERIFY(adc.isEditing());
    QCOMPARE(adc.value(QStringLiteral("TipDescripcion")).toString(), QStringLiteral("Nueva"));
    QCOMPARE(store.count(QStringLiteral("TIPOHORAS")), 3);
    // Corrected, the same pending row goes in.
    adc.setValue(QStringLiteral("TipId"), QStringLiteral("NUE"));
    adc.setValue(QStringLiteral("TipPorcentaje"), QStringLiteral("1,25"));
    adc.update();
    QCOMPARE(store.count(QStringLiteral("TIPOHORAS"), QStringLiteral("TipId = 'NUE' AND TipPorcentaje = 1.25")), 1);
}

void TestDataControl::updateAndDeleteReachTheStore()
{
    tests::TempStore store;
    DataControl adc(QStringLiteral("adcAreas"));
    adc.setRecordSource(QStringLiteral("SELECT * FROM AREAS ORDER BY AREID"));
    adc.refresh();
    adc.setValue(QStringLiteral("AreDescripcion"), QStringLiteral("Administración O'Neill"));
    adc.update();
    QCOMPARE(store.scalar(QStringLiteral("SELECT AreDescripcion FROM AREAS WHERE AreId = 'ADM'")).toString(),
             QStringLiteral("Administración O'Neill"));
    // A key changed in place: the row is found by the key it was read with.
    adc.setValue(QStringLiteral("AreId"), QStringLiteral("AD2"));
    adc.update();
    QCOMPARE(store.count(QStringLiteral("AREAS"), QStringLiteral("AreId = 'AD2'")), 1);
    QCOMPARE(store.count(QStringLiteral("AREAS"), QStringLiteral("AreId = 'ADM'")), 0);

    DataControl links(QStringLiteral("adcAreasActividades"));
    links.setRecordSource(QStringLiteral("SELECT * FROM AREAS_ACTIVIDADES WHERE AREID='DOC' ORDER BY ACTID"));
    links.refresh();
    QCOMPARE(links.recordCount(), 3);
    links.deleteCurrent();
    QCOMPARE(store.count(QStringLiteral("AREAS_ACTIVIDADES"), QStringLiteral("AreId = 'DOC'")), 2);
    QCOMPARE(links.recordCount(), 2);
    QCOMPARE(links.absolutePosition(), 1);
}

void TestDataControl::optimisticConflictBetweenTwoControls()
{
    tests::TempStore store;
    DataControl first(QStringLiteral("adcFirst"));
    DataControl second(QStringLiteral("adcSecond"));
    for (DataControl *adc : {&first, &second}) {
        adc->setRecordSource(QStringLiteral("SELECT * FROM DESTINOS WHERE DESID='CUR'"));
        adc->refresh();
    }
    first.setValue(QStringLiteral("DesDescripcion"), QStringLiteral("Primero"));
    first.update();
    second.setValue(QStringLiteral("DesDescripcion"), QStringLiteral("Segundo"));
    try {
        second.update();
        QFAIL("the second write must be refused");
    } catch (const StoreError &e) {
        QCOMPARE(e.kind(), StoreError::Kind::Conflict);
        QVERIFY(e.description().contains(QStringLiteral("Otro usuario")));
    }
    QVERIFY(second.isEditing());
    QCOMPARE(store.scalar(QStringLiteral("SELECT DesDescripcion FROM DESTINOS WHERE DesId = 'CUR'")).toString(),
             QStringLiteral("Primero"));
    second.refresh();
    second.setValue(QStringLiteral("DesDescripcion"), QStringLiteral("Segundo"));
    second.update();
    QCOMPARE(store.scalar(QStringLiteral("SELECT DesDescripcion FROM DESTINOS WHERE DesId = 'CUR'")).toString(),
             QStringLiteral("Segundo"));
}

void TestDataControl::rowGoneOnUpdateAndDelete()
{
    tests::TempStore store;
    DataControl adc(QStringLiteral("adcHoras"));
    adc.setRecordSource(QStringLiteral("SELECT * FROM HORAS WHERE FUNCEDULA='11111111' ORDER BY HORFECHA"));
    adc.refresh();
    QVERIFY(adc.recordCount() > 0);
    const qlonglong id = adc.value(QStringLiteral("HorId")).toLongLong();
    store.execNative(QStringLiteral("DELETE FROM HORAS WHERE HorId = ?"), {id});
    adc.setValue(QStringLiteral("HorHoras"), 9);
    try {
        adc.update();
        QFAIL("must be refused");
    } catch (const StoreError &e) {
        QCOMPARE(e.kind(), StoreError::Kind::RowGone);
    }
    adc.cancelUpdate();
    try {
        adc.deleteCurrent();
        QFAIL("must be refused");
    } catch (const StoreError &e) {
        QCOMPARE(e.kind(), StoreError::Kind::RowGone);
    }
}

namespace {

// Adds `n` hour rows, copies of those already there.
void addHourRows(tests::TempStore &store, int n)
{
    const QString cols = QStringLiteral("FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, HorSemana, HorValorhora, "
                                        "HorHoras, HorCategoria, TipId, HorMoneda");
    for (int left = n; left > 0;) {
        const int copied = store.execNative(QStringLiteral("INSERT INTO HORAS (%1) SELECT %1 FROM HORAS ORDER BY HorId "
                                                           "LIMIT %2").arg(cols).arg(left));
        QVERIFY(copied > 0);
        left -= copied;
    }
}

QList<qlonglong> storedKeys(tests::TempStore &store, const QString &sql)
{
    QList<qlonglong> keys;
    for (const store::Row &r : store.selectNative(sql).rows)
        keys << r.value(0).toLongLong();
    return keys;
}

}  // namespace

void TestDataControl::lazyReadOfLargeTable()
{
    tests::TempStore store;
    addHourRows(store, 300);
    const int total = store.count(QStringLiteral("HORAS"));
    QVERIFY(total > 300);
    DataControl adc(QStringLiteral("adcHoras"));
    adc.setRecordSource(QStringLiteral("SELECT * FROM HORAS"));
    adc.refresh();
    QVERIFY(adc.fetchedCount() < total);   // opening reads only the first rows
    QCOMPARE(adc.recordCount(), total);    // counted, not read
    QVERIFY(!adc.allFetched());
    int seen = 1;
    while (true) {
        adc.moveNext();
        if (adc.eof())
            break;
        ++seen;
        // A move reads one more chunk at a time, never the whole rest.
        QVERIFY2(adc.fetchedCount() <= seen + 2 * store::RowCache::kLargestChunk, qPrintable(QString::number(seen)));
    }
    QCOMPARE(seen, total);
    QVERIFY(adc.allFetched());
}

// A grid over a long list, scrolled as a user does: the first scroll past the opening rows
// reads one chunk, not the rest; scrolled page by page to the end every row shows once, in
// the statement's order, also when a row was deleted on the way; and back at the top. The
// rest of the list comes from one statement left open, which another user's write neither
// waits for nor changes.
void TestDataControl::gridScrollReadsChunks_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("keys");  // the same rows' keys in the same order
    QTest::addColumn<bool>("deleteOnTheWay");
    QTest::addColumn<bool>("otherUserWrites");  // while the rest of the list is open
    QTest::newRow("table") << QStringLiteral("SELECT * FROM HORAS ORDER BY HORID")
                           << QStringLiteral("SELECT HorId FROM HORAS ORDER BY HorId") << false << false;
    QTest::newRow("join, descending") << QStringLiteral(
        "SELECT H.HORID, H.HORSEMANA, T.TIPDESCRIPCION FROM TIPOHORAS T, HORAS H WHERE H.TIPID=T.TIPID "
        "ORDER BY H.HORID DESC") << QStringLiteral("SELECT HorId FROM HORAS ORDER BY HorId DESC") << false << false;
    QTest::newRow("row deleted after a scroll") << QStringLiteral("SELECT * FROM HORAS ORDER BY HORID")
                                                << QStringLiteral("SELECT HorId FROM HORAS ORDER BY HorId") << true
                                                << false;
    QTest::newRow("another user writes while the rest is open")
        << QStringLiteral("SELECT * FROM HORAS ORDER BY HORID") << QStringLiteral("SELECT HorId FROM HORAS ORDER BY HorId")
        << false << true;
}

void TestDataControl::gridScrollReadsChunks()
{
    QFETCH(QString, statement);
    QFETCH(QString, keys);
    QFETCH(bool, deleteOnTheWay);
    QFETCH(bool, otherUserWrites);
    tests::TempStore store;
    const int before = store.count(QStringLiteral("HORAS"));
    addHourRows(store, 2500);
    const int total = store.count(QStringLiteral("HORAS"));
    QCOMPARE(total, before + 2500);
    DataControl adc(QStringLiteral("adcHoras"));
    adc.setRecordSource(statement);
    adc.refresh();
    ui::DataGrid grid;
    grid.setObjectName(QStringLiteral("dtgHoras"));
    grid.setColumns({ui::column(QStringLiteral("Id"), QStringLiteral("HorId")),
                     ui::column(QStringLiteral("Semana"), QStringLiteral("HorSemana"))});
    grid.setDataSource(&adc);
    grid.resize(400, 300);
    grid.show();
    QVERIFY(QTest::qWaitForWindowExposed(&grid));
    QCOMPARE(adc.fetchedCount(), 50);
    // Refreshed on an unchanged store, the grid is left as it is (not laid out nor fitted
    // again); a change in the rows shown resets it.
    QSignalSpy resets(grid.view()->model(), &QAbstractItemModel::modelReset);
    adc.refresh();
    QCOMPARE(resets.count(), 0);
    store.execNative(QStringLiteral("UPDATE HORAS SET HorSemana = HorSemana + 1"));
    adc.refresh();
    QCOMPARE(resets.count(), 1);

    QScrollBar *bar = grid.view()->verticalScrollBar();
    QVERIFY(bar->maximum() > 0);
    QStringList statements;
    store::Connection::setStatementObserver([&](const QString &sql) { statements << sql; });
    struct ObserverOff {
        ~ObserverOff() { store::Connection::setStatementObserver({}); }
    } observerOff;
    bar->triggerAction(QAbstractSlider::SliderToMaximum);  // the bottom of what was read
    QCoreApplication::processEvents();
    QCOMPARE(adc.fetchedCount(), 50 + store::RowCache::kFirstChunk);  // one chunk, not the other 2,400
    QCOMPARE(statements.size(), 1);  // the rest of the list, left open

    if (deleteOnTheWay) {
        // Two chunks further on, so that the deleted row stands in a chunk before the last;
        // each scroll reads one more chunk.
        for (int i = 0; i < 2; ++i) {
            const int before = adc.fetchedCount();
            bar->triggerAction(QAbstractSlider::SliderToMaximum);
            QCoreApplication::processEvents();
            QVERIFY(adc.fetchedCount() > before);
            QVERIFY(adc.fetchedCount() <= before + store::RowCache::kLargestChunk);
        }
        grid.clickRow(60);
        const qlonglong gone = adc.value(QStringLiteral("HorId")).toLongLong();
        adc.deleteCurrent();
        QCOMPARE(store.count(QStringLiteral("HORAS"), QStringLiteral("HorId = ?"), {gone}), 0);
    }
    const QList<qlonglong> expected = storedKeys(store, keys);
    QCOMPARE(expected.size(), total - (deleteOnTheWay ? 1 : 0));
    if (otherUserWrites) {
        // The rest stands open (its first chunk came from it); another user adds rows and
        // commits at once, and the list goes on as it was when its rest was opened.
        const int written = store.execNative(QStringLiteral(
            "INSERT INTO HORAS (FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, TipId) "
            "SELECT FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, TipId FROM HORAS ORDER BY HorId LIMIT 3"));
        QCOMPARE(written, 3);
        QCOMPARE(store.count(QStringLiteral("HORAS")), total + 3);
    }

    statements.clear();
    int steps = 0;
    while (bar->value() < bar->maximum() || adc.model()->canFetchMore({})) {
        bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
        QCoreApplication::processEvents();
        QVERIFY2(++steps < 2 * total, "the scroll never reached the end");
    }
    QVERIFY(adc.allFetched());
    // One statement at most for all the chunks: none while the rest stays open, one to open
    // it again behind a deleted row.
    QVERIFY2(statements.size() <= (deleteOnTheWay ? 1 : 0), qPrintable(statements.join(QLatin1Char('\n'))));
    QCOMPARE(grid.rowCount(), expected.size());
    QList<qlonglong> shown;
    for (int r = 0; r < grid.rowCount(); ++r)
        shown << grid.cellText(r, 0).toLongLong();
    QCOMPARE(shown, expected);
    // Shown at the bottom of the screen: the last row.
    const int lastVisible = grid.view()->rowAt(grid.view()->viewport()->height() - 2);
    QCOMPARE(lastVisible, grid.rowCount() - 1);

    bar->triggerAction(QAbstractSlider::SliderToMinimum);
    QCoreApplication::processEvents();
    QCOMPARE(grid.view()->rowAt(1), 0);
    QCOMPARE(grid.cellText(0, 0).toLongLong(), expected.first());
}

// The cache holds at most its capacity, whatever is looked at, and a dropped chunk read
// again gives the rows it held.
void TestDataControl::rowCacheStaysBounded_data()
{
    QTest::addColumn<QString>("walk");
    QTest::newRow("down and back up") << QStringLiteral("down-up");
    QTest::newRow("jumps") << QStringLiteral("random");
}

void TestDataControl::rowCacheStaysBounded()
{
    QFETCH(QString, walk);
    constexpr int rows = 20000;
    constexpr int capacity = 3000;
    int reads = 0;
    int rowsRead = 0;
    store::RowCache cache(capacity);
    auto reader = [&](int offset, int count) {
        ++reads;
        std::vector<store::Row> out;
        for (int i = offset; i < std::min(rows, offset + count); ++i)
            out.push_back(store::Row{QVariant(i)});
        rowsRead += int(out.size());
        return out;
    };
    cache.reset(reader(0, 50), false, reader);
    std::vector<int> order;
    if (walk == QLatin1String("down-up")) {
        for (int i = 0; i < rows; ++i)
            order.push_back(i);
        for (int i = rows - 1; i >= 0; --i)
            order.push_back(i);
    } else {
        std::mt19937 rng(7);
        QVERIFY(cache.reach(rows - 1));
        for (int i = 0; i < 5000; ++i)
            order.push_back(int(rng() % rows));
    }
    for (int i : order) {
        QVERIFY(cache.reach(i));
        QCOMPARE(cache.at(i).value(0).toInt(), i);
        QVERIFY2(cache.heldRows() <= capacity, qPrintable(QString::number(cache.heldRows())));
    }
    QVERIFY(!cache.reach(rows));
    QCOMPARE(cache.size(), rows);
    if (walk == QLatin1String("down-up"))
        QVERIFY(rowsRead < 3 * rows);  // each stretch read about twice: going down and coming back
}

void TestDataControl::joinStatementWritesItsStarTable()
{
    tests::TempStore store;
    DataControl adc(QStringLiteral("adcCierreMes"));
    adc.setRecordSource(QStringLiteral(
        "SELECT CM.*, TRIM(F.FUNAPELLIDOS) + ',' + TRIM(F.FUNNOMBRES) FROM CIERREMESES CM, FUNCIONARIOS F "
        "WHERE CM.FUNCEDULA=F.FUNCEDULA AND CM.AREID='DOC' ORDER BY CM.CIEMESANIOCIERRE, CM.CIEMESMESCIERRE"));
    adc.refresh();
    QCOMPARE(adc.value(QStringLiteral("Expr1001")).toString(), QStringLiteral("Gómez,Jorge"));
    adc.moveLast();
    QCOMPARE(adc.value(QStringLiteral("CieMesAprobado")).toBool(), false);
    adc.setValue(QStringLiteral("CieMesComentarioJefeArea"), QStringLiteral("Cambiado"));
    adc.update();
    QCOMPARE(store.count(QStringLiteral("CIERREMESES"), QStringLiteral("CieMesComentarioJefeArea = 'Cambiado'")), 1);
}

void TestDataControl::movingAwaySavesPendingChanges()
{
    tests::TempStore store;
    DataControl adc(QStringLiteral("adcMaterias"));
    adc.setRecordSource(QStringLiteral("SELECT * FROM MATERIAS ORDER BY MATDESCRIPCION ASC"));
    adc.refresh();
    QSignalSpy writes(&adc, &DataControl::aboutToWrite);
    const QString id = adc.value(QStringLiteral("MatId")).toString();
    adc.setValue(QStringLiteral("MatDescripcion"), QStringLiteral("Álgebra"));
    adc.moveNext();
    QVERIFY(writes.count() >= 1);
    QCOMPARE(store.scalar(QStringLiteral("SELECT MatDescripcion FROM MATERIAS WHERE MatId = ?"), {id}).toString(),
             QStringLiteral("Álgebra"));
}

TEMPALIA_TEST_MAIN(TestDataControl)
#include "tst_datacontrol.moc"

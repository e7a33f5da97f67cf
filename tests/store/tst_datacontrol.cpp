// The data control on a real store: reading, moving, writing, the key the store assigns,
// refused writes and the optimistic lock between two controls.
#include "TempStore.h"
#include "store/DataControl.h"
#include "store/StoreError.h"
#include "ui/Application.h"

#include <QSignalSpy>
#include <QTest>

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

void TestDataControl::lazyReadOfLargeTable()
{
    tests::TempStore store;
    const int total = store.count(QStringLiteral("HORAS"));
    QVERIFY(total > 60);
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
    }
    QCOMPARE(seen, total);
    QVERIFY(adc.allFetched());
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

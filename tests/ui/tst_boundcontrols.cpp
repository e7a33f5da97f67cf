// The bound controls over real data controls: what they show, what they hand to the row,
// and that a grid and its data control agree on the current row.
#include "ScriptedDialogs.h"
#include "TempStore.h"
#include "store/DataControl.h"
#include "store/StoreError.h"
#include "ui/Application.h"
#include "ui/DataGrid.h"
#include "ui/DataLists.h"
#include "ui/FieldBinding.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QTableView>
#include <QTest>

using store::DataControl;

namespace {

// A data control opened on `statement`.
struct OpenedControl : DataControl {
    OpenedControl(const char *name, const QString &statement) : DataControl(QString::fromLatin1(name))
    {
        setRecordSource(statement);
        refresh();
    }
};

}  // namespace

class TestBoundControls : public QObject {
    Q_OBJECT
private slots:
    void textBoxShowsAndHandsOver();
    void untouchedBoxesWriteNothing();
    void checkBoxFollowsYesNoColumn();
    void comboChoosesRowOfItsSource();
    void comboWithDataFieldWritesBoundText();
    void gridShowsColumnsAsConfigured_data();
    void gridShowsColumnsAsConfigured();
    void gridAndControlShareCurrentRow();
    void gridEditInPlaceWritesOnRowChange();
};

void TestBoundControls::textBoxShowsAndHandsOver()
{
    tests::TempStore store;
    OpenedControl adc("adcTipoHoras", QStringLiteral("SELECT * FROM TIPOHORAS ORDER BY TIPID"));
    QLineEdit txtCodigo, txtPorcentaje;
    ui::FieldBinding::bind(&txtCodigo, &adc, QStringLiteral("TipId"));
    ui::FieldBinding::bind(&txtPorcentaje, &adc, QStringLiteral("TipPorcentaje"), QStringLiteral("0,0000"));
    QCOMPARE(txtCodigo.text(), QStringLiteral("COM"));
    QCOMPARE(txtPorcentaje.text(), QStringLiteral("1,0000"));
    adc.moveNext();
    QCOMPARE(txtCodigo.text(), QStringLiteral("EXT"));
    QCOMPARE(txtPorcentaje.text(), QStringLiteral("1,5000"));
    txtPorcentaje.selectAll();
    QTest::keyClicks(&txtPorcentaje, QStringLiteral("1,75"));
    adc.update();
    QCOMPARE(store.scalar(QStringLiteral("SELECT TipPorcentaje FROM TIPOHORAS WHERE TipId = 'EXT'")).toDouble(), 1.75);
    adc.addNew();
    QVERIFY(txtCodigo.text().isEmpty());
    QTest::keyClicks(&txtCodigo, QStringLiteral("NOC"));
    QTest::keyClicks(&txtPorcentaje, QStringLiteral("1,25"));
    adc.update();
    QCOMPARE(store.scalar(QStringLiteral("SELECT TipPorcentaje FROM TIPOHORAS WHERE TipId = 'NOC'")).toDouble(), 1.25);
}

void TestBoundControls::untouchedBoxesWriteNothing()
{
    tests::TempStore store;
    OpenedControl adc("adcHoras", QStringLiteral("SELECT * FROM HORAS WHERE FUNCEDULA='11111111' ORDER BY HORID"));
    QLineEdit horas;
    ui::FieldBinding::bind(&horas, &adc, QStringLiteral("HorHoras"), QStringLiteral("0,00"));
    QVERIFY(!horas.text().isEmpty());
    adc.move0();
    QVERIFY(!adc.isEditing());  // a value shown through a mask is not a change
}

void TestBoundControls::checkBoxFollowsYesNoColumn()
{
    tests::TempStore store;
    OpenedControl adc("adcActividades", QStringLiteral("SELECT * FROM ACTIVIDADES ORDER BY ACTID"));
    QCheckBox chkDocente;
    chkDocente.show();
    ui::FieldBinding::bind(&chkDocente, &adc, QStringLiteral("ActEsDocente"));
    QCOMPARE(adc.value(QStringLiteral("ActId")).toString(), QStringLiteral("ADM"));
    QVERIFY(!chkDocente.isChecked());
    adc.moveNext();  // CLA
    QVERIFY(chkDocente.isChecked());
    QTest::mouseClick(&chkDocente, Qt::LeftButton);
    adc.update();
    QCOMPARE(store.count(QStringLiteral("ACTIVIDADES"), QStringLiteral("ActId = 'CLA' AND ActEsDocente")), 0);
}

void TestBoundControls::comboChoosesRowOfItsSource()
{
    tests::TempStore store;
    OpenedControl adcAreas("adcAreas", QStringLiteral("SELECT * FROM AREAS ORDER BY AREDESCRIPCION"));
    ui::DataCombo dtcAreas;
    dtcAreas.setRowSource(&adcAreas, QStringLiteral("AreDescripcion"), QStringLiteral("AreId"));
    QCOMPARE(dtcAreas.count(), 3);
    QVERIFY(dtcAreas.boundText().isEmpty());
    int changes = 0;
    connect(&dtcAreas, &ui::DataCombo::changed, this, [&] { ++changes; });
    QVERIFY(dtcAreas.chooseText(QStringLiteral("Investigación")));
    QCOMPARE(dtcAreas.boundText(), QStringLiteral("INV"));
    QCOMPARE(adcAreas.value(QStringLiteral("AreId")).toString(), QStringLiteral("INV"));
    QCOMPARE(changes, 1);
    // An empty source: no items, an empty BoundText.
    adcAreas.setRecordSource(QStringLiteral("SELECT * FROM AREAS WHERE AREID='XX'"));
    adcAreas.refresh();
    QCOMPARE(dtcAreas.count(), 0);
    QVERIFY(dtcAreas.boundText().isEmpty());
}

void TestBoundControls::comboWithDataFieldWritesBoundText()
{
    tests::TempStore store;
    OpenedControl adcTipos("adcTipoHoras", QStringLiteral("SELECT * FROM TIPOHORAS"));
    OpenedControl adcHoras("adcHoras", QStringLiteral("SELECT * FROM HORAS WHERE FUNCEDULA='11111111' ORDER BY HORID"));
    const qlonglong id = adcHoras.value(QStringLiteral("HorId")).toLongLong();
    ui::DataCombo dtcTipo;
    dtcTipo.setRowSource(&adcTipos, QStringLiteral("TipDescripcion"), QStringLiteral("TipId"));
    dtcTipo.setDataSource(&adcHoras, QStringLiteral("TipId"));
    QCOMPARE(dtcTipo.boundText(), adcHoras.value(QStringLiteral("TipId")).toString());
    dtcTipo.chooseText(QStringLiteral("Horas en feriado"));
    adcHoras.update();
    QCOMPARE(store.scalar(QStringLiteral("SELECT TipId FROM HORAS WHERE HorId = ?"), {id}).toString(),
             QStringLiteral("FER"));
}

void TestBoundControls::gridShowsColumnsAsConfigured_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("mask");
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("expected");
    QTest::newRow("decimal mask") << "SELECT * FROM TIPOHORAS WHERE TIPID='EXT'" << "0,0000" << 2 << "1,5000";
    QTest::newRow("yes/no column") << "SELECT * FROM ACTIVIDADES WHERE ACTID='CLA'" << "" << 2 << "Si";
    QTest::newRow("yes/no false") << "SELECT * FROM ACTIVIDADES WHERE ACTID='REU'" << "" << 2 << "No";
    QTest::newRow("time mask") << "SELECT * FROM FUNCIONARIOS_INSTITUTOS WHERE FUNCEDULA='11111111'" << "H:mm" << 8 << "8:00";
    QTest::newRow("computed column") << "SELECT FUNCEDULA,FUNNOMBRES+' '+FUNAPELLIDOS FROM FUNCIONARIOS WHERE FUNCEDULA='11111111'"
                                     << "" << 1 << "Ana Pérez";
}

void TestBoundControls::gridShowsColumnsAsConfigured()
{
    QFETCH(QString, statement);
    QFETCH(QString, mask);
    QFETCH(int, column);
    QFETCH(QString, expected);
    tests::TempStore store;
    OpenedControl adc("adc", statement);
    ui::DataGrid grid;
    grid.setCaption(QStringLiteral("LISTA"));
    grid.setColumns({ui::GridColumn{QStringLiteral("Primera"), QString(), 0, QString(), false},
                     ui::GridColumn{QStringLiteral("Valor"), QString(), column, mask}});
    grid.setDataSource(&adc);
    QCOMPARE(grid.rowCount(), 1);
    QCOMPARE(grid.cellText(0, 1), expected);
    QCOMPARE(grid.heading(1), QStringLiteral("Valor"));
    QCOMPARE(grid.visibleColumnCount(), 1);
    QVERIFY(grid.view()->isColumnHidden(0));
}

void TestBoundControls::gridAndControlShareCurrentRow()
{
    tests::TempStore store;
    OpenedControl adc("adcMaterias", QStringLiteral("SELECT * FROM MATERIAS ORDER BY MATID"));
    ui::DataGrid grid;
    grid.setColumns({ui::GridColumn{QStringLiteral("Código"), QStringLiteral("MatId"), -1, {}},
                     ui::GridColumn{QStringLiteral("Descripción"), QStringLiteral("MatDescripcion"), -1, {}}});
    grid.setDataSource(&adc);
    grid.show();
    grid.clickRow(2);
    QCOMPARE(adc.currentIndex(), 2);
    QCOMPARE(adc.value(QStringLiteral("MatId")).toString(), grid.cellText(2, 0));
    adc.moveFirst();
    QCOMPARE(grid.view()->currentIndex().row(), 0);
}

void TestBoundControls::gridEditInPlaceWritesOnRowChange()
{
    tests::TempStore store;
    InstalledDialogs dialogs;
    OpenedControl adc("adcDestinos", QStringLiteral("SELECT * FROM DESTINOS ORDER BY DESID"));
    ui::DataGrid grid;
    grid.setEditable(true);
    grid.setColumns({ui::GridColumn{QStringLiteral("Código"), QStringLiteral("DesId"), -1, {}},
                     ui::GridColumn{QStringLiteral("Descripción"), QStringLiteral("DesDescripcion"), -1, {}}});
    grid.setDataSource(&adc);
    grid.show();
    QVERIFY(grid.view()->model()->setData(grid.view()->model()->index(0, 1), QStringLiteral("Cursos nuevos")));
    QCOMPARE(store.count(QStringLiteral("DESTINOS"), QStringLiteral("DesDescripcion = 'Cursos nuevos'")), 0);
    grid.clickRow(1);
    QCOMPARE(store.count(QStringLiteral("DESTINOS"), QStringLiteral("DesDescripcion = 'Cursos nuevos'")), 1);
    QCOMPARE(dialogs.count(), 0);
}

TEMPALIA_TEST_MAIN(TestBoundControls)
#include "tst_boundcontrols.moc"

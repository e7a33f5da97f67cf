// The tab "Presupuesto" of both main windows, driven as a user would on a fresh store: the
// statement each combination of options composes, the grid and the totals per currency
// against hand-summed rows, a close moving rows between the options, the area message and
// the printing.

#include "AnalysisFixture.h"
#include "Session.h"
#include "Controls.h"
#include "WindowFixture.h"
#include "analysis/BudgetTab.h"
#include "session/modPrincipal.h"
#include "store/DataControl.h"
#include "ui/Application.h"
#include "ui/DataGrid.h"
#include "ui/DataLists.h"
#include "ui/DatePicker.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <algorithm>
#include <memory>

using namespace analysis_tests;
using analysis::BudgetTab;
using analysis::MainWindow;

namespace {

const QString kSelect = QStringLiteral(
    "SELECT SUM(H.HORHORAS), SUM(H.HORVALORHORA*(H.HORHORAS*T.TIPPORCENTAJE)), H.HORMONEDA, T.TIPDESCRIPCION, "
    "D.DESDESCRIPCION, ACT.ACTDESCRIPCION FROM TIPOHORAS T, %1 H, ACTIVIDADES ACT, AREAS ARE, DESTINOS D WHERE "
    "H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID AND H.DESID=D.DESID AND H.TIPID=T.TIPID%2 GROUP BY H.HORMONEDA, "
    "T.TIPDESCRIPCION, D.DESDESCRIPCION, ACT.ACTDESCRIPCION");

const int Y = QDate::currentDate().year();

// "mm-d-yy" between # signs.
QString dateLiteral(const QDate &d)
{
    return QStringLiteral("#%1-%2-%3#")
        .arg(d.month(), 2, 10, QLatin1Char('0'))
        .arg(d.day())
        .arg(d.year() % 100, 2, 10, QLatin1Char('0'));
}

using tests::child;

// What the grid shows, one line per row, sorted (the store gives groups in its own order).
QStringList gridLines(QWidget *tab)
{
    auto *grid = child<ui::DataGrid>(tab, "dtgPresupuesto");
    QStringList lines;
    for (int r = 0; r < grid->rowCount(); ++r) {
        QStringList cells;
        for (int c = 0; c < 6; ++c)
            cells << grid->cellText(r, c);
        lines << cells.join(QLatin1Char('|'));
    }
    lines.sort();
    return lines;
}

QStringList sorted(QStringList l)
{
    l.sort();
    return l;
}

// The two totals as the labels show them, "pesos|dolares".
QString totals(QWidget *tab)
{
    return child<QLabel>(tab, "lblTotalPesos")->text() + QLatin1Char('|') + child<QLabel>(tab, "lblTotalDolares")->text();
}

void press(QWidget *tab, const char *button)
{
    QTest::mouseClick(child<QPushButton>(tab, button), Qt::LeftButton);
}

struct Options {
    int option = 0;
    QDate desde = {}, hasta = {};
    bool docentes = false;
    bool noDocentes = false;
    QString area = {};        // super user: tick the box and choose this area ("" leaves it unchosen)
    bool untickArea = false;  // super user: untick the box again after choosing
};

void setOptions(QWidget *tab, const Options &o)
{
    child<QRadioButton>(tab, qPrintable(QStringLiteral("optConsulta_%1").arg(o.option)))->click();
    if (o.option == 2) {
        child<ui::DatePicker>(tab, "dtpDesde")->chooseDate(o.desde);
        child<ui::DatePicker>(tab, "dtpHasta")->chooseDate(o.hasta);
    }
    // Tick one box and then the other, as a user who changes their mind: the click unticks
    // the other one.
    if (o.docentes) {
        child<QCheckBox>(tab, "chkActividadesNoDocentes")->click();
        child<QCheckBox>(tab, "chkActividadesDocentes")->click();
    } else if (o.noDocentes) {
        child<QCheckBox>(tab, "chkActividadesDocentes")->click();
        child<QCheckBox>(tab, "chkActividadesNoDocentes")->click();
    }
    if (!o.area.isNull()) {
        child<QCheckBox>(tab, "chkSeleccionarArea")->click();
        if (!o.area.isEmpty())
            QVERIFY(child<ui::DataCombo>(tab, "dtcSeleccionarArea")->chooseText(o.area));
        if (o.untickArea)
            child<QCheckBox>(tab, "chkSeleccionarArea")->click();
    }
}

}  // namespace

Q_DECLARE_METATYPE(Options)

class TestBudget : public QObject {
    Q_OBJECT

    tests::WindowFixture m_fixture;
    ScriptedDialogs &dialogs() { return m_fixture.dialogs(); }

private slots:
    // Each function on the budget's rows, signed in as the chief of DOC.
    void init()
    {
        m_fixture.begin(tests::TempStore::Content::Schema);
        fillBudgetStore(m_fixture.store());
        tests::signInAs(6);
        BudgetTab::setReportOpener({});
    }
    void cleanup() { m_fixture.end(); }

    void startState_data()
    {
        QTest::addColumn<bool>("super");
        QTest::newRow("jefe") << false;
        QTest::newRow("super") << true;
    }
    void startState()
    {
        QFETCH(bool, super);
        BudgetTab tab(super ? MainWindow::SuperUsuario : MainWindow::JefeArea);
        QVERIFY(child<QRadioButton>(&tab, "optConsulta_0")->isChecked());
        QVERIFY(!child<ui::DatePicker>(&tab, "dtpDesde")->isEnabled());
        QCOMPARE(totals(&tab), QStringLiteral("0|0"));
        QVERIFY(tab.statement().isEmpty());
        auto *grid = child<ui::DataGrid>(&tab, "dtgPresupuesto");
        QCOMPARE(grid->caption(), QStringLiteral("RESULTADOS DE LA CONSULTA"));
        QStringList headings;
        for (int c = 0; c < 6; ++c)
            headings << grid->heading(c);
        QCOMPARE(headings, QStringList({"Horas", "Importe", "Moneda", "Tipo", "Destino", "Actividad"}));
        QCOMPARE(tab.findChild<QCheckBox *>(QStringLiteral("chkSeleccionarArea")) != nullptr, super);
        if (super) {
            QVERIFY(!child<ui::DataCombo>(&tab, "dtcSeleccionarArea")->isEnabled());
            child<QCheckBox>(&tab, "chkSeleccionarArea")->click();
            QVERIFY(child<ui::DataCombo>(&tab, "dtcSeleccionarArea")->isEnabled());
        }
        child<QRadioButton>(&tab, "optConsulta_2")->click();
        QVERIFY(child<ui::DatePicker>(&tab, "dtpDesde")->isEnabled());
        QVERIFY(child<ui::DatePicker>(&tab, "dtpHasta")->isEnabled());
        child<QRadioButton>(&tab, "optConsulta_1")->click();
        QVERIFY(!child<ui::DatePicker>(&tab, "dtpHasta")->isEnabled());
    }

    void query_data()
    {
        QTest::addColumn<bool>("super");
        QTest::addColumn<Options>("options");
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QStringList>("rows");
        QTest::addColumn<QString>("totals");  // pesos|dolares

        const QString year = QStringLiteral(" AND YEAR(H.HORFECHA)=YEAR(Date())");
        const QString docente = QStringLiteral(" AND ACT.ACTESDOCENTE");
        const QString noDocente = QStringLiteral(" AND NOT ACT.ACTESDOCENTE");
        const QStringList clasesPesos = {"2|200|Pesos Uruguayos|Comunes|Cursos|Clases",
                                         "4|600|Pesos Uruguayos|Extra|Cursos|Clases"};
        const QStringList tareas = {"3|31,5|Dolares|Comunes|Cursos|Tareas", "1,5|300|pesos|Comunes|Cursos|Tareas"};

        // The sums themselves, period ends included, stand in the core's budget tests; the
        // rows here are the statements each combination of options composes.
        const QString adm = QStringLiteral("Administración");
        QTest::newRow("super, mes en curso") << true << Options{} << kSelect.arg("HORAS", "")
            << QStringList{"2|60|Dolares|Extra|Cursos|Clases", "1|50|DOLARES|Comunes|Cursos|Clases"} << "50|60";
        QTest::newRow("super, un área") << true << Options{.option = 1, .area = adm}
            << kSelect.arg("HHORAS", year + " AND H.AREID='ADM'") << QStringList{tareas.at(1)} << "300|0";
        QTest::newRow("super, docentes de un área: área al final") << true
            << Options{.option = 1, .docentes = true, .area = QStringLiteral("Docencia")}
            << kSelect.arg("HHORAS", year + docente + " AND H.AREID='DOC'") << clasesPesos << "800|0";
        QTest::newRow("super, área elegida y destildada: todas") << true
            << Options{.option = 1, .noDocentes = true, .area = adm, .untickArea = true}
            << kSelect.arg("HHORAS", year + noDocente) << tareas << "300|31,5";
        QTest::newRow("jefe, mes en curso") << false << Options{} << kSelect.arg("HORAS", " AND H.AREID='DOC'")
            << QStringList{"1|50|DOLARES|Comunes|Cursos|Clases"} << "50|0";
        QTest::newRow("jefe, no docentes: área antes de actividad") << false << Options{.option = 1, .noDocentes = true}
            << kSelect.arg("HHORAS", year + " AND H.AREID='DOC'" + noDocente) << QStringList{tareas.at(0)} << "0|31,5";
        const QDate desde(Y, 1, 20), hasta(Y, 2, 5);
        QTest::newRow("jefe, período") << false << Options{.option = 2, .desde = desde, .hasta = hasta}
            << kSelect.arg("HHORAS", QStringLiteral(" AND H.HORFECHA BETWEEN %1 AND %2 AND H.AREID='DOC'")
                                         .arg(dateLiteral(desde), dateLiteral(hasta)))
            << QStringList{clasesPesos.at(1), tareas.at(0)} << "600|31,5";
    }
    void query()
    {
        QFETCH(bool, super);
        QFETCH(Options, options);
        QFETCH(QString, statement);
        QFETCH(QStringList, rows);
        QFETCH(QString, totals);

        BudgetTab tab(super ? MainWindow::SuperUsuario : MainWindow::JefeArea);
        tab.show();
        setOptions(&tab, options);
        press(&tab, "cmdComenzar");

        QCOMPARE(dialogs().texts(), QStringList());
        QCOMPARE(tab.statement(), statement);
        QCOMPARE(gridLines(&tab), sorted(rows));
        QCOMPARE(::totals(&tab), totals);
        QCOMPARE(tab.adcPresupuesto()->absolutePosition(), 1);  // back on the first row
    }

    // A close moves rows out of "Mes en curso" into "Año en curso"; a query that finds
    // nothing empties the grid and leaves the totals as they were.
    void closeMovesRowsBetweenOptions()
    {
        tests::TempStore &db = m_fixture.store();
        for (const char *table : {"HORAS", "HHORAS"})
            db.execNative(QStringLiteral("DELETE FROM %1").arg(QLatin1String(table)));
        insertHour(db, {QDate(Y, 1, 10), "DOC", "CLA", "COM", 2, 100, "Pesos Uruguayos"});
        insertHour(db, {QDate(Y, 1, 11), "DOC", "TAR", "EXT", 2, 10, "Dolares"});
        BudgetTab tab(MainWindow::JefeArea);
        const auto run = [&](const char *option, const QStringList &rows, const char *totals) {
            child<QRadioButton>(&tab, option)->click();
            press(&tab, "cmdComenzar");
            QCOMPARE(gridLines(&tab), rows);
            QCOMPARE(::totals(&tab), QLatin1String(totals));
        };
        run("optConsulta_0", {"2|200|Pesos Uruguayos|Comunes|Cursos|Clases", "2|30|Dolares|Extra|Cursos|Tareas"}, "200|30");
        run("optConsulta_1", {}, "200|30");  // no close yet this year: nothing
        closeUpTo(db, QDate(Y, 1, 10));
        run("optConsulta_1", {"2|200|Pesos Uruguayos|Comunes|Cursos|Clases"}, "200|0");
        run("optConsulta_0", {"2|30|Dolares|Extra|Cursos|Tareas"}, "0|30");
    }

    // The box ticked with no area: the message, and the query of the run before (none at
    // first: an empty grid, the totals untouched, and no report).
    void areaBoxWithoutArea()
    {
        QStringList printed;
        BudgetTab::setReportOpener([&](const QString &name, BudgetTab &t) { printed << name << t.statement(); });
        BudgetTab tab(MainWindow::SuperUsuario);
        child<QCheckBox>(&tab, "chkSeleccionarArea")->click();

        press(&tab, "cmdComenzar");
        QCOMPARE(dialogs().texts(), QStringList{"Debe seleccionar un área"});
        QCOMPARE(dialogs().last().buttons, ui::Buttons::Ok);
        QCOMPARE(dialogs().last().title, ui::programTitle());
        QCOMPARE(gridLines(&tab), QStringList());
        QCOMPARE(child<QLabel>(&tab, "lblTotalPesos")->text(), QStringLiteral("0"));

        press(&tab, "cmdImprimir");
        QCOMPARE(dialogs().count(), 2);
        QCOMPARE(printed, QStringList());

        // With an earlier query the message comes and that query runs again.
        child<QCheckBox>(&tab, "chkSeleccionarArea")->click();
        press(&tab, "cmdComenzar");
        const QString allAreas = tab.statement();
        QCOMPARE(allAreas, kSelect.arg("HORAS", ""));
        child<QRadioButton>(&tab, "optConsulta_1")->click();
        child<QCheckBox>(&tab, "chkSeleccionarArea")->click();
        m_fixture.store().execNative(QStringLiteral("DELETE FROM HORAS WHERE HorMoneda = 'DOLARES'"));
        press(&tab, "cmdImprimir");
        QCOMPARE(dialogs().count(), 3);
        QCOMPARE(tab.statement(), allAreas);
        QCOMPARE(gridLines(&tab), QStringList{"2|60|Dolares|Extra|Cursos|Clases"});  // read anew
        QCOMPARE(child<QLabel>(&tab, "lblTotalPesos")->text(), QStringLiteral("0"));
        QCOMPARE(printed, QStringList({"dtrPresupuestoSuperUsuario", allAreas}));
    }

    // cmdImprimir runs the query of the options first, then opens the window's report on
    // that statement; without the reports it says so.
    void printing()
    {
        BudgetTab tab(MainWindow::JefeArea);
        child<QRadioButton>(&tab, "optConsulta_1")->click();
        press(&tab, "cmdImprimir");
        QCOMPARE(dialogs().count(), 1);
        QVERIFY(dialogs().last().text.contains(QStringLiteral("no está disponible")));
        QCOMPARE(tab.statement(), kSelect.arg("HHORAS", " AND YEAR(H.HORFECHA)=YEAR(Date()) AND H.AREID='DOC'"));
        QCOMPARE(child<QLabel>(&tab, "lblTotalPesos")->text(), QStringLiteral("800"));

        QStringList printed;
        BudgetTab::setReportOpener([&](const QString &name, BudgetTab &t) {
            printed << name << t.adcPresupuesto()->recordSource();
        });
        child<QRadioButton>(&tab, "optConsulta_0")->click();
        press(&tab, "cmdImprimir");
        QCOMPARE(printed, QStringList({"dtrPresupuestoJefeArea", kSelect.arg("HORAS", " AND H.AREID='DOC'")}));
        QCOMPARE(dialogs().count(), 1);
    }
};

TEMPALIA_TEST_MAIN(TestBudget)
#include "tst_budget.moc"

// The tab "Estadísticas" of both main windows on the demo store: the interlocks of the
// options, the statement and grouping each option gives, the super user's menu entries,
// and the chart window that a new query only brings forward.

#include "Controls.h"
#include "ScriptedDialogs.h"
#include "Session.h"
#include "TempStore.h"
#include "analysis/ChartWindow.h"
#include "analysis/StatisticsTab.h"
#include "session/modPrincipal.h"
#include "store/DataControl.h"
#include "ui/Application.h"
#include "ui/DataLists.h"
#include "ui/DatePicker.h"

#include <QPushButton>
#include <QRadioButton>
#include <QTest>

using analysis::MainWindow;
using analysis::StatisticsTab;

namespace {

const QString kHead = QStringLiteral(
    "SHAPE {select HorId,AreDescripcion,ActDescripcion,TipDescripcion,DesDescripcion,HorHoras from HHoras H, Areas "
    "ARE, Actividades ACT, Destinos D, TipoHoras T WHERE H.AREID=ARE.AREID AND H.ACTID=ACT.ACTID AND "
    "H.DESID=D.DESID AND H.TIPID=T.TIPID");
const QString kTail = QStringLiteral(
    " } AS ChildCommand COMPUTE ChildCommand, SUM(ChildCommand.[HorHoras]) AS [HorHoras] BY [AreDescripcion], "
    "[ActDescripcion], [DesDescripcion], [TipDescripcion]");

const int Y = QDate::currentDate().year();
const QString YY = QStringLiteral("%1").arg(Y % 100, 2, 10, QLatin1Char('0'));

using tests::child;

// The window's staff list, as the chief's and the super user's windows fill it.
store::DataControl *staffList(QObject *owner)
{
    auto *adc = new store::DataControl(QStringLiteral("adcFuncionarios"), owner);
    adc->setRecordSource(
        QStringLiteral("SELECT * FROM FUNCIONARIOS F, FUNCIONARIOS_INSTITUTOS FI WHERE F.FUNCEDULA=FI.FUNCEDULA"));
    adc->refresh();
    return adc;
}

struct Tab {
    explicit Tab(bool super)
        : holder(new QWidget), staff(staffList(holder.get())),
          tab(new StatisticsTab(super ? MainWindow::SuperUsuario : MainWindow::JefeArea, holder.get(), staff))
    {
        holder->show();
    }
    QRadioButton *option(int i) { return child<QRadioButton>(tab, QStringLiteral("optEstadisticas_%1").arg(i)); }
    QRadioButton *grouping(int i) { return child<QRadioButton>(tab, QStringLiteral("optAgrupar_%1").arg(i)); }
    void graficar() { QTest::mouseClick(child<QPushButton>(tab, "cmdGraficar"), Qt::LeftButton); }
    std::unique_ptr<QWidget> holder;
    store::DataControl *staff;
    StatisticsTab *tab;
};

}  // namespace

class TestStatistics : public QObject {
    Q_OBJECT

private slots:
    void init() { tests::signInAs(8); }

    // Which controls each option enables, and the captions that tell the windows apart.
    void interlocks_data()
    {
        QTest::addColumn<bool>("super");
        QTest::addColumn<int>("option");
        QTest::addColumn<QStringList>("enabled");
        QTest::newRow("super docentes") << true << 0 << QStringList();
        QTest::newRow("super período") << true << 2 << QStringList{"dtpEstadisticasDesde", "dtpEstadisticasHasta"};
        QTest::newRow("super área") << true << 3 << QStringList{"dtcEstadisticasAreas"};
        QTest::newRow("super funcionario") << true << 4 << QStringList{"dtcEstadisticasFuncionarios"};
        QTest::newRow("jefe no docentes") << false << 1 << QStringList();
        QTest::newRow("jefe período") << false << 2 << QStringList{"dtpEstadisticasDesde", "dtpEstadisticasHasta"};
        QTest::newRow("jefe funcionario") << false << 3 << QStringList{"dtcEstadisticasFuncionarios"};
    }
    void interlocks()
    {
        QFETCH(bool, super);
        QFETCH(int, option);
        QFETCH(QStringList, enabled);
        tests::TempStore db;
        Tab t(super);
        QStringList all{"dtpEstadisticasDesde", "dtpEstadisticasHasta", "dtcEstadisticasFuncionarios"};
        if (super)
            all << QStringLiteral("dtcEstadisticasAreas");
        for (const QString &name : all)
            QVERIFY2(!child<QWidget>(t.tab, name)->isEnabled(), qPrintable(name));
        QVERIFY(t.option(0)->isChecked());
        QVERIFY(t.grouping(0)->isChecked());
        QCOMPARE(t.tab->findChild<QWidget *>(QStringLiteral("optEstadisticas_4")) != nullptr, super);
        QCOMPARE(t.tab->findChild<QWidget *>(QStringLiteral("dtcEstadisticasAreas")) != nullptr, super);
        QCOMPARE(t.grouping(3)->text(), super ? QStringLiteral("Tipos de hora") : QStringLiteral("Tipo de hora"));
        QCOMPARE(t.option(super ? 4 : 3)->text(), QStringLiteral("Solo horas del funcionario:"));

        // Another option first, so that the clicked one has something to switch off.
        t.option(super ? 4 : 3)->click();
        t.option(2)->click();
        t.option(option)->click();
        for (const QString &name : all)
            QVERIFY2(child<QWidget>(t.tab, name)->isEnabled() == enabled.contains(name), qPrintable(name));
    }

    // cmdGraficar: the statement of the first option selected and the column of the grouping,
    // handed to the role's chart window.
    void statements_data()
    {
        QTest::addColumn<bool>("super");
        QTest::addColumn<int>("option");
        QTest::addColumn<QString>("choose");  // the dates "d1|d2", or the text to choose in the combo
        QTest::addColumn<int>("grouping");
        QTest::addColumn<QString>("clause");
        QTest::addColumn<QString>("agrupar");

        for (bool super : {true, false}) {
            const char *w = super ? "super" : "jefe";
            const int staff = super ? 4 : 3;
            QTest::addRow("%s docentes por actividad", w) << super << 0 << QString() << 0 << " AND ACT.ACTESDOCENTE" << "ActDescripcion";
            QTest::addRow("%s no docentes por área", w) << super << 1 << QString() << 1 << " AND NOT ACT.ACTESDOCENTE" << "AreDescripcion";
            QTest::addRow("%s período inicial por destino", w) << super << 2 << QString() << 2
                << QStringLiteral(" AND H.HORFECHA BETWEEN #01-1-%1# AND #12-31-%1#").arg(YY) << "DesDescripcion";
            QTest::addRow("%s período elegido por tipo", w) << super << 2 << "2001-11-04|2002-01-09" << 3
                << " AND H.HORFECHA BETWEEN #11-4-01# AND #01-9-02#" << "TipDescripcion";
            QTest::addRow("%s funcionario", w) << super << staff << "Pérez" << 0 << " AND H.FUNCEDULA='11111111'" << "ActDescripcion";
            QTest::addRow("%s funcionario sin elegir", w) << super << staff << QString() << 1 << " AND H.FUNCEDULA=''" << "AreDescripcion";
        }
        QTest::newRow("super área") << true << 3 << "Investigación" << 2 << " AND ARE.AREID='INV'" << "DesDescripcion";
        QTest::newRow("super área sin elegir") << true << 3 << QString() << 0 << " AND ARE.AREID=''" << "ActDescripcion";
    }
    void statements()
    {
        QFETCH(bool, super);
        QFETCH(int, option);
        QFETCH(QString, choose);
        QFETCH(int, grouping);
        QFETCH(QString, clause);
        QFETCH(QString, agrupar);

        tests::TempStore db;
        InstalledDialogs dialogs;
        Tab t(super);
        t.option(option)->click();
        if (option == 2 && !choose.isEmpty()) {
            child<ui::DatePicker>(t.tab, "dtpEstadisticasDesde")
                ->chooseDate(QDate::fromString(choose.section('|', 0, 0), Qt::ISODate));
            child<ui::DatePicker>(t.tab, "dtpEstadisticasHasta")
                ->chooseDate(QDate::fromString(choose.section('|', 1, 1), Qt::ISODate));
        } else if (!choose.isEmpty()) {
            const QString combo = option == 3 && super ? "dtcEstadisticasAreas" : "dtcEstadisticasFuncionarios";
            QVERIFY(child<ui::DataCombo>(t.tab, combo)->chooseText(choose));
        }
        t.grouping(grouping)->click();
        t.graficar();

        QCOMPARE(t.tab->consulta(), kHead + clause + kTail);
        QCOMPARE(t.tab->agrupar(), agrupar);
        analysis::ChartWindow *chart = t.tab->chartWindow();
        QVERIFY(chart && chart->isVisible());
        QCOMPARE(chart->objectName(),
                 super ? QStringLiteral("frmEstadisticasSuperUsuario") : QStringLiteral("frmEstadisticasJefeArea"));
        QCOMPARE(chart->consulta(), t.tab->consulta());
        QCOMPARE(chart->agrupar(), agrupar);
        // An empty text finds nothing: the window says so and stays open.
        if (clause.endsWith(QLatin1String("''")))
            QVERIFY(dialogs.last().text.contains(QStringLiteral("ningún registro")));
        chart->close();
    }

    // The menu entries chart the whole archive by their column and leave the options alone.
    void menuEntries_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("agrupar");
        for (auto [key, agrupar] : {std::pair{"actividades", "ActDescripcion"}, {"areas", "AreDescripcion"},
                                    {"destinos", "DesDescripcion"}, {"tipos", "TipDescripcion"}})
            QTest::newRow(key) << key << agrupar;
    }
    void menuEntries()
    {
        QFETCH(QString, key);
        QFETCH(QString, agrupar);
        tests::TempStore db;
        Tab t(true);
        t.option(2)->click();
        t.grouping(3)->click();
        QVERIFY(t.tab->menuEntry(key));
        QCOMPARE(t.tab->consulta(), kHead + kTail);
        QCOMPARE(t.tab->agrupar(), agrupar);
        QVERIFY(t.tab->chartWindow() && t.tab->chartWindow()->isVisible());
        QCOMPARE(t.tab->chartWindow()->agrupar(), agrupar);
        QVERIFY(t.option(2)->isChecked());
        QVERIFY(t.grouping(3)->isChecked());
        QVERIFY(child<QWidget>(t.tab, "dtpEstadisticasDesde")->isEnabled());
        QVERIFY(!t.tab->menuEntry(QStringLiteral("otra")));
    }

    // A new query while the chart window is open sets the members and brings the same window
    // forward with its old chart; after closing it, the next query loads a new one.
    void openWindowIsOnlyBroughtForward()
    {
        tests::TempStore db;
        Tab t(false);
        t.graficar();
        QPointer<analysis::ChartWindow> first = t.tab->chartWindow();
        QVERIFY(first);
        QCOMPARE(first->agrupar(), QStringLiteral("ActDescripcion"));

        t.option(1)->click();
        t.grouping(1)->click();
        t.graficar();
        QCOMPARE(t.tab->chartWindow(), first.data());
        QCOMPARE(t.tab->agrupar(), QStringLiteral("AreDescripcion"));
        QCOMPARE(first->agrupar(), QStringLiteral("ActDescripcion"));
        QCOMPARE(first->consulta(), kHead + " AND ACT.ACTESDOCENTE" + kTail);

        QTest::mouseClick(child<QPushButton>(first, "cmdClose"), Qt::LeftButton);
        QTRY_VERIFY(!first);  // unloaded
        t.graficar();
        QVERIFY(t.tab->chartWindow());
        QCOMPARE(t.tab->chartWindow()->agrupar(), QStringLiteral("AreDescripcion"));
        QCOMPARE(t.tab->chartWindow()->consulta(), kHead + " AND NOT ACT.ACTESDOCENTE" + kTail);
    }
};

TEMPALIA_TEST_MAIN(TestStatistics)
#include "tst_statistics.moc"

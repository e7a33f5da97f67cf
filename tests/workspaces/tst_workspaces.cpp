// The three workspaces driven on a fresh demo store: the two lists and the statements they
// hold through activation, tabs, sort, filter, delete and cambio; the buttons that follow
// the current list; the delete with its boxes; the staff list and cambio of the chief and
// the super user; the skeleton of each role's window.

#include "Session.h"
#include "WindowFixture.h"
#include "hours/frmModificoHoras.h"
#include "hours/frmRegistroHoras.h"
#include "session/modPrincipal.h"
#include "store/DataControl.h"
#include "ui/Application.h"
#include "ui/DataGrid.h"
#include "ui/KeyedToolBar.h"
#include "ui/StatusPanels.h"
#include "workspaces/frmJefeArea.h"
#include "workspaces/frmSuperUsuario.h"
#include "store/Connection.h"
#include "store/HourHistory.h"

#include <QTableWidget>
#include "workspaces/frmUsuarioComun.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QCalendarWidget>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTableView>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

const QString kUsuario = QStringLiteral("11111111");
const QString kJefe = QStringLiteral("22222222");
const QString kTwoContracts = QStringLiteral("55555555");

// One role's window, shown as Main shows it, with its controls found by name.
struct Screen {
    std::unique_ptr<Workspace> w;
    ui::KeyedToolBar *bar = nullptr;
    QTabWidget *tabs = nullptr;
    ui::DataGrid *mes = nullptr;
    ui::DataGrid *archivo = nullptr;
    ui::DataGrid *staff = nullptr;
    store::DataControl *adcMes = nullptr;
    store::DataControl *adcArchivo = nullptr;
    store::DataControl *adcStaff = nullptr;
    int archiveRuns = 0;

    explicit Screen(int perId)
    {
        tests::signInAs(perId);
        if (perId == 5)
            w = std::make_unique<frmUsuarioComun>();
        else if (perId == 6)
            w = std::make_unique<frmJefeArea>();
        else
            w = std::make_unique<frmSuperUsuario>();
        bar = w->findChild<ui::KeyedToolBar *>(QStringLiteral("tbrBarraHerramientas"));
        tabs = w->findChild<QTabWidget *>(QStringLiteral("sstPrincipal"));
        mes = w->findChild<ui::DataGrid *>(QStringLiteral("dtgMesActual"));
        archivo = w->findChild<ui::DataGrid *>(QStringLiteral("dtgMiArchivo"));
        staff = w->findChild<ui::DataGrid *>(QStringLiteral("dtgFuncionarios"));
        adcMes = w->findChild<store::DataControl *>(QStringLiteral("adcMesActual"));
        adcArchivo = w->findChild<store::DataControl *>(QStringLiteral("adcMiArchivo"));
        adcStaff = w->findChild<store::DataControl *>(QStringLiteral("adcFuncionarios"));
        Q_ASSERT(bar && tabs && mes && archivo && adcMes && adcArchivo);
        QObject::connect(adcArchivo, &store::DataControl::refreshed, [this] { ++archiveRuns; });
        w->show();
        QVERIFY(QTest::qWaitForWindowActive(w.get()));
    }

    bool trigger(const char *key) { return bar->trigger(QString::fromLatin1(key)); }
    bool sort(const char *button, const char *entry)
    {
        return bar->triggerMenuEntry(QString::fromLatin1(button), QString::fromLatin1(entry));
    }
    QString caption(const char *button) const { return bar->buttonCaption(QString::fromLatin1(button)); }

    // Both modificar and eliminar are `on`.
    bool writeKeys(bool on) const
    {
        return bar->isButtonEnabled(QStringLiteral("modificar")) == on && bar->isButtonEnabled(QStringLiteral("eliminar")) == on;
    }
    void clickEmptyPartOf(ui::DataGrid *grid)
    {
        QWidget *vp = grid->view()->viewport();
        QTest::mouseClick(vp, Qt::LeftButton, {}, QPoint(vp->width() / 2, vp->height() - 3));
    }
    void filter(bool current, bool fromDate, const QDate &date)
    {
        tabs->setCurrentIndex(2);
        w->findChild<QCalendarWidget *>(QStringLiteral("calendario"))->setSelectedDate(date);
        w->findChild<QRadioButton *>(current ? QStringLiteral("optFiltro_0") : QStringLiteral("optFiltro_1"))
            ->setChecked(true);
        w->findChild<QRadioButton *>(fromDate ? QStringLiteral("optTipo_0") : QStringLiteral("optTipo_1"))
            ->setChecked(true);
        QTest::mouseClick(w->findChild<QPushButton *>(QStringLiteral("cmdAplicarFiltro")), Qt::LeftButton);
    }
    // cambio to the person of the first staff row holding `cedula`.
    void cambioTo(const QString &cedula)
    {
        for (int r = 0; r < staff->rowCount(); ++r)
            if (staff->cellText(r, 0) == cedula) {
                staff->clickRow(r);
                break;
            }
        QVERIFY(bar->trigger(QStringLiteral("cambio")));
        QCOMPARE(modPrincipal::session().person, cedula);
    }
    // HorId of every row the grid shows (hidden column 8).
    static QStringList ids(const ui::DataGrid *grid)
    {
        if (grid->dataSource())
            grid->dataSource()->fetchAll();
        QStringList out;
        for (int r = 0; r < grid->rowCount(); ++r)
            out << grid->cellText(r, 8);
        return out;
    }
};

// The statements a list holds when nothing was sorted or filtered.
QString currentList(const QString &person)
{
    return Workspace::defaultStatement(Workspace::List::Current, person);
}
QString archiveList(const QString &person)
{
    return Workspace::defaultStatement(Workspace::List::Archive, person);
}

QStringList idsOf(tests::TempStore &store, const QString &statement)
{
    QStringList out;
    const store::ResultSet rs = store.select(statement);
    for (const auto &row : rs.rows)
        out << row.value(8).toString();
    return out;
}

// A day that has rows of `cedula` in `table`, from the middle of them.
QDate someDay(tests::TempStore &store, const QString &table, const QString &cedula)
{
    const store::ResultSet rs = store.select(QStringLiteral("SELECT HorFecha FROM %1 WHERE FunCedula='%2' ORDER BY HorFecha")
                                                 .arg(table, cedula));
    Q_ASSERT(!rs.rows.empty());
    return rs.rows.at(rs.rows.size() / 2).value(0).toDate();
}

// Clicks the first row of the current list that is teaching (it has its row in
// HORAS_RUBROS_MATERIAS); its HorId, 0 when there is none.
qlonglong clickTeachingRow(tests::TempStore &store, Screen &s)
{
    for (int r = 0; r < s.mes->rowCount(); ++r) {
        const qlonglong id = s.mes->cellText(r, 8).toLongLong();
        if (store.count(QStringLiteral("HORAS_RUBROS_MATERIAS"), QStringLiteral("HorId = ?"), {id}) == 1) {
            s.mes->clickRow(r);
            return id;
        }
    }
    return 0;
}

}  // namespace

class TestWorkspaces : public QObject {
    Q_OBJECT

private slots:
    void statementTexts();
    void skeleton_data();
    void skeleton();
    void stateTable_data();
    void stateTable();
    void sortCaptions();
    void buttonsFollowTheCurrentList();
    void deleteRow_data();
    void deleteRow();
    void deleteOutsideTabZero();
    void modificarOnArchiveTabOpensCurrentRow();
    void sortThenNuevoPutsDateOrderBack();
    void messageBoxDoesNotReactivate();
    void filterEmptyDayAndDoubleClick();
    void chiefStaffList();
    void cambioWithArchiveTabShowing();
    void cambioOnEmptyStaffList();
    void chiefPrintMenuRerunsLists();
    void superUserReadsOnly();
    void superUserOpensHistory();

    void chiefExportsFromTheCloseTab();
    void budgetPrintOpensItsReport();
    void activationShowsOtherUsersChanges_data();
    void activationShowsOtherUsersChanges();

private:
    tests::WindowFixture m_fixture;
    tests::TempStore &store() { return m_fixture.store(); }
    ScriptedDialogs &dialogs() { return m_fixture.dialogs(); }

private slots:
    // Each function on a fresh demo store, with the dialogs scripted.
    void init() { m_fixture.begin(); }
    void cleanup() { m_fixture.end(); }
};

// The statements as the lists hold them, word for word.
void TestWorkspaces::statementTexts()
{
    const QString head = QStringLiteral(
        "SELECT H.HORFECHA, H.HORSEMANA, H.HORVALORHORA, H.HORHORAS, T.TIPDESCRIPCION, D.DESDESCRIPCION, "
        "ACT.ACTDESCRIPCION, ARE.AREDESCRIPCION, H.HORID FROM TIPOHORAS T, HORAS H, ACTIVIDADES ACT, AREAS ARE, "
        "DESTINOS D WHERE H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID AND H.DESID=D.DESID AND H.TIPID=T.TIPID");
    QString archiveHead = head;
    archiveHead.replace(QStringLiteral("HORAS H"), QStringLiteral("HHORAS H"));
    using L = Workspace::List;
    QCOMPARE(Workspace::defaultStatement(L::Current, QStringLiteral("  123 ")),
             head + QStringLiteral(" AND H.FUNCEDULA='123' ORDER BY H.HORFECHA"));
    QCOMPARE(Workspace::sortedStatement(L::Current, QStringLiteral("123"), QStringLiteral("ordenar_des"),
                                        QStringLiteral("tipohora")),
             head + QStringLiteral(" AND H.FUNCEDULA='123' ORDER BY T.TIPDESCRIPCION DESC"));
    QCOMPARE(Workspace::sortedStatement(L::Archive, QStringLiteral("123"), QStringLiteral("ordenar_asc"),
                                        QStringLiteral("fecha")),
             QStringLiteral("SELECT H.HORFECHA, H.HORSEMANA, H.HORVALORHORA AS [Valor], H.HORHORAS AS [Horas], "
                            "T.TIPDESCRIPCION AS [Tipo de horas], D.DESDESCRIPCION, ACT.ACTDESCRIPCION, "
                            "ARE.AREDESCRIPCION, H.HORID") +
                 archiveHead.mid(archiveHead.indexOf(QStringLiteral(" FROM "))) +
                 QStringLiteral(" AND H.FUNCEDULA='123' ORDER BY H.HORFECHA ASC"));
    QCOMPARE(Workspace::filteredStatement(L::Current, QStringLiteral("123"), QDate(2024, 3, 5), true),
             head + QStringLiteral(" AND H.HORFECHA>=#03-5-24# AND H.FUNCEDULA='123'"));
    QCOMPARE(Workspace::filteredStatement(L::Archive, QStringLiteral("1'3"), QDate(2024, 11, 25), false),
             archiveHead + QStringLiteral(" AND H.HORFECHA=#11-25-24# AND H.FUNCEDULA='1''3'"));
}

void TestWorkspaces::skeleton_data()
{
    QTest::addColumn<int>("perId");
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QStringList>("tabs");
    QTest::addColumn<QStringList>("printMenu");
    QTest::addColumn<QString>("hoursText");  // the hours column of the current grid, 2 hours
    QTest::addColumn<QStringList>("roleTabs");  // a control of each tab past the third
    const auto list = [](const char *items) { return QString::fromUtf8(items).split(QLatin1Char('|'), Qt::SkipEmptyParts); };
    const QStringList three = list("Mes en curso|Mi archivo|Búsqueda");
    const QStringList seven = three + list("Funcionarios|Cierre de mes|Presupuesto|Estadísticas");
    QTest::newRow("usuario") << 5 << list("nuevo|modificar|eliminar|imprimir|ordenar_asc|ordenar_des|ayuda|salir") << three
                             << QStringList{} << "2" << QStringList{};
    QTest::newRow("jefe") << 6 << list("nuevo|modificar|eliminar|imprimir|ordenar_asc|ordenar_des|cambio|ayuda|salir") << seven
                          << list("funcionario|area") << "2,00" << list("dtgFuncionarios|cmdSolicitarCierre|cmdComenzar|cmdGraficar");
    QTest::newRow("super") << 8 << list("imprimir|estadisticas|ordenar_asc|ordenar_des|cambio|historial|ayuda|salir") << seven
                           << list("funcionario|area|todo") << "2,00" << list("dtgFuncionarios|chkCierreAutorizado|cmdComenzar|cmdGraficar");
}

void TestWorkspaces::skeleton()
{
    QFETCH(int, perId);
    QFETCH(QStringList, keys);
    QFETCH(QStringList, tabs);
    QFETCH(QStringList, printMenu);
    QFETCH(QString, hoursText);
    QFETCH(QStringList, roleTabs);
    Screen s(perId);
    QCOMPARE(s.w->windowTitle(), QStringLiteral("Menú Principal"));
    QCOMPARE(s.bar->keys(), keys);
    for (const QString &k : keys)
        QVERIFY2(s.bar->isButtonEnabled(k), qPrintable(k));
    QCOMPARE(s.caption("ordenar_des"), QStringLiteral("Descendete"));
    QCOMPARE(s.bar->buttonToolTip(QStringLiteral("ordenar_asc")), QStringLiteral("Orden ascendente por fecha"));
    QCOMPARE(s.bar->menuKeys(QStringLiteral("ordenar_asc")),
             (QStringList{"actividad", "destino", "fecha", "semana", "tipohora"}));
    QCOMPARE(s.bar->menuKeys(QStringLiteral("imprimir")), printMenu);
    QStringList captions;
    for (int i = 0; i < s.tabs->count(); ++i)
        captions << s.tabs->tabText(i);
    QCOMPARE(captions, tabs);
    for (int i = 0; i < roleTabs.size(); ++i)
        QVERIFY2(s.tabs->widget(3 + i)->findChild<QWidget *>(roleTabs[i]), qPrintable(roleTabs[i]));

    // Activated when shown: the status panels and the current list of the person.
    auto *stb = s.w->findChild<ui::StatusPanels *>(QStringLiteral("stbPrincipal"));
    QCOMPARE(stb->keys(), (QStringList{"Usuario", "Area", "Acceso", "Fecha", "Hora"}));
    QCOMPARE(stb->panelText(QStringLiteral("Usuario")), QStringLiteral("Usuario: ") + modPrincipal::session().login);
    QCOMPARE(stb->panelText(QStringLiteral("Area")), QStringLiteral("Area: ") + modPrincipal::session().area);
    QCOMPARE(stb->panelText(QStringLiteral("Acceso")), QStringLiteral("Tipo: %1").arg(perId));
    QCOMPARE(s.adcMes->recordSource(), currentList(modPrincipal::session().person));
    QCOMPARE(Screen::ids(s.mes), idsOf(store(), s.adcMes->recordSource()));
    QVERIFY(s.mes->rowCount() > 0);
    QCOMPARE(s.mes->caption(), QStringLiteral("HORAS TRABAJADAS DURANTE EL MES EN CURSO"));
    QCOMPARE(s.archivo->caption(), QStringLiteral("HORAS TRABAJADAS DURANTE MESES ANTERIORES"));
    QCOMPARE(s.mes->visibleColumnCount(), 8);
    QCOMPARE(s.mes->heading(7), QStringLiteral("Área"));
    QVERIFY(s.mes->view()->isColumnHidden(8));
    // Masks: date and value in the current grid; hours as the role has it.
    const store::ResultSet first = store().select(s.adcMes->recordSource());
    const QDate d = first.rows.front().value(0).toDate();
    QCOMPARE(s.mes->cellText(0, 0), d.toString(QStringLiteral("dd-")) + QStringLiteral("%1-%2")
                                        .arg(QStringList{"ene", "feb", "mar", "abr", "may", "jun", "jul", "ago", "sep",
                                                         "oct", "nov", "dic"}[d.month() - 1])
                                        .arg(d.year()));
    QVERIFY(s.mes->cellText(0, 2).endsWith(QStringLiteral(",00")));
    store().execNative(QStringLiteral("UPDATE HORAS SET HorHoras = 2 WHERE HorId = ?"), {first.rows.front().value(8)});
    s.w->windowActivated();
    QCOMPARE(s.mes->cellText(0, 3), hoursText);
    // The archive waits for its tab.
    QCOMPARE(s.archivo->rowCount(), 0);
    QCOMPARE(s.archiveRuns, 0);
}

// Sequences of events -> the statement each list holds, and what the grids show.
// Events: act (activation), asc:<entry>, des:<entry>, fcur>= / fcur= / farc>= / farc=
// (filter on a day with rows), del (delete, Yes), tab<n>, cambio (to the two-contract person).
// Statements: def, asc:<entry>, des:<entry>, f>=, f=.
void TestWorkspaces::stateTable_data()
{
    QTest::addColumn<int>("perId");
    QTest::addColumn<QStringList>("events");
    QTest::addColumn<QString>("current");
    QTest::addColumn<QString>("archive");
    QTest::addColumn<bool>("archiveRan");  // the archive list ran in the last event
    QTest::newRow("activated") << 5 << QStringList{"act"} << "def" << "def" << false;
    QTest::newRow("sort sets both") << 5 << QStringList{"asc:actividad"} << "asc:actividad" << "asc:actividad" << true;
    QTest::newRow("filter current after sort") << 5 << QStringList{"asc:actividad", "fcur>="} << "f>=" << "asc:actividad" << false;
    QTest::newRow("filter archive") << 5 << QStringList{"farc="} << "def" << "f=" << true;
    QTest::newRow("sort replaces filter") << 5 << QStringList{"farc>=", "fcur=", "des:semana"} << "des:semana" << "des:semana" << true;
    QTest::newRow("delete after sort") << 5 << QStringList{"asc:destino", "del"} << "def" << "asc:destino" << false;
    QTest::newRow("tab 1 runs archive") << 5 << QStringList{"des:tipohora", "tab1"} << "des:tipohora" << "des:tipohora" << true;
    QTest::newRow("tab 2 and back reads nothing") << 5 << QStringList{"farc=", "tab2", "tab0"} << "def" << "f=" << false;
    QTest::newRow("activation keeps archive stored") << 5 << QStringList{"asc:fecha", "tab1", "act"} << "def" << "def" << false;
    QTest::newRow("chief cambio after filter") << 6 << QStringList{"farc=", "cambio", "tab1"} << "def" << "def" << true;
    QTest::newRow("chief tab 3 reads nothing") << 6 << QStringList{"des:actividad", "tab3", "tab6"} << "des:actividad"
                                               << "des:actividad" << false;
    QTest::newRow("super filter") << 8 << QStringList{"cambio", "fcur="} << "f=" << "def" << false;
}

void TestWorkspaces::stateTable()
{
    QFETCH(int, perId);
    QFETCH(QStringList, events);
    QFETCH(QString, current);
    QFETCH(QString, archive);
    QFETCH(bool, archiveRan);
    Screen s(perId);
    QDate filterDay[2];
    bool filterFrom[2] = {true, true};
    int runsBefore = 0;
    for (const QString &e : events) {
        runsBefore = s.archiveRuns;
        const QString person = modPrincipal::session().person;
        if (e == QLatin1String("act")) {
            s.w->windowActivated();
        } else if (e.startsWith(QLatin1String("asc:")) || e.startsWith(QLatin1String("des:"))) {
            QVERIFY(s.sort(e.startsWith(QLatin1String("asc")) ? "ordenar_asc" : "ordenar_des", qPrintable(e.mid(4))));
        } else if (e.startsWith(QLatin1String("f"))) {
            const bool cur = e.startsWith(QLatin1String("fcur"));
            const QDate day = someDay(store(), cur ? QStringLiteral("HORAS") : QStringLiteral("HHORAS"), person);
            filterDay[cur ? 0 : 1] = day;
            filterFrom[cur ? 0 : 1] = e.endsWith(QLatin1String(">="));
            s.filter(cur, e.endsWith(QLatin1String(">=")), day);
            QCOMPARE(s.tabs->currentIndex(), cur ? 0 : 1);
        } else if (e == QLatin1String("del")) {
            s.tabs->setCurrentIndex(0);
            const QString id = s.adcMes->value(QStringLiteral("HorId")).toString();
            dialogs().answerNext(ui::Answer::Yes);
            QVERIFY(s.trigger("eliminar"));
            QCOMPARE(store().count(QStringLiteral("HORAS"), QStringLiteral("HorId = ?"), {id.toLongLong()}), 0);
        } else if (e.startsWith(QLatin1String("tab"))) {
            s.tabs->setCurrentIndex(e.mid(3).toInt());
        } else if (e == QLatin1String("cambio")) {
            s.tabs->setCurrentIndex(3);
            s.cambioTo(kTwoContracts);
        } else {
            QFAIL(qPrintable(QStringLiteral("unknown event ") + e));
        }
    }

    const QString person = modPrincipal::session().person;
    auto expected = [&](Workspace::List list, const QString &token) {
        const int i = list == Workspace::List::Current ? 0 : 1;
        if (token == QLatin1String("def"))
            return Workspace::defaultStatement(list, person);
        if (token.startsWith(QLatin1String("f")))
            return Workspace::filteredStatement(list, person, filterDay[i], filterFrom[i]);
        const bool asc = token.startsWith(QLatin1String("asc"));
        return Workspace::sortedStatement(list, person, asc ? QStringLiteral("ordenar_asc") : QStringLiteral("ordenar_des"), token.mid(4));
    };
    QCOMPARE(s.adcMes->recordSource(), expected(Workspace::List::Current, current));
    QCOMPARE(s.adcArchivo->recordSource(), expected(Workspace::List::Archive, archive));
    QCOMPARE(s.archiveRuns > runsBefore, archiveRan);

    // The current grid shows what its statement gives; a filter gives rows in no order.
    QStringList shown = Screen::ids(s.mes);
    QStringList wanted = idsOf(store(), s.adcMes->recordSource());
    QVERIFY(!wanted.isEmpty());
    if (current.startsWith(QLatin1String("f"))) {
        shown.sort();
        wanted.sort();
    }
    QCOMPARE(shown, wanted);
    if (archiveRan && s.archivo->dataSource()) {  // the grid is bound at the first visit of tab 1
        QCOMPARE(Screen::ids(s.archivo), idsOf(store(), s.adcArchivo->recordSource()));
        QVERIFY(s.archivo->rowCount() > 0);
    }
}

void TestWorkspaces::sortCaptions()
{
    Screen s(5);
    for (auto [entry, caption] : {std::pair{"actividad", "Actividad"}, {"destino", "Destino"}, {"fecha", "Fecha"},
                                  {"semana", "Semana"}, {"tipohora", "Tipo Hora"}}) {
        QVERIFY(s.sort("ordenar_des", entry));
        QCOMPARE(s.caption("ordenar_des"), QString::fromLatin1(caption));
        QCOMPARE(s.caption("ordenar_asc"), QStringLiteral("Ascendente"));
    }
    QVERIFY(s.sort("ordenar_asc", "semana"));
    QCOMPARE(s.caption("ordenar_asc"), QStringLiteral("Semana"));
    QCOMPARE(s.caption("ordenar_des"), QStringLiteral("Tipo Hora"));
    // The descending sort by week really comes out that way.
    QVERIFY(s.sort("ordenar_des", "semana"));
    for (int r = 1; r < s.mes->rowCount(); ++r)
        QVERIFY(s.mes->cellText(r - 1, 1).toInt() >= s.mes->cellText(r, 1).toInt());
    // The button faces do nothing by themselves.
    const QString before = s.adcMes->recordSource();
    QVERIFY(s.trigger("ordenar_asc"));
    QCOMPARE(s.adcMes->recordSource(), before);
}

// The last row deleted leaves both buttons off; the list filling again does not turn them
// back on, a click in the grid does.
void TestWorkspaces::buttonsFollowTheCurrentList()
{
    const store::ResultSet mine = store().select(
        QStringLiteral("SELECT HorId FROM HORAS WHERE FunCedula='11111111' ORDER BY HorFecha"));
    const qlonglong keep = mine.rows.front().value(0).toLongLong();
    store().execNative(QStringLiteral("DELETE FROM HORAS WHERE FunCedula = ? AND HorId <> ?"), {kUsuario, keep});
    Screen s(5);
    QCOMPARE(s.mes->rowCount(), 1);
    QVERIFY(s.writeKeys(true));  // the first row is current with no click

    dialogs().answerNext(ui::Answer::Yes);
    QVERIFY(s.trigger("eliminar"));
    QCOMPARE(s.mes->rowCount(), 0);
    QVERIFY(s.writeKeys(false));
    QVERIFY(s.bar->isButtonEnabled(QStringLiteral("nuevo")));

    // An hour entered elsewhere fills the list at the next activation; the buttons stay off.
    store().execNative(QStringLiteral("INSERT INTO HORAS (FunCedula, AreId, ActId, DesId, TipId, FunInsId, HorFecha, "
                                    "HorSemana, HorValorhora, HorHoras, HorMoneda) SELECT FunCedula, 'DOC', 'REU', "
                                    "'CUR', 'COM', FunInsId, ?, 1, 100, 3, 'Pesos Uruguayos' FROM "
                                    "FUNCIONARIOS_INSTITUTOS WHERE FunCedula = ?"),
                     {QDate::currentDate(), kUsuario});
    s.w->windowActivated();
    QCOMPARE(s.mes->rowCount(), 1);
    QVERIFY(s.writeKeys(false));
    // A click on the row turns both on.
    QTest::mouseClick(s.mes->view()->viewport(), Qt::LeftButton, {},
                      s.mes->view()->visualRect(s.mes->view()->model()->index(0, 0)).center());
    QVERIFY(s.writeKeys(true));
}

// eliminar asks first, then takes the row and its teaching link in one transaction: No, or
// a store that refuses halfway, keeps both; a row gone meanwhile is said so and leaves the
// list. The list is back on its statement and the pointer is not left as the hourglass.
void TestWorkspaces::deleteRow_data()
{
    QTest::addColumn<QString>("case_");
    QTest::addColumn<bool>("yes");
    QTest::addColumn<bool>("kept");  // the row and its link are still stored
    QTest::newRow("answer no") << "" << false << true;
    QTest::newRow("answer yes") << "" << true << false;
    QTest::newRow("store refuses halfway") << "refuse" << true << true;
    QTest::newRow("row gone meanwhile, sorted list") << "gone" << true << false;
}

void TestWorkspaces::deleteRow()
{
    QFETCH(QString, case_);
    QFETCH(bool, yes);
    QFETCH(bool, kept);
    if (case_ == QLatin1String("refuse") && store().backend() != store::Backend::SQLite)
        QSKIP("the refusal is an SQLite trigger");
    Screen s(5);
    if (case_ == QLatin1String("gone"))
        QVERIFY(s.sort("ordenar_des", "fecha"));
    const qlonglong id = clickTeachingRow(store(), s);
    QVERIFY(id > 0);
    const int rows = s.mes->rowCount(), before = store().count(QStringLiteral("HORAS"));
    if (case_ == QLatin1String("refuse"))
        store().execNative(QStringLiteral("CREATE TRIGGER horas_fijas BEFORE DELETE ON HORAS "
                                          "BEGIN SELECT RAISE(ABORT, 'borrado rechazado'); END"));
    for (const char *table : {"HORAS_RUBROS_MATERIAS", "HORAS"})
        if (case_ == QLatin1String("gone"))
            store().execNative(QStringLiteral("DELETE FROM %1 WHERE HorId = ?").arg(QLatin1String(table)), {id});

    const int busyBefore = int(dialogs().busyHistory().size());
    bool busyWhileAsking = true;
    dialogs().setOnShown([&](const ScriptedDialogs::Box &box) {
        if (box.buttons == ui::Buttons::YesNo)
            busyWhileAsking = ui::isBusy();
    });
    dialogs().answerNext(yes ? ui::Answer::Yes : ui::Answer::No);
    bool refused = false;
    try {
        QVERIFY(s.trigger("eliminar"));
    } catch (const std::exception &) {
        refused = true;
    }
    const ScriptedDialogs::Box ask = dialogs().shown().value(0);
    QCOMPARE(ask.text, QStringLiteral("Confirma que desea eliminar las horas seleccionadas ?"));
    QCOMPARE(ask.title, QStringLiteral("Atención"));
    QCOMPARE(ask.buttons, ui::Buttons::YesNo);
    QCOMPARE(ask.icon, ui::Icon::None);
    QVERIFY(!busyWhileAsking);
    QVERIFY(!ui::isBusy());
    QCOMPARE(store().count(QStringLiteral("HORAS"), QStringLiteral("HorId = ?"), {id}), kept ? 1 : 0);
    QCOMPARE(store().count(QStringLiteral("HORAS_RUBROS_MATERIAS"), QStringLiteral("HorId = ?"), {id}), kept ? 1 : 0);
    QCOMPARE(s.adcMes->recordSource(), currentList(kUsuario));
    if (case_ == QLatin1String("refuse")) {
        QVERIFY(refused || dialogs().count() == 2);
        store().execNative(QStringLiteral("DROP TRIGGER horas_fijas"));
        return;
    }
    QCOMPARE(store().count(QStringLiteral("HORAS")), kept ? before : before - 1);
    if (case_ == QLatin1String("gone")) {
        QCOMPARE(dialogs().last().text, QStringLiteral("El registro de horas ya no existe."));
        QCOMPARE(s.mes->rowCount(), rows - 1);
        return;
    }
    QCOMPARE(dialogs().count(), 1);
    if (kept) {
        QCOMPARE(dialogs().busyHistory().size(), busyBefore);
        return;
    }
    QCOMPARE(dialogs().busyHistory().mid(busyBefore), (QList<bool>{true, false}));
    QVERIFY(!Screen::ids(s.mes).contains(QString::number(id)));
    QVERIFY(s.writeKeys(true));  // rows remain: the delete's own moves leave the buttons be
    QCOMPARE(Screen::ids(s.mes), idsOf(store(), currentList(kUsuario)));
}

void TestWorkspaces::deleteOutsideTabZero()
{
    Screen s(6);
    const int before = store().count(QStringLiteral("HORAS"));
    for (int tab : {1, 2, 3, 5}) {
        s.tabs->setCurrentIndex(tab);
        dialogs().clearShown();
        QVERIFY(s.trigger("eliminar"));
        QCOMPARE(dialogs().count(), 1);
        QCOMPARE(dialogs().last().text, QStringLiteral("Solo es posible eliminar horas del mes en curso"));
        QCOMPARE(dialogs().last().title, ui::programTitle());
        QCOMPARE(dialogs().last().buttons, ui::Buttons::Ok);
        QCOMPARE(dialogs().last().icon, ui::Icon::None);
        QCOMPARE(s.tabs->currentIndex(), tab);
    }
    QCOMPARE(store().count(QStringLiteral("HORAS")), before);
}

void TestWorkspaces::modificarOnArchiveTabOpensCurrentRow()
{
    Screen s(5);
    s.mes->clickRow(2);
    const int id = s.mes->cellText(2, 8).toInt();
    s.tabs->setCurrentIndex(1);
    QVERIFY(s.archivo->rowCount() > 0);
    QVERIFY(s.trigger("modificar"));
    frmModificoHoras *f = frmModificoHoras::instance();
    QVERIFY(f);
    QCOMPARE(f->horid, id);
}

// A visit to the hours entry window, saved or not, puts date order back; the sort button
// keeps the caption of its last entry.
void TestWorkspaces::sortThenNuevoPutsDateOrderBack()
{
    Screen s(5);
    QVERIFY(s.sort("ordenar_des", "actividad"));
    QVERIFY(s.trigger("nuevo"));
    frmRegistroHoras *f = frmRegistroHoras::instance();
    QVERIFY(f);
    QVERIFY(f->isVisible());
    QVERIFY(QTest::qWaitForWindowActive(f));
    QVERIFY(s.adcMes->recordSource().endsWith(QLatin1String("ACT.ACTDESCRIPCION DESC")));
    f->close();
    QCoreApplication::processEvents();
    // The user comes back to the workspace.
    s.w->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(s.w.get()));
    QTRY_COMPARE(s.adcMes->recordSource(), currentList(kUsuario));
    QCOMPARE(s.adcArchivo->recordSource(), archiveList(kUsuario));
    QCOMPARE(s.caption("ordenar_des"), QStringLiteral("Actividad"));
}

// Coming back from a box of the program's own is no activation: the sort stays.
void TestWorkspaces::messageBoxDoesNotReactivate()
{
    Screen s(5);
    QVERIFY(s.sort("ordenar_asc", "destino"));
    const QString sorted = s.adcMes->recordSource();
    {
        QMessageBox box(QMessageBox::NoIcon, QStringLiteral("t"), QStringLiteral("x"));
        box.show();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        box.hide();
    }
    s.w->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(s.w.get()));
    QCOMPARE(s.adcMes->recordSource(), sorted);
    // ayuda does not end the program; salir does.
    const int ends = dialogs().endProgramCount();
    QVERIFY(s.trigger("ayuda"));
    QCOMPARE(dialogs().endProgramCount(), ends);
    QVERIFY(s.trigger("salir"));
    QCOMPARE(dialogs().endProgramCount(), ends + 1);
}

void TestWorkspaces::filterEmptyDayAndDoubleClick()
{
    Screen s(5);
    const QDate day = someDay(store(), QStringLiteral("HHORAS"), kUsuario);
    s.tabs->setCurrentIndex(2);
    auto *cal = s.w->findChild<QCalendarWidget *>(QStringLiteral("calendario"));
    cal->setSelectedDate(day);
    s.w->findChild<QRadioButton *>(QStringLiteral("optFiltro_1"))->setChecked(true);
    s.w->findChild<QRadioButton *>(QStringLiteral("optTipo_1"))->setChecked(true);
    auto *view = cal->findChild<QTableView *>();
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(view->currentIndex()).center());
    QCOMPARE(s.tabs->currentIndex(), 1);
    QCOMPARE(s.adcArchivo->recordSource(),
             Workspace::filteredStatement(Workspace::List::Archive, kUsuario, day, false));
    QVERIFY(s.archivo->rowCount() > 0);
    for (int r = 0; r < s.archivo->rowCount(); ++r)
        QVERIFY(s.archivo->cellText(r, 0).contains(QString::number(day.day())));
    QCOMPARE(s.adcMes->recordSource(), currentList(kUsuario));
}

void TestWorkspaces::chiefStaffList()
{
    Screen s(6);
    QVERIFY(s.staff);
    QCOMPARE(s.staff->caption(), QStringLiteral("LISTA DE FUNCIONARIOS"));
    QCOMPARE(s.staff->heading(0), QStringLiteral("Cédula"));
    QStringList cedulas;
    for (int r = 0; r < s.staff->rowCount(); ++r)
        cedulas << s.staff->cellText(r, 0);
    // The staff with a contract in DOC, each contract a row (also their other areas').
    QCOMPARE(cedulas.count(kTwoContracts), 2);
    QCOMPARE(cedulas.count(kJefe), 1);
    QVERIFY(!cedulas.contains(QStringLiteral("99999999")));
    QCOMPARE(cedulas.size(), store().count(QStringLiteral("FUNCIONARIOS_INSTITUTOS"),
                                         QStringLiteral("FunCedula IN (SELECT FunCedula FROM FUNCIONARIOS_INSTITUTOS "
                                                        "WHERE AreId = 'DOC')")));
    // cambio with no click takes the first row.
    QVERIFY(s.trigger("cambio"));
    QCOMPARE(modPrincipal::session().person, cedulas.first());
    // Either row of the two-contract person gives the same person; the tab stays.
    s.tabs->setCurrentIndex(3);
    for (int r = 0; r < cedulas.size(); ++r) {
        if (cedulas[r] != kTwoContracts)
            continue;
        tests::amendSession([&](core::Session &s) { s.person = kJefe; });
        s.staff->clickRow(r);
        QVERIFY(s.trigger("cambio"));
        QCOMPARE(modPrincipal::session().person, kTwoContracts);
        QCOMPARE(s.tabs->currentIndex(), 3);
        QCOMPARE(Screen::ids(s.mes), idsOf(store(), currentList(kTwoContracts)));
    }
    // The status bar still names the chief.
    QCOMPARE(s.w->findChild<ui::StatusPanels *>()->panelText(QStringLiteral("Usuario")), QStringLiteral("Usuario: jefe"));
    // A filter on a day without hours empties the list and turns the buttons off; a list
    // with rows again keeps them off until a click anywhere in the grid.
    s.filter(true, false, QDate(2001, 1, 1));
    QCOMPARE(s.tabs->currentIndex(), 0);
    QCOMPARE(s.mes->rowCount(), 0);
    QVERIFY(s.writeKeys(false));
    s.w->windowActivated();
    QVERIFY(s.writeKeys(false));
    s.clickEmptyPartOf(s.mes);
    QVERIFY(s.writeKeys(true));
}

void TestWorkspaces::cambioWithArchiveTabShowing()
{
    Screen s(6);
    s.tabs->setCurrentIndex(1);
    const QStringList chiefArchive = Screen::ids(s.archivo);
    QVERIFY(!chiefArchive.isEmpty());
    s.cambioTo(kTwoContracts);
    QCOMPARE(s.tabs->currentIndex(), 1);
    QCOMPARE(Screen::ids(s.archivo), chiefArchive);
    QCOMPARE(s.adcArchivo->recordSource(), archiveList(kTwoContracts));
    // modificar already acts on the new person's current list.
    QVERIFY(s.trigger("modificar"));
    QVERIFY(frmModificoHoras::instance());
    QCOMPARE(store().scalar(QStringLiteral("SELECT FunCedula FROM HORAS WHERE HorId = ?"),
                          {frmModificoHoras::instance()->horid}).toString(), kTwoContracts);
    s.tabs->setCurrentIndex(0);
    s.tabs->setCurrentIndex(1);
    QCOMPARE(Screen::ids(s.archivo), idsOf(store(), s.adcArchivo->recordSource()));
    QVERIFY(Screen::ids(s.archivo) != chiefArchive);
}

void TestWorkspaces::cambioOnEmptyStaffList()
{
    store().execNative(QStringLiteral("DELETE FROM FUNCIONARIOS_INSTITUTOS WHERE AreId = 'DOC'"));
    Screen s(6);
    QCOMPARE(s.staff->rowCount(), 0);
    QVERIFY(s.bar->isButtonEnabled(QStringLiteral("cambio")));
    const QString before = s.adcMes->recordSource();
    QVERIFY(s.trigger("cambio"));
    QCOMPARE(modPrincipal::session().person, kJefe);
    QCOMPARE(s.adcMes->recordSource(), before);
    QCOMPARE(dialogs().count(), 0);
    s.tabs->setCurrentIndex(3);
    s.clickEmptyPartOf(s.staff);
    QVERIFY(!s.bar->isButtonEnabled(QStringLiteral("cambio")));
}

// A window of the program, shown on screen, by its name.
static QWidget *findTopLevel(const QString &name)
{
    for (QWidget *w : QApplication::topLevelWidgets())
        if (w->objectName() == name && w->isVisible())
            return w;
    return nullptr;
}

void TestWorkspaces::chiefPrintMenuRerunsLists()
{
    Screen s(6);
    QVERIFY(s.sort("ordenar_asc", "semana"));
    const QString sorted = s.adcMes->recordSource();
    const int runs = s.archiveRuns;
    // A row written elsewhere shows after printing, in the order the list holds.
    store().execNative(QStringLiteral("DELETE FROM HORAS WHERE HorId = ?"), {s.mes->cellText(0, 8).toLongLong()});
    QVERIFY(s.trigger("imprimir"));
    QCOMPARE(dialogs().count(), 0);
    QVERIFY(s.sort("imprimir", "area"));
    QVERIFY(findTopLevel(QStringLiteral("dtrReporteMesActualArea")));
    QCOMPARE(s.adcMes->recordSource(), sorted);
    QCOMPARE(Screen::ids(s.mes), idsOf(store(), sorted));
    QVERIFY(s.archiveRuns > runs);
}

void TestWorkspaces::superUserReadsOnly()
{
    Screen s(8);
    for (const char *k : {"nuevo", "modificar", "eliminar"})
        QVERIFY(!s.bar->button(QString::fromLatin1(k)));
    QCOMPARE(s.staff->rowCount(), store().count(QStringLiteral("FUNCIONARIOS_INSTITUTOS")));
    // A click in the current list changes no button; there is none to change.
    s.mes->clickRow(1);
    QCOMPARE(s.bar->keys().size(), 8);
    QCOMPARE(s.bar->menuKeys(QStringLiteral("estadisticas")),
             (QStringList{"actividades", "areas", "destinos", "tipos"}));
    QVERIFY(s.sort("estadisticas", "destinos"));
    QCOMPARE(static_cast<frmSuperUsuario *>(s.w.get())->agrupar, QStringLiteral("DesDescripcion"));
    QVERIFY(findTopLevel(QStringLiteral("frmEstadisticasSuperUsuario")));
    QVERIFY(s.sort("imprimir", "todo"));
    QVERIFY(findTopLevel(QStringLiteral("dtrReporteMesActualGeneral")));
}

// `historial` opens the history of the current row of the list on screen: who changed it
// and what, as the store recorded it; with no row, a message.
void TestWorkspaces::superUserOpensHistory()
{
    Screen s(8);
    const qlonglong current = s.adcMes->value(QStringLiteral("HorId")).toLongLong();
    QVERIFY(current > 0);
    store::history::announceLogin(QStringLiteral("jefe"));
    store::Connection::shared()->executeNative(QStringLiteral("UPDATE HORAS SET HorHoras = 9 WHERE HorId = ?"), {current});
    store::history::announceLogin(QString());

    QVERIFY(s.trigger("historial"));
    auto *window = qobject_cast<QWidget *>(
        findTopLevel(QStringLiteral("frmHistorialHoras_%1").arg(current)));
    QVERIFY(window && window->isVisible());
    auto *grid = window->findChild<QTableWidget *>(QStringLiteral("grdHistorial"));
    QCOMPARE(grid->rowCount(), 2);
    QCOMPARE(grid->item(0, 2)->text(), QStringLiteral("Alta"));
    QCOMPARE(grid->item(1, 1)->text(), QStringLiteral("jefe"));
    QCOMPARE(grid->item(1, 2)->text(), QStringLiteral("Cambio"));
    QVERIFY2(grid->item(1, 3)->text().startsWith(QLatin1String("HorHoras: ")) &&
                 grid->item(1, 3)->text().endsWith(QStringLiteral(" → 9")),
             qPrintable(grid->item(1, 3)->text()));
    QTest::mouseClick(window->findChild<QPushButton *>(QStringLiteral("cmdCerrar")), Qt::LeftButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    // On "Mi archivo" the archive's row is the one.
    s.tabs->setCurrentIndex(1);
    const qlonglong archived = s.adcArchivo->value(QStringLiteral("HorId")).toLongLong();
    QVERIFY(archived > 0 && archived != current);
    QVERIFY(s.trigger("historial"));
    QVERIFY(findTopLevel(QStringLiteral("frmHistorialHoras_%1").arg(archived)));

    // A current list without rows: the message, no window.
    s.filter(true, false, QDate(1999, 1, 1));
    const int before = dialogs().count();
    QVERIFY(s.trigger("historial"));
    QCOMPARE(dialogs().count(), before + 1);
    QCOMPARE(dialogs().last().text, QStringLiteral("Seleccione primero un registro de horas."));
    for (QWidget *w : QApplication::topLevelWidgets())
        if (w->objectName().startsWith(QLatin1String("frmHistorialHoras")))
            delete w;
}

// cmdExportar of the chief's close tab writes the area's hours to a workbook and gives
// the current list back to the person the window works on.
void TestWorkspaces::chiefExportsFromTheCloseTab()
{
    Screen s(6);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("area.xlsx"));
    dialogs().typeNext(path);
    s.tabs->setCurrentIndex(4);
    auto *cmdExportar = s.tabs->widget(4)->findChild<QPushButton *>(QStringLiteral("cmdExportar"));
    QVERIFY(cmdExportar);
    // The newest request of the area is still open, which enables the export.
    auto *cierres = s.tabs->widget(4)->findChild<ui::DataGrid *>(QStringLiteral("dtgCierreMeses"));
    QVERIFY(cierres);
    cierres->clickRow(cierres->rowCount() - 1);
    QVERIFY(cmdExportar->isEnabled());
    cmdExportar->click();
    QVERIFY(QFile::exists(path));
    QCOMPARE(dialogs().last().text, QStringLiteral("Se ha exportado a Excel con exito"));
    QVERIFY(s.adcMes->recordSource().contains(QLatin1String("H.FUNCEDULA='22222222'")));
}

// cmdImprimir of the budget tab runs the query and opens the window's budget report.
void TestWorkspaces::budgetPrintOpensItsReport()
{
    Screen s(6);
    auto *cmdImprimir = s.tabs->widget(5)->findChild<QPushButton *>(QStringLiteral("cmdImprimir"));
    QVERIFY(cmdImprimir);
    cmdImprimir->click();
    QVERIFY(findTopLevel(QStringLiteral("dtrPresupuestoJefeArea")));
}

// An activation reads the current list again only when the store changed since it was read,
// whoever changed it: another user's new, changed or deleted row shows at once; with nothing
// changed the grid is left as it is, and where the store tells (SQLite) nothing is read.
void TestWorkspaces::activationShowsOtherUsersChanges_data()
{
    QTest::addColumn<QString>("change");
    QTest::newRow("nothing changed") << QString();
    QTest::newRow("another user adds a row") << QStringLiteral("insert");
    QTest::newRow("another user changes a row") << QStringLiteral("update");
    QTest::newRow("another user deletes a row") << QStringLiteral("delete");
}

void TestWorkspaces::activationShowsOtherUsersChanges()
{
    QFETCH(QString, change);
    tests::TempStore store;  // its connection is the other user's
    Screen s(5);
    const QString statement = s.adcMes->recordSource();
    const QStringList before = Screen::ids(s.mes);
    QCOMPARE(before, idsOf(store, statement));
    const qlonglong first = before.first().toLongLong();
    QString touched = before.first();
    if (change == QLatin1String("insert")) {
        touched = QString::number(tests::copyOfHourRow(store, first, QDate(2026, 1, 5)));
    } else if (change == QLatin1String("update")) {
        QVERIFY(s.mes->cellText(0, 1) != QLatin1String("77"));
        store.execNative(QStringLiteral("UPDATE HORAS SET HorSemana = 77 WHERE HorId = ?"), {first});
    } else if (change == QLatin1String("delete")) {
        store.execNative(QStringLiteral("DELETE FROM HORAS_RUBROS_MATERIAS WHERE HorId = ?"), {first});
        QCOMPARE(store.execNative(QStringLiteral("DELETE FROM HORAS WHERE HorId = ?"), {first}), 1);
    }

    QStringList statements;
    store::Connection::setStatementObserver([&](const QString &sql) { statements << sql; });
    QSignalSpy resets(s.mes->view()->model(), &QAbstractItemModel::modelReset);
    s.w->windowActivated();
    store::Connection::setStatementObserver({});
    const QStringList after = Screen::ids(s.mes);
    QCOMPARE(after, idsOf(store, statement));
    if (change.isEmpty()) {
        QCOMPARE(after, before);
        QCOMPARE(resets.count(), 0);
        if (store.backend() == store::Backend::SQLite)
            QVERIFY2(statements.isEmpty(), qPrintable(statements.join(QLatin1Char('\n'))));
        return;
    }
    QVERIFY(!statements.isEmpty());
    QCOMPARE(before.contains(touched), change != QLatin1String("insert"));
    QCOMPARE(after.contains(touched), change != QLatin1String("delete"));
    if (change == QLatin1String("update"))
        QCOMPARE(s.mes->cellText(int(after.indexOf(touched)), 1), QStringLiteral("77"));
}

TEMPALIA_TEST_MAIN(TestWorkspaces)
#include "tst_workspaces.moc"

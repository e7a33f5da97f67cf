#include "Controls.h"
#include "WindowFixture.h"
#include "admin/frmAdministrador.h"
#include "admin/frmMantActividades.h"
#include "admin/frmMantCatalogos.h"
#include "admin/frmMantFuncionarios.h"
#include "admin/frmMantRubros.h"
#include "admin/frmMantUsuarios.h"
#include "session/Usuario.h"
#include "session/frmAcercaDe.h"
#include "session/frmLogin.h"
#include "session/modPrincipal.h"
#include "ui/DataLists.h"
#include "store/DataControl.h"
#include "ui/Application.h"
#include "ui/DataGrid.h"
#include "ui/ScreenFit.h"

#include <QHeaderView>

#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QTemporaryDir>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QTest>

#include <functional>
#include <memory>

using tests::child;
using tests::click;
using tests::clickForBox;
using tests::type;
using ui::Answer;

namespace {

using WindowFactory = std::function<admin::MaintenanceWindow *()>;

int gridRowOf(ui::DataGrid *grid, int column, const QString &text)
{
    for (int r = 0; r < grid->rowCount(); ++r)
        if (grid->cellText(r, column) == text)
            return r;
    return -1;
}

// Types a cell of a grid in place, as the grid's editor hands it over.
void editCell(ui::DataGrid *grid, int row, int column, const QString &text)
{
    grid->clickRow(row);
    QAbstractItemModel *model = grid->view()->model();
    QVERIFY(model->flags(model->index(row, column)) & Qt::ItemIsEditable);
    QVERIFY(model->setData(model->index(row, column), text, Qt::EditRole));
}

}  // namespace

class TstAdmin : public QObject {
    Q_OBJECT

    tests::WindowFixture m_fixture;
    tests::TempStore &store() { return m_fixture.store(); }
    ScriptedDialogs &dialogs() { return m_fixture.dialogs(); }
    QString describe(const QString &table, const QString &key, const QString &description, const QString &id)
    {
        return store().scalar(QStringLiteral("SELECT %1 FROM %2 WHERE %3 = ?").arg(description, table, key), {id}).toString();
    }
    int count(const char *table, const char *where = "")
    {
        return store().count(QString::fromLatin1(table), QString::fromUtf8(where));
    }

private slots:
    void init() { m_fixture.begin(); }
    void cleanup() { m_fixture.end(); }

    void catalogue_data();
    void catalogue();
    void emptyCatalogueDisablesTheBoxes();
    void tipoHorasFactor();
    void administratorPanel();
    void contracts();
    void newStaffRowHasNoContracts();
    void activityAreaLinks();
    void activitySubjectLinks();
    void groupSubjects();
    void newUserCanLogIn();
    void storedUserKeepsPassword();
    void aboutTexts();
    void aboutSystemInformation();
};

void TstAdmin::catalogue_data()
{
    QTest::addColumn<WindowFactory>("make");
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("existing");  // a key of the demo rows
    QTest::addColumn<bool>("newHasAction");
    QTest::newRow("areas") << WindowFactory([] { return new frmMantAreas; }) << "AREAS" << "AreId" << "AreDescripcion" << "DOC" << true;
    QTest::newRow("institutos") << WindowFactory([] { return new frmMantInstitutos; }) << "INSTITUTOS" << "InsId" << "InsDescripcion" << "CEN" << true;
    QTest::newRow("destinos") << WindowFactory([] { return new frmMantDestinos; }) << "DESTINOS" << "DesId" << "DesDescripcion" << "GES" << false;
    QTest::newRow("materias") << WindowFactory([] { return new frmMantMaterias; }) << "MATERIAS" << "MatId" << "MatDescripcion" << "FIS" << true;
    QTest::newRow("tipohoras") << WindowFactory([] { return new frmMantTipoHoras; }) << "TIPOHORAS" << "TipId" << "TipDescripcion" << "EXT" << true;
}

// Each catalogue: a description typed in a grid cell is written when the user moves to
// another row; a new row begun with cmdNuevo and saved (a key with an apostrophe); a key
// already in use or empty is refused with the pending row and the typing kept, and saved
// once corrected.
void TstAdmin::catalogue()
{
    QFETCH(WindowFactory, make);
    QFETCH(QString, table);
    QFETCH(QString, key);
    QFETCH(QString, description);
    QFETCH(QString, existing);
    QFETCH(bool, newHasAction);
    std::unique_ptr<admin::MaintenanceWindow> w(make());
    w->show();
    auto *codigo = child<QLineEdit>(w.get(), "txtCodigo");
    auto *cmdNuevo = child<QPushButton>(w.get(), "cmdNuevo");
    const int before = store().count(table);
    QCOMPARE(w->grid()->rowCount(), before);
    QCOMPARE(codigo->maxLength(), 4);
    QCOMPARE(child<QLineEdit>(w.get(), "txtDescripcion")->maxLength(), 30);

    ui::DataGrid *grid = w->grid();
    const int row = gridRowOf(grid, 0, existing);
    QVERIFY(row >= 0);
    grid->clickRow(row);
    QCOMPARE(codigo->text(), existing);
    // Typed in place, a description is held to the length of its entry box.
    {
        const QModelIndex cell = grid->view()->model()->index(row, 1);
        grid->view()->edit(cell);
        auto *editor = grid->view()->viewport()->findChild<QLineEdit *>();
        QVERIFY(editor);
        QCOMPARE(editor->maxLength(), 30);
        grid->view()->closePersistentEditor(cell);
        QTest::keyClick(editor, Qt::Key_Escape);
    }
    editCell(grid, row, 1, QStringLiteral("Cambiada en la grilla"));
    const int other = row == 0 ? 1 : 0;
    grid->clickRow(other);
    QCOMPARE(codigo->text(), grid->cellText(other, 0));
    QCOMPARE(describe(table, key, description, existing), QStringLiteral("Cambiada en la grilla"));

    click(w.get(), "cmdNuevo");
    if (!newHasAction) {
        // Nothing begun: the boxes still show the row, the button stays as it was.
        QVERIFY(cmdNuevo->isEnabled());
        QCOMPARE(codigo->text(), grid->cellText(other, 0));
        QVERIFY(!w->dataControl()->isNewRow());
        QCOMPARE(dialogs().count(), 0);
        return;
    }
    QVERIFY(!cmdNuevo->isEnabled());
    QCOMPARE(codigo->text(), QString());
    type(w.get(), "txtCodigo", existing);
    type(w.get(), "txtDescripcion", QStringLiteral("Nueva d'escripción"));
    click(w.get(), "cmdGuardar");
    QCOMPARE(dialogs().count(), 1);
    QVERIFY2(dialogs().last().text.contains(QStringLiteral("Ya existe un registro con esa clave.")), qPrintable(dialogs().last().text));
    QVERIFY(!cmdNuevo->isEnabled());
    QVERIFY(w->dataControl()->isNewRow());
    QCOMPARE(codigo->text(), existing);
    QCOMPARE(child<QLineEdit>(w.get(), "txtDescripcion")->text(), QStringLiteral("Nueva d'escripción"));
    QCOMPARE(store().count(table), before);
    QCOMPARE(describe(table, key, description, existing), QStringLiteral("Cambiada en la grilla"));
    type(w.get(), "txtCodigo", QString());
    click(w.get(), "cmdGuardar");
    QCOMPARE(dialogs().count(), 2);
    QVERIFY(w->dataControl()->isNewRow());

    type(w.get(), "txtCodigo", QStringLiteral("O'K"));
    click(w.get(), "cmdGuardar");
    QCOMPARE(dialogs().count(), 2);
    QVERIFY(cmdNuevo->isEnabled());
    QCOMPARE(store().count(table), before + 1);
    QCOMPARE(describe(table, key, description, QStringLiteral("O'K")), QStringLiteral("Nueva d'escripción"));
    QCOMPARE(w->grid()->rowCount(), before + 1);
    QVERIFY(gridRowOf(w->grid(), 0, QStringLiteral("O'K")) >= 0);
    // cmdGuardar with nothing pending writes nothing.
    click(w.get(), "cmdGuardar");
    QCOMPARE(store().count(table), before + 1);
    QCOMPARE(dialogs().count(), 2);
}

// With no row to stand on, the boxes are closed; a new row opens them.
void TstAdmin::emptyCatalogueDisablesTheBoxes()
{
    m_fixture.dropStore();
    m_fixture.openStore(tests::TempStore::Content::Schema);
    frmMantAreas w;
    w.show();
    QCOMPARE(w.grid()->rowCount(), 0);
    QVERIFY(!child<QLineEdit>(&w, "txtCodigo")->isEnabled());
    QVERIFY(!child<QLineEdit>(&w, "txtDescripcion")->isEnabled());
    click(&w, "cmdGuardar");  // nothing to write
    QCOMPARE(dialogs().count(), 0);
    click(&w, "cmdNuevo");
    QVERIFY(child<QLineEdit>(&w, "txtCodigo")->isEnabled());
    type(&w, "txtCodigo", QStringLiteral("DOC"));
    type(&w, "txtDescripcion", QStringLiteral("Docencia"));
    click(&w, "cmdGuardar");
    QCOMPARE(count("AREAS"), 1);
    QCOMPARE(w.grid()->cellText(0, 1), QStringLiteral("Docencia"));
}

// The factor: typed with a comma, stored as a number, shown through its mask; text that
// is not a number is refused with a message and kept in the box.
void TstAdmin::tipoHorasFactor()
{
    frmMantTipoHoras w;
    w.show();
    click(&w, "cmdNuevo");
    type(&w, "txtCodigo", QStringLiteral("NOC"));
    type(&w, "txtDescripcion", QStringLiteral("Horas nocturnas"));
    type(&w, "txtPorcentaje", QStringLiteral("1,25"));
    click(&w, "cmdGuardar");
    QCOMPARE(dialogs().count(), 0);
    QCOMPARE(store().rowDifferences(QStringLiteral("SELECT * FROM TIPOHORAS WHERE TipId = 'NOC'"), {{"TipPorcentaje", 1.25}}), QString());
    const int row = gridRowOf(w.grid(), 0, QStringLiteral("NOC"));
    QVERIFY(row >= 0);
    QCOMPARE(w.grid()->cellText(row, 2), QStringLiteral("1,2500"));

    click(&w, "cmdNuevo");
    type(&w, "txtCodigo", QStringLiteral("MAL"));
    type(&w, "txtPorcentaje", QStringLiteral("mucho"));
    click(&w, "cmdGuardar");
    QCOMPARE(dialogs().count(), 1);
    QCOMPARE(child<QLineEdit>(&w, "txtPorcentaje")->text(), QStringLiteral("mucho"));
    QCOMPARE(count("TIPOHORAS", "TipId = 'MAL'"), 0);
    QVERIFY(!child<QPushButton>(&w, "cmdNuevo")->isEnabled());
}

// Every button opens its window without blocking; a second click brings the same window
// forward; cmdSalir ends the program.
void TstAdmin::administratorPanel()
{
    auto *panel = new frmAdministrador;
    panel->show();
    QCOMPARE(panel->windowTitle(), QStringLiteral("Administración del sistema"));
    QCOMPARE(panel->findChildren<QPushButton *>().size(), 12);
    QCOMPARE(child<QPushButton>(panel, "cmdAcerca")->text(), QStringLiteral("Acerca de"));
    QCOMPARE(child<QPushButton>(panel, "cmdAcerca")->toolTip(), QStringLiteral("Acerca de Quronda"));
    const std::pair<const char *, const char *> buttons[] = {
        {"cmdActividades", "frmMantActividades"}, {"cmdAreas", "frmMantAreas"},
        {"cmdDestinos", "frmMantDestinos"},       {"cmdFuncionarios", "frmMantFuncionarios"},
        {"cmdInstitutos", "frmMantInstitutos"},   {"cmdMaterias", "frmMantMaterias"},
        {"cmdRubros", "frmMantRubros"},           {"cmdTipoHoras", "frmMantTipoHoras"},
        {"cmdUsuarios", "frmMantUsuarios"},       {"cmdAcerca", "frmAcercaDe"}};
    for (auto [button, window] : buttons) {
        click(panel, button);
        QWidget *w = panel->findChild<QWidget *>(QString::fromLatin1(window));
        QVERIFY2(w && w->isVisible() && w->isWindow(), window);
        click(panel, button);
        QCOMPARE(panel->findChildren<QWidget *>(QString::fromLatin1(window)).size(), 1);
    }
    QVERIFY(panel->isEnabled());
    // A window closed with cmdCerrar is opened anew.
    click(panel->findChild<QWidget *>(QStringLiteral("frmMantAreas")), "cmdCerrar");
    QTRY_VERIFY(!panel->findChild<QWidget *>(QStringLiteral("frmMantAreas")));
    click(panel, "cmdAreas");
    QVERIFY(panel->findChild<QWidget *>(QStringLiteral("frmMantAreas")));
    click(panel, "cmdSalir");
    QVERIFY(dialogs().endProgramCalled());
    QCOMPARE(dialogs().count(), 0);
    delete panel;
}

// Contracts follow the staff row; one added in the grid, saved; a delete asks first.
void TstAdmin::contracts()
{
    frmMantFuncionarios w;
    w.show();
    auto *staff = child<ui::DataGrid>(&w, "dtgFuncionarios");
    auto *contracts = child<ui::DataGrid>(&w, "dtgContratos");
    QCOMPARE(staff->cellText(gridRowOf(staff, 0, QStringLiteral("66666666")), 5), QStringLiteral("Si"));
    staff->clickRow(gridRowOf(staff, 0, QStringLiteral("55555555")));
    QCOMPARE(child<QLineEdit>(&w, "txtCedula")->text(), QStringLiteral("55555555"));
    QCOMPARE(contracts->rowCount(), 2);
    staff->clickRow(gridRowOf(staff, 0, QStringLiteral("33333333")));
    QCOMPARE(contracts->rowCount(), 1);
    QCOMPARE((QStringList{contracts->cellText(0, 0), contracts->cellText(0, 1), contracts->cellText(0, 6), contracts->cellText(0, 10)}),
             (QStringList{"CEN", "ADM", "08:00", "No"}));

    click(&w, "cmdNuevoContrato");
    QCOMPARE(contracts->rowCount(), 2);
    editCell(contracts, 1, 0, QStringLiteral("EST"));
    editCell(contracts, 1, 1, QStringLiteral("INV"));
    editCell(contracts, 1, 3, QStringLiteral("12,5"));
    editCell(contracts, 1, 5, QStringLiteral("Dolares"));
    click(&w, "cmdGuardarContrato");
    QCOMPARE(dialogs().count(), 0);
    QCOMPARE(count("FUNCIONARIOS_INSTITUTOS", "FunCedula = '33333333'"), 2);
    QCOMPARE(store().rowDifferences(QStringLiteral("SELECT * FROM FUNCIONARIOS_INSTITUTOS WHERE FunCedula = '33333333' AND AreId = 'INV'"),
                                    {{"InsId", "EST"}, {"FunInsMoneda", "Dolares"}, {"FunInsHoras_Semanales", 12.5}}),
             QString());
    QCOMPARE(contracts->rowCount(), 2);

    // Delete: No keeps it, Yes removes it from the store at once.
    contracts->clickRow(gridRowOf(contracts, 1, QStringLiteral("INV")));
    QCOMPARE(clickForBox(&w, "cmdEliminarContrato", Answer::No), QStringLiteral("Confirma que desea borrar el contrato seleccionado ? "));
    QCOMPARE(dialogs().last().title, QStringLiteral("Esta seguro ?"));
    QCOMPARE(count("FUNCIONARIOS_INSTITUTOS", "FunCedula = '33333333'"), 2);
    contracts->clickRow(gridRowOf(contracts, 1, QStringLiteral("INV")));
    clickForBox(&w, "cmdEliminarContrato", Answer::Yes);
    QCOMPARE(count("FUNCIONARIOS_INSTITUTOS", "FunCedula = '33333333'"), 1);
    QCOMPARE(count("FUNCIONARIOS_INSTITUTOS", "AreId = 'INV' AND FunCedula = '33333333'"), 0);
    QCOMPARE(contracts->rowCount(), 1);
}

// A staff row not saved yet gets no contract; once saved it has an empty list, and a
// delete there says a contract must be chosen.
void TstAdmin::newStaffRowHasNoContracts()
{
    frmMantFuncionarios w;
    w.show();
    const int contractsBefore = count("FUNCIONARIOS_INSTITUTOS");
    click(&w, "cmdNuevo");
    QCOMPARE(child<ui::DataGrid>(&w, "dtgContratos")->rowCount(), 0);
    type(&w, "txtCedula", QStringLiteral("12345678"));
    type(&w, "txtNombres", QStringLiteral("Nuevo"));
    type(&w, "txtApellidos", QStringLiteral("Funcionario"));
    child<QCheckBox>(&w, "chkFacturador")->click();
    QCOMPARE(clickForBox(&w, "cmdNuevoContrato"), QStringLiteral("Guarde primero el funcionario."));
    QCOMPARE(count("FUNCIONARIOS_INSTITUTOS"), contractsBefore);
    click(&w, "cmdGuardar");
    QCOMPARE(dialogs().count(), 1);
    QCOMPARE(count("FUNCIONARIOS", "FunCedula = '12345678' AND FunFacturador"), 1);
    auto *staff = child<ui::DataGrid>(&w, "dtgFuncionarios");
    staff->clickRow(gridRowOf(staff, 0, QStringLiteral("12345678")));
    QCOMPARE(child<ui::DataGrid>(&w, "dtgContratos")->rowCount(), 0);
    QCOMPARE(clickForBox(&w, "cmdEliminarContrato"), QStringLiteral("Debe seleccionar un contrato para eliminar"));
    QCOMPARE(dialogs().last().title, QStringLiteral("Verifique"));
    QCOMPARE(count("FUNCIONARIOS_INSTITUTOS"), contractsBefore);
}

static void chooseActivity(frmMantActividades &w, const QString &actid)
{
    auto *grid = child<ui::DataGrid>(&w, "dtgActividades");
    grid->clickRow(gridRowOf(grid, 0, actid));
    QCOMPARE(child<QLineEdit>(&w, "txtCodigo")->text(), actid);
}

static QStringList items(QListWidget *list)
{
    QStringList out;
    for (int i = 0; i < list->count(); ++i)
        out << list->item(i)->text();
    return out;
}

static QStringList items(QComboBox *combo)
{
    QStringList out;
    for (int i = 0; i < combo->count(); ++i)
        out << combo->itemText(i);
    return out;
}

void TstAdmin::activityAreaLinks()
{
    frmMantActividades w;
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    // Several rows of the list in sight, and each label right above its box.
    QTableView *view = w.grid()->view();
    QVERIFY2(view->viewport()->height() >= 5 * view->verticalHeader()->defaultSectionSize(),
             qPrintable(QString::number(view->viewport()->height())));
    for (const char *name : {"dtcAreas", "dtcMaterias", "dtcRubros"}) {
        QWidget *box = child<QWidget>(&w, name);
        const QLabel *above = nullptr;
        for (const QLabel *l : w.findChildren<QLabel *>())
            if (l->geometry().bottom() <= box->geometry().top() && qAbs(l->x() - box->x()) < 10 &&
                (!above || l->geometry().bottom() > above->geometry().bottom()))
                above = l;
        QVERIFY2(above && box->geometry().top() - above->geometry().bottom() <= 12, name);
    }
    auto *list = child<ui::DataList>(&w, "dtlAreasActividades");
    auto *areas = child<ui::DataCombo>(&w, "dtcAreas");
    const auto links = [&](const char *where) { return count("AREAS_ACTIVIDADES", where); };

    chooseActivity(w, QStringLiteral("REU"));
    QCOMPARE(list->count(), 3);
    QCOMPARE(clickForBox(&w, "cmdAgregar"), QStringLiteral("Seleccione primero un elemento de la lista."));
    QVERIFY(areas->chooseText(QStringLiteral("Docencia")));
    QCOMPARE(clickForBox(&w, "cmdAgregar"), QStringLiteral("El área Docencia ya realiza la actividad Reuniones"));
    QCOMPARE(links("ActId = 'REU'"), 3);

    chooseActivity(w, QStringLiteral("ADM"));
    QCOMPARE(items(list), QStringList{QStringLiteral("Administración")});
    QVERIFY(areas->chooseText(QStringLiteral("Docencia")));
    QCOMPARE(clickForBox(&w, "cmdAgregar"), QString());
    QCOMPARE(links("ActId = 'ADM' AND AreId = 'DOC'"), 1);
    QCOMPARE(list->count(), 2);

    // Removal works from the list: nothing chosen there, nothing removed.
    QCOMPARE(clickForBox(&w, "cmdQuitar"), QStringLiteral("El área Docencia no realiza la actividad Tareas administrativas"));
    QVERIFY(list->chooseText(QStringLiteral("Docencia")));
    QCOMPARE(clickForBox(&w, "cmdQuitar", Answer::No), QStringLiteral("Esta seguro que desea quitar DOC ?"));
    QCOMPARE(dialogs().last().title, QStringLiteral("Confirmación"));
    QCOMPARE(links("ActId = 'ADM' AND AreId = 'DOC'"), 1);
    QVERIFY(list->chooseText(QStringLiteral("Docencia")));
    clickForBox(&w, "cmdQuitar", Answer::Yes);
    QCOMPARE(links("ActId = 'ADM' AND AreId = 'DOC'"), 0);
    QCOMPARE(list->count(), 1);

    // A new activity has no key yet: nothing is linked until it is saved.
    click(&w, "cmdNuevo");
    QVERIFY(areas->chooseText(QStringLiteral("Docencia")));
    QCOMPARE(clickForBox(&w, "cmdAgregar"), QStringLiteral("Guarde primero el registro nuevo."));
    QCOMPARE(links("ActId = '' OR ActId IS NULL"), 0);
}

void TstAdmin::activitySubjectLinks()
{
    frmMantActividades w;
    w.show();
    auto *chk = child<QCheckBox>(&w, "chkDocente");
    auto *materias = child<ui::DataCombo>(&w, "dtcMaterias");
    auto *rubros = child<ui::DataCombo>(&w, "dtcRubros");
    auto *list = child<ui::DataList>(&w, "dtlMaterias");
    const char *five[] = {"dtcMaterias", "dtcRubros", "dtlMaterias", "cmdAgregarMateria", "cmdQuitarMateria"};
    const auto allOpen = [&](bool open) {
        for (const char *name : five)
            if (child<QWidget>(&w, name)->isEnabled() != open)
                return false;
        return true;
    };
    const auto links = [&](const char *where) { return count("DOCENTES_RUBROS_MATERIAS", where); };

    chooseActivity(w, QStringLiteral("REU"));
    QVERIFY(!chk->isChecked());
    QVERIFY(allOpen(false));
    chooseActivity(w, QStringLiteral("CLA"));
    QVERIFY(chk->isChecked());
    QVERIFY(allOpen(true));
    QCOMPARE(list->count(), 5);
    QVERIFY(items(list).contains(QStringLiteral("CIE Matemática")));

    // The groups offered are those holding the chosen subject.
    QVERIFY(materias->chooseText(QStringLiteral("Historia")));
    QCOMPARE(items(rubros), QStringList{QStringLiteral("Humanidades")});
    QVERIFY(materias->chooseText(QStringLiteral("Matemática")));
    QCOMPARE(items(rubros), (QStringList{QStringLiteral("Ciencias"), QStringLiteral("Humanidades")}));

    QCOMPARE(clickForBox(&w, "cmdAgregarMateria"), QStringLiteral("Seleccione primero un elemento de la lista."));
    QVERIFY(rubros->chooseText(QStringLiteral("Ciencias")));
    QCOMPARE(clickForBox(&w, "cmdAgregarMateria"),
             QStringLiteral("La materia Matemática ya realiza la actividad Clases en el rubro Ciencias"));
    QCOMPARE(links("ActId = 'CLA'"), 5);
    QVERIFY(rubros->chooseText(QStringLiteral("Humanidades")));
    click(&w, "cmdAgregarMateria");
    QCOMPARE(links("ActId = 'CLA' AND RubId = 'HUM' AND MatId = 'MAT'"), 1);
    QCOMPARE(list->count(), 6);

    QCOMPARE(clickForBox(&w, "cmdQuitarMateria", Answer::No),
             QStringLiteral("Esta seguro que desea quitar esta materia y rubro de la actividad Clases ?"));
    QCOMPARE(links("ActId = 'CLA'"), 6);
    clickForBox(&w, "cmdQuitarMateria", Answer::Yes);
    QCOMPARE(links("ActId = 'CLA' AND RubId = 'HUM' AND MatId = 'MAT'"), 0);
    QCOMPARE(list->count(), 5);
    // A pair the activity does not hold: nothing removed.
    QCOMPARE(clickForBox(&w, "cmdQuitarMateria"),
             QStringLiteral("Verifique que la materia Matemática sea realizada por la actividad Clases en el rubro Humanidades"));

    // Unticking closes the five controls and leaves the links stored.
    chk->click();
    QVERIFY(allOpen(false));
    chk->click();
    QVERIFY(allOpen(true));
    chk->click();
    click(&w, "cmdGuardar");
    QCOMPARE(count("ACTIVIDADES", "ActId = 'CLA' AND ActEsDocente"), 0);
    QCOMPARE(links("ActId = 'CLA'"), 5);
}

void TstAdmin::groupSubjects()
{
    frmMantRubros w;
    w.show();
    auto *grid = child<ui::DataGrid>(&w, "dtgRubros");
    auto *list = child<ui::DataList>(&w, "dtlMaterias");
    auto *materias = child<ui::DataCombo>(&w, "dtcMaterias");
    grid->clickRow(gridRowOf(grid, 0, QStringLiteral("CIE")));
    QCOMPARE(items(list), (QStringList{QStringLiteral("Física"), QStringLiteral("Matemática"), QStringLiteral("Química")}));

    const auto links = [&](const char *where) { return count("RUBROS_MATERIAS", where); };
    QVERIFY(materias->chooseText(QStringLiteral("Historia")));
    QCOMPARE(clickForBox(&w, "cmdAgregar"), QString());
    QCOMPARE(links("RubId = 'CIE' AND MatId = 'HIS'"), 1);
    QCOMPARE(list->count(), 4);
    QVERIFY(materias->chooseText(QStringLiteral("Historia")));
    QCOMPARE(clickForBox(&w, "cmdAgregar"), QStringLiteral("La materia Historia ya pertenece al rubro Ciencias"));
    QCOMPARE(links("MatId = 'HIS'"), 2);

    QVERIFY(list->chooseText(QStringLiteral("Historia")));
    QCOMPARE(clickForBox(&w, "cmdQuitar", Answer::Yes), QStringLiteral("Esta seguro que desea quitar HIS ?"));
    QCOMPARE(links("RubId = 'CIE' AND MatId = 'HIS'"), 0);
    QCOMPARE(links("RubId = 'HUM' AND MatId = 'HIS'"), 1);
    QCOMPARE(list->count(), 3);

    // A new group has no key: its list is empty and nothing can be added to it yet.
    click(&w, "cmdNuevo");
    QCOMPARE(list->count(), 0);
    QVERIFY(materias->chooseText(QStringLiteral("Historia")));
    QCOMPARE(clickForBox(&w, "cmdAgregar"), QStringLiteral("Guarde primero el registro nuevo."));
}

// A user made with cmdNuevo goes to the store with the password hashed and can log in.
void TstAdmin::newUserCanLogIn()
{
    {
        frmMantUsuarios w;
        w.show();
        QCOMPARE(w.grid()->rowCount(), 4);
        click(&w, "cmdNuevo");
        QVERIFY(child<ui::DataCombo>(&w, "dtcFuncionarios")->chooseText(QStringLiteral("Lucía Rodríguez")));
        type(&w, "txtLogin", QStringLiteral("lucia"));
        type(&w, "txtPassword", QStringLiteral("clave12Larga"));
        QVERIFY(child<ui::DataCombo>(&w, "dtcPermisos")->chooseText(QStringLiteral("Usuario común")));
        click(&w, "cmdGuardar");
        QCOMPARE(dialogs().count(), 0);
        const QString user = QStringLiteral("SELECT * FROM USUARIOS WHERE USULOGIN='lucia'");
        QCOMPARE(store().rowDifferences(user, {{"FunCedula", "55555555"}, {"PerId", 5}}), QString());
        const QString stored = store().select(user).value(0, QStringLiteral("UsuPassword")).toString();
        QVERIFY(Usuario::isPasswordHash(stored));
        QCOMPARE(Usuario::checkPassword(QStringLiteral("clave12Larga"), stored), Usuario::PasswordCheck::Right);
        QCOMPARE(w.grid()->rowCount(), 5);
        QCOMPARE(child<QLineEdit>(&w, "txtPassword")->text(), QString());
    }
    frmLogin login;
    login.show();
    type(&login, "txtLogin", QStringLiteral("lucia"));
    type(&login, "txtPassword", QStringLiteral("clave12Larga"));
    click(&login, "cmdOK");
    QVERIFY(login.LoginSucceeded);
    QCOMPARE(modPrincipal::session().role, qint16(5));
    QCOMPARE(modPrincipal::session().person, QStringLiteral("55555555"));
}

// Saving a stored user with the password box untouched keeps the password; a typed one
// is hashed once, also when the first write is refused.
void TstAdmin::storedUserKeepsPassword()
{
    frmMantUsuarios w;
    w.show();
    const auto password = [&](const QString &login) {
        return store().scalar(QStringLiteral("SELECT UsuPassword FROM USUARIOS WHERE UsuLogin = ?"), {login}).toString();
    };
    w.grid()->clickRow(gridRowOf(w.grid(), 1, QStringLiteral("jefe")));
    auto *box = child<QLineEdit>(&w, "txtPassword");
    QCOMPARE(box->text(), QString());
    QVERIFY(!box->toolTip().isEmpty());
    QVERIFY(child<ui::DataCombo>(&w, "dtcPermisos")->chooseText(QStringLiteral("Súper usuario")));
    const QString before = password(QStringLiteral("jefe"));
    click(&w, "cmdGuardar");
    QCOMPARE(count("USUARIOS", "UsuLogin = 'jefe' AND PerId = 8"), 1);
    QCOMPARE(password(QStringLiteral("jefe")), before);

    w.grid()->clickRow(gridRowOf(w.grid(), 1, QStringLiteral("jefe")));
    type(&w, "txtPassword", QStringLiteral("nueva"));
    type(&w, "txtLogin", QStringLiteral("admin"));  // taken: refused
    click(&w, "cmdGuardar");
    QCOMPARE(dialogs().count(), 1);
    QCOMPARE(password(QStringLiteral("jefe")), before);
    type(&w, "txtLogin", QStringLiteral("jefa"));
    click(&w, "cmdGuardar");
    QCOMPARE(dialogs().count(), 1);
    QCOMPARE(Usuario::checkPassword(QStringLiteral("nueva"), password(QStringLiteral("jefa"))),
             Usuario::PasswordCheck::Right);
}

void TstAdmin::aboutTexts()
{
    frmAcercaDe w;
    w.show();
    QCOMPARE(w.windowTitle(), QStringLiteral("Acerca de Quronda"));
    QCOMPARE(child<QLabel>(&w, "lblTitle")->text(), QStringLiteral("Quronda"));
    QCOMPARE(child<QLabel>(&w, "lblVersion")->text(), QStringLiteral("Versión 1.0.0"));
    QCOMPARE(child<QLabel>(&w, "lblDescription")->text(), QStringLiteral("Quronda para Institutos de enseñanza"));
    QVERIFY(!child<QLabel>(&w, "lblCopyright")->text().isEmpty());
    QCOMPARE(child<QPushButton>(&w, "cmdSysInfo")->text(), QStringLiteral("&System Info..."));
    // The program's icon, which the application sets for every window.
    const QPixmap icon = child<QLabel>(&w, "picIcon")->pixmap();
    QCOMPARE(icon.size(), QSize(32, 32));
    QCOMPARE(icon.toImage().pixelColor(16, 16).alpha(), 255);
}

// With no information program on the PATH the registry keys are absent and the button says
// so; with one, GetKeyValue finds it and the button starts it.
void TstAdmin::aboutSystemInformation()
{
    const QByteArray oldPath = qgetenv("PATH");
    QTemporaryDir bin;
    qputenv("PATH", bin.path().toLocal8Bit());
    frmAcercaDe w;
    w.show();
    QString value = QStringLiteral("x");
    const QString msinfo = QStringLiteral("SOFTWARE\\Microsoft\\Shared Tools\\MSINFO");
    QVERIFY(!frmAcercaDe::GetKeyValue(frmAcercaDe::HKEY_LOCAL_MACHINE, msinfo, QStringLiteral("PATH"), value));
    QCOMPARE(value, QString());
    QCOMPARE(clickForBox(&w, "cmdSysInfo"), QStringLiteral("System Information Is Unavailable At This Time"));

    const QString marker = bin.filePath(QStringLiteral("started"));
    const QString tool = bin.filePath(QStringLiteral("hardinfo"));
    QFile script(tool);
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write(QStringLiteral("#!/bin/sh\necho started > '%1'\n").arg(marker).toLocal8Bit());
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QVERIFY(frmAcercaDe::GetKeyValue(frmAcercaDe::HKEY_LOCAL_MACHINE, msinfo, QStringLiteral("PATH"), value));
    QCOMPARE(value, tool);
    click(&w, "cmdSysInfo");
    QTRY_VERIFY(QFile::exists(marker));
    QCOMPARE(dialogs().count(), 1);
    qputenv("PATH", oldPath);
}

TEMPALIA_TEST_MAIN(TstAdmin)
#include "tst_admin.moc"

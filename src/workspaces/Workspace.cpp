#include "workspaces/Workspace.h"

#include "hours/frmModificoHoras.h"
#include "hours/frmRegistroHoras.h"
#include "output/dtrReporteMesActualUsuario.h"
#include "session/modPrincipal.h"
#include "store/Connection.h"
#include "store/DataControl.h"
#include "store/SqlValue.h"
#include "store/StoreError.h"
#include "ui/DataGrid.h"
#include "ui/Dialogs.h"
#include "ui/GuardedSlot.h"
#include "ui/StatusPanels.h"

#include <QApplication>
#include <QCalendarWidget>
#include <QEvent>
#include <QFileDialog>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTableView>
#include <QVBoxLayout>
#include <QWindow>

namespace {

const QString kSelectList = QStringLiteral(
    "SELECT H.HORFECHA, H.HORSEMANA, H.HORVALORHORA, H.HORHORAS, T.TIPDESCRIPCION, D.DESDESCRIPCION, "
    "ACT.ACTDESCRIPCION, ARE.AREDESCRIPCION, H.HORID");
// The ascending sort on the date names three of its columns; they keep their positions.
const QString kSelectListByDate = QStringLiteral(
    "SELECT H.HORFECHA, H.HORSEMANA, H.HORVALORHORA AS [Valor], H.HORHORAS AS [Horas], "
    "T.TIPDESCRIPCION AS [Tipo de horas], D.DESDESCRIPCION, ACT.ACTDESCRIPCION, ARE.AREDESCRIPCION, H.HORID");
const QString kFromCurrent = QStringLiteral(
    " FROM TIPOHORAS T, HORAS H, ACTIVIDADES ACT, AREAS ARE, DESTINOS D WHERE H.ACTID=ACT.ACTID AND "
    "H.AREID=ARE.AREID AND H.DESID=D.DESID AND H.TIPID=T.TIPID");
const QString kFromArchive = QStringLiteral(
    " FROM TIPOHORAS T, HHORAS H, ACTIVIDADES ACT, AREAS ARE, DESTINOS D WHERE H.ACTID=ACT.ACTID AND "
    "H.AREID=ARE.AREID AND H.DESID=D.DESID AND H.TIPID=T.TIPID");

const QString kCaptionCurrent = QStringLiteral("HORAS TRABAJADAS DURANTE EL MES EN CURSO");
const QString kCaptionArchive = QStringLiteral("HORAS TRABAJADAS DURANTE MESES ANTERIORES");

struct ButtonDef {
    const char *key;
    const char *caption;
    const char *toolTip;
};

const ButtonDef kButtons[] = {
    {"nuevo", "Nuevo", "Nuevo registro de horas"},
    {"modificar", "Modificar", "Propiedades de registro de horas"},
    {"eliminar", "Eliminar", ""},
    {"imprimir", "Imprimir", "Imprimir"},
    {"estadisticas", "Estadísticas", ""},
    {"ordenar_asc", "Ascendente", "Orden ascendente por fecha"},
    {"ordenar_des", "Descendete", "Orden descendente por fecha"},
    {"cambio", "Cambio", ""},
    {"historial", "Historial", "Historial de cambios del registro de horas seleccionado"},
    {"ayuda", "Ayuda", "Ayuda"},
    {"salir", "Salir", ""},
};

struct SortDef {
    const char *entry;
    const char *caption;      // of the menu entry
    const char *column;       // ORDER BY column
    const char *buttonCaption;  // what the button reads afterwards
};

const SortDef kSorts[] = {
    {"actividad", "Actividad", "ACT.ACTDESCRIPCION", "Actividad"},
    {"destino", "Destino", "D.DESDESCRIPCION", "Destino"},
    {"fecha", "Fecha", "H.HORFECHA", "Fecha"},
    {"semana", "Semana", "H.HORSEMANA", "Semana"},
    {"tipohora", "Tipo de hora", "T.TIPDESCRIPCION", "Tipo Hora"},
};

const SortDef *findSort(const QString &entry)
{
    for (const SortDef &s : kSorts)
        if (entry == QLatin1String(s.entry))
            return &s;
    return nullptr;
}

QList<ui::KeyedToolBar::MenuEntry> sortMenu()
{
    QList<ui::KeyedToolBar::MenuEntry> menu;
    for (const SortDef &s : kSorts)
        menu.append({QString::fromUtf8(s.entry), QString::fromUtf8(s.caption)});
    return menu;
}

QList<ui::KeyedToolBar::MenuEntry> statisticsMenu()
{
    return {{QStringLiteral("actividades"), QStringLiteral("Actividades con más horas")},
            {QStringLiteral("areas"), QStringLiteral("Areas con más horas")},
            {QStringLiteral("destinos"), QStringLiteral("Destinos con más horas")},
            {QStringLiteral("tipos"), QStringLiteral("Tipos de hora")}};
}

QString fromClause(Workspace::List list)
{
    return list == Workspace::List::Current ? kFromCurrent : kFromArchive;
}

QString personCondition(const QString &cedula)
{
    return QStringLiteral(" AND H.FUNCEDULA=") + store::sql::text(cedula.trimmed());
}

// The boxes of the program are not windows the user "comes back from".
bool isBoxWindow(QWindow *window)
{
    for (QWidget *w : QApplication::topLevelWidgets()) {
        if (w->windowHandle() != window)
            continue;
        return qobject_cast<QMessageBox *>(w) || qobject_cast<QInputDialog *>(w) ||
               qobject_cast<QFileDialog *>(w) || qobject_cast<QProgressDialog *>(w);
    }
    return false;
}

// Remembers the last window of the program that had the focus (menus and tool tips left
// out), and whether it was a box. When a workspace becomes active this still names the
// window the user came from: the application announces the new focus window only after
// the widgets have been told. The window may be gone by then (an hours window deletes
// itself when it closes), so only its address is kept, for comparison.
class FocusTrail : public QObject {
public:
    static FocusTrail &instance()
    {
        static FocusTrail *trail = new FocusTrail(qApp);
        return *trail;
    }
    const void *last() const { return m_last; }
    bool lastWasBox() const { return m_lastWasBox; }

private:
    explicit FocusTrail(QObject *parent) : QObject(parent)
    {
        note(QGuiApplication::focusWindow());
        connect(qApp, &QGuiApplication::focusWindowChanged, this, &FocusTrail::note);
    }
    void note(QWindow *w)
    {
        if (!w || w->type() == Qt::Popup || w->type() == Qt::ToolTip)
            return;
        m_last = w;
        m_lastWasBox = isBoxWindow(w);
    }
    const void *m_last = nullptr;
    bool m_lastWasBox = false;
};

}  // namespace

Workspace::Workspace(const Setup &setup, QWidget *parent) : QMainWindow(parent)
{
    FocusTrail::instance();
    setWindowTitle(QStringLiteral("Menú Principal"));
    resize(1024, 700);

    m_adcMesActual = new store::DataControl(QStringLiteral("adcMesActual"), this);
    m_adcMiArchivo = new store::DataControl(QStringLiteral("adcMiArchivo"), this);

    m_toolBar = new ui::KeyedToolBar(this);
    m_toolBar->setObjectName(QStringLiteral("tbrBarraHerramientas"));
    m_toolBar->setMovable(false);
    m_toolBar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    for (const QString &key : setup.toolbarKeys) {
        for (const ButtonDef &b : kButtons) {
            if (key != QLatin1String(b.key))
                continue;
            QList<ui::KeyedToolBar::MenuEntry> menu;
            if (key == QLatin1String("ordenar_asc") || key == QLatin1String("ordenar_des"))
                menu = sortMenu();
            else if (key == QLatin1String("imprimir"))
                menu = setup.printMenu;
            else if (key == QLatin1String("estadisticas"))
                menu = statisticsMenu();
            m_toolBar->addButton(key, QString::fromUtf8(b.caption), QString::fromUtf8(b.toolTip), {}, menu);
        }
    }
    addToolBar(Qt::TopToolBarArea, m_toolBar);
    ui::connectGuarded(m_toolBar, &ui::KeyedToolBar::buttonClicked, this, [this](const QString &key) { buttonClicked(key); });
    ui::connectGuarded(m_toolBar, &ui::KeyedToolBar::menuEntryClicked, this,
            [this](const QString &button, const QString &entry) { menuEntryChosen(button, entry); });

    m_stbPrincipal = new ui::StatusPanels(this);
    m_stbPrincipal->setObjectName(QStringLiteral("stbPrincipal"));
    m_stbPrincipal->addPanel(QStringLiteral("Usuario"));
    m_stbPrincipal->addPanel(QStringLiteral("Area"));
    m_stbPrincipal->addPanel(QStringLiteral("Acceso"));
    m_stbPrincipal->addPanel(QStringLiteral("Fecha"), ui::StatusPanels::Style::Date, 0);
    m_stbPrincipal->addPanel(QStringLiteral("Hora"), ui::StatusPanels::Style::Time, 0);
    setStatusBar(m_stbPrincipal);

    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName(QStringLiteral("sstPrincipal"));
    setCentralWidget(m_tabs);
    buildListTabs(setup.hoursMaskInCurrent);
    buildSearchTab();
    ui::connectGuarded(m_tabs, &QTabWidget::currentChanged, this, &Workspace::tabChanged);

    connect(m_adcMesActual, &store::DataControl::currentChanged, this, &Workspace::currentRowMoved);
}

void Workspace::buildListTabs(bool hoursMaskInCurrent)
{
    m_hoursMaskInCurrent = hoursMaskInCurrent;
    auto makePage = [this](const QString &caption, const QString &gridName, ui::DataGrid *&grid) {
        auto *page = new QWidget(m_tabs);
        auto *layout = new QVBoxLayout(page);
        grid = new ui::DataGrid(page);
        grid->setObjectName(gridName);
        layout->addWidget(grid);
        m_tabs->addTab(page, caption);
    };
    makePage(QStringLiteral("Mes en curso"), QStringLiteral("dtgMesActual"), m_dtgMesActual);
    makePage(QStringLiteral("Mi archivo"), QStringLiteral("dtgMiArchivo"), m_dtgMiArchivo);
    setGridColumns();

    // A click anywhere in the grid counts, also below the last row of an empty list.
    m_dtgMesActual->view()->viewport()->installEventFilter(this);
    ui::connectGuarded(m_dtgMesActual, &ui::DataGrid::rowClicked, this, [this] { currentGridClicked(); });
}

void Workspace::setGridColumns()
{
    static const char *headings[] = {"Fecha", "Semana", "Valor", "Horas", "Tipo de Horas",
                                     "Destino", "Actividad", "Área", "HorId"};
    QList<ui::GridColumn> current, archive;
    for (int i = 0; i < 9; ++i) {
        ui::GridColumn c;
        c.heading = QString::fromUtf8(headings[i]);
        c.position = i;
        c.visible = i != 8;
        ui::GridColumn a = c;
        if (i == 0)
            c.mask = QStringLiteral("dd-MMM-yyyy");
        if (i == 2 || (i == 3 && m_hoursMaskInCurrent))
            c.mask = QStringLiteral("0,00");
        if (i == 2 || i == 3)
            a.mask = QStringLiteral("0,00");
        current << c;
        archive << a;
    }
    m_dtgMesActual->setCaption(kCaptionCurrent);
    m_dtgMesActual->setColumns(current);
    m_dtgMiArchivo->setCaption(kCaptionArchive);
    m_dtgMiArchivo->setColumns(archive);
}

void Workspace::buildSearchTab()
{
    auto *page = new QWidget(m_tabs);
    auto *layout = new QHBoxLayout(page);

    m_calendario = new QCalendarWidget(page);
    m_calendario->setObjectName(QStringLiteral("calendario"));
    m_calendario->setGridVisible(true);
    layout->addWidget(m_calendario, 1);

    auto *side = new QVBoxLayout;
    m_fraFiltro[0] = new QGroupBox(QStringLiteral("Filtrar en:"), page);
    m_fraFiltro[0]->setObjectName(QStringLiteral("fraFiltro_0"));
    auto *where = new QVBoxLayout(m_fraFiltro[0]);
    m_optFiltro[0] = new QRadioButton(QStringLiteral("Mes &actual"), m_fraFiltro[0]);
    m_optFiltro[0]->setObjectName(QStringLiteral("optFiltro_0"));
    m_optFiltro[1] = new QRadioButton(QStringLiteral("Mi &archivo"), m_fraFiltro[0]);
    m_optFiltro[1]->setObjectName(QStringLiteral("optFiltro_1"));
    m_optFiltro[0]->setChecked(true);
    where->addWidget(m_optFiltro[0]);
    where->addWidget(m_optFiltro[1]);

    m_fraFiltro[1] = new QGroupBox(QStringLiteral("Modo de aplicación:"), page);
    m_fraFiltro[1]->setObjectName(QStringLiteral("fraFiltro_1"));
    auto *how = new QVBoxLayout(m_fraFiltro[1]);
    m_optTipo[0] = new QRadioButton(QStringLiteral("Desde la fecha selecionada"), m_fraFiltro[1]);
    m_optTipo[0]->setObjectName(QStringLiteral("optTipo_0"));
    m_optTipo[1] = new QRadioButton(QStringLiteral("Solo la fecha seleccionada"), m_fraFiltro[1]);
    m_optTipo[1]->setObjectName(QStringLiteral("optTipo_1"));
    m_optTipo[0]->setChecked(true);
    how->addWidget(m_optTipo[0]);
    how->addWidget(m_optTipo[1]);

    m_cmdAplicarFiltro = new QPushButton(QStringLiteral("&Aplicar"), page);
    m_cmdAplicarFiltro->setObjectName(QStringLiteral("cmdAplicarFiltro"));
    m_cmdAplicarFiltro->setToolTip(QStringLiteral("Aplica el filtro sobre las horas"));

    side->addWidget(m_fraFiltro[0]);
    side->addWidget(m_fraFiltro[1]);
    side->addWidget(m_cmdAplicarFiltro);
    side->addStretch(1);
    layout->addLayout(side);
    m_tabs->addTab(page, QStringLiteral("Búsqueda"));

    ui::connectGuarded(m_cmdAplicarFiltro, &QPushButton::clicked, this, &Workspace::applyFilter);
    // A double click on a day (or Enter on it) applies the filter as the button does.
    ui::connectGuarded(m_calendario, &QCalendarWidget::activated, this, &Workspace::applyFilter);

    setTabOrder(m_calendario, m_optFiltro[0]);
    setTabOrder(m_optFiltro[0], m_optTipo[0]);
    setTabOrder(m_optTipo[0], m_cmdAplicarFiltro);
}

// --- statements -------------------------------------------------------------------------

QString Workspace::cedula()
{
    return modPrincipal::session().person.trimmed();
}

QString Workspace::defaultStatement(List list, const QString &cedula)
{
    return kSelectList + fromClause(list) + personCondition(cedula) + QStringLiteral(" ORDER BY H.HORFECHA");
}

QString Workspace::sortedStatement(List list, const QString &cedula, const QString &button,
                                   const QString &entry)
{
    const SortDef *sort = findSort(entry);
    if (!sort)
        return {};
    const bool ascending = button == QLatin1String("ordenar_asc");
    const QString select = ascending && entry == QLatin1String("fecha") ? kSelectListByDate : kSelectList;
    return select + fromClause(list) + personCondition(cedula) + QStringLiteral(" ORDER BY ") +
           QString::fromUtf8(sort->column) + (ascending ? QStringLiteral(" ASC") : QStringLiteral(" DESC"));
}

QString Workspace::filteredStatement(List list, const QString &cedula, const QDate &date, bool fromDate)
{
    return kSelectList + fromClause(list) + QStringLiteral(" AND H.HORFECHA") +
           (fromDate ? QStringLiteral(">=") : QStringLiteral("=")) + store::sql::date(date) +
           personCondition(cedula);
}

// --- activation --------------------------------------------------------------------------

// The first show counts as the first activation, so the lists and the status bar are filled
// even where no window manager ever makes the window active; the activation that follows
// that show is then not counted twice.
void Workspace::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    if (m_everActivated || m_activatedOnShow)
        return;
    m_activatedOnShow = true;
    ui::runGuarded([this] { windowActivated(); });
}

void Workspace::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() != QEvent::ActivationChange || !isActiveWindow())
        return;
    if (m_activatedOnShow && !m_everActivated) {
        m_everActivated = true;
        return;
    }
    bool fromProgramWindow = !m_everActivated;
    if (!fromProgramWindow) {
        const FocusTrail &trail = FocusTrail::instance();
        fromProgramWindow = trail.last() && trail.last() != window()->windowHandle() && !trail.lastWasBox();
    }
    m_everActivated = true;
    if (fromProgramWindow)
        ui::runGuarded([this] { windowActivated(); });
}

void Workspace::windowActivated()
{
    m_stbPrincipal->setPanelText(QStringLiteral("Usuario"), QStringLiteral("Usuario: ") + modPrincipal::session().login);
    m_stbPrincipal->setPanelText(QStringLiteral("Area"), QStringLiteral("Area: ") + modPrincipal::session().area);
    m_stbPrincipal->setPanelText(QStringLiteral("Acceso"),
                                 QStringLiteral("Tipo: ") + QString::number(modPrincipal::session().role));

    m_adcMesActual->setRecordSource(defaultStatement(List::Current, cedula()));
    m_adcMesActual->refresh();
    m_dtgMesActual->setDataSource(m_adcMesActual);
    m_dtgMesActual->refresh();
    m_adcMiArchivo->setRecordSource(defaultStatement(List::Archive, cedula()));
    setGridColumns();
    activatedExtra();
}

void Workspace::resetCurrentList()
{
    setCurrentStatement(defaultStatement(List::Current, cedula()));
}

void Workspace::setCurrentStatement(const QString &statement)
{
    m_adcMesActual->setRecordSource(statement);
    m_adcMesActual->refresh();
    m_dtgMesActual->setDataSource(m_adcMesActual);
    m_dtgMesActual->refresh();
}

void Workspace::rerunLists()
{
    m_adcMesActual->refresh();
    m_dtgMesActual->refresh();
    m_adcMiArchivo->refresh();
    m_dtgMiArchivo->refresh();
}

// --- tabs and the state of the buttons ----------------------------------------------------

void Workspace::tabChanged(int index)
{
    if (index == 1) {
        m_dtgMesActual->hide();
        m_dtgMiArchivo->show();
        m_dtgMiArchivo->setDataSource(m_adcMiArchivo);
        m_adcMiArchivo->refresh();
        m_dtgMiArchivo->refresh();
    } else if (index == 0) {
        m_dtgMesActual->show();
        m_dtgMiArchivo->hide();
    }
}

void Workspace::currentRowMoved()
{
    if (m_holdButtonState || m_adcMesActual->hasCurrentRow())
        return;
    m_toolBar->setButtonEnabled(QStringLiteral("modificar"), false);
    m_toolBar->setButtonEnabled(QStringLiteral("eliminar"), false);
}

void Workspace::currentGridClicked()
{
    if (!m_adcMesActual->hasCurrentRow())
        return;
    m_toolBar->setButtonEnabled(QStringLiteral("modificar"), true);
    m_toolBar->setButtonEnabled(QStringLiteral("eliminar"), true);
}

bool Workspace::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonRelease && watched == m_dtgMesActual->view()->viewport())
        ui::runGuarded([this] { currentGridClicked(); });
    return QMainWindow::eventFilter(watched, event);
}

// --- toolbar -----------------------------------------------------------------------------

void Workspace::buttonClicked(const QString &key)
{
    if (key == QLatin1String("nuevo")) {
        frmRegistroHoras::open();
    } else if (key == QLatin1String("modificar")) {
        frmModificoHoras::open(m_adcMesActual->value(QStringLiteral("HorId")).toInt());
    } else if (key == QLatin1String("eliminar")) {
        deleteHours();
    } else if (key == QLatin1String("imprimir")) {
        dtrReporteMesActualUsuario::open();
    } else if (key == QLatin1String("salir")) {
        ui::endProgram();
    }
    // ayuda, and the drop-down buttons (which work by their menus), do nothing.
}

void Workspace::menuEntryChosen(const QString &button, const QString &entry)
{
    if (button == QLatin1String("ordenar_asc") || button == QLatin1String("ordenar_des"))
        sortLists(button, entry);
}

void Workspace::deleteHours()
{
    if (m_tabs->currentIndex() != 0) {
        ui::msgBox(QStringLiteral("Solo es posible eliminar horas del mes en curso"), {}, ui::Icon::None, this);
        return;
    }
    if (!ui::ask(QStringLiteral("Confirma que desea eliminar las horas seleccionadas ?"), QStringLiteral("Atención"),
                 ui::Icon::None, this))
        return;

    ui::setBusy(true);
    struct PointerBack {
        ~PointerBack() { ui::setBusy(false); }
    } pointerBack;

    bool gone = false;
    const QString horId = store::sql::number(m_adcMesActual->value(QStringLiteral("HorId")).toLongLong());
    m_holdButtonState = true;
    try {
        gone = !deleteHourRecord(horId);
    } catch (const store::StoreError &) {
        m_holdButtonState = false;
        resetCurrentList();
        throw;
    }
    m_holdButtonState = false;
    resetCurrentList();
    if (gone) {
        ui::setBusy(false);
        ui::msgBox(QStringLiteral("El registro de horas ya no existe."), {}, ui::Icon::Exclamation, this);
    }
}

// Deletes the hour record and what it taught (its HORAS_RUBROS_MATERIAS row) together, on
// a connection of its own in one transaction: both go or neither. False when the record
// was no longer there (someone else deleted it since the list was read).
bool Workspace::deleteHourRecord(const QString &horId)
{
    std::shared_ptr<store::Connection> conn = store::Connection::open();
    conn->beginTransaction();
    try {
        conn->execute(QStringLiteral("DELETE FROM HORAS_RUBROS_MATERIAS WHERE HORID=") + horId);
        if (conn->execute(QStringLiteral("DELETE FROM HORAS WHERE HORID=") + horId) == 0) {
            conn->rollback();
            return false;
        }
        conn->commit();
    } catch (...) {
        if (conn->inTransaction())
            conn->rollback();
        throw;
    }
    return true;
}

void Workspace::sortLists(const QString &button, const QString &entry)
{
    const SortDef *sort = findSort(entry);
    if (!sort)
        return;
    m_adcMesActual->setRecordSource(sortedStatement(List::Current, cedula(), button, entry));
    m_adcMiArchivo->setRecordSource(sortedStatement(List::Archive, cedula(), button, entry));
    m_toolBar->setButtonCaption(button, QString::fromUtf8(sort->buttonCaption));
    rerunLists();
}

void Workspace::applyFilter()
{
    const QDate date = m_calendario->selectedDate();
    const bool current = m_optFiltro[0]->isChecked();
    const bool fromDate = m_optTipo[0]->isChecked();
    const List list = current ? List::Current : List::Archive;
    const QString statement = filteredStatement(list, cedula(), date, fromDate);
    if (current) {
        setCurrentStatement(statement);
        m_tabs->setCurrentIndex(0);
    } else {
        m_adcMiArchivo->setRecordSource(statement);
        m_adcMiArchivo->refresh();
        m_dtgMiArchivo->refresh();
        m_tabs->setCurrentIndex(1);
    }
}

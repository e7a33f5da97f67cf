#include "workspaces/frmHistorialHoras.h"

#include "store/Connection.h"
#include "store/HourHistory.h"
#include "ui/Application.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

QString windowName(qlonglong horId)
{
    return QStringLiteral("frmHistorialHoras_%1").arg(horId);
}

}  // namespace

frmHistorialHoras *frmHistorialHoras::open(qlonglong horId, QWidget *parent)
{
    for (QWidget *w : QApplication::topLevelWidgets())
        if (auto *existing = qobject_cast<frmHistorialHoras *>(w); existing && existing->horId() == horId) {
            existing->load();
            existing->show();
            existing->raise();
            existing->activateWindow();
            return existing;
        }
    auto *w = new frmHistorialHoras(horId, parent);
    try {
        w->load();
    } catch (const std::exception &error) {
        ui::showError(error);
        delete w;
        return nullptr;
    }
    w->show();
    return w;
}

frmHistorialHoras::frmHistorialHoras(qlonglong horId, QWidget *parent) : QWidget(parent, Qt::Window), m_horId(horId)
{
    setObjectName(windowName(horId));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Historial del registro de horas %1").arg(horId));

    lblRegistro = new QLabel(this);
    lblRegistro->setObjectName(QStringLiteral("lblRegistro"));
    grdHistorial = new QTableWidget(0, 4, this);
    grdHistorial->setObjectName(QStringLiteral("grdHistorial"));
    grdHistorial->setHorizontalHeaderLabels(
        {QStringLiteral("Fecha"), QStringLiteral("Usuario"), QStringLiteral("Cambio"), QStringLiteral("Detalle")});
    grdHistorial->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grdHistorial->setSelectionBehavior(QAbstractItemView::SelectRows);
    grdHistorial->setWordWrap(true);
    grdHistorial->verticalHeader()->hide();
    grdHistorial->horizontalHeader()->setStretchLastSection(true);
    lblRegistro->setBuddy(grdHistorial);

    cmdCerrar = new QPushButton(QStringLiteral("Cerrar"), this);
    cmdCerrar->setObjectName(QStringLiteral("cmdCerrar"));
    connect(cmdCerrar, &QPushButton::clicked, this, &QWidget::close);
    new QShortcut(QKeySequence(Qt::Key_Escape), this, this, &QWidget::close);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdCerrar);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(lblRegistro);
    layout->addWidget(grdHistorial, 1);
    layout->addLayout(buttons);
    resize(820, 360);
}

void frmHistorialHoras::load()
{
    store::history::Filter filter;
    filter.horId = m_horId;
    const auto lines = store::history::read(*store::Connection::shared(), filter);
    grdHistorial->setRowCount(int(lines.size()));
    for (int i = 0; i < int(lines.size()); ++i) {
        const store::history::Line &l = lines[size_t(i)];
        const QString kind = l.table == QLatin1String("HHORAS") ? l.kind + QStringLiteral(" (archivo)") : l.kind;
        const QStringList cells{QLocale().toString(l.when, QStringLiteral("dd-MM-yyyy HH:mm:ss")),
                                l.login.isEmpty() ? QStringLiteral("(fuera del programa)") : l.login, kind,
                                store::history::describe(l)};
        for (int c = 0; c < cells.size(); ++c) {
            auto *item = new QTableWidgetItem(cells[c]);
            item->setToolTip(cells[c]);
            grdHistorial->setItem(i, c, item);
        }
    }
    grdHistorial->resizeColumnsToContents();
    grdHistorial->setColumnWidth(3, 420);  // the detail wraps; its whole text is also the tip
    grdHistorial->horizontalHeader()->setStretchLastSection(true);
    grdHistorial->resizeRowsToContents();
    lblRegistro->setText(lines.empty()
                             ? QStringLiteral("No hay cambios registrados para el registro de horas %1.").arg(m_horId)
                             : QStringLiteral("Cambios del registro de horas %1, del más antiguo al más reciente:")
                                   .arg(m_horId));
    if (!lines.empty())
        grdHistorial->selectRow(int(lines.size()) - 1);
}

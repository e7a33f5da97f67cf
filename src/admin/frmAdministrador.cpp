#include "admin/frmAdministrador.h"

#include "admin/frmMantActividades.h"
#include "admin/frmMantCatalogos.h"
#include "admin/frmMantFuncionarios.h"
#include "admin/frmMantRubros.h"
#include "admin/frmMantUsuarios.h"
#include "session/frmAcercaDe.h"
#include "ui/Dialogs.h"
#include "ui/GuardedSlot.h"

#include <QGridLayout>
#include <QPushButton>

#include <algorithm>

namespace {
constexpr int kButtonSide = 65;  // 975 twips: the least side of a button
}

frmAdministrador::frmAdministrador(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("frmAdministrador"));
    setWindowTitle(QStringLiteral("Administración del sistema"));
    new QGridLayout(this);

    // The maintenance windows are top-level windows of their own; they close with the panel.
    const auto open = [this](QPointer<QWidget> &slot, auto make) {
        return [this, &slot, make] { showWindow(slot, make); };
    };
    ui::connectGuarded(addButton(0, 0, "cmdActividades", QStringLiteral("Actividades"),
                      QStringLiteral("Mantenimiento de actividades")),
            &QPushButton::clicked, this, open(m_actividades, [this] { return new frmMantActividades(this); }));
    ui::connectGuarded(addButton(0, 1, "cmdAreas", QStringLiteral("Areas"), QStringLiteral("Mantenimiento de áreas")),
            &QPushButton::clicked, this, open(m_areas, [this] { return new frmMantAreas(this); }));
    ui::connectGuarded(addButton(0, 2, "cmdDestinos", QStringLiteral("Destinos"), QStringLiteral("Mantenimiento de destinos")),
            &QPushButton::clicked, this, open(m_destinos, [this] { return new frmMantDestinos(this); }));
    ui::connectGuarded(addButton(0, 3, "cmdFuncionarios", QStringLiteral("Empleados"),
                      QStringLiteral("Mantenimiento de funcionarios")),
            &QPushButton::clicked, this, open(m_funcionarios, [this] { return new frmMantFuncionarios(this); }));
    ui::connectGuarded(addButton(1, 0, "cmdInstitutos", QStringLiteral("Institutos"),
                      QStringLiteral("Mantenimiento de institutos")),
            &QPushButton::clicked, this, open(m_institutos, [this] { return new frmMantInstitutos(this); }));
    ui::connectGuarded(addButton(1, 1, "cmdMaterias", QStringLiteral("Materias"), QStringLiteral("Mantenimiento de materias")),
            &QPushButton::clicked, this, open(m_materias, [this] { return new frmMantMaterias(this); }));
    ui::connectGuarded(addButton(1, 2, "cmdRubros", QStringLiteral("Rubros"), QStringLiteral("Mantenimiento de rubros")),
            &QPushButton::clicked, this, open(m_rubros, [this] { return new frmMantRubros(this); }));
    ui::connectGuarded(addButton(1, 3, "cmdTipoHoras", QStringLiteral("Tipo Horas"),
                      QStringLiteral("Mantenimiento de los tipos de horas")),
            &QPushButton::clicked, this, open(m_tipoHoras, [this] { return new frmMantTipoHoras(this); }));
    ui::connectGuarded(addButton(2, 0, "cmdUsuarios", QStringLiteral("Usuarios"), QStringLiteral("Mantenimiento de usuarios")),
            &QPushButton::clicked, this, open(m_usuarios, [this] { return new frmMantUsuarios(this); }));
    ui::connectGuarded(addButton(2, 1, "cmdAcerca", QStringLiteral("Acerca de"), QStringLiteral("Acerca de Quronda")),
            &QPushButton::clicked, this, open(m_acerca, [this] { return new frmAcercaDe(this); }));
    addButton(2, 2, "cmdAyuda", QStringLiteral("Ayuda"), QStringLiteral("Ayuda para el administrador"));
    ui::connectGuarded(addButton(2, 3, "cmdSalir", QStringLiteral("Salir"), QString()), &QPushButton::clicked, this,
            [] { ui::endProgram(); });
    // Square buttons, all of one size: the least side, or what the longest caption needs.
    int side = kButtonSide;
    const auto buttons = findChildren<QPushButton *>();
    for (QPushButton *b : buttons)
        side = std::max({side, b->sizeHint().width(), b->fontMetrics().horizontalAdvance(b->text()) + 16});
    for (QPushButton *b : buttons)
        b->setFixedSize(side, side);
    setFixedSize(sizeHint());
}

frmAdministrador::~frmAdministrador() = default;

QPushButton *frmAdministrador::addButton(int row, int column, const char *name, const QString &caption,
                                         const QString &toolTip)
{
    auto *b = new QPushButton(caption, this);
    b->setObjectName(QString::fromLatin1(name));
    b->setToolTip(toolTip);
    static_cast<QGridLayout *>(layout())->addWidget(b, row, column);
    return b;
}

void frmAdministrador::showWindow(QPointer<QWidget> &slot, const std::function<QWidget *()> &make)
{
    if (!slot) {
        slot = make();
        slot->setWindowFlag(Qt::Window, true);
        slot->setAttribute(Qt::WA_DeleteOnClose);
    }
    slot->show();
    slot->raise();
    slot->activateWindow();
}

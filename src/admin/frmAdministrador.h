#pragma once

#include <QPointer>
#include <QWidget>

#include <functional>

class QPushButton;

// The administrator's main window: a panel of twelve buttons, each opening a maintenance
// window (or the About window) without blocking. A window already open is brought forward
// instead of opened again.
class frmAdministrador : public QWidget {
    Q_OBJECT
public:
    explicit frmAdministrador(QWidget *parent = nullptr);
    ~frmAdministrador() override;

private:
    QPushButton *addButton(int row, int column, const char *name, const QString &caption, const QString &toolTip);
    // Shows the window held in `slot`, creating it with `make` when it is not open.
    void showWindow(QPointer<QWidget> &slot, const std::function<QWidget *()> &make);

    QPointer<QWidget> m_actividades, m_areas, m_destinos, m_funcionarios, m_institutos, m_materias, m_rubros,
        m_tipoHoras, m_usuarios, m_acerca;
};

#pragma once

#include <QString>
#include <QWidget>

class QCheckBox;
class QPlainTextEdit;
class QPushButton;

namespace store {
class DataControl;
}
namespace ui {
class DataCombo;
class DataGrid;
}

// The tab "Cierre de mes" of the super user's window: the close requests of an area,
// narrowed to a month and year, where the super user approves or denies a request and
// leaves a comment. It is the only place where the approval, the denial and the super
// user's comment of CIERREMESES are written.
//
// Approving asks first, and is final: once a row is stored as approved, both boxes are
// disabled whenever the list comes to it. The denial box is plain: its tick is stored as is.
class CierreMesSuperUsuario : public QWidget {
    Q_OBJECT
public:
    explicit CierreMesSuperUsuario(QWidget *parent = nullptr);
    ~CierreMesSuperUsuario() override;

    store::DataControl *adcCierres() const { return m_adcCierres; }
    store::DataControl *adcAreas() const { return m_adcAreas; }

    void dtcAreas_Change();
    void dtcAnios_Change();
    void chkCierreAutorizado_Click();
    void cmdGuardar_Click();

private:
    void buildControls();
    void onRowChanged();
    void showList(const QString &statement);
    QString areaStatement() const;

    store::DataControl *m_adcAreas = nullptr;
    store::DataControl *m_adcAnios = nullptr;
    store::DataControl *m_adcMeses = nullptr;
    store::DataControl *m_adcCierres = nullptr;
    QString m_area;
    bool m_settingBox = false;

    ui::DataCombo *m_dtcAreas = nullptr;
    ui::DataCombo *m_dtcAnios = nullptr;
    ui::DataCombo *m_dtcMeses = nullptr;
    ui::DataGrid *m_dtgCierreMeses = nullptr;
    QCheckBox *m_chkCierreAutorizado = nullptr;
    QCheckBox *m_chkCierreNegado = nullptr;
    QPlainTextEdit *m_txtComentarioJefeArea = nullptr;
    QPlainTextEdit *m_txtComentarioSuperUsuario = nullptr;
    QPushButton *m_cmdGuardar = nullptr;
};

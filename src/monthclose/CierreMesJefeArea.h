#pragma once

#include <QPointer>
#include <QWidget>

#include <functional>

class QCheckBox;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

namespace store {
class DataControl;
}
namespace ui {
class DataGrid;
class DatePicker;
}

// The tab "Cierre de mes" of the area chief's window: the chief asks for a month to be
// closed (a row of CIERREMESES), and once the super user has approved it, closes it, which
// moves the hours of the chief's area up to the row's cut-off date from HORAS to HHORAS.
//
// The close runs its two statements (copy, then delete of what was copied) in one
// transaction on a connection of its own: either both go through or nothing moves. The
// copy takes only rows not yet archived and the delete only rows that are archived, so a
// close cut short earlier can simply be run again.
//
// Rules kept on top of the list's own behaviour:
//  - a row of another area can be looked at but neither closed nor changed;
//  - on a stored row only the location of the file and the chief's comment are written;
//  - a new row not saved with cmdGuardar is dropped when another row is chosen.
class CierreMesJefeArea : public QWidget {
    Q_OBJECT
public:
    explicit CierreMesJefeArea(QWidget *parent = nullptr);
    ~CierreMesJefeArea() override;

    store::DataControl *adcCierreMeses() const { return m_adcCierreMeses; }

    // The window's "Mes en curso" data control, which the month export borrows. The window
    // hands it over with setMesActual; without that the tab looks for a data control named
    // "adcMesActual" in its window.
    void setMesActual(store::DataControl *adcMesActual);
    store::DataControl *adcMesActual() const;

    // What cmdExportar runs. Until the window sets one, the button says the export is not
    // available yet.
    void setExportHandler(std::function<void()> handler);

    // The button handlers (public so that the window can offer them elsewhere).
    void cmdSolicitarCierre_Click();
    void cmdGuardar_Click();
    void cmdCerrar_Click();
    void cmdExportar_Click();

private:
    void buildControls();
    void onRowChanged();
    void onAboutToWrite();
    bool isOwnArea() const;
    void keepOnlyChiefText();
    void showRow();
    bool runClose(const QDate &cutOff, const QVariant &closeId, QString *error);

    store::DataControl *m_adcCierreMeses = nullptr;
    QPointer<store::DataControl> m_adcMesActual;
    std::function<void()> m_exportHandler;
    bool m_writing = false;  // our own writes: no "leaving the row" rules

    ui::DataGrid *m_dtgCierreMeses = nullptr;
    QLineEdit *m_txtMesCierre = nullptr;
    QLineEdit *m_txtAnioCierre = nullptr;
    ui::DatePicker *m_dtpFechaCierre = nullptr;
    QLineEdit *m_txtUbicacionArchivoHoras = nullptr;
    QPlainTextEdit *m_txtComentariosJefeArea = nullptr;
    QPlainTextEdit *m_txtComentariosSuperUsuario = nullptr;
    QCheckBox *m_chkAprobadoSuperUsuario = nullptr;
    QCheckBox *m_chkDesaprobadoSuperUsuario = nullptr;
    QCheckBox *m_chkMesCerrado = nullptr;
    QPushButton *m_cmdSolicitarCierre = nullptr;
    QPushButton *m_cmdGuardar = nullptr;
    QPushButton *m_cmdCerrar = nullptr;
    QPushButton *m_cmdExportar = nullptr;
};

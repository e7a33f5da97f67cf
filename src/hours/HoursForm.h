#pragma once

#include "core/HoursSave.h"

#include <QVariant>
#include <QWidget>

#include <array>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class QTabWidget;

namespace store {
class DataControl;
class StoreError;
}
namespace ui {
class DataCombo;
class DatePicker;
class MaskedEdit;
class MonthView;
}

// What the hours entry window and the hours change window have in common: the same
// controls under the same names, the same data controls, the chain of lists
// area -> activity -> subject group -> subject, the contract tab, the week number worked
// out from the date, and the writing of one row of HORAS with its row of
// HORAS_RUBROS_MATERIAS through core::HoursSave. The two windows differ in how they
// load, in the statement of the subject list and in which save they ask for.
class HoursForm : public QWidget {
    Q_OBJECT
public:
    ~HoursForm() override;

protected:
    // The controls, each named as its object (tests find them by that name).
    QTabWidget *tabRegistroHoras = nullptr;
    std::array<ui::DatePicker *, 3> dtpFechas{};
    QLineEdit *txtSemana = nullptr;
    ui::DataCombo *dtcAreas = nullptr;
    ui::DataCombo *dtcActividades = nullptr;
    ui::DataCombo *dtcRubros = nullptr;
    ui::DataCombo *dtcMaterias = nullptr;
    ui::DataCombo *dtcDestinos = nullptr;
    ui::DataCombo *dtcTipoHoras = nullptr;
    ui::MaskedEdit *txtHoras = nullptr;
    QComboBox *cboTurno = nullptr;
    ui::MaskedEdit *txtHorarioInicial = nullptr;
    ui::MaskedEdit *txtHorarioFinal = nullptr;
    ui::MaskedEdit *txtValorHora = nullptr;
    ui::MaskedEdit *txtCategoria = nullptr;
    QComboBox *cboMoneda = nullptr;
    ui::MonthView *mvSemana = nullptr;

    ui::DataCombo *dtcContratos = nullptr;
    QLineEdit *txtCedula = nullptr;
    QLineEdit *txtNombres = nullptr;
    QLineEdit *txtApellidos = nullptr;
    QLineEdit *txtDireccion = nullptr;
    QLineEdit *txtTelefonos = nullptr;
    QCheckBox *chkFacturador = nullptr;
    QLineEdit *txtContratoArea = nullptr;
    QLineEdit *txtContratoInstituto = nullptr;
    QLineEdit *txtContratoCategoria = nullptr;
    QLineEdit *txtContratoHorasSemanales = nullptr;
    QLineEdit *txtContratoValorHora = nullptr;
    QLineEdit *txtContratoMoneda = nullptr;
    QLineEdit *txtContratoHoraEntrada = nullptr;
    QLineEdit *txtContratoHoraSalida = nullptr;

    QPushButton *cmdGuardar = nullptr;
    QPushButton *cmdCerrar = nullptr;

    // The data controls, each on its own statement.
    store::DataControl *adcHoras = nullptr;
    store::DataControl *adcHorasRubrosMaterias = nullptr;
    store::DataControl *adcContratos = nullptr;
    store::DataControl *adcAreas = nullptr;
    store::DataControl *adcActividades = nullptr;
    store::DataControl *adcRubros = nullptr;
    store::DataControl *adcMaterias = nullptr;
    store::DataControl *adcDestinos = nullptr;
    store::DataControl *adcTipoHoras = nullptr;

    HoursForm(const QString &name, const QString &title, QWidget *parent = nullptr);

    // The statement that lists the subjects of a group in an activity.
    virtual QString materiasStatement(const QString &actId, const QString &rubId) const = 0;
    // cmdGuardar of each window.
    virtual void guardar() = 0;

    // Shows the window again, raised and active: what open() does while it is open.
    void bringForward();

    // Load, step 1: the contracts of the session's person, the first one current.
    void loadContracts();
    // Opens the catalogue lists with their design-time statements.
    void openLists();

    // The change rules of the lists, as a user's choice fires them.
    void onDateChanged();
    void onAreaChanged();
    void onActivityChanged();
    void onRubroChanged();
    void onContractChanged();
    // The start and end of the current contract in dtpFechas(1) and (2); blank for no date.
    void showContractDates();

    // True when the current row of adcActividades is a teaching activity that the user
    // has chosen.
    bool activityIsTeaching() const;
    static void refreshTwice(store::DataControl *adc);
    // The entry as the window shows it now: what was typed is handed to the adcHoras row
    // first, the date, currency and contract come from their controls.
    core::HoursEntry entryOnScreen();
    // Closes the window after a save, or keeps it open with the save's message.
    void finishSave(const core::HoursSaveResult &result);
    // Fills the bound text boxes again from the current adcHoras row.
    void showHorasFields(std::initializer_list<QWidget *> controls);

private:
    void buildControls();
    void bindControls();
};

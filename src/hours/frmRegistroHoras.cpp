#include "hours/frmRegistroHoras.h"

#include "session/modPrincipal.h"
#include "store/DataControl.h"
#include "store/SqlValue.h"
#include "ui/DataLists.h"
#include "ui/DatePicker.h"
#include "ui/Dialogs.h"
#include "ui/MaskedEdit.h"

#include <QCheckBox>
#include <QPointer>

namespace sql = store::sql;

namespace {
QPointer<frmRegistroHoras> s_open;
}

frmRegistroHoras::frmRegistroHoras(QWidget *parent)
    : HoursForm(QStringLiteral("frmRegistroHoras"), QStringLiteral("Registro de Horas"), parent)
{
}

frmRegistroHoras *frmRegistroHoras::instance()
{
    return s_open.data();
}

frmRegistroHoras *frmRegistroHoras::open()
{
    if (s_open) {
        s_open->bringForward();
        return s_open;
    }
    auto *window = new frmRegistroHoras;
    try {
        window->load();
    } catch (...) {
        delete window;
        throw;
    }
    s_open = window;
    window->show();
    return window;
}

void frmRegistroHoras::load()
{
    openLists();
    loadContracts();
    adcHoras->refresh();
    adcHorasRubrosMaterias->refresh();

    // The entry belongs to the person the session worked on when the window opened.
    m_session = modPrincipal::session();
    adcHoras->addNew();
    if (adcContratos->hasCurrentRow()) {
        // Value and category are a copy of the first contract's, taken now.
        adcHoras->setValue(QStringLiteral("HorValorhora"), adcContratos->value(QStringLiteral("FunInsValor_Hora")));
        adcHoras->setValue(QStringLiteral("HorCategoria"), adcContratos->value(QStringLiteral("FunInsCategoria")));
        showHorasFields({txtValorHora, txtCategoria});
        if (chkFacturador->isChecked()) {
            txtValorHora->setEnabled(true);
            txtCategoria->setEnabled(true);
        }
    }
    showContractDates();
    dtpFechas[0]->setDate(QDate::currentDate());
    onDateChanged();
}

QString frmRegistroHoras::materiasStatement(const QString &actId, const QString &rubId) const
{
    return QStringLiteral("SELECT * FROM MATERIAS M, RUBROS R, DOCENTES_RUBROS_MATERIAS DRM WHERE M.MATID=DRM.MATID "
                          "AND R.RUBID=DRM.RUBID AND DRM.ACTID=%1 AND R.RUBID=%2")
        .arg(sql::text(actId), sql::text(rubId));
}

void frmRegistroHoras::guardar()
{
    const core::HoursSaveResult result = core::HoursSave().enter(m_session, entryOnScreen(), m_storedHorId);
    m_storedHorId = result.horId;
    finishSave(result);
}

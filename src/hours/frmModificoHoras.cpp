#include "hours/frmModificoHoras.h"

#include "store/DataControl.h"
#include "store/SqlValue.h"
#include "ui/DataLists.h"
#include "ui/DatePicker.h"
#include "ui/Dialogs.h"

#include <QComboBox>
#include <QPointer>

namespace sql = store::sql;

namespace {
QPointer<frmModificoHoras> s_open;
}

frmModificoHoras::frmModificoHoras(QWidget *parent)
    : HoursForm(QStringLiteral("frmModificoHoras"), QStringLiteral("Modificación de Horas"), parent)
{
}

frmModificoHoras *frmModificoHoras::instance()
{
    return s_open.data();
}

frmModificoHoras *frmModificoHoras::open(int horid)
{
    // One window: while it is open it keeps the entry it was opened on.
    if (s_open) {
        s_open->bringForward();
        return s_open;
    }
    auto *window = new frmModificoHoras;
    window->horid = horid;
    bool found = false;
    try {
        found = window->load();
    } catch (...) {
        delete window;
        throw;
    }
    if (!found) {
        delete window;
        ui::msgBox(QStringLiteral("El registro de horas ya no existe."), {}, ui::Icon::Exclamation);
        return nullptr;
    }
    s_open = window;
    window->show();
    return window;
}

bool frmModificoHoras::load()
{
    openLists();
    loadContracts();

    adcHoras->setRecordSource(QStringLiteral("SELECT * FROM HORAS WHERE HORID=%1").arg(sql::number(qlonglong(horid))));
    refreshTwice(adcHoras);
    if (adcHoras->recordCount() == 0)
        return false;
    m_read = core::entryFromColumns([this](const QString &column) { return adcHoras->value(column); });
    if (!m_read.fecha.isNull())
        m_read.fecha = m_read.fecha.toDate();
    // The bound combos now show the stored area, activity and contract, and have made the
    // activity and the contract the current rows of their lists; the chain runs as it
    // does when the user chooses them.
    onAreaChanged();
    onActivityChanged();
    showContractDates();

    dtpFechas[0]->setDate(adcHoras->value(QStringLiteral("HorFecha")).toDate());
    cboMoneda->setCurrentIndex(
        adcHoras->value(QStringLiteral("HorMoneda")).toString() == QLatin1String("Pesos Uruguayos") ? 0 : 1);

    adcHorasRubrosMaterias->setRecordSource(
        QStringLiteral("SELECT * FROM HORAS_RUBROS_MATERIAS WHERE HORID=%1").arg(sql::number(qlonglong(horid))));
    refreshTwice(adcHorasRubrosMaterias);
    if (adcHorasRubrosMaterias->recordCount() > 0) {
        const QString turno = adcHorasRubrosMaterias->value(QStringLiteral("HorRubMatTurno")).toString();
        cboTurno->setCurrentIndex(cboTurno->findText(turno));  // another text chooses nothing
        dtcRubros->setDataSource(adcHorasRubrosMaterias, QStringLiteral("RubId"));
        onRubroChanged();
        dtcMaterias->setDataSource(adcHorasRubrosMaterias, QStringLiteral("MatId"));
    }
    return true;
}

QString frmModificoHoras::materiasStatement(const QString &actId, const QString &rubId) const
{
    return QStringLiteral("SELECT M.MATID, M.MATDESCRIPCION FROM MATERIAS M, DOCENTES_RUBROS_MATERIAS DRM WHERE "
                          "M.MATID=DRM.MATID AND DRM.ACTID=%1 AND DRM.RUBID=%2")
        .arg(sql::text(actId), sql::text(rubId));
}

void frmModificoHoras::guardar()
{
    finishSave(core::HoursSave().change(horid, m_read, entryOnScreen()));
}

#include "hours/frmRegistroHoras.h"

#include "session/modPrincipal.h"
#include "store/DataControl.h"
#include "store/SqlValue.h"
#include "store/StoreError.h"
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

    adcHoras->addNew();
    adcHoras->setValue(QStringLiteral("FunCedula"), modPrincipal::gFunCedula);
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
    if (!checkSaveCanProceed())
        return;
    // Read before anything is written: refreshing adcHoras moves the bound combos.
    const bool teaching = activityIsTeaching();
    const bool repairing = !m_storedHorId.isNull();
    bool horasStored = repairing;
    try {
        writeHoras();
        if (!repairing) {
            // From here on the window holds the row it has just stored.
            m_storedHorId = adcHoras->lastInsertedKey();
            adcHoras->setRecordSource(
                QStringLiteral("SELECT * FROM HORAS WHERE HORID=%1").arg(sql::number(m_storedHorId.toLongLong())));
        }
        horasStored = true;
        refreshTwice(adcHoras);
        if (teaching || repairing) {
            adcHorasRubrosMaterias->setRecordSource(
                QStringLiteral("SELECT * FROM HORAS_RUBROS_MATERIAS WHERE HORID=%1")
                    .arg(sql::number(m_storedHorId.toLongLong())));
            refreshTwice(adcHorasRubrosMaterias);
            writeLink(m_storedHorId, teaching, false);
        }
    } catch (const store::StoreError &e) {
        // The store's refusals show their number, followed by what it means; a value our
        // own layer could not read shows why. One box: when the hours went in and their
        // subject did not, the same box says so.
        QString text = e.kind() == store::StoreError::Kind::BadValue
                           ? e.description()
                           : QString::number(e.number()) + QLatin1Char('\n') + e.description();
        if (horasStored)
            text += QStringLiteral("\n\nLas horas quedaron guardadas, pero no se pudo guardar su rubro, materia y "
                                   "turno. Pulse \"Guardar\" otra vez para completarlas.");
        ui::msgBox(text, {}, horasStored ? ui::Icon::Exclamation : ui::Icon::None, this);
        return;
    } catch (const std::exception &e) {
        ui::msgBox(QString::fromStdString(e.what()), {}, ui::Icon::None, this);
        return;
    }
    close();
}

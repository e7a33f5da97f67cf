#include "core/HoursSave.h"

#include "store/DataControl.h"
#include "store/SqlValue.h"
#include "store/StoreError.h"

#include <array>
#include <utility>

namespace core {

namespace {

using store::DataControl;
using store::StoreError;

// The columns of HORAS an entry fills (HorId comes from the store, FunCedula from the
// session), with where the entry keeps each.
const std::array<std::pair<const char *, QVariant HoursEntry::*>, 13> kColumns{{
    {"AreId", &HoursEntry::areId},
    {"ActId", &HoursEntry::actId},
    {"DesId", &HoursEntry::desId},
    {"FunInsId", &HoursEntry::funInsId},
    {"HorFecha", &HoursEntry::fecha},
    {"HorSemana", &HoursEntry::semana},
    {"HorValorhora", &HoursEntry::valorHora},
    {"HorHoras", &HoursEntry::horas},
    {"HorCategoria", &HoursEntry::categoria},
    {"TipId", &HoursEntry::tipId},
    {"HorMoneda", &HoursEntry::moneda},
    {"HorHorarioInicial", &HoursEntry::horarioInicial},
    {"HorHorarioFinal", &HoursEntry::horarioFinal},
}};

QString rowOf(const char *table, qlonglong horId)
{
    return QStringLiteral("SELECT * FROM %1 WHERE HORID=%2").arg(QLatin1String(table), store::sql::number(horId));
}

// Whether the store still holds what was read: dates compare as days whatever type the
// driver gave them.
bool sameValue(const QVariant &stored, const QVariant &read)
{
    const auto isDate = [](const QVariant &v) {
        return v.typeId() == QMetaType::QDate || v.typeId() == QMetaType::QDateTime;
    };
    if (isDate(stored) || isDate(read))
        return stored.toDate() == read.toDate();
    return stored == read;
}

// The store's refusals show their number, followed by what it means; a value our own
// layer could not read shows why.
QString entryRefusal(const std::exception &error)
{
    const auto *storeError = dynamic_cast<const StoreError *>(&error);
    if (!storeError)
        return QString::fromUtf8(error.what());
    if (storeError->kind() == StoreError::Kind::BadValue)
        return storeError->description();
    return QString::number(storeError->number()) + QLatin1Char('\n') + storeError->description();
}

QString changeRefusal(const std::exception &error)
{
    const auto *storeError = dynamic_cast<const StoreError *>(&error);
    return storeError ? storeError->description() : QString::fromUtf8(error.what());
}

}  // namespace

HoursEntry entryFromColumns(const std::function<QVariant(const QString &column)> &valueOf)
{
    HoursEntry entry;
    for (const auto &[column, member] : kColumns)
        entry.*member = valueOf(QLatin1String(column));
    return entry;
}

HoursSave::HoursSave(QString connectString) : m_connectString(std::move(connectString)) {}

QString HoursSave::linkFailedNote()
{
    return QStringLiteral("Las horas quedaron guardadas, pero no se pudo guardar su rubro, materia y turno. "
                          "Pulse \"Guardar\" otra vez para completarlas.");
}

QString HoursSave::missingPiece(const HoursEntry &entry) const
{
    if (entry.funInsId.isNull())
        return QStringLiteral("El funcionario no tiene contratos: no se pueden guardar sus horas.");
    if (!entry.areId.isNull()) {
        const store::ResultSet activities = store::Connection::shared(m_connectString)->selectNative(
            QStringLiteral("SELECT COUNT(*) FROM AREAS_ACTIVIDADES WHERE AREID=?"), {entry.areId});
        if (!activities.rows.empty() && activities.rows.front().value(0).toInt() == 0)
            return QStringLiteral("El área elegida no tiene actividades: elija otra área antes de guardar.");
    }
    return {};
}

HoursSaveResult HoursSave::enter(const Session &session, const HoursEntry &entry, const QVariant &storedHorId) const
{
    HoursSaveResult result;
    result.horId = storedHorId;
    try {
        result.message = missingPiece(entry);
        if (!result.message.isEmpty()) {
            result.warning = true;
            return result;
        }
        DataControl horas(QStringLiteral("adcHoras"), nullptr, m_connectString);
        if (storedHorId.isNull()) {
            horas.setRecordSource(QStringLiteral("SELECT * FROM HORAS WHERE HORID IS NULL"));
            horas.refresh();
            horas.addNew();
            horas.setValue(QStringLiteral("FunCedula"), session.person);
        } else {
            horas.setRecordSource(rowOf("HORAS", storedHorId.toLongLong()));
            horas.refresh();
        }
        for (const auto &[column, member] : kColumns)
            horas.setValue(QLatin1String(column), entry.*member);
        horas.update();
        if (storedHorId.isNull())
            result.horId = horas.lastInsertedKey();
        writeLink(result.horId.toLongLong(), entry);
        result.saved = true;
    } catch (const std::exception &error) {
        result.message = entryRefusal(error);
        if (!result.horId.isNull()) {
            result.message += QStringLiteral("\n\n") + linkFailedNote();
            result.warning = true;
        }
    }
    return result;
}

HoursSaveResult HoursSave::change(qlonglong horId, const HoursEntry &read, const HoursEntry &edited) const
{
    HoursSaveResult result;
    result.horId = horId;
    try {
        result.message = missingPiece(edited);
        if (!result.message.isEmpty()) {
            result.warning = true;
            return result;
        }
        DataControl horas(QStringLiteral("adcHoras"), nullptr, m_connectString);
        horas.setRecordSource(rowOf("HORAS", horId));
        horas.refresh();
        if (!horas.hasCurrentRow()) {
            result.message = QStringLiteral("El registro de horas ya no existe.");
            return result;
        }
        for (const auto &[column, member] : kColumns) {
            if (edited.*member == read.*member)
                continue;
            const QString name = QLatin1String(column);
            if (!sameValue(horas.value(name), read.*member))
                throw StoreError::changedSinceRead();
            horas.setValue(name, edited.*member);
        }
        horas.update();
        writeLink(horId, edited);
        result.saved = true;
    } catch (const std::exception &error) {
        result.message = changeRefusal(error);
    }
    return result;
}

void HoursSave::writeLink(qlonglong horId, const HoursEntry &entry) const
{
    DataControl link(QStringLiteral("adcHorasRubrosMaterias"), nullptr, m_connectString);
    link.setRecordSource(rowOf("HORAS_RUBROS_MATERIAS", horId));
    link.refresh();
    if (!entry.teaching) {
        if (link.hasCurrentRow())
            link.deleteCurrent();
        return;
    }
    if (!link.hasCurrentRow()) {
        link.addNew();
        link.setValue(QStringLiteral("HorId"), horId);
    }
    link.setValue(QStringLiteral("RubId"), entry.rubId);
    link.setValue(QStringLiteral("MatId"), entry.matId);
    link.setValue(QStringLiteral("HorRubMatTurno"), entry.turno);
    link.update();
}

}  // namespace core

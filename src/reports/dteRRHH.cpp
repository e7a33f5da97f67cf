#include "reports/dteRRHH.h"

#include "store/Connection.h"
#include "store/StoreError.h"

#include <utility>

namespace {

struct Command {
    const char *name;
    const char *statement;
};

const Command kCommands[] = {
    {"Actividades", "SELECT * FROM ACTIVIDADES"},
    {"Areas", "SELECT * FROM AREAS"},
    {"Rubros", "SELECT * FROM RUBROS"},
    {"Destinos", "SELECT * FROM DESTINOS"},
    {"Institutos", "SELECT * FROM INSTITUTOS"},
    {"TipoHoras", "SELECT * FROM TIPOHORAS"},
    {"Materias", "SELECT * FROM MATERIAS"},
    {"Presupuesto",
     "SELECT SUM(H.HORHORAS), SUM(H.HORVALORHORA*H.HORHORAS), H.HORMONEDA, T.TIPDESCRIPCION, D.DESDESCRIPCION, "
     "ACT.ACTDESCRIPCION FROM TIPOHORAS T, HORAS H, ACTIVIDADES ACT, AREAS ARE, DESTINOS D WHERE "
     "H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID AND H.DESID=D.DESID AND H.TIPID=T.TIPID GROUP BY H.HORMONEDA, "
     "T.TIPDESCRIPCION, D.DESDESCRIPCION, ACT.ACTDESCRIPCION"},
    {"Funcionarios",
     "SHAPE {SELECT * FROM FUNCIONARIOS}  AS Funcionarios APPEND (( SHAPE {SELECT H.FUNCEDULA, H.HORFECHA, "
     "H.HORSEMANA, H.HORVALORHORA, H.HORHORAS, T.TIPDESCRIPCION, D.DESDESCRIPCION, ACT.ACTDESCRIPCION, ARE.AREID, "
     "ARE.AREDESCRIPCION, H.HORID FROM TIPOHORAS T, HORAS H, ACTIVIDADES ACT, AREAS ARE, DESTINOS D WHERE "
     "H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID AND H.DESID=D.DESID AND H.TIPID=T.TIPID ORDER BY H.HORFECHA}  AS "
     "MesActual COMPUTE MesActual, SUM(MesActual.'HORHORAS') AS SumaHoras BY 'AREDESCRIPCION','FUNCEDULA') AS "
     "MesActual_Grouping RELATE 'FunCedula' TO 'FUNCEDULA') AS MesActual_Grouping"},
};

const Command *find(const QString &name)
{
    for (const Command &c : kCommands) {
        if (name.compare(QLatin1String(c.name), Qt::CaseInsensitive) == 0)
            return &c;
    }
    return nullptr;
}

}  // namespace

dteRRHH &dteRRHH::instance()
{
    static dteRRHH environment;
    return environment;
}

QStringList dteRRHH::commandNames()
{
    QStringList names;
    for (const Command &c : kCommands)
        names << QLatin1String(c.name);
    return names;
}

QString dteRRHH::commandText(const QString &command)
{
    const Command *c = find(command);
    return c ? QString::fromUtf8(c->statement) : QString();
}

store::Connection &dteRRHH::connection()
{
    if (!m_decQuronda)
        m_decQuronda = store::Connection::open(QLatin1String(kConnectString));
    return *m_decQuronda;
}

store::ShapeChapter dteRRHH::open(const QString &command, const QString &source)
{
    const Command *c = find(command);
    if (!c) {
        throw store::StoreError(store::StoreError::Kind::Store, 3265,
                                QStringLiteral("El comando %1 no existe en el entorno de datos.").arg(command));
    }
    const QString statement = source.isEmpty() ? QString::fromUtf8(c->statement) : source;
    store::Connection &conn = connection();
    if (store::isShapeStatement(statement)) {
        auto result = std::make_shared<store::ShapeRecordset>(
            store::runShape(statement, [&conn](const QString &inner) { return conn.select(inner); }));
        return result;
    }
    store::ResultSet rows = conn.select(statement);
    auto result = std::make_shared<store::ShapeRecordset>(QLatin1String(c->name), rows.columns);
    result->reserve(rows.rows.size());
    for (store::Row &row : rows.rows)
        result->append(store::ShapeRecordset::Record{std::move(row), {}});
    return result;
}

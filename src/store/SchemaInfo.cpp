#include "store/SchemaInfo.h"

#include "store/StoreError.h"

#include <QDate>
#include <QHash>
#include <QLocale>
#include <QTime>
#include <vector>

namespace store {
namespace {

struct ColumnDef {
    const char *name;
    ColumnKind kind;
    int limit;  // text limit, 0 = none
};

struct TableDef {
    const char *name;
    std::vector<const char *> key;
    bool storeAssignsKey;
    std::vector<ColumnDef> columns;
};

using K = ColumnKind;

const std::vector<TableDef> &tableDefs()
{
    static const std::vector<TableDef> defs = {
        {"AREAS", {"AreId"}, false, {{"AreId", K::Text, 4}, {"AreDescripcion", K::Text, 30}}},
        {"INSTITUTOS", {"InsId"}, false, {{"InsId", K::Text, 4}, {"InsDescripcion", K::Text, 30}}},
        {"DESTINOS", {"DesId"}, false, {{"DesId", K::Text, 4}, {"DesDescripcion", K::Text, 30}}},
        {"MATERIAS", {"MatId"}, false, {{"MatId", K::Text, 4}, {"MatDescripcion", K::Text, 30}}},
        {"RUBROS", {"RubId"}, false, {{"RubId", K::Text, 4}, {"RubDescripcion", K::Text, 30}}},
        {"ACTIVIDADES", {"ActId"}, false,
         {{"ActId", K::Text, 4}, {"ActDescripcion", K::Text, 30}, {"ActEsDocente", K::YesNo, 0}}},
        {"TIPOHORAS", {"TipId"}, false,
         {{"TipId", K::Text, 4}, {"TipDescripcion", K::Text, 30}, {"TipPorcentaje", K::Decimal, 0}}},
        {"PERMISOS", {"PerId"}, false, {{"PerId", K::Integer, 0}, {"PerDescripcion", K::Text, 30}}},
        {"FUNCIONARIOS", {"FunCedula"}, false,
         {{"FunCedula", K::Text, 12}, {"FunNombres", K::Text, 30}, {"FunApellidos", K::Text, 30},
          {"FunTelefonos", K::Text, 30}, {"FunDireccion", K::Text, 30}, {"FunFacturador", K::YesNo, 0}}},
        {"FUNCIONARIOS_INSTITUTOS", {"FunInsId"}, true,
         {{"FunInsId", K::Integer, 0}, {"FunCedula", K::Text, 12}, {"InsId", K::Text, 4},
          {"AreId", K::Text, 4}, {"FunInsCategoria", K::Text, 2}, {"FunInsHoras_Semanales", K::Decimal, 0},
          {"FunInsValor_Hora", K::Decimal, 0}, {"FunInsMoneda", K::Text, 20},
          {"FunInsHorarioEntrada", K::Time, 0}, {"FunInsHorarioSalida", K::Time, 0},
          {"FunInsInicio", K::Date, 0}, {"FunInsFinal", K::Date, 0}, {"FunInsFinContrato", K::YesNo, 0}}},
        {"USUARIOS", {"UsuLogin"}, false,
         {{"UsuLogin", K::Text, 12}, {"UsuPassword", K::Text, 128}, {"FunCedula", K::Text, 12},
          {"PerId", K::Integer, 0}}},
        {"HORAS", {"HorId"}, true,
         {{"HorId", K::Integer, 0}, {"FunCedula", K::Text, 12}, {"AreId", K::Text, 4}, {"ActId", K::Text, 4},
          {"DesId", K::Text, 4}, {"FunInsId", K::Integer, 0}, {"HorFecha", K::Date, 0},
          {"HorSemana", K::Integer, 0}, {"HorValorhora", K::Decimal, 0}, {"HorHoras", K::Decimal, 0},
          {"HorCategoria", K::Text, 2}, {"TipId", K::Text, 4}, {"HorMoneda", K::Text, 20},
          {"HorHorarioInicial", K::Time, 0}, {"HorHorarioFinal", K::Time, 0}}},
        {"HHORAS", {"HorId"}, false, {}},  // same columns as HORAS, filled below
        {"HORAS_RUBROS_MATERIAS", {"HorId"}, false,
         {{"HorId", K::Integer, 0}, {"RubId", K::Text, 4}, {"MatId", K::Text, 4},
          {"HorRubMatTurno", K::Text, 10}}},
        {"AREAS_ACTIVIDADES", {"AreId", "ActId"}, false, {{"AreId", K::Text, 4}, {"ActId", K::Text, 4}}},
        {"RUBROS_MATERIAS", {"RubId", "MatId"}, false, {{"RubId", K::Text, 4}, {"MatId", K::Text, 4}}},
        {"DOCENTES_RUBROS_MATERIAS", {"ActId", "RubId", "MatId"}, false,
         {{"ActId", K::Text, 4}, {"RubId", K::Text, 4}, {"MatId", K::Text, 4}}},
        {"CIERREMESES", {"CieMesId"}, true,
         {{"CieMesId", K::Integer, 0}, {"FunCedula", K::Text, 12}, {"AreId", K::Text, 4},
          {"CieMesMesCierre", K::Integer, 0}, {"CieMesAnioCierre", K::Integer, 0},
          {"CieMesFechaActual", K::Date, 0}, {"CieMesFechaCierre", K::Date, 0},
          {"CieMesArchivoHoras", K::Text, 255}, {"CieMesComentarioJefeArea", K::Text, 0},
          {"CieMesComentarioSuperUsuario", K::Text, 0}, {"CieMesAprobado", K::YesNo, 0},
          {"CieMesDesaprobado", K::YesNo, 0}, {"CieMesCerrado", K::YesNo, 0}}},
    };
    return defs;
}

// Columns that the store requires besides the keys and the yes/no columns (which never
// hold Null).
const QHash<QString, QStringList> &otherRequiredColumns()
{
    static const QHash<QString, QStringList> required = [] {
        const QStringList hours = {QStringLiteral("FunCedula"), QStringLiteral("AreId"),   QStringLiteral("ActId"),
                                   QStringLiteral("DesId"),     QStringLiteral("FunInsId"), QStringLiteral("HorFecha"),
                                   QStringLiteral("TipId")};
        return QHash<QString, QStringList>{{QStringLiteral("horas"), hours}, {QStringLiteral("hhoras"), hours}};
    }();
    return required;
}

struct Catalogue {
    QHash<QString, TableInfo> tables;  // by lower-case name
};

const Catalogue &catalogue()
{
    static const Catalogue cat = [] {
        Catalogue c;
        const TableDef *horas = nullptr;
        for (const auto &t : tableDefs())
            if (QString::fromLatin1(t.name) == QLatin1String("HORAS"))
                horas = &t;
        for (const auto &t : tableDefs()) {
            TableInfo info;
            info.name = QString::fromLatin1(t.name);
            for (auto k : t.key)
                info.key << QString::fromLatin1(k);
            info.storeAssignsKey = t.storeAssignsKey;
            const QStringList other = otherRequiredColumns().value(info.name.toLower());
            const auto &cols = t.columns.empty() ? horas->columns : t.columns;
            for (const auto &col : cols) {
                const QString name = QString::fromLatin1(col.name);
                const bool required = info.key.contains(name, Qt::CaseInsensitive) || col.kind == ColumnKind::YesNo ||
                                      other.contains(name, Qt::CaseInsensitive);
                info.columns << name;
                info.columnInfo.push_back(ColumnInfo{name, col.kind, col.kind == ColumnKind::Text ? col.limit : 0,
                                                     required});
            }
            c.tables.insert(info.name.toLower(), info);
        }
        return c;
    }();
    return cat;
}

double parseDecimal(QString text, bool *ok)
{
    text = text.trimmed();
    if (text.isEmpty()) {
        *ok = false;
        return 0;
    }
    // Spanish comma or a dot: whichever the user typed is the decimal sign when only one
    // of them appears; with both, the last one is the decimal sign.
    const int comma = text.lastIndexOf(QLatin1Char(','));
    const int dot = text.lastIndexOf(QLatin1Char('.'));
    if (comma >= 0 && dot >= 0) {
        if (comma > dot)
            text = text.remove(QLatin1Char('.')).replace(QLatin1Char(','), QLatin1Char('.'));
        else
            text = text.remove(QLatin1Char(','));
    } else if (comma >= 0) {
        text.replace(QLatin1Char(','), QLatin1Char('.'));
    }
    return QLocale::c().toDouble(text, ok);
}

QDate parseDate(const QString &text)
{
    const QString t = text.trimmed();
    for (const char *fmt : {"yyyy-MM-dd", "d/M/yyyy", "d-M-yyyy", "d/M/yy", "d-M-yy", "yyyy-MM-ddTHH:mm:ss",
                            "yyyy-MM-dd HH:mm:ss"}) {
        QDate d = QDate::fromString(t, QString::fromLatin1(fmt));
        if (d.isValid()) {
            if (QString::fromLatin1(fmt).endsWith(QLatin1String("yy")) && !QString::fromLatin1(fmt).endsWith(QLatin1String("yyyy")))
                d = QDate(d.year() % 100 < 30 ? 2000 + d.year() % 100 : 1900 + d.year() % 100, d.month(), d.day());
            return d;
        }
    }
    return {};
}

QTime parseTime(const QString &text)
{
    const QString t = text.trimmed();
    for (const char *fmt : {"H:mm:ss", "H:mm", "HH:mm:ss.zzz", "H:mm:ss.zzz"}) {
        const QTime tm = QTime::fromString(t, QString::fromLatin1(fmt));
        if (tm.isValid())
            return tm;
    }
    // A full timestamp from a driver that reports times as date-times.
    const QDateTime dt = QDateTime::fromString(t, Qt::ISODate);
    return dt.isValid() ? dt.time() : QTime();
}

bool isNullLike(const QVariant &v)
{
    return !v.isValid() || v.isNull();
}

}  // namespace

const TableInfo *tableInfo(const QString &table)
{
    const auto &tables = catalogue().tables;
    auto it = tables.constFind(table.toLower());
    return it == tables.constEnd() ? nullptr : &it.value();
}

const ColumnInfo *TableInfo::column(const QString &name) const
{
    for (const ColumnInfo &c : columnInfo)
        if (c.name.compare(name, Qt::CaseInsensitive) == 0)
            return &c;
    return nullptr;
}

std::optional<ColumnKind> columnKind(const QString &table, const QString &column)
{
    const TableInfo *t = tableInfo(table);
    const ColumnInfo *c = t ? t->column(column) : nullptr;
    if (!c)
        return std::nullopt;
    return c->kind;
}

std::optional<int> textLimit(const QString &table, const QString &column)
{
    const TableInfo *t = tableInfo(table);
    const ColumnInfo *c = t ? t->column(column) : nullptr;
    if (!c || c->textLimit == 0)
        return std::nullopt;
    return c->textLimit;
}

QStringList storeOwnedTables()
{
    return {QStringLiteral("HORAS_HISTORIAL"), QStringLiteral("HORAS_CIERRE")};
}

QStringList allTables()
{
    QStringList names;
    for (const auto &t : tableDefs())
        names << QString::fromLatin1(t.name);
    return names;
}

QVariant normalize(ColumnKind kind, const QVariant &value)
{
    if (isNullLike(value))
        return kind == ColumnKind::YesNo ? QVariant(false) : QVariant();
    switch (kind) {
    case ColumnKind::Text:
        return value.toString();
    case ColumnKind::Integer: {
        bool ok = false;
        const qlonglong n = value.toLongLong(&ok);
        if (ok)
            return n;
        const double d = value.toDouble(&ok);
        return ok ? QVariant(qlonglong(d)) : value;
    }
    case ColumnKind::Decimal: {
        if (value.typeId() == QMetaType::Double)
            return value;
        bool ok = false;
        const double d = value.toDouble(&ok);
        return ok ? QVariant(d) : value;
    }
    case ColumnKind::Date: {
        if (value.typeId() == QMetaType::QDate)
            return value;
        if (value.typeId() == QMetaType::QDateTime)
            return value.toDateTime().date();
        const QDate d = parseDate(value.toString());
        return d.isValid() ? QVariant(d) : QVariant();
    }
    case ColumnKind::Time: {
        if (value.typeId() == QMetaType::QTime)
            return value;
        if (value.typeId() == QMetaType::QDateTime)
            return value.toDateTime().time();
        const QTime t = parseTime(value.toString());
        return t.isValid() ? QVariant(t) : QVariant();
    }
    case ColumnKind::YesNo: {
        if (value.typeId() == QMetaType::Bool)
            return value;
        const QString s = value.toString().trimmed().toLower();
        if (s == QLatin1String("true") || s == QLatin1String("t") || s == QLatin1String("si") ||
            s == QLatin1String("yes"))
            return true;
        bool ok = false;
        const double n = s.toDouble(&ok);
        return ok && n != 0;
    }
    }
    return value;
}

QVariant convertForWrite(ColumnKind kind, const QVariant &value, const QString &column)
{
    const auto bad = [&](const QString &what) {
        return StoreError(StoreError::Kind::BadValue, 3421,
                          QStringLiteral("El valor \"%1\" no es %2 válido para el campo %3.")
                              .arg(value.toString(), what, column));
    };
    const bool isText = value.typeId() == QMetaType::QString;
    if (isNullLike(value) || (isText && value.toString().trimmed().isEmpty() && kind != ColumnKind::Text)) {
        if (kind == ColumnKind::YesNo)
            return false;
        return QVariant();
    }
    switch (kind) {
    case ColumnKind::Text:
        return value.toString();
    case ColumnKind::Integer: {
        bool ok = false;
        qlonglong n = isText ? value.toString().trimmed().toLongLong(&ok) : value.toLongLong(&ok);
        if (!ok && isText) {
            const double d = parseDecimal(value.toString(), &ok);
            if (ok && d == double(qlonglong(d)))
                n = qlonglong(d);
            else
                ok = false;
        }
        if (!ok)
            throw bad(QStringLiteral("un número entero"));
        return n;
    }
    case ColumnKind::Decimal: {
        bool ok = false;
        const double d = isText ? parseDecimal(value.toString(), &ok) : value.toDouble(&ok);
        if (!ok || !std::isfinite(d))
            throw bad(QStringLiteral("un número"));
        return d;
    }
    case ColumnKind::Date: {
        if (value.typeId() == QMetaType::QDate)
            return value;
        if (value.typeId() == QMetaType::QDateTime)
            return value.toDateTime().date();
        const QDate d = parseDate(value.toString());
        if (!d.isValid())
            throw bad(QStringLiteral("una fecha"));
        return d;
    }
    case ColumnKind::Time: {
        if (value.typeId() == QMetaType::QTime)
            return value;
        if (value.typeId() == QMetaType::QDateTime)
            return value.toDateTime().time();
        const QTime t = parseTime(value.toString());
        if (!t.isValid())
            throw bad(QStringLiteral("una hora"));
        return t;
    }
    case ColumnKind::YesNo:
        return normalize(ColumnKind::YesNo, value);
    }
    return value;
}

}  // namespace store

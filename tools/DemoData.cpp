// Demo rows for a new store: three areas, two institutes, teaching and other activities,
// about ten staff, several months of hours (the older ones archived) and close requests
// in every state.
#include "StoreTool.h"

#include "session/Usuario.h"
#include "store/Connection.h"

#include <QDate>
#include <QTime>
#include <QVariantList>

namespace storetool {
namespace {

struct Person {
    const char *cedula;
    const char *nombres;
    const char *apellidos;
    bool factura;
};

struct Contract {
    const char *cedula;
    const char *institute;
    const char *area;
    const char *categoria;
    double horasSemana;
    double valorHora;
    const char *moneda;
};

// Week of the year counted from the week holding 1 January, weeks starting on Monday.
int weekOfYear(const QDate &d)
{
    const QDate jan1(d.year(), 1, 1);
    return (d.dayOfYear() - 1 + jan1.dayOfWeek() - 1) / 7 + 1;
}

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

}  // namespace

void demo(store::Connection &conn, const QDate &today)
{
    auto run = [&](const char *sql, const QVariantList &values) { conn.executeNative(s(sql), values); };
    conn.beginTransaction();
    try {
        for (auto [id, text] : {std::pair{"DOC", "Docencia"}, {"ADM", "Administración"}, {"INV", "Investigación"}})
            run("INSERT INTO AREAS (AreId, AreDescripcion) VALUES (?, ?)", {s(id), s(text)});
        for (auto [id, text] : {std::pair{"CEN", "Instituto Central"}, {"EST", "Instituto del Este"}})
            run("INSERT INTO INSTITUTOS (InsId, InsDescripcion) VALUES (?, ?)", {s(id), s(text)});
        for (auto [id, text] : {std::pair{"CUR", "Cursos regulares"}, {"GES", "Gestión"}, {"EXT", "Extensión"}})
            run("INSERT INTO DESTINOS (DesId, DesDescripcion) VALUES (?, ?)", {s(id), s(text)});
        for (auto [id, text] : {std::pair{"MAT", "Matemática"}, {"FIS", "Física"}, {"QUI", "Química"},
                                {"HIS", "Historia"}, {"LEN", "Lengua"}})
            run("INSERT INTO MATERIAS (MatId, MatDescripcion) VALUES (?, ?)", {s(id), s(text)});
        for (auto [id, text] : {std::pair{"CIE", "Ciencias"}, {"HUM", "Humanidades"}})
            run("INSERT INTO RUBROS (RubId, RubDescripcion) VALUES (?, ?)", {s(id), s(text)});
        for (auto [rub, mat] : {std::pair{"CIE", "MAT"}, {"CIE", "FIS"}, {"CIE", "QUI"}, {"HUM", "HIS"},
                                {"HUM", "LEN"}, {"HUM", "MAT"}})
            run("INSERT INTO RUBROS_MATERIAS (RubId, MatId) VALUES (?, ?)", {s(rub), s(mat)});
        struct Act {
            const char *id, *text;
            bool docente;
        };
        for (const Act &a : {Act{"CLA", "Clases", true}, Act{"TUT", "Tutorías", true},
                             Act{"ADM", "Tareas administrativas", false}, Act{"REU", "Reuniones", false},
                             Act{"INV", "Proyectos de investigación", false}})
            run("INSERT INTO ACTIVIDADES (ActId, ActDescripcion, ActEsDocente) VALUES (?, ?, ?)",
                {s(a.id), s(a.text), a.docente});
        for (auto [are, act] : {std::pair{"DOC", "CLA"}, {"DOC", "TUT"}, {"DOC", "REU"}, {"ADM", "ADM"},
                                {"ADM", "REU"}, {"INV", "INV"}, {"INV", "TUT"}, {"INV", "REU"}})
            run("INSERT INTO AREAS_ACTIVIDADES (AreId, ActId) VALUES (?, ?)", {s(are), s(act)});
        struct Drm {
            const char *act, *rub, *mat;
        };
        for (const Drm &d : {Drm{"CLA", "CIE", "MAT"}, Drm{"CLA", "CIE", "FIS"}, Drm{"CLA", "CIE", "QUI"},
                             Drm{"CLA", "HUM", "HIS"}, Drm{"CLA", "HUM", "LEN"}, Drm{"TUT", "CIE", "MAT"},
                             Drm{"TUT", "HUM", "LEN"}, Drm{"TUT", "HUM", "MAT"}})
            run("INSERT INTO DOCENTES_RUBROS_MATERIAS (ActId, RubId, MatId) VALUES (?, ?, ?)",
                {s(d.act), s(d.rub), s(d.mat)});
        struct Tip {
            const char *id, *text;
            double factor;
        };
        for (const Tip &t : {Tip{"COM", "Horas comunes", 1.0}, Tip{"EXT", "Horas extra", 1.5},
                             Tip{"FER", "Horas en feriado", 2.0}})
            run("INSERT INTO TIPOHORAS (TipId, TipDescripcion, TipPorcentaje) VALUES (?, ?, ?)",
                {s(t.id), s(t.text), t.factor});

        const Person people[] = {
            {"11111111", "Ana", "Pérez", false},        {"22222222", "Jorge", "Gómez", false},
            {"33333333", "Marta", "Silva", false},      {"44444444", "Ricardo", "Fernández", false},
            {"55555555", "Lucía", "Rodríguez", false},  {"66666666", "Pablo", "Martínez", true},
            {"77777777", "Carolina", "López", false},   {"88888888", "Diego", "Sosa", false},
            {"99999999", "Valeria", "Núñez", false},    {"10101010", "Andrés", "Castro", false},
        };
        for (const Person &p : people)
            run("INSERT INTO FUNCIONARIOS (FunCedula, FunNombres, FunApellidos, FunTelefonos, FunDireccion, "
                "FunFacturador) VALUES (?, ?, ?, ?, ?, ?)",
                {s(p.cedula), s(p.nombres), s(p.apellidos), QStringLiteral("099 123 456"),
                 QStringLiteral("Av. 18 de Julio 1234"), p.factura});

        const Contract contracts[] = {
            {"11111111", "CEN", "DOC", "A", 20, 350, "Pesos Uruguayos"},
            {"22222222", "CEN", "DOC", "J", 40, 520, "Pesos Uruguayos"},
            {"33333333", "CEN", "ADM", "B", 30, 300, "Pesos Uruguayos"},
            {"44444444", "EST", "ADM", "S", 40, 700, "Pesos Uruguayos"},
            {"55555555", "CEN", "DOC", "A", 20, 360, "Pesos Uruguayos"},
            {"55555555", "EST", "INV", "B", 10, 400, "Pesos Uruguayos"},  // two contracts
            {"66666666", "EST", "DOC", "C", 15, 410, "Pesos Uruguayos"},  // bills his hours
            {"77777777", "EST", "INV", "A", 25, 25, "Dolares"},           // paid in dollars
            {"88888888", "CEN", "ADM", "C", 30, 280, "Pesos Uruguayos"},
            {"99999999", "CEN", "INV", "B", 20, 420, "Pesos Uruguayos"},
            {"10101010", "EST", "DOC", "B", 12, 380, "Pesos Uruguayos"},
        };
        const QDate contractStart(today.year() - 1, 3, 1);
        for (const Contract &c : contracts)
            run("INSERT INTO FUNCIONARIOS_INSTITUTOS (FunCedula, InsId, AreId, FunInsCategoria, "
                "FunInsHoras_Semanales, FunInsValor_Hora, FunInsMoneda, FunInsHorarioEntrada, FunInsHorarioSalida, "
                "FunInsInicio, FunInsFinal, FunInsFinContrato) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
                {s(c.cedula), s(c.institute), s(c.area), s(c.categoria), c.horasSemana, c.valorHora, s(c.moneda),
                 QTime(8, 0), QTime(14, 0), contractStart, QDate(today.year() + 1, 2, 28), false});

        for (auto [login, cedula, perfil] : {std::tuple{"usuario", "11111111", 5}, {"jefe", "22222222", 6},
                                             {"admin", "33333333", 7}, {"super", "44444444", 8}})
            run("INSERT INTO USUARIOS (UsuLogin, UsuPassword, FunCedula, PerId) VALUES (?, ?, ?, ?)",
                {s(login), Usuario::hashPassword(s(login)), s(cedula), perfil});

        // Hours: five months, the three oldest archived. Each contract gets a few entries a
        // week; teaching activities carry a subject.
        const QDate firstMonth = QDate(today.year(), today.month(), 1).addMonths(-4);
        int n = 0;
        for (const Contract &c : contracts) {
            const QString area = s(c.area);
            const QString act = area == QLatin1String("DOC") ? QStringLiteral("CLA")
                               : area == QLatin1String("ADM") ? QStringLiteral("ADM")
                                                              : QStringLiteral("INV");
            const store::ResultSet funIns = conn.selectNative(
                QStringLiteral("SELECT FunInsId FROM FUNCIONARIOS_INSTITUTOS WHERE FunCedula = ? AND AreId = ?"),
                {s(c.cedula), area});
            const qlonglong funInsId = funIns.rows.front().value(0).toLongLong();
            for (QDate d = firstMonth; d <= today; d = d.addDays(1)) {
                if (d.dayOfWeek() > 5 || (d.day() + n) % 3 != 0)
                    continue;
                ++n;
                const bool otherActivity = n % 4 == 0;
                const QString actId = otherActivity ? QStringLiteral("REU") : act;
                const QString tip = n % 7 == 0 ? QStringLiteral("EXT") : n % 11 == 0 ? QStringLiteral("FER")
                                                                                    : QStringLiteral("COM");
                const QString des = n % 5 == 0 ? QStringLiteral("EXT")
                                   : area == QLatin1String("ADM") ? QStringLiteral("GES")
                                                                  : QStringLiteral("CUR");
                const double horas = 2 + (n % 4);
                const bool teaching = actId == QLatin1String("CLA");
                const store::ResultSet inserted = [&] {
                    const QString sql = QStringLiteral(
                        "INSERT INTO HORAS (FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, HorSemana, "
                        "HorValorhora, HorHoras, HorCategoria, TipId, HorMoneda, HorHorarioInicial, "
                        "HorHorarioFinal) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
                    const QVariantList values = {s(c.cedula), area, actId, des, funInsId, d, weekOfYear(d) - 1,
                                                 c.valorHora, horas, s(c.categoria), tip, s(c.moneda),
                                                 teaching ? QVariant(QTime(8 + n % 4, 0)) : QVariant(),
                                                 teaching ? QVariant(QTime(8 + n % 4 + int(horas), 0)) : QVariant()};
                    if (conn.backend() == store::Backend::PostgreSQL)
                        return conn.selectNative(sql + QStringLiteral(" RETURNING HorId"), values);
                    conn.executeNative(sql, values);
                    return conn.selectNative(QStringLiteral("SELECT last_insert_rowid()"));
                }();
                if (teaching) {
                    const char *mats[] = {"MAT", "FIS", "HIS", "LEN"};
                    const QString mat = s(mats[n % 4]);
                    const QString rub = (mat == QLatin1String("MAT") || mat == QLatin1String("FIS"))
                                            ? QStringLiteral("CIE")
                                            : QStringLiteral("HUM");
                    const char *turnos[] = {"Mañana", "Tarde", "Noche"};
                    run("INSERT INTO HORAS_RUBROS_MATERIAS (HorId, RubId, MatId, HorRubMatTurno) VALUES (?, ?, ?, ?)",
                        {inserted.rows.front().value(0).toLongLong(), rub, mat, s(turnos[n % 3])});
                }
            }
        }

        // Close requests: the three oldest months closed for every area, then one request in
        // each of the other states.
        const QDate archiveUntil = firstMonth.addMonths(3).addDays(-1);
        run("INSERT INTO HHORAS SELECT * FROM HORAS WHERE HorFecha <= ?", {archiveUntil});
        run("DELETE FROM HORAS WHERE HorFecha <= ?", {archiveUntil});
        struct Close {
            const char *area;
            const char *chief;
            int monthsBack;
            bool approved, denied, closed;
            const char *comment, *superComment;
        };
        const Close closes[] = {
            {"DOC", "22222222", 4, true, false, true, "Cierre mensual", "Aprobado"},
            {"DOC", "22222222", 3, true, false, true, "Cierre mensual", "Aprobado"},
            {"ADM", "44444444", 2, true, false, true, "Cierre mensual", "Aprobado"},
            {"INV", "99999999", 2, true, false, true, "Cierre mensual", "Aprobado"},
            {"DOC", "22222222", 2, true, false, true, "Cierre mensual", "Aprobado"},
            {"DOC", "22222222", 1, false, false, false, "Solicito el cierre del mes", ""},
            {"ADM", "44444444", 1, false, true, false, "Cierre del mes", "Faltan horas de la semana 2"},
            {"INV", "99999999", 1, true, false, false, "Cierre del mes", "De acuerdo"},
        };
        for (const Close &c : closes) {
            const QDate month = QDate(today.year(), today.month(), 1).addMonths(-c.monthsBack);
            const QDate cut = month.addMonths(1).addDays(-1);
            run("INSERT INTO CIERREMESES (FunCedula, AreId, CieMesMesCierre, CieMesAnioCierre, CieMesFechaActual, "
                "CieMesFechaCierre, CieMesArchivoHoras, CieMesComentarioJefeArea, CieMesComentarioSuperUsuario, "
                "CieMesAprobado, CieMesDesaprobado, CieMesCerrado) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
                {s(c.chief), s(c.area), month.month(), month.year(), cut.addDays(1), cut,
                 QStringLiteral("/srv/horas/%1-%2.xlsx").arg(s(c.area)).arg(month.toString(QStringLiteral("yyyy-MM"))),
                 s(c.comment), s(c.superComment), c.approved, c.denied, c.closed});
        }
        conn.commit();
    } catch (...) {
        conn.rollback();
        throw;
    }
}

}  // namespace storetool

// SHAPE commands run in the client: grouping (COMPUTE ... BY) and nesting (APPEND ... RELATE)
// over inner statements answered by a fake runner with hand-made rows.

#include "store/Shape.h"
#include "store/StoreError.h"

#include <QDate>
#include <QtTest>

#include <functional>
#include <optional>

using namespace store;

namespace {

// The chart window's statement: head, a clause, tail.
const QString kChartHead = QStringLiteral(
    "SHAPE {select HorId,AreDescripcion,ActDescripcion,TipDescripcion,DesDescripcion,HorHoras from HHoras H, "
    "Areas ARE, Actividades ACT, Destinos D, TipoHoras T WHERE H.AREID=ARE.AREID AND H.ACTID=ACT.ACTID AND "
    "H.DESID=D.DESID AND H.TIPID=T.TIPID");
const QString kChartTail = QStringLiteral(
    " } AS ChildCommand COMPUTE ChildCommand, SUM(ChildCommand.[HorHoras]) AS [HorHoras] BY [AreDescripcion], "
    "[ActDescripcion], [DesDescripcion], [TipDescripcion]");

const QString kStaff = QStringLiteral("SELECT * FROM FUNCIONARIOS");
const QString kHours = QStringLiteral(
    "SELECT H.FUNCEDULA, H.HORFECHA, H.HORSEMANA, H.HORVALORHORA, H.HORHORAS, T.TIPDESCRIPCION, D.DESDESCRIPCION, "
    "ACT.ACTDESCRIPCION, ARE.AREID, ARE.AREDESCRIPCION, H.HORID FROM TIPOHORAS T, HORAS H, ACTIVIDADES ACT, "
    "AREAS ARE, DESTINOS D WHERE H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID AND H.DESID=D.DESID AND "
    "H.TIPID=T.TIPID ORDER BY H.HORFECHA");

QString funcionariosCommand(const QString &staff, const QString &hours)
{
    return QStringLiteral("SHAPE {%1}  AS Funcionarios APPEND (( SHAPE {%2}  AS MesActual COMPUTE MesActual, "
                          "SUM(MesActual.'HORHORAS') AS SumaHoras BY 'AREDESCRIPCION','FUNCEDULA') AS "
                          "MesActual_Grouping RELATE 'FunCedula' TO 'FUNCEDULA') AS MesActual_Grouping")
        .arg(staff, hours);
}

// A chart row: HorId, area, activity, type, destination, hours. "~" stands for Null.
struct ChartRow {
    int id;
    QString area, activity, type, destination;
    QVariant hours;
};
using ChartRows = QList<ChartRow>;

QVariant textOrNull(const QString &s)
{
    return s == QLatin1String("~") ? QVariant(QMetaType::fromType<QString>()) : QVariant(s);
}

ResultSet chartResult(const ChartRows &rows)
{
    ResultSet rs;
    rs.columns = QStringList{"HorId", "AreDescripcion", "ActDescripcion", "TipDescripcion", "DesDescripcion", "HorHoras"};
    for (const ChartRow &r : rows) {
        rs.rows.push_back(Row{QVariant(qlonglong(r.id)), textOrNull(r.area), textOrNull(r.activity),
                              textOrNull(r.type), textOrNull(r.destination), r.hours});
    }
    return rs;
}

QString text(const QVariant &v)
{
    if (v.isNull())
        return QStringLiteral("~");
    if (v.metaType().id() == QMetaType::Double || v.metaType().id() == QMetaType::LongLong)
        return QString::number(v.toDouble());
    return v.toString();
}

// One line per group: the four keys, the sum, and the HorIds of its chapter.
QStringList describeGroups(const ShapeResult &result)
{
    QStringList lines;
    for (std::size_t g = 0; g < result.size(); ++g) {
        QStringList parts;
        for (const char *column : {"AreDescripcion", "ActDescripcion", "DesDescripcion", "TipDescripcion", "HorHoras"})
            parts << text(result.value(g, QLatin1String(column)));
        const ShapeRecordset &detail = result.child(g, QStringLiteral("ChildCommand"));
        QStringList ids;
        for (std::size_t r = 0; r < detail.size(); ++r)
            ids << text(detail.value(r, QStringLiteral("HorId")));
        parts << ids.join(QLatin1Char(','));
        lines << parts.join(QLatin1Char('|'));
    }
    return lines;
}

QVariant nullDouble()
{
    return QVariant(QMetaType::fromType<double>());
}

ResultSet staffResult(const QStringList &cedulas)
{
    ResultSet rs;
    rs.columns = QStringList{"FunCedula", "FunNombres", "FunApellidos"};
    for (const QString &c : cedulas)
        rs.rows.push_back(Row{textOrNull(c), QStringLiteral("Nombre ") + c, QStringLiteral("Apellido ") + c});
    return rs;
}

// Hour rows as the month reports' statement returns them (upper-case names, date order).
struct HourRow {
    QString cedula;
    QDate date;
    double hours;
    QString area;
    int id;
};

ResultSet hoursResult(const QList<HourRow> &rows)
{
    ResultSet rs;
    rs.columns = QStringList{"FUNCEDULA", "HORFECHA", "HORSEMANA", "HORVALORHORA", "HORHORAS", "TIPDESCRIPCION",
                             "DESDESCRIPCION", "ACTDESCRIPCION", "AREID", "AREDESCRIPCION", "HORID"};
    for (const HourRow &r : rows) {
        rs.rows.push_back(Row{r.cedula, r.date, qlonglong(r.date.weekNumber()), 100.0, r.hours, "Común", "Aula",
                              "Docencia", r.area.left(1), r.area, qlonglong(r.id)});
    }
    return rs;
}

// Per person: "cedula:area=sum[ids];area=sum[ids]".
QStringList describeStaff(const ShapeResult &result)
{
    QStringList lines;
    for (std::size_t p = 0; p < result.size(); ++p) {
        QStringList areas;
        const ShapeRecordset &groups = result.child(p, QStringLiteral("MesActual_Grouping"));
        for (std::size_t g = 0; g < groups.size(); ++g) {
            const ShapeRecordset &hours = groups.child(g, QStringLiteral("MesActual"));
            QStringList ids;
            for (std::size_t h = 0; h < hours.size(); ++h)
                ids << text(hours.value(h, QStringLiteral("HorId")));
            areas << QStringLiteral("%1=%2[%3]")
                         .arg(text(groups.value(g, QStringLiteral("AreDescripcion"))),
                              text(groups.value(g, QStringLiteral("SumaHoras"))), ids.join(QLatin1Char(',')));
        }
        lines << text(result.value(p, QStringLiteral("FUNCEDULA"))) + QLatin1Char(':') + areas.join(QLatin1Char(';'));
    }
    return lines;
}

// The StoreError a call throws, if any.
std::optional<StoreError> errorOf(const std::function<void()> &call)
{
    try {
        call();
    } catch (const StoreError &e) {
        return e;
    }
    return std::nullopt;
}

}  // namespace

class tst_shape : public QObject {
    Q_OBJECT

private slots:
    void grouping_data()
    {
        QTest::addColumn<ChartRows>("rows");
        QTest::addColumn<QStringList>("groups");

        QTest::newRow("order of first occurrence")
            << ChartRows{{1, "Sur", "Clase", "Común", "Aula", 2.0},
                         {2, "Norte", "Clase", "Común", "Aula", 1.5},
                         {3, "Sur", "Clase", "Común", "Aula", 0.25},
                         {4, "Este", "Reunión", "Extra", "Sala", 3.0},
                         {5, "Norte", "Clase", "Común", "Aula", 1.0}}
            << QStringList{"Sur|Clase|Aula|Común|2.25|1,3", "Norte|Clase|Aula|Común|2.5|2,5",
                           "Este|Reunión|Sala|Extra|3|4"};
        QTest::newRow("every key column counts")
            << ChartRows{{1, "Sur", "Clase", "Común", "Aula", 1.0},
                         {2, "Sur", "Clase", "Común", "Sala", 1.0},
                         {3, "Sur", "Clase", "Extra", "Aula", 1.0},
                         {4, "Sur", "Taller", "Común", "Aula", 1.0},
                         {5, "Sur", "Clase", "Común", "Aula", 1.0}}
            << QStringList{"Sur|Clase|Aula|Común|2|1,5", "Sur|Clase|Sala|Común|1|2", "Sur|Clase|Aula|Extra|1|3",
                           "Sur|Taller|Aula|Común|1|4"};
        QTest::newRow("text compared exactly")
            << ChartRows{{1, "Docencia", "Clase", "Común", "Aula", 1.0},
                         {2, "DOCENCIA", "Clase", "Común", "Aula", 2.0},
                         {3, "Docencia ", "Clase", "Común", "Aula", 4.0},
                         {4, "Docencia", "Clase", "Común", "Aula", 8.0}}
            << QStringList{"Docencia|Clase|Aula|Común|9|1,4", "DOCENCIA|Clase|Aula|Común|2|2",
                           "Docencia |Clase|Aula|Común|4|3"};
        QTest::newRow("null hours ignored, all-null sum is null")
            << ChartRows{{1, "Sur", "Clase", "Común", "Aula", 2.5},
                         {2, "Sur", "Clase", "Común", "Aula", nullDouble()},
                         {3, "Norte", "Clase", "Común", "Aula", nullDouble()},
                         {4, "Sur", "Clase", "Común", "Aula", 1.5},
                         {5, "Norte", "Clase", "Común", "Aula", nullDouble()}}
            << QStringList{"Sur|Clase|Aula|Común|4|1,2,4", "Norte|Clase|Aula|Común|~|3,5"};
        QTest::newRow("null key is one group, apart from empty text")
            << ChartRows{{1, "~", "Clase", "Común", "Aula", 1.0},
                         {2, "", "Clase", "Común", "Aula", 2.0},
                         {3, "~", "Clase", "Común", "Aula", 4.0}}
            << QStringList{"~|Clase|Aula|Común|5|1,3", "|Clase|Aula|Común|2|2"};
        QTest::newRow("no rows") << ChartRows{} << QStringList{};
    }

    void grouping()
    {
        QFETCH(ChartRows, rows);
        QFETCH(QStringList, groups);

        QStringList statements;
        const QString clause = QStringLiteral(" AND H.HORFECHA BETWEEN #03-1-24# AND #03-31-24#");
        const ShapeResult result = runShape(kChartHead + clause + kChartTail, [&](const QString &statement) {
            statements << statement;
            return chartResult(rows);
        });

        // The inner statement reaches the runner once, as written between the braces.
        const QString inner = (kChartHead + clause).mid(kChartHead.indexOf(QLatin1Char('{')) + 1).trimmed();
        QCOMPARE(statements, QStringList{inner});
        // Group columns, then the sum, then the chapter, whatever the rows.
        QCOMPARE(result.columns(), (QStringList{"AreDescripcion", "ActDescripcion", "DesDescripcion", "TipDescripcion",
                                                "HorHoras", "ChildCommand"}));
        QCOMPARE(describeGroups(result), groups);
    }

    void groupingShape()
    {
        // What the chart window and the detail readers rely on besides the numbers.
        const ChartRows rows{{7, "Sur", "Clase", "Común", "Aula", 2.0}, {9, "Sur", "Clase", "Común", "Aula", 3.0}};
        const ShapeResult result = runShape(kChartHead + kChartTail, [&](const QString &) { return chartResult(rows); });

        QCOMPARE(result.size(), std::size_t(1));
        QCOMPARE(result.columnIndex(QStringLiteral("horhoras")), 4);
        QCOMPARE(result.value(0, QStringLiteral("HORHORAS")).toDouble(), 5.0);
        QVERIFY(result.isChapter(result.columnIndex(QStringLiteral("childcommand"))));
        QVERIFY(!result.value(0, QStringLiteral("ChildCommand")).isValid());

        const ShapeRecordset &detail = result.child(0, QStringLiteral("CHILDCOMMAND"));
        QCOMPARE(detail.name(), QStringLiteral("ChildCommand"));
        QCOMPARE(detail.columns(), chartResult({}).columns);
        QCOMPARE(detail.value(1, QStringLiteral("horid")).toLongLong(), 9);
        QCOMPARE(detail.value(1, QStringLiteral("HorHoras")).toDouble(), 3.0);

        // Names the rows don't have are an error, as in the data layer.
        const auto unknown = errorOf([&] { result.value(0, QStringLiteral("Nada")); });
        QVERIFY(unknown);
        QCOMPARE(unknown->number(), 3265);
        QVERIFY_THROWS_EXCEPTION(StoreError, result.child(0, QStringLiteral("HorHoras")));

        // How callers tell a SHAPE command from a plain statement.
        QVERIFY(isShapeStatement(QStringLiteral("  shape {SELECT 1} AS c")));
        QVERIFY(!isShapeStatement(QStringLiteral("SHAPES")));
        QVERIFY(!isShapeStatement(QStringLiteral("SELECT 'SHAPE' FROM T")));
    }

    void aggregates_data()
    {
        QTest::addColumn<QString>("compute");
        QTest::addColumn<QStringList>("expected");  // one line per group: keys then aggregates

        const QString g = QStringLiteral(" BY [AreDescripcion]");
        QTest::newRow("count rows and values")
            << QStringLiteral("COMPUTE c, COUNT(c) AS Filas, COUNT(c.HorHoras) AS ConHoras") + g
            << QStringList{"Sur|3|2", "Norte|1|0"};
        QTest::newRow("min max avg skip nulls")
            << QStringLiteral("COMPUTE c, MIN(c.HorHoras) AS Menor, MAX(c.HorHoras) AS Mayor, AVG(c.HorHoras) AS Media") + g
            << QStringList{"Sur|1|3|2", "Norte|~|~|~"};
        QTest::newRow("min max of text")
            << QStringLiteral("COMPUTE c, MIN(c.ActDescripcion) AS Primera, MAX(c.ActDescripcion) AS Ultima") + g
            << QStringList{"Sur|Clase|Taller", "Norte|Reunión|Reunión"};
        QTest::newRow("default names, bare column, no AS")
            << QStringLiteral("compute c, sum(HorHoras), count(c) Filas") + g << QStringList{"Sur|4|3", "Norte|~|1"};
        QTest::newRow("no BY: one row over all")
            << QStringLiteral("COMPUTE c, SUM(c.HorHoras) AS Total, COUNT(c) AS Filas") << QStringList{"4|4"};
        QTest::newRow("chapter anywhere in the list")
            << QStringLiteral("COMPUTE SUM(c.HorHoras) AS Total, c") + g << QStringList{"Sur|4", "Norte|~"};
    }

    void aggregates()
    {
        QFETCH(QString, compute);
        QFETCH(QStringList, expected);

        const ChartRows rows{{1, "Sur", "Taller", "Común", "Aula", 3.0},
                             {2, "Norte", "Reunión", "Común", "Aula", nullDouble()},
                             {3, "Sur", "Clase", "Común", "Aula", nullDouble()},
                             {4, "Sur", "Clase", "Común", "Aula", 1.0}};
        const ShapeResult result =
            runShape(QStringLiteral("SHAPE {SELECT * FROM HHORAS} AS c ") + compute,
                     [&](const QString &) { return chartResult(rows); });

        const ShapeCommand command = parseShape(QStringLiteral("SHAPE {x} AS c ") + compute);
        QStringList lines;
        for (std::size_t r = 0; r < result.size(); ++r) {
            QStringList parts;
            for (const QString &column : command.by)
                parts << text(result.value(r, column));
            for (const ShapeAggregate &a : command.aggregates)
                parts << text(result.value(r, a.name));
            lines << parts.join(QLatin1Char('|'));
        }
        QCOMPARE(lines, expected);
        if (compute.startsWith(QLatin1String("compute c, sum")))
            QCOMPARE(result.columns().at(1), QStringLiteral("SUM(HorHoras)"));
    }

    void nesting_data()
    {
        QTest::addColumn<QStringList>("staff");
        QTest::addColumn<QList<HourRow>>("hours");
        QTest::addColumn<QStringList>("expected");

        const QDate d(2024, 3, 4);
        QTest::newRow("two areas, none, one")
            << QStringList{"1111", "2222", "3333"}
            << QList<HourRow>{{"1111", d, 2.0, "Sur", 10},
                              {"3333", d.addDays(1), 1.5, "Norte", 11},
                              {"1111", d.addDays(2), 3.0, "Norte", 12},
                              {"1111", d.addDays(3), 0.5, "Sur", 13}}
            << QStringList{"1111:Sur=2.5[10,13];Norte=3[12]", "2222:", "3333:Norte=1.5[11]"};
        QTest::newRow("hours of nobody listed are dropped")
            << QStringList{"1111"}
            << QList<HourRow>{{"9999", d, 8.0, "Sur", 20}, {"1111", d, 1.0, "Sur", 21}}
            << QStringList{"1111:Sur=1[21]"};
        QTest::newRow("cedula compared exactly, null cedula")
            << QStringList{"ab1", "ab1 ", "~"}
            << QList<HourRow>{{"AB1", d, 1.0, "Sur", 30}, {"ab1", d, 2.0, "Sur", 31}}
            << QStringList{"ab1:Sur=2[31]", "ab1 :", "~:"};
        QTest::newRow("no hours at all") << QStringList{"1111"} << QList<HourRow>{} << QStringList{"1111:"};
        QTest::newRow("no staff") << QStringList{} << QList<HourRow>{{"1111", d, 1.0, "Sur", 40}} << QStringList{};
    }

    void nesting()
    {
        QFETCH(QStringList, staff);
        QFETCH(QList<HourRow>, hours);
        QFETCH(QStringList, expected);

        const QString staffStatement = kStaff + QStringLiteral(" WHERE FUNCEDULA<>'{'");
        QStringList statements;
        const ShapeResult result = runShape(funcionariosCommand(staffStatement, kHours), [&](const QString &statement) {
            statements << statement;
            return statement == staffStatement ? staffResult(staff) : hoursResult(hours);
        });

        QCOMPARE(statements, (QStringList{staffStatement, kHours}));
        QCOMPARE(result.name(), QStringLiteral("Funcionarios"));
        QCOMPARE(result.columns(), (QStringList{"FunCedula", "FunNombres", "FunApellidos", "MesActual_Grouping"}));
        QCOMPARE(describeStaff(result), expected);

        // A person without hours still has the level below, empty but with its columns.
        for (std::size_t p = 0; p < result.size(); ++p) {
            const ShapeRecordset &groups = result.child(p, QStringLiteral("mesactual_grouping"));
            QCOMPARE(groups.columns(), (QStringList{"AREDESCRIPCION", "FUNCEDULA", "SumaHoras", "MesActual"}));
            QCOMPARE(groups.name(), QStringLiteral("MesActual_Grouping"));
        }
    }

    void nestedLevels()
    {
        // The month report reads the hour rows' own columns three levels down.
        const QDate d(2024, 5, 6);
        const ShapeResult result = runShape(funcionariosCommand(kStaff, kHours), [&](const QString &statement) {
            return statement == kStaff ? staffResult({"1111"}) : hoursResult({{"1111", d, 2.0, "Sur", 1}});
        });
        const ShapeRecordset &rows = result.child(0, QStringLiteral("MesActual_Grouping")).child(0, QStringLiteral("MesActual"));
        QCOMPARE(rows.name(), QStringLiteral("MesActual"));
        QCOMPARE(rows.value(0, QStringLiteral("HorFecha")).toDate(), d);
        QCOMPARE(rows.value(0, QStringLiteral("ActDescripcion")).toString(), QStringLiteral("Docencia"));
    }

    void innerStatementQuoting_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QStringList>("statements");  // what the runner receives, in order
        QTest::addColumn<QStringList>("columns");     // of the top level

        QTest::newRow("brace in a literal")
            << QStringLiteral("SHAPE {SELECT * FROM HHORAS WHERE A='x}y' AND B='{'} AS c COMPUTE c, SUM(c.HorHoras) AS T BY AreDescripcion")
            << QStringList{"SELECT * FROM HHORAS WHERE A='x}y' AND B='{'"} << QStringList{"AreDescripcion", "T", "c"};
        QTest::newRow("doubled quote and bracketed name")
            << QStringLiteral("SHAPE {SELECT [a}b], 'it''s }' FROM T} AS c COMPUTE c BY [AreDescripcion]")
            << QStringList{"SELECT [a}b], 'it''s }' FROM T"} << QStringList{"AreDescripcion", "c"};
        QTest::newRow("names in quotes, brackets, bare; lower-case keywords")
            << QStringLiteral("shape {SELECT 1} as [Mi Hijo] compute 'Mi Hijo', sum([Mi Hijo].'HorHoras') as [Total Horas] by 'AreDescripcion'")
            << QStringList{"SELECT 1"} << QStringList{"AreDescripcion", "Total Horas", "Mi Hijo"};
        QTest::newRow("plain, no COMPUTE")
            << QStringLiteral("SHAPE {SELECT * FROM HHORAS} AS Todo") << QStringList{"SELECT * FROM HHORAS"}
            << chartResult({}).columns;
        QTest::newRow("nested source")
            << QStringLiteral("SHAPE (SHAPE {q1} AS a COMPUTE a, SUM(a.HorHoras) AS H BY AreDescripcion, ActDescripcion) "
                              "AS b COMPUTE b, SUM(b.H) AS HH BY AreDescripcion")
            << QStringList{"q1"} << QStringList{"AreDescripcion", "HH", "b"};
        QTest::newRow("two chapters appended, AS left out")
            << QStringLiteral("SHAPE {p} Padre APPEND ({h1} x RELATE HorId TO HorId) uno, ({h2} RELATE AreDescripcion TO "
                              "AreDescripcion, HorId TO HorId)")
            << QStringList{"p", "h1", "h2"} << (chartResult({}).columns + QStringList{"uno", "Command1"});
    }

    void innerStatementQuoting()
    {
        QFETCH(QString, command);
        QFETCH(QStringList, statements);
        QFETCH(QStringList, columns);

        QStringList seen;
        const ChartRows rows{{1, "Sur", "Clase", "Común", "Aula", 2.0}, {2, "Sur", "Taller", "Común", "Aula", 1.0}};
        const ShapeResult result = runShape(command, [&](const QString &statement) {
            seen << statement;
            return chartResult(rows);
        });
        QCOMPARE(seen, statements);
        QCOMPARE(result.columns(), columns);
        QVERIFY(result.size() > 0);
    }

    void parseErrors_data()
    {
        QTest::addColumn<QString>("command");

        QTest::newRow("empty") << QString();
        QTest::newRow("not a SHAPE") << QStringLiteral("SELECT * FROM HORAS");
        QTest::newRow("brace never closed") << QStringLiteral("SHAPE {SELECT * FROM HORAS AS c COMPUTE c BY x");
        QTest::newRow("closing brace inside a literal only") << QStringLiteral("SHAPE {SELECT * FROM H WHERE A='}) AS c");
        QTest::newRow("empty statement") << QStringLiteral("SHAPE { } AS c COMPUTE c BY x");
        QTest::newRow("chapter is not the alias")
            << QStringLiteral("SHAPE {SELECT 1} AS ChildCommand COMPUTE Otro, SUM(Otro.x) AS y BY z");
        QTest::newRow("aggregate over another chapter")
            << QStringLiteral("SHAPE {SELECT 1} AS c COMPUTE c, SUM(d.x) AS y BY z");
        QTest::newRow("chapter missing from COMPUTE") << QStringLiteral("SHAPE {SELECT 1} AS c COMPUTE SUM(c.x) AS y BY z");
        QTest::newRow("unknown function") << QStringLiteral("SHAPE {SELECT 1} AS c COMPUTE c, MEDIAN(c.x) AS y BY z");
        QTest::newRow("BY without columns") << QStringLiteral("SHAPE {SELECT 1} AS c COMPUTE c, SUM(c.x) AS y BY");
        QTest::newRow("APPEND without RELATE") << QStringLiteral("SHAPE {SELECT 1} AS p APPEND ({SELECT 2} AS h) AS h");
        QTest::newRow("unbalanced parenthesis")
            << funcionariosCommand(kStaff, kHours).replace(QStringLiteral("(( SHAPE"), QStringLiteral("( SHAPE"));
        QTest::newRow("text after the command") << kChartHead + kChartTail + QStringLiteral(" ORDER BY x");
        QTest::newRow("unterminated quoted name") << QStringLiteral("SHAPE {SELECT 1} AS c COMPUTE c BY 'AreDescripcion");
        QTest::newRow("empty name") << QStringLiteral("SHAPE {SELECT 1} AS [] COMPUTE [] BY x");
    }

    void parseErrors()
    {
        QFETCH(QString, command);

        int calls = 0;
        const auto e = errorOf([&] { runShape(command, [&](const QString &) { return ++calls, ResultSet{}; }); });
        QVERIFY2(e, "accepted a malformed command");
        QCOMPARE(e->kind(), StoreError::Kind::Store);
        QCOMPARE(e->number(), 3001);
        QVERIFY2(e->description().startsWith(QStringLiteral("Sentencia SHAPE no válida: ")), qPrintable(e->description()));
        QCOMPARE(calls, 0);  // nothing runs before the whole command has been read
    }

    void namesTheRowsLack_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("missing");

        QTest::newRow("BY column") << QStringLiteral("SHAPE {q} AS c COMPUTE c BY [AreaDescripcion]")
                                   << QStringLiteral("AreaDescripcion");
        QTest::newRow("aggregated column") << QStringLiteral("SHAPE {q} AS c COMPUTE c, SUM(c.Horas) AS H BY AreDescripcion")
                                           << QStringLiteral("Horas");
        QTest::newRow("RELATE parent column")
            << QStringLiteral("SHAPE {q} AS p APPEND ({q} AS h RELATE FunCedula TO HorId)") << QStringLiteral("FunCedula");
        QTest::newRow("RELATE child column")
            << QStringLiteral("SHAPE {q} AS p APPEND ({q} AS h RELATE HorId TO FunCedula)") << QStringLiteral("FunCedula");
        QTest::newRow("summing text") << QStringLiteral("SHAPE {q} AS c COMPUTE c, SUM(c.ActDescripcion) AS H BY AreDescripcion")
                                      << QStringLiteral("ActDescripcion");
    }

    void namesTheRowsLack()
    {
        QFETCH(QString, command);
        QFETCH(QString, missing);

        const ChartRows rows{{1, "Sur", "Clase", "Común", "Aula", 2.0}};
        const auto e = errorOf([&] { runShape(command, [&](const QString &) { return chartResult(rows); }); });
        QVERIFY(e);
        QCOMPARE(e->number(), 3001);
        QVERIFY2(e->description().contains(QLatin1Char('\'') + missing + QLatin1Char('\'')), qPrintable(e->description()));
    }

    void runnerErrorPassesThrough()
    {
        // The store's refusal of the inner statement reaches the chart window as the store gave it.
        const auto e = errorOf([] {
            runShape(kChartHead + kChartTail, [](const QString &) -> ResultSet {
                throw StoreError(StoreError::Kind::Store, -1, QStringLiteral("no such table: HHoras"));
            });
        });
        QVERIFY(e);
        QCOMPARE(e->number(), -1);
        QCOMPARE(e->description(), QStringLiteral("no such table: HHoras"));
    }

    void manyGroups()
    {
        // An archive-sized grouping: 300 000 rows in 30 000 groups. A grouping that scans the
        // groups for each row would not finish within the test's time.
        const int rows = 300000;
        const int groups = 30000;
        ResultSet source;
        source.columns = chartResult({}).columns;
        source.rows.reserve(rows);
        for (int i = 0; i < rows; ++i) {
            const int g = int(qlonglong(i) * 7919 % groups);
            source.rows.push_back(Row{QVariant(qlonglong(i)), QStringLiteral("Area %1").arg(g % 12),
                                      QStringLiteral("Act %1").arg(g / 12), QStringLiteral("Común"),
                                      QStringLiteral("Aula"), QVariant(0.5)});
        }
        const ShapeResult result = runShape(kChartHead + kChartTail, [&](const QString &) { return source; });
        QCOMPARE(result.size(), std::size_t(groups));
        QCOMPARE(result.child(groups - 1, QStringLiteral("ChildCommand")).size(), std::size_t(rows / groups));
        // First occurrence: row 0 falls in group 0, row 1 in group 7919.
        QCOMPARE(result.value(1, QStringLiteral("ActDescripcion")).toString(), QStringLiteral("Act %1").arg(7919 / 12));
    }
};

QTEST_GUILESS_MAIN(tst_shape)
#include "tst_shape.moc"

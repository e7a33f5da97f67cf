// SHAPE commands run in the client: grouping (COMPUTE ... BY) and nesting (APPEND ... RELATE)
// over inner statements answered by a fake runner with hand-made rows.

#include "StoreTestHelpers.h"
#include "store/Shape.h"

#include <QDate>
#include <QtTest>

using namespace store;
using namespace Qt::StringLiterals;
using store_tests::errorOf;

namespace {

// The chart window's statement: head, a clause, tail.
const QString kChartHead = u"SHAPE {select HorId,AreDescripcion,ActDescripcion,TipDescripcion,DesDescripcion,HorHoras "
                           "from HHoras H, Areas ARE, Actividades ACT, Destinos D, TipoHoras T WHERE H.AREID=ARE.AREID "
                           "AND H.ACTID=ACT.ACTID AND H.DESID=D.DESID AND H.TIPID=T.TIPID"_s;
const QString kChartTail = u" } AS ChildCommand COMPUTE ChildCommand, SUM(ChildCommand.[HorHoras]) AS [HorHoras] BY "
                           "[AreDescripcion], [ActDescripcion], [DesDescripcion], [TipDescripcion]"_s;
const QString kChart = kChartHead + kChartTail;
const QStringList kChartColumns{"HorId", "AreDescripcion", "ActDescripcion", "TipDescripcion", "DesDescripcion", "HorHoras"};

const QString kStaff = u"SELECT * FROM FUNCIONARIOS"_s;
const QString kHours = u"SELECT H.FUNCEDULA, H.HORFECHA, H.HORSEMANA, H.HORVALORHORA, H.HORHORAS, T.TIPDESCRIPCION, "
                       "D.DESDESCRIPCION, ACT.ACTDESCRIPCION, ARE.AREID, ARE.AREDESCRIPCION, H.HORID FROM TIPOHORAS T, "
                       "HORAS H, ACTIVIDADES ACT, AREAS ARE, DESTINOS D WHERE H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID "
                       "AND H.DESID=D.DESID AND H.TIPID=T.TIPID ORDER BY H.HORFECHA"_s;

QString funcionariosCommand(const QString &staff, const QString &hours)
{
    return u"SHAPE {%1}  AS Funcionarios APPEND (( SHAPE {%2}  AS MesActual COMPUTE MesActual, "
           "SUM(MesActual.'HORHORAS') AS SumaHoras BY 'AREDESCRIPCION','FUNCEDULA') AS MesActual_Grouping RELATE "
           "'FunCedula' TO 'FUNCEDULA') AS MesActual_Grouping"_s.arg(staff, hours);
}

QVariant textOrNull(const QString &s)
{
    return s == u"~"_s ? QVariant(QMetaType::fromType<QString>()) : QVariant(s);
}

// Chart rows written "HorId|area|activity|type|destination|hours;...", "~" for Null.
ResultSet chart(const QString &rows)
{
    ResultSet rs;
    rs.columns = kChartColumns;
    for (const QString &row : rows.split(u';', Qt::SkipEmptyParts)) {
        const QStringList f = row.trimmed().split(u'|');
        rs.rows.push_back(Row{QVariant(f[0].toLongLong()), textOrNull(f[1]), textOrNull(f[2]), textOrNull(f[3]),
                              textOrNull(f[4]), f[5] == u"~"_s ? QVariant(QMetaType::fromType<double>()) : f[5].toDouble()});
    }
    return rs;
}

QString text(const QVariant &v)
{
    if (v.isNull())
        return u"~"_s;
    if (v.metaType().id() == QMetaType::Double || v.metaType().id() == QMetaType::LongLong)
        return QString::number(v.toDouble());
    return v.toString();
}

QString ids(const ShapeRecordset &rows)
{
    QStringList out;
    for (std::size_t r = 0; r < rows.size(); ++r)
        out << text(rows.value(r, u"HorId"_s));
    return out.join(u',');
}

// One line per group: the four keys, the sum, and the HorIds of its chapter.
QStringList describeGroups(const ShapeResult &result)
{
    QStringList lines;
    for (std::size_t g = 0; g < result.size(); ++g) {
        QStringList parts;
        for (const char *column : {"AreDescripcion", "ActDescripcion", "DesDescripcion", "TipDescripcion", "HorHoras"})
            parts << text(result.value(g, QLatin1String(column)));
        lines << (parts << ids(result.child(g, u"ChildCommand"_s))).join(u'|');
    }
    return lines;
}

ResultSet staffResult(const QStringList &cedulas)
{
    ResultSet rs;
    rs.columns = QStringList{"FunCedula", "FunNombres", "FunApellidos"};
    for (const QString &c : cedulas)
        rs.rows.push_back(Row{textOrNull(c), u"Nombre "_s + c, u"Apellido "_s + c});
    return rs;
}

// Hour rows as the month reports' statement returns them (upper-case names, date order),
// written "cedula|day of March 2024|hours|area|HorId;...".
ResultSet hoursResult(const QString &rows)
{
    ResultSet rs;
    rs.columns = QStringList{"FUNCEDULA", "HORFECHA", "HORSEMANA", "HORVALORHORA", "HORHORAS", "TIPDESCRIPCION",
                             "DESDESCRIPCION", "ACTDESCRIPCION", "AREID", "AREDESCRIPCION", "HORID"};
    for (const QString &row : rows.split(u';', Qt::SkipEmptyParts)) {
        const QStringList f = row.trimmed().split(u'|');
        const QDate date(2024, 3, f[1].toInt());
        rs.rows.push_back(Row{f[0], date, qlonglong(date.weekNumber()), 100.0, f[2].toDouble(), "Común", "Aula",
                              "Docencia", f[3].left(1), f[3], f[4].toLongLong()});
    }
    return rs;
}

// Per person: "cedula:area=sum[ids];area=sum[ids]".
QStringList describeStaff(const ShapeResult &result)
{
    QStringList lines;
    for (std::size_t p = 0; p < result.size(); ++p) {
        QStringList areas;
        const ShapeRecordset &groups = result.child(p, u"MesActual_Grouping"_s);
        for (std::size_t g = 0; g < groups.size(); ++g)
            areas << u"%1=%2[%3]"_s.arg(text(groups.value(g, u"AreDescripcion"_s)), text(groups.value(g, u"SumaHoras"_s)),
                                        ids(groups.child(g, u"MesActual"_s)));
        lines << text(result.value(p, u"FUNCEDULA"_s)) + u':' + areas.join(u';');
    }
    return lines;
}

}  // namespace

class tst_shape : public QObject {
    Q_OBJECT

private slots:
    void grouping_data()
    {
        QTest::addColumn<QString>("rows");
        QTest::addColumn<QStringList>("groups");
        QTest::newRow("order of first occurrence")
            << u"1|Sur|Clase|Común|Aula|2; 2|Norte|Clase|Común|Aula|1.5; 3|Sur|Clase|Común|Aula|0.25; "
               "4|Este|Reunión|Extra|Sala|3; 5|Norte|Clase|Común|Aula|1"_s
            << QStringList{"Sur|Clase|Aula|Común|2.25|1,3", "Norte|Clase|Aula|Común|2.5|2,5", "Este|Reunión|Sala|Extra|3|4"};
        QTest::newRow("every key column counts")
            << u"1|Sur|Clase|Común|Aula|1; 2|Sur|Clase|Común|Sala|1; 3|Sur|Clase|Extra|Aula|1; 4|Sur|Taller|Común|Aula|1; "
               "5|Sur|Clase|Común|Aula|1"_s
            << QStringList{"Sur|Clase|Aula|Común|2|1,5", "Sur|Clase|Sala|Común|1|2", "Sur|Clase|Aula|Extra|1|3",
                           "Sur|Taller|Aula|Común|1|4"};
        QTest::newRow("text compared exactly")
            << u"1|Docencia|Clase|Común|Aula|1; 2|DOCENCIA|Clase|Común|Aula|2; 3|Docencia |Clase|Común|Aula|4; "
               "4|Docencia|Clase|Común|Aula|8"_s
            << QStringList{"Docencia|Clase|Aula|Común|9|1,4", "DOCENCIA|Clase|Aula|Común|2|2", "Docencia |Clase|Aula|Común|4|3"};
        QTest::newRow("null hours ignored, all-null sum is null")
            << u"1|Sur|Clase|Común|Aula|2.5; 2|Sur|Clase|Común|Aula|~; 3|Norte|Clase|Común|Aula|~; "
               "4|Sur|Clase|Común|Aula|1.5; 5|Norte|Clase|Común|Aula|~"_s
            << QStringList{"Sur|Clase|Aula|Común|4|1,2,4", "Norte|Clase|Aula|Común|~|3,5"};
        QTest::newRow("null key is one group, apart from empty text")
            << u"1|~|Clase|Común|Aula|1; 2||Clase|Común|Aula|2; 3|~|Clase|Común|Aula|4"_s
            << QStringList{"~|Clase|Aula|Común|5|1,3", "|Clase|Aula|Común|2|2"};
        QTest::newRow("no rows") << QString() << QStringList{};
    }

    void grouping()
    {
        QFETCH(QString, rows);
        QFETCH(QStringList, groups);
        QStringList statements;
        const QString clause = u" AND H.HORFECHA BETWEEN #03-1-24# AND #03-31-24#"_s;
        const ShapeResult result = runShape(kChartHead + clause + kChartTail, [&](const QString &statement) {
            statements << statement;
            return chart(rows);
        });
        // The inner statement reaches the runner once, as written between the braces.
        QCOMPARE(statements, QStringList{(kChartHead + clause).mid(kChartHead.indexOf(u'{') + 1).trimmed()});
        // Group columns, then the sum, then the chapter, whatever the rows.
        QCOMPARE(result.columns(),
                 (QStringList{"AreDescripcion", "ActDescripcion", "DesDescripcion", "TipDescripcion", "HorHoras", "ChildCommand"}));
        QCOMPARE(describeGroups(result), groups);
    }

    void groupingShape()
    {
        // What the chart window and the detail readers rely on besides the numbers.
        const ShapeResult result = runShape(kChart, [](const QString &) {
            return chart(u"7|Sur|Clase|Común|Aula|2; 9|Sur|Clase|Común|Aula|3"_s);
        });
        QCOMPARE(result.size(), std::size_t(1));
        QCOMPARE(result.columnIndex(u"horhoras"_s), 4);
        QCOMPARE(result.value(0, u"HORHORAS"_s).toDouble(), 5.0);
        QVERIFY(result.isChapter(result.columnIndex(u"childcommand"_s)));
        QVERIFY(!result.value(0, u"ChildCommand"_s).isValid());

        const ShapeRecordset &detail = result.child(0, u"CHILDCOMMAND"_s);
        QCOMPARE(detail.name(), u"ChildCommand"_s);
        QCOMPARE(detail.columns(), kChartColumns);
        QCOMPARE(detail.value(1, u"horid"_s).toLongLong(), 9);
        QCOMPARE(detail.value(1, u"HorHoras"_s).toDouble(), 3.0);

        // Names the rows don't have are an error, as in the data layer.
        QCOMPARE(errorOf([&] { result.value(0, u"Nada"_s); }).number(), 3265);
        QVERIFY_THROWS_EXCEPTION(StoreError, result.child(0, u"HorHoras"_s));

        // How callers tell a SHAPE command from a plain statement.
        QVERIFY(isShapeStatement(u"  shape {SELECT 1} AS c"_s));
        QVERIFY(!isShapeStatement(u"SHAPES"_s));
        QVERIFY(!isShapeStatement(u"SELECT 'SHAPE' FROM T"_s));

        // The store's refusal of the inner statement reaches the chart window as the store gave it.
        const StoreError e = errorOf([] {
            runShape(kChart, [](const QString &) -> ResultSet {
                throw StoreError(StoreError::Kind::Store, -1, u"no such table: HHoras"_s);
            });
        });
        QCOMPARE(e.number(), -1);
        QCOMPARE(e.description(), u"no such table: HHoras"_s);
    }

    void aggregates_data()
    {
        QTest::addColumn<QString>("compute");
        QTest::addColumn<QStringList>("expected");  // one line per group: keys then aggregates
        const QString g = u" BY [AreDescripcion]"_s;
        QTest::newRow("count rows and values")
            << u"COMPUTE c, COUNT(c) AS Filas, COUNT(c.HorHoras) AS ConHoras"_s + g << QStringList{"Sur|3|2", "Norte|1|0"};
        QTest::newRow("min max avg skip nulls")
            << u"COMPUTE c, MIN(c.HorHoras) AS Menor, MAX(c.HorHoras) AS Mayor, AVG(c.HorHoras) AS Media"_s + g
            << QStringList{"Sur|1|3|2", "Norte|~|~|~"};
        QTest::newRow("min max of text") << u"COMPUTE c, MIN(c.ActDescripcion) AS Primera, MAX(c.ActDescripcion) AS Ultima"_s + g
                                         << QStringList{"Sur|Clase|Taller", "Norte|Reunión|Reunión"};
        QTest::newRow("default names, bare column, no AS")
            << u"compute c, sum(HorHoras), count(c) Filas"_s + g << QStringList{"Sur|4|3", "Norte|~|1"};
        QTest::newRow("no BY: one row over all") << u"COMPUTE c, SUM(c.HorHoras) AS Total, COUNT(c) AS Filas"_s
                                                 << QStringList{"4|4"};
        QTest::newRow("chapter anywhere in the list") << u"COMPUTE SUM(c.HorHoras) AS Total, c"_s + g
                                                      << QStringList{"Sur|4", "Norte|~"};
    }

    void aggregates()
    {
        QFETCH(QString, compute);
        QFETCH(QStringList, expected);
        const ShapeResult result = runShape(u"SHAPE {SELECT * FROM HHORAS} AS c "_s + compute, [](const QString &) {
            return chart(u"1|Sur|Taller|Común|Aula|3; 2|Norte|Reunión|Común|Aula|~; 3|Sur|Clase|Común|Aula|~; "
                         "4|Sur|Clase|Común|Aula|1"_s);
        });
        const ShapeCommand command = parseShape(u"SHAPE {x} AS c "_s + compute);
        QStringList lines;
        for (std::size_t r = 0; r < result.size(); ++r) {
            QStringList parts;
            for (const QString &column : command.by)
                parts << text(result.value(r, column));
            for (const ShapeAggregate &a : command.aggregates)
                parts << text(result.value(r, a.name));
            lines << parts.join(u'|');
        }
        QCOMPARE(lines, expected);
        if (compute.startsWith(u"compute c, sum"_s))
            QCOMPARE(result.columns().at(1), u"SUM(HorHoras)"_s);
    }

    void nesting_data()
    {
        QTest::addColumn<QStringList>("staff");
        QTest::addColumn<QString>("hours");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("two areas, none, one")
            << QStringList{"1111", "2222", "3333"}
            << u"1111|4|2|Sur|10; 3333|5|1.5|Norte|11; 1111|6|3|Norte|12; 1111|7|0.5|Sur|13"_s
            << QStringList{"1111:Sur=2.5[10,13];Norte=3[12]", "2222:", "3333:Norte=1.5[11]"};
        QTest::newRow("hours of nobody listed are dropped")
            << QStringList{"1111"} << u"9999|4|8|Sur|20; 1111|4|1|Sur|21"_s << QStringList{"1111:Sur=1[21]"};
        QTest::newRow("cedula compared exactly, null cedula") << QStringList{"ab1", "ab1 ", "~"}
                                                              << u"AB1|4|1|Sur|30; ab1|4|2|Sur|31"_s
                                                              << QStringList{"ab1:Sur=2[31]", "ab1 :", "~:"};
        QTest::newRow("no hours at all") << QStringList{"1111"} << QString() << QStringList{"1111:"};
        QTest::newRow("no staff") << QStringList{} << u"1111|4|1|Sur|40"_s << QStringList{};
    }

    void nesting()
    {
        QFETCH(QStringList, staff);
        QFETCH(QString, hours);
        QFETCH(QStringList, expected);
        const QString staffStatement = kStaff + u" WHERE FUNCEDULA<>'{'"_s;
        QStringList statements;
        const ShapeResult result = runShape(funcionariosCommand(staffStatement, kHours), [&](const QString &statement) {
            statements << statement;
            return statement == staffStatement ? staffResult(staff) : hoursResult(hours);
        });
        QCOMPARE(statements, (QStringList{staffStatement, kHours}));
        QCOMPARE(result.name(), u"Funcionarios"_s);
        QCOMPARE(result.columns(), (QStringList{"FunCedula", "FunNombres", "FunApellidos", "MesActual_Grouping"}));
        QCOMPARE(describeStaff(result), expected);

        // A person without hours still has the level below, empty but with its columns.
        for (std::size_t p = 0; p < result.size(); ++p) {
            const ShapeRecordset &groups = result.child(p, u"mesactual_grouping"_s);
            QCOMPARE(groups.columns(), (QStringList{"AREDESCRIPCION", "FUNCEDULA", "SumaHoras", "MesActual"}));
            QCOMPARE(groups.name(), u"MesActual_Grouping"_s);
        }
        // The month report reads the hour rows' own columns three levels down.
        if (expected.value(0).startsWith(u"1111:Sur"_s)) {
            const ShapeRecordset &rows = result.child(0, u"MesActual_Grouping"_s).child(0, u"MesActual"_s);
            QCOMPARE(rows.name(), u"MesActual"_s);
            QCOMPARE(rows.value(0, u"HorFecha"_s).toDate(), QDate(2024, 3, 4));
            QCOMPARE(rows.value(0, u"ActDescripcion"_s).toString(), u"Docencia"_s);
        }
    }

    void innerStatementQuoting_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QStringList>("statements");  // what the runner receives, in order
        QTest::addColumn<QStringList>("columns");     // of the top level
        QTest::newRow("brace in a literal")
            << u"SHAPE {SELECT * FROM HHORAS WHERE A='x}y' AND B='{'} AS c COMPUTE c, SUM(c.HorHoras) AS T BY AreDescripcion"_s
            << QStringList{"SELECT * FROM HHORAS WHERE A='x}y' AND B='{'"} << QStringList{"AreDescripcion", "T", "c"};
        QTest::newRow("doubled quote, quoted and bracketed names")
            << u"SHAPE {SELECT [a}b], \"}\", 'it''s }' FROM T} AS c COMPUTE c BY [AreDescripcion]"_s
            << QStringList{"SELECT [a}b], \"}\", 'it''s }' FROM T"} << QStringList{"AreDescripcion", "c"};
        QTest::newRow("names in quotes, brackets, bare; lower-case keywords")
            << u"shape {SELECT 1} as [Mi Hijo] compute 'Mi Hijo', sum([Mi Hijo].'HorHoras') as [Total Horas] by 'AreDescripcion'"_s
            << QStringList{"SELECT 1"} << QStringList{"AreDescripcion", "Total Horas", "Mi Hijo"};
        QTest::newRow("plain, no COMPUTE") << u"SHAPE {SELECT * FROM HHORAS} AS Todo"_s
                                           << QStringList{"SELECT * FROM HHORAS"} << kChartColumns;
        QTest::newRow("nested source")
            << u"SHAPE (SHAPE {q1} AS a COMPUTE a, SUM(a.HorHoras) AS H BY AreDescripcion, ActDescripcion) AS b "
               "COMPUTE b, SUM(b.H) AS HH BY AreDescripcion"_s
            << QStringList{"q1"} << QStringList{"AreDescripcion", "HH", "b"};
        QTest::newRow("two chapters appended, AS left out")
            << u"SHAPE {p} Padre APPEND ({h1} x RELATE HorId TO HorId) uno, ({h2} RELATE AreDescripcion TO "
               "AreDescripcion, HorId TO HorId)"_s
            << QStringList{"p", "h1", "h2"} << (kChartColumns + QStringList{"uno", "Command1"});
    }

    void innerStatementQuoting()
    {
        QFETCH(QString, command);
        QFETCH(QStringList, statements);
        QFETCH(QStringList, columns);
        QStringList seen;
        const ShapeResult result = runShape(command, [&](const QString &statement) {
            seen << statement;
            return chart(u"1|Sur|Clase|Común|Aula|2; 2|Sur|Taller|Común|Aula|1"_s);
        });
        QCOMPARE(seen, statements);
        QCOMPARE(result.columns(), columns);
        QVERIFY(result.size() > 0);
    }

    // A command the parser refuses (nothing runs before the whole command has been read), or
    // one naming a column the rows lack (`missing`).
    void refused_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("missing");
        const auto malformed = [](const char *name, const QString &command) { QTest::newRow(name) << command << QString(); };
        malformed("empty", QString());
        malformed("not a SHAPE", u"SELECT * FROM HORAS"_s);
        malformed("brace never closed", u"SHAPE {SELECT * FROM HORAS AS c COMPUTE c BY x"_s);
        malformed("closing brace inside a literal only", u"SHAPE {SELECT * FROM H WHERE A='}) AS c"_s);
        malformed("empty statement", u"SHAPE { } AS c COMPUTE c BY x"_s);
        malformed("chapter is not the alias", u"SHAPE {SELECT 1} AS ChildCommand COMPUTE Otro, SUM(Otro.x) AS y BY z"_s);
        malformed("aggregate over another chapter", u"SHAPE {SELECT 1} AS c COMPUTE c, SUM(d.x) AS y BY z"_s);
        malformed("chapter missing from COMPUTE", u"SHAPE {SELECT 1} AS c COMPUTE SUM(c.x) AS y BY z"_s);
        malformed("unknown function", u"SHAPE {SELECT 1} AS c COMPUTE c, MEDIAN(c.x) AS y BY z"_s);
        malformed("BY without columns", u"SHAPE {SELECT 1} AS c COMPUTE c, SUM(c.x) AS y BY"_s);
        malformed("APPEND without RELATE", u"SHAPE {SELECT 1} AS p APPEND ({SELECT 2} AS h) AS h"_s);
        malformed("unbalanced parenthesis", funcionariosCommand(kStaff, kHours).replace(u"(( SHAPE"_s, u"( SHAPE"_s));
        malformed("text after the command", kChart + u" ORDER BY x"_s);
        malformed("unterminated quoted name", u"SHAPE {SELECT 1} AS c COMPUTE c BY 'AreDescripcion"_s);
        malformed("empty name", u"SHAPE {SELECT 1} AS [] COMPUTE [] BY x"_s);
        QTest::newRow("BY column") << u"SHAPE {q} AS c COMPUTE c BY [AreaDescripcion]"_s << u"AreaDescripcion"_s;
        QTest::newRow("aggregated column") << u"SHAPE {q} AS c COMPUTE c, SUM(c.Horas) AS H BY AreDescripcion"_s << u"Horas"_s;
        QTest::newRow("RELATE parent column") << u"SHAPE {q} AS p APPEND ({q} AS h RELATE FunCedula TO HorId)"_s
                                              << u"FunCedula"_s;
        QTest::newRow("RELATE child column") << u"SHAPE {q} AS p APPEND ({q} AS h RELATE HorId TO FunCedula)"_s
                                             << u"FunCedula"_s;
        QTest::newRow("summing text") << u"SHAPE {q} AS c COMPUTE c, SUM(c.ActDescripcion) AS H BY AreDescripcion"_s
                                      << u"ActDescripcion"_s;
    }

    void refused()
    {
        QFETCH(QString, command);
        QFETCH(QString, missing);
        int calls = 0;
        const StoreError e = errorOf([&] {
            runShape(command, [&](const QString &) { return ++calls, chart(u"1|Sur|Clase|Común|Aula|2"_s); });
        });
        QCOMPARE(e.kind(), StoreError::Kind::Store);
        QCOMPARE(e.number(), 3001);
        if (missing.isEmpty()) {
            QVERIFY2(e.description().startsWith(u"Sentencia SHAPE no válida: "_s), qPrintable(e.description()));
            QCOMPARE(calls, 0);
        } else {
            QVERIFY2(e.description().contains(u'\'' + missing + u'\''), qPrintable(e.description()));
        }
    }

    void manyGroups()
    {
        // An archive-sized grouping: 300 000 rows in 30 000 groups. A grouping that scans the
        // groups for each row would not finish within the test's time.
        const int rows = 300000;
        const int groups = 30000;
        ResultSet source;
        source.columns = kChartColumns;
        source.rows.reserve(rows);
        for (int i = 0; i < rows; ++i) {
            const int g = int(qlonglong(i) * 7919 % groups);
            source.rows.push_back(Row{QVariant(qlonglong(i)), u"Area %1"_s.arg(g % 12), u"Act %1"_s.arg(g / 12), u"Común"_s,
                                      u"Aula"_s, QVariant(0.5)});
        }
        const ShapeResult result = runShape(kChart, [&](const QString &) { return source; });
        QCOMPARE(result.size(), std::size_t(groups));
        QCOMPARE(result.child(groups - 1, u"ChildCommand"_s).size(), std::size_t(rows / groups));
        // First occurrence: row 0 falls in group 0, row 1 in group 7919.
        QCOMPARE(result.value(1, u"ActDescripcion"_s).toString(), u"Act %1"_s.arg(7919 / 12));
    }
};

QTEST_GUILESS_MAIN(tst_shape)
#include "tst_shape.moc"

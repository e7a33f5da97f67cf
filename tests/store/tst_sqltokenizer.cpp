// The one lexer of statements and SHAPE commands, and what is read through it: the tables
// a statement writes to and whether it groups its rows.

#include "StoreTestHelpers.h"
#include "store/SqlTokenizer.h"
#include "store/StatementTables.h"
#include "store/StoreError.h"

#include <QTest>

using namespace Qt::StringLiterals;

using store::SqlToken;
using store::SqlTokenizer;
using store::StatementTables;
using store::StoreError;
using Mode = SqlTokenizer::Mode;

Q_DECLARE_METATYPE(SqlTokenizer::Mode)

namespace {

QString kindName(SqlToken::Kind kind)
{
    static const char *const names[] = {"space", "word", "bracket", "quoted", "text", "date", "number", "symbol", "braced"};
    static_assert(int(SqlToken::Kind::Space) == 0 && int(SqlToken::Kind::Braced) == 8);
    return QString::fromLatin1(names[int(kind)]);
}

// The significant tokens as "kind:text", the text being the value for literals and names
// and the token as written otherwise.
QStringList describe(const QString &statement, Mode mode)
{
    QStringList out;
    for (const SqlToken &t : SqlTokenizer::significant(statement, mode)) {
        const bool hasValue = t.kind != SqlToken::Kind::Word && t.kind != SqlToken::Kind::Number &&
                              t.kind != SqlToken::Kind::Symbol;
        out << kindName(t.kind) + u':' + (hasValue ? t.value : t.raw);
    }
    return out;
}

QString tablesOf(const StatementTables &t)
{
    QStringList parts;
    for (const auto &table : t.tables)
        parts << (table.alias.isEmpty() ? table.name : table.name + u' ' + table.alias);
    return parts.join(u", "_s);
}

}  // namespace

class TestSqlTokenizer : public QObject {
    Q_OBJECT

private slots:
    void tokens_data()
    {
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QStringList>("tokens");
        const Mode s = Mode::Statement, shape = Mode::Shape;
        QTest::newRow("apostrophe doubled inside a text")
            << s << u"WHERE F='O''Neill'''"_s << QStringList{"word:WHERE", "word:F", "symbol:=", "text:O'Neill'"};
        QTest::newRow("keywords inside a text stay text")
            << s << u"'SELECT x FROM y GROUP BY z'"_s << QStringList{"text:SELECT x FROM y GROUP BY z"};
        QTest::newRow("double-quoted name with doubled quote")
            << s << u"\"Mi \"\"tabla\"\"\".X"_s << QStringList{"quoted:Mi \"tabla\"", "symbol:.", "word:X"};
        QTest::newRow("bracketed name with ]] and other quotes inside")
            << s << u"[a]]b 'c\" {d}]"_s << QStringList{"bracket:a]b 'c\" {d}"};
        QTest::newRow("dates between # signs") << s << u"HORFECHA BETWEEN #11-4-01# AND #12/31/2001#"_s
            << QStringList{"word:HORFECHA", "word:BETWEEN", "date:11-4-01", "word:AND", "date:12/31/2001"};
        QTest::newRow("numbers, two-character operators, no comments") << s << u"1.5e3<=.5--2||x::int<>3"_s
            << QStringList{"number:1.5e3", "symbol:<=", "number:.5", "symbol:-", "symbol:-", "number:2", "symbol:||",
                           "word:x", "symbol:::", "word:int", "symbol:<>", "number:3"};
        QTest::newRow("letters of Spanish names are word letters")
            << s << u"Año_1 ñandú"_s << QStringList{"word:Año_1", "word:ñandú"};
        QTest::newRow("braces are symbols in a statement") << s << u"{x}"_s << QStringList{"symbol:{", "word:x", "symbol:}"};
        QTest::newRow("SHAPE: nested braces")
            << shape << u"SHAPE {a {b} c} x"_s << QStringList{"word:SHAPE", "braced:a {b} c", "word:x"};
    }

    void tokens()
    {
        QFETCH(Mode, mode);
        QFETCH(QString, statement);
        QFETCH(QStringList, tokens);
        QCOMPARE(describe(statement, mode), tokens);
        // The raw texts, blanks included, give the statement back.
        QString joined;
        for (const SqlToken &t : SqlTokenizer::tokenize(statement, mode))
            joined += t.raw;
        QCOMPARE(joined, statement);
    }

    void unclosed_data()
    {
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<QString>("statement");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("mentions");
        QTest::newRow("text") << Mode::Statement << u"X='O'Neill'"_s << 3000 << u"apóstrofo"_s;
        QTest::newRow("quoted name") << Mode::Statement << u"SELECT \"X"_s << 3000 << u"comillas"_s;
        QTest::newRow("bracket closed only by ]]") << Mode::Statement << u"[a]]"_s << 3000 << u"corchete"_s;
        QTest::newRow("date") << Mode::Statement << u"F>=#11-4-01"_s << 3000 << u"#"_s;
        QTest::newRow("SHAPE brace") << Mode::Shape << u"SHAPE {SELECT 1 AS c"_s << 3001 << u"llave"_s;
        QTest::newRow("SHAPE brace closed only in a literal") << Mode::Shape << u"SHAPE {SELECT '}) AS c"_s << 3001
                                                              << u"apóstrofo"_s;
    }

    void unclosed()
    {
        QFETCH(Mode, mode);
        QFETCH(QString, statement);
        QFETCH(int, number);
        QFETCH(QString, mentions);
        const StoreError e = store_tests::errorOf([&] { SqlTokenizer::tokenize(statement, mode); });
        QCOMPARE(e.number(), number);
        QVERIFY2(e.description().contains(mentions) && e.description().contains(u"(posición "_s), qPrintable(e.description()));
    }

    // The tables a statement reads or writes, the table its data control writes, and
    // whether it groups.
    void statementTables_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("tables");
        QTest::addColumn<QString>("writeTable");
        QTest::addColumn<bool>("grouped");
        QTest::newRow("one table") << u"SELECT * FROM HORAS WHERE HORID=3"_s << "HORAS" << "HORAS" << false;
        QTest::newRow("star of an alias in a comma join")
            << u"SELECT CM.*, TRIM(F.FUNAPELLIDOS) + ',' + TRIM(F.FUNNOMBRES) FROM FUNCIONARIOS F, CIERREMESES CM WHERE "
               "CM.FUNCEDULA=F.FUNCEDULA"_s << "FUNCIONARIOS F, CIERREMESES CM" << "CIERREMESES" << false;
        QTest::newRow("bracketed and quoted names, AS") << u"SELECT [T x].* FROM \"Mis Horas\" AS [T x], [Otra]]tabla] o"_s
                                                        << "Mis Horas T x, Otra]tabla o" << "Mis Horas" << false;
        QTest::newRow("keywords in literals and names are not structure")
            << u"SELECT 'FROM X' AS [GROUP BY] FROM AREAS WHERE AREDESCRIPCION='a GROUP BY b'"_s << "AREAS" << "AREAS"
            << false;
        QTest::newRow("grouped budget statement") << u"SELECT SUM(H.HORHORAS), H.HORMONEDA FROM HORAS H, TIPOHORAS T "
                                                     "WHERE H.TIPID=T.TIPID group  by H.HORMONEDA"_s
                                                  << "HORAS H, TIPOHORAS T" << "HORAS" << true;
        QTest::newRow("a grouped subquery does not group the statement")
            << u"SELECT * FROM FUNCIONARIOS WHERE FUNCEDULA IN (SELECT FUNCEDULA FROM HORAS GROUP BY FUNCEDULA)"_s
            << "FUNCIONARIOS" << "FUNCIONARIOS" << false;
        QTest::newRow("subquery in FROM") << u"SELECT X.A FROM (SELECT A FROM B) X, C"_s << "X, C" << "X" << false;
        QTest::newRow("archive copy writes its INTO table")
            << u"INSERT INTO HHORAS SELECT * FROM HORAS WHERE AREID='A1'"_s << "HHORAS" << "HHORAS" << false;
        QTest::newRow("insert with columns")
            << u"INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('A', 'B')"_s << "AREAS" << "AREAS" << false;
        QTest::newRow("update with alias")
            << u"UPDATE CIERREMESES CM SET CIEMESCERRADO=-1"_s << "CIERREMESES CM" << "CIERREMESES" << false;
        QTest::newRow("delete with star") << u"DELETE * FROM HORAS WHERE HORID=1"_s << "HORAS" << "HORAS" << false;
        QTest::newRow("join with a condition") << u"SELECT A.* FROM AREAS A INNER JOIN HORAS H ON H.AREID = A.AREID WHERE 1=1"_s
                                               << "AREAS A, HORAS H" << "AREAS" << false;
        QTest::newRow("unreadable statement has no tables")
            << u"SELECT * FROM HORAS WHERE F='O'Neill' GROUP BY X"_s << "" << "" << false;
    }

    void statementTables()
    {
        QFETCH(QString, statement);
        QFETCH(QString, tables);
        QFETCH(QString, writeTable);
        QFETCH(bool, grouped);
        const StatementTables found = StatementTables::of(statement);
        QCOMPARE(tablesOf(found), tables);
        QCOMPARE(found.writeTable(), writeTable);
        QCOMPARE(found.grouped, grouped);
    }
};

QTEST_GUILESS_MAIN(TestSqlTokenizer)
#include "tst_sqltokenizer.moc"

// The one lexer of statements and SHAPE commands, and what is read through it: the tables
// a statement writes to and whether it groups its rows.

#include "store/SqlTokenizer.h"
#include "store/StatementTables.h"
#include "store/StoreError.h"

#include <QTest>

using store::SqlToken;
using store::SqlTokenizer;
using store::StatementTables;
using store::StoreError;
using Mode = SqlTokenizer::Mode;

Q_DECLARE_METATYPE(SqlTokenizer::Mode)

namespace {

QString kindName(SqlToken::Kind kind)
{
    switch (kind) {
    case SqlToken::Kind::Space: return QStringLiteral("space");
    case SqlToken::Kind::Word: return QStringLiteral("word");
    case SqlToken::Kind::BracketName: return QStringLiteral("bracket");
    case SqlToken::Kind::QuotedName: return QStringLiteral("quoted");
    case SqlToken::Kind::String: return QStringLiteral("text");
    case SqlToken::Kind::Date: return QStringLiteral("date");
    case SqlToken::Kind::Number: return QStringLiteral("number");
    case SqlToken::Kind::Symbol: return QStringLiteral("symbol");
    case SqlToken::Kind::Braced: return QStringLiteral("braced");
    }
    return {};
}

// The significant tokens as "kind:text", the text being the value for literals and names
// and the token as written otherwise.
QStringList describe(const QString &statement, Mode mode)
{
    QStringList out;
    for (const SqlToken &t : SqlTokenizer::significant(statement, mode)) {
        const bool hasValue = t.kind != SqlToken::Kind::Word && t.kind != SqlToken::Kind::Number &&
                              t.kind != SqlToken::Kind::Symbol;
        out << kindName(t.kind) + QLatin1Char(':') + (hasValue ? t.value : t.raw);
    }
    return out;
}

QString tablesOf(const StatementTables &t)
{
    QStringList parts;
    for (const auto &table : t.tables)
        parts << (table.alias.isEmpty() ? table.name : table.name + QLatin1Char(' ') + table.alias);
    return parts.join(QStringLiteral(", "));
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

        const Mode s = Mode::Statement;
        QTest::newRow("apostrophe doubled inside a text")
            << s << QStringLiteral("WHERE F='O''Neill'''")
            << QStringList{"word:WHERE", "word:F", "symbol:=", "text:O'Neill'"};
        QTest::newRow("keywords inside a text stay text")
            << s << QStringLiteral("'SELECT x FROM y GROUP BY z'") << QStringList{"text:SELECT x FROM y GROUP BY z"};
        QTest::newRow("double-quoted name with doubled quote")
            << s << QStringLiteral("\"Mi \"\"tabla\"\"\".X")
            << QStringList{"quoted:Mi \"tabla\"", "symbol:.", "word:X"};
        QTest::newRow("bracketed name with ]] and other quotes inside")
            << s << QStringLiteral("[a]]b 'c\" {d}]") << QStringList{"bracket:a]b 'c\" {d}"};
        QTest::newRow("dates between # signs")
            << s << QStringLiteral("HORFECHA BETWEEN #11-4-01# AND #12/31/2001#")
            << QStringList{"word:HORFECHA", "word:BETWEEN", "date:11-4-01", "word:AND", "date:12/31/2001"};
        QTest::newRow("numbers, two-character operators, no comments")
            << s << QStringLiteral("1.5e3<=.5--2||x::int<>3")
            << QStringList{"number:1.5e3", "symbol:<=", "number:.5", "symbol:-", "symbol:-", "number:2",
                           "symbol:||", "word:x",   "symbol:::",   "word:int",   "symbol:<>", "number:3"};
        QTest::newRow("letters of Spanish names are word letters")
            << s << QStringLiteral("Año_1 ñandú") << QStringList{"word:Año_1", "word:ñandú"};
        QTest::newRow("braces are symbols in a statement")
            << s << QStringLiteral("{x}") << QStringList{"symbol:{", "word:x", "symbol:}"};

        const Mode shape = Mode::Shape;
        QTest::newRow("SHAPE: the braced statement is one token, trimmed")
            << shape << QStringLiteral("SHAPE { SELECT * FROM H }  AS c")
            << QStringList{"word:SHAPE", "braced:SELECT * FROM H", "word:AS", "word:c"};
        QTest::newRow("SHAPE: braces inside literals and names don't close")
            << shape << QStringLiteral("SHAPE {SELECT [a}b], \"}\", 'x}''{' FROM T} AS c")
            << QStringList{"word:SHAPE", "braced:SELECT [a}b], \"}\", 'x}''{' FROM T", "word:AS", "word:c"};
        QTest::newRow("SHAPE: nested braces")
            << shape << QStringLiteral("SHAPE {a {b} c} x") << QStringList{"word:SHAPE", "braced:a {b} c", "word:x"};
        QTest::newRow("SHAPE: names in quotes and brackets")
            << shape << QStringLiteral("SUM(c.'HorHoras') AS [Total Horas]")
            << QStringList{"word:SUM", "symbol:(", "word:c", "symbol:.", "text:HorHoras", "symbol:)", "word:AS",
                           "bracket:Total Horas"};
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

        QTest::newRow("text") << Mode::Statement << QStringLiteral("X='O'Neill'") << 3000 << QStringLiteral("apóstrofo");
        QTest::newRow("quoted name") << Mode::Statement << QStringLiteral("SELECT \"X") << 3000
                                     << QStringLiteral("comillas");
        QTest::newRow("bracket closed only by ]]") << Mode::Statement << QStringLiteral("[a]]") << 3000
                                                   << QStringLiteral("corchete");
        QTest::newRow("date") << Mode::Statement << QStringLiteral("F>=#11-4-01") << 3000 << QStringLiteral("#");
        QTest::newRow("SHAPE brace") << Mode::Shape << QStringLiteral("SHAPE {SELECT 1 AS c") << 3001
                                     << QStringLiteral("llave");
        QTest::newRow("SHAPE brace closed only in a literal")
            << Mode::Shape << QStringLiteral("SHAPE {SELECT '}) AS c") << 3001 << QStringLiteral("apóstrofo");
    }

    void unclosed()
    {
        QFETCH(Mode, mode);
        QFETCH(QString, statement);
        QFETCH(int, number);
        QFETCH(QString, mentions);
        try {
            SqlTokenizer::tokenize(statement, mode);
            QFAIL("accepted");
        } catch (const StoreError &e) {
            QCOMPARE(e.number(), number);
            QVERIFY2(e.description().contains(mentions), qPrintable(e.description()));
            QVERIFY2(e.description().contains(QStringLiteral("(posición ")), qPrintable(e.description()));
        }
    }

    // The tables a statement reads or writes, the table its data control writes, and
    // whether it groups.
    void statementTables_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("tables");
        QTest::addColumn<QString>("writeTable");
        QTest::addColumn<bool>("grouped");

        QTest::newRow("one table") << QStringLiteral("SELECT * FROM HORAS WHERE HORID=3") << "HORAS"
                                   << "HORAS" << false;
        QTest::newRow("star of an alias in a comma join")
            << QStringLiteral("SELECT CM.*, TRIM(F.FUNAPELLIDOS) + ',' + TRIM(F.FUNNOMBRES) FROM FUNCIONARIOS F, "
                              "CIERREMESES CM WHERE CM.FUNCEDULA=F.FUNCEDULA")
            << "FUNCIONARIOS F, CIERREMESES CM" << "CIERREMESES" << false;
        QTest::newRow("bracketed and quoted names, AS")
            << QStringLiteral("SELECT [T x].* FROM \"Mis Horas\" AS [T x], [Otra]]tabla] o")
            << "Mis Horas T x, Otra]tabla o" << "Mis Horas" << false;
        QTest::newRow("keywords in literals and names are not structure")
            << QStringLiteral("SELECT 'FROM X' AS [GROUP BY] FROM AREAS WHERE AREDESCRIPCION='a GROUP BY b'")
            << "AREAS" << "AREAS" << false;
        QTest::newRow("grouped budget statement")
            << QStringLiteral("SELECT SUM(H.HORHORAS), H.HORMONEDA FROM HORAS H, TIPOHORAS T WHERE H.TIPID=T.TIPID "
                              "group  by H.HORMONEDA")
            << "HORAS H, TIPOHORAS T" << "HORAS" << true;
        QTest::newRow("a grouped subquery does not group the statement")
            << QStringLiteral("SELECT * FROM FUNCIONARIOS WHERE FUNCEDULA IN (SELECT FUNCEDULA FROM HORAS GROUP BY "
                              "FUNCEDULA)")
            << "FUNCIONARIOS" << "FUNCIONARIOS" << false;
        QTest::newRow("subquery in FROM")
            << QStringLiteral("SELECT X.A FROM (SELECT A FROM B) X, C") << "X, C" << "X" << false;
        QTest::newRow("archive copy writes its INTO table")
            << QStringLiteral("INSERT INTO HHORAS SELECT * FROM HORAS WHERE AREID='A1'") << "HHORAS" << "HHORAS"
            << false;
        QTest::newRow("insert with columns, update, delete")
            << QStringLiteral("INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('A', 'B')") << "AREAS" << "AREAS"
            << false;
        QTest::newRow("update with alias") << QStringLiteral("UPDATE CIERREMESES CM SET CIEMESCERRADO=-1")
                                           << "CIERREMESES CM" << "CIERREMESES" << false;
        QTest::newRow("delete with star") << QStringLiteral("DELETE * FROM HORAS WHERE HORID=1") << "HORAS"
                                          << "HORAS" << false;
        QTest::newRow("join with a condition")
            << QStringLiteral("SELECT A.* FROM AREAS A INNER JOIN HORAS H ON H.AREID = A.AREID WHERE 1=1")
            << "AREAS A, HORAS H" << "AREAS" << false;
        QTest::newRow("unreadable statement has no tables")
            << QStringLiteral("SELECT * FROM HORAS WHERE F='O'Neill' GROUP BY X") << "" << "" << false;
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

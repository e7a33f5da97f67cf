// The catalogue the code reads (SchemaInfo) against what the backend reports for a store
// created from its DDL file: tables, columns in order, kinds, text limits, required columns,
// keys and store-assigned keys. And result columns that take their kind from the column
// they come from, never from a name they were given.

#include "TempStore.h"
#include "store/SchemaInfo.h"
#include "store/SqlTokenizer.h"
#include "ui/Application.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

using store::Backend;
using store::ColumnKind;

namespace {

QString kindName(ColumnKind kind)
{
    static const char *const names[] = {"text", "integer", "decimal", "date", "time", "yes/no"};
    static_assert(int(ColumnKind::Text) == 0 && int(ColumnKind::YesNo) == 5);
    return QString::fromLatin1(names[int(kind)]);
}

// A column as "name kind[(limit)] [required]", names in lower case (PostgreSQL folds them).
QString describe(const QString &name, const QString &kind, int limit, bool required)
{
    return name.toLower() + u' ' + kind + (limit > 0 ? u"(%1)"_s.arg(limit) : QString()) +
           (required ? u" required"_s : QString());
}

// The declared type of a column as the backend reports it, in the catalogue's terms.
QString kindOfType(QString type)
{
    type = type.toLower();
    const QList<std::pair<QRegularExpression, ColumnKind>> kinds{
        {QRegularExpression(u"^(varchar|character varying|text$)"_s), ColumnKind::Text},
        {QRegularExpression(u"^integer$"_s), ColumnKind::Integer},
        {QRegularExpression(u"^(double|double precision|real)$"_s), ColumnKind::Decimal},
        {QRegularExpression(u"^date$"_s), ColumnKind::Date},
        {QRegularExpression(u"^time"_s), ColumnKind::Time},
        {QRegularExpression(u"^boolean$"_s), ColumnKind::YesNo}};
    for (const auto &[pattern, kind] : kinds)
        if (pattern.match(type).hasMatch())
            return kindName(kind);
    return u"unknown type "_s + type;
}

// "VARCHAR(12)" -> 12, read through the statement lexer.
int limitOfSqliteType(const QString &type)
{
    const auto tokens = store::SqlTokenizer::significant(type);
    for (std::size_t i = 0; i + 1 < tokens.size(); ++i)
        if (tokens[i].isSymbol(u"(") && tokens[i + 1].kind == store::SqlToken::Kind::Number)
            return tokens[i + 1].raw.toInt();
    return 0;
}

struct Reported {
    QStringList columns;  // described as describe() does
    QStringList key;      // lower case, in key order
    bool storeAssignsKey = false;
};

}  // namespace

class TestSchema : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { m_store = std::make_unique<tests::TempStore>(tests::TempStore::Content::Demo); }
    void cleanupTestCase() { m_store.reset(); }

    void catalogueMatchesStore_data()
    {
        QTest::addColumn<QString>("table");
        for (const QString &table : store::allTables())
            QTest::newRow(qPrintable(table)) << table;
    }

    void catalogueMatchesStore()
    {
        QFETCH(QString, table);
        const store::TableInfo *info = store::tableInfo(table);
        QVERIFY(info);
        QStringList expected;
        for (const store::ColumnInfo &c : info->columnInfo)
            expected << describe(c.name, kindName(c.kind), c.textLimit, c.required);
        QStringList key;
        for (const QString &k : info->key)
            key << k.toLower();

        const Reported reported = report(table);
        QCOMPARE(reported.columns, expected);
        QCOMPARE(reported.key, key);
        QCOMPARE(reported.storeAssignsKey, info->storeAssignsKey);
    }

    // Every table of the store is one the catalogue knows, or one the store keeps for itself:
    // a table added to a DDL file alone shows up here.
    void storeHasNoTableTheCatalogueLacks()
    {
        const QString sql = m_store->backend() == Backend::SQLite
                                ? u"SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\'"_s
                                : u"SELECT table_name FROM information_schema.tables WHERE table_schema = current_schema() "
                                  "AND table_type = 'BASE TABLE'"_s;
        QStringList unknown;
        for (const store::Row &row : m_store->selectNative(sql).rows)
            if (!store::tableInfo(row.value(0).toString()) &&
                !store::storeOwnedTables().contains(row.value(0).toString(), Qt::CaseInsensitive))
                unknown << row.value(0).toString();
        QVERIFY2(unknown.isEmpty(), qPrintable(u"tables missing from the catalogue: "_s + unknown.join(u", "_s)));
    }

    // A result column has the kind of the column it comes from: a count named after a
    // yes/no or date column stays a number, a renamed column keeps its kind.
    void resultColumnKinds_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("column");
        QTest::addColumn<int>("type");
        const int count = QMetaType::LongLong, yesNo = QMetaType::Bool;
        QTest::newRow("count named as a yes/no column")
            << "SELECT COUNT(*) AS FunFacturador FROM FUNCIONARIOS" << "FunFacturador" << count;
        QTest::newRow("count named as a date column")
            << "SELECT COUNT(*) AS FunInsInicio FROM FUNCIONARIOS_INSTITUTOS" << "FunInsInicio" << count;
        QTest::newRow("yes/no column given another name")
            << "SELECT F.FunFacturador AS [Factura] FROM FUNCIONARIOS F" << "Factura" << yesNo;
        QTest::newRow("yes/no column through a star") << "SELECT * FROM FUNCIONARIOS" << "FunFacturador" << yesNo;
        QTest::newRow("date column through an alias's star")
            << "SELECT H.*, F.FUNNOMBRES FROM HORAS H, FUNCIONARIOS F WHERE H.FUNCEDULA = F.FUNCEDULA" << "HorFecha"
            << int(QMetaType::QDate);
        QTest::newRow("yes/no column through a subquery")
            << "SELECT G.FunFacturador AS Factura FROM (SELECT F.* FROM FUNCIONARIOS F) G" << "Factura" << yesNo;
        QTest::newRow("count through a subquery, named as a yes/no column")
            << "SELECT N.FunFacturador FROM (SELECT COUNT(*) AS FunFacturador FROM FUNCIONARIOS) N" << "FunFacturador" << count;
        QTest::newRow("text column named as a number column")
            << "SELECT FUNCEDULA AS HorHoras FROM FUNCIONARIOS" << "HorHoras" << int(QMetaType::QString);
    }

    void resultColumnKinds()
    {
        QFETCH(QString, statement);
        QFETCH(QString, column);
        QFETCH(int, type);
        const store::ResultSet rs = m_store->select(statement);
        QVERIFY(!rs.rows.empty());
        const QVariant v = rs.value(0, column);
        QVERIFY2(!v.isNull(), qPrintable(column + u" is Null"_s));
        QCOMPARE(v.typeId(), type);
    }

private:
    Reported report(const QString &table)
    {
        Reported r;
        if (m_store->backend() == Backend::SQLite) {
            QMap<int, QString> key;
            for (const store::Row &c : m_store->selectNative(u"SELECT name, type, \"notnull\", pk FROM "
                                                             "pragma_table_info(?) ORDER BY cid"_s, {table}).rows) {
                const QString type = c.value(1).toString();
                const int inKey = c.value(3).toInt();
                // An INTEGER PRIMARY KEY is the row id, which is never Null whatever it says.
                r.columns << describe(c.value(0).toString(), kindOfType(type.section(u'(', 0, 0).trimmed()),
                                      limitOfSqliteType(type), c.value(2).toInt() != 0 || inKey > 0);
                if (inKey > 0)
                    key.insert(inKey, c.value(0).toString().toLower());
            }
            r.key = key.values();
            const QString ddl = m_store->scalar(u"SELECT sql FROM sqlite_master WHERE type = 'table' AND name = ?"_s, {table})
                                    .toString();
            for (const store::SqlToken &t : store::SqlTokenizer::significant(ddl))
                r.storeAssignsKey = r.storeAssignsKey || t.isWord(u"AUTOINCREMENT");
            return r;
        }
        for (const store::Row &c : m_store->selectNative(u"SELECT column_name, data_type, is_nullable, "
                                                         "character_maximum_length, column_default FROM "
                                                         "information_schema.columns WHERE table_schema = current_schema() "
                                                         "AND table_name = ? ORDER BY ordinal_position"_s,
                                                         {table.toLower()}).rows) {
            r.columns << describe(c.value(0).toString(), kindOfType(c.value(1).toString()), c.value(3).toInt(),
                                  c.value(2).toString() == u"NO"_s);
            r.storeAssignsKey = r.storeAssignsKey || c.value(4).toString().startsWith(u"nextval("_s);
        }
        for (const store::Row &k : m_store->selectNative(
                 u"SELECT k.column_name FROM information_schema.table_constraints c JOIN information_schema.key_column_usage "
                 "k ON k.constraint_name = c.constraint_name AND k.table_schema = c.table_schema AND k.table_name = "
                 "c.table_name WHERE c.table_schema = current_schema() AND c.table_name = ? AND c.constraint_type = "
                 "'PRIMARY KEY' ORDER BY k.ordinal_position"_s, {table.toLower()}).rows)
            r.key << k.value(0).toString().toLower();
        return r;
    }

    std::unique_ptr<tests::TempStore> m_store;
};

TEMPALIA_TEST_MAIN(TestSchema)
#include "tst_schema.moc"

// The catalogue the code reads (SchemaInfo) against what the backend reports for a store
// created from its DDL file: tables, columns in order, kinds, text limits, required columns,
// keys and store-assigned keys. And result columns that take their kind from the column
// they come from, never from a name they were given.

#include "TempStore.h"
#include "store/SchemaInfo.h"
#include "store/SqlTokenizer.h"
#include "ui/Application.h"

#include <QTest>

using store::Backend;
using store::ColumnKind;

namespace {

QString kindName(ColumnKind kind)
{
    switch (kind) {
    case ColumnKind::Text: return QStringLiteral("text");
    case ColumnKind::Integer: return QStringLiteral("integer");
    case ColumnKind::Decimal: return QStringLiteral("decimal");
    case ColumnKind::Date: return QStringLiteral("date");
    case ColumnKind::Time: return QStringLiteral("time");
    case ColumnKind::YesNo: return QStringLiteral("yes/no");
    }
    return {};
}

// A column as "name kind[(limit)] [required]", names in lower case (PostgreSQL folds them).
QString describe(const QString &name, const QString &kind, int limit, bool required)
{
    QString text = name.toLower() + QLatin1Char(' ') + kind;
    if (limit > 0)
        text += QStringLiteral("(%1)").arg(limit);
    if (required)
        text += QStringLiteral(" required");
    return text;
}

// The declared type of a column as the backend reports it, in the catalogue's terms.
QString kindOfType(QString type)
{
    type = type.toLower();
    if (type.startsWith(QLatin1String("varchar")) || type.startsWith(QLatin1String("character varying")) ||
        type == QLatin1String("text"))
        return kindName(ColumnKind::Text);
    if (type == QLatin1String("integer"))
        return kindName(ColumnKind::Integer);
    if (type == QLatin1String("double") || type == QLatin1String("double precision") || type == QLatin1String("real"))
        return kindName(ColumnKind::Decimal);
    if (type == QLatin1String("date"))
        return kindName(ColumnKind::Date);
    if (type.startsWith(QLatin1String("time")))
        return kindName(ColumnKind::Time);
    if (type == QLatin1String("boolean"))
        return kindName(ColumnKind::YesNo);
    return QStringLiteral("unknown type ") + type;
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
                                ? QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT "
                                                 "LIKE 'sqlite\\_%' ESCAPE '\\'")
                                : QStringLiteral("SELECT table_name FROM information_schema.tables WHERE table_schema = "
                                                 "current_schema() AND table_type = 'BASE TABLE'");
        QStringList unknown;
        for (const store::Row &row : m_store->selectNative(sql).rows)
            if (!store::tableInfo(row.value(0).toString()) &&
                !store::storeOwnedTables().contains(row.value(0).toString(), Qt::CaseInsensitive))
                unknown << row.value(0).toString();
        QVERIFY2(unknown.isEmpty(), qPrintable(QStringLiteral("tables missing from the catalogue: ") +
                                               unknown.join(QStringLiteral(", "))));
    }

    // A result column has the kind of the column it comes from: a count named after a
    // yes/no or date column stays a number, a renamed column keeps its kind.
    void resultColumnKinds_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("column");
        QTest::addColumn<int>("type");

        QTest::newRow("count named as a yes/no column")
            << "SELECT COUNT(*) AS FunFacturador FROM FUNCIONARIOS" << "FunFacturador" << int(QMetaType::LongLong);
        QTest::newRow("count named as a date column")
            << "SELECT COUNT(*) AS FunInsInicio FROM FUNCIONARIOS_INSTITUTOS" << "FunInsInicio"
            << int(QMetaType::LongLong);
        QTest::newRow("yes/no column given another name")
            << "SELECT F.FunFacturador AS [Factura] FROM FUNCIONARIOS F" << "Factura" << int(QMetaType::Bool);
        QTest::newRow("yes/no column through a star") << "SELECT * FROM FUNCIONARIOS" << "FunFacturador"
                                                      << int(QMetaType::Bool);
        QTest::newRow("date column through an alias's star")
            << "SELECT H.*, F.FUNNOMBRES FROM HORAS H, FUNCIONARIOS F WHERE H.FUNCEDULA = F.FUNCEDULA" << "HorFecha"
            << int(QMetaType::QDate);
        QTest::newRow("yes/no column through a subquery")
            << "SELECT G.FunFacturador AS Factura FROM (SELECT F.* FROM FUNCIONARIOS F) G" << "Factura"
            << int(QMetaType::Bool);
        QTest::newRow("count through a subquery, named as a yes/no column")
            << "SELECT N.FunFacturador FROM (SELECT COUNT(*) AS FunFacturador FROM FUNCIONARIOS) N" << "FunFacturador"
            << int(QMetaType::LongLong);
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
        QVERIFY2(!v.isNull(), qPrintable(column + QStringLiteral(" is Null")));
        QCOMPARE(v.typeId(), type);
    }

private:
    Reported report(const QString &table)
    {
        Reported r;
        if (m_store->backend() == Backend::SQLite) {
            const auto columns = m_store->selectNative(
                QStringLiteral("SELECT name, type, \"notnull\", pk FROM pragma_table_info(?) ORDER BY cid"), {table});
            QList<QPair<int, QString>> key;
            for (const store::Row &c : columns.rows) {
                const QString type = c.value(1).toString();
                const bool inKey = c.value(3).toInt() > 0;
                // An INTEGER PRIMARY KEY is the row id, which is never Null whatever it says.
                const bool required = c.value(2).toInt() != 0 || inKey;
                r.columns << describe(c.value(0).toString(), kindOfType(type.section(QLatin1Char('('), 0, 0).trimmed()),
                                      limitOfSqliteType(type), required);
                if (inKey)
                    key << qMakePair(c.value(3).toInt(), c.value(0).toString().toLower());
            }
            std::sort(key.begin(), key.end());
            for (const auto &k : key)
                r.key << k.second;
            const auto ddl = m_store->selectNative(
                QStringLiteral("SELECT sql FROM sqlite_master WHERE type = 'table' AND name = ?"), {table});
            if (!ddl.rows.empty())
                for (const store::SqlToken &t : store::SqlTokenizer::significant(ddl.rows.front().value(0).toString()))
                    r.storeAssignsKey = r.storeAssignsKey || t.isWord(u"AUTOINCREMENT");
            return r;
        }
        const auto columns = m_store->selectNative(
            QStringLiteral("SELECT column_name, data_type, is_nullable, character_maximum_length, column_default "
                           "FROM information_schema.columns WHERE table_schema = current_schema() AND table_name = ? "
                           "ORDER BY ordinal_position"),
            {table.toLower()});
        for (const store::Row &c : columns.rows) {
            r.columns << describe(c.value(0).toString(), kindOfType(c.value(1).toString()), c.value(3).toInt(),
                                  c.value(2).toString() == QLatin1String("NO"));
            r.storeAssignsKey = r.storeAssignsKey || c.value(4).toString().startsWith(QLatin1String("nextval("));
        }
        const auto key = m_store->selectNative(
            QStringLiteral("SELECT k.column_name FROM information_schema.table_constraints c JOIN "
                           "information_schema.key_column_usage k ON k.constraint_name = c.constraint_name AND "
                           "k.table_schema = c.table_schema AND k.table_name = c.table_name WHERE c.table_schema = "
                           "current_schema() AND c.table_name = ? AND c.constraint_type = 'PRIMARY KEY' ORDER BY "
                           "k.ordinal_position"),
            {table.toLower()});
        for (const store::Row &k : key.rows)
            r.key << k.value(0).toString().toLower();
        return r;
    }

    std::unique_ptr<tests::TempStore> m_store;
};

TEMPALIA_TEST_MAIN(TestSchema)
#include "tst_schema.moc"

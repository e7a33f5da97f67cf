// The history of the hour records, as the store writes it: every kind of change with the
// login the program announced, one line per close, hostile text kept exactly, the report
// of tempalia-store, upgrading an older store, and (PostgreSQL) what the program role may
// not do.
#include "StoreTool.h"
#include "TempStore.h"

#include "core/MonthClose.h"
#include "store/HourHistory.h"
#include "store/SqlValue.h"
#include "store/StoreError.h"
#include "store/StoreSetup.h"
#include "ui/Application.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QUuid>

namespace {

struct Seen {
    QString kind, table, login;
    qlonglong horId;
    bool operator==(const Seen &o) const
    {
        return kind == o.kind && table == o.table && login == o.login && horId == o.horId;
    }
};

char *toString(const Seen &s)
{
    return qstrdup(qPrintable(QStringLiteral("%1/%2/%3/%4").arg(s.kind, s.table, s.login).arg(s.horId)));
}

QList<Seen> seen(store::Connection &conn)
{
    QList<Seen> out;
    for (const auto &l : store::history::read(conn, {}))
        out.append({l.kind, l.table, l.login, l.horId.isNull() ? 0 : l.horId.toLongLong()});
    return out;
}

const QString kInsert = QStringLiteral(
    "INSERT INTO HORAS (FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, HorSemana, HorValorhora, HorHoras, "
    "HorCategoria, TipId, HorMoneda) VALUES ('11111111', 'DOC', 'REU', 'CUR', 1, ?, 46, 350, 2.5, 'A', 'COM', ?)");

qlonglong lastHorId(tests::TempStore &store)
{
    return store.scalar(QStringLiteral("SELECT MAX(HorId) FROM HORAS")).toLongLong();
}

// Makes the store refuse every delete of an hour row of `area`, as a fault halfway through
// a close would.
void refuseDeletes(tests::TempStore &store, const QString &area)
{
    if (store.backend() == store::Backend::PostgreSQL) {
        store.execNative(QStringLiteral("CREATE FUNCTION tst_no_delete() RETURNS trigger AS $$ BEGIN RAISE EXCEPTION "
                                        "'borrado impedido'; END $$ LANGUAGE plpgsql"));
        store.execNative(QStringLiteral("CREATE TRIGGER tst_no_delete BEFORE DELETE ON HORAS FOR EACH ROW WHEN "
                                        "(OLD.AreId = %1) EXECUTE FUNCTION tst_no_delete()")
                             .arg(store::sql::text(area)));
    } else {
        store.execNative(QStringLiteral("CREATE TRIGGER tst_no_delete BEFORE DELETE ON HORAS WHEN OLD.AreId = %1 BEGIN "
                                        "SELECT RAISE(ABORT, 'borrado impedido'); END")
                             .arg(store::sql::text(area)));
    }
}

// Fields of one CSV record (RFC 4180) starting at `pos`; moves `pos` past it.
QStringList csvRecord(const QString &text, qsizetype &pos)
{
    QStringList fields;
    QString field;
    bool quoted = false;
    for (; pos < text.size(); ++pos) {
        const QChar c = text.at(pos);
        if (quoted) {
            if (c == QLatin1Char('"') && pos + 1 < text.size() && text.at(pos + 1) == QLatin1Char('"')) {
                field += c;
                ++pos;
            } else if (c == QLatin1Char('"')) {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == QLatin1Char('"')) {
            quoted = true;
        } else if (c == QLatin1Char(',')) {
            fields << field;
            field.clear();
        } else if (c == QLatin1Char('\r') && pos + 1 < text.size() && text.at(pos + 1) == QLatin1Char('\n')) {
            pos += 2;
            break;
        } else {
            field += c;
        }
    }
    fields << field;
    return fields;
}

}  // namespace

class TestHistory : public QObject {
    Q_OBJECT
private slots:
    void cleanup();
    void everyKindWithItsLogin();
    void hostileText_data();
    void hostileText();
    void reportFilters();
    void closeRecordsOneLine_data();
    void closeRecordsOneLine();
    void upgradeOlderStore();
    void programRoleIsLimited();
};

void TestHistory::cleanup()
{
    store::history::announceLogin(QString());
}

// Inserts, changes, deletes and an archive through the program's connections, each line
// with the login announced at that moment; a change that changes nothing leaves no line; a
// writer that announced nobody still leaves its line.
void TestHistory::everyKindWithItsLogin()
{
    tests::TempStore fixture;
    fixture.execNative(QStringLiteral("DELETE FROM HORAS_HISTORIAL"));
    auto program = store::Connection::shared();
    store::history::announceLogin(QStringLiteral("ana"));

    program->executeNative(kInsert, {QDate(2030, 3, 4), QStringLiteral("Pesos Uruguayos")});
    const qlonglong id = lastHorId(fixture);
    program->executeNative(QStringLiteral("UPDATE HORAS SET HorHoras = 4 WHERE HorId = ?"), {id});
    program->executeNative(QStringLiteral("UPDATE HORAS SET HorHoras = 4 WHERE HorId = ?"), {id});  // no change

    // The login changes: the connection already open follows, and so does one opened now
    // (the close's own connection).
    store::history::announceLogin(QStringLiteral("beto"));
    program->executeNative(QStringLiteral("DELETE FROM HORAS WHERE HorId = ?"), {id});
    auto closeConnection = store::Connection::open();
    const QDate cutOff = fixture.scalar(QStringLiteral("SELECT MAX(HorFecha) FROM HORAS WHERE AreId = 'ADM'")).toDate();
    const int moving = fixture.count(QStringLiteral("HORAS"), QStringLiteral("AreId = 'ADM'"));
    QVERIFY(moving > 1);
    closeConnection->beginTransaction();
    closeConnection->execute(QStringLiteral("INSERT INTO HHORAS SELECT * FROM HORAS WHERE AREID='ADM' AND NOT EXISTS "
                                            "(SELECT * FROM HHORAS WHERE HHORAS.HORID=HORAS.HORID)"));
    closeConnection->execute(QStringLiteral("DELETE * FROM HORAS WHERE AREID='ADM' AND EXISTS (SELECT * FROM HHORAS "
                                            "WHERE HHORAS.HORID=HORAS.HORID)"));
    closeConnection->commit();
    const qlonglong archived = fixture.scalar(QStringLiteral("SELECT MIN(HorId) FROM HHORAS")).toLongLong();
    program->executeNative(QStringLiteral("UPDATE HHORAS SET HorHoras = 9 WHERE HorId = ?"), {archived});
    program->executeNative(QStringLiteral("DELETE FROM HHORAS WHERE HorId = ?"), {archived});

    store::history::announceLogin(QString());
    program->executeNative(kInsert, {QDate(2030, 3, 5), QStringLiteral("Dolares")});
    const qlonglong outside = lastHorId(fixture);

    const QList<Seen> expected{{QStringLiteral("Alta"), QStringLiteral("HORAS"), QStringLiteral("ana"), id},
                               {QStringLiteral("Cambio"), QStringLiteral("HORAS"), QStringLiteral("ana"), id},
                               {QStringLiteral("Baja"), QStringLiteral("HORAS"), QStringLiteral("beto"), id},
                               {QStringLiteral("Archivo"), QStringLiteral("HORAS"), QStringLiteral("beto"), 0},
                               {QStringLiteral("Cambio"), QStringLiteral("HHORAS"), QStringLiteral("beto"), archived},
                               {QStringLiteral("Baja"), QStringLiteral("HHORAS"), QStringLiteral("beto"), archived},
                               {QStringLiteral("Alta"), QStringLiteral("HORAS"), QString(), outside}};
    QCOMPARE(seen(fixture.conn()), expected);

    const auto lines = store::history::read(fixture.conn(), {});
    // The change keeps the values before and after; describe() says what changed.
    QCOMPARE(QJsonDocument::fromJson(lines[1].before.toUtf8()).object().value(QStringLiteral("HorHoras")).toDouble(), 2.5);
    QCOMPARE(store::history::describe(lines[1]), QStringLiteral("HorHoras: 2.5 → 4"));
    QVERIFY(store::history::describe(lines[2]).contains(QStringLiteral("HorFecha: 2030-03-04")));
    // The close: one line, its area, the rows it moved and the last date moved.
    QCOMPARE(lines[3].area, QStringLiteral("ADM"));
    QCOMPARE(lines[3].rows.toInt(), moving);
    QCOMPARE(lines[3].until, cutOff);
    QVERIFY(qAbs(lines[0].when.secsTo(QDateTime::currentDateTime())) < 120);
}

// Text a user could type, or a login the store holds, goes into the history as it is,
// comes back out of it the same, and cannot break the report's lines or fields.
void TestHistory::hostileText_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("quotes") << QStringLiteral("O'Brien \"x\"");
    QTest::newRow("statement") << QStringLiteral("');DROP TABLE HORAS;");
    QTest::newRow("json") << QStringLiteral("\",\"HorId\":1}");
    QTest::newRow("newline and comma") << QStringLiteral("a,b\r\nc");
    QTest::newRow("escape sequence") << QStringLiteral("\x1b[2J\x1b[31mrojo");
    QTest::newRow("backslashes") << QStringLiteral("C:\\ruta\\n\\u0041");
    QTest::newRow("accents and euro") << QStringLiteral("ñandú € ü");
}

void TestHistory::hostileText()
{
    QFETCH(QString, text);
    tests::TempStore fixture;
    fixture.execNative(QStringLiteral("DELETE FROM HORAS_HISTORIAL"));
    store::history::announceLogin(text);
    auto program = store::Connection::shared();
    program->executeNative(kInsert, {QDate(2030, 3, 4), text});

    const auto lines = store::history::read(fixture.conn(), {});
    QCOMPARE(int(lines.size()), 1);
    QCOMPARE(lines[0].login, text);
    QCOMPARE(QJsonDocument::fromJson(lines[0].after.toUtf8()).object().value(QStringLiteral("HorMoneda")).toString(),
             text);
    QVERIFY(store::history::describe(lines[0]).contains(QStringLiteral("HorMoneda: ") + text));
    QCOMPARE(fixture.count(QStringLiteral("HORAS"), QStringLiteral("HorMoneda = ?"), {text}), 1);

    const QString csv = storetool::historyReport(fixture.conn(), {}, {}, {}, storetool::HistoryFormat::Csv);
    qsizetype pos = 0;
    const QStringList heads = csvRecord(csv, pos);
    const QStringList record = csvRecord(csv, pos);
    QCOMPARE(pos, csv.size());
    QCOMPARE(record.size(), heads.size());
    QCOMPARE(record.at(heads.indexOf(QStringLiteral("Login"))), text);
    QCOMPARE(record.at(heads.indexOf(QStringLiteral("Despues"))), lines[0].after);

    // The table: one line per entry, no control character reaches the terminal.
    const QString table = storetool::historyReport(fixture.conn(), {}, {}, {}, storetool::HistoryFormat::Table);
    QCOMPARE(table.count(QLatin1Char('\n')), 2);
    for (QChar c : table)
        QVERIFY(c == QLatin1Char('\n') || c.category() != QChar::Other_Control);
}

// tempalia-store historial --funcionario / --desde / --hasta.
void TestHistory::reportFilters()
{
    tests::TempStore fixture;
    fixture.execNative(QStringLiteral("DELETE FROM HORAS_HISTORIAL"));
    store::history::announceLogin(QStringLiteral("ana"));
    auto program = store::Connection::shared();
    program->executeNative(kInsert, {QDate(2030, 3, 4), QStringLiteral("Dolares")});
    program->executeNative(QStringLiteral("UPDATE HORAS SET HorHoras = 1 WHERE FunCedula = '22222222'"));
    const int jorge = fixture.count(QStringLiteral("HORAS"), QStringLiteral("FunCedula = '22222222'"));
    QVERIFY(jorge > 0);

    const auto count = [&](const QString &cedula, const QDate &from, const QDate &to) {
        return int(store::history::read(fixture.conn(), {cedula, from, to, std::nullopt}).size());
    };
    const QDate today = QDate::currentDate();
    QCOMPARE(count({}, {}, {}), 1 + jorge);
    QCOMPARE(count(QStringLiteral("11111111"), {}, {}), 1);
    QCOMPARE(count(QStringLiteral("22222222"), today, today), jorge);
    QCOMPARE(count({}, today.addDays(1), {}), 0);
    QCOMPARE(count({}, {}, today.addDays(-1)), 0);
    const QString table = storetool::historyReport(fixture.conn(), QStringLiteral("11111111"), today, today,
                                                   storetool::HistoryFormat::Table);
    QCOMPARE(table.count(QLatin1Char('\n')), 2);
    QVERIFY(table.contains(QStringLiteral("ana")));
}

// The close's move, as the program makes it: one line for the area (its rows, its last date,
// the login), none per row, and the history recognises every other change in the same
// transaction as before. A close the store refuses halfway leaves no line. Either way the
// store goes on recording what others write afterwards: a delete by hand is a 'Baja', an
// archive by hand (the copy and the delete typed at a prompt) is one line of its own.
void TestHistory::closeRecordsOneLine_data()
{
    QTest::addColumn<bool>("refused");
    QTest::newRow("close") << false;
    QTest::newRow("close refused halfway") << true;
}

void TestHistory::closeRecordsOneLine()
{
    QFETCH(bool, refused);
    tests::TempStore fixture;
    fixture.execNative(QStringLiteral("DELETE FROM HORAS_HISTORIAL"));
    store::history::announceLogin(QStringLiteral("jefe"));
    const QDate cutOff = QDate::currentDate().addYears(1);
    const int due = fixture.count(QStringLiteral("HORAS"), QStringLiteral("AreId = 'DOC'"));
    const QDate last = fixture.scalar(QStringLiteral("SELECT MAX(HorFecha) FROM HORAS WHERE AreId = 'DOC'")).toDate();
    const qlonglong other = fixture.scalar(QStringLiteral("SELECT MIN(HorId) FROM HORAS WHERE AreId = 'ADM'")).toLongLong();
    const int archived = fixture.count(QStringLiteral("HHORAS"));
    QVERIFY(due > 1);
    if (refused)
        refuseDeletes(fixture, QStringLiteral("DOC"));

    auto program = store::Connection::open();
    program->beginTransaction();
    try {
        const store::history::ArchiveMove moved = store::history::moveToArchive(*program, QStringLiteral("DOC"), cutOff);
        QCOMPARE(moved.copied, due);
        QCOMPARE(moved.deleted, due);
        program->executeNative(QStringLiteral("DELETE FROM HORAS WHERE HorId = ?"), {other});
        program->commit();
        QVERIFY(!refused);
    } catch (const store::StoreError &e) {
        program->rollback();
        QVERIFY2(refused, qPrintable(e.description()));
        QVERIFY(e.description().contains(QStringLiteral("borrado impedido")));
        QCOMPARE(fixture.count(QStringLiteral("HORAS"), QStringLiteral("AreId = 'DOC'")), due);
        QCOMPARE(fixture.count(QStringLiteral("HHORAS")), archived);
        fixture.execNative(QStringLiteral("DROP TRIGGER tst_no_delete") +
                           (fixture.backend() == store::Backend::PostgreSQL ? QStringLiteral(" ON HORAS") : QString()));
    }

    QList<Seen> expected;
    if (!refused) {
        expected = {{QStringLiteral("Archivo"), QStringLiteral("HORAS"), QStringLiteral("jefe"), 0},
                    {QStringLiteral("Baja"), QStringLiteral("HORAS"), QStringLiteral("jefe"), other}};
        const auto lines = store::history::read(fixture.conn(), {});
        QCOMPARE(lines.front().area, QStringLiteral("DOC"));
        QCOMPARE(lines.front().rows.toInt(), due);
        QCOMPARE(lines.front().until, last);
    }
    QCOMPARE(seen(fixture.conn()), expected);

    // By hand, on a connection that announced nobody.
    store::history::announceLogin(QString());
    auto prompt = store::Connection::open();
    const qlonglong deleted = fixture.scalar(QStringLiteral("SELECT MAX(HorId) FROM HORAS WHERE AreId = 'ADM'")).toLongLong();
    prompt->executeNative(QStringLiteral("DELETE FROM HORAS WHERE HorId = ?"), {deleted});
    prompt->beginTransaction();
    prompt->executeNative(QStringLiteral("INSERT INTO HHORAS SELECT * FROM HORAS WHERE AreId = 'ADM'"));
    prompt->executeNative(QStringLiteral("DELETE FROM HORAS WHERE AreId = 'ADM'"));
    prompt->commit();
    expected << Seen{QStringLiteral("Baja"), QStringLiteral("HORAS"), QString(), deleted}
             << Seen{QStringLiteral("Archivo"), QStringLiteral("HORAS"), QString(), 0};
    QCOMPARE(seen(fixture.conn()), expected);
}

// A store made before hashes and history: upgrade widens UsuPassword (keeping the rows),
// adds the history, and changes nothing when run again; on PostgreSQL it also brings an
// older history up to date.
void TestHistory::upgradeOlderStore()
{
    tests::TempStore fixture;
    auto &conn = fixture.conn();
    store::setup::removeHistory(conn);
    if (fixture.backend() == store::Backend::SQLite) {
        conn.executeNative(QStringLiteral("DROP TABLE USUARIOS"));
        conn.executeNative(QStringLiteral(
            "CREATE TABLE USUARIOS (UsuLogin VARCHAR(12) NOT NULL PRIMARY KEY CHECK (length(UsuLogin) BETWEEN 1 AND "
            "12), UsuPassword VARCHAR(12) CHECK (length(UsuPassword) <= 12), FunCedula VARCHAR(12) CHECK "
            "(length(FunCedula) <= 12), PerId INTEGER)"));
    } else {
        conn.executeNative(QStringLiteral("DELETE FROM USUARIOS"));
        conn.executeNative(QStringLiteral("ALTER TABLE USUARIOS ALTER COLUMN UsuPassword TYPE VARCHAR(12)"));
    }
    conn.executeNative(QStringLiteral("INSERT INTO USUARIOS VALUES ('usuario', 'vtvbsjp', '11111111', 5)"));
    const QString hash = QStringLiteral("$argon2id$").leftJustified(97, QLatin1Char('x'));
    QVERIFY_THROWS_EXCEPTION(store::StoreError,
                             conn.executeNative(QStringLiteral("UPDATE USUARIOS SET UsuPassword = ?"), {hash}));

    QCOMPARE(storetool::upgrade(conn).size(), 2);
    QVERIFY(storetool::upgrade(conn).isEmpty());
    QCOMPARE(fixture.scalar(QStringLiteral("SELECT UsuPassword FROM USUARIOS WHERE UsuLogin = 'usuario'")).toString(),
             QStringLiteral("vtvbsjp"));
    conn.executeNative(QStringLiteral("UPDATE USUARIOS SET UsuPassword = ?"), {hash});
    fixture.execNative(kInsert, {QDate(2030, 3, 4), QStringLiteral("Dolares")});
    QCOMPARE(fixture.count(QStringLiteral("HORAS_HISTORIAL"), QStringLiteral("HisTipo = 'Alta'")), 1);
    if (fixture.backend() != store::Backend::PostgreSQL)
        return;

    // A PostgreSQL history made before the close had a function of its own (its trigger
    // functions here reduced to doing nothing): a close still moves its rows; upgrade adds
    // the function and replaces the trigger functions, once, keeping the lines.
    conn.executeNative(QStringLiteral("DROP FUNCTION tempalia_cierre_mover(VARCHAR, DATE)"));
    conn.executeNative(QStringLiteral("DROP TABLE HORAS_CIERRE"));
    for (const char *f : {"tempalia_hist_horas_bajas", "tempalia_hist_hhoras_altas"})
        conn.executeNative(QStringLiteral("CREATE OR REPLACE FUNCTION %1() RETURNS trigger LANGUAGE plpgsql AS $$ "
                                          "BEGIN RETURN NULL; END $$")
                               .arg(QLatin1String(f)));
    const QDate cutOff = QDate::currentDate().addYears(1);
    QVERIFY(core::MonthClose(QStringLiteral("ADM"), cutOff).run(conn) > 0);
    QCOMPARE(fixture.count(QStringLiteral("HORAS_HISTORIAL"), QStringLiteral("HisTipo = 'Archivo'")), 0);
    QCOMPARE(storetool::upgrade(conn), QStringList{QStringLiteral("historial de horas actualizado")});
    QVERIFY(storetool::upgrade(conn).isEmpty());
    QCOMPARE(fixture.count(QStringLiteral("HORAS_HISTORIAL"), QStringLiteral("HisTipo = 'Alta'")), 1);
    const int due = fixture.count(QStringLiteral("HORAS"), QStringLiteral("AreId = 'DOC' AND HorFecha <= ?"), {cutOff});
    QCOMPARE(core::MonthClose(QStringLiteral("DOC"), cutOff).run(conn), due);
    QCOMPARE(fixture.count(QStringLiteral("HORAS_HISTORIAL"), QStringLiteral("HisTipo = 'Archivo' AND AreId = 'DOC' AND "
                                                                             "HisFilas = ?"),
                           {due}),
             1);
}

// PostgreSQL: create with an owner and a program role. The program role does what the
// windows do and its writes reach the history with its login and its account; it cannot
// drop or create tables, nor read, change or empty the history table itself.
void TestHistory::programRoleIsLimited()
{
    if (tests::testBackend() != store::Backend::PostgreSQL)
        QSKIP("roles exist on PostgreSQL only");
    tests::TempStore fixture(tests::TempStore::Content::Empty);
    const QString suffix = QUuid::createUuid().toString(QUuid::Id128).left(10);
    const storetool::Roles roles{QStringLiteral("tempalia_own_") + suffix, QStringLiteral("tempalia_app_") + suffix,
                                 QStringLiteral("cl'ave")};
    storetool::create(fixture.conn(), roles);
    storetool::demo(fixture.conn(), QDate::currentDate());
    QCOMPARE(fixture.scalar(QStringLiteral("SELECT tableowner FROM pg_tables WHERE tablename = 'horas'")).toString(),
             roles.owner);
    const QString dsn = QStringLiteral("PROGRAMA_") + suffix;
    tests::addPostgresDataSource(dsn, roles.program, roles.programPassword);
    store::history::announceLogin(QStringLiteral("jefe"));
    {
        auto app = store::Connection::open(QStringLiteral("DSN=") + dsn);
        app->executeNative(kInsert, {QDate(2030, 3, 4), QStringLiteral("Dolares")});
        const qlonglong id = lastHorId(fixture);
        app->executeNative(QStringLiteral("UPDATE HORAS SET HorHoras = 3 WHERE HorId = ?"), {id});
        app->executeNative(QStringLiteral("DELETE FROM HORAS WHERE HorId = ?"), {id});
        QCOMPARE(app->selectNative(QStringLiteral("SELECT COUNT(*) FROM HORAS_HISTORIAL_LECTURA WHERE HorId = ?"), {id})
                     .rows.front()
                     .value(0)
                     .toInt(),
                 3);
        const QStringList refused{QStringLiteral("DROP TABLE HORAS"), QStringLiteral("CREATE TABLE OTRA (x INTEGER)"),
                                  QStringLiteral("ALTER TABLE HORAS ADD COLUMN x INTEGER"),
                                  QStringLiteral("DELETE FROM HORAS_HISTORIAL"),
                                  QStringLiteral("UPDATE HORAS_HISTORIAL SET HisLogin = 'otro'"),
                                  QStringLiteral("SELECT * FROM HORAS_HISTORIAL"), QStringLiteral("DELETE FROM HHORAS"),
                                  QStringLiteral("DELETE FROM USUARIOS"), QStringLiteral("TRUNCATE HORAS"),
                                  QStringLiteral("DROP TRIGGER TR_HORAS_HIST_ALTA ON HORAS"),
                                  QStringLiteral("ALTER TABLE HORAS DISABLE TRIGGER TR_HORAS_HIST_BAJA"),
                                  QStringLiteral("INSERT INTO HORAS_CIERRE SELECT txid_current()")};
        for (const QString &sql : refused)
            QVERIFY_THROWS_EXCEPTION(store::StoreError, app->executeNative(sql));

        // A close announced through a temporary table of the marker's name announces
        // nothing: the delete is recorded row by row.
        app->executeNative(kInsert, {QDate(2030, 3, 5), QStringLiteral("Dolares")});
        const qlonglong forged = lastHorId(fixture);
        app->executeNative(QStringLiteral("CREATE TEMP TABLE HORAS_CIERRE (CieTransaccion BIGINT)"));
        app->beginTransaction();
        app->executeNative(QStringLiteral("INSERT INTO HORAS_CIERRE SELECT txid_current()"));
        app->executeNative(QStringLiteral("DELETE FROM HORAS WHERE HorId = ?"), {forged});
        QCOMPARE(app->selectNative(QStringLiteral("SELECT COUNT(*) FROM HORAS_CIERRE WHERE CieTransaccion = "
                                                  "txid_current()"))
                     .rows.front()
                     .value(0)
                     .toInt(),
                 1);
        app->commit();

        // The month close, as the windows run it, is within the program role's rights.
        const int due = fixture.count(QStringLiteral("HORAS"), QStringLiteral("AreId = 'DOC'"));
        QVERIFY(due > 0);
        QCOMPARE(core::MonthClose(QStringLiteral("DOC"), QDate::currentDate().addYears(1)).run(*app), due);
        QCOMPARE(fixture.count(QStringLiteral("HORAS"), QStringLiteral("AreId = 'DOC'")), 0);
    }
    const auto lines = fixture.selectNative(
        QStringLiteral("SELECT HisLogin, HisCuenta, HisTipo FROM HORAS_HISTORIAL WHERE HisLogin = 'jefe' ORDER BY HisId"));
    QCOMPARE(int(lines.rows.size()), 6);  // the entry's three lines, the forged close's two, the close's one
    QCOMPARE(lines.rows.at(4).value(2).toString(), QStringLiteral("Baja"));
    QCOMPARE(lines.rows.back().value(2).toString(), QStringLiteral("Archivo"));
    QCOMPARE(lines.rows.front().value(1).toString(), roles.program);
    QVERIFY(fixture.count(QStringLiteral("HORAS")) > 0);

    store::setup::dropSchema(fixture.conn());
    fixture.execNative(QStringLiteral("DROP OWNED BY %1, %2").arg(roles.owner, roles.program));
    fixture.execNative(QStringLiteral("DROP ROLE %1").arg(roles.program));
    fixture.execNative(QStringLiteral("DROP ROLE %1").arg(roles.owner));
}

TEMPALIA_TEST_MAIN(TestHistory)
#include "tst_history.moc"

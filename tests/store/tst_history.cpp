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
#include <QRegularExpression>
#include <QTest>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace {

// The history's lines, each "kind table login HorId" (0 for an archive line).
QStringList seen(store::Connection &conn)
{
    QStringList out;
    for (const auto &l : store::history::read(conn, {}))
        out << u"%1 %2 %3 %4"_s.arg(l.kind, l.table, l.login).arg(l.horId.toLongLong());
    return out;
}

const QString kInsert = u"INSERT INTO HORAS (FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, HorSemana, "
                        "HorValorhora, HorHoras, HorCategoria, TipId, HorMoneda) VALUES ('11111111', 'DOC', 'REU', "
                        "'CUR', 1, ?, 46, 350, 2.5, 'A', 'COM', ?)"_s;

// A fresh store with an empty history, the program's login `login` announced.
struct HistoryStore : tests::TempStore {
    explicit HistoryStore(const QString &login)
    {
        execNative(u"DELETE FROM HORAS_HISTORIAL"_s);
        store::history::announceLogin(login);
    }
    qlonglong lastHorId() { return scalar(u"SELECT MAX(HorId) FROM HORAS"_s).toLongLong(); }
};

// Makes the store refuse every delete of an hour row of `area`, as a fault halfway through
// a close would.
void refuseDeletes(tests::TempStore &store, const QString &area)
{
    if (store.backend() == store::Backend::PostgreSQL) {
        store.execNative(u"CREATE FUNCTION tst_no_delete() RETURNS trigger AS $$ BEGIN RAISE EXCEPTION "
                         "'borrado impedido'; END $$ LANGUAGE plpgsql"_s);
        store.execNative(u"CREATE TRIGGER tst_no_delete BEFORE DELETE ON HORAS FOR EACH ROW WHEN (OLD.AreId = %1) "
                         "EXECUTE FUNCTION tst_no_delete()"_s.arg(store::sql::text(area)));
    } else {
        store.execNative(u"CREATE TRIGGER tst_no_delete BEFORE DELETE ON HORAS WHEN OLD.AreId = %1 BEGIN "
                         "SELECT RAISE(ABORT, 'borrado impedido'); END"_s.arg(store::sql::text(area)));
    }
}

// The records of a CSV text (RFC 4180: quoted fields may hold commas, quotes doubled and
// line ends), or nothing when the text is not CSV.
QList<QStringList> csvRecords(const QString &text)
{
    static const QRegularExpression field(u"\\G(?:\"((?:[^\"]|\"\")*)\"|([^\",\\r\\n]*))(,|\\r\\n|$)"_s);
    QList<QStringList> records{{}};
    for (qsizetype pos = 0; pos < text.size();) {
        const QRegularExpressionMatch m = field.match(text, pos);
        if (!m.hasMatch() || m.capturedLength() == 0)
            return {};
        records.last() << (m.capturedStart(1) >= 0 ? m.captured(1).replace(u"\"\""_s, u"\""_s) : m.captured(2));
        if (m.captured(3) == u"\r\n"_s && m.capturedEnd() < text.size())
            records << QStringList();
        pos = m.capturedEnd();
    }
    return records;
}

}  // namespace

class TestHistory : public QObject {
    Q_OBJECT
private slots:
    void cleanup() { store::history::announceLogin(QString()); }

    // Inserts, changes, deletes and an archive through the program's connections, each line
    // with the login announced at that moment; a change that changes nothing leaves no line; a
    // writer that announced nobody still leaves its line.
    void everyKindWithItsLogin()
    {
        HistoryStore fixture(u"ana"_s);
        auto program = store::Connection::shared();
        program->executeNative(kInsert, {QDate(2030, 3, 4), u"Pesos Uruguayos"_s});
        const qlonglong id = fixture.lastHorId();
        for (int i = 0; i < 2; ++i)  // the second time, no change
            program->executeNative(u"UPDATE HORAS SET HorHoras = 4 WHERE HorId = ?"_s, {id});

        // The login changes: the connection already open follows, and so does one opened now
        // (the close's own connection).
        store::history::announceLogin(u"beto"_s);
        program->executeNative(u"DELETE FROM HORAS WHERE HorId = ?"_s, {id});
        auto closeConnection = store::Connection::open();
        const QDate cutOff = fixture.scalar(u"SELECT MAX(HorFecha) FROM HORAS WHERE AreId = 'ADM'"_s).toDate();
        const int moving = fixture.count(u"HORAS"_s, u"AreId = 'ADM'"_s);
        QVERIFY(moving > 1);
        closeConnection->beginTransaction();
        closeConnection->execute(u"INSERT INTO HHORAS SELECT * FROM HORAS WHERE AREID='ADM' AND NOT EXISTS (SELECT * FROM "
                                 "HHORAS WHERE HHORAS.HORID=HORAS.HORID)"_s);
        closeConnection->execute(u"DELETE * FROM HORAS WHERE AREID='ADM' AND EXISTS (SELECT * FROM HHORAS WHERE "
                                 "HHORAS.HORID=HORAS.HORID)"_s);
        closeConnection->commit();
        const qlonglong archived = fixture.scalar(u"SELECT MIN(HorId) FROM HHORAS"_s).toLongLong();
        program->executeNative(u"UPDATE HHORAS SET HorHoras = 9 WHERE HorId = ?"_s, {archived});
        program->executeNative(u"DELETE FROM HHORAS WHERE HorId = ?"_s, {archived});

        store::history::announceLogin(QString());
        program->executeNative(kInsert, {QDate(2030, 3, 5), u"Dolares"_s});
        QCOMPARE(seen(fixture.conn()),
                 QStringList({u"Alta HORAS ana %1"_s.arg(id), u"Cambio HORAS ana %1"_s.arg(id), u"Baja HORAS beto %1"_s.arg(id),
                              u"Archivo HORAS beto 0"_s, u"Cambio HHORAS beto %1"_s.arg(archived),
                              u"Baja HHORAS beto %1"_s.arg(archived), u"Alta HORAS  %1"_s.arg(fixture.lastHorId())}));

        const auto lines = store::history::read(fixture.conn(), {});
        // The change keeps the values before and after; describe() says what changed.
        QCOMPARE(QJsonDocument::fromJson(lines[1].before.toUtf8()).object().value(u"HorHoras"_s).toDouble(), 2.5);
        QCOMPARE(store::history::describe(lines[1]), u"HorHoras: 2.5 → 4"_s);
        QVERIFY(store::history::describe(lines[2]).contains(u"HorFecha: 2030-03-04"_s));
        // The close: one line, its area, the rows it moved and the last date moved.
        QCOMPARE(lines[3].area, u"ADM"_s);
        QCOMPARE(lines[3].rows.toInt(), moving);
        QCOMPARE(lines[3].until, cutOff);
        QVERIFY(qAbs(lines[0].when.secsTo(QDateTime::currentDateTime())) < 120);
    }

    // Text a user could type, or a login the store holds, goes into the history as it is,
    // comes back out of it the same, and cannot break the report's lines or fields.
    void hostileText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("quotes") << u"O'Brien \"x\""_s;
        QTest::newRow("statement") << u"');DROP TABLE HORAS;"_s;
        QTest::newRow("json") << u"\",\"HorId\":1}"_s;
        QTest::newRow("newline and comma") << u"a,b\r\nc"_s;
        QTest::newRow("escape sequence") << u"\x1b[2J\x1b[31mrojo"_s;
        QTest::newRow("backslashes") << u"C:\\ruta\\n\\u0041"_s;
        QTest::newRow("accents and euro") << u"ñandú € ü"_s;
    }

    void hostileText()
    {
        QFETCH(QString, text);
        HistoryStore fixture(text);
        store::Connection::shared()->executeNative(kInsert, {QDate(2030, 3, 4), text});
        const auto lines = store::history::read(fixture.conn(), {});
        QCOMPARE(int(lines.size()), 1);
        QCOMPARE(lines[0].login, text);
        QCOMPARE(QJsonDocument::fromJson(lines[0].after.toUtf8()).object().value(u"HorMoneda"_s).toString(), text);
        QVERIFY(store::history::describe(lines[0]).contains(u"HorMoneda: "_s + text));
        QCOMPARE(fixture.count(u"HORAS"_s, u"HorMoneda = ?"_s, {text}), 1);

        const auto report = [&](storetool::HistoryFormat format) {
            return storetool::historyReport(fixture.conn(), {}, {}, {}, format);
        };
        const QList<QStringList> csv = csvRecords(report(storetool::HistoryFormat::Csv));
        QCOMPARE(csv.size(), 2);  // the heads and the line
        QCOMPARE(csv[1].size(), csv[0].size());
        QCOMPARE(csv[1].at(csv[0].indexOf(u"Login"_s)), text);
        QCOMPARE(csv[1].at(csv[0].indexOf(u"Despues"_s)), lines[0].after);

        // The table: one line per entry, no control character reaches the terminal.
        const QString table = report(storetool::HistoryFormat::Table);
        QCOMPARE(table.count(u'\n'), 2);
        for (QChar c : table)
            QVERIFY(c == u'\n' || c.category() != QChar::Other_Control);
    }

    // tempalia-store historial --funcionario / --desde / --hasta.
    void reportFilters()
    {
        HistoryStore fixture(u"ana"_s);
        auto program = store::Connection::shared();
        program->executeNative(kInsert, {QDate(2030, 3, 4), u"Dolares"_s});
        program->executeNative(u"UPDATE HORAS SET HorHoras = 1 WHERE FunCedula = '22222222'"_s);
        const int jorge = fixture.count(u"HORAS"_s, u"FunCedula = '22222222'"_s);
        QVERIFY(jorge > 0);

        const auto count = [&](const QString &cedula, const QDate &from, const QDate &to) {
            return int(store::history::read(fixture.conn(), {cedula, from, to, std::nullopt}).size());
        };
        const QDate today = QDate::currentDate();
        QCOMPARE(count({}, {}, {}), 1 + jorge);
        QCOMPARE(count(u"11111111"_s, {}, {}), 1);
        QCOMPARE(count(u"22222222"_s, today, today), jorge);
        QCOMPARE(count({}, today.addDays(1), {}), 0);
        QCOMPARE(count({}, {}, today.addDays(-1)), 0);
        const QString table = storetool::historyReport(fixture.conn(), u"11111111"_s, today, today, storetool::HistoryFormat::Table);
        QCOMPARE(table.count(u'\n'), 2);
        QVERIFY(table.contains(u"ana"_s));
    }

    // The close's move, as the program makes it: one line for the area (its rows, its last date,
    // the login), none per row, and the history recognises every other change in the same
    // transaction as before. A close the store refuses halfway leaves no line. Either way the
    // store goes on recording what others write afterwards: a delete by hand is a 'Baja', an
    // archive by hand (the copy and the delete typed at a prompt) is one line of its own.
    void closeRecordsOneLine_data()
    {
        QTest::addColumn<bool>("refused");
        QTest::newRow("close") << false;
        QTest::newRow("close refused halfway") << true;
    }

    void closeRecordsOneLine()
    {
        QFETCH(bool, refused);
        HistoryStore fixture(u"jefe"_s);
        const int due = fixture.count(u"HORAS"_s, u"AreId = 'DOC'"_s);
        const QDate last = fixture.scalar(u"SELECT MAX(HorFecha) FROM HORAS WHERE AreId = 'DOC'"_s).toDate();
        const qlonglong other = fixture.scalar(u"SELECT MIN(HorId) FROM HORAS WHERE AreId = 'ADM'"_s).toLongLong();
        const int archived = fixture.count(u"HHORAS"_s);
        QVERIFY(due > 1);
        if (refused)
            refuseDeletes(fixture, u"DOC"_s);

        auto program = store::Connection::open();
        program->beginTransaction();
        try {
            const auto moved = store::history::moveToArchive(*program, u"DOC"_s, QDate::currentDate().addYears(1));
            QCOMPARE(moved.copied, due);
            QCOMPARE(moved.deleted, due);
            program->executeNative(u"DELETE FROM HORAS WHERE HorId = ?"_s, {other});
            program->commit();
            QVERIFY(!refused);
        } catch (const store::StoreError &e) {
            program->rollback();
            QVERIFY2(refused && e.description().contains(u"borrado impedido"_s), qPrintable(e.description()));
            QCOMPARE(fixture.count(u"HORAS"_s, u"AreId = 'DOC'"_s), due);
            QCOMPARE(fixture.count(u"HHORAS"_s), archived);
            fixture.execNative(u"DROP TRIGGER tst_no_delete"_s +
                               (fixture.backend() == store::Backend::PostgreSQL ? u" ON HORAS"_s : QString()));
        }
        QStringList expected;
        if (!refused) {
            expected = QStringList{u"Archivo HORAS jefe 0"_s, u"Baja HORAS jefe %1"_s.arg(other)};
            const auto lines = store::history::read(fixture.conn(), {});
            QCOMPARE(lines.front().area, u"DOC"_s);
            QCOMPARE(lines.front().rows.toInt(), due);
            QCOMPARE(lines.front().until, last);
        }
        QCOMPARE(seen(fixture.conn()), expected);

        // By hand, on a connection that announced nobody.
        store::history::announceLogin(QString());
        auto prompt = store::Connection::open();
        const qlonglong deleted = fixture.scalar(u"SELECT MAX(HorId) FROM HORAS WHERE AreId = 'ADM'"_s).toLongLong();
        prompt->executeNative(u"DELETE FROM HORAS WHERE HorId = ?"_s, {deleted});
        prompt->beginTransaction();
        prompt->executeNative(u"INSERT INTO HHORAS SELECT * FROM HORAS WHERE AreId = 'ADM'"_s);
        prompt->executeNative(u"DELETE FROM HORAS WHERE AreId = 'ADM'"_s);
        prompt->commit();
        QCOMPARE(seen(fixture.conn()), expected << u"Baja HORAS  %1"_s.arg(deleted) << u"Archivo HORAS  0"_s);
    }

    // A store made before hashes and history: upgrade widens UsuPassword (keeping the rows),
    // adds the history, and changes nothing when run again; on PostgreSQL it also brings an
    // older history up to date.
    void upgradeOlderStore()
    {
        tests::TempStore fixture;
        auto &conn = fixture.conn();
        store::setup::removeHistory(conn);
        if (fixture.backend() == store::Backend::SQLite) {
            conn.executeNative(u"DROP TABLE USUARIOS"_s);
            conn.executeNative(u"CREATE TABLE USUARIOS (UsuLogin VARCHAR(12) NOT NULL PRIMARY KEY CHECK (length(UsuLogin) "
                               "BETWEEN 1 AND 12), UsuPassword VARCHAR(12) CHECK (length(UsuPassword) <= 12), FunCedula "
                               "VARCHAR(12) CHECK (length(FunCedula) <= 12), PerId INTEGER)"_s);
        } else {
            conn.executeNative(u"DELETE FROM USUARIOS"_s);
            conn.executeNative(u"ALTER TABLE USUARIOS ALTER COLUMN UsuPassword TYPE VARCHAR(12)"_s);
        }
        conn.executeNative(u"INSERT INTO USUARIOS VALUES ('usuario', 'vtvbsjp', '11111111', 5)"_s);
        const QString hash = u"$argon2id$"_s.leftJustified(97, u'x');
        QVERIFY_THROWS_EXCEPTION(store::StoreError, conn.executeNative(u"UPDATE USUARIOS SET UsuPassword = ?"_s, {hash}));

        QCOMPARE(storetool::upgrade(conn).size(), 2);
        QVERIFY(storetool::upgrade(conn).isEmpty());
        QCOMPARE(fixture.scalar(u"SELECT UsuPassword FROM USUARIOS WHERE UsuLogin = 'usuario'"_s).toString(), u"vtvbsjp"_s);
        conn.executeNative(u"UPDATE USUARIOS SET UsuPassword = ?"_s, {hash});
        fixture.execNative(kInsert, {QDate(2030, 3, 4), u"Dolares"_s});
        QCOMPARE(fixture.count(u"HORAS_HISTORIAL"_s, u"HisTipo = 'Alta'"_s), 1);
        if (fixture.backend() != store::Backend::PostgreSQL)
            return;

        // A PostgreSQL history made before the close had a function of its own (its trigger
        // functions here reduced to doing nothing): a close still moves its rows; upgrade adds
        // the function and replaces the trigger functions, once, keeping the lines.
        conn.executeNative(u"DROP FUNCTION tempalia_cierre_mover(VARCHAR, DATE)"_s);
        conn.executeNative(u"DROP TABLE HORAS_CIERRE"_s);
        for (const char *f : {"tempalia_hist_horas_bajas", "tempalia_hist_hhoras_altas"})
            conn.executeNative(u"CREATE OR REPLACE FUNCTION %1() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN RETURN NULL; "
                               "END $$"_s.arg(QLatin1String(f)));
        const QDate cutOff = QDate::currentDate().addYears(1);
        QVERIFY(core::MonthClose(u"ADM"_s, cutOff).run(conn) > 0);
        QCOMPARE(fixture.count(u"HORAS_HISTORIAL"_s, u"HisTipo = 'Archivo'"_s), 0);
        QCOMPARE(storetool::upgrade(conn), QStringList{u"historial de horas actualizado"_s});
        QVERIFY(storetool::upgrade(conn).isEmpty());
        QCOMPARE(fixture.count(u"HORAS_HISTORIAL"_s, u"HisTipo = 'Alta'"_s), 1);
        const int due = fixture.count(u"HORAS"_s, u"AreId = 'DOC' AND HorFecha <= ?"_s, {cutOff});
        QCOMPARE(core::MonthClose(u"DOC"_s, cutOff).run(conn), due);
        QCOMPARE(fixture.count(u"HORAS_HISTORIAL"_s, u"HisTipo = 'Archivo' AND AreId = 'DOC' AND HisFilas = ?"_s, {due}), 1);
    }

    // PostgreSQL: create with an owner and a program role. The program role does what the
    // windows do and its writes reach the history with its login and its account; it cannot
    // drop or create tables, nor read, change or empty the history table itself.
    void programRoleIsLimited()
    {
        if (tests::testBackend() != store::Backend::PostgreSQL)
            QSKIP("roles exist on PostgreSQL only");
        tests::TempStore fixture(tests::TempStore::Content::Empty);
        const QString suffix = QUuid::createUuid().toString(QUuid::Id128).left(10);
        const storetool::Roles roles{u"tempalia_own_"_s + suffix, u"tempalia_app_"_s + suffix, u"cl'ave"_s};
        storetool::create(fixture.conn(), roles);
        storetool::demo(fixture.conn(), QDate::currentDate());
        QCOMPARE(fixture.scalar(u"SELECT tableowner FROM pg_tables WHERE tablename = 'horas'"_s).toString(), roles.owner);
        const QString dsn = u"PROGRAMA_"_s + suffix;
        tests::addPostgresDataSource(dsn, roles.program, roles.programPassword);
        store::history::announceLogin(u"jefe"_s);
        {
            auto app = store::Connection::open(u"DSN="_s + dsn);
            const auto appCount = [&](const QString &sql, const QVariantList &values = {}) {
                return app->selectNative(sql, values).rows.front().value(0).toInt();
            };
            app->executeNative(kInsert, {QDate(2030, 3, 4), u"Dolares"_s});
            const qlonglong id = fixture.scalar(u"SELECT MAX(HorId) FROM HORAS"_s).toLongLong();
            app->executeNative(u"UPDATE HORAS SET HorHoras = 3 WHERE HorId = ?"_s, {id});
            app->executeNative(u"DELETE FROM HORAS WHERE HorId = ?"_s, {id});
            QCOMPARE(appCount(u"SELECT COUNT(*) FROM HORAS_HISTORIAL_LECTURA WHERE HorId = ?"_s, {id}), 3);
            for (const char *sql : {"DROP TABLE HORAS", "CREATE TABLE OTRA (x INTEGER)", "ALTER TABLE HORAS ADD COLUMN x INTEGER",
                                    "DELETE FROM HORAS_HISTORIAL", "UPDATE HORAS_HISTORIAL SET HisLogin = 'otro'",
                                    "SELECT * FROM HORAS_HISTORIAL", "DELETE FROM HHORAS", "DELETE FROM USUARIOS",
                                    "TRUNCATE HORAS", "DROP TRIGGER TR_HORAS_HIST_ALTA ON HORAS",
                                    "ALTER TABLE HORAS DISABLE TRIGGER TR_HORAS_HIST_BAJA",
                                    "INSERT INTO HORAS_CIERRE SELECT txid_current()"})
                QVERIFY_THROWS_EXCEPTION(store::StoreError, app->executeNative(QString::fromLatin1(sql)));

            // A close announced through a temporary table of the marker's name announces
            // nothing: the delete is recorded row by row.
            app->executeNative(kInsert, {QDate(2030, 3, 5), u"Dolares"_s});
            const qlonglong forged = fixture.scalar(u"SELECT MAX(HorId) FROM HORAS"_s).toLongLong();
            app->executeNative(u"CREATE TEMP TABLE HORAS_CIERRE (CieTransaccion BIGINT)"_s);
            app->beginTransaction();
            app->executeNative(u"INSERT INTO HORAS_CIERRE SELECT txid_current()"_s);
            app->executeNative(u"DELETE FROM HORAS WHERE HorId = ?"_s, {forged});
            QCOMPARE(appCount(u"SELECT COUNT(*) FROM HORAS_CIERRE WHERE CieTransaccion = txid_current()"_s), 1);
            app->commit();

            // The month close, as the windows run it, is within the program role's rights.
            const int due = fixture.count(u"HORAS"_s, u"AreId = 'DOC'"_s);
            QVERIFY(due > 0);
            QCOMPARE(core::MonthClose(u"DOC"_s, QDate::currentDate().addYears(1)).run(*app), due);
            QCOMPARE(fixture.count(u"HORAS"_s, u"AreId = 'DOC'"_s), 0);
        }
        const auto lines = fixture.selectNative(
            u"SELECT HisLogin, HisCuenta, HisTipo FROM HORAS_HISTORIAL WHERE HisLogin = 'jefe' ORDER BY HisId"_s);
        QCOMPARE(int(lines.rows.size()), 6);  // the entry's three lines, the forged close's two, the close's one
        QCOMPARE(lines.rows.at(4).value(2).toString(), u"Baja"_s);
        QCOMPARE(lines.rows.back().value(2).toString(), u"Archivo"_s);
        QCOMPARE(lines.rows.front().value(1).toString(), roles.program);
        QVERIFY(fixture.count(u"HORAS"_s) > 0);

        store::setup::dropSchema(fixture.conn());
        fixture.execNative(u"DROP OWNED BY %1, %2"_s.arg(roles.owner, roles.program));
        fixture.execNative(u"DROP ROLE %1"_s.arg(roles.program));
        fixture.execNative(u"DROP ROLE %1"_s.arg(roles.owner));
    }
};

TEMPALIA_TEST_MAIN(TestHistory)
#include "tst_history.moc"

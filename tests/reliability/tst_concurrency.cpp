// Several users on one store at once, each in a process of its own (tempalia-driver):
// entries recorded side by side, a month closed while entries go on, two users changing the
// same entry, two administrators saving the same key. Nothing may be lost, stored twice or
// split between HORAS and the archive.
#include "Reliability.h"
#include "ScriptedDialogs.h"
#include "ui/Application.h"

#include <QDir>
#include <QProcess>
#include <QTest>

using namespace reliability;
using namespace Qt::StringLiterals;

namespace {

const QString kInBoth = u"SELECT COUNT(*) FROM HORAS H WHERE EXISTS (SELECT 1 FROM HHORAS A WHERE A.HorId = H.HorId)"_s;
const QString kClosed = u"SELECT CieMesCerrado FROM CIERREMESES WHERE CieMesId = ?"_s;

// Every entry a process reported has exactly one 'Alta' line in the history, stamped with
// the login of the process that stored it ("d" + the person's cedula): an empty text, or
// what is wrong.
QString historyOfEntries(tests::TempStore &store, const QList<Entry> &entries)
{
    QStringList problems;
    for (const Entry &e : entries) {
        const auto rs = store.selectNative(
            u"SELECT HisLogin FROM HORAS_HISTORIAL WHERE HorId = ? AND HisTipo = 'Alta' AND HisTabla = 'HORAS'"_s, {e.horId});
        const QString login = rs.rows.empty() ? QString() : rs.rows.front().value(0).toString();
        if (rs.rows.size() != 1 || login != u"d"_s + e.cedula)
            problems << u"HorId %1: %2 'Alta' lines, login %3"_s.arg(e.horId).arg(rs.rows.size()).arg(login);
    }
    return problems.mid(0, 5).join(u'\n');
}

// The one close line of the history a program wrote (a login, its area, the rows moved).
QString closeLine(tests::TempStore &store)
{
    QStringList lines;
    for (const store::Row &r : store.selectNative(u"SELECT HisLogin, AreId, HisFilas FROM HORAS_HISTORIAL WHERE "
                                                  "HisTipo = 'Archivo' AND HisLogin IS NOT NULL"_s).rows)
        lines << u"%1 %2 %3"_s.arg(r.value(0).toString(), r.value(1).toString()).arg(r.value(2).toInt());
    return lines.join(u'\n');
}

// Of two users saving the same thing, the winner saved once and its window shows
// `winnerWindow`; the loser got one box saying `refusal` and its window shows `loserWindow`.
void wonAndLost(Driver &winner, const QString &winnerWindow, Driver &loser, const QString &refusal,
                const QString &loserWindow)
{
    QCOMPARE(winner.linesStarting(u"SAVED"_s).size(), 1);
    QCOMPARE(winner.linesStarting(u"WINDOW"_s), QStringList{winnerWindow});
    const QStringList refused = loser.linesStarting(u"ERROR"_s);
    QCOMPARE(refused.size(), 1);
    QVERIFY2(refused.front().contains(refusal), qPrintable(refused.front()));
    QCOMPARE(loser.linesStarting(u"WINDOW"_s), QStringList{loserWindow});
}

QString psqlPath()
{
    const QStringList versions = QDir(u"/usr/lib/postgresql"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    return versions.isEmpty() ? QString() : u"/usr/lib/postgresql/%1/bin/psql"_s.arg(versions.last());
}

// Whether another process holds the SQLite file's write lock right now.
bool sqliteWriteLocked()
{
    QProcess probe;
    probe.start(u"sqlite3"_s, {tests::testOdbcDir() + u"/rrhh.sqlite"_s, u"PRAGMA busy_timeout=0; BEGIN IMMEDIATE; ROLLBACK;"_s});
    probe.waitForFinished(10000);
    return probe.readAllStandardError().contains("locked");
}

}  // namespace

class TestConcurrency : public QObject {
    Q_OBJECT
private slots:
    void init() { m_store = std::make_unique<tests::TempStore>(); }
    void cleanup() { m_store.reset(); }

    void concurrentEntry_data()
    {
        QTest::addColumn<bool>("close");
        QTest::newRow("entries side by side") << false;
        // While the users enter hours of the area, its chief closes it: each row ends in exactly
        // one of HORAS and HHORAS and nothing is lost.
        QTest::newRow("entries during a close") << true;
    }

    void concurrentEntry()
    {
        QFETCH(bool, close);
        const int n = processes();
        const int perProcess = entriesPerProcess();
        const QDate first(2030, 1, 7);
        // Entries run i/4 days from the first date: the cut-off falls in the middle.
        const QDate cutOff = first.addDays(perProcess / 8);
        QStringList cedulas;
        for (int p = 0; p < n; ++p) {
            cedulas << staffCedula(p);
            addStaff(*m_store, cedulas.last());
        }
        const qlonglong closeId = close ? approvedClose(*m_store, cutOff) : 0;
        QVERIFY(m_store->count(u"HORAS"_s, u"AreId='DOC'"_s) > 0);
        const int archivedBefore = m_store->count(u"HHORAS"_s, u"AreId='DOC'"_s);

        std::vector<std::unique_ptr<Driver>> drivers;
        for (int p = 0; p < n; ++p)
            drivers.push_back(std::make_unique<Driver>(
                QStringList{u"entry"_s, cedulas[p], QString::number(perProcess), first.toString(Qt::ISODate)}));
        int stillRunning = 0;
        if (close) {
            // The chief closes once every user has stored a part of the entries.
            for (auto &d : drivers)
                DRIVER_WAIT(*d, u"OK %1 "_s.arg(perProcess / 5));
            Driver chief({u"close"_s, QString::number(closeId), u"DOC"_s, u"22222222"_s});
            DRIVER_FINISH(chief);
            QVERIFY2(chief.lines().contains(u"CLOSED"_s), qPrintable(chief.report()));
            for (auto &d : drivers)
                stillRunning += !d->has(u"DONE"_s);
        }

        QList<Entry> all;
        for (int p = 0; p < n; ++p) {
            Driver &d = *drivers[p];
            DRIVER_FINISH(d, 600000);
            QVERIFY2(d.linesStarting(u"ERROR"_s).isEmpty(), qPrintable(d.report()));
            const QList<Entry> mine = entriesOf(d.lines(), cedulas[p]);
            QCOMPARE(mine.size(), perProcess);
            all += mine;
        }
        const QString problems = checkEntries(*m_store, all, cedulas);
        QVERIFY2(problems.isEmpty(), qPrintable(problems));
        QCOMPARE(m_store->count(u"HORAS"_s, u"FunCedula LIKE '91%'"_s) + m_store->count(u"HHORAS"_s, u"FunCedula LIKE '91%'"_s),
                 n * perProcess);
        // Each entry's 'Alta' with its process's login.
        const QString history = historyOfEntries(*m_store, all);
        QVERIFY2(history.isEmpty(), qPrintable(history));
        if (!close)
            return;

        // Nothing archived stays behind, nothing after the cut-off or of another area moved,
        // and everything of the area that stood in HORAS before the close went.
        QCOMPARE(m_store->scalar(kInBoth).toInt(), 0);
        QCOMPARE(m_store->count(u"HHORAS"_s, u"AreId='DOC' AND HorFecha > ?"_s, {cutOff}), 0);
        QCOMPARE(m_store->count(u"HORAS"_s, u"AreId='DOC' AND FunCedula NOT LIKE '91%'"_s), 0);
        QVERIFY(m_store->count(u"HHORAS"_s, u"FunCedula LIKE '91%'"_s) > 0);
        QVERIFY(m_store->count(u"HORAS"_s, u"AreId <> 'DOC'"_s) > 0);
        QVERIFY(m_store->scalar(kClosed, {closeId}).toBool());
        QVERIFY2(stillRunning > 0, "every user had finished before the close ended: the run did not overlap");
        // The close is one line with the chief's login and the rows it moved.
        QCOMPARE(closeLine(*m_store), u"d22222222 DOC %1"_s.arg(m_store->count(u"HHORAS"_s, u"AreId='DOC'"_s) - archivedBefore));
    }

    // While the chief's close runs, three users change rows of the closing area: new hours on
    // one, a date past the cut-off on another, a third deleted. Whatever the interleaving,
    // every row ends in exactly one of HORAS and HHORAS, with the values of every change that
    // was not refused; a refused change is said in Spanish and the window keeps what was typed.
    //
    // The overlap is made certain and asserted. On PostgreSQL another session holds a KEY SHARE
    // lock on the area's other rows: the close's delete stops at the first of them, after its
    // copy, and the three users save while it waits; the close then finds those rows changed
    // since its snapshot, starts again, and archives them as they are. On SQLite the file has
    // one writer: a slow trigger keeps the close's write transaction open, and the three users
    // press while it is.
    void changesDuringClose()
    {
        const bool postgres = m_store->backend() == store::Backend::PostgreSQL;
        const QDate cutOff = QDate::currentDate();
        const qlonglong closeId = approvedClose(*m_store, cutOff);
        const qlonglong model = m_store->scalar(u"SELECT MIN(HorId) FROM HORAS WHERE AreId='DOC' AND FunCedula='11111111' "
                                                "AND HorFecha <= ?"_s, {cutOff}).toLongLong();
        QVERIFY(model > 0);
        const qlonglong changed = tests::copyOfHourRow(*m_store, model, cutOff);
        const qlonglong redated = tests::copyOfHourRow(*m_store, model, cutOff);
        const qlonglong deleted = tests::copyOfHourRow(*m_store, model, cutOff);
        const QDate later = cutOff.addDays(10);
        const int due = m_store->count(u"HORAS"_s, u"AreId='DOC' AND HorFecha <= ?"_s, {cutOff});
        const qlonglong lastLine = m_store->scalar(u"SELECT MAX(HisId) FROM HORAS_HISTORIAL"_s).toLongLong();

        Driver edit({u"edit"_s, QString::number(changed), u"9,75"_s});
        Driver redate({u"edit"_s, QString::number(redated), u"4,5"_s, later.toString(Qt::ISODate)});
        Driver remove({u"delete"_s, QString::number(deleted)});
        const auto users = {&edit, &redate, &remove};
        for (Driver *d : users)
            DRIVER_WAIT(*d, u"READY"_s);

        QProcess locker;
        if (postgres) {
            const QString database = m_store->scalar(u"SELECT current_database()"_s).toString();
            locker.start(psqlPath(), {u"-h"_s, qEnvironmentVariable("TEMPALIA_PG_HOST"), u"-p"_s,
                                      qEnvironmentVariable("TEMPALIA_PG_PORT"), u"-U"_s, qEnvironmentVariable("TEMPALIA_PG_USER"),
                                      u"-d"_s, database, u"-qAt"_s});
            locker.write(u"BEGIN; SELECT count(*) FROM (SELECT HorId FROM HORAS WHERE AreId = 'DOC' AND HorFecha <= '%1' AND "
                         "HorId NOT IN (%2, %3, %4) FOR KEY SHARE) l;\n"_s.arg(cutOff.toString(Qt::ISODate))
                             .arg(changed).arg(redated).arg(deleted).toUtf8());
            QVERIFY(locker.waitForReadyRead(10000));
            QCOMPARE(locker.readLine().trimmed().toInt(), due - 3);
        } else {
            // Archiving the model row takes a few seconds.
            m_store->execNative(u"CREATE TABLE SLOW (x INTEGER)"_s);
            m_store->execNative(u"CREATE TABLE SLOWLOG (n INTEGER)"_s);
            m_store->execNative(u"INSERT INTO SLOW VALUES (1),(2),(3),(4),(5),(6),(7),(8),(9),(10),(11),(12),(13),(14),(15),"
                                "(16),(17),(18),(19),(20)"_s);
            m_store->execNative(u"INSERT INTO SLOW SELECT a.x * 20 + b.x FROM SLOW a, SLOW b"_s);
            m_store->execNative(u"CREATE TRIGGER SLOW_ARCHIVE AFTER INSERT ON HHORAS WHEN NEW.HorId = %1 BEGIN INSERT INTO "
                                "SLOWLOG SELECT count(*) FROM SLOW a, SLOW b, SLOW c WHERE a.x + b.x > c.x; END"_s.arg(model));
            QCOMPARE(m_store->count(u"sqlite_master"_s, u"type = 'trigger' AND name = 'SLOW_ARCHIVE'"_s), 1);
            QCOMPARE(m_store->count(u"SLOW"_s), 420);
        }

        Driver chief({u"close"_s, QString::number(closeId), u"DOC"_s, u"22222222"_s});
        // The close is under way: waiting on the lock after its copy (PostgreSQL), holding the
        // file's write lock (SQLite).
        QElapsedTimer waited;
        waited.start();
        bool underWay = false;
        while (!underWay && waited.elapsed() < 60000 && !chief.has(u"DONE"_s)) {
            underWay = postgres ? m_store->scalar(u"SELECT count(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock' AND "
                                                  "(query LIKE 'DELETE%HORAS%' OR query LIKE '%tempalia_cierre_mover%')"_s)
                                          .toInt() > 0
                                : sqliteWriteLocked();
            if (!underWay)
                QTest::qWait(20);
        }
        QVERIFY2(underWay, qPrintable(u"the close was never seen under way\n"_s + chief.report()));

        for (Driver *d : users)
            d->go();
        for (Driver *d : users)
            DRIVER_WAIT(*d, u"PRESSING"_s);
        for (Driver *d : users)  // PostgreSQL: the three rows are not the close's yet, their changes commit while it waits
            if (postgres)
                DRIVER_WAIT(*d, u"DONE"_s, 30000);
        QVERIFY2(!chief.has(u"DONE"_s), qPrintable(u"the close ended before the users pressed: no overlap\n"_s + chief.report()));
        if (postgres) {
            locker.write("COMMIT;\n");
            locker.closeWriteChannel();
            QVERIFY(locker.waitForFinished(10000));
        }
        DRIVER_FINISH(chief);
        QVERIFY2(chief.lines().contains(u"CLOSED"_s), qPrintable(chief.report()));
        for (Driver *d : users)
            DRIVER_FINISH(*d);

        const auto rows = hourRows(*m_store);
        auto tableOf = [&](qlonglong id) {
            const QList<StoredRow> found = rows.values(id);
            return found.size() == 1 ? found.front().table : u"%1 times"_s.arg(found.size());
        };
        // Each change either went through (and then the store holds it) or was refused in
        // Spanish with the window still holding what was typed.
        auto refused = [](Driver &d, const QString &typed) {
            const QStringList errors = d.linesStarting(u"ERROR"_s);
            return errors.size() == 1 &&
                   (errors.front().contains(u"ya no existe"_s) || errors.front().contains(u"ocupada por otro usuario"_s)) &&
                   (typed.isEmpty() || d.linesStarting(u"WINDOW"_s) == QStringList{u"WINDOW open "_s + typed});
        };
        const bool editSaved = edit.has(u"SAVED"_s);
        const bool redateSaved = redate.has(u"SAVED"_s);
        const bool removeDone = remove.has(u"DELETED"_s);
        QVERIFY2(editSaved || refused(edit, u"9,75"_s), qPrintable(edit.report()));
        QVERIFY2(redateSaved || refused(redate, u"4,5"_s), qPrintable(redate.report()));
        QVERIFY2(removeDone || refused(remove, {}), qPrintable(remove.report()));
        if (postgres)  // the three committed while the close waited
            QVERIFY(editSaved && redateSaved && removeDone);

        QCOMPARE(tableOf(changed), u"HHORAS"_s);
        QCOMPARE(rows.value(changed).hours, editSaved ? 9.75 : 3.0);
        QCOMPARE(tableOf(redated), redateSaved ? u"HORAS"_s : u"HHORAS"_s);
        QCOMPARE(rows.value(redated).date, redateSaved ? later : cutOff);
        if (redateSaved)
            QCOMPARE(rows.value(redated).hours, 4.5);
        QCOMPARE(rows.count(deleted), removeDone ? 0 : 1);
        QCOMPARE(m_store->scalar(kInBoth).toInt(), 0);
        QCOMPARE(m_store->count(u"HORAS"_s, u"AreId='DOC' AND HorFecha <= ?"_s, {cutOff}), 0);
        QVERIFY(m_store->scalar(kClosed, {closeId}).toBool());
        // An attempt of the close that was rolled back left no line: one line, for what it moved.
        const QString archive = u"HisTipo = 'Archivo' AND HisId > ?"_s;
        QCOMPARE(m_store->count(u"HORAS_HISTORIAL"_s, archive, {lastLine}), 1);
        QCOMPARE(m_store->scalar(u"SELECT HisFilas FROM HORAS_HISTORIAL WHERE "_s + archive, {lastLine}).toInt(),
                 due - int(redateSaved) - int(removeDone));
    }

    // Two users change the same entry: the one who saves first wins, the second gets the
    // conflict message and keeps what was typed.
    void conflictingEdits()
    {
        const qlonglong horId =
            m_store->scalar(u"SELECT MIN(HorId) FROM HORAS WHERE FunCedula='11111111' AND ActId='CLA'"_s).toLongLong();
        QVERIFY(horId > 0);
        Driver first({u"edit"_s, QString::number(horId), u"7,5"_s});
        Driver second({u"edit"_s, QString::number(horId), u"9,25"_s});
        DRIVER_WAIT(first, u"READY"_s);
        DRIVER_WAIT(second, u"READY"_s);
        first.go();
        DRIVER_FINISH(first);
        second.go();
        DRIVER_FINISH(second);

        wonAndLost(first, u"WINDOW closed"_s, second, u"Otro usuario modificó este registro"_s, u"WINDOW open 9,25"_s);
        QCOMPARE(m_store->scalar(u"SELECT HorHoras FROM HORAS WHERE HorId = ?"_s, {horId}).toDouble(), 7.5);
        QCOMPARE(m_store->count(u"HORAS_RUBROS_MATERIAS"_s, u"HorId = ?"_s, {horId}), 1);
        // One change in the history, the one that was stored, with its editor's login.
        const auto changes = m_store->selectNative(
            u"SELECT HisLogin, HisDespues FROM HORAS_HISTORIAL WHERE HorId = ? AND HisTipo = 'Cambio'"_s, {horId});
        QCOMPARE(int(changes.rows.size()), 1);
        QCOMPARE(changes.rows.front().value(0).toString(), u"d11111111"_s);
        QVERIFY2(changes.rows.front().value(1).toString().contains(u"7.5"_s), qPrintable(changes.rows.front().value(1).toString()));
    }

    // Two administrators save a new area under the same key at the same moment: one wins, the
    // other is told the store's refusal and keeps the window with the row. The test holds the
    // store's write lock until both have pressed "Guardar", so the two saves overlap for sure.
    void administratorsSaveSameKey()
    {
        Driver a({u"area"_s, u"NUE"_s, u"Primera"_s});
        Driver b({u"area"_s, u"NUE"_s, u"Segunda"_s});
        DRIVER_WAIT(a, u"READY"_s);
        DRIVER_WAIT(b, u"READY"_s);
        const bool postgres = m_store->backend() == store::Backend::PostgreSQL;
        m_store->conn().beginTransaction();
        auto release = qScopeGuard([&] {
            if (m_store->conn().inTransaction())
                m_store->conn().rollback();
        });
        m_store->execNative(postgres ? u"LOCK TABLE AREAS IN EXCLUSIVE MODE"_s
                                     : u"UPDATE AREAS SET AreDescripcion = AreDescripcion WHERE AreId = 'DOC'"_s);
        a.go();
        b.go();
        DRIVER_WAIT(a, u"PRESSING"_s);
        DRIVER_WAIT(b, u"PRESSING"_s);
        if (postgres) {  // both inserts are at the server, waiting for the test's lock
            QTRY_COMPARE_WITH_TIMEOUT(m_store->scalar(u"SELECT COUNT(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock' "
                                                      "AND datname = current_database()"_s).toInt(), 2, 30000);
        }
        // Neither save could end while the lock was held (SQLite: the writers wait out the busy
        // timeout, which the release comes well before).
        QCOMPARE(a.countOf(u"SAVED"_s) + a.countOf(u"ERROR"_s) + b.countOf(u"SAVED"_s) + b.countOf(u"ERROR"_s), 0);
        m_store->conn().rollback();
        DRIVER_FINISH(a);
        DRIVER_FINISH(b);

        const bool aWon = a.has(u"SAVED"_s);
        Driver &winner = aWon ? a : b;
        Driver &loser = aWon ? b : a;
        wonAndLost(winner, u"WINDOW browsing"_s, loser, u"Ya existe un registro con esa clave."_s, u"WINDOW open NUE"_s);
        QCOMPARE(m_store->scalar(u"SELECT AreDescripcion FROM AREAS WHERE AreId = 'NUE'"_s).toString(),
                 aWon ? u"Primera"_s : u"Segunda"_s);
        QCOMPARE(m_store->count(u"AREAS"_s, u"AreId = 'NUE'"_s), 1);
    }

private:
    std::unique_ptr<tests::TempStore> m_store;
};

TEMPALIA_TEST_MAIN(TestConcurrency)
#include "tst_concurrency.moc"

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

namespace {

// Every entry a process reported has exactly one 'Alta' line in the history, stamped with
// the login of the process that stored it ("d" + the person's cedula): an empty text, or
// what is wrong.
QString historyOfEntries(tests::TempStore &store, const QList<Entry> &entries)
{
    QStringList problems;
    for (const Entry &e : entries) {
        const auto rs = store.selectNative(QStringLiteral("SELECT HisLogin FROM HORAS_HISTORIAL WHERE HorId = ? AND "
                                                          "HisTipo = 'Alta' AND HisTabla = 'HORAS'"),
                                           {e.horId});
        if (rs.rows.size() != 1 || rs.rows.front().value(0).toString() != QLatin1String("d") + e.cedula)
            problems << QStringLiteral("HorId %1: %2 'Alta' lines, login %3")
                            .arg(e.horId)
                            .arg(rs.rows.size())
                            .arg(rs.rows.empty() ? QString() : rs.rows.front().value(0).toString());
    }
    return problems.mid(0, 5).join(QLatin1Char('\n'));
}

}  // namespace

class TestConcurrency : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void concurrentEntry();
    void entryDuringClose();
    void changesDuringClose();
    void conflictingEdits();
    void administratorsSaveSameKey();

private:
    std::unique_ptr<tests::TempStore> m_store;
};

void TestConcurrency::init()
{
    m_store = std::make_unique<tests::TempStore>();
}

void TestConcurrency::cleanup()
{
    m_store.reset();
}

void TestConcurrency::concurrentEntry()
{
    const int n = processes();
    const int perProcess = entriesPerProcess();
    QStringList cedulas;
    for (int p = 0; p < n; ++p) {
        cedulas << staffCedula(p);
        addStaff(*m_store, cedulas.last());
    }
    std::vector<std::unique_ptr<Driver>> drivers;
    for (int p = 0; p < n; ++p)
        drivers.push_back(std::make_unique<Driver>(
            QStringList{QStringLiteral("entry"), cedulas[p], QString::number(perProcess), QStringLiteral("2030-01-07")}));

    QList<Entry> all;
    for (int p = 0; p < n; ++p) {
        Driver &d = *drivers[p];
        QVERIFY2(d.finish(600000), qPrintable(d.report()));
        QVERIFY2(d.linesStarting(QStringLiteral("ERROR")).isEmpty(), qPrintable(d.report()));
        const QList<Entry> mine = entriesOf(d.lines(), cedulas[p]);
        QCOMPARE(mine.size(), perProcess);
        all += mine;
    }
    const QString problems = checkEntries(*m_store, all, cedulas);
    QVERIFY2(problems.isEmpty(), qPrintable(problems));
    QCOMPARE(m_store->count(QStringLiteral("HORAS"), QStringLiteral("FunCedula LIKE '91%'")), n * perProcess);
    const QString history = historyOfEntries(*m_store, all);
    QVERIFY2(history.isEmpty(), qPrintable(history));
}

// While four users enter hours of the area, its chief closes it: each row ends in exactly
// one of HORAS and HHORAS and nothing is lost.
void TestConcurrency::entryDuringClose()
{
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
    const qlonglong closeId = approvedClose(*m_store, cutOff);
    const int demoDocBefore = m_store->count(QStringLiteral("HORAS"), QStringLiteral("AreId='DOC'"));
    QVERIFY(demoDocBefore > 0);
    const int archivedBefore = m_store->count(QStringLiteral("HHORAS"), QStringLiteral("AreId='DOC'"));

    std::vector<std::unique_ptr<Driver>> drivers;
    for (int p = 0; p < n; ++p)
        drivers.push_back(std::make_unique<Driver>(QStringList{QStringLiteral("entry"), cedulas[p],
                                                               QString::number(perProcess), first.toString(Qt::ISODate)}));
    // The chief closes once every user has stored a part of the entries.
    for (auto &d : drivers)
        QVERIFY2(d->waitFor(QStringLiteral("OK %1 ").arg(perProcess / 5)), qPrintable(d->report()));
    Driver chief({QStringLiteral("close"), QString::number(closeId), QStringLiteral("DOC"), QStringLiteral("22222222")});
    QVERIFY2(chief.finish(), qPrintable(chief.report()));
    QVERIFY2(chief.lines().contains(QStringLiteral("CLOSED")), qPrintable(chief.report()));
    int stillRunning = 0;
    for (auto &d : drivers)
        stillRunning += d->countOf(QStringLiteral("DONE")) == 0;

    QList<Entry> all;
    for (int p = 0; p < n; ++p) {
        Driver &d = *drivers[p];
        QVERIFY2(d.finish(600000), qPrintable(d.report()));
        QVERIFY2(d.linesStarting(QStringLiteral("ERROR")).isEmpty(), qPrintable(d.report()));
        all += entriesOf(d.lines(), cedulas[p]);
    }
    QCOMPARE(all.size(), n * perProcess);
    const QString problems = checkEntries(*m_store, all, cedulas);
    QVERIFY2(problems.isEmpty(), qPrintable(problems));

    // Nothing archived stays behind, nothing after the cut-off or of another area moved,
    // and everything of the area that stood in HORAS before the close went.
    QCOMPARE(m_store->scalar(QStringLiteral("SELECT COUNT(*) FROM HORAS H WHERE EXISTS (SELECT 1 FROM HHORAS A WHERE "
                                            "A.HorId = H.HorId)")).toInt(), 0);
    QCOMPARE(m_store->count(QStringLiteral("HHORAS"), QStringLiteral("AreId='DOC' AND HorFecha > ?"), {cutOff}), 0);
    QCOMPARE(m_store->count(QStringLiteral("HORAS"), QStringLiteral("AreId='DOC' AND FunCedula NOT LIKE '91%'")), 0);
    QVERIFY(m_store->count(QStringLiteral("HHORAS"), QStringLiteral("FunCedula LIKE '91%'")) > 0);
    QVERIFY(m_store->count(QStringLiteral("HORAS"), QStringLiteral("AreId <> 'DOC'")) > 0);
    QCOMPARE(m_store->scalar(QStringLiteral("SELECT CieMesCerrado FROM CIERREMESES WHERE CieMesId = ?"), {closeId}).toBool(),
             true);
    QVERIFY2(stillRunning > 0, "every user had finished before the close ended: the run did not overlap");

    // The history: each entry's 'Alta' with its process's login, and the close as one line
    // with the chief's login and the rows it moved.
    const QString history = historyOfEntries(*m_store, all);
    QVERIFY2(history.isEmpty(), qPrintable(history));
    const auto closeLines = m_store->selectNative(QStringLiteral(
        "SELECT HisLogin, AreId, HisFilas FROM HORAS_HISTORIAL WHERE HisTipo = 'Archivo' AND HisLogin IS NOT NULL"));
    QCOMPARE(int(closeLines.rows.size()), 1);
    QCOMPARE(closeLines.rows.front().value(0).toString(), QStringLiteral("d22222222"));
    QCOMPARE(closeLines.rows.front().value(1).toString(), QStringLiteral("DOC"));
    QCOMPARE(closeLines.rows.front().value(2).toInt(),
             m_store->count(QStringLiteral("HHORAS"), QStringLiteral("AreId='DOC'")) - archivedBefore);
}

namespace {

QString psqlPath()
{
    const QStringList versions =
        QDir(QStringLiteral("/usr/lib/postgresql")).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    return versions.isEmpty() ? QString() : QStringLiteral("/usr/lib/postgresql/%1/bin/psql").arg(versions.last());
}

// Whether another process holds the SQLite file's write lock right now.
bool sqliteWriteLocked()
{
    QProcess probe;
    probe.start(QStringLiteral("sqlite3"), {tests::testOdbcDir() + QStringLiteral("/rrhh.sqlite"),
                                            QStringLiteral("PRAGMA busy_timeout=0; BEGIN IMMEDIATE; ROLLBACK;")});
    probe.waitForFinished(10000);
    return probe.readAllStandardError().contains("locked");
}

}  // namespace

// While the chief's close runs, three users change rows of the closing area: new hours on
// one, a date past the cut-off on another, a third deleted. Whatever the interleaving,
// every row ends in exactly one of HORAS and HHORAS, with the values of every change that
// was not refused; a refused change is said in Spanish and the window keeps what was typed.
//
// The overlap is made certain and asserted. On PostgreSQL another session holds a KEY SHARE
// lock on the area's other rows: the close's delete stops at the first of them, after its
// copy, and the three users save while it waits. On SQLite the file has one writer: a slow
// trigger keeps the close's write transaction open, and the three users press while it is.
void TestConcurrency::changesDuringClose()
{
    const bool postgres = m_store->backend() == store::Backend::PostgreSQL;
    const QDate cutOff = QDate::currentDate();
    const qlonglong closeId = approvedClose(*m_store, cutOff);
    const qlonglong model = m_store
                                ->scalar(QStringLiteral("SELECT MIN(HorId) FROM HORAS WHERE AreId='DOC' AND "
                                                        "FunCedula='11111111' AND HorFecha <= ?"),
                                         {cutOff})
                                .toLongLong();
    QVERIFY(model > 0);
    const qlonglong changed = tests::copyOfHourRow(*m_store, model, cutOff);
    const qlonglong redated = tests::copyOfHourRow(*m_store, model, cutOff);
    const qlonglong deleted = tests::copyOfHourRow(*m_store, model, cutOff);
    const QDate later = cutOff.addDays(10);
    const int due = m_store->count(QStringLiteral("HORAS"), QStringLiteral("AreId='DOC' AND HorFecha <= ?"), {cutOff});

    Driver edit({QStringLiteral("edit"), QString::number(changed), QStringLiteral("9,75")});
    Driver redate({QStringLiteral("edit"), QString::number(redated), QStringLiteral("4,5"), later.toString(Qt::ISODate)});
    Driver remove({QStringLiteral("delete"), QString::number(deleted)});
    for (Driver *d : {&edit, &redate, &remove})
        QVERIFY2(d->waitFor(QStringLiteral("READY")), qPrintable(d->report()));

    QProcess locker;
    if (postgres) {
        const QString database = m_store->scalar(QStringLiteral("SELECT current_database()")).toString();
        locker.start(psqlPath(), {QStringLiteral("-h"), qEnvironmentVariable("TEMPALIA_PG_HOST"), QStringLiteral("-p"),
                                  qEnvironmentVariable("TEMPALIA_PG_PORT"), QStringLiteral("-U"),
                                  qEnvironmentVariable("TEMPALIA_PG_USER"), QStringLiteral("-d"), database,
                                  QStringLiteral("-qAt")});
        locker.write(QStringLiteral("BEGIN; SELECT count(*) FROM (SELECT HorId FROM HORAS WHERE AreId = 'DOC' AND "
                                    "HorFecha <= '%1' AND HorId NOT IN (%2, %3, %4) FOR KEY SHARE) l;\n")
                         .arg(cutOff.toString(Qt::ISODate))
                         .arg(changed)
                         .arg(redated)
                         .arg(deleted)
                         .toUtf8());
        QVERIFY(locker.waitForReadyRead(10000));
        QCOMPARE(locker.readLine().trimmed().toInt(), due - 3);
    } else {
        // Archiving the model row takes a few seconds.
        m_store->execNative(QStringLiteral("CREATE TABLE SLOW (x INTEGER)"));
        m_store->execNative(QStringLiteral("CREATE TABLE SLOWLOG (n INTEGER)"));
        QStringList twenty;
        for (int i = 1; i <= 20; ++i)
            twenty << QStringLiteral("(%1)").arg(i);
        m_store->execNative(QStringLiteral("INSERT INTO SLOW VALUES ") + twenty.join(QLatin1Char(',')));
        m_store->execNative(QStringLiteral("INSERT INTO SLOW SELECT a.x * 20 + b.x FROM SLOW a, SLOW b"));
        m_store->execNative(QStringLiteral("CREATE TRIGGER SLOW_ARCHIVE AFTER INSERT ON HHORAS WHEN NEW.HorId = %1 "
                                           "BEGIN INSERT INTO SLOWLOG SELECT count(*) FROM SLOW a, SLOW b, SLOW c "
                                           "WHERE a.x + b.x > c.x; END")
                                .arg(model));
        QCOMPARE(m_store->count(QStringLiteral("sqlite_master"), QStringLiteral("type = 'trigger' AND name = 'SLOW_ARCHIVE'")), 1);
        QCOMPARE(m_store->count(QStringLiteral("SLOW")), 420);
    }

    Driver chief({QStringLiteral("close"), QString::number(closeId), QStringLiteral("DOC"), QStringLiteral("22222222")});
    // The close is under way: waiting on the lock after its copy (PostgreSQL), holding the
    // file's write lock (SQLite).
    QElapsedTimer waited;
    waited.start();
    bool underWay = false;
    while (!underWay && waited.elapsed() < 60000 && chief.countOf(QStringLiteral("DONE")) == 0) {
        if (postgres)
            underWay = m_store
                           ->scalar(QStringLiteral("SELECT count(*) FROM pg_stat_activity WHERE wait_event_type = "
                                                   "'Lock' AND (query LIKE 'DELETE%HORAS%' OR query LIKE "
                                                   "'%tempalia_cierre_mover%')"))
                           .toInt() > 0;
        else
            underWay = sqliteWriteLocked();
        if (!underWay)
            QTest::qWait(20);
    }
    QVERIFY2(underWay, qPrintable(QStringLiteral("the close was never seen under way\n") + chief.report()));

    for (Driver *d : {&edit, &redate, &remove})
        d->go();
    for (Driver *d : {&edit, &redate, &remove})
        QVERIFY2(d->waitFor(QStringLiteral("PRESSING")), qPrintable(d->report()));
    if (postgres) {
        // The three rows are not the close's yet: their changes commit while it waits.
        for (Driver *d : {&edit, &redate, &remove})
            QVERIFY2(d->waitFor(QStringLiteral("DONE"), 30000), qPrintable(d->report()));
    }
    QVERIFY2(chief.countOf(QStringLiteral("DONE")) == 0,
             qPrintable(QStringLiteral("the close ended before the users pressed: no overlap\n") + chief.report()));
    if (postgres) {
        locker.write("COMMIT;\n");
        locker.closeWriteChannel();
        QVERIFY(locker.waitForFinished(10000));
    }
    QVERIFY2(chief.finish(), qPrintable(chief.report()));
    QVERIFY2(chief.lines().contains(QStringLiteral("CLOSED")), qPrintable(chief.report()));
    for (Driver *d : {&edit, &redate, &remove})
        QVERIFY2(d->finish(), qPrintable(d->report()));

    const auto rows = hourRows(*m_store);
    auto tableOf = [&](qlonglong id) {
        const QList<StoredRow> found = rows.values(id);
        return found.size() == 1 ? found.front().table : QStringLiteral("%1 times").arg(found.size());
    };
    // Each change either went through (and then the store holds it) or was refused in
    // Spanish with the window still holding what was typed.
    auto refused = [](Driver &d, const QString &typed) {
        const QStringList errors = d.linesStarting(QStringLiteral("ERROR"));
        if (errors.size() != 1)
            return false;
        const bool spanish = errors.front().contains(QStringLiteral("ya no existe")) ||
                             errors.front().contains(QStringLiteral("ocupada por otro usuario"));
        return spanish && (typed.isEmpty() || d.linesStarting(QStringLiteral("WINDOW")) ==
                                                   QStringList{QStringLiteral("WINDOW open ") + typed});
    };
    const bool editSaved = !edit.linesStarting(QStringLiteral("SAVED")).isEmpty();
    const bool redateSaved = !redate.linesStarting(QStringLiteral("SAVED")).isEmpty();
    const bool removeDone = !remove.linesStarting(QStringLiteral("DELETED")).isEmpty();
    QVERIFY2(editSaved || refused(edit, QStringLiteral("9,75")), qPrintable(edit.report()));
    QVERIFY2(redateSaved || refused(redate, QStringLiteral("4,5")), qPrintable(redate.report()));
    QVERIFY2(removeDone || refused(remove, {}), qPrintable(remove.report()));
    if (postgres)  // the three committed while the close waited
        QVERIFY(editSaved && redateSaved && removeDone);

    QCOMPARE(tableOf(changed), QStringLiteral("HHORAS"));
    QCOMPARE(rows.value(changed).hours, editSaved ? 9.75 : 3.0);
    if (redateSaved) {
        QCOMPARE(tableOf(redated), QStringLiteral("HORAS"));
        QCOMPARE(rows.value(redated).date, later);
        QCOMPARE(rows.value(redated).hours, 4.5);
    } else {
        QCOMPARE(tableOf(redated), QStringLiteral("HHORAS"));
        QCOMPARE(rows.value(redated).date, cutOff);
    }
    QCOMPARE(rows.count(deleted), removeDone ? 0 : 1);
    QCOMPARE(m_store->scalar(QStringLiteral("SELECT COUNT(*) FROM HORAS H WHERE EXISTS (SELECT 1 FROM HHORAS A WHERE "
                                            "A.HorId = H.HorId)")).toInt(), 0);
    QCOMPARE(m_store->count(QStringLiteral("HORAS"), QStringLiteral("AreId='DOC' AND HorFecha <= ?"), {cutOff}), 0);
    QCOMPARE(m_store->scalar(QStringLiteral("SELECT CieMesCerrado FROM CIERREMESES WHERE CieMesId = ?"), {closeId}).toBool(),
             true);
    Q_UNUSED(due);
}

// Two users change the same entry: the one who saves first wins, the second gets the
// conflict message and keeps what was typed.
void TestConcurrency::conflictingEdits()
{
    const qlonglong horId = m_store
                                ->scalar(QStringLiteral("SELECT MIN(HorId) FROM HORAS WHERE FunCedula='11111111' AND "
                                                        "ActId='CLA'"))
                                .toLongLong();
    QVERIFY(horId > 0);
    Driver first({QStringLiteral("edit"), QString::number(horId), QStringLiteral("7,5")});
    Driver second({QStringLiteral("edit"), QString::number(horId), QStringLiteral("9,25")});
    QVERIFY2(first.waitFor(QStringLiteral("READY")), qPrintable(first.report()));
    QVERIFY2(second.waitFor(QStringLiteral("READY")), qPrintable(second.report()));
    first.go();
    QVERIFY2(first.finish(), qPrintable(first.report()));
    second.go();
    QVERIFY2(second.finish(), qPrintable(second.report()));

    QCOMPARE(first.linesStarting(QStringLiteral("SAVED")).size(), 1);
    QCOMPARE(first.linesStarting(QStringLiteral("WINDOW")), QStringList{QStringLiteral("WINDOW closed")});
    const QStringList refused = second.linesStarting(QStringLiteral("ERROR"));
    QCOMPARE(refused.size(), 1);
    QVERIFY2(refused.front().contains(QStringLiteral("Otro usuario modificó este registro")), qPrintable(refused.front()));
    QCOMPARE(second.linesStarting(QStringLiteral("WINDOW")), QStringList{QStringLiteral("WINDOW open 9,25")});
    QCOMPARE(m_store->scalar(QStringLiteral("SELECT HorHoras FROM HORAS WHERE HorId = ?"), {horId}).toDouble(), 7.5);
    QCOMPARE(m_store->count(QStringLiteral("HORAS_RUBROS_MATERIAS"), QStringLiteral("HorId = ?"), {horId}), 1);
    // One change in the history, the one that was stored, with its editor's login.
    const auto changes = m_store->selectNative(
        QStringLiteral("SELECT HisLogin, HisDespues FROM HORAS_HISTORIAL WHERE HorId = ? AND HisTipo = 'Cambio'"), {horId});
    QCOMPARE(int(changes.rows.size()), 1);
    QCOMPARE(changes.rows.front().value(0).toString(), QStringLiteral("d11111111"));
    QVERIFY2(changes.rows.front().value(1).toString().contains(QLatin1String("7.5")),
             qPrintable(changes.rows.front().value(1).toString()));
}

// Two administrators save a new area under the same key at the same moment: one wins, the
// other is told the store's refusal and keeps the window with the row. The test holds the
// store's write lock until both have pressed "Guardar", so the two saves overlap for sure.
void TestConcurrency::administratorsSaveSameKey()
{
    Driver a({QStringLiteral("area"), QStringLiteral("NUE"), QStringLiteral("Primera")});
    Driver b({QStringLiteral("area"), QStringLiteral("NUE"), QStringLiteral("Segunda")});
    QVERIFY2(a.waitFor(QStringLiteral("READY")), qPrintable(a.report()));
    QVERIFY2(b.waitFor(QStringLiteral("READY")), qPrintable(b.report()));
    const bool postgres = m_store->backend() == store::Backend::PostgreSQL;
    m_store->conn().beginTransaction();
    auto release = qScopeGuard([&] {
        if (m_store->conn().inTransaction())
            m_store->conn().rollback();
    });
    m_store->execNative(postgres ? QStringLiteral("LOCK TABLE AREAS IN EXCLUSIVE MODE")
                                 : QStringLiteral("UPDATE AREAS SET AreDescripcion = AreDescripcion WHERE AreId = 'DOC'"));
    a.go();
    b.go();
    QVERIFY2(a.waitFor(QStringLiteral("PRESSING")), qPrintable(a.report()));
    QVERIFY2(b.waitFor(QStringLiteral("PRESSING")), qPrintable(b.report()));
    if (postgres) {
        // Both inserts are at the server, waiting for the test's lock.
        QTRY_COMPARE_WITH_TIMEOUT(m_store->scalar(QStringLiteral("SELECT COUNT(*) FROM pg_stat_activity WHERE "
                                                                 "wait_event_type = 'Lock' AND datname = current_database()")).toInt(),
                                  2, 30000);
    }
    // Neither save could end while the lock was held (SQLite: the writers wait out the busy
    // timeout, which the release comes well before).
    QCOMPARE(a.countOf(QStringLiteral("SAVED")) + a.countOf(QStringLiteral("ERROR")) +
                 b.countOf(QStringLiteral("SAVED")) + b.countOf(QStringLiteral("ERROR")),
             0);
    m_store->conn().rollback();
    QVERIFY2(a.finish(), qPrintable(a.report()));
    QVERIFY2(b.finish(), qPrintable(b.report()));

    const bool aWon = !a.linesStarting(QStringLiteral("SAVED")).isEmpty();
    Driver &winner = aWon ? a : b;
    Driver &loser = aWon ? b : a;
    QCOMPARE(winner.linesStarting(QStringLiteral("SAVED")).size(), 1);
    QCOMPARE(winner.linesStarting(QStringLiteral("WINDOW")), QStringList{QStringLiteral("WINDOW browsing")});
    const QStringList refused = loser.linesStarting(QStringLiteral("ERROR"));
    QCOMPARE(refused.size(), 1);
    QVERIFY2(refused.front().contains(QStringLiteral("Ya existe un registro con esa clave.")), qPrintable(refused.front()));
    QCOMPARE(loser.linesStarting(QStringLiteral("WINDOW")), QStringList{QStringLiteral("WINDOW open NUE")});
    QCOMPARE(m_store->count(QStringLiteral("AREAS"), QStringLiteral("AreId = 'NUE'")), 1);
    QCOMPARE(m_store->scalar(QStringLiteral("SELECT AreDescripcion FROM AREAS WHERE AreId = 'NUE'")).toString(),
             aWon ? QStringLiteral("Primera") : QStringLiteral("Segunda"));
}

TEMPALIA_TEST_MAIN(TestConcurrency)
#include "tst_concurrency.moc"

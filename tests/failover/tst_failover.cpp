// The store on a primary with a synchronous standby (scripts/ha-cluster, started by CTest
// before this test and always stopped after it). Four users enter hours and a chief closes
// the month while the primary is lost the hard way: every entry a user saw saved is on the
// new primary exactly once, no row is in both HORAS and HHORAS, the close is all or nothing
// and the chief finishes it in the same tab. A standby is never written to.
#include "Reliability.h"
#include "ScriptedDialogs.h"
#include "store/StoreError.h"
#include "ui/Application.h"

#include <QDateTime>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <unistd.h>

using namespace reliability;

namespace {

const QString kHaScript = QStringLiteral(TEMPALIA_HA_SCRIPT);
const QString kLost = QStringLiteral("Se perdió la conexión");
const QString kReadOnly = QStringLiteral("Solo responde un servidor de reserva, de solo lectura");
// What an action met while the primary was being replaced: the connection lost under it
// (and perhaps opened again at once on the new primary), only the standby answering, or
// no server at all.
const QStringList kOutage{kLost, kReadOnly, QStringLiteral("No se pudo conectar con el servidor")};

QString haDir()
{
    return qEnvironmentVariable("TEMPALIA_HA_DIR");
}

// A setting of the cluster's own data source, as scripts/ha-cluster wrote it.
QString clusterValue(const char *key)
{
    const QSettings dsn(haDir() + QStringLiteral("/odbc/odbc.ini"), QSettings::IniFormat);
    // A comma-separated value reads as a list.
    return dsn.value(QStringLiteral("RRHHODBC/") + QLatin1String(key)).toStringList().join(QLatin1Char(','));
}

// The test's store is a database of its own on the cluster, reached through both nodes.
bool pointAtCluster()
{
    if (haDir().isEmpty() || !QFile::exists(haDir() + QStringLiteral("/odbc/odbc.ini")))
        return false;
    qputenv("TEMPALIA_PG_HOST", clusterValue("Servername").toUtf8());
    qputenv("TEMPALIA_PG_PORT", clusterValue("Port").toUtf8());
    qputenv("TEMPALIA_PG_USER", clusterValue("Username").toUtf8());
    qputenv("TEMPALIA_PG_DB", "postgres");
    return true;
}

// scripts/ha-cluster with its arguments; its output, or a null string when it failed.
QString ha(const QStringList &args, int ms = 300000)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    p.start(kHaScript, args);
    if (!p.waitForFinished(ms) || p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0)
        return {};
    const QString out = QString::fromUtf8(p.readAllStandardOutput()).trimmed();
    return out.isNull() ? QStringLiteral("") : out;
}

QVariant scalarOn(store::Connection &conn, const QString &sql, const QVariantList &values = {})
{
    const store::ResultSet rs = conn.selectNative(sql, values);
    return rs.rows.empty() ? QVariant() : rs.rows.front().value(0);
}

// The address of the node a connection is on.
QString serverOf(store::Connection &conn)
{
    return scalarOn(conn, QStringLiteral("SELECT host(inet_server_addr())")).toString();
}

qint64 confirmedAt(const QString &okLine)
{
    return okLine.split(QLatin1Char(' ')).value(9).toLongLong();
}

}  // namespace

class TestFailover : public QObject {
    Q_OBJECT
private slots:
    void primaryLostDuringWork();
    void standbyRefusesWrites_data();
    void standbyRefusesWrites();
    void writeCutOffIsNotRepeated();
};

void TestFailover::primaryLostDuringWork()
{
    tests::TempStore db;
    QCOMPARE(db.backend(), store::Backend::PostgreSQL);
    const QString database = scalarOn(db.conn(), QStringLiteral("SELECT current_database()")).toString();
    const QString primaryBefore = serverOf(db.conn());

    const int n = processes();
    QStringList cedulas;
    for (int p = 0; p < n; ++p) {
        cedulas << staffCedula(p);
        addStaff(db, cedulas.last());
    }
    // Entries run from five days before the cut-off on, four a day: the close has some of
    // the users' rows to move as well as the demo rows of the area.
    const QDate cutOff = QDate::currentDate();
    const QDate first = cutOff.addDays(-5);
    db.execNative(QStringLiteral("INSERT INTO CIERREMESES (FunCedula, AreId, CieMesMesCierre, CieMesAnioCierre, "
                                 "CieMesFechaActual, CieMesFechaCierre, CieMesAprobado, CieMesDesaprobado, "
                                 "CieMesCerrado) VALUES ('22222222', 'DOC', ?, ?, ?, ?, ?, ?, ?)"),
                  {cutOff.month(), cutOff.year(), cutOff, cutOff, true, false, false});
    const qlonglong closeId = db.scalar(QStringLiteral("SELECT MAX(CieMesId) FROM CIERREMESES")).toLongLong();
    const int archivedBefore = db.count(QStringLiteral("HHORAS"));

    QTemporaryDir work;
    const QString stopFile = work.path() + QStringLiteral("/stop");
    std::vector<std::unique_ptr<Driver>> drivers;
    for (int p = 0; p < n; ++p)
        drivers.push_back(std::make_unique<Driver>(QStringList{QStringLiteral("entry"), cedulas[p],
                                                               QStringLiteral("100000"), first.toString(Qt::ISODate),
                                                               stopFile}));

    // Another session holds the archive, so the chief's close waits between its start and
    // its copy, inside its transaction, when the primary goes.
    QProcess locker;
    locker.start(QStringLiteral("psql"),
                 {QStringLiteral("-qAtX"), QStringLiteral("host=%1 port=%2 user=%3 dbname=%4 target_session_attrs=read-write")
                                               .arg(clusterValue("Servername"), clusterValue("Port"),
                                                    clusterValue("Username"), database)});
    locker.write("BEGIN; LOCK TABLE hhoras IN EXCLUSIVE MODE; SELECT 'locked';\n");
    QVERIFY(locker.waitForReadyRead(30000));
    QCOMPARE(locker.readLine().trimmed(), QByteArray("locked"));
    Driver chief({QStringLiteral("close"), QString::number(closeId), QStringLiteral("DOC"), QStringLiteral("22222222"),
                  QStringLiteral("again")});

    for (auto &d : drivers)
        QVERIFY2(d->waitFor(QStringLiteral("OK 4 "), 120000), qPrintable(d->report()));
    QElapsedTimer waiting;
    waiting.start();
    const QString closeWaits = QStringLiteral("SELECT COUNT(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock' "
                                              "AND (query ILIKE '%INSERT INTO HHORAS%' OR query ILIKE '%tempalia_cierre_mover%')");
    while (scalarOn(db.conn(), closeWaits).toInt() != 1 && waiting.elapsed() < 60000)
        QTest::qWait(100);
    QVERIFY2(scalarOn(db.conn(), closeWaits).toInt() == 1, qPrintable(chief.report()));

    // The primary is gone once the script returns: a save confirmed later is the new one's.
    const QString lost = ha({QStringLiteral("kill-primary")});
    const qint64 killedAt = QDateTime::currentMSecsSinceEpoch();
    QVERIFY2(!lost.isEmpty(), "the primary could not be stopped");
    locker.kill();
    locker.waitForFinished(5000);

    // Every user goes on and saves again, on the new primary.
    for (auto &d : drivers) {
        QElapsedTimer t;
        t.start();
        auto savedAfter = [&] {
            int count = 0;
            for (const QString &l : d->linesStarting(QStringLiteral("OK ")))
                count += confirmedAt(l) > killedAt;
            return count;
        };
        while (savedAfter() < 3 && t.elapsed() < 180000 && d->countOf(QStringLiteral("DONE")) == 0)
            QTest::qWait(200);
        QVERIFY2(savedAfter() >= 3, qPrintable(d->report()));
    }
    QFile(stopFile).open(QIODevice::WriteOnly);
    QList<Entry> all;
    qint64 firstSave = 0;
    int cutOffActions = 0;
    QHash<QString, QSet<int>> failedEntries;  // per cedula, the entries whose save was cut off
    for (int p = 0; p < n; ++p) {
        Driver &d = *drivers[p];
        QVERIFY2(d.finish(120000), qPrintable(d.report()));
        all += entriesOf(d.lines(), cedulas[p]);
        for (const QString &l : d.linesStarting(QStringLiteral("OK "))) {
            if (confirmedAt(l) > killedAt && (firstSave == 0 || confirmedAt(l) < firstSave))
                firstSave = confirmedAt(l);
        }
        for (const QString &l : d.linesStarting(QStringLiteral("ERROR "))) {
            ++cutOffActions;
            failedEntries[cedulas[p]].insert(l.split(QLatin1Char(' ')).value(1).toInt());
            // One box per action that failed, that says in Spanish what happened.
            const QStringList boxes = l.section(QLatin1Char(' '), 2).split(QStringLiteral(" | "));
            QVERIFY2(boxes.size() == 1, qPrintable(l));
            QVERIFY2(std::any_of(kOutage.cbegin(), kOutage.cend(), [&](const QString &m) { return l.contains(m); }),
                     qPrintable(l));
        }
    }
    QVERIFY2(cutOffActions > 0, "no action met the lost primary");
    qInfo("Primer guardado confirmado %lld ms después de perder el primario (%d acciones cortadas)",
          firstSave - killedAt, cutOffActions);

    // The close was cut off in the middle: it stored nothing, and says so once.
    QVERIFY2(chief.waitFor(QStringLiteral("AGAIN"), 60000), qPrintable(chief.report()));
    const QString closeError = chief.linesStarting(QStringLiteral("ERROR")).value(0);
    QVERIFY2(closeError.contains(kLost), qPrintable(chief.report()));
    std::shared_ptr<store::Connection> check = store::Connection::open();
    QVERIFY(serverOf(*check) != primaryBefore);
    QCOMPARE(scalarOn(*check, QStringLiteral("SELECT COUNT(*) FROM HHORAS")).toInt(), archivedBefore);
    QCOMPARE(scalarOn(*check, QStringLiteral("SELECT COUNT(*) FROM CIERREMESES WHERE CieMesId = ? AND CieMesCerrado"),
                      {closeId})
                 .toInt(),
             0);

    // The chief presses again in the same tab, now on the new primary.
    for (int tries = 0; tries < 3 && chief.countOf(QStringLiteral("CLOSED")) == 0; ++tries) {
        const int again = chief.countOf(QStringLiteral("AGAIN"));
        chief.go();
        QElapsedTimer t;
        t.start();
        while (chief.countOf(QStringLiteral("CLOSED")) == 0 && chief.countOf(QStringLiteral("AGAIN")) == again &&
               t.elapsed() < 60000)
            QTest::qWait(100);
    }
    QVERIFY2(chief.countOf(QStringLiteral("CLOSED")) == 1, qPrintable(chief.report()));
    chief.finish(30000);
    QCOMPARE(scalarOn(*check, QStringLiteral("SELECT COUNT(*) FROM CIERREMESES WHERE CieMesId = ? AND CieMesCerrado"),
                      {closeId})
                 .toInt(),
             1);
    QCOMPARE(scalarOn(*check, QStringLiteral("SELECT COUNT(*) FROM HORAS WHERE AreId = 'DOC' AND HorFecha <= ?"), {cutOff})
                 .toInt(),
             0);

    // What a user saw saved is there once; what was cut off is there at most once.
    QHash<QString, QSet<int>> standing;
    const QString problems = checkEntries(*check, all, cedulas, [&](const StoredRow &r) {
        const int i = int(first.daysTo(r.date)) * 4 + int(qRound((r.hours - 1) * 4));
        if (!failedEntries.value(r.cedula).contains(i) || standing[r.cedula].contains(i))
            return false;
        standing[r.cedula].insert(i);
        return true;
    });
    QVERIFY2(problems.isEmpty(), qPrintable(problems));
    const auto rows = hourRows(*check);
    for (const qlonglong key : rows.uniqueKeys())
        QVERIFY2(rows.count(key) == 1, qPrintable(QStringLiteral("HorId %1 stands %2 times").arg(key).arg(rows.count(key))));
}

void TestFailover::standbyRefusesWrites_data()
{
    QTest::addColumn<bool>("readWriteOnly");  // the data source asks libpq for a node that takes writes
    QTest::newRow("data source asking for the primary") << true;
    QTest::newRow("data source without the option") << false;
}

// A data source that only reaches the standby: nothing is written, and the user is told in
// Spanish that only a read-only server answers.
void TestFailover::standbyRefusesWrites()
{
    QFETCH(bool, readWriteOnly);
    ha({QStringLiteral("rejoin")});  // the node lost above comes back as the standby
    QVERIFY2(!ha({QStringLiteral("wait-sync")}).isNull(), "the standby did not come back");
    tests::TempStore db;
    std::shared_ptr<store::Connection> primary = store::Connection::open();
    const QString primaryAddress = serverOf(*primary);
    QString standby;
    for (const QString &host : clusterValue("Servername").split(QLatin1Char(',')))
        if (host != primaryAddress)
            standby = host;
    QVERIFY(!standby.isEmpty());
    const QString database = scalarOn(*primary, QStringLiteral("SELECT current_database()")).toString();

    QTemporaryDir dir;
    QFile::copy(tests::testOdbcDir() + QStringLiteral("/odbcinst.ini"), dir.path() + QStringLiteral("/odbcinst.ini"));
    QFile ini(dir.path() + QStringLiteral("/odbc.ini"));
    QVERIFY(ini.open(QIODevice::WriteOnly));
    const QString dsn = QStringLiteral("[%1]\nDriver=PostgreSQL Unicode\nServername=%2\nPort=%3\nDatabase=%4\nUsername=%5\n")
                            .arg(QStringLiteral("%1"), standby, clusterValue("Port"), database, clusterValue("Username"));
    ini.write((dsn.arg(QStringLiteral("STANDBY_RW")) + QStringLiteral("pqopt=target_session_attrs=read-write\n\n") +
               dsn.arg(QStringLiteral("STANDBY_ANY")))
                  .toUtf8());
    ini.close();
    const QByteArray savedIni = qgetenv("ODBCINI");
    const QByteArray savedSys = qgetenv("ODBCSYSINI");
    qputenv("ODBCSYSINI", dir.path().toUtf8());
    qputenv("ODBCINI", ini.fileName().toUtf8());
    auto restore = qScopeGuard([&] {
        qputenv("ODBCINI", savedIni);
        qputenv("ODBCSYSINI", savedSys);
    });

    const int areas = scalarOn(*primary, QStringLiteral("SELECT COUNT(*) FROM AREAS")).toInt();
    QString message;
    try {
        std::shared_ptr<store::Connection> conn = store::Connection::open(readWriteOnly ? QStringLiteral("DSN=STANDBY_RW")
                                                                                                : QStringLiteral("DSN=STANDBY_ANY"));
        QVERIFY(!readWriteOnly);
        conn->executeNative(QStringLiteral("INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('RES', 'Reserva')"));
    } catch (const store::StoreError &e) {
        message = e.description();
    }
    QVERIFY2(message.contains(kReadOnly), qPrintable(message));
    QCOMPARE(scalarOn(*primary, QStringLiteral("SELECT COUNT(*) FROM AREAS")).toInt(), areas);
}

// The server ends a connection while a write goes out on it, and a server still answers: the
// write is not sent again (whether it got through is not known), a new connection is open
// at once, and the user is asked to repeat. The next write goes through on the same object.
void TestFailover::writeCutOffIsNotRepeated()
{
    tests::TempStore db;
    std::shared_ptr<store::Connection> conn = store::Connection::open();
    const int areas = db.count(QStringLiteral("AREAS"));
    QString message;
    // A connection idle for a while is probed before a write; the cut must fall on a fresh
    // one, so the three steps run back to back, again if the machine stalled between them.
    for (int attempt = 0; attempt < 5 && message.isEmpty(); ++attempt) {
        QElapsedTimer t;
        t.start();
        const int pid = scalarOn(*conn, QStringLiteral("SELECT pg_backend_pid()")).toInt();
        db.selectNative(QStringLiteral("SELECT pg_terminate_backend(?)"), {pid});
        try {
            conn->executeNative(QStringLiteral("INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('COR', 'Corte')"));
            QVERIFY2(t.elapsed() >= store::Connection::kIdleProbeMs, "a write on a dropped connection went through");
            db.execNative(QStringLiteral("DELETE FROM AREAS WHERE AreId = 'COR'"));
        } catch (const store::StoreError &e) {
            message = e.description();
        }
    }
    QVERIFY2(message.startsWith(QStringLiteral("Se perdió la conexión con la base de datos; se reconectó al servidor "
                                               "disponible. Repita la operación.")),
             qPrintable(message));
    QCOMPARE(db.count(QStringLiteral("AREAS")), areas);
    conn->executeNative(QStringLiteral("INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('COR', 'Corte')"));
    QCOMPARE(db.count(QStringLiteral("AREAS")), areas + 1);
}

int main(int argc, char *argv[])
{
    ui::Application app(argc, argv);
    if (!pointAtCluster()) {
        qCritical("No cluster: TEMPALIA_HA_DIR must name a folder where scripts/ha-cluster started one.");
        return 1;
    }
    tests::initTestProcess();
    int result;
    {
        TestFailover tc;
        result = QTest::qExec(&tc, argc, argv);
    }
    tests::finishTestProcess();
    return result;
}

#include "tst_failover.moc"

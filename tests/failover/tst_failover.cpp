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

using namespace Qt::StringLiterals;

using namespace reliability;

namespace {

const QString kHaScript = QStringLiteral(TEMPALIA_HA_SCRIPT);
const QString kLost = u"Se perdió la conexión"_s;
const QString kReadOnly = u"Solo responde un servidor de reserva, de solo lectura"_s;
// What an action met while the primary was being replaced: the connection lost under it
// (and perhaps opened again at once on the new primary), only the standby answering, or
// no server at all.
const QStringList kOutage{kLost, kReadOnly, u"No se pudo conectar con el servidor"_s};

QString haDir()
{
    return qEnvironmentVariable("TEMPALIA_HA_DIR");
}

// A setting of the cluster's own data source, as scripts/ha-cluster wrote it.
QString clusterValue(const char *key)
{
    const QSettings dsn(haDir() + u"/odbc/odbc.ini"_s, QSettings::IniFormat);
    // A comma-separated value reads as a list.
    return dsn.value(u"RRHHODBC/"_s + QLatin1String(key)).toStringList().join(u',');
}

// The test's store is a database of its own on the cluster, reached through both nodes.
bool pointAtCluster()
{
    if (haDir().isEmpty() || !QFile::exists(haDir() + u"/odbc/odbc.ini"_s))
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
    return out.isNull() ? u""_s : out;
}

QVariant scalarOn(store::Connection &conn, const QString &sql, const QVariantList &values = {})
{
    const store::ResultSet rs = conn.selectNative(sql, values);
    return rs.rows.empty() ? QVariant() : rs.rows.front().value(0);
}

// The address of the node a connection is on.
QString serverOf(store::Connection &conn)
{
    return scalarOn(conn, u"SELECT host(inet_server_addr())"_s).toString();
}

qint64 confirmedAt(const QString &okLine)
{
    return okLine.split(u' ').value(9).toLongLong();
}

}  // namespace

class TestFailover : public QObject {
    Q_OBJECT
private slots:

    void primaryLostDuringWork()
    {
        tests::TempStore db;
        QCOMPARE(db.backend(), store::Backend::PostgreSQL);
        const QString database = scalarOn(db.conn(), u"SELECT current_database()"_s).toString();
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
        const qlonglong closeId = approvedClose(db, cutOff);
        const int archivedBefore = db.count(u"HHORAS"_s);

        QTemporaryDir work;
        const QString stopFile = work.path() + u"/stop"_s;
        std::vector<std::unique_ptr<Driver>> drivers;
        for (int p = 0; p < n; ++p)
            drivers.push_back(std::make_unique<Driver>(
                QStringList{u"entry"_s, cedulas[p], u"100000"_s, first.toString(Qt::ISODate), stopFile}));

        // Another session holds the archive, so the chief's close waits between its start and
        // its copy, inside its transaction, when the primary goes.
        QProcess locker;
        locker.start(u"psql"_s, {u"-qAtX"_s, u"host=%1 port=%2 user=%3 dbname=%4 target_session_attrs=read-write"_s.arg(
                                                  clusterValue("Servername"), clusterValue("Port"), clusterValue("Username"),
                                                  database)});
        locker.write("BEGIN; LOCK TABLE hhoras IN EXCLUSIVE MODE; SELECT 'locked';\n");
        QVERIFY(locker.waitForReadyRead(30000));
        QCOMPARE(locker.readLine().trimmed(), QByteArray("locked"));
        Driver chief({u"close"_s, QString::number(closeId), u"DOC"_s, u"22222222"_s, u"again"_s});

        for (auto &d : drivers)
            DRIVER_WAIT(*d, u"OK 4 "_s, 120000);
        QElapsedTimer waiting;
        waiting.start();
        const QString closeWaits = u"SELECT COUNT(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock' AND (query "
                                   "ILIKE '%INSERT INTO HHORAS%' OR query ILIKE '%tempalia_cierre_mover%')"_s;
        while (scalarOn(db.conn(), closeWaits).toInt() != 1 && waiting.elapsed() < 60000)
            QTest::qWait(100);
        QVERIFY2(scalarOn(db.conn(), closeWaits).toInt() == 1, qPrintable(chief.report()));

        // The primary is gone once the script returns: a save confirmed later is the new one's.
        const QString lost = ha({u"kill-primary"_s});
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
                for (const QString &l : d->linesStarting(u"OK "_s))
                    count += confirmedAt(l) > killedAt;
                return count;
            };
            while (savedAfter() < 3 && t.elapsed() < 180000 && !d->has(u"DONE"_s))
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
            DRIVER_FINISH(d, 120000);
            all += entriesOf(d.lines(), cedulas[p]);
            for (const QString &l : d.linesStarting(u"OK "_s))
                if (confirmedAt(l) > killedAt && (firstSave == 0 || confirmedAt(l) < firstSave))
                    firstSave = confirmedAt(l);
            for (const QString &l : d.linesStarting(u"ERROR "_s)) {
                ++cutOffActions;
                failedEntries[cedulas[p]].insert(l.split(u' ').value(1).toInt());
                // One box per action that failed, that says in Spanish what happened.
                QVERIFY2(l.section(u' ', 2).split(u" | "_s).size() == 1 &&
                             std::any_of(kOutage.cbegin(), kOutage.cend(), [&](const QString &m) { return l.contains(m); }),
                         qPrintable(l));
            }
        }
        QVERIFY2(cutOffActions > 0, "no action met the lost primary");
        qInfo("Primer guardado confirmado %lld ms después de perder el primario (%d acciones cortadas)",
              firstSave - killedAt, cutOffActions);

        // The close was cut off in the middle: it stored nothing, and says so once.
        DRIVER_WAIT(chief, u"AGAIN"_s, 60000);
        QVERIFY2(chief.linesStarting(u"ERROR"_s).value(0).contains(kLost), qPrintable(chief.report()));
        std::shared_ptr<store::Connection> check = store::Connection::open();
        QVERIFY(serverOf(*check) != primaryBefore);
        QCOMPARE(scalarOn(*check, u"SELECT COUNT(*) FROM HHORAS"_s).toInt(), archivedBefore);
        const auto closed = [&] {
            return scalarOn(*check, u"SELECT COUNT(*) FROM CIERREMESES WHERE CieMesId = ? AND CieMesCerrado"_s, {closeId});
        };
        QCOMPARE(closed().toInt(), 0);

        // The chief presses again in the same tab, now on the new primary.
        for (int tries = 0; tries < 3 && !chief.has(u"CLOSED"_s); ++tries) {
            const int again = chief.countOf(u"AGAIN"_s);
            chief.go();
            QElapsedTimer t;
            t.start();
            while (!chief.has(u"CLOSED"_s) && chief.countOf(u"AGAIN"_s) == again && t.elapsed() < 60000)
                QTest::qWait(100);
        }
        QVERIFY2(chief.countOf(u"CLOSED"_s) == 1, qPrintable(chief.report()));
        chief.finish(30000);
        QCOMPARE(closed().toInt(), 1);
        QCOMPARE(scalarOn(*check, u"SELECT COUNT(*) FROM HORAS WHERE AreId = 'DOC' AND HorFecha <= ?"_s, {cutOff}).toInt(), 0);

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
            QVERIFY2(rows.count(key) == 1, qPrintable(u"HorId %1 stands %2 times"_s.arg(key).arg(rows.count(key))));
    }

    void standbyRefusesWrites_data()
    {
        QTest::addColumn<bool>("readWriteOnly");  // the data source asks libpq for a node that takes writes
        QTest::newRow("data source asking for the primary") << true;
        QTest::newRow("data source without the option") << false;
    }

    // A data source that only reaches the standby: nothing is written, and the user is told in
    // Spanish that only a read-only server answers.
    void standbyRefusesWrites()
    {
        QFETCH(bool, readWriteOnly);
        ha({u"rejoin"_s});  // the node lost above comes back as the standby
        QVERIFY2(!ha({u"wait-sync"_s}).isNull(), "the standby did not come back");
        tests::TempStore db;
        std::shared_ptr<store::Connection> primary = store::Connection::open();
        const QString primaryAddress = serverOf(*primary);
        QString standby;
        for (const QString &host : clusterValue("Servername").split(u','))
            if (host != primaryAddress)
                standby = host;
        QVERIFY(!standby.isEmpty());
        const QString database = scalarOn(*primary, u"SELECT current_database()"_s).toString();

        QTemporaryDir dir;
        QFile::copy(tests::testOdbcDir() + u"/odbcinst.ini"_s, dir.path() + u"/odbcinst.ini"_s);
        QFile ini(dir.path() + u"/odbc.ini"_s);
        QVERIFY(ini.open(QIODevice::WriteOnly));
        const QString dsn = u"[%1]\nDriver=PostgreSQL Unicode\nServername=%2\nPort=%3\nDatabase=%4\nUsername=%5\n"_s
                                .arg(u"%1"_s, standby, clusterValue("Port"), database, clusterValue("Username"));
        ini.write((dsn.arg(u"STANDBY_RW"_s) + u"pqopt=target_session_attrs=read-write\n\n"_s + dsn.arg(u"STANDBY_ANY"_s)).toUtf8());
        ini.close();
        const QByteArray savedIni = qgetenv("ODBCINI");
        const QByteArray savedSys = qgetenv("ODBCSYSINI");
        qputenv("ODBCSYSINI", dir.path().toUtf8());
        qputenv("ODBCINI", ini.fileName().toUtf8());
        auto restore = qScopeGuard([&] {
            qputenv("ODBCINI", savedIni);
            qputenv("ODBCSYSINI", savedSys);
        });

        const int areas = scalarOn(*primary, u"SELECT COUNT(*) FROM AREAS"_s).toInt();
        QString message;
        try {
            auto conn = store::Connection::open(readWriteOnly ? u"DSN=STANDBY_RW"_s : u"DSN=STANDBY_ANY"_s);
            QVERIFY(!readWriteOnly);
            conn->executeNative(u"INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('RES', 'Reserva')"_s);
        } catch (const store::StoreError &e) {
            message = e.description();
        }
        QVERIFY2(message.contains(kReadOnly), qPrintable(message));
        QCOMPARE(scalarOn(*primary, u"SELECT COUNT(*) FROM AREAS"_s).toInt(), areas);
    }

    // The server ends a connection while a write goes out on it, and a server still answers: the
    // write is not sent again (whether it got through is not known), a new connection is open
    // at once, and the user is asked to repeat. The next write goes through on the same object.
    void writeCutOffIsNotRepeated()
    {
        tests::TempStore db;
        std::shared_ptr<store::Connection> conn = store::Connection::open();
        const int areas = db.count(u"AREAS"_s);
        QString message;
        // A connection idle for a while is probed before a write; the cut must fall on a fresh
        // one, so the three steps run back to back, again if the machine stalled between them.
        for (int attempt = 0; attempt < 5 && message.isEmpty(); ++attempt) {
            QElapsedTimer t;
            t.start();
            const int pid = scalarOn(*conn, u"SELECT pg_backend_pid()"_s).toInt();
            db.selectNative(u"SELECT pg_terminate_backend(?)"_s, {pid});
            try {
                conn->executeNative(u"INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('COR', 'Corte')"_s);
                QVERIFY2(t.elapsed() >= store::Connection::kIdleProbeMs, "a write on a dropped connection went through");
                db.execNative(u"DELETE FROM AREAS WHERE AreId = 'COR'"_s);
            } catch (const store::StoreError &e) {
                message = e.description();
            }
        }
        QVERIFY2(message.startsWith(u"Se perdió la conexión con la base de datos; se reconectó al servidor disponible. "
                                    "Repita la operación."_s),
                 qPrintable(message));
        QCOMPARE(db.count(u"AREAS"_s), areas);
        conn->executeNative(u"INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('COR', 'Corte')"_s);
        QCOMPARE(db.count(u"AREAS"_s), areas + 1);
    }
};

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

// Faults a user meets: the SQLite file held by another process beyond the busy timeout and
// a data source that is no longer defined. Each ends in a message in Spanish, no crash, and
// a store in which every row is whole. (The server stopped: tst_serverstop.)
#include "FaultFixtures.h"

using namespace Qt::StringLiterals;

using namespace reliability;
using namespace faults;

class TestFaults : public QObject {
    Q_OBJECT
private slots:
    void init() { m_fixture.beginWithoutStore(); }

    void cleanup() { m_fixture.end(); }

    void sqliteLockedBeyondBusyTimeout_data()
    {
        QTest::addColumn<QString>("action");
        // Each row waits out the busy timeout (5 seconds).
        QTest::newRow("entry") << u"entry"_s;
        QTest::newRow("close") << u"close"_s;
        QTest::newRow("maintenance save") << u"maintenance"_s;
    }

    // Another process holds the file with BEGIN EXCLUSIVE longer than the busy timeout: the
    // write waits, then fails with a message; once the file is free the same window saves.
    void sqliteLockedBeyondBusyTimeout()
    {
        QFETCH(QString, action);
        if (tests::testBackend() != store::Backend::SQLite)
            QSKIP("a fault of the SQLite file");
        m_fixture.openStore();
        tests::TempStore &db = m_fixture.store();
        const QDate cutOff = QDate::currentDate();
        const qlonglong closeId = approvedClose(db, cutOff);
        const int due = db.count(u"HORAS"_s, u"AreId='DOC' AND HorFecha <= ?"_s, {cutOff});
        const Census before = census(db);

        QProcess holder;
        holder.start(u"sqlite3"_s, {tests::testOdbcDir() + u"/rrhh.sqlite"_s});
        holder.write("BEGIN EXCLUSIVE;\nINSERT INTO DESTINOS (DesId, DesDescripcion) VALUES ('LCK', 'x');\n.print locked\n");
        QVERIFY(holder.waitForReadyRead(10000));
        QCOMPARE(holder.readLine().trimmed(), QByteArray("locked"));

        SaveUnderFault save(action, closeId, m_fixture.dialogs(), u"LCK"_s);
        QElapsedTimer waited;
        waited.start();
        save.press();
        QVERIFY2(waited.elapsed() >= store::Connection::kBusyTimeoutMs - 500, "the write gave up before the busy timeout");
        // One wait, not the engine's and the driver's one after the other.
        QVERIFY2(waited.elapsed() < store::Connection::kBusyTimeoutMs + 2500, qPrintable(QString::number(waited.elapsed())));
        QVERIFY(save.window() && save.window()->isVisible());
        const QStringList texts = save.failures();
        QVERIFY2(!texts.isEmpty() && texts.last().contains(kBusy), qPrintable(texts.join(u'|')));

        holder.closeWriteChannel();  // the CLI ends, and its transaction with it
        QVERIFY(holder.waitForFinished(10000));
        QCOMPARE(census(db), before);  // the refused write left nothing behind
        QCOMPARE(db.count(u"DESTINOS"_s, u"DesId='LCK'"_s), 0);

        m_fixture.dialogs().clearShown();
        save.press();
        QCOMPARE(save.failures(), QStringList());
        save.checkDone(before, census(db), due);
    }

    void dataSourceRemoved_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::newRow("login") << QStringList{u"login"_s, u"usuario"_s, u"usuario"_s};
        QTest::newRow("entry") << QStringList{u"entry"_s, u"11111111"_s, u"1"_s,
                                              u"2030-01-07"_s};
    }

    // A process whose odbc.ini no longer names RRHHODBC: a message that says so, no crash.
    void dataSourceRemoved()
    {
        QFETCH(QStringList, args);
        QTemporaryDir dir;
        QFile::copy(tests::testOdbcDir() + u"/odbcinst.ini"_s, dir.path() + u"/odbcinst.ini"_s);
        writeFile(dir.path() + u"/odbc.ini"_s,
                  u"[OTRA]\nDriver=SQLite3\nDatabase=%1/otra.sqlite\n\n"_s.arg(dir.path()));
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"ODBCSYSINI"_s, dir.path());
        env.insert(u"ODBCINI"_s, dir.path() + u"/odbc.ini"_s);
        Driver d(args, env);
        QVERIFY2(d.finish(), qPrintable(d.report()));
        const QStringList errors = d.linesStarting(u"ERROR"_s);
        QCOMPARE(errors.size(), 1);
        QVERIFY2(errors.front().contains(u"El origen de datos RRHHODBC no está definido"_s) &&
                     errors.front().contains(u"(código SQLSTATE IM002)"_s),
                 qPrintable(errors.front()));
    }

private:
    tests::WindowFixture m_fixture;
};

TEMPALIA_TEST_MAIN(TestFaults)
#include "tst_faults.moc"

// Faults a user meets: the SQLite file held by another process beyond the busy timeout and
// a data source that is no longer defined. Each ends in a message in Spanish, no crash, and
// a store in which every row is whole. (The server stopped: tst_serverstop.)
#include "FaultFixtures.h"

using namespace reliability;
using namespace faults;

class TestFaults : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void sqliteLockedBeyondBusyTimeout_data();
    void sqliteLockedBeyondBusyTimeout();
    void dataSourceRemoved_data();
    void dataSourceRemoved();

private:
    tests::WindowFixture m_fixture;
};

void TestFaults::init()
{
    m_fixture.beginWithoutStore();
}

void TestFaults::cleanup()
{
    m_fixture.end();
}

void TestFaults::sqliteLockedBeyondBusyTimeout_data()
{
    QTest::addColumn<QString>("action");
    // Each row waits out the busy timeout (5 seconds).
    QTest::newRow("entry") << QStringLiteral("entry");
    QTest::newRow("close") << QStringLiteral("close");
    QTest::newRow("maintenance save") << QStringLiteral("maintenance");
}

// Another process holds the file with BEGIN EXCLUSIVE longer than the busy timeout: the
// write waits, then fails with a message; once the file is free the same window saves.
void TestFaults::sqliteLockedBeyondBusyTimeout()
{
    QFETCH(QString, action);
    if (tests::testBackend() != store::Backend::SQLite)
        QSKIP("a fault of the SQLite file");
    m_fixture.openStore();
    tests::TempStore &db = m_fixture.store();
    const QDate cutOff = QDate::currentDate();
    const qlonglong closeId = approvedClose(db, cutOff);
    const int due = db.count(QStringLiteral("HORAS"), QStringLiteral("AreId='DOC' AND HorFecha <= ?"), {cutOff});
    const Census before = census(db);

    QProcess holder;
    holder.start(QStringLiteral("sqlite3"), {tests::testOdbcDir() + QStringLiteral("/rrhh.sqlite")});
    holder.write("BEGIN EXCLUSIVE;\nINSERT INTO DESTINOS (DesId, DesDescripcion) VALUES ('LCK', 'x');\n.print locked\n");
    QVERIFY(holder.waitForReadyRead(10000));
    QCOMPARE(holder.readLine().trimmed(), QByteArray("locked"));

    SaveUnderFault save(action, closeId, m_fixture.dialogs(), QStringLiteral("LCK"));
    QElapsedTimer waited;
    waited.start();
    save.press();
    QVERIFY2(waited.elapsed() >= store::Connection::kBusyTimeoutMs - 500, "the write gave up before the busy timeout");
    // One wait, not the engine's and the driver's one after the other.
    QVERIFY2(waited.elapsed() < store::Connection::kBusyTimeoutMs + 2500, qPrintable(QString::number(waited.elapsed())));
    QVERIFY(save.window() && save.window()->isVisible());
    const QStringList texts = save.failures();
    QVERIFY2(!texts.isEmpty() && texts.last().contains(kBusy), qPrintable(texts.join(QLatin1Char('|'))));

    holder.closeWriteChannel();  // the CLI ends, and its transaction with it
    QVERIFY(holder.waitForFinished(10000));
    QCOMPARE(census(db), before);  // the refused write left nothing behind
    QCOMPARE(db.count(QStringLiteral("DESTINOS"), QStringLiteral("DesId='LCK'")), 0);

    m_fixture.dialogs().clearShown();
    save.press();
    QCOMPARE(save.failures(), QStringList());
    save.checkDone(before, census(db), due);
}

void TestFaults::dataSourceRemoved_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::newRow("login") << QStringList{QStringLiteral("login"), QStringLiteral("usuario"), QStringLiteral("usuario")};
    QTest::newRow("entry") << QStringList{QStringLiteral("entry"), QStringLiteral("11111111"), QStringLiteral("1"),
                                          QStringLiteral("2030-01-07")};
}

// A process whose odbc.ini no longer names RRHHODBC: a message that says so, no crash.
void TestFaults::dataSourceRemoved()
{
    QFETCH(QStringList, args);
    QTemporaryDir dir;
    QFile::copy(tests::testOdbcDir() + QStringLiteral("/odbcinst.ini"), dir.path() + QStringLiteral("/odbcinst.ini"));
    writeFile(dir.path() + QStringLiteral("/odbc.ini"),
              QStringLiteral("[OTRA]\nDriver=SQLite3\nDatabase=%1/otra.sqlite\n\n").arg(dir.path()));
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("ODBCSYSINI"), dir.path());
    env.insert(QStringLiteral("ODBCINI"), dir.path() + QStringLiteral("/odbc.ini"));
    Driver d(args, env);
    QVERIFY2(d.finish(), qPrintable(d.report()));
    const QStringList errors = d.linesStarting(QStringLiteral("ERROR"));
    QCOMPARE(errors.size(), 1);
    QVERIFY2(errors.front().contains(QStringLiteral("El origen de datos RRHHODBC no está definido")) &&
                 errors.front().contains(QStringLiteral("(código SQLSTATE IM002)")),
             qPrintable(errors.front()));
}

TEMPALIA_TEST_MAIN(TestFaults)
#include "tst_faults.moc"

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
    void closeWindows();

    std::unique_ptr<tests::TempStore> m_store;
    std::unique_ptr<ScriptedDialogs> m_dialogs;
    std::unique_ptr<ScriptedDialogs::Install> m_installed;
};

void TestFaults::init()
{
    m_dialogs = std::make_unique<ScriptedDialogs>();
    m_installed = std::make_unique<ScriptedDialogs::Install>(*m_dialogs);
}

void TestFaults::closeWindows()
{
    if (auto *w = frmRegistroHoras::instance())
        w->close();
    for (QWidget *w : QApplication::topLevelWidgets())
        w->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void TestFaults::cleanup()
{
    closeWindows();
    m_installed.reset();
    m_dialogs.reset();
    m_store.reset();
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
    m_store = std::make_unique<tests::TempStore>();
    const qlonglong closeId = approvedClose(*m_store, QDate::currentDate());
    const Census before = census(*m_store);

    QProcess holder;
    holder.start(QStringLiteral("sqlite3"), {tests::testOdbcDir() + QStringLiteral("/rrhh.sqlite")});
    holder.write("BEGIN EXCLUSIVE;\nINSERT INTO DESTINOS (DesId, DesDescripcion) VALUES ('LCK', 'x');\n.print locked\n");
    QVERIFY(holder.waitForReadyRead(10000));
    QCOMPARE(holder.readLine().trimmed(), QByteArray("locked"));

    QPointer<QWidget> window;
    std::unique_ptr<CierreMesJefeArea> tab;
    std::function<void()> save;
    if (action == QLatin1String("entry")) {
        window = fillTeachingEntry(QDate(2030, 5, 6));
        save = [&] { QTest::mouseClick(child<QPushButton>(window, "cmdGuardar"), Qt::LeftButton); };
    } else if (action == QLatin1String("maintenance")) {
        auto *w = new frmMantAreas;
        w->show();
        window = w;
        child<QPushButton>(w, "cmdNuevo")->click();
        type(child<QLineEdit>(w, "txtCodigo"), QStringLiteral("LCK"));
        type(child<QLineEdit>(w, "txtDescripcion"), QStringLiteral("Bloqueada"));
        save = [&] { child<QPushButton>(window, "cmdGuardar")->click(); };
    } else {
        tab = chiefTabOn(closeId);
        window = tab.get();
        save = [&] {
            m_dialogs->answerNext(ui::Answer::Yes);
            child<QPushButton>(window, "cmdCerrar")->click();
        };
    }

    QElapsedTimer waited;
    waited.start();
    save();
    QVERIFY2(waited.elapsed() >= store::Connection::kBusyTimeoutMs - 500, "the write gave up before the busy timeout");
    // One wait, not the engine's and the driver's one after the other.
    QVERIFY2(waited.elapsed() < 2 * store::Connection::kBusyTimeoutMs, qPrintable(QString::number(waited.elapsed())));
    QVERIFY(window && window->isVisible());
    const QStringList texts = m_dialogs->texts();
    QVERIFY(!texts.isEmpty());
    QVERIFY2(texts.last().contains(kBusy), qPrintable(texts.join(QLatin1Char('|'))));

    holder.closeWriteChannel();  // the CLI ends, and its transaction with it
    QVERIFY(holder.waitForFinished(10000));
    QCOMPARE(census(*m_store), before);  // the refused write left nothing behind
    QCOMPARE(m_store->count(QStringLiteral("DESTINOS"), QStringLiteral("DesId='LCK'")), 0);

    m_dialogs->clearShown();
    save();
    QStringList after = m_dialogs->texts();
    if (action == QLatin1String("close"))
        after.removeFirst();  // the confirmation
    QCOMPARE(after, QStringList());
    const Census now = census(*m_store);
    QCOMPARE(now.inBoth, 0);
    QCOMPARE(now.orphanLinks, 0);
    if (action == QLatin1String("entry")) {
        QCOMPARE(now.horas, before.horas + 1);
        QCOMPARE(now.links, before.links + 1);
    } else if (action == QLatin1String("maintenance")) {
        QCOMPARE(now.areas, before.areas + 1);
    } else {
        QCOMPARE(now.closed, before.closed + 1);
        QVERIFY(now.hhoras > before.hhoras);
        QCOMPARE(now.horas + now.hhoras, before.horas + before.hhoras);
    }
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

// The PostgreSQL server stopped in the middle of a close, of an entry's two writes and of a
// maintenance save. Each ends in a message in Spanish, no crash, and, once the server is
// back, a store in which every row is whole; the window that failed can finish its work.
//
// The server stopped is a cluster of this test's own, started in a temporary folder before
// anything opens the data source: stopping the shared one would break the suites that run
// beside this one. The test runs once, whatever the backend of the run.
#include "FaultFixtures.h"
#include "store/ErrorReporter.h"
#include "ui/Dialogs.h"

using namespace Qt::StringLiterals;

using namespace reliability;
using namespace faults;

class TestServerStop : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        const QString sys = tests::testOdbcDir();
        m_cluster = std::make_unique<OwnCluster>();
        m_running = m_cluster->start();
        if (!m_running)
            return;
        m_odbc = std::make_unique<QTemporaryDir>();
        QFile::copy(sys + u"/odbcinst.ini"_s, m_odbc->path() + u"/odbcinst.ini"_s);
        writeFile(m_odbc->path() + u"/odbc.ini"_s, m_cluster->dsn());
        qputenv("ODBCSYSINI", m_odbc->path().toUtf8());
        qputenv("ODBCINI", (m_odbc->path() + u"/odbc.ini"_s).toUtf8());
    }

    void cleanupTestCase()
    {
        if (m_running)
            m_cluster->stop();
        m_cluster.reset();
    }

    void init()
    {
        if (!m_running)
            QSKIP("no PostgreSQL server binaries to start a cluster of our own");
        m_fixture.beginWithoutStore();
    }

    // Whatever happened, the next test finds the server running.
    void cleanup()
    {
        m_fixture.end();
        if (m_running)
            m_cluster->resume();
    }

    void serverStopped_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("lockedTable");  // held so that the action stops half-way
        QTest::newRow("close, between copy and delete") << u"close"_s << u"horas"_s;
        QTest::newRow("entry, between its two writes") << u"entry"_s << u"horas_rubros_materias"_s;
        QTest::newRow("maintenance save") << u"maintenance"_s << u"areas"_s;
    }

    // The server goes down while the action waits half-way (another session holds a lock on
    // the table of its next write): the user gets a message, the window stays, and once the
    // server is back every row is whole.
    void serverStopped()
    {
        QFETCH(QString, action);
        QFETCH(QString, lockedTable);
        OwnCluster &cluster = *m_cluster;
        m_fixture.openStore();
        tests::TempStore &db = m_fixture.store();
        QCOMPARE(db.backend(), store::Backend::PostgreSQL);
        const QDate cutOff = QDate::currentDate();
        const qlonglong closeId = approvedClose(db, cutOff);
        const Census before = census(db);
        const int due = db.count(u"HORAS"_s, u"AreId='DOC' AND HorFecha <= ?"_s, {cutOff});
        QVERIFY(due > 0);
        SaveUnderFault save(action, closeId, m_fixture.dialogs(), u"CAI"_s);

        QProcess locker;
        const QStringList psql = cluster.psql();
        locker.start(psql.first(), psql.mid(1));
        locker.write(u"BEGIN; LOCK TABLE %1 IN EXCLUSIVE MODE; SELECT 'locked';\n"_s.arg(lockedTable).toUtf8());
        QVERIFY(locker.waitForReadyRead(10000));
        QCOMPARE(locker.readLine().trimmed(), QByteArray("locked"));
        // The server is stopped only once the save waits for the lock, half-way through.
        QProcess stopper;
        const QStringList stop = cluster.stopOnceALockIsAwaited();
        stopper.start(stop.first(), stop.mid(1));
        QVERIFY(stopper.waitForStarted(10000));

        save.press();
        QVERIFY(stopper.waitForFinished(90000));
        QCOMPARE(stopper.readAllStandardOutput().trimmed(), QByteArray("overlap"));
        locker.closeWriteChannel();
        locker.waitForFinished(10000);
        QVERIFY(save.window() && save.window()->isVisible());
        const QStringList texts = save.failures();
        QVERIFY2(!texts.isEmpty(), "the failure was not shown");
        if (action == u"entry"_s) {
            // The row of HORAS went in before the server went down; the user is told that its
            // subject is missing.
            QVERIFY2(texts.last().contains(kLinkMissing), qPrintable(texts.join(u'|')));
        }
        // The server's own words (in Spanish) may or may not reach the client before it closes:
        // the loss is known without them.
        QVERIFY2(texts.first().contains(kLost), qPrintable(texts.join(u'|')));

        QVERIFY(cluster.resume());
        std::shared_ptr<store::Connection> check = store::Connection::open();
        auto checkScalar = [&](const QString &sql) {
            const store::ResultSet rs = check->selectNative(sql);
            return rs.rows.empty() ? QVariant() : rs.rows.front().value(0);
        };
        const Census now = census(checkScalar);
        QCOMPARE(now.inBoth, 0);
        QCOMPARE(now.orphanLinks, 0);
        QCOMPARE(now.closed, before.closed);
        QCOMPARE(now.hhoras, before.hhoras);  // the close was all or nothing
        QCOMPARE(now.areas, before.areas);
        QCOMPARE(now.links, before.links);
        QCOMPARE(now.horas, before.horas + (action == u"entry"_s ? 1 : 0));

        // With the server back, the same window finishes the work: the entry gets its subject,
        // the area is stored, the month is closed. Every connection of the window sat idle while
        // the server was away: each is found dropped before anything is sent on it and opened
        // again, so the first press works.
        m_fixture.dialogs().clearShown();
        save.press();
        QCOMPARE(save.failures(), QStringList());
        save.checkDone(before, census(checkScalar), due);
    }

    // A grid shows the first rows of a long list and reads further chunks when scrolled to.
    // The server stops before such a read: the user is told the connection was lost, nothing
    // crashes, and once the server is back the same grid reads on by itself.
    void serverStoppedDuringLazyRead()
    {
        OwnCluster &cluster = *m_cluster;
        m_fixture.openStore();
        tests::TempStore &db = m_fixture.store();
        // Enough rows that a refresh reads only the first of them.
        for (int i = 0; i < 3; ++i)
            db.execNative(u"INSERT INTO HORAS (FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, "
                                               "HorSemana, HorValorhora, HorHoras, HorCategoria, TipId, HorMoneda) SELECT "
                                               "FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, HorSemana, HorValorhora, "
                                               "HorHoras, HorCategoria, TipId, HorMoneda FROM HORAS"_s);
        const int total = db.count(u"HORAS"_s);
        auto grid = std::make_unique<ui::DataGrid>();
        store::DataControl adc(u"adcMesActual"_s);
        adc.setRecordSource(u"SELECT * FROM HORAS"_s);
        adc.refresh();
        grid->setDataSource(&adc);
        grid->show();
        QVERIFY(!adc.allFetched());
        QAbstractItemModel *model = adc.model();
        const int shown = model->rowCount();
        QVERIFY(shown < total);

        store::setErrorReporter([](const std::exception &e) { ui::showError(e); });
        auto noReporter = qScopeGuard([] { store::setErrorReporter({}); });
        m_fixture.dropStore();
        cluster.stop();
        model->fetchMore({});  // what the grid does when scrolled to its last row
        const QStringList texts = m_fixture.dialogs().texts();
        QCOMPARE(texts.size(), 1);
        QVERIFY2(texts.first().contains(kLost), qPrintable(texts.first()));
        QCOMPARE(model->rowCount(), shown);

        QVERIFY(cluster.resume());
        m_fixture.dialogs().clearShown();
        model->fetchMore({});
        QCOMPARE(m_fixture.dialogs().texts(), QStringList());
        QVERIFY(model->rowCount() > shown);  // the next chunk, not the whole rest
        QVERIFY(model->rowCount() < total);
        while (model->canFetchMore({}))
            model->fetchMore({});
        QCOMPARE(model->rowCount(), total);
    }

private:
    std::unique_ptr<OwnCluster> m_cluster;
    std::unique_ptr<QTemporaryDir> m_odbc;
    bool m_running = false;
    tests::WindowFixture m_fixture;
};

TEMPALIA_TEST_MAIN(TestServerStop)
#include "tst_serverstop.moc"

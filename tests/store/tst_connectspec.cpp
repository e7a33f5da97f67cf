// Reading a connect string: the three the system writes and the spellings that mean the same;
// and the reports' read-only connection, which cannot change the store.

#include "TempStore.h"
#include "store/Connection.h"
#include "store/DataControl.h"
#include "store/StoreError.h"
#include "ui/Application.h"

#include <QSqlQuery>
#include <QTest>

namespace {
const QString kReportsConnection = QStringLiteral(
    "PROVIDER=MSDataShape;DATA PROVIDER=MSDASQL;Persist Security Info=False;User ID=sa;Data Source=RRHHODBC;"
    "Mode=Read;");
}  // namespace

using store::ConnectSpec;

class TestConnectSpec : public QObject {
    Q_OBJECT

private slots:
    void parse_data()
    {
        QTest::addColumn<QString>("connectString");
        QTest::addColumn<QString>("dataSource");
        QTest::addColumn<bool>("shaping");
        QTest::addColumn<bool>("readOnly");
        QTest::addColumn<QString>("userId");

        QTest::newRow("data controls and the month close") << "DSN=RRHHODBC" << "RRHHODBC" << false << false << "";
        QTest::newRow("chart windows, shaping provider")
            << "PROVIDER=MSDataShape;dsn=RRHHODBC;uid=;pwd=;Data Provider=MSDASQL" << "RRHHODBC" << true << false
            << "";
        QTest::newRow("printed reports, read only")
            << "PROVIDER=MSDataShape;DATA PROVIDER=MSDASQL;Persist Security Info=False;User ID=sa;"
               "Data Source=RRHHODBC;Mode=Read;"
            << "RRHHODBC" << true << true << "sa";
        QTest::newRow("keys in any case, blanks around = and ;")
            << "  provider = msdatashape ;  DATA SOURCE =  RRHHODBC  ; mode = READ ; Uid = ana " << "RRHHODBC" << true
            << true << "ana";
        QTest::newRow("a bare data source name") << "  RRHHODBC " << "RRHHODBC" << false << false << "";
        QTest::newRow("empty parts and a key without value")
            << ";;DSN=RRHHODBC;;Trusted_Connection;" << "RRHHODBC" << false << false << "";
        QTest::newRow("the data provider is not the provider")
            << "Data Provider=MSDataShape;DSN=RRHHODBC" << "RRHHODBC" << false << false << "";
        QTest::newRow("read-write mode is not read only")
            << "DSN=RRHHODBC;Mode=ReadWrite" << "RRHHODBC" << false << false << "";
        QTest::newRow("another provider does not shape") << "Provider=MSDASQL;DSN=RRHHODBC" << "RRHHODBC" << false
                                                         << false << "";
        QTest::newRow("the last data source named counts") << "DSN=Otra;Data Source=RRHHODBC" << "RRHHODBC" << false
                                                           << false << "";
        QTest::newRow("a password with = in it is no data source")
            << "DSN=RRHHODBC;pwd=a=b" << "RRHHODBC" << false << false << "";
        QTest::newRow("no data source at all") << "Provider=MSDataShape;Mode=Read" << "" << true << true << "";
        QTest::newRow("empty") << "" << "" << false << false << "";
    }

    void parse()
    {
        QFETCH(QString, connectString);
        QFETCH(QString, dataSource);
        QFETCH(bool, shaping);
        QFETCH(bool, readOnly);
        QFETCH(QString, userId);

        const ConnectSpec spec = ConnectSpec::parse(connectString);
        QCOMPARE(spec.dataSource, dataSource);
        QCOMPARE(spec.shaping, shaping);
        QCOMPARE(spec.readOnly, readOnly);
        QCOMPARE(spec.userId, userId);
    }

    // Every way of writing through the reports' connection is refused with a Spanish
    // message, and the store is left as it was; the connection still reads.
    void readOnlyConnectionRefusesWrites_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("statement in the dialect") << "dialect";
        QTest::newRow("backend statement with values") << "native";
        QTest::newRow("data control on the connection") << "datacontrol";
    }

    void readOnlyConnectionRefusesWrites()
    {
        QFETCH(QString, how);
        tests::TempStore store;
        const int hours = store.count(QStringLiteral("HORAS"));
        const int areas = store.count(QStringLiteral("AREAS"));
        QVERIFY(hours > 0);
        const auto conn = store::Connection::open(kReportsConnection);
        QVERIFY(conn->spec().readOnly);
        try {
            if (how == QLatin1String("dialect")) {
                conn->execute(QStringLiteral("DELETE * FROM HORAS"));
            } else if (how == QLatin1String("native")) {
                conn->executeNative(QStringLiteral("INSERT INTO AREAS (AreId, AreDescripcion) VALUES (?, ?)"),
                                    {QStringLiteral("ZZ"), QStringLiteral("Nueva")});
            } else {
                store::DataControl adc(QStringLiteral("adcAreas"), nullptr, kReportsConnection);
                adc.setRecordSource(QStringLiteral("SELECT * FROM AREAS"));
                adc.refresh();
                adc.addNew();
                adc.setValue(QStringLiteral("AreId"), QStringLiteral("ZZ"));
                adc.setValue(QStringLiteral("AreDescripcion"), QStringLiteral("Nueva"));
                adc.update();
            }
            QFAIL("the write went through");
        } catch (const store::StoreError &e) {
            QVERIFY2(e.description().contains(QStringLiteral("solo lectura")), qPrintable(e.description()));
        }
        QCOMPARE(store.count(QStringLiteral("HORAS")), hours);
        QCOMPARE(store.count(QStringLiteral("AREAS")), areas);
        QCOMPARE(conn->select(QStringLiteral("SELECT COUNT(*) FROM HORAS")).rows.front().value(0).toInt(), hours);
    }

    // The store itself refuses, even for a statement that goes around the connection's check.
    void readOnlyConnectionIsReadOnlyInTheStore()
    {
        tests::TempStore store;
        const int areas = store.count(QStringLiteral("AREAS"));
        const auto conn = store::Connection::open(kReportsConnection);
        QSqlQuery q(conn->database());
        QVERIFY(!q.exec(QStringLiteral("DELETE FROM AREAS")));
        QCOMPARE(store.count(QStringLiteral("AREAS")), areas);
    }
};

TEMPALIA_TEST_MAIN(TestConnectSpec)
#include "tst_connectspec.moc"

// Reading a connect string: the three the system writes and the spellings that mean the same;
// and the reports' read-only connection, which cannot change the store.

#include "StoreTestHelpers.h"
#include "TempStore.h"
#include "store/Connection.h"
#include "store/DataControl.h"
#include "ui/Application.h"

#include <QSqlQuery>
#include <QTest>

using namespace Qt::StringLiterals;
using store::ConnectSpec;

namespace {
const QString kReportsConnection = u"PROVIDER=MSDataShape;DATA PROVIDER=MSDASQL;Persist Security Info=False;User ID=sa;"
                                   "Data Source=RRHHODBC;Mode=Read;"_s;
}  // namespace

class TestConnectSpec : public QObject {
    Q_OBJECT

private slots:
    void parse_data()
    {
        QTest::addColumn<QString>("connectString");
        QTest::addColumn<QString>("spec");  // data source, then "shaping", "read-only", "user=" as they hold
        QTest::newRow("data controls and the month close") << "DSN=RRHHODBC" << "RRHHODBC";
        QTest::newRow("chart windows, shaping provider")
            << "PROVIDER=MSDataShape;dsn=RRHHODBC;uid=;pwd=;Data Provider=MSDASQL" << "RRHHODBC shaping";
        QTest::newRow("printed reports, read only") << kReportsConnection << "RRHHODBC shaping read-only user=sa";
        QTest::newRow("keys in any case, blanks around = and ;")
            << "  provider = msdatashape ;  DATA SOURCE =  RRHHODBC  ; mode = READ ; Uid = ana "
            << "RRHHODBC shaping read-only user=ana";
        QTest::newRow("a bare data source name") << "  RRHHODBC " << "RRHHODBC";
        QTest::newRow("empty parts and a key without value") << ";;DSN=RRHHODBC;;Trusted_Connection;" << "RRHHODBC";
        QTest::newRow("the data provider is not the provider") << "Data Provider=MSDataShape;DSN=RRHHODBC" << "RRHHODBC";
        QTest::newRow("read-write mode is not read only") << "DSN=RRHHODBC;Mode=ReadWrite" << "RRHHODBC";
        QTest::newRow("another provider does not shape") << "Provider=MSDASQL;DSN=RRHHODBC" << "RRHHODBC";
        QTest::newRow("the last data source named counts") << "DSN=Otra;Data Source=RRHHODBC" << "RRHHODBC";
        QTest::newRow("a password with = in it is no data source") << "DSN=RRHHODBC;pwd=a=b" << "RRHHODBC";
        QTest::newRow("no data source at all") << "Provider=MSDataShape;Mode=Read" << " shaping read-only";
        QTest::newRow("empty") << "" << "";
    }

    void parse()
    {
        QFETCH(QString, connectString);
        QFETCH(QString, spec);
        const ConnectSpec s = ConnectSpec::parse(connectString);
        QString got = s.dataSource;
        if (s.shaping)
            got += u" shaping"_s;
        if (s.readOnly)
            got += u" read-only"_s;
        if (!s.userId.isEmpty())
            got += u" user="_s + s.userId;
        QCOMPARE(got, spec);
    }

    // Every way of writing through the reports' connection is refused with a Spanish
    // message, and the store is left as it was; the connection still reads. The store itself
    // refuses too, even a statement that goes around the connection's check.
    void readOnlyConnectionRefusesWrites_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("statement in the dialect") << "dialect";
        QTest::newRow("backend statement with values") << "native";
        QTest::newRow("data control on the connection") << "datacontrol";
        QTest::newRow("around the connection's check") << "around";
    }

    void readOnlyConnectionRefusesWrites()
    {
        QFETCH(QString, how);
        tests::TempStore store;
        const int hours = store.count(u"HORAS"_s);
        const int areas = store.count(u"AREAS"_s);
        QVERIFY(hours > 0);
        const auto conn = store::Connection::open(kReportsConnection);
        QVERIFY(conn->spec().readOnly);
        if (how == u"around"_s) {
            QVERIFY(!QSqlQuery(conn->database()).exec(u"DELETE FROM AREAS"_s));
        } else {
            const QString refusal = store_tests::errorOf([&] {
                if (how == u"dialect"_s) {
                    conn->execute(u"DELETE * FROM HORAS"_s);
                } else if (how == u"native"_s) {
                    conn->executeNative(u"INSERT INTO AREAS (AreId, AreDescripcion) VALUES (?, ?)"_s, {u"ZZ"_s, u"Nueva"_s});
                } else {
                    store::DataControl adc(u"adcAreas"_s, nullptr, kReportsConnection);
                    adc.setRecordSource(u"SELECT * FROM AREAS"_s);
                    adc.refresh();
                    adc.addNew();
                    adc.setValue(u"AreId"_s, u"ZZ"_s);
                    adc.setValue(u"AreDescripcion"_s, u"Nueva"_s);
                    adc.update();
                }
            }).description();
            QVERIFY2(refusal.contains(u"solo lectura"_s), qPrintable(refusal));
        }
        QCOMPARE(store.count(u"HORAS"_s), hours);
        QCOMPARE(store.count(u"AREAS"_s), areas);
        QCOMPARE(conn->select(u"SELECT COUNT(*) FROM HORAS"_s).rows.front().value(0).toInt(), hours);
    }
};

TEMPALIA_TEST_MAIN(TestConnectSpec)
#include "tst_connectspec.moc"

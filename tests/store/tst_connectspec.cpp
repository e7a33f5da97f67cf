// Reading a connect string: the three the system writes and the spellings that mean the same.

#include "store/Connection.h"

#include <QTest>

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
};

QTEST_GUILESS_MAIN(TestConnectSpec)
#include "tst_connectspec.moc"

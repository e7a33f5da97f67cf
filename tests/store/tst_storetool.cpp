// The store tool: tables on an empty store, refusal on a store that has them, demo rows
// and the first administrator.
#include "StoreTool.h"
#include "TempStore.h"
#include "session/Usuario.h"
#include "store/StoreError.h"
#include "store/StoreSetup.h"
#include "ui/Application.h"

#include <QTest>

class TestStoreTool : public QObject {
    Q_OBJECT
private slots:
    void createOnEmptyStore();
    void createRefusesExistingTables();
    void demoFillsEveryWindow();
    void firstAdministrator();
};

void TestStoreTool::createOnEmptyStore()
{
    tests::TempStore store(tests::TempStore::Content::Empty);
    QVERIFY(store::setup::existingTables(store.conn()).isEmpty());
    storetool::create(store.conn());
    QCOMPARE(store::setup::existingTables(store.conn()).size(), 18);
    const auto roles = store.selectNative(QStringLiteral("SELECT PerId, PerDescripcion FROM PERMISOS ORDER BY PerId"));
    QCOMPARE(int(roles.rows.size()), 4);
    QCOMPARE(roles.rows[0].value(1).toString(), QStringLiteral("Usuario común"));
    QCOMPARE(roles.rows[3].value(1).toString(), QStringLiteral("Súper usuario"));
    // HORAS keeps the fifteen columns in their order (the archive copies by position).
    const auto horas = store.selectNative(QStringLiteral("SELECT * FROM HORAS"));
    QCOMPARE(horas.columns.size(), 15);
    QCOMPARE(horas.columns.first().toLower(), QStringLiteral("horid"));
    QCOMPARE(horas.columns.last().toLower(), QStringLiteral("horhorariofinal"));
    const auto hhoras = store.selectNative(QStringLiteral("SELECT * FROM HHORAS"));
    QCOMPARE(hhoras.columns, horas.columns);
}

void TestStoreTool::createRefusesExistingTables()
{
    tests::TempStore store(tests::TempStore::Content::Demo);
    const int hours = store.count(QStringLiteral("HORAS"));
    QVERIFY_THROWS_EXCEPTION(store::StoreError, storetool::create(store.conn()));
    QCOMPARE(store.count(QStringLiteral("HORAS")), hours);
    QCOMPARE(store.count(QStringLiteral("PERMISOS")), 4);
}

void TestStoreTool::demoFillsEveryWindow()
{
    tests::TempStore store(tests::TempStore::Content::Demo);
    QCOMPARE(store.count(QStringLiteral("AREAS")), 3);
    QCOMPARE(store.count(QStringLiteral("INSTITUTOS")), 2);
    QVERIFY(store.count(QStringLiteral("FUNCIONARIOS")) >= 10);
    QVERIFY(store.count(QStringLiteral("HORAS")) > 0);
    QVERIFY(store.count(QStringLiteral("HHORAS")) > 0);
    QVERIFY(store.count(QStringLiteral("HORAS_RUBROS_MATERIAS")) > 0);
    QCOMPARE(store.count(QStringLiteral("TIPOHORAS"), QStringLiteral("TipPorcentaje = 1.5")), 1);
    QCOMPARE(store.count(QStringLiteral("FUNCIONARIOS_INSTITUTOS"), QStringLiteral("FunInsMoneda = 'Dolares'")), 1);
    QVERIFY(store.count(QStringLiteral("FUNCIONARIOS"), QStringLiteral("FunFacturador")) == 1 ||
            store.count(QStringLiteral("FUNCIONARIOS"), QStringLiteral("FunFacturador = 1")) == 1);
    // No hour row stands in both tables.
    QCOMPARE(store.count(QStringLiteral("HORAS"), QStringLiteral("HorId IN (SELECT HorId FROM HHORAS)")), 0);
    // Close requests in every state.
    const auto closes = store.select(QStringLiteral(
        "SELECT CIEMESAPROBADO, CIEMESDESAPROBADO, CIEMESCERRADO FROM CIERREMESES"));
    bool requested = false, denied = false, approved = false, closed = false;
    for (const auto &r : closes.rows) {
        const bool a = r.value(0).toBool(), d = r.value(1).toBool(), c = r.value(2).toBool();
        requested |= !a && !d && !c;
        denied |= d;
        approved |= a && !c;
        closed |= c;
    }
    QVERIFY(requested && denied && approved && closed);
    // Each demo login's password is the login itself, stored as a hash.
    for (const QString &login : {QStringLiteral("usuario"), QStringLiteral("jefe"), QStringLiteral("admin"),
                                QStringLiteral("super")}) {
        const QVariant stored =
            store.scalar(QStringLiteral("SELECT UsuPassword FROM USUARIOS WHERE UsuLogin = ?"), {login});
        QVERIFY(Usuario::isPasswordHash(stored.toString()));
        QCOMPARE(Usuario::checkPassword(login, stored), Usuario::PasswordCheck::Right);
    }
}

void TestStoreTool::firstAdministrator()
{
    tests::TempStore store(tests::TempStore::Content::Schema);
    storetool::admin(store.conn(), QStringLiteral("root"), QStringLiteral("s3creto"));
    const auto login = store.select(QStringLiteral(
        "SELECT * FROM USUARIOS U, FUNCIONARIOS_INSTITUTOS FI WHERE U.FUNCEDULA=FI.FUNCEDULA AND U.USULOGIN='root'"));
    QCOMPARE(int(login.rows.size()), 1);
    QCOMPARE(login.value(0, QStringLiteral("PerId")).toInt(), 7);
    QCOMPARE(Usuario::checkPassword(QStringLiteral("s3creto"), login.value(0, QStringLiteral("UsuPassword"))),
             Usuario::PasswordCheck::Right);
    // A second administrator with the same login is refused, nothing half-made stays.
    const int staff = store.count(QStringLiteral("FUNCIONARIOS"));
    QVERIFY_THROWS_EXCEPTION(store::StoreError,
                             storetool::admin(store.conn(), QStringLiteral("root"), QStringLiteral("x")));
    QCOMPARE(store.count(QStringLiteral("FUNCIONARIOS")), staff);
}

TEMPALIA_TEST_MAIN(TestStoreTool)
#include "tst_storetool.moc"

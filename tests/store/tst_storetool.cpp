// The store tool: tables on an empty store, refusal on a store that has them, demo rows
// and the first administrator.
#include "StoreTool.h"
#include "TempStore.h"
#include "session/Usuario.h"
#include "store/StoreError.h"
#include "store/StoreSetup.h"
#include "ui/Application.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestStoreTool : public QObject {
    Q_OBJECT
private slots:
    void createOnEmptyStore()
    {
        tests::TempStore store(tests::TempStore::Content::Empty);
        QVERIFY(store::setup::existingTables(store.conn()).isEmpty());
        storetool::create(store.conn());
        QCOMPARE(store::setup::existingTables(store.conn()).size(), 18);
        const auto roles = store.selectNative(u"SELECT PerId, PerDescripcion FROM PERMISOS ORDER BY PerId"_s);
        QCOMPARE(int(roles.rows.size()), 4);
        QCOMPARE(roles.rows[0].value(1).toString(), u"Usuario común"_s);
        QCOMPARE(roles.rows[3].value(1).toString(), u"Súper usuario"_s);
        // HORAS keeps the fifteen columns in their order (the archive copies by position).
        const auto horas = store.selectNative(u"SELECT * FROM HORAS"_s);
        QCOMPARE(horas.columns.size(), 15);
        QCOMPARE(horas.columns.first().toLower(), u"horid"_s);
        QCOMPARE(horas.columns.last().toLower(), u"horhorariofinal"_s);
        QCOMPARE(store.selectNative(u"SELECT * FROM HHORAS"_s).columns, horas.columns);
    }

    // The demo rows give every window something to show; create then refuses the store that
    // has its tables, changing nothing.
    void demoFillsEveryWindow()
    {
        tests::TempStore store(tests::TempStore::Content::Demo);
        const auto count = [&](const char *table, const char *where = "") {
            return store.count(QString::fromLatin1(table), QString::fromLatin1(where));
        };
        QCOMPARE(count("AREAS"), 3);
        QCOMPARE(count("INSTITUTOS"), 2);
        QVERIFY(count("FUNCIONARIOS") >= 10);
        QVERIFY(count("HORAS") > 0 && count("HHORAS") > 0 && count("HORAS_RUBROS_MATERIAS") > 0);
        QCOMPARE(count("TIPOHORAS", "TipPorcentaje = 1.5"), 1);
        QCOMPARE(count("FUNCIONARIOS_INSTITUTOS", "FunInsMoneda = 'Dolares'"), 1);
        QCOMPARE(int(store.select(u"SELECT FUNCEDULA FROM FUNCIONARIOS WHERE FUNFACTURADOR"_s).rows.size()), 1);
        QCOMPARE(count("HORAS", "HorId IN (SELECT HorId FROM HHORAS)"), 0);  // no hour row in both tables
        // Close requests in every state: requested, denied, approved, closed.
        for (const char *state : {"NOT CIEMESAPROBADO AND NOT CIEMESDESAPROBADO AND NOT CIEMESCERRADO", "CIEMESDESAPROBADO",
                                  "CIEMESAPROBADO AND NOT CIEMESCERRADO", "CIEMESCERRADO"})
            QVERIFY2(!store.select(u"SELECT * FROM CIERREMESES WHERE "_s + QLatin1String(state)).rows.empty(), state);
        // Each demo login's password is the login itself, stored as a hash.
        for (const QString &login : {u"usuario"_s, u"jefe"_s, u"admin"_s, u"super"_s}) {
            const QVariant stored = store.scalar(u"SELECT UsuPassword FROM USUARIOS WHERE UsuLogin = ?"_s, {login});
            QVERIFY(Usuario::isPasswordHash(stored.toString()));
            QCOMPARE(Usuario::checkPassword(login, stored), Usuario::PasswordCheck::Right);
        }

        const int hours = count("HORAS");
        QVERIFY_THROWS_EXCEPTION(store::StoreError, storetool::create(store.conn()));
        QCOMPARE(count("HORAS"), hours);
        QCOMPARE(count("PERMISOS"), 4);
    }

    void firstAdministrator()
    {
        tests::TempStore store(tests::TempStore::Content::Schema);
        storetool::admin(store.conn(), u"root"_s, u"s3creto"_s);
        const auto login = store.select(
            u"SELECT * FROM USUARIOS U, FUNCIONARIOS_INSTITUTOS FI WHERE U.FUNCEDULA=FI.FUNCEDULA AND U.USULOGIN='root'"_s);
        QCOMPARE(int(login.rows.size()), 1);
        QCOMPARE(login.value(0, u"PerId"_s).toInt(), 7);
        QCOMPARE(Usuario::checkPassword(u"s3creto"_s, login.value(0, u"UsuPassword"_s)), Usuario::PasswordCheck::Right);
        // A second administrator with the same login is refused, nothing half-made stays.
        const int staff = store.count(u"FUNCIONARIOS"_s);
        QVERIFY_THROWS_EXCEPTION(store::StoreError, storetool::admin(store.conn(), u"root"_s, u"x"_s));
        QCOMPARE(store.count(u"FUNCIONARIOS"_s), staff);
    }
};

TEMPALIA_TEST_MAIN(TestStoreTool)
#include "tst_storetool.moc"

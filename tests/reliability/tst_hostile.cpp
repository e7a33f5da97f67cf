// Hostile input typed into the windows: apostrophes, quotes, semicolons and SQL words in
// the boxes whose text goes into statements, 1,000-character pastes, non-numbers where
// numbers go, passwords the encoder cannot take, dates far in the past and the future.
// Each is stored as typed or refused with a message in Spanish; no statement changes shape
// (the tables and their other rows are untouched); nothing crashes.
#include "FaultFixtures.h"
#include "Session.h"
#include "admin/frmMantUsuarios.h"
#include "session/frmLogin.h"

#include <QPlainTextEdit>

using namespace reliability;
using namespace faults;

namespace {

// A message a user can read: Spanish words, not a bare number or the driver's English.
bool readable(const QString &text)
{
    static const QRegularExpression spanish(
        QStringLiteral("\\b(no|es|un|una|el|la|de|del|válid[oa]|número|fecha|texto|valor|clave|incorrect[oa])\\b"),
        QRegularExpression::CaseInsensitiveOption);
    return spanish.match(text).hasMatch();
}

const QString kThousand = QString(1000, QLatin1Char('x'));

}  // namespace

class TestHostile : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void catalogueTextStoredAsTyped_data();
    void catalogueTextStoredAsTyped();
    void closeTextsStoredAsTyped_data();
    void closeTextsStoredAsTyped();
    void nonNumbersInHours_data();
    void nonNumbersInHours();
    void passwordTheEncoderCannotTake_data();
    void passwordTheEncoderCannotTake();
    void farDates_data();
    void farDates();

private:
    tests::WindowFixture m_fixture;
};

void TestHostile::init()
{
    m_fixture.begin();
}

void TestHostile::cleanup()
{
    m_fixture.end();
}

void TestHostile::catalogueTextStoredAsTyped_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("storedCode");
    QTest::addColumn<QString>("storedDescription");
    QTest::newRow("apostrophes") << QStringLiteral("O'K") << QStringLiteral("Curso de O'Brien") << QStringLiteral("O'K")
                                 << QStringLiteral("Curso de O'Brien");
    QTest::newRow("quotes and semicolon") << QStringLiteral("\";\"") << QStringLiteral("x\"); DELETE FROM HORAS; --")
                                          << QStringLiteral("\";\"") << QStringLiteral("x\"); DELETE FROM HORAS; --");
    QTest::newRow("sql words") << QStringLiteral("OR") << QStringLiteral("SELECT * FROM HORAS UNION ALL")
                               << QStringLiteral("OR") << QStringLiteral("SELECT * FROM HORAS UNION ALL");
    // Pastes into limited boxes: the box keeps what fits.
    QTest::newRow("1000 characters") << kThousand << kThousand << QStringLiteral("xxxx") << QString(30, QLatin1Char('x'));
    QTest::newRow("non-Latin") << QStringLiteral("ΩЖ中") << QStringLiteral("Ελληνικά, русский, 中文")
                               << QStringLiteral("ΩЖ中") << QStringLiteral("Ελληνικά, русский, 中文");
}

void TestHostile::catalogueTextStoredAsTyped()
{
    QFETCH(QString, code);
    QFETCH(QString, description);
    QFETCH(QString, storedCode);
    QFETCH(QString, storedDescription);
    const Census before = census(m_fixture.store());
    auto *w = new frmMantAreas;
    w->show();
    child<QPushButton>(w, "cmdNuevo")->click();
    // A paste, as the user does it: the box takes what its length allows.
    child<QLineEdit>(w, "txtCodigo")->insert(code);
    child<QLineEdit>(w, "txtDescripcion")->insert(description);
    child<QPushButton>(w, "cmdGuardar")->click();
    QCOMPARE(m_fixture.dialogs().texts(), QStringList());
    QCOMPARE(m_fixture.store().scalar(QStringLiteral("SELECT AreDescripcion FROM AREAS WHERE AreId = ?"), {storedCode}).toString(),
             storedDescription);
    const Census after = census(m_fixture.store());
    QCOMPARE(after.areas, before.areas + 1);
    QCOMPARE(after.horas, before.horas);

    // The key then goes into the entry window's statements, quoted.
    m_fixture.store().execNative(QStringLiteral("INSERT INTO AREAS_ACTIVIDADES (AreId, ActId) VALUES (?, 'REU')"), {storedCode});
    frmRegistroHoras *entry = fillTeachingEntry(QDate(2030, 3, 4));
    auto *areas = child<ui::DataCombo>(entry, "dtcAreas");
    QVERIFY(areas->chooseText(storedDescription));
    QCOMPARE(child<ui::DataCombo>(entry, "dtcActividades")->count(), 1);
    QCOMPARE(m_fixture.dialogs().texts(), QStringList());
}

void TestHostile::closeTextsStoredAsTyped_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("comment");
    QTest::newRow("quotes, semicolons, sql") << QStringLiteral("C:\\horas\\O'Brien \"2024\"; DELETE * FROM HORAS")
                                             << QStringLiteral("it's'; DROP TABLE CIERREMESES; --");
    QTest::newRow("1000 characters") << kThousand << kThousand;
}

// The chief's request: the location and the comment stored as typed, or refused in
// Spanish with nothing stored.
void TestHostile::closeTextsStoredAsTyped()
{
    QFETCH(QString, path);
    QFETCH(QString, comment);
    const int before = m_fixture.store().count(QStringLiteral("CIERREMESES"));
    auto tab = chiefTabOn(-1);
    child<QPushButton>(tab.get(), "cmdSolicitarCierre")->click();
    child<QLineEdit>(tab.get(), "txtUbicacionArchivoHoras")->insert(path);
    child<QPlainTextEdit>(tab.get(), "txtComentariosJefeArea")->setPlainText(comment);
    // Through the event loop, as a real click: a refusal no handler catches reaches the
    // program's error boundary.
    QTest::mouseClick(child<QPushButton>(tab.get(), "cmdGuardar"), Qt::LeftButton);
    const QStringList texts = m_fixture.dialogs().texts();
    if (texts.isEmpty()) {
        QCOMPARE(m_fixture.store().count(QStringLiteral("CIERREMESES")), before + 1);
        const store::ResultSet rs = m_fixture.store().selectNative(QStringLiteral(
            "SELECT CieMesArchivoHoras, CieMesComentarioJefeArea FROM CIERREMESES WHERE CieMesId = (SELECT "
            "MAX(CieMesId) FROM CIERREMESES)"));
        QCOMPARE(rs.rows.front().value(0).toString(), path);
        QCOMPARE(rs.rows.front().value(1).toString(), comment);
    } else {
        QCOMPARE(texts.size(), 1);
        QVERIFY2(readable(texts.front()), qPrintable(texts.front()));
        QCOMPARE(m_fixture.store().count(QStringLiteral("CIERREMESES")), before);
        QCOMPARE(child<QLineEdit>(tab.get(), "txtUbicacionArchivoHoras")->text(), path);
    }
}

void TestHostile::nonNumbersInHours_data()
{
    QTest::addColumn<QString>("hours");
    QTest::addColumn<QString>("value");
    QTest::newRow("letters in hours") << QStringLiteral("abc") << QString();
    QTest::newRow("two commas") << QStringLiteral("1,2,3") << QString();
    QTest::newRow("sql in hours") << QStringLiteral("1;DROP") << QString();
    QTest::newRow("letters in value") << QStringLiteral("2") << QStringLiteral("mucho");
    QTest::newRow("1000 digits in value") << QStringLiteral("2") << QString(1000, QLatin1Char('9'));
}

// Non-numbers typed where the entry takes numbers: refused with a readable message and
// nothing stored, or stored as the number the box shows.
void TestHostile::nonNumbersInHours()
{
    QFETCH(QString, hours);
    QFETCH(QString, value);
    const Census before = census(m_fixture.store());
    tests::signIn(QStringLiteral("usuario"), QStringLiteral("66666666"), QStringLiteral("DOC"), 5);
    frmRegistroHoras *w = frmRegistroHoras::open();
    choose(w, "dtcAreas", QStringLiteral("Docencia"));
    choose(w, "dtcActividades", QStringLiteral("Reuniones"));
    choose(w, "dtcDestinos", QStringLiteral("Cursos regulares"));
    choose(w, "dtcTipoHoras", QStringLiteral("Horas comunes"));
    auto *txtHoras = child<QLineEdit>(w, "txtHoras");
    txtHoras->clear();
    txtHoras->insert(hours);
    if (!value.isEmpty()) {
        auto *txtValor = child<QLineEdit>(w, "txtValorHora");
        QVERIFY(txtValor->isEnabled());
        txtValor->clear();
        txtValor->insert(value);
    }
    const QString shownHours = txtHoras->text();
    QPointer<frmRegistroHoras> guard(w);
    QTest::mouseClick(child<QPushButton>(w, "cmdGuardar"), Qt::LeftButton);
    const QStringList texts = m_fixture.dialogs().texts();
    const Census after = census(m_fixture.store());
    if (texts.isEmpty()) {
        QCOMPARE(after.horas, before.horas + 1);
        const QVariant stored =
            m_fixture.store().scalar(QStringLiteral("SELECT HorHoras FROM HORAS WHERE HorId = (SELECT MAX(HorId) FROM HORAS)"));
        if (shownHours.trimmed().isEmpty()) {
            // The box took none of it: the entry has no hours, as a box left empty.
            QVERIFY(stored.isNull());
            return;
        }
        bool ok = false;
        const double typed = QLocale(QLocale::Spanish, QLocale::Uruguay).toDouble(shownHours, &ok);
        QVERIFY2(ok && qAbs(stored.toDouble() - typed) < 1e-9, qPrintable(shownHours));
    } else {
        QVERIFY2(readable(texts.last()), qPrintable(texts.join(QLatin1Char('|'))));
        QCOMPARE(after, before);
        QVERIFY(guard && guard->isVisible());
    }
}

void TestHostile::passwordTheEncoderCannotTake_data()
{
    QTest::addColumn<QString>("password");
    QTest::newRow("code 255") << QStringLiteral("abc\u00ff");
    QTest::newRow("non-Latin letters") << QStringLiteral("пароль");
    QTest::newRow("quotes and semicolon") << QStringLiteral("a'b\";c");
}

// Passwords are hashed from their UTF-8 text, so any password is taken, without a box, and
// logs in with exactly what was typed and with nothing else (no other text, not an empty
// one) -- also those the old encoder could not take.
void TestHostile::passwordTheEncoderCannotTake()
{
    QFETCH(QString, password);
    auto *w = new frmMantUsuarios;
    w->show();
    child<QPushButton>(w, "cmdNuevo")->click();
    child<QLineEdit>(w, "txtLogin")->insert(QStringLiteral("nuevo"));
    auto *pwd = child<QLineEdit>(w, "txtPassword");
    QTest::keyClick(pwd, Qt::Key_A);  // typed by the user, so the window hashes it
    pwd->setText(password);
    QVERIFY(child<ui::DataCombo>(w, "dtcFuncionarios")->chooseText(QStringLiteral("Ana Pérez")));
    QVERIFY(child<ui::DataCombo>(w, "dtcPermisos")->chooseText(QStringLiteral("Usuario común")));
    child<QPushButton>(w, "cmdGuardar")->click();
    const QStringList texts = m_fixture.dialogs().texts();
    for (const QString &t : texts)
        QVERIFY2(readable(t), qPrintable(t));
    w->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    m_fixture.dialogs().clearShown();

    const bool stored = m_fixture.store().count(QStringLiteral("USUARIOS"), QStringLiteral("UsuLogin = 'nuevo'")) == 1;
    auto tryLogin = [&](const QString &typed) {
        frmLogin login;
        login.show();
        child<QLineEdit>(&login, "txtLogin")->setText(QStringLiteral("nuevo"));
        child<QLineEdit>(&login, "txtPassword")->setText(typed);
        child<QPushButton>(&login, "cmdOK")->click();
        return login.LoginSucceeded;
    };
    QVERIFY(stored);
    QVERIFY2(texts.isEmpty(), qPrintable(texts.join(QLatin1Char('|'))));
    QVERIFY(tryLogin(password));
    QVERIFY2(!tryLogin(QString()), "an empty password opens the login");
    QVERIFY2(!tryLogin(QStringLiteral("abc")), "another password opens the login");
}

void TestHostile::farDates_data()
{
    QTest::addColumn<QDate>("date");
    QTest::newRow("1900") << QDate(1900, 1, 1);
    QTest::newRow("1929, before the two-digit years") << QDate(1929, 12, 31);
    QTest::newRow("2030, after them") << QDate(2030, 1, 1);
    QTest::newRow("2199") << QDate(2199, 12, 31);
}

// An entry dated far away is stored with its date, and a close with that cut-off moves that
// entry and nothing dated later.
void TestHostile::farDates()
{
    QFETCH(QDate, date);
    frmRegistroHoras *w = fillTeachingEntry(date);
    QTest::mouseClick(child<QPushButton>(w, "cmdGuardar"), Qt::LeftButton);
    QCOMPARE(m_fixture.dialogs().texts(), QStringList());
    const qlonglong horId = m_fixture.store().scalar(QStringLiteral("SELECT MAX(HorId) FROM HORAS")).toLongLong();
    QCOMPARE(m_fixture.store().scalar(QStringLiteral("SELECT HorFecha FROM HORAS WHERE HorId = ?"), {horId}).toDate(), date);

    const int dueBefore = m_fixture.store().count(QStringLiteral("HORAS"), QStringLiteral("AreId = 'DOC' AND HorFecha <= ?"), {date});
    const int laterBefore = m_fixture.store().count(QStringLiteral("HORAS"), QStringLiteral("HorFecha > ?"), {date});
    const Census before = census(m_fixture.store());
    const qlonglong closeId = approvedClose(m_fixture.store(), date);
    auto tab = chiefTabOn(closeId);
    m_fixture.dialogs().answerNext(ui::Answer::Yes);
    child<QPushButton>(tab.get(), "cmdCerrar")->click();
    QCOMPARE(m_fixture.dialogs().count(), 1);  // the confirmation alone
    QCOMPARE(m_fixture.store().count(QStringLiteral("HHORAS"), QStringLiteral("HorId = ?"), {horId}), 1);
    QCOMPARE(m_fixture.store().count(QStringLiteral("HORAS"), QStringLiteral("HorFecha > ?"), {date}), laterBefore);
    QCOMPARE(census(m_fixture.store()).hhoras, before.hhoras + dueBefore);
}

TEMPALIA_TEST_MAIN(TestHostile)
#include "tst_hostile.moc"

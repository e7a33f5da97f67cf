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
using namespace Qt::StringLiterals;

namespace {

// A message a user can read: Spanish words, not a bare number or the driver's English.
bool readable(const QString &text)
{
    static const QRegularExpression spanish(
        u"\\b(no|es|un|una|el|la|de|del|válid[oa]|número|fecha|texto|valor|clave|incorrect[oa])\\b"_s,
        QRegularExpression::CaseInsensitiveOption);
    return spanish.match(text).hasMatch();
}

const QString kThousand = QString(1000, u'x');

}  // namespace

class TestHostile : public QObject {
    Q_OBJECT
    tests::TempStore &db() { return m_fixture.store(); }
    ScriptedDialogs &dialogs() { return m_fixture.dialogs(); }

private slots:
    void init() { m_fixture.begin(); }
    void cleanup() { m_fixture.end(); }

    void catalogueTextStoredAsTyped_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("storedCode");  // empty: as typed
        QTest::addColumn<QString>("storedDescription");
        QTest::newRow("apostrophes") << u"O'K"_s << u"Curso de O'Brien"_s << QString() << QString();
        QTest::newRow("quotes and semicolon") << u"\";\""_s << u"x\"); DELETE FROM HORAS; --"_s << QString() << QString();
        QTest::newRow("sql words") << u"OR"_s << u"SELECT * FROM HORAS UNION ALL"_s << QString() << QString();
        // Pastes into limited boxes: the box keeps what fits.
        QTest::newRow("1000 characters") << kThousand << kThousand << u"xxxx"_s << QString(30, u'x');
        QTest::newRow("non-Latin") << u"ΩЖ中"_s << u"Ελληνικά, русский, 中文"_s << QString() << QString();
    }

    void catalogueTextStoredAsTyped()
    {
        QFETCH(QString, code);
        QFETCH(QString, description);
        QFETCH(QString, storedCode);
        QFETCH(QString, storedDescription);
        if (storedCode.isEmpty())
            storedCode = code, storedDescription = description;
        const Census before = census(db());
        auto *w = new frmMantAreas;
        w->show();
        child<QPushButton>(w, "cmdNuevo")->click();
        // A paste, as the user does it: the box takes what its length allows.
        child<QLineEdit>(w, "txtCodigo")->insert(code);
        child<QLineEdit>(w, "txtDescripcion")->insert(description);
        child<QPushButton>(w, "cmdGuardar")->click();
        QCOMPARE(dialogs().texts(), QStringList());
        QCOMPARE(db().scalar(u"SELECT AreDescripcion FROM AREAS WHERE AreId = ?"_s, {storedCode}).toString(), storedDescription);
        const Census after = census(db());
        QCOMPARE(after.areas, before.areas + 1);
        QCOMPARE(after.horas, before.horas);

        // The key then goes into the entry window's statements, quoted.
        db().execNative(u"INSERT INTO AREAS_ACTIVIDADES (AreId, ActId) VALUES (?, 'REU')"_s, {storedCode});
        frmRegistroHoras *entry = fillTeachingEntry(QDate(2030, 3, 4));
        QVERIFY(child<ui::DataCombo>(entry, "dtcAreas")->chooseText(storedDescription));
        QCOMPARE(child<ui::DataCombo>(entry, "dtcActividades")->count(), 1);
        QCOMPARE(dialogs().texts(), QStringList());
    }

    void closeTextsStoredAsTyped_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("comment");
        QTest::newRow("quotes, semicolons, sql") << u"C:\\horas\\O'Brien \"2024\"; DELETE * FROM HORAS"_s
                                                 << u"it's'; DROP TABLE CIERREMESES; --"_s;
        QTest::newRow("1000 characters") << kThousand << kThousand;
    }

    // The chief's request: the location and the comment stored as typed, or refused in
    // Spanish with nothing stored.
    void closeTextsStoredAsTyped()
    {
        QFETCH(QString, path);
        QFETCH(QString, comment);
        const int before = db().count(u"CIERREMESES"_s);
        auto tab = chiefTabOn(-1);
        child<QPushButton>(tab.get(), "cmdSolicitarCierre")->click();
        child<QLineEdit>(tab.get(), "txtUbicacionArchivoHoras")->insert(path);
        child<QPlainTextEdit>(tab.get(), "txtComentariosJefeArea")->setPlainText(comment);
        // Through the event loop, as a real click: a refusal no handler catches reaches the
        // program's error boundary.
        QTest::mouseClick(child<QPushButton>(tab.get(), "cmdGuardar"), Qt::LeftButton);
        const QStringList texts = dialogs().texts();
        if (texts.isEmpty()) {
            QCOMPARE(db().count(u"CIERREMESES"_s), before + 1);
            const store::ResultSet rs = db().selectNative(u"SELECT CieMesArchivoHoras, CieMesComentarioJefeArea FROM "
                                                          "CIERREMESES WHERE CieMesId = (SELECT MAX(CieMesId) FROM CIERREMESES)"_s);
            QCOMPARE(rs.rows.front().value(0).toString(), path);
            QCOMPARE(rs.rows.front().value(1).toString(), comment);
        } else {
            QCOMPARE(texts.size(), 1);
            QVERIFY2(readable(texts.front()), qPrintable(texts.front()));
            QCOMPARE(db().count(u"CIERREMESES"_s), before);
            QCOMPARE(child<QLineEdit>(tab.get(), "txtUbicacionArchivoHoras")->text(), path);
        }
    }

    void nonNumbersInHours_data()
    {
        QTest::addColumn<QString>("hours");
        QTest::addColumn<QString>("value");
        QTest::newRow("letters in hours") << u"abc"_s << QString();
        QTest::newRow("two commas") << u"1,2,3"_s << QString();
        QTest::newRow("sql in hours") << u"1;DROP"_s << QString();
        QTest::newRow("letters in value") << u"2"_s << u"mucho"_s;
        QTest::newRow("1000 digits in value") << u"2"_s << QString(1000, u'9');
    }

    // Non-numbers typed where the entry takes numbers: refused with a readable message and
    // nothing stored, or stored as the number the box shows.
    void nonNumbersInHours()
    {
        QFETCH(QString, hours);
        QFETCH(QString, value);
        const Census before = census(db());
        tests::signIn(u"usuario"_s, u"66666666"_s, u"DOC"_s, 5);
        frmRegistroHoras *w = frmRegistroHoras::open();
        choose(w, "dtcAreas", u"Docencia"_s);
        choose(w, "dtcActividades", u"Reuniones"_s);
        choose(w, "dtcDestinos", u"Cursos regulares"_s);
        choose(w, "dtcTipoHoras", u"Horas comunes"_s);
        for (const auto &[box, text] : {std::pair{"txtHoras", hours}, std::pair{"txtValorHora", value}}) {
            auto *edit = child<QLineEdit>(w, box);
            if (text.isEmpty())
                continue;
            QVERIFY(edit->isEnabled());
            edit->clear();
            edit->insert(text);
        }
        const QString shownHours = child<QLineEdit>(w, "txtHoras")->text();
        QPointer<frmRegistroHoras> guard(w);
        QTest::mouseClick(child<QPushButton>(w, "cmdGuardar"), Qt::LeftButton);
        const QStringList texts = dialogs().texts();
        const Census after = census(db());
        if (!texts.isEmpty()) {
            QVERIFY2(readable(texts.last()), qPrintable(texts.join(u'|')));
            QCOMPARE(after, before);
            QVERIFY(guard && guard->isVisible());
            return;
        }
        QCOMPARE(after.horas, before.horas + 1);
        const QVariant stored = db().scalar(u"SELECT HorHoras FROM HORAS WHERE HorId = (SELECT MAX(HorId) FROM HORAS)"_s);
        if (shownHours.trimmed().isEmpty()) {  // the box took none of it: the entry has no hours, as a box left empty
            QVERIFY(stored.isNull());
            return;
        }
        bool ok = false;
        const double typed = QLocale(QLocale::Spanish, QLocale::Uruguay).toDouble(shownHours, &ok);
        QVERIFY2(ok && qAbs(stored.toDouble() - typed) < 1e-9, qPrintable(shownHours));
    }

    void passwordTheEncoderCannotTake_data()
    {
        QTest::addColumn<QString>("password");
        QTest::newRow("code 255") << u"abc\u00ff"_s;
        QTest::newRow("non-Latin letters") << u"пароль"_s;
        QTest::newRow("quotes and semicolon") << u"a'b\";c"_s;
    }

    // Passwords are hashed from their UTF-8 text, so any password is taken, without a box, and
    // logs in with exactly what was typed and with nothing else (no other text, not an empty
    // one) -- also those the old encoder could not take.
    void passwordTheEncoderCannotTake()
    {
        QFETCH(QString, password);
        auto *w = new frmMantUsuarios;
        w->show();
        child<QPushButton>(w, "cmdNuevo")->click();
        child<QLineEdit>(w, "txtLogin")->insert(u"nuevo"_s);
        auto *pwd = child<QLineEdit>(w, "txtPassword");
        QTest::keyClick(pwd, Qt::Key_A);  // typed by the user, so the window hashes it
        pwd->setText(password);
        QVERIFY(child<ui::DataCombo>(w, "dtcFuncionarios")->chooseText(u"Ana Pérez"_s));
        QVERIFY(child<ui::DataCombo>(w, "dtcPermisos")->chooseText(u"Usuario común"_s));
        child<QPushButton>(w, "cmdGuardar")->click();
        const QStringList texts = dialogs().texts();
        QVERIFY2(texts.isEmpty(), qPrintable(texts.join(u'|')));
        w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(db().count(u"USUARIOS"_s, u"UsuLogin = 'nuevo'"_s), 1);

        auto tryLogin = [&](const QString &typed) {
            frmLogin login;
            login.show();
            child<QLineEdit>(&login, "txtLogin")->setText(u"nuevo"_s);
            child<QLineEdit>(&login, "txtPassword")->setText(typed);
            child<QPushButton>(&login, "cmdOK")->click();
            return login.LoginSucceeded;
        };
        QVERIFY(tryLogin(password));
        QVERIFY2(!tryLogin(QString()), "an empty password opens the login");
        QVERIFY2(!tryLogin(u"abc"_s), "another password opens the login");
    }

    void farDates_data()
    {
        QTest::addColumn<QDate>("date");
        QTest::newRow("1900") << QDate(1900, 1, 1);
        QTest::newRow("1929, before the two-digit years") << QDate(1929, 12, 31);
        QTest::newRow("2030, after them") << QDate(2030, 1, 1);
        QTest::newRow("2199") << QDate(2199, 12, 31);
    }

    // An entry dated far away is stored with its date, and a close with that cut-off moves that
    // entry and nothing dated later.
    void farDates()
    {
        QFETCH(QDate, date);
        frmRegistroHoras *w = fillTeachingEntry(date);
        QTest::mouseClick(child<QPushButton>(w, "cmdGuardar"), Qt::LeftButton);
        QCOMPARE(dialogs().texts(), QStringList());
        const qlonglong horId = db().scalar(u"SELECT MAX(HorId) FROM HORAS"_s).toLongLong();
        QCOMPARE(db().scalar(u"SELECT HorFecha FROM HORAS WHERE HorId = ?"_s, {horId}).toDate(), date);

        const int dueBefore = db().count(u"HORAS"_s, u"AreId = 'DOC' AND HorFecha <= ?"_s, {date});
        const int laterBefore = db().count(u"HORAS"_s, u"HorFecha > ?"_s, {date});
        const Census before = census(db());
        auto tab = chiefTabOn(approvedClose(db(), date));
        dialogs().answerNext(ui::Answer::Yes);
        child<QPushButton>(tab.get(), "cmdCerrar")->click();
        QCOMPARE(dialogs().count(), 1);  // the confirmation alone
        QCOMPARE(db().count(u"HHORAS"_s, u"HorId = ?"_s, {horId}), 1);
        QCOMPARE(db().count(u"HORAS"_s, u"HorFecha > ?"_s, {date}), laterBefore);
        QCOMPARE(census(db()).hhoras, before.hhoras + dueBefore);
    }

private:
    tests::WindowFixture m_fixture;
};

TEMPALIA_TEST_MAIN(TestHostile)
#include "tst_hostile.moc"

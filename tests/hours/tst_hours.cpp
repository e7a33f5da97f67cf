// The hours entry and hours change windows driven as a user would, on a fresh store: what
// lands in HORAS and HORAS_RUBROS_MATERIAS column by column, the chain of lists, the value
// and category taken from the contract, and what happens when a save is refused.
#include "Controls.h"
#include "Session.h"
#include "WindowFixture.h"
#include "hours/frmModificoHoras.h"
#include "hours/frmRegistroHoras.h"
#include "session/modPrincipal.h"
#include "ui/Application.h"
#include "ui/DataLists.h"
#include "ui/DatePicker.h"
#include "ui/MonthView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>

#include <memory>

namespace {

const QString kPesos = QStringLiteral("Pesos Uruguayos");

using tests::child;
using tests::choose;
using tests::type;

ui::DataCombo *combo(QWidget *w, const char *name)
{
    return child<ui::DataCombo>(w, name);
}

void chooseFixed(QWidget *w, const char *name, const QString &text)
{
    auto *c = child<QComboBox>(w, name);
    const int i = c->findText(text);
    if (i < 0 || !c->isEnabled())
        qFatal("cannot choose %s in %s", qPrintable(text), name);
    c->setCurrentIndex(i);
}

void clickSave(QWidget *w)
{
    QTest::mouseClick(child<QPushButton>(w, "cmdGuardar"), Qt::LeftButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QStringList items(QComboBox *c)
{
    QStringList out;
    for (int i = 0; i < c->count(); ++i)
        out << c->itemText(i);
    return out;
}

// Area, activity, destination and kind of hours, chosen in that order.
void choosePlain(QWidget *w, const char *area, const char *activity, const char *destino, const char *tipo)
{
    choose(w, "dtcAreas", QString::fromUtf8(area));
    choose(w, "dtcActividades", QString::fromUtf8(activity));
    choose(w, "dtcDestinos", QString::fromUtf8(destino));
    choose(w, "dtcTipoHoras", QString::fromUtf8(tipo));
}

// Closes a window and lets it go.
template <typename Window>
void closeNow(Window *w)
{
    w->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void login(const QString &cedula)
{
    tests::signIn(QStringLiteral("usuario"), cedula, QStringLiteral("DOC"), 5);
}

}  // namespace

class TestHours : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void entryStoresEveryColumn_data();
    void entryStoresEveryColumn();
    void chainRefillsOnlyTheNextList();
    void valueAndCategoryFromFirstContract_data();
    void valueAndCategoryFromFirstContract();
    void changeKeepsLinkInStep();
    void changeWorksOutWeekOnlyWhenDateChanges_data();
    void changeWorksOutWeekOnlyWhenDateChanges();
    void refusedSaveKeepsWindowAndTyping_data();
    void refusedSaveKeepsWindowAndTyping();
    void failedLinkIsRepairedByNextSave();
    void missingPiecesGiveMessages();
    void failingListRuleIsShownAndWindowStays();
    void oneWindowOfEachKind();

private:
    qlonglong maxHorId();
    qlonglong firstHour(const QString &actId);
    store::ResultSet horas(qlonglong horId);
    // What differs from `expected` in the one row of the entry's teaching link.
    QString linkDifferences(qlonglong horId, const QVariantMap &expected);
    // What differs from `expected` in the one entry stored after HorId `before`.
    QString newRowDifferences(qlonglong before, const QVariantMap &expected);

    tests::WindowFixture m_fixture;
    tests::TempStore *m_store = nullptr;
    ScriptedDialogs *m_dialogs = nullptr;
};

void TestHours::init()
{
    m_fixture.begin();
    m_store = &m_fixture.store();
    m_dialogs = &m_fixture.dialogs();
    login(QStringLiteral("11111111"));
}

void TestHours::cleanup()
{
    m_fixture.end();
}

qlonglong TestHours::maxHorId()
{
    return m_store->scalar(QStringLiteral("SELECT MAX(HorId) FROM HORAS")).toLongLong();
}

// The first stored entry of the user 11111111 with that activity.
qlonglong TestHours::firstHour(const QString &actId)
{
    return m_store->scalar(QStringLiteral("SELECT MIN(HorId) FROM HORAS WHERE FunCedula='11111111' AND ActId='%1'")
                               .arg(actId))
        .toLongLong();
}

store::ResultSet TestHours::horas(qlonglong horId)
{
    return m_store->select(QStringLiteral("SELECT * FROM HORAS WHERE HORID=%1").arg(horId));
}

QString TestHours::linkDifferences(qlonglong horId, const QVariantMap &expected)
{
    return m_store->rowDifferences(QStringLiteral("SELECT * FROM HORAS_RUBROS_MATERIAS WHERE HorId = ?"), expected, {horId});
}

QString TestHours::newRowDifferences(qlonglong before, const QVariantMap &expected)
{
    return m_store->rowDifferences(QStringLiteral("SELECT * FROM HORAS WHERE HorId > ?"), expected, {before});
}

// ---------------------------------------------------------------------------------------

void TestHours::entryStoresEveryColumn_data()
{
    QTest::addColumn<bool>("teaching");
    QTest::addColumn<QDate>("date");  // null: left as the window put it (today)
    QTest::newRow("plain, date untouched") << false << QDate();
    QTest::newRow("teaching, date chosen") << true << QDate(2024, 3, 13);
}

void TestHours::entryStoresEveryColumn()
{
    QFETCH(bool, teaching);
    QFETCH(QDate, date);
    const qlonglong before = maxHorId();

    frmRegistroHoras *w = frmRegistroHoras::open();
    QVERIFY(w && w->isVisible());
    QCOMPARE(w->windowTitle(), QStringLiteral("Registro de Horas"));
    const QDate expectedDate = date.isValid() ? date : QDate::currentDate();
    if (date.isValid())
        child<ui::DatePicker>(w, "dtpFechas_0")->chooseDate(date);
    const int week = ui::MonthView::weekOfYear(expectedDate) - 1;
    QCOMPARE(child<QLineEdit>(w, "txtSemana")->text(), QString::number(week));

    choosePlain(w, "Docencia", teaching ? "Clases" : "Reuniones", "Cursos regulares", "Horas extra");
    type(w, "txtHoras", QStringLiteral("3,5"));
    chooseFixed(w, "cboMoneda", QStringLiteral("Dolares"));
    if (teaching) {
        choose(w, "dtcRubros", QStringLiteral("Ciencias"));
        choose(w, "dtcMaterias", QStringLiteral("Física"));
        chooseFixed(w, "cboTurno", QStringLiteral("Tarde"));
        type(w, "txtHorarioInicial", QStringLiteral("8:00"));
        type(w, "txtHorarioFinal", QStringLiteral("11:30"));
    }
    const QString funInsId = m_store->scalar(QStringLiteral(
        "SELECT FunInsId FROM FUNCIONARIOS_INSTITUTOS WHERE FunCedula='11111111'")).toString();

    clickSave(w);
    QCOMPARE(m_dialogs->texts(), QStringList());
    QVERIFY(!frmRegistroHoras::instance());

    QCOMPARE(newRowDifferences(before, {{"FunCedula", "11111111"}, {"AreId", "DOC"}, {"ActId", teaching ? "CLA" : "REU"},
                                        {"DesId", "CUR"}, {"FunInsId", funInsId}, {"HorFecha", expectedDate},
                                        {"HorSemana", week}, {"HorValorhora", 350.0}, {"HorHoras", 3.5},
                                        {"HorCategoria", "A"}, {"TipId", "EXT"}, {"HorMoneda", "Dolares"},
                                        {"HorHorarioInicial", teaching ? QTime(8, 0) : QVariant()},
                                        {"HorHorarioFinal", teaching ? QTime(11, 30) : QVariant()}}), QString());
    const qlonglong horId = maxHorId();
    QCOMPARE(m_store->count(QStringLiteral("HORAS_RUBROS_MATERIAS"), QStringLiteral("HorId = ?"), {horId}), teaching ? 1 : 0);
    if (teaching)
        QCOMPARE(linkDifferences(horId, {{"RubId", "CIE"}, {"MatId", "FIS"}, {"HorRubMatTurno", "Tarde"}}), QString());
}

void TestHours::chainRefillsOnlyTheNextList()
{
    frmRegistroHoras *w = frmRegistroHoras::open();
    // States at creation.
    QVERIFY(!combo(w, "dtcActividades")->isEnabled());
    for (const char *name : {"dtcRubros", "dtcMaterias", "cboTurno", "txtHorarioInicial", "txtHorarioFinal",
                             "txtSemana", "txtCategoria"})
        QVERIFY2(!child<QWidget>(w, name)->isEnabled(), name);
    QCOMPARE(child<QComboBox>(w, "cboMoneda")->currentIndex(), -1);

    choose(w, "dtcAreas", QStringLiteral("Docencia"));
    QVERIFY(combo(w, "dtcActividades")->isEnabled());
    QCOMPARE(items(combo(w, "dtcActividades")).size(), 3);
    choose(w, "dtcActividades", QStringLiteral("Clases"));
    for (const char *name : {"dtcRubros", "cboTurno", "txtHorarioInicial", "txtHorarioFinal"})
        QVERIFY2(child<QWidget>(w, name)->isEnabled(), name);
    // A group stands once per subject of the activity.
    QCOMPARE(items(combo(w, "dtcRubros")),
             QStringList({"Ciencias", "Ciencias", "Ciencias", "Humanidades", "Humanidades"}));
    choose(w, "dtcRubros", QStringLiteral("Humanidades"));
    choose(w, "dtcMaterias", QStringLiteral("Lengua"));
    QCOMPARE(items(combo(w, "dtcMaterias")), QStringList({"Historia", "Lengua"}));

    // Another activity refills the groups; the subjects keep their list and choice.
    choose(w, "dtcActividades", QStringLiteral("Tutorías"));
    QCOMPARE(items(combo(w, "dtcRubros")), QStringList({"Ciencias", "Humanidades", "Humanidades"}));
    QCOMPARE(items(combo(w, "dtcMaterias")), QStringList({"Historia", "Lengua"}));
    QCOMPARE(combo(w, "dtcMaterias")->currentText(), QStringLiteral("Lengua"));

    // Another area refills the activities only.
    choose(w, "dtcAreas", QStringLiteral("Administración"));
    QCOMPARE(items(combo(w, "dtcActividades")), QStringList({"Tareas administrativas", "Reuniones"}));
    QCOMPARE(items(combo(w, "dtcRubros")), QStringList({"Ciencias", "Humanidades", "Humanidades"}));

    // A non-teaching activity shuts the teaching fields but the schedule.
    choose(w, "dtcActividades", QStringLiteral("Reuniones"));
    for (auto [name, enabled] : {std::pair{"dtcRubros", false}, {"dtcMaterias", false}, {"cboTurno", false},
                                 {"txtHorarioInicial", true}, {"txtHorarioFinal", true}})
        QVERIFY2(child<QWidget>(w, name)->isEnabled() == enabled, name);
}

void TestHours::valueAndCategoryFromFirstContract_data()
{
    QTest::addColumn<QString>("cedula");
    QTest::addColumn<int>("contract");      // the item chosen in dtcContratos
    QTest::addColumn<bool>("billing");
    QTest::addColumn<QString>("typedValue");  // typed over by a billing person
    QTest::newRow("does not bill") << "11111111" << 0 << false << QString();
    QTest::newRow("second contract") << "55555555" << 1 << false << QString();
    QTest::newRow("bills and types over") << "66666666" << 0 << true << QStringLiteral("455");
}

void TestHours::valueAndCategoryFromFirstContract()
{
    QFETCH(QString, cedula);
    QFETCH(int, contract);
    QFETCH(bool, billing);
    QFETCH(QString, typedValue);
    login(cedula);
    const qlonglong before = maxHorId();

    frmRegistroHoras *w = frmRegistroHoras::open();
    auto *valor = child<QLineEdit>(w, "txtValorHora");
    auto *categoria = child<QLineEdit>(w, "txtCategoria");
    ui::DataCombo *contratos = combo(w, "dtcContratos");
    QVERIFY(valor->isEnabled());
    QCOMPARE(categoria->isEnabled(), billing);
    const QString firstId = contratos->itemText(0);
    const store::ResultSet first = m_store->select(
        QStringLiteral("SELECT * FROM FUNCIONARIOS_INSTITUTOS WHERE FUNINSID=%1").arg(firstId));
    const double firstValue = first.value(0, QStringLiteral("FunInsValor_Hora")).toDouble();
    const QString firstCategory = first.value(0, QStringLiteral("FunInsCategoria")).toString();
    QCOMPARE(valor->text().toDouble(), firstValue);
    QCOMPARE(categoria->text(), firstCategory);
    QCOMPARE(child<ui::DatePicker>(w, "dtpFechas_1")->date(),
             first.value(0, QStringLiteral("FunInsInicio")).toDate());

    contratos->choose(contract);
    const QString chosenId = contratos->itemText(contract);
    QCOMPARE(child<QLineEdit>(w, "txtCedula")->text(), cedula);
    QCOMPARE(valor->isEnabled(), billing);
    QCOMPARE(categoria->isEnabled(), billing);
    QCOMPARE(valor->text().toDouble(), firstValue);  // not read again
    if (!typedValue.isEmpty()) {
        type(w, "txtValorHora", typedValue);
        type(w, "txtCategoria", QStringLiteral("Z"));
    }

    choosePlain(w, "Docencia", "Reuniones", "Gestión", "Horas comunes");
    type(w, "txtHoras", QStringLiteral("2"));
    clickSave(w);
    QCOMPARE(m_dialogs->texts(), QStringList());

    QCOMPARE(newRowDifferences(before, {{"FunInsId", chosenId}, {"HorValorhora", typedValue.isEmpty() ? firstValue : typedValue.toDouble()},
                                        {"HorCategoria", typedValue.isEmpty() ? firstCategory : QStringLiteral("Z")},
                                        {"HorMoneda", QString()}}), QString());
}

// ---------------------------------------------------------------------------------------

// A stored teaching entry is shown with its link, and a new subject chosen in the window
// reaches the link row; the link rules themselves stand in the core's tests.
void TestHours::changeKeepsLinkInStep()
{
    const qlonglong horId = firstHour(QStringLiteral("CLA"));
    QVERIFY(horId > 0);
    const store::ResultSet stored = horas(horId);
    const store::ResultSet storedLink =
        m_store->select(QStringLiteral("SELECT * FROM HORAS_RUBROS_MATERIAS WHERE HORID=%1").arg(horId));
    QCOMPARE(int(storedLink.rows.size()), 1);

    frmModificoHoras *w = frmModificoHoras::open(int(horId));
    QVERIFY(w);
    QCOMPARE(w->horid, qint32(horId));
    QCOMPARE(w->windowTitle(), QStringLiteral("Modificación de Horas"));
    QCOMPARE(combo(w, "dtcAreas")->boundText(), QStringLiteral("DOC"));
    QCOMPARE(combo(w, "dtcActividades")->boundText(), QStringLiteral("CLA"));
    QCOMPARE(combo(w, "dtcContratos")->boundText(), stored.value(0, QStringLiteral("FunInsId")).toString());
    QCOMPARE(child<ui::DatePicker>(w, "dtpFechas_0")->date(), stored.value(0, QStringLiteral("HorFecha")).toDate());
    QCOMPARE(child<QLineEdit>(w, "txtSemana")->text(), stored.value(0, QStringLiteral("HorSemana")).toString());
    for (const char *name : {"dtcRubros", "dtcMaterias", "cboTurno", "txtHorarioInicial", "txtHorarioFinal"})
        QVERIFY2(child<QWidget>(w, name)->isEnabled(), name);
    QCOMPARE(combo(w, "dtcRubros")->boundText(), storedLink.value(0, QStringLiteral("RubId")).toString());
    QCOMPARE(combo(w, "dtcMaterias")->boundText(), storedLink.value(0, QStringLiteral("MatId")).toString());
    QCOMPARE(child<QComboBox>(w, "cboTurno")->currentText(),
             storedLink.value(0, QStringLiteral("HorRubMatTurno")).toString());

    choose(w, "dtcRubros", QStringLiteral("Ciencias"));
    choose(w, "dtcMaterias", QStringLiteral("Química"));
    chooseFixed(w, "cboTurno", QStringLiteral("Mañana"));
    clickSave(w);
    QCOMPARE(m_dialogs->texts(), QStringList());
    QVERIFY(!frmModificoHoras::instance());

    const store::ResultSet after = horas(horId);
    QCOMPARE(int(after.rows.size()), 1);
    // Columns nobody touched keep what was stored.
    for (const char *column : {"FunCedula", "AreId", "ActId", "DesId", "FunInsId", "HorFecha", "HorSemana",
                               "HorValorhora", "HorHoras", "HorCategoria", "TipId", "HorHorarioInicial",
                               "HorHorarioFinal"})
        QVERIFY2(after.value(0, QString::fromLatin1(column)) == stored.value(0, QString::fromLatin1(column)), column);

    QCOMPARE(linkDifferences(horId, {{"RubId", "CIE"}, {"MatId", "QUI"}, {"HorRubMatTurno", "Mañana"}}), QString());
}

void TestHours::changeWorksOutWeekOnlyWhenDateChanges_data()
{
    QTest::addColumn<QDate>("newDate");  // null: the date is left alone
    QTest::addColumn<QString>("storedCurrency");
    QTest::addColumn<QString>("expectCurrency");
    QTest::newRow("date untouched, pesos") << QDate() << kPesos << kPesos;
    QTest::newRow("date changed, no currency") << QDate(2024, 1, 10) << QString() << QStringLiteral("Dolares");
}

void TestHours::changeWorksOutWeekOnlyWhenDateChanges()
{
    QFETCH(QDate, newDate);
    QFETCH(QString, storedCurrency);
    QFETCH(QString, expectCurrency);
    const qlonglong horId = firstHour(QStringLiteral("REU"));
    // A week number the calendar would never give, and the currency under test.
    m_store->execNative(QStringLiteral("UPDATE HORAS SET HorSemana=77, HorMoneda=? WHERE HorId=?"),
                        {storedCurrency, horId});
    const QDate storedDate = horas(horId).value(0, QStringLiteral("HorFecha")).toDate();

    frmModificoHoras *w = frmModificoHoras::open(int(horId));
    QVERIFY(w);
    QCOMPARE(child<QComboBox>(w, "cboMoneda")->currentText(), expectCurrency);
    QCOMPARE(child<QLineEdit>(w, "txtSemana")->text(), QStringLiteral("77"));
    if (newDate.isValid())
        child<ui::DatePicker>(w, "dtpFechas_0")->chooseDate(newDate);
    type(w, "txtHoras", QStringLiteral("7,25"));
    clickSave(w);
    QCOMPARE(m_dialogs->texts(), QStringList());

    QCOMPARE(m_store->rowDifferences(QStringLiteral("SELECT * FROM HORAS WHERE HorId = ?"),
                                     {{"HorFecha", newDate.isValid() ? newDate : storedDate}, {"HorSemana", newDate.isValid() ? 1 : 77},
                                      {"HorHoras", 7.25}, {"HorMoneda", expectCurrency}}, {horId}), QString());
}

// ---------------------------------------------------------------------------------------

void TestHours::refusedSaveKeepsWindowAndTyping_data()
{
    QTest::addColumn<bool>("change");
    QTest::newRow("entry without an area") << false;
    QTest::newRow("change of a row changed meanwhile") << true;
}

void TestHours::refusedSaveKeepsWindowAndTyping()
{
    QFETCH(bool, change);
    const qlonglong before = maxHorId();
    const qlonglong horId = firstHour(QStringLiteral("REU"));
    HoursForm *w = change ? static_cast<HoursForm *>(frmModificoHoras::open(int(horId)))
                          : static_cast<HoursForm *>(frmRegistroHoras::open());
    QVERIFY(w);
    type(w, "txtHoras", QStringLiteral("4,5"));
    if (change)  // another user changes the same row first
        m_store->execNative(QStringLiteral("UPDATE HORAS SET HorHoras=9 WHERE HorId=?"), {horId});

    clickSave(w);
    QCOMPARE(m_dialogs->count(), 1);
    if (change) {
        QVERIFY(!m_dialogs->last().text.isEmpty());
        QVERIFY(!m_dialogs->last().text.contains(QRegularExpression(QStringLiteral("^-?\\d+$"))));
        QVERIFY(frmModificoHoras::instance());
        QCOMPARE(horas(horId).value(0, QStringLiteral("HorHoras")).toDouble(), 9.0);
    } else {
        // The entry window shows the store's error number first, then what it means.
        QVERIFY2(QRegularExpression(QStringLiteral("^-?\\d+\n.+")).match(m_dialogs->last().text).hasMatch(),
                 qPrintable(m_dialogs->last().text));
        QVERIFY(frmRegistroHoras::instance());
        QCOMPARE(maxHorId(), before);
    }
    QVERIFY(w->isVisible());
    QCOMPARE(child<QLineEdit>(w, "txtHoras")->text(), QStringLiteral("4,5"));

    if (!change) {
        // What was typed is still there: completing the entry stores it.
        choosePlain(w, "Docencia", "Reuniones", "Cursos regulares", "Horas comunes");
        clickSave(w);
        QCOMPARE(m_dialogs->count(), 1);
        QCOMPARE(newRowDifferences(before, {{"HorHoras", 4.5}}), QString());
    }
}

void TestHours::failedLinkIsRepairedByNextSave()
{
    const qlonglong before = maxHorId();
    frmRegistroHoras *w = frmRegistroHoras::open();
    choosePlain(w, "Docencia", "Clases", "Cursos regulares", "Horas comunes");
    choose(w, "dtcRubros", QStringLiteral("Humanidades"));
    choose(w, "dtcMaterias", QStringLiteral("Historia"));
    chooseFixed(w, "cboTurno", QStringLiteral("Noche"));
    type(w, "txtHoras", QStringLiteral("2"));

    // The second write fails: its table is out of reach for a moment.
    m_store->execNative(QStringLiteral("ALTER TABLE HORAS_RUBROS_MATERIAS RENAME TO HRM_APARTE"));
    clickSave(w);
    // One box: the store's number and text, then what was kept and what to do.
    QCOMPARE(m_dialogs->count(), 1);
    QVERIFY(QRegularExpression(QStringLiteral("^-?\\d+\n.+")).match(m_dialogs->shown().at(0).text).hasMatch());
    QVERIFY(m_dialogs->shown().at(0).text.contains(QStringLiteral("quedaron guardadas")));
    QVERIFY(frmRegistroHoras::instance());
    QCOMPARE(maxHorId(), before + 1);
    const qlonglong horId = before + 1;
    QCOMPARE(w->storedHorId().toLongLong(), horId);
    m_store->execNative(QStringLiteral("ALTER TABLE HRM_APARTE RENAME TO HORAS_RUBROS_MATERIAS"));

    // The next save completes the same entry instead of entering it twice.
    type(w, "txtHoras", QStringLiteral("2,5"));
    clickSave(w);
    QCOMPARE(m_dialogs->count(), 1);
    QVERIFY(!frmRegistroHoras::instance());
    QCOMPARE(maxHorId(), horId);
    QCOMPARE(horas(horId).value(0, QStringLiteral("HorHoras")).toDouble(), 2.5);
    QCOMPARE(linkDifferences(horId, {{"RubId", "HUM"}, {"MatId", "HIS"}, {"HorRubMatTurno", "Noche"}}), QString());
}

void TestHours::missingPiecesGiveMessages()
{
    // A contract without dates: blank pickers.
    m_store->execNative(QStringLiteral("UPDATE FUNCIONARIOS_INSTITUTOS SET FunInsInicio=NULL WHERE FunCedula='11111111'"));
    frmRegistroHoras *w = frmRegistroHoras::open();
    QVERIFY(child<ui::DatePicker>(w, "dtpFechas_1")->isBlank());
    QVERIFY(!child<ui::DatePicker>(w, "dtpFechas_2")->isBlank());
    closeNow(w);

    // A person without contracts: the window opens, the save says why it can't go on.
    const qlonglong before = maxHorId();
    login(QStringLiteral("12121212"));
    w = frmRegistroHoras::open();
    QVERIFY(w);
    QCOMPARE(combo(w, "dtcContratos")->count(), 0);
    clickSave(w);
    QCOMPARE(m_dialogs->count(), 1);
    QVERIFY(m_dialogs->last().text.contains(QStringLiteral("contratos")));
    QVERIFY(frmRegistroHoras::instance());
    closeNow(w);

    // An area without activities.
    login(QStringLiteral("11111111"));
    m_store->execNative(QStringLiteral("INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('VAC', 'Vacía')"));
    w = frmRegistroHoras::open();
    choose(w, "dtcAreas", QStringLiteral("Vacía"));
    QVERIFY(combo(w, "dtcActividades")->isEnabled());
    QCOMPARE(combo(w, "dtcActividades")->count(), 0);
    QVERIFY(!combo(w, "dtcRubros")->isEnabled());
    QCOMPARE(maxHorId(), before);
    closeNow(w);

    // A change window on a row that has gone.
    QVERIFY(!frmModificoHoras::open(int(before + 1000)));
    QCOMPARE(m_dialogs->last().text, QStringLiteral("El registro de horas ya no existe."));
    QVERIFY(!frmModificoHoras::instance());
}

// A rule that fails in the store while the user chooses (the activities of an area) is
// reported in a box, in Spanish, and the window goes on with what was typed.
void TestHours::failingListRuleIsShownAndWindowStays()
{
    frmRegistroHoras *w = frmRegistroHoras::open();
    type(w, "txtHoras", QStringLiteral("5"));
    m_store->execNative(QStringLiteral("ALTER TABLE AREAS_ACTIVIDADES RENAME TO AA_APARTE"));
    choose(w, "dtcAreas", QStringLiteral("Docencia"));
    m_store->execNative(QStringLiteral("ALTER TABLE AA_APARTE RENAME TO AREAS_ACTIVIDADES"));

    QCOMPARE(m_dialogs->count(), 1);
    const ScriptedDialogs::Box box = m_dialogs->last();
    QCOMPARE(box.icon, ui::Icon::Exclamation);
    // The store's own sentence, not the driver's English alone.
    QVERIFY2(box.text.contains(QRegularExpression(QStringLiteral("[áéíóúñ]|no |tabla"))), qPrintable(box.text));
    QVERIFY(frmRegistroHoras::instance() == w && w->isVisible());
    QCOMPARE(child<QLineEdit>(w, "txtHoras")->text(), QStringLiteral("5"));

    // Chosen again once the store is whole, the rule runs as usual.
    choose(w, "dtcAreas", QStringLiteral("Administración"));
    QCOMPARE(items(combo(w, "dtcActividades")), QStringList({"Tareas administrativas", "Reuniones"}));
    QCOMPARE(m_dialogs->count(), 1);
}

void TestHours::oneWindowOfEachKind()
{
    frmRegistroHoras *w = frmRegistroHoras::open();
    type(w, "txtHoras", QStringLiteral("6"));
    QCOMPARE(frmRegistroHoras::open(), w);
    QCOMPARE(child<QLineEdit>(w, "txtHoras")->text(), QStringLiteral("6"));
    QTest::mouseClick(child<QPushButton>(w, "cmdCerrar"), Qt::LeftButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!frmRegistroHoras::instance());
    w = frmRegistroHoras::open();
    QCOMPARE(child<QLineEdit>(w, "txtHoras")->text(), QString());

    const qlonglong horId = m_store->scalar(QStringLiteral("SELECT MIN(HorId) FROM HORAS")).toLongLong();
    frmModificoHoras *m = frmModificoHoras::open(int(horId));
    QVERIFY(m);
    QCOMPARE(frmModificoHoras::open(int(horId + 1)), m);
    QCOMPARE(m->horid, qint32(horId));
}

TEMPALIA_TEST_MAIN(TestHours)
#include "tst_hours.moc"

// The tabs "Cierre de mes" of the chief and of the super user, driven as their users do on a
// fresh demo store: requests, denial, approval, the close and what it moves, and the ways a
// close can be refused or fail.

#include "ScriptedDialogs.h"
#include "Session.h"
#include "TempStore.h"
#include "Controls.h"
#include "WindowFixture.h"
#include "monthclose/CierreMesJefeArea.h"
#include "monthclose/CierreMesSuperUsuario.h"
#include "session/modPrincipal.h"
#include "store/DataControl.h"
#include "ui/Application.h"
#include "ui/DataGrid.h"
#include "ui/DataLists.h"
#include "ui/DatePicker.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>

#include <memory>

using tests::child;

namespace {

const QString kNotApproved = QStringLiteral("El mes debe ser aprobado por el Súper Usuario para poder cerrarse.");
const QString kOtherArea = QStringLiteral("Solo puede cerrar o modificar los cierres de su área.");

void loginChief() { tests::signInAs(6); }
void loginSuper() { tests::signInAs(8); }

// The last day of the month before today's: the demo's hours of that month stand in HORAS.
QDate lastMonthEnd()
{
    const QDate today = QDate::currentDate();
    return QDate(today.year(), today.month(), 1).addDays(-1);
}

void typeText(QPlainTextEdit *edit, const QString &text)
{
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
}

// A press of a button that must be enabled.
void press(QWidget *w, const char *button)
{
    auto *b = child<QAbstractButton>(w, button);
    QVERIFY2(b->isEnabled(), button);
    b->click();
}

// Selects in a grid the row of the data control whose CieMesId is `id`, as a click does.
bool selectRow(QWidget *tab, store::DataControl *adc, qlonglong id)
{
    auto *grid = child<ui::DataGrid>(tab, "dtgCierreMeses");
    for (int r = 0; r < adc->recordCount(); ++r) {
        if (adc->valueAt(r, QStringLiteral("CieMesId")).toLongLong() == id) {
            grid->clickRow(r);
            return adc->value(QStringLiteral("CieMesId")).toLongLong() == id;
        }
    }
    return false;
}

bool chooseBound(ui::DataCombo *combo, const QString &bound)
{
    for (int i = 0; i < combo->count(); ++i) {
        combo->choose(i);
        if (combo->boundText() == bound)
            return true;
    }
    return false;
}

}  // namespace

class TestMonthClose : public QObject {
    Q_OBJECT

private:
    tests::WindowFixture m_fixture;
    ScriptedDialogs &dialogs() { return m_fixture.dialogs(); }
    tests::TempStore &db() { return m_fixture.store(); }

    int count(const char *table, const char *where = "", const QVariantList &values = {})
    {
        return db().count(QString::fromLatin1(table), QString::fromUtf8(where), values);
    }

    int hourRows() { return count("HORAS") + count("HHORAS"); }

    // Every hour row stands in exactly one of HORAS and HHORAS.
    void checkNoRowInBoth()
    {
        QCOMPARE(count("HORAS H", "EXISTS (SELECT 1 FROM HHORAS A WHERE A.HorId = H.HorId)"), 0);
    }

    // A copy of a demo hour of the area, on another date; its key.
    qlonglong addHour(const QString &area, const QDate &date, const QString &cedula = {})
    {
        const QString who = cedula.isEmpty() ? QStringLiteral("") : QStringLiteral(" AND FunCedula = ?");
        QVariantList values{date, area};
        if (!cedula.isEmpty())
            values << cedula;
        db().execNative(QStringLiteral("INSERT INTO HORAS (FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, "
                                       "HorSemana, HorValorhora, HorHoras, HorCategoria, TipId, HorMoneda) "
                                       "SELECT FunCedula, AreId, ActId, DesId, FunInsId, ?, HorSemana, HorValorhora, "
                                       "HorHoras, HorCategoria, TipId, HorMoneda FROM HORAS WHERE HorId = (SELECT "
                                       "MIN(HorId) FROM HORAS WHERE AreId = ?") +
                            who + QStringLiteral(")"),
                        values);
        return db().scalar(QStringLiteral("SELECT MAX(HorId) FROM HORAS")).toLongLong();
    }

    // A stored request, approved unless told otherwise; its key.
    qlonglong addClose(const QString &area, const QDate &cutOff, bool approved = true)
    {
        db().execNative(QStringLiteral("INSERT INTO CIERREMESES (FunCedula, AreId, CieMesMesCierre, CieMesAnioCierre, "
                                       "CieMesFechaActual, CieMesFechaCierre, CieMesAprobado, CieMesDesaprobado, "
                                       "CieMesCerrado) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)"),
                        {QStringLiteral("22222222"), area, cutOff.month(), cutOff.year(), QDate::currentDate(), cutOff,
                         approved, false, false});
        return db().scalar(QStringLiteral("SELECT MAX(CieMesId) FROM CIERREMESES")).toLongLong();
    }

    // What differs from `expected` in the request `id`.
    QString requestDifferences(qlonglong id, const QVariantMap &expected)
    {
        return db().rowDifferences(QStringLiteral("SELECT * FROM CIERREMESES WHERE CieMesId = ?"), expected, {id});
    }

    bool isClosed(qlonglong id)
    {
        return db().scalar(QStringLiteral("SELECT CieMesCerrado FROM CIERREMESES WHERE CieMesId = ?"), {id}).toBool();
    }

    // The chief closes the row `id` on a freshly loaded tab, answering Yes.
    void closeAsChief(qlonglong id)
    {
        loginChief();
        CierreMesJefeArea tab;
        QVERIFY(selectRow(&tab, tab.adcCierreMeses(), id));
        dialogs().answerNext(ui::Answer::Yes);
        press(&tab, "cmdCerrar");
    }

private slots:
    void init() { m_fixture.begin(); }
    void cleanup() { m_fixture.end(); }

    // request -> deny -> request again -> approve -> close, checked in the store each time.
    void fullCycle()
    {
        const QDate cutOff = lastMonthEnd();
        const QDate today = QDate::currentDate();
        const int closesBefore = count("CIERREMESES");
        const int hoursBefore = hourRows();

        // The chief asks.
        loginChief();
        auto chief = std::make_unique<CierreMesJefeArea>();
        QCOMPARE(child<ui::DatePicker>(chief.get(), "dtpFechaCierre")->date(), today);
        QVERIFY(!child<QLineEdit>(chief.get(), "txtMesCierre")->isEnabled());
        press(chief.get(), "cmdSolicitarCierre");
        QCOMPARE(child<QLineEdit>(chief.get(), "txtMesCierre")->text(), QString::number(today.month()));
        QCOMPARE(child<QLineEdit>(chief.get(), "txtAnioCierre")->text(), QString::number(today.year()));
        tests::type(child<QLineEdit>(chief.get(), "txtMesCierre"), QString::number(cutOff.month()));
        tests::type(child<QLineEdit>(chief.get(), "txtAnioCierre"), QString::number(cutOff.year()));
        child<ui::DatePicker>(chief.get(), "dtpFechaCierre")->chooseDate(cutOff);
        typeText(child<QPlainTextEdit>(chief.get(), "txtComentariosJefeArea"), QStringLiteral("Primer pedido"));
        QCOMPARE(count("CIERREMESES"), closesBefore);  // nothing stored before Guardar
        press(chief.get(), "cmdGuardar");
        QCOMPARE(count("CIERREMESES"), closesBefore + 1);
        const qlonglong first = db().scalar(QStringLiteral("SELECT MAX(CieMesId) FROM CIERREMESES")).toLongLong();
        QCOMPARE(requestDifferences(first, {{"FunCedula", "22222222"}, {"AreId", "DOC"}, {"CieMesMesCierre", cutOff.month()},
                                            {"CieMesAnioCierre", cutOff.year()}, {"CieMesFechaActual", today},
                                            {"CieMesFechaCierre", cutOff}, {"CieMesComentarioJefeArea", "Primer pedido"},
                                            {"CieMesAprobado", false}, {"CieMesDesaprobado", false}, {"CieMesCerrado", false}}),
                 QString());

        // The super user denies it.
        loginSuper();
        {
            CierreMesSuperUsuario super;
            QVERIFY(chooseBound(child<ui::DataCombo>(&super, "dtcAreas"), QStringLiteral("DOC")));
            QVERIFY(selectRow(&super, super.adcCierres(), first));
            child<QCheckBox>(&super, "chkCierreNegado")->click();
            typeText(child<QPlainTextEdit>(&super, "txtComentarioSuperUsuario"), QStringLiteral("Faltan horas"));
            press(&super, "cmdGuardar");
        }
        QCOMPARE(requestDifferences(first, {{"CieMesDesaprobado", true}, {"CieMesAprobado", false},
                                            {"CieMesComentarioSuperUsuario", "Faltan horas"}}),
                 QString());

        // The chief asks again with a new row; the denied one stays.
        loginChief();
        press(chief.get(), "cmdSolicitarCierre");
        child<ui::DatePicker>(chief.get(), "dtpFechaCierre")->chooseDate(cutOff);
        press(chief.get(), "cmdGuardar");
        const qlonglong second = db().scalar(QStringLiteral("SELECT MAX(CieMesId) FROM CIERREMESES")).toLongLong();
        QVERIFY(second != first);
        QCOMPARE(count("CIERREMESES"), closesBefore + 2);

        // The close is refused while the chief's list says "not approved".
        dialogs().clearShown();
        press(chief.get(), "cmdCerrar");
        QCOMPARE(dialogs().texts(), QStringList{kNotApproved});

        // The super user approves the second request.
        loginSuper();
        {
            CierreMesSuperUsuario super;
            QVERIFY(chooseBound(child<ui::DataCombo>(&super, "dtcAreas"), QStringLiteral("DOC")));
            QVERIFY(selectRow(&super, super.adcCierres(), second));
            dialogs().clearShown();
            dialogs().answerNext(ui::Answer::Yes);
            child<QCheckBox>(&super, "chkCierreAutorizado")->click();
            QCOMPARE(dialogs().count(), 1);
            QCOMPARE(dialogs().last().text,
                     QStringLiteral("Está seguro de autorizar el cierre de el mes %1/%2 del área DOC ?").arg(today.month()).arg(today.year()));
            QCOMPARE(dialogs().last().title, QStringLiteral("Confirme"));
            press(&super, "cmdGuardar");
        }
        QCOMPARE(count("CIERREMESES", "CieMesId = ? AND CieMesAprobado", {second}), 1);
        QVERIFY(!isClosed(second));
        checkNoRowInBoth();

        // The chief's list still holds its copy from before the approval; read anew, it closes.
        chief.reset();
        const int docUpToCut = count("HORAS", "AreId = 'DOC' AND HorFecha <= ?", {cutOff});
        const int archivedBefore = count("HHORAS");
        const int othersBefore = count("HORAS", "AreId <> 'DOC'");
        QVERIFY(docUpToCut > 0);
        loginChief();
        chief = std::make_unique<CierreMesJefeArea>();
        QVERIFY(selectRow(chief.get(), chief->adcCierreMeses(), second));
        QVERIFY(child<QCheckBox>(chief.get(), "chkAprobadoSuperUsuario")->isChecked());
        dialogs().clearShown();
        dialogs().answerNext(ui::Answer::Yes);
        press(chief.get(), "cmdCerrar");
        QCOMPARE(dialogs().count(), 1);
        QCOMPARE(dialogs().last().text,
                 QStringLiteral("Está seguro que desea cerrar el mes %1/%2 ?").arg(today.month()).arg(today.year()));
        QCOMPARE(dialogs().last().title, QStringLiteral("Confirme que desea hacer"));
        QVERIFY(isClosed(second));
        QCOMPARE(count("HORAS", "AreId = 'DOC' AND HorFecha <= ?", {cutOff}), 0);
        QCOMPARE(count("HHORAS"), archivedBefore + docUpToCut);
        QCOMPARE(count("HORAS", "AreId <> 'DOC'"), othersBefore);
        QCOMPARE(hourRows(), hoursBefore);
        checkNoRowInBoth();
        // The list was read anew and stands on its first row.
        QCOMPARE(chief->adcCierreMeses()->absolutePosition(), 1);
        QCOMPARE(child<ui::DataGrid>(chief.get(), "dtgCierreMeses")->rowCount(), closesBefore + 2);
    }

    // What the close run from the chief's tab moves: up to and including the cut-off day,
    // nothing later, and only the area's rows; a later
    // close moves only what is left.
    void closeMovesTheAreaUpToTheCutOff()
    {
        const QDate cutOff = lastMonthEnd();
        const qlonglong onCut = addHour(QStringLiteral("DOC"), cutOff);
        const qlonglong dayAfter = addHour(QStringLiteral("DOC"), cutOff.addDays(1));
        const qlonglong otherArea = addHour(QStringLiteral("ADM"), cutOff.addDays(-10));
        const int total = hourRows();

        const qlonglong id = addClose(QStringLiteral("DOC"), cutOff);
        closeAsChief(id);
        QCOMPARE(dialogs().texts().size(), 1);  // the question only
        QVERIFY(isClosed(id));
        QCOMPARE(count("HHORAS", "HorId = ?", {onCut}), 1);
        for (qlonglong kept : {dayAfter, otherArea})
            QCOMPARE(count("HORAS", "HorId = ?", {kept}), 1);
        QCOMPARE(count("HORAS", "AreId = 'DOC' AND HorFecha <= ?", {cutOff}), 0);
        checkNoRowInBoth();

        // An hour recorded after the close with a date before its cut-off waits for the next
        // close, which takes it and what is left up to its own cut-off, and nothing twice.
        const qlonglong late = addHour(QStringLiteral("DOC"), cutOff.addDays(-5));
        const int archived = count("HHORAS");
        const int next = count("HORAS", "AreId = 'DOC' AND HorFecha <= ?", {cutOff.addDays(1)});
        const qlonglong id2 = addClose(QStringLiteral("DOC"), cutOff.addDays(1));
        closeAsChief(id2);
        QVERIFY(isClosed(id2));
        QCOMPARE(count("HHORAS"), archived + next);
        for (qlonglong moved : {late, dayAfter})
            QCOMPARE(count("HHORAS", "HorId = ?", {moved}), 1);
        QCOMPARE(count("HORAS", "HorId = ?", {otherArea}), 1);
        QCOMPARE(hourRows(), total + 1);
        checkNoRowInBoth();
    }

    void closingAnEmptyPeriodMarksTheRow()
    {
        const int current = count("HORAS");
        const int archived = count("HHORAS");
        const qlonglong id = addClose(QStringLiteral("DOC"), QDate(1995, 3, 31));
        closeAsChief(id);
        QVERIFY(isClosed(id));
        QCOMPARE(count("HORAS"), current);
        QCOMPARE(count("HHORAS"), archived);
        QVERIFY(dialogs().busyHistory().contains(true));  // the hourglass while it ran
        QVERIFY(!dialogs().isBusy());
    }

    // With no request at all: no close, the export offered, cmdGuardar explains itself. The
    // first request enables cmdCerrar as any new row does, which then says the month must be
    // approved first; the request is saved like any other.
    void emptyList()
    {
        db().execNative(QStringLiteral("DELETE FROM CIERREMESES"));
        loginChief();
        CierreMesJefeArea tab;
        QVERIFY(!child<QPushButton>(&tab, "cmdCerrar")->isEnabled());
        QVERIFY(child<QPushButton>(&tab, "cmdExportar")->isEnabled());
        press(&tab, "cmdGuardar");
        QCOMPARE(dialogs().count(), 1);
        QCOMPARE(count("CIERREMESES"), 0);

        press(&tab, "cmdSolicitarCierre");
        QVERIFY(child<QPushButton>(&tab, "cmdExportar")->isEnabled());
        press(&tab, "cmdCerrar");
        QCOMPARE(dialogs().count(), 2);
        QCOMPARE(dialogs().last().text, kNotApproved);
        QCOMPARE(count("CIERREMESES"), 0);
        press(&tab, "cmdGuardar");
        QCOMPARE(count("CIERREMESES", "AreId = 'DOC' AND CieMesFechaCierre = ?", {QDate::currentDate()}), 1);
    }

    // A delete refused by the store after the copy went through: nothing moves at all.
    void failureBetweenCopyAndDeleteMovesNothing()
    {
        if (db().backend() == store::Backend::PostgreSQL) {
            db().execNative(QStringLiteral("CREATE OR REPLACE FUNCTION tst_no_delete() RETURNS trigger AS $$ BEGIN "
                                           "RAISE EXCEPTION 'borrado impedido'; END $$ LANGUAGE plpgsql"));
            db().execNative(QStringLiteral("CREATE TRIGGER tst_no_delete BEFORE DELETE ON HORAS FOR EACH ROW "
                                           "EXECUTE FUNCTION tst_no_delete()"));
        } else {
            db().execNative(QStringLiteral("CREATE TRIGGER tst_no_delete BEFORE DELETE ON HORAS BEGIN SELECT "
                                           "RAISE(ABORT, 'borrado impedido'); END"));
        }
        const int current = count("HORAS");
        const int archived = count("HHORAS");
        const qlonglong id = addClose(QStringLiteral("DOC"), lastMonthEnd());
        closeAsChief(id);
        QCOMPARE(dialogs().count(), 2);
        const QString text = dialogs().last().text;
        QVERIFY2(text.startsWith(QStringLiteral("No se pudo cerrar el mes: ")) && text.contains(QStringLiteral("borrado impedido")), qPrintable(text));
        QVERIFY(!isClosed(id));
        QCOMPARE(count("HORAS"), current);
        QCOMPARE(count("HHORAS"), archived);
        checkNoRowInBoth();

        // Once the store lets it, the same row closes.
        db().execNative(QStringLiteral("DROP TRIGGER tst_no_delete") +
                        (db().backend() == store::Backend::PostgreSQL ? QStringLiteral(" ON HORAS") : QString()));
        closeAsChief(id);
        QVERIFY(isClosed(id));
        QVERIFY(count("HHORAS") > archived);
        checkNoRowInBoth();
    }

    // cmdCerrar refuses, changing nothing: a row not approved, a row of another area, a new
    // row, the answer No.
    void closeRefusals_data()
    {
        QTest::addColumn<QString>("row");
        QTest::addColumn<QString>("message");
        QTest::newRow("not approved") << "requested" << kNotApproved;
        QTest::newRow("other area") << "other" << kOtherArea;
        QTest::newRow("new row") << "new" << kNotApproved;
        const QDate cut = lastMonthEnd();
        QTest::newRow("answer no") << "approved" << QStringLiteral("Está seguro que desea cerrar el mes %1/%2 ?").arg(cut.month()).arg(cut.year());
    }
    void closeRefusals()
    {
        QFETCH(QString, row);
        QFETCH(QString, message);
        const qlonglong id = addClose(row == QLatin1String("other") ? QStringLiteral("ADM") : QStringLiteral("DOC"), lastMonthEnd(),
                                      row != QLatin1String("requested") && row != QLatin1String("new"));
        const int current = count("HORAS");
        const int closes = count("CIERREMESES");
        loginChief();
        CierreMesJefeArea tab;
        QVERIFY(selectRow(&tab, tab.adcCierreMeses(), id));
        if (row == QLatin1String("new"))
            press(&tab, "cmdSolicitarCierre");
        press(&tab, "cmdCerrar");  // No is the default answer
        QCOMPARE(dialogs().texts(), QStringList{message});
        QCOMPARE(count("HORAS"), current);
        QCOMPARE(count("CIERREMESES"), closes);
        QVERIFY(!isClosed(id));
    }

    // The buttons follow the current row: a closed month can't be closed or exported.
    void buttonsFollowTheRow()
    {
        const qlonglong open = addClose(QStringLiteral("DOC"), lastMonthEnd(), false);
        const qlonglong closed =
            db().scalar(QStringLiteral("SELECT MIN(CieMesId) FROM CIERREMESES WHERE CieMesCerrado")).toLongLong();
        loginChief();
        CierreMesJefeArea tab;
        auto *cerrar = child<QPushButton>(&tab, "cmdCerrar");
        auto *exportar = child<QPushButton>(&tab, "cmdExportar");
        QVERIFY(selectRow(&tab, tab.adcCierreMeses(), closed));
        QVERIFY(!cerrar->isEnabled() && !exportar->isEnabled());
        QVERIFY(child<QPushButton>(&tab, "cmdSolicitarCierre")->isEnabled());
        QVERIFY(child<QPushButton>(&tab, "cmdGuardar")->isEnabled());
        QVERIFY(selectRow(&tab, tab.adcCierreMeses(), open));
        QVERIFY(cerrar->isEnabled() && exportar->isEnabled());
        QVERIFY(selectRow(&tab, tab.adcCierreMeses(), closed));
        press(&tab, "cmdSolicitarCierre");  // a new row counts as not closed
        QVERIFY(cerrar->isEnabled() && exportar->isEnabled());
        // The grid reads the flags as "Si"/"No".
        auto *grid = child<ui::DataGrid>(&tab, "dtgCierreMeses");
        QCOMPARE(grid->heading(6), QStringLiteral("Mes Cerrado"));
        QCOMPARE(grid->cellText(0, 6), QStringLiteral("Si"));
    }

    // cmdGuardar on a stored row writes the location and the comment only; a row of another
    // area is not written at all; a request left unsaved is dropped.
    void savingStoredAndUnsavedRows()
    {
        const QDate cutOff = lastMonthEnd();
        const qlonglong own = addClose(QStringLiteral("DOC"), cutOff, false);
        const qlonglong other = addClose(QStringLiteral("ADM"), cutOff, false);
        const int closes = count("CIERREMESES");
        tests::signIn(QStringLiteral("jefe"), QStringLiteral("11111111"), QStringLiteral("DOC"), 6);  // after a "cambio"
        {
            CierreMesJefeArea tab;
            press(&tab, "cmdSolicitarCierre");  // makes the month box and the date editable
            child<ui::DatePicker>(&tab, "dtpFechaCierre")->chooseDate(cutOff.addDays(-3));
            QVERIFY(selectRow(&tab, tab.adcCierreMeses(), own));
            QCOMPARE(count("CIERREMESES"), closes);  // the unsaved request is gone
            tests::type(child<QLineEdit>(&tab, "txtMesCierre"), QStringLiteral("1"));
            tests::type(child<QLineEdit>(&tab, "txtUbicacionArchivoHoras"), QStringLiteral("C:\\horas\\doc.xls"));
            typeText(child<QPlainTextEdit>(&tab, "txtComentariosJefeArea"), QStringLiteral("Adjunto planilla"));
            press(&tab, "cmdGuardar");
            QCOMPARE(requestDifferences(own, {{"CieMesArchivoHoras", "C:\\horas\\doc.xls"}, {"CieMesComentarioJefeArea", "Adjunto planilla"},
                                              {"CieMesMesCierre", cutOff.month()}, {"CieMesFechaCierre", cutOff},
                                              {"FunCedula", "22222222"}}),
                     QString());
            QCOMPARE(child<QPlainTextEdit>(&tab, "txtComentariosJefeArea")->toPlainText(), QStringLiteral("Adjunto planilla"));

            QVERIFY(selectRow(&tab, tab.adcCierreMeses(), other));
            typeText(child<QPlainTextEdit>(&tab, "txtComentariosJefeArea"), QStringLiteral("Ajeno"));
            dialogs().clearShown();
            press(&tab, "cmdGuardar");
            QCOMPARE(dialogs().texts(), QStringList{kOtherArea});
            QVERIFY(selectRow(&tab, tab.adcCierreMeses(), own));  // leaving it writes nothing either
            QCOMPARE(count("CIERREMESES", "CieMesComentarioJefeArea = 'Ajeno'"), 0);

            press(&tab, "cmdSolicitarCierre");
            typeText(child<QPlainTextEdit>(&tab, "txtComentariosJefeArea"), QStringLiteral("Sin guardar"));
        }
        QCOMPARE(count("CIERREMESES"), closes);  // nor when the window goes
    }

    // Approving: Yes or No, and unticking again before cmdGuardar.
    void approval_data()
    {
        QTest::addColumn<bool>("yes");
        QTest::addColumn<bool>("untick");
        QTest::addColumn<bool>("stored");
        QTest::newRow("yes") << true << false << true;
        QTest::newRow("yes then untick") << true << true << false;
        QTest::newRow("no") << false << false << false;
    }
    void approval()
    {
        QFETCH(bool, yes);
        QFETCH(bool, untick);
        QFETCH(bool, stored);
        const qlonglong id = addClose(QStringLiteral("DOC"), lastMonthEnd(), false);
        loginSuper();
        CierreMesSuperUsuario tab;
        // Before an area is chosen, every area is listed, named "apellidos,nombres".
        QVERIFY(selectRow(&tab, tab.adcCierres(), id));
        auto *box = child<QCheckBox>(&tab, "chkCierreAutorizado");
        QVERIFY(box->isEnabled());
        dialogs().answerNext(yes ? ui::Answer::Yes : ui::Answer::No);
        box->click();
        QCOMPARE(dialogs().count(), 1);
        QCOMPARE(box->isChecked(), yes);
        if (untick)
            box->click();
        QCOMPARE(dialogs().count(), 1);
        press(&tab, "cmdGuardar");
        QCOMPARE(requestDifferences(id, {{"CieMesAprobado", stored}}), QString());
    }

    // The list of all areas, then an area, then a month and year; an approved row locks
    // both boxes without a question.
    void superUserListAndBoxes()
    {
        loginSuper();
        CierreMesSuperUsuario tab;
        auto *grid = child<ui::DataGrid>(&tab, "dtgCierreMeses");
        QCOMPARE(grid->rowCount(), count("CIERREMESES"));
        QCOMPARE(grid->heading(2), QStringLiteral("Funcionario"));
        QVERIFY(!grid->cellText(0, 2).contains(QStringLiteral(", ")));
        QVERIFY(grid->cellText(0, 2).contains(QLatin1Char(',')));
        QVERIFY(!child<ui::DataCombo>(&tab, "dtcAños")->isEnabled());

        QVERIFY(chooseBound(child<ui::DataCombo>(&tab, "dtcAreas"), QStringLiteral("INV")));
        QCOMPARE(grid->rowCount(), count("CIERREMESES", "AreId = 'INV'"));
        QVERIFY(grid->cellText(0, 2).contains(QStringLiteral(", ")));
        auto *years = child<ui::DataCombo>(&tab, "dtcAños");
        auto *months = child<ui::DataCombo>(&tab, "dtcMeses");
        QVERIFY(years->isEnabled() && months->isEnabled());

        // A year with no month: a message, the list stays.
        const int listed = grid->rowCount();
        years->choose(0);
        QCOMPARE(dialogs().count(), 1);
        QCOMPARE(grid->rowCount(), listed);

        // The demo's INV request of last month is approved and not closed.
        const QDate month = lastMonthEnd();
        QVERIFY(chooseBound(months, QString::number(month.month())));
        dialogs().clearShown();
        QVERIFY(chooseBound(years, QString::number(month.year())));
        QCOMPARE(dialogs().count(), 0);
        QCOMPARE(grid->rowCount(), 1);
        QVERIFY(child<QCheckBox>(&tab, "chkCierreAutorizado")->isChecked());
        QVERIFY(!child<QCheckBox>(&tab, "chkCierreAutorizado")->isEnabled());
        QVERIFY(!child<QCheckBox>(&tab, "chkCierreNegado")->isEnabled());
        QCOMPARE(grid->cellText(0, 3), QStringLiteral("No"));
        QCOMPARE(dialogs().count(), 0);

        // The comment stays editable on an approved row.
        typeText(child<QPlainTextEdit>(&tab, "txtComentarioSuperUsuario"), QStringLiteral("Listo"));
        press(&tab, "cmdGuardar");
        QCOMPARE(count("CIERREMESES", "AreId = 'INV' AND CieMesComentarioSuperUsuario = 'Listo' AND CieMesAprobado"), 1);
    }
};

TEMPALIA_TEST_MAIN(TestMonthClose)
#include "tst_monthclose.moc"

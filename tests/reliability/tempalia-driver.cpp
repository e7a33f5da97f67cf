// tempalia-driver: one user of the store in a process of its own, for the reliability
// tests. It opens the real windows headless on the data source RRHHODBC named by the
// ODBCSYSINI / ODBCINI it inherits, performs the actions it is told, answers every box
// through the dialog seam and prints one line per action with its outcome:
//
//   entry <cedula> <count> <first date yyyy-MM-dd> [<stop file>]
//       <count> entries through frmRegistroHoras, every other one teaching; entry i is
//       dated <first date> + i/4 days and has 1 + (i%4)/4 hours, so each one can be told
//       from the others. Prints "OK <i> <horid> <date> <hours> <teaching 0|1> <rub> <mat>
//       <turno> <ms since the epoch> <ms the save took>" or "ERROR <i> <what the boxes
//       said>". With a stop file, no entry is begun once that file exists.
//   close <CieMesId> <area> <chief cedula> [again]
//       the chief's close of that row through the tab "Cierre de mes", answering Yes.
//       Prints "MS <ms the press took>", then "CLOSED" or "ERROR <boxes>". With "again", an
//       ERROR is followed by "AGAIN", a line read from stdin and, if it is "go", another
//       press of cmdCerrar in the same tab, until the close goes through or another line
//       comes.
//   edit <horid> <hours> [<date yyyy-MM-dd>]
//       frmModificoHoras on that entry, the hours typed (and the date chosen); prints
//       "READY", waits for a line on stdin, prints "PRESSING" and presses cmdGuardar:
//       "SAVED" or "ERROR <boxes>" and "WINDOW open <hours shown>" or "WINDOW closed".
//   delete <horid>
//       the workspace's deletion of that entry: the row read, "READY", a line awaited,
//       "PRESSING", the row deleted: "DELETED" or "ERROR <message>".
//   area <key> <description>
//       frmMantAreas: cmdNuevo, key and description typed; "READY", waits for a line on
//       stdin, "PRESSING", cmdGuardar: "SAVED" or "ERROR <boxes>", then "WINDOW open <key
//       typed>" when the window still holds the row.
//   login <login> <password>
//       frmLogin with what is typed, cmdOK: "LOGGED <person> <role>" or "ERROR <boxes>".
//
// Every line ends with "DONE" and the process exits 0; an exception that reaches the top
// prints "FATAL <message>" and exits 3. A crash is what the tests look for otherwise.
#include "Controls.h"
#include "ScriptedDialogs.h"
#include "Session.h"
#include "admin/frmMantCatalogos.h"
#include "hours/frmModificoHoras.h"
#include "hours/frmRegistroHoras.h"
#include "monthclose/CierreMesJefeArea.h"
#include "session/frmLogin.h"
#include "session/modPrincipal.h"
#include "store/DataControl.h"
#include "store/HourHistory.h"
#include "store/StoreError.h"
#include "ui/Application.h"
#include "ui/DataGrid.h"
#include "ui/DataLists.h"
#include "ui/DatePicker.h"

#include <QComboBox>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

using namespace Qt::StringLiterals;
using tests::child;
using tests::choose;
using tests::type;

namespace {

void say(const QString &line)
{
    std::fputs(line.toUtf8().constData(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

std::string waitForGo()
{
    std::string line;
    std::getline(std::cin, line);
    return line;
}

// "READY", a line awaited on stdin, "PRESSING": the test decides when the user presses.
void readyThenPress()
{
    say(u"READY"_s);
    waitForGo();
    say(u"PRESSING"_s);
}

QString oneLine(QString text)
{
    return text.replace(u'\n', u' ');
}

QString boxes(const ScriptedDialogs &dialogs)
{
    QStringList texts = dialogs.texts();
    for (QString &t : texts)
        t = oneLine(t);
    return texts.join(u" | "_s);
}

// "SAVED" when no box was shown, else "ERROR" and what the boxes said.
QString savedOrError(const ScriptedDialogs &dialogs)
{
    return dialogs.count() == 0 ? u"SAVED"_s : u"ERROR "_s + boxes(dialogs);
}

void chooseFixed(QWidget *w, const char *name, const QString &text)
{
    auto *c = child<QComboBox>(w, name);
    c->setCurrentIndex(c->findText(text));
}

// The session as a login would leave it; the store learns the login "d" + cedula, so
// that the history of each process's changes can be told apart.
void login(const QString &cedula, const QString &area, qint16 perId)
{
    tests::signIn(u"d"_s + cedula, cedula, area, perId);
    store::history::announceLogin(modPrincipal::session().login);
}

QString entries(const QStringList &args)
{
    const QString cedula = args.value(0);
    const int count = args.value(1).toInt();
    const QDate first = QDate::fromString(args.value(2), Qt::ISODate);
    const QString stopFile = args.value(3);
    login(cedula, u"DOC"_s, 5);
    int failed = 0;
    int done = 0;
    for (int i = 0; i < count && (stopFile.isEmpty() || !QFile::exists(stopFile)); ++i, ++done) {
        InstalledDialogs dialogs;
        const bool teaching = i % 2 == 0;
        const QDate date = first.addDays(i / 4);
        const double hours = 1 + (i % 4) * 0.25;
        const QString rub = u"CIE"_s;
        const bool physics = (i / 2) % 2 == 0;
        const QString mat = physics ? u"FIS"_s : u"MAT"_s;
        const QString turno = (i / 2) % 3 == 0 ? u"Mañana"_s : u"Noche"_s;
        QPointer<frmRegistroHoras> w;
        QElapsedTimer saving;
        // A failure of the store in any step is shown as the program's error boundary shows
        // a failure in a handler, and ends the action.
        try {
            w = frmRegistroHoras::open();
            // A user who meets a box (the store lost while a list was read) stops there: the
            // rest of the entry is not typed and Guardar is not pressed.
            const std::vector<std::function<void()>> steps{
                [&] { child<ui::DatePicker>(w, "dtpFechas_0")->chooseDate(date); },
                [&] { choose(w, "dtcAreas", u"Docencia"_s); },
                [&] { choose(w, "dtcActividades", teaching ? u"Clases"_s : u"Reuniones"_s); },
                [&] { choose(w, "dtcDestinos", u"Cursos regulares"_s); },
                [&] { choose(w, "dtcTipoHoras", u"Horas comunes"_s); },
                [&] { type(child<QLineEdit>(w, "txtHoras"), QLocale(QLocale::Spanish, QLocale::Uruguay).toString(hours, 'f', 2)); },
                [&] { chooseFixed(w, "cboMoneda", u"Pesos Uruguayos"_s); },
                [&] { teaching ? choose(w, "dtcRubros", u"Ciencias"_s) : void(); },
                [&] { teaching ? choose(w, "dtcMaterias", physics ? u"Física"_s : u"Matemática"_s) : void(); },
                [&] { teaching ? chooseFixed(w, "cboTurno", turno) : void(); },
                [&] {
                    saving.start();
                    QTest::mouseClick(child<QPushButton>(w, "cmdGuardar"), Qt::LeftButton);
                },
            };
            for (const auto &step : steps) {
                if (!w || dialogs.count() > 0)
                    break;
                step();
            }
        } catch (const store::StoreError &e) {
            ui::showError(e);
        }
        const double savedIn = saving.isValid() ? saving.nsecsElapsed() / 1e6 : -1;
        const QVariant horId = w ? w->storedHorId() : QVariant();
        if (dialogs.count() == 0 && !(w && w->isVisible()) && !horId.isNull()) {
            say(u"OK %1 %2 %3 %4 %5 %6 %7 %8 %9 %10"_s.arg(i)
                    .arg(horId.toLongLong())
                    .arg(date.toString(Qt::ISODate))
                    .arg(hours, 0, 'f', 2)
                    .arg(teaching ? 1 : 0)
                    .arg(teaching ? rub : u"-"_s, teaching ? mat : u"-"_s, teaching ? turno : u"-"_s)
                    .arg(QDateTime::currentMSecsSinceEpoch())
                    .arg(savedIn, 0, 'f', 2));
        } else {
            ++failed;
            say(u"ERROR %1 %2 stored=%3"_s.arg(i).arg(boxes(dialogs), horId.toString()));
        }
        if (w)
            w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return u" ok=%1 errors=%2"_s.arg(done - failed).arg(failed);
}

QString closeMonth(const QStringList &args)
{
    const qlonglong id = args.value(0).toLongLong();
    login(args.value(2), args.value(1), 6);
    InstalledDialogs dialogs;
    CierreMesJefeArea tab;
    tab.show();
    store::DataControl *adc = tab.adcCierreMeses();
    bool found = false;
    for (int r = 0; r < adc->recordCount() && !found; ++r) {
        if (adc->valueAt(r, u"CieMesId"_s).toLongLong() == id) {
            child<ui::DataGrid>(&tab, "dtgCierreMeses")->clickRow(r);
            found = adc->value(u"CieMesId"_s).toLongLong() == id;
        }
    }
    if (!found) {
        say(u"ERROR row %1 not in the list"_s.arg(id));
        return {};
    }
    for (;;) {
        dialogs.clearShown();
        dialogs.answerNext(ui::Answer::Yes);
        QElapsedTimer pressed;
        pressed.start();
        child<QPushButton>(&tab, "cmdCerrar")->click();
        say(u"MS %1"_s.arg(pressed.nsecsElapsed() / 1e6, 0, 'f', 2));
        // The confirmation is the one box a good close shows.
        if (dialogs.count() == 1 && dialogs.last().buttons == ui::Buttons::YesNo) {
            say(u"CLOSED"_s);
            return {};
        }
        say(u"ERROR "_s + boxes(dialogs));
        if (args.value(3) != u"again"_s)
            return {};
        say(u"AGAIN"_s);
        if (waitForGo() != "go")
            return {};
    }
}

QString editEntry(const QStringList &args)
{
    login(u"11111111"_s, u"DOC"_s, 5);
    InstalledDialogs dialogs;
    QPointer<frmModificoHoras> w = frmModificoHoras::open(args.value(0).toInt());
    if (!w) {
        say(u"ERROR "_s + boxes(dialogs));
        return {};
    }
    type(child<QLineEdit>(w, "txtHoras"), args.value(1));
    if (args.size() > 2)
        child<ui::DatePicker>(w, "dtpFechas_0")->chooseDate(QDate::fromString(args.value(2), Qt::ISODate));
    readyThenPress();
    QTest::mouseClick(child<QPushButton>(w, "cmdGuardar"), Qt::LeftButton);
    say(savedOrError(dialogs));
    say(w && w->isVisible() ? u"WINDOW open "_s + child<QLineEdit>(w, "txtHoras")->text() : u"WINDOW closed"_s);
    if (w)
        w->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return {};
}

QString deleteEntry(const QStringList &args)
{
    login(u"11111111"_s, u"DOC"_s, 5);
    store::DataControl adc(u"adcMesActual"_s);
    adc.setRecordSource(u"SELECT * FROM HORAS WHERE HORID="_s + args.value(0));
    adc.refresh();
    readyThenPress();
    try {
        adc.deleteCurrent();
        say(u"DELETED"_s);
    } catch (const store::StoreError &e) {
        say(u"ERROR "_s + oneLine(e.description()));
    }
    return {};
}

QString newArea(const QStringList &args)
{
    login(u"33333333"_s, u"ADM"_s, 7);
    InstalledDialogs dialogs;
    auto *w = new frmMantAreas;
    QPointer<frmMantAreas> guard(w);
    w->show();
    child<QPushButton>(w, "cmdNuevo")->click();
    type(child<QLineEdit>(w, "txtCodigo"), args.value(0));
    type(child<QLineEdit>(w, "txtDescripcion"), args.value(1));
    readyThenPress();
    child<QPushButton>(w, "cmdGuardar")->click();
    say(savedOrError(dialogs));
    const bool holdsRow = guard && guard->isVisible() && !child<QPushButton>(w, "cmdNuevo")->isEnabled();
    say(holdsRow ? u"WINDOW open "_s + child<QLineEdit>(w, "txtCodigo")->text() : u"WINDOW browsing"_s);
    delete guard.data();
    return {};
}

QString logIn(const QStringList &args)
{
    InstalledDialogs dialogs;
    std::unique_ptr<frmLogin> w;
    try {
        w = std::make_unique<frmLogin>();
    } catch (const std::exception &e) {
        ui::showError(e);
    }
    if (w) {
        w->show();
        type(child<QLineEdit>(w.get(), "txtLogin"), args.value(0));
        type(child<QLineEdit>(w.get(), "txtPassword"), args.value(1));
        child<QPushButton>(w.get(), "cmdOK")->click();
    }
    if (w && w->LoginSucceeded)
        say(u"LOGGED %1 %2"_s.arg(modPrincipal::session().person).arg(modPrincipal::session().role));
    else
        say(u"ERROR "_s + boxes(dialogs));
    return {};
}

}  // namespace

int main(int argc, char *argv[])
{
    ui::Application app(argc, argv);
    QStringList args = app.arguments().mid(1);
    const QString action = args.isEmpty() ? QString() : args.takeFirst();
    // Each action's lines, then "DONE" and what the action adds to it.
    const QHash<QString, QString (*)(const QStringList &)> actions{
        {u"entry"_s, entries}, {u"close"_s, closeMonth}, {u"edit"_s, editEntry},
        {u"delete"_s, deleteEntry}, {u"area"_s, newArea}, {u"login"_s, logIn}};
    if (!actions.contains(action)) {
        say(u"FATAL unknown action "_s + action);
        return 2;
    }
    try {
        say(u"DONE"_s + actions.value(action)(args));
    } catch (const std::exception &e) {
        say(u"FATAL "_s + oneLine(QString::fromStdString(e.what())));
        return 3;
    }
    return 0;
}

#pragma once

// What the fault tests share: filling the windows they break, a census of the store to
// tell that nothing changed, and a PostgreSQL cluster of their own that can be stopped.
#include "Reliability.h"
#include "Session.h"
#include "Controls.h"
#include "ScriptedDialogs.h"
#include "WindowFixture.h"
#include "admin/frmMantCatalogos.h"
#include "hours/frmRegistroHoras.h"
#include "monthclose/CierreMesJefeArea.h"
#include "session/modPrincipal.h"
#include "store/Connection.h"
#include "store/DataControl.h"
#include "ui/Application.h"
#include "ui/DataGrid.h"
#include "ui/DataLists.h"
#include "ui/DatePicker.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <functional>
#include <unistd.h>

namespace faults {

using namespace Qt::StringLiterals;

using tests::child;
using tests::choose;
using tests::type;

inline const QString kBusy = u"La base de datos está ocupada por otro usuario."_s;
inline const QString kLost = u"Se perdió la conexión con la base de datos."_s;
inline const QString kLinkMissing = u"Las horas quedaron guardadas, pero no se pudo guardar su rubro, materia y turno."_s;

inline void writeFile(const QString &path, const QString &text)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(text.toUtf8());
}

// A teaching entry of 11111111 dated `date`, filled in and not yet saved.
inline frmRegistroHoras *fillTeachingEntry(const QDate &date)
{
    tests::signIn(u"usuario"_s, u"11111111"_s, u"DOC"_s, 5);
    frmRegistroHoras *w = frmRegistroHoras::open();
    child<ui::DatePicker>(w, "dtpFechas_0")->chooseDate(date);
    choose(w, "dtcAreas", u"Docencia"_s);
    choose(w, "dtcActividades", u"Clases"_s);
    choose(w, "dtcDestinos", u"Cursos regulares"_s);
    choose(w, "dtcTipoHoras", u"Horas comunes"_s);
    type(child<QLineEdit>(w, "txtHoras"), u"2,5"_s);
    choose(w, "dtcRubros", u"Ciencias"_s);
    choose(w, "dtcMaterias", u"Física"_s);
    child<QComboBox>(w, "cboTurno")->setCurrentIndex(1);
    child<QComboBox>(w, "cboMoneda")->setCurrentIndex(0);
    return w;
}

// The chief's tab, on the row `id`.
inline std::unique_ptr<CierreMesJefeArea> chiefTabOn(qlonglong id)
{
    tests::signIn(u"jefe"_s, u"22222222"_s, u"DOC"_s, 6);
    auto tab = std::make_unique<CierreMesJefeArea>();
    tab->show();
    store::DataControl *adc = tab->adcCierreMeses();
    for (int r = 0; r < adc->recordCount(); ++r)
        if (adc->valueAt(r, u"CieMesId"_s).toLongLong() == id)
            child<ui::DataGrid>(tab.get(), "dtgCierreMeses")->clickRow(r);
    return tab;
}

// What a store looks like, to tell that nothing changed.
struct Census {
    int horas = 0, hhoras = 0, links = 0, areas = 0, inBoth = 0, orphanLinks = 0, closed = 0;
    bool operator==(const Census &) const = default;
};

inline Census census(const std::function<QVariant(const QString &)> &scalar)
{
    const auto count = [&](const QString &from) { return scalar(u"SELECT COUNT(*) FROM "_s + from).toInt(); };
    return {count(u"HORAS"_s), count(u"HHORAS"_s), count(u"HORAS_RUBROS_MATERIAS"_s), count(u"AREAS"_s),
            count(u"HORAS H WHERE EXISTS (SELECT 1 FROM HHORAS A WHERE A.HorId = H.HorId)"_s),
            count(u"HORAS_RUBROS_MATERIAS L WHERE NOT EXISTS (SELECT 1 FROM HORAS H WHERE H.HorId = L.HorId) AND NOT "
                  "EXISTS (SELECT 1 FROM HHORAS A WHERE A.HorId = L.HorId)"_s),
            count(u"CIERREMESES WHERE CieMesCerrado"_s)};
}

inline Census census(tests::TempStore &db)
{
    return census([&](const QString &sql) { return db.scalar(sql); });
}

// One of the saves the fault tests break, on its own window, filled in and ready: an entry
// of hours ("entry"), a new area `areaKey` in its maintenance window ("maintenance"), or the
// chief's close of the approved row `closeId` ("close").
class SaveUnderFault {
public:
    SaveUnderFault(const QString &action, qlonglong closeId, ScriptedDialogs &dialogs, const QString &areaKey)
        : m_action(action), m_dialogs(dialogs)
    {
        if (action == u"entry"_s) {
            m_window = fillTeachingEntry(QDate(2030, 5, 6));
        } else if (action == u"maintenance"_s) {
            auto *w = new frmMantAreas;
            w->show();
            m_window = w;
            child<QPushButton>(w, "cmdNuevo")->click();
            type(w, "txtCodigo", areaKey);
            type(w, "txtDescripcion", u"Área %1"_s.arg(areaKey));
        } else {
            m_tab = chiefTabOn(closeId);
            m_window = m_tab.get();
        }
    }

    QWidget *window() const { return m_window; }
    bool isClose() const { return m_action == u"close"_s; }

    // Presses the window's button (the close's confirmation answered Yes).
    void press()
    {
        if (isClose())
            m_dialogs.answerNext(ui::Answer::Yes);
        tests::click(m_window, isClose() ? "cmdCerrar" : "cmdGuardar");
    }

    // The boxes shown, the close's confirmation left out.
    QStringList failures() const
    {
        QStringList texts = m_dialogs.texts();
        if (isClose() && !texts.isEmpty())
            texts.removeFirst();
        return texts;
    }

    // Once the fault is gone, the same window's press did its work once: `due` rows of the
    // area were moved by the close.
    void checkDone(const Census &before, const Census &now, int due) const
    {
        QCOMPARE(now.inBoth, 0);
        QCOMPARE(now.orphanLinks, 0);
        if (m_action == u"entry"_s) {
            QCOMPARE(now.horas, before.horas + 1);
            QCOMPARE(now.links, before.links + 1);
        } else if (m_action == u"maintenance"_s) {
            QCOMPARE(now.areas, before.areas + 1);
        } else {
            QCOMPARE(now.closed, before.closed + 1);
            QCOMPARE(now.hhoras, before.hhoras + due);
        }
    }

private:
    QString m_action;
    ScriptedDialogs &m_dialogs;
    QPointer<QWidget> m_window;
    std::unique_ptr<CierreMesJefeArea> m_tab;
};

// A PostgreSQL cluster of this test's own in a temporary folder; run as the user postgres
// when the tests run as root, as initdb refuses root.
class OwnCluster {
public:
    bool start()
    {
        const QStringList bins = QDir(u"/usr/lib/postgresql"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        if (bins.isEmpty() || !m_dir.isValid())
            return false;
        m_bin = u"/usr/lib/postgresql/%1/bin/"_s.arg(bins.last());
        m_port = tests::freePort();  // never a port guessed
        m_user = getuid() == 0 ? u"postgres"_s : qEnvironmentVariable("USER", u"postgres"_s);
        return m_port != 0 && (getuid() != 0 || QProcess::execute(u"chown"_s, {u"postgres"_s, m_dir.path()}) == 0) &&
               run(wrap({m_bin + u"initdb"_s, u"-D"_s, data(), u"-A"_s, u"trust"_s, u"-U"_s, m_user, u"-E"_s, u"UTF8"_s})) == 0 &&
               resume();
    }
    bool resume()
    {
        const QString options =
            u"-p %1 -k %2 -c listen_addresses=127.0.0.1 -c fsync=off -c lc_messages=es_ES.UTF-8"_s.arg(m_port).arg(m_dir.path());
        return run(wrap({m_bin + u"pg_ctl"_s, u"-D"_s, data(), u"-l"_s, m_dir.path() + u"/log"_s, u"-w"_s, u"-o"_s, options,
                         u"start"_s})) == 0;
    }
    // "fast" lets the server end its sessions in order; "immediate" is a server that dies:
    // no session commits anything after the command, not even one that was waiting for a
    // lock that a session ended first gave up.
    QStringList stopCommand(const QString &mode = u"fast"_s) const
    {
        return wrap({m_bin + u"pg_ctl"_s, u"-D"_s, data(), u"-m"_s, mode, u"stop"_s});
    }
    void stop() { run(stopCommand()); }
    // A command that waits until a session of the cluster waits for a lock, prints "overlap"
    // and stops the server at once; after a minute with no such session it prints "no wait" and
    // leaves the server running.
    QStringList stopOnceALockIsAwaited() const
    {
        const QString poll =
            psql().join(u' ') + u" -c \"SELECT count(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock'\""_s;
        return QStringList{u"sh"_s, u"-c"_s,
                           u"for i in $(seq 600); do n=$(%1); if [ \"${n:-0}\" -gt 0 ]; then echo overlap; exec \"$@\" "
                           ">/dev/null; fi; sleep 0.1; done; echo 'no wait'"_s.arg(poll),
                           u"stopper"_s} +
               stopCommand(u"immediate"_s);
    }
    QString dsn() const
    {
        return u"[RRHHODBC]\nDriver=PostgreSQL Unicode\nServername=127.0.0.1\nPort=%1\nDatabase=postgres\nUsername=%2\n"
               "Password=\nBoolsAsChar=0\nUseDeclareFetch=1\nFetch=100\nTextAsLongVarchar=0\nUnknownsAsLongVarchar=0\n"
               "MaxVarcharSize=4000\n\n"_s.arg(m_port).arg(m_user);
    }
    // psql on the cluster, reading its statements from stdin.
    QStringList psql() const
    {
        return {m_bin + u"psql"_s, u"-h"_s, u"127.0.0.1"_s, u"-p"_s, QString::number(m_port), u"-U"_s, m_user, u"-d"_s,
                u"postgres"_s, u"-qAt"_s};
    }

private:
    QString data() const { return m_dir.path() + u"/data"_s; }
    QStringList wrap(const QStringList &cmd) const
    {
        return getuid() == 0 ? QStringList{u"runuser"_s, u"-u"_s, u"postgres"_s, u"--"_s} + cmd : cmd;
    }
    int run(const QStringList &full) const
    {
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        p.start(full.first(), full.mid(1));
        p.waitForFinished(60000);
        return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    }

    QTemporaryDir m_dir;
    QString m_bin;
    QString m_user;
    int m_port = 0;
};

}  // namespace faults

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

using tests::child;
using tests::choose;
using tests::type;

inline const QString kBusy = QStringLiteral("La base de datos está ocupada por otro usuario.");
inline const QString kLost = QStringLiteral("Se perdió la conexión con la base de datos.");
inline const QString kLinkMissing = QStringLiteral("Las horas quedaron guardadas, pero no se pudo guardar su rubro, materia y turno.");

inline void writeFile(const QString &path, const QString &text)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(text.toUtf8());
}

// A teaching entry of 11111111 dated `date`, filled in and not yet saved.
inline frmRegistroHoras *fillTeachingEntry(const QDate &date)
{
    tests::signIn(QStringLiteral("usuario"), QStringLiteral("11111111"), QStringLiteral("DOC"), 5);
    frmRegistroHoras *w = frmRegistroHoras::open();
    child<ui::DatePicker>(w, "dtpFechas_0")->chooseDate(date);
    choose(w, "dtcAreas", QStringLiteral("Docencia"));
    choose(w, "dtcActividades", QStringLiteral("Clases"));
    choose(w, "dtcDestinos", QStringLiteral("Cursos regulares"));
    choose(w, "dtcTipoHoras", QStringLiteral("Horas comunes"));
    type(child<QLineEdit>(w, "txtHoras"), QStringLiteral("2,5"));
    choose(w, "dtcRubros", QStringLiteral("Ciencias"));
    choose(w, "dtcMaterias", QStringLiteral("Física"));
    child<QComboBox>(w, "cboTurno")->setCurrentIndex(1);
    child<QComboBox>(w, "cboMoneda")->setCurrentIndex(0);
    return w;
}

// The chief's tab, on the row `id`.
inline std::unique_ptr<CierreMesJefeArea> chiefTabOn(qlonglong id)
{
    tests::signIn(QStringLiteral("jefe"), QStringLiteral("22222222"), QStringLiteral("DOC"), 6);
    auto tab = std::make_unique<CierreMesJefeArea>();
    tab->show();
    store::DataControl *adc = tab->adcCierreMeses();
    for (int r = 0; r < adc->recordCount(); ++r)
        if (adc->valueAt(r, QStringLiteral("CieMesId")).toLongLong() == id)
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
    Census c;
    c.horas = scalar(QStringLiteral("SELECT COUNT(*) FROM HORAS")).toInt();
    c.hhoras = scalar(QStringLiteral("SELECT COUNT(*) FROM HHORAS")).toInt();
    c.links = scalar(QStringLiteral("SELECT COUNT(*) FROM HORAS_RUBROS_MATERIAS")).toInt();
    c.areas = scalar(QStringLiteral("SELECT COUNT(*) FROM AREAS")).toInt();
    c.inBoth = scalar(QStringLiteral("SELECT COUNT(*) FROM HORAS H WHERE EXISTS (SELECT 1 FROM HHORAS A WHERE "
                                     "A.HorId = H.HorId)")).toInt();
    c.orphanLinks = scalar(QStringLiteral("SELECT COUNT(*) FROM HORAS_RUBROS_MATERIAS L WHERE NOT EXISTS (SELECT 1 FROM "
                                          "HORAS H WHERE H.HorId = L.HorId) AND NOT EXISTS (SELECT 1 FROM HHORAS A "
                                          "WHERE A.HorId = L.HorId)")).toInt();
    c.closed = scalar(QStringLiteral("SELECT COUNT(*) FROM CIERREMESES WHERE CieMesCerrado")).toInt();
    return c;
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
        if (action == QLatin1String("entry")) {
            m_window = fillTeachingEntry(QDate(2030, 5, 6));
        } else if (action == QLatin1String("maintenance")) {
            auto *w = new frmMantAreas;
            w->show();
            m_window = w;
            child<QPushButton>(w, "cmdNuevo")->click();
            type(w, "txtCodigo", areaKey);
            type(w, "txtDescripcion", QStringLiteral("Área %1").arg(areaKey));
        } else {
            m_tab = chiefTabOn(closeId);
            m_window = m_tab.get();
        }
    }

    QWidget *window() const { return m_window; }
    bool isClose() const { return m_action == QLatin1String("close"); }

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
        if (m_action == QLatin1String("entry")) {
            QCOMPARE(now.horas, before.horas + 1);
            QCOMPARE(now.links, before.links + 1);
        } else if (m_action == QLatin1String("maintenance")) {
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
        const QStringList bins = QDir(QStringLiteral("/usr/lib/postgresql")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        if (bins.isEmpty() || !m_dir.isValid())
            return false;
        m_bin = QStringLiteral("/usr/lib/postgresql/%1/bin/").arg(bins.last());
        m_port = tests::freePort();  // never a port guessed
        if (m_port == 0)
            return false;
        m_user = getuid() == 0 ? QStringLiteral("postgres") : qEnvironmentVariable("USER", QStringLiteral("postgres"));
        if (getuid() == 0 && QProcess::execute(QStringLiteral("chown"), {QStringLiteral("postgres"), m_dir.path()}) != 0)
            return false;
        if (run(wrap({m_bin + QStringLiteral("initdb"), QStringLiteral("-D"), data(), QStringLiteral("-A"),
                      QStringLiteral("trust"), QStringLiteral("-U"), m_user, QStringLiteral("-E"), QStringLiteral("UTF8")})) != 0)
            return false;
        return resume();
    }
    bool resume()
    {
        return run(wrap({m_bin + QStringLiteral("pg_ctl"), QStringLiteral("-D"), data(), QStringLiteral("-l"),
                    m_dir.path() + QStringLiteral("/log"), QStringLiteral("-w"), QStringLiteral("-o"),
                    QStringLiteral("-p %1 -k %2 -c listen_addresses=127.0.0.1 -c fsync=off -c lc_messages=es_ES.UTF-8")
                        .arg(m_port)
                        .arg(m_dir.path()),
                    QStringLiteral("start")})) == 0;
    }
    // "fast" lets the server end its sessions in order; "immediate" is a server that dies:
    // no session commits anything after the command, not even one that was waiting for a
    // lock that a session ended first gave up.
    QStringList stopCommand(const QString &mode = QStringLiteral("fast")) const
    {
        return wrap({m_bin + QStringLiteral("pg_ctl"), QStringLiteral("-D"), data(), QStringLiteral("-m"), mode,
                     QStringLiteral("stop")});
    }
    void stop() { run(stopCommand()); }
    // A command that waits until a session of the cluster waits for a lock, prints "overlap"
    // and stops the server at once; after a minute with no such session it prints "no wait" and
    // leaves the server running.
    QStringList stopOnceALockIsAwaited() const
    {
        const QString poll = psql().join(QLatin1Char(' ')) +
                             QStringLiteral(" -c \"SELECT count(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock'\"");
        return QStringList{QStringLiteral("sh"), QStringLiteral("-c"),
                           QStringLiteral("for i in $(seq 600); do n=$(%1); if [ \"${n:-0}\" -gt 0 ]; then "
                                          "echo overlap; exec \"$@\" >/dev/null; fi; sleep 0.1; done; echo 'no wait'")
                               .arg(poll),
                           QStringLiteral("stopper")} +
               stopCommand(QStringLiteral("immediate"));
    }
    QString dsn() const
    {
        return QStringLiteral("[RRHHODBC]\nDriver=PostgreSQL Unicode\nServername=127.0.0.1\nPort=%1\nDatabase=postgres\n"
                              "Username=%2\nPassword=\nBoolsAsChar=0\nUseDeclareFetch=1\nFetch=100\nTextAsLongVarchar=0\n"
                              "UnknownsAsLongVarchar=0\nMaxVarcharSize=4000\n\n")
            .arg(m_port)
            .arg(m_user);
    }
    // psql on the cluster, reading its statements from stdin.
    QStringList psql() const
    {
        return {m_bin + QStringLiteral("psql"), QStringLiteral("-h"), QStringLiteral("127.0.0.1"), QStringLiteral("-p"),
                QString::number(m_port), QStringLiteral("-U"), m_user, QStringLiteral("-d"), QStringLiteral("postgres"),
                QStringLiteral("-qAt")};
    }

private:
    QString data() const { return m_dir.path() + QStringLiteral("/data"); }
    QStringList wrap(const QStringList &cmd) const
    {
        return getuid() == 0 ? QStringList{QStringLiteral("runuser"), QStringLiteral("-u"), QStringLiteral("postgres"),
                                           QStringLiteral("--")} + cmd
                             : cmd;
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

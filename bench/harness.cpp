// tempalia-bench: times the heavy paths of the program in its own code (the real windows and
// tabs, headless) and the same statements run straight on the engine (the sqlite3 C API or
// libpq) in the same run, and prints one table with the medians and their ratio, and the
// program's peak memory on each path, measured in a child process that runs only the
// program's side of that path (the engine's results never count against it).
//
// The store behind RRHHODBC must hold the large organisation of tempalia-bench-generate.
// The harness changes it while it runs (the month close, an empty HORAS for path 1) and
// puts every row back before it ends.
//
//   tempalia-bench [--runs N] [--only 1,2,...]
//   tempalia-bench --startup-probe <monotonic ns>   (internal: path 8's child process)
//   tempalia-bench --memory-probe <path>            (internal: the program's side of one path)
#include "BenchEngine.h"
#include "LargeStore.h"
#include "Median.h"

#include "core/HoursSave.h"
#include "core/MonthClose.h"
#include "session/modPrincipal.h"
#include "store/Connection.h"
#include "store/DataControl.h"
#include "store/Dialect.h"
#include "store/Shape.h"
#include "store/HourHistory.h"
#include "store/SqlValue.h"
#include "store/StoreSetup.h"
#include "store/StoreError.h"
#include "ui/Dialogs.h"

#if __has_include("hours/frmRegistroHoras.h")
#include "hours/frmRegistroHoras.h"
#define BENCH_HAS_HOURS 1
#endif
#if __has_include("workspaces/frmUsuarioComun.h")
#include "ui/DataGrid.h"
#include "workspaces/frmUsuarioComun.h"
#define BENCH_HAS_WORKSPACE 1
#endif
#if __has_include("monthclose/CierreMesJefeArea.h")
#include "monthclose/CierreMesJefeArea.h"
#define BENCH_HAS_CLOSE 1
#endif
#if __has_include("analysis/BudgetTab.h")
#include "analysis/BudgetTab.h"
#define BENCH_HAS_BUDGET 1
#endif
#if __has_include("analysis/ChartWindow.h") && __has_include("analysis/StatisticsTab.h")
#include "analysis/ChartWindow.h"
#include "analysis/StatisticsTab.h"
#define BENCH_HAS_CHART 1
#endif
#if __has_include("output/ExportacionMes.h")
#include "output/ExportacionMes.h"
#define BENCH_HAS_EXPORT 1
#endif
#if __has_include("output/dtrReporteMesActualArea.h") && __has_include("reports/ReportDesigns.h")
#include "reports/ReportDesigns.h"
#include "output/dtrReporteMesActualArea.h"
#define BENCH_HAS_REPORT 1
#endif

#include <QAbstractButton>
#include <QApplication>
#include <QDate>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QHeaderView>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QScrollBar>
#include <QSysInfo>
#include <QTableView>
#include <QTemporaryDir>
#include <QTabWidget>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <optional>
#include <unistd.h>

namespace {

using bench::median;

// ---- measuring ------------------------------------------------------------------------

double nowMs()
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1000.0 + ts.tv_nsec / 1e6;
}

// Peak resident memory of this process in MB (VmHWM).
double peakMemoryMb()
{
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : f.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
    return -1;
}

// Lets the windows lay out and paint, and deletes what was closed.
void settle()
{
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

// Set in a memory probe: each path runs its program side once, and no engine column.
bool g_programOnly = false;

struct Row {
    QString path;
    QString backend;
    QString rows;
    double program = -1;  // ms, median; -1: not available
    double engine = -1;
    QString target{};      // what the issue asks, and whether it is met
    QString note{};        // "not available" and the like
    double peakMb = -1;    // the program's peak resident memory on this path
};

// The number of a path in its label, "(10b) ..." -> 10.
int pathNumber(const QString &label)
{
    int i = 1;
    while (i < label.size() && label.at(i).isDigit())
        ++i;
    return label.mid(1, i - 1).toInt();
}

struct Options {
    int runs = 5;
    QList<int> only;  // empty: all
    bool wants(int path) const { return only.isEmpty() || only.contains(path); }
};

QString fmt(double ms)
{
    if (ms < 0)
        return QStringLiteral("-");
    return ms < 10 ? QString::number(ms, 'f', 2) : ms < 100 ? QString::number(ms, 'f', 1) : QString::number(ms, 'f', 0);
}

QString verdict(bool met, const QString &missedBy)
{
    return met ? QStringLiteral("met") : QStringLiteral("MISSED by ") + missedBy;
}

// Ratio target: program within `limit` times the reference.
QString ratioTarget(double program, double reference, double limit)
{
    const double r = program / reference;
    return QStringLiteral("<= %1x: ").arg(limit, 0, 'f', 1) +
           verdict(r <= limit, QStringLiteral("%1x").arg(r - limit, 0, 'f', 2));
}

QString absoluteTarget(double program, double limitMs)
{
    return QStringLiteral("< %1 ms: ").arg(limitMs, 0, 'f', 0) +
           verdict(program < limitMs, QStringLiteral("%1 ms").arg(program - limitMs, 0, 'f', 0));
}

// ---- the dialog seam: every question gets Yes, every input box the path set for it -----

class BenchDialogs : public ui::Dialogs {
public:
    QString inputAnswer;
    QStringList shown;

    ui::Answer message(const QString &text, const QString &, ui::Buttons buttons, ui::Icon, QWidget *) override
    {
        shown << text;
        switch (buttons) {
        case ui::Buttons::YesNo:
        case ui::Buttons::YesNoCancel:
            return ui::Answer::Yes;
        default:
            return ui::Answer::Ok;
        }
    }
    std::optional<QString> input(const QString &prompt, const QString &, const QString &, QWidget *) override
    {
        shown << prompt;
        return inputAnswer;
    }
    void setBusy(bool busy) override { m_busy = busy; }
    bool isBusy() const override { return m_busy; }
    void endProgram() override {}

    // The boxes shown since the last call, for the log.
    QStringList take() { return std::exchange(shown, {}); }

private:
    bool m_busy = false;
};

BenchDialogs *g_dialogs = nullptr;

void logBoxes(const char *path)
{
    for (const QString &text : g_dialogs->take())
        std::fprintf(stderr, "  [%s] caja: %s\n", path, qPrintable(text.left(200)));
}

// ---- the harness ----------------------------------------------------------------------

class Harness {
public:
    Harness(const Options &options, bench::Engine &engine, store::Connection &conn)
        : m_opt(options), m_engine(engine), m_conn(conn)
    {
        m_backend = store::backendName(conn.backend());
    }

    std::vector<Row> rows;

    QString tr(const QString &statement) const { return store::Dialect::translate(statement, m_conn.backend()); }
    long count(const QString &sql) { return m_engine.scalar(sql).toLong(); }

    // Runs `program` and `engine` `runs` times each, alternating, after one warm-up of each.
    // `between` runs (untimed) after every timed run of either side.
    void measure(Row &row, const std::function<void()> &program, const std::function<void()> &engine,
                 int runs, const std::function<void()> &between = {})
    {
        if (g_programOnly) {
            program();
            if (between)
                between();
            return;
        }
        std::vector<double> p, e;
        for (int i = -1; i < runs; ++i) {
            double t = nowMs();
            program();
            if (i >= 0)
                p.push_back(nowMs() - t);
            if (between)
                between();
            if (engine) {
                t = nowMs();
                engine();
                if (i >= 0)
                    e.push_back(nowMs() - t);
                if (between)
                    between();
            }
        }
        row.program = median(p);
        row.engine = median(e);
    }

    // Runs each statement on the engine, reading every row.
    std::function<void()> onEngine(const QStringList &statements)
    {
        return [this, statements] {
            for (const QString &s : statements)
                m_engine.query(s);
        };
    }

    Row unavailable(const QString &path)
    {
        Row r;
        r.path = path;
        r.backend = m_backend;
        r.note = QStringLiteral("not available");
        return r;
    }

    // A person whose rows in HORAS are nearest to `wanted`.
    QString personNear(int wanted, long *rowsOut)
    {
        const auto rs = m_engine.rows(QStringLiteral("SELECT FunCedula, COUNT(*) FROM HORAS GROUP BY FunCedula"));
        QString best;
        long bestRows = 0;
        for (const auto &r : rs) {
            const long n = r.value(1).toLong();
            if (best.isEmpty() || std::abs(n - wanted) < std::abs(bestRows - wanted)) {
                best = r.value(0);
                bestRows = n;
            }
        }
        *rowsOut = bestRows;
        return best;
    }

    void setSession(const QString &cedula, const QString &area, qint16 perId)
    {
        modPrincipal::setSession(core::Session{QStringLiteral("bench"), cedula, area, perId});
    }

    // (1) frmRegistroHoras opening, on the full HORAS and on an empty one.
    void hoursWindow()
    {
#ifdef BENCH_HAS_HOURS
        long personRows = 0;
        const QString person = personNear(2500, &personRows);
        setSession(person, QStringLiteral("A02"), 5);
        const QStringList statements = windowStatements();
        auto program = [] {
            frmRegistroHoras *w = frmRegistroHoras::open();
            settle();
            w->close();
            settle();
        };
        Row full{QStringLiteral("(1) frmRegistroHoras opening"), m_backend,
                 QString::number(count(QStringLiteral("SELECT COUNT(*) FROM HORAS")))};
        measure(full, program, onEngine(statements), m_opt.runs);
        logBoxes("1");
        if (g_programOnly) {
            rows.push_back(full);
            return;
        }

        // The same window on an empty HORAS: the rows wait in a side table meanwhile. The
        // table is left truly empty: on PostgreSQL a DELETE alone leaves every row's dead
        // version behind, which the window's cursor would still scan.
        Row empty{QStringLiteral("(1e) same window, HORAS empty"), m_backend, QStringLiteral("0")};
        m_engine.exec(QStringLiteral("DROP TABLE IF EXISTS BENCH_HORAS"));
        m_engine.exec(QStringLiteral("CREATE TABLE BENCH_HORAS AS SELECT * FROM HORAS"));
        m_engine.exec(QStringLiteral("DELETE FROM HORAS"));
        m_engine.exec(m_conn.backend() == store::Backend::PostgreSQL ? QStringLiteral("VACUUM HORAS")
                                                                      : QStringLiteral("VACUUM"));
        const long pagesLeft = m_conn.backend() == store::Backend::PostgreSQL
                                   ? count(QStringLiteral("SELECT pg_relation_size('horas') / 8192"))
                                   : 0;
        try {
            measure(empty, program, onEngine(statements), m_opt.runs);
        } catch (...) {
            restoreHours();
            throw;
        }
        restoreHours();
        logBoxes("1e");
        if (pagesLeft > 0)
            empty.note = QStringLiteral("HORAS still held %1 pages").arg(pagesLeft);
        full.target = absoluteTarget(full.program, 150) + QStringLiteral("; vs (1e) ") +
                      ratioTarget(full.program, empty.program, 1.2);
        rows.push_back(full);
        rows.push_back(empty);
#else
        rows.push_back(unavailable(QStringLiteral("(1) frmRegistroHoras opening")));
#endif
    }

    void restoreHours()
    {
        m_engine.exec(QStringLiteral("INSERT INTO HORAS SELECT * FROM BENCH_HORAS"));
        m_engine.exec(QStringLiteral("DROP TABLE BENCH_HORAS"));
        m_engine.exec(QStringLiteral("ANALYZE"));
    }

    // The statements frmRegistroHoras runs when it opens, as the engine gets them.
    QStringList windowStatements()
    {
        const QString ced = store::sql::text(modPrincipal::session().person);
        QStringList s{
            QStringLiteral("SELECT * FROM HORAS"),
            QStringLiteral("SELECT * FROM HORAS_RUBROS_MATERIAS"),
            QStringLiteral("SELECT * FROM FUNCIONARIOS_INSTITUTOS FI, INSTITUTOS I, FUNCIONARIOS F, AREAS A WHERE "
                           "FI.INSID=I.INSID AND FI.FUNCEDULA=F.FUNCEDULA AND FI.AREID=A.AREID AND FI.FUNCEDULA=") +
                ced,
            QStringLiteral("SELECT * FROM AREAS"),
            QStringLiteral("SELECT * FROM AREAS_ACTIVIDADES AA, ACTIVIDADES ACT WHERE AA.AREID='A02' AND "
                           "AA.ACTID=ACT.ACTID"),
            QStringLiteral("SELECT * FROM RUBROS"),
            QStringLiteral("SELECT * FROM MATERIAS"),
            QStringLiteral("SELECT * FROM DESTINOS"),
            QStringLiteral("SELECT * FROM TIPOHORAS"),
        };
        for (QString &x : s)
            x = tr(x);
        return s;
    }

    // A commit on the store by someone else than the program, that changes no row the paths
    // read (a row of a table of the bench's own, made the first time and dropped at the end).
    void anotherUserCommits()
    {
        if (!m_touched)
            m_engine.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS BENCH_TOUCH (N INTEGER)"));
        m_touched = true;
        m_engine.exec(QStringLiteral("INSERT INTO BENCH_TOUCH VALUES (1)"));
    }
    void dropTouchTable()
    {
        if (m_touched)
            m_engine.exec(QStringLiteral("DROP TABLE BENCH_TOUCH"));
        m_touched = false;
    }

    // (2) a workspace activation for a person with about 2,500 rows.
    void workspace()
    {
#ifdef BENCH_HAS_WORKSPACE
        long personRows = 0;
        const QString person = personNear(2500, &personRows);
        setSession(person, QStringLiteral("A02"), 5);
        auto *w = new frmUsuarioComun;
        w->show();
        settle();
        // The engine reads the rows the window reads and shows: the list's first rows.
        const long shown = w->adcMesActual()->fetchedCount();
        const QString statement = tr(Workspace::defaultStatement(Workspace::List::Current, person));
        Row row{QStringLiteral("(2) workspace activation"), m_backend,
                QStringLiteral("%1 of %2").arg(shown).arg(personRows)};
        measure(
            row,
            [w] {
                w->windowActivated();
                settle();
            },
            [this, statement, shown] { m_engine.query(statement, shown); }, m_opt.runs);
        row.target = ratioTarget(row.program, row.engine, 1.3);
        // An activation after another user's commit reads the list again.
        if (!g_programOnly) {
            Row changed = row;
            measure(
                changed,
                [w] {
                    w->windowActivated();
                    settle();
                },
                [this, statement, shown] { m_engine.query(statement, shown); }, m_opt.runs,
                [this] { anotherUserCommits(); });
            row.note = QStringLiteral("after another user's commit: %1 ms (%2x)")
                           .arg(fmt(changed.program))
                           .arg(changed.program / changed.engine, 0, 'f', 2);
        }
        w->close();
        delete w;
        settle();
        dropTouchTable();
        logBoxes("2");
        rows.push_back(row);
#else
        rows.push_back(unavailable(QStringLiteral("(2) workspace activation")));
#endif
    }

    // (3) each budget option of the super user over the whole store.
    void budget()
    {
#ifdef BENCH_HAS_BUDGET
        setSession(QStringLiteral("10000003"), QStringLiteral("A03"), 8);
        auto *tab = new analysis::BudgetTab(analysis::MainWindow::SuperUsuario);
        tab->resize(900, 600);
        tab->show();
        settle();
        const char *names[3] = {"(3a) budget: Mes en curso", "(3b) budget: Año en curso",
                                "(3c) budget: período (all)"};
        const char *tables[3] = {"HORAS", "HHORAS", "HHORAS"};
        for (int i = 0; i < 3; ++i) {
            auto *opt = tab->findChild<QAbstractButton *>(QStringLiteral("optConsulta_%1").arg(i));
            if (!opt) {
                rows.push_back(unavailable(QString::fromUtf8(names[i])));
                continue;
            }
            opt->click();
            if (i == 2) {
                auto *desde = tab->findChild<QWidget *>(QStringLiteral("dtpDesde"));
                auto *hasta = tab->findChild<QWidget *>(QStringLiteral("dtpHasta"));
                if (desde && hasta) {
                    desde->setProperty("date", QDate::currentDate().addYears(-4));
                    hasta->setProperty("date", QDate::currentDate());
                }
            }
            settle();
            const QString statement = tab->composeStatement();
            Row row{QString::fromUtf8(names[i]), m_backend,
                    QString::number(count(QStringLiteral("SELECT COUNT(*) FROM %1").arg(QLatin1String(tables[i]))))};
            measure(
                row,
                [tab] {
                    tab->comenzar();
                    settle();
                },
                onEngine({tr(statement)}), m_opt.runs, [this] { anotherUserCommits(); });
            row.target = ratioTarget(row.program, row.engine, 1.3);
            row.note = QStringLiteral("each run after another user's commit: the statement read anew");
            rows.push_back(row);
        }
        delete tab;
        settle();
        dropTouchTable();
        logBoxes("3");
#else
        for (const char *n : {"(3a) budget: Mes en curso", "(3b) budget: Año en curso", "(3c) budget: período (all)"})
            rows.push_back(unavailable(QString::fromUtf8(n)));
#endif
    }

    // The close's copy and delete of `area` up to `cut`, as the chief's tab words them.
    QStringList closeStatements(const QString &area, const QDate &cut) const
    {
        const QString where = QStringLiteral("HORFECHA <= %1 AND AREID=%2").arg(store::sql::date(cut), store::sql::text(area));
        return {
            tr(QStringLiteral("INSERT INTO HHORAS (HORID,FUNCEDULA,AREID,ACTID,DESID,FUNINSID,HORFECHA,HORSEMANA,"
                              "HORVALORHORA,HORHORAS,HORCATEGORIA,TIPID,HORMONEDA,HORHORARIOINICIAL,HORHORARIOFINAL) "
                              "SELECT * FROM HORAS WHERE ") +
               where + QStringLiteral(" AND NOT EXISTS( SELECT * FROM HHORAS WHERE HHORAS.HORID=HORAS.HORID)")),
            tr(QStringLiteral("DELETE * FROM HORAS WHERE ") + where +
               QStringLiteral(" AND EXISTS( SELECT * FROM HHORAS WHERE HHORAS.HORID=HORAS.HORID)")),
        };
    }

    // Puts the rows a close of `area` moved (keys from `firstMoved` on) back in HORAS.
    void putBackArchived(const QString &area, long firstMoved)
    {
        m_engine.exec(QStringLiteral("INSERT INTO HORAS SELECT * FROM HHORAS WHERE AreId='%1' AND HorId >= %2")
                          .arg(area)
                          .arg(firstMoved));
        m_engine.exec(QStringLiteral("DELETE FROM HHORAS WHERE AreId='%1' AND HorId >= %2").arg(area).arg(firstMoved));
    }

    // (4) a month close of the largest area, put back after each run.
    void monthClose()
    {
#ifdef BENCH_HAS_CLOSE
        const QString area = QLatin1String(bench::kCloseArea);
        setSession(QStringLiteral("10000001"), area, 6);
        const QDate cut = QDate::currentDate();
        const long firstMoved = count(QStringLiteral("SELECT MIN(HorId) FROM HORAS"));
        const QString t = m_conn.backend() == store::Backend::PostgreSQL ? QStringLiteral("TRUE") : QStringLiteral("1");
        const QString f = m_conn.backend() == store::Backend::PostgreSQL ? QStringLiteral("FALSE") : QStringLiteral("0");
        m_engine.exec(QStringLiteral("INSERT INTO CIERREMESES (FunCedula, AreId, CieMesMesCierre, CieMesAnioCierre, "
                                     "CieMesFechaActual, CieMesFechaCierre, CieMesAprobado, CieMesDesaprobado, "
                                     "CieMesCerrado) VALUES ('10000001', '%1', %2, %3, '%4', '%4', %5, %6, %6)")
                          .arg(area)
                          .arg(cut.month())
                          .arg(cut.year())
                          .arg(cut.toString(Qt::ISODate), t, f));
        const long closeId = count(QStringLiteral("SELECT MAX(CieMesId) FROM CIERREMESES"));
        const long moving = count(
            QStringLiteral("SELECT COUNT(*) FROM HORAS WHERE AreId='%1' AND HorFecha <= '%2'").arg(area, cut.toString(Qt::ISODate)));

        const QStringList statements = closeStatements(area, cut);
        // Puts the area's rows back in HORAS and the close back to approved.
        auto restore = [&] {
            m_engine.exec(QStringLiteral("BEGIN"));
            putBackArchived(area, firstMoved);
            m_engine.exec(QStringLiteral("UPDATE CIERREMESES SET CieMesCerrado=%1 WHERE CieMesId=%2").arg(f).arg(closeId));
            m_engine.exec(QStringLiteral("COMMIT"));
        };
        long moved = -1;
        auto program = [&] {
            auto *tab = new CierreMesJefeArea;
            tab->show();
            settle();
            store::DataControl *adc = tab->adcCierreMeses();
            for (adc->moveFirst(); !adc->eof(); adc->moveNext())
                if (adc->value(QStringLiteral("CieMesId")).toLongLong() == closeId)
                    break;
            tab->cmdCerrar_Click();
            settle();
            delete tab;
            settle();
            moved = moving - count(QStringLiteral("SELECT COUNT(*) FROM HORAS WHERE AreId='%1'").arg(area));
        };
        auto engine = [&] {
            m_engine.exec(QStringLiteral("BEGIN"));
            for (const QString &s : statements)
                m_engine.exec(s);
            m_engine.exec(QStringLiteral("COMMIT"));
        };
        Row row{QStringLiteral("(4) month close"), m_backend, QString::number(moving)};
        const int runs = std::max(3, m_opt.runs - 2);
        try {
            measure(row, program, engine, runs, restore);
        } catch (...) {
            restore();
            throw;
        }
        if (moved != moving)
            row.note = QStringLiteral("the close moved %1 rows of %2").arg(moved).arg(moving);
        m_engine.exec(QStringLiteral("DELETE FROM CIERREMESES WHERE CieMesId=%1").arg(closeId));
        row.target = ratioTarget(row.program, row.engine, 1.5);
        rows.push_back(row);
        logBoxes("4");
#else
        rows.push_back(unavailable(QStringLiteral("(4) month close")));
#endif
    }

    void addHistoryRow(const QString &path, long rowCount, const std::vector<double> &with,
                       const std::vector<double> &without, double limit, const QString &note)
    {
        Row row{path, m_backend, QString::number(rowCount)};
        row.program = median(with);
        row.engine = median(without);
        row.target = ratioTarget(row.program, row.engine, limit);
        row.note = note;
        rows.push_back(row);
    }

    // (10) what the history of the hour records costs: (10a) saves as the entry window makes
    // them (core::HoursSave, a plain entry), (10b) the program's close (core::MonthClose); each timed on the
    // store with its history triggers and, in the same run, alternating, on the same store
    // with the history removed. Program column: with the history; engine column: without.
    void historyCost()
    {
        store::history::announceLogin(QStringLiteral("bench"));
        const qlonglong lastLine = count(QStringLiteral("SELECT COALESCE(MAX(HisId), 0) FROM HORAS_HISTORIAL"));
        const long firstNew = count(QStringLiteral("SELECT MAX(HorId) FROM HORAS")) + 1;
        const QString person = QStringLiteral("10000000");
        const auto funIns = m_engine.scalar(
            QStringLiteral("SELECT MIN(FunInsId) FROM FUNCIONARIOS_INSTITUTOS WHERE FunCedula = '%1'").arg(person));
        constexpr int saves = 100;
        auto saveBatch = [&] {
            const core::Session session{QStringLiteral("bench"), person, QStringLiteral("A02"), 5};
            core::HoursEntry entry;
            entry.areId = QStringLiteral("A02");
            entry.actId = QStringLiteral("CLA");
            entry.desId = QStringLiteral("CUR");
            entry.funInsId = funIns.toLongLong();
            entry.fecha = QDate::currentDate();
            entry.semana = 46;
            entry.valorHora = 350.0;
            entry.horas = 2.5;
            entry.categoria = QStringLiteral("A");
            entry.tipId = QStringLiteral("COM");
            entry.moneda = QStringLiteral("Pesos Uruguayos");
            const core::HoursSave save;
            const double t = nowMs();
            for (int i = 0; i < saves; ++i) {
                const core::HoursSaveResult result = save.enter(session, entry);
                if (!result.saved)
                    qFatal("hours save refused: %s", qPrintable(result.message));
            }
            return (nowMs() - t) / saves;
        };
        std::vector<double> with, without;
        for (int i = -1; i < m_opt.runs; ++i) {
            store::setup::removeHistory(m_conn);
            const double off = saveBatch();
            store::setup::installHistory(m_conn);
            saveBatch();  // the triggers' first call on the connection (compiled once per session)
            const double on = saveBatch();
            if (i >= 0) {
                without.push_back(off);
                with.push_back(on);
            }
        }
        store::setup::removeHistory(m_conn);
        m_engine.exec(QStringLiteral("DELETE FROM HORAS WHERE HorId >= %1").arg(firstNew));
        addHistoryRow(QStringLiteral("(10a) hours save, history cost"), saves, with, without, 1.5,
                      QStringLiteral("ms per save; engine column: same store without the history"));

        const QString area = QLatin1String(bench::kCloseArea);
        const QDate cut = QDate::currentDate();
        const long firstMoved = count(QStringLiteral("SELECT MIN(HorId) FROM HORAS"));
        const long moving = count(QStringLiteral("SELECT COUNT(*) FROM HORAS WHERE AreId='%1' AND HorFecha <= '%2'")
                                      .arg(area, cut.toString(Qt::ISODate)));
        // The program's close of the area (its move, in a transaction of its own) on the
        // program's connection; without the history it is the same close's two statements.
        auto close = [&] {
            const double t = nowMs();
            core::MonthClose(area, cut).run(m_conn);
            return nowMs() - t;
        };
        auto restore = [&] {  // with the history removed, so that it records nothing
            m_engine.exec(QStringLiteral("BEGIN"));
            putBackArchived(area, firstMoved);
            m_engine.exec(QStringLiteral("COMMIT"));
        };
        with.clear();
        without.clear();
        const int runs = m_opt.runs;
        for (int i = -1; i < runs; ++i) {
            const double off = close();
            restore();
            store::setup::installHistory(m_conn);
            const double on = close();
            store::setup::removeHistory(m_conn);
            restore();
            if (i >= 0) {
                without.push_back(off);
                with.push_back(on);
            }
        }
        store::setup::installHistory(m_conn);
        addHistoryRow(QStringLiteral("(10b) month close, history cost"), moving, with, without, 1.2,
                      QStringLiteral("engine column: the same close without the history"));
        m_engine.exec(QStringLiteral("DELETE FROM HORAS_HISTORIAL WHERE HisId > %1").arg(lastLine));
    }

    // (5) the month export of the report area to a workbook.
    void monthExport(const QString &workDir)
    {
#ifdef BENCH_HAS_EXPORT
        const QString area = QLatin1String(bench::kReportArea);
        setSession(QStringLiteral("10000001"), area, 6);
        const QString file = workDir + QStringLiteral("/resumen.xlsx");
        g_dialogs->inputAnswer = file;
        auto *adc = new store::DataControl(QStringLiteral("adcMesActual"));
        adc->setRecordSource(ExportacionMes::defaultStatement(modPrincipal::session().person));
        adc->refresh();
        Row row{QStringLiteral("(5) month export to workbook"), m_backend,
                QString::number(count(QStringLiteral("SELECT COUNT(*) FROM HORAS WHERE AreId='%1'").arg(area)))};
        measure(
            row,
            [&] {
                QFile::remove(file);
                ExportacionMes::exportar(adc);
                settle();
            },
            onEngine({tr(ExportacionMes::exportStatement(area))}), std::max(3, m_opt.runs - 2));
        if (!QFileInfo(file).isFile() || QFileInfo(file).size() == 0)
            row.note = QStringLiteral("no workbook was written");
        else if (!g_programOnly) {
            // What of the export is the read alone: the data control reading the export
            // statement whole, as the export does, with no workbook.
            std::vector<double> reads;
            for (int i = 0; i < std::max(3, m_opt.runs - 2); ++i) {
                const double t = nowMs();
                adc->setRecordSource(ExportacionMes::exportStatement(area));
                adc->refreshAll();
                reads.push_back(nowMs() - t);
            }
            row.note = QStringLiteral("the data control's read alone %1 ms (%2x the engine)")
                           .arg(fmt(median(reads)))
                           .arg(median(reads) / row.engine, 0, 'f', 2);
        }
        delete adc;
        row.target = absoluteTarget(row.program, 400);
        rows.push_back(row);
        logBoxes("5");
        g_dialogs->inputAnswer.clear();
#else
        rows.push_back(unavailable(QStringLiteral("(5) month export to workbook")));
#endif
    }

    // The inner statements of a SHAPE command, depth first.
    static void innerStatements(const store::ShapeCommand &c, QStringList &out)
    {
        if (c.nested)
            innerStatements(*c.nested, out);
        else if (!c.statement.isEmpty())
            out << c.statement;
        for (const auto &a : c.appends)
            if (a.child)
                innerStatements(*a.child, out);
    }

    QStringList shapeStatements(const QString &shape)
    {
        QStringList inner;
        innerStatements(store::parseShape(shape), inner);
        for (QString &s : inner)
            s = tr(s);
        return inner;
    }

    // (6) the area report laid out and written to PDF.
    void areaReport(const QString &workDir)
    {
#ifdef BENCH_HAS_REPORT
        const QString area = QLatin1String(bench::kReportArea);
        setSession(QStringLiteral("10000001"), area, 6);
        const QString file = workDir + QStringLiteral("/area.pdf");
        Row row{QStringLiteral("(6) area report to PDF"), m_backend,
                QString::number(count(QStringLiteral("SELECT COUNT(*) FROM HORAS WHERE AreId='%1'").arg(area)))};
        int pages = 0;
        measure(
            row,
            [&] {
                QFile::remove(file);
                dtrReporteMesActualArea *r = dtrReporteMesActualArea::open(area);
                r->finishLayout();
                r->saveAsPdf(file);
                pages = int(r->document().pages.size());
                r->close();
                delete r;
                settle();
            },
            onEngine(shapeStatements(output::areaReportStatement(area))), std::max(3, m_opt.runs - 2));
        if (!QFileInfo(file).isFile() || QFileInfo(file).size() == 0)
            row.note = QStringLiteral("no PDF was written");
        else
            row.note = QStringLiteral("%1 pages").arg(pages);
        row.target = absoluteTarget(row.program, 2000);
        rows.push_back(row);
        logBoxes("6");
#else
        rows.push_back(unavailable(QStringLiteral("(6) area report to PDF")));
#endif
    }

    // (7) the chart window's load over the whole archive.
    void chart()
    {
#ifdef BENCH_HAS_CHART
        setSession(QStringLiteral("10000003"), QStringLiteral("A03"), 8);
        const QString statement = analysis::StatisticsTab::statement();
        Row row{QStringLiteral("(7) chart window load"), m_backend,
                QString::number(count(QStringLiteral("SELECT COUNT(*) FROM HHORAS")))};
        measure(
            row,
            [&] {
                auto *w = new analysis::ChartWindow(statement, QStringLiteral("ActDescripcion"));
                w->load();
                w->show();
                settle();
                w->close();
                settle();
            },
            onEngine({chartGroupsStatement()}), m_opt.runs);
        row.target = ratioTarget(row.program, row.engine, 1.3);
        if (!g_programOnly)
            row.note = chartGroupsCheck(statement);
        rows.push_back(row);
        logBoxes("7");
#else
        rows.push_back(unavailable(QStringLiteral("(7) chart window load")));
#endif
    }

    // The least the engine does for the chart's grid: the archive's hours summed per
    // area, activity, destination and type, by their keys, the four texts joined to the few
    // groups afterwards, the groups in the order of their first row.
    QString chartGroupsStatement() const
    {
        return QStringLiteral(
            "SELECT ARE.AreDescripcion, ACT.ActDescripcion, D.DesDescripcion, T.TipDescripcion, G.Horas FROM "
            "(SELECT AreId, ActId, DesId, TipId, SUM(HorHoras) AS Horas, MIN(HorId) AS Primera FROM HHORAS "
            "GROUP BY AreId, ActId, DesId, TipId) G, AREAS ARE, ACTIVIDADES ACT, DESTINOS D, TIPOHORAS T "
            "WHERE G.AreId=ARE.AreId AND G.ActId=ACT.ActId AND G.DesId=D.DesId AND G.TipId=T.TipId "
            "ORDER BY G.Primera");
    }

    // Whether the engine's groups are the chart's: the same groups, sums and order as the
    // inner statement grouped by its texts, each group where its first hour record stands
    // (untimed, once).
    QString chartGroupsCheck(const QString &shape)
    {
        const QStringList inner = shapeStatements(shape);
        if (inner.size() != 1)
            return QStringLiteral("engine groups not checked");
        const auto expected = m_engine.rows(
            QStringLiteral("SELECT AreDescripcion, ActDescripcion, DesDescripcion, TipDescripcion, SUM(HorHoras) FROM "
                           "(%1) s GROUP BY AreDescripcion, ActDescripcion, DesDescripcion, TipDescripcion "
                           "ORDER BY MIN(HorId)")
                .arg(inner.front()));
        auto got = m_engine.rows(chartGroupsStatement());
        if (got == expected)
            return QStringLiteral("%1 groups, same as the chart's, same order").arg(got.size());
        auto sorted = expected;
        std::sort(sorted.begin(), sorted.end());
        std::sort(got.begin(), got.end());
        return got == sorted ? QStringLiteral("%1 groups and sums as the chart's, in another order")
                                   .arg(got.size())
                             : QStringLiteral("engine groups DIFFER from the chart's");
    }

    // (9) the largest list a user opens, "Mi archivo" of the person with the most archived
    // rows, scrolled page by page to its end and back. The engine reads the same rows once and
    // draws the same pages' cells with a bare QPainter.
    void gridScroll()
    {
#ifdef BENCH_HAS_WORKSPACE
        const auto top = m_engine.rows(QStringLiteral(
            "SELECT FunCedula, COUNT(*) AS n FROM HHORAS GROUP BY FunCedula ORDER BY n DESC, FunCedula LIMIT 1"));
        if (top.empty()) {
            rows.push_back(unavailable(QStringLiteral("(9) grid scrolled to its end and back")));
            return;
        }
        const QString person = top.front().value(0);
        const long listRows = top.front().value(1).toLong();
        setSession(person, QStringLiteral("A02"), 5);
        auto *w = new frmUsuarioComun;
        w->resize(1024, 700);
        w->show();
        settle();
        ui::DataGrid *grid = w->dtgMiArchivo();
        QTableView *view = grid->view();
        QScrollBar *bar = view->verticalScrollBar();
        std::vector<double> steps;
        std::vector<int> pageTops;  // the first row on screen after each step of one run
        long rowsSeen = 0;
        long heldAtMost = 0;
        auto program = [&] {
            w->tabs()->setCurrentIndex(0);
            w->tabs()->setCurrentIndex(1);  // reads the list anew (the store changed meanwhile)
            settle();
            pageTops.clear();
            auto step = [&](QAbstractSlider::SliderAction action) {
                const double t = nowMs();
                bar->triggerAction(action);
                settle();
                steps.push_back(nowMs() - t);
                pageTops.push_back(view->rowAt(0));
                heldAtMost = std::max<long>(heldAtMost, w->adcMiArchivo()->heldCount());
            };
            while (bar->value() < bar->maximum() || w->adcMiArchivo()->model()->canFetchMore({}))
                step(QAbstractSlider::SliderPageStepAdd);
            rowsSeen = grid->rowCount();
            while (bar->value() > bar->minimum())
                step(QAbstractSlider::SliderPageStepSub);
        };
        const QString statement = tr(Workspace::defaultStatement(Workspace::List::Archive, person));
        // The engine: the list's rows read once as text, then each page the program drew, its
        // visible cells' text drawn into their cells on an image of the grid's size, with the
        // grid's lines, and each row's number at its side as the grid shows it; no style, no
        // column header, no scroll bar.
        struct Cell {
            int x, width, column;
            Qt::Alignment align;
        };
        auto engine = [&] {
            const std::vector<QStringList> text = m_engine.rows(statement);
            const int numbers = view->verticalHeader()->width();  // the row numbers' strip
            const Qt::Alignment numberAlign = view->verticalHeader()->defaultAlignment();
            const QSize size = view->viewport()->size() + QSize(numbers, 0);
            const int rowHeight = view->verticalHeader()->defaultSectionSize();
            std::vector<Cell> cells;
            for (int c = 0; c < view->model()->columnCount(); ++c)
                if (!view->isColumnHidden(c))
                    cells.push_back({numbers + view->columnViewportPosition(c), view->columnWidth(c), c,
                                     Qt::Alignment(view->model()->index(0, c).data(Qt::TextAlignmentRole).toInt())});
            QImage page(size, QImage::Format_ARGB32_Premultiplied);
            for (const int first : pageTops) {
                QPainter p(&page);
                p.setFont(view->font());
                p.fillRect(page.rect(), Qt::white);
                for (int r = first, y = 0; r < int(text.size()) && y < size.height(); ++r, y += rowHeight) {
                    p.setPen(Qt::black);
                    p.drawText(QRect(3, y, numbers - 6, rowHeight), numberAlign | Qt::AlignVCenter, QString::number(r + 1));
                    for (const Cell &c : cells) {
                        p.setPen(Qt::black);
                        p.drawText(QRect(c.x + 3, y, c.width - 6, rowHeight),
                                   (c.align ? c.align : Qt::AlignLeft) | Qt::AlignVCenter,
                                   text[std::size_t(r)].value(c.column));
                        p.setPen(Qt::lightGray);
                        p.drawLine(c.x + c.width - 1, y, c.x + c.width - 1, y + rowHeight - 1);
                    }
                    p.drawLine(0, y + rowHeight - 1, size.width(), y + rowHeight - 1);
                }
            }
        };
        // Another user's commit between runs, so that tab 1 reads the list anew each time.
        auto otherUserCommits = [this] { anotherUserCommits(); };
        Row row{QStringLiteral("(9) grid scrolled to its end and back"), m_backend, QString::number(listRows)};
        measure(row, program, engine, m_opt.runs, otherUserCommits);
        // The reading alone: a data control of its own taking every row of the list through
        // its chunks, against the engine reading the same rows.
        std::vector<double> reads, oneRead, engineRead;
        for (int i = 0; i < m_opt.runs && !g_programOnly; ++i) {
            double t = nowMs();
            m_conn.selectNative(statement);  // the whole list in one read through the driver
            oneRead.push_back(nowMs() - t);
            t = nowMs();
            m_engine.query(statement);
            engineRead.push_back(nowMs() - t);
        }
        for (int i = 0; i < m_opt.runs && !g_programOnly; ++i) {
            store::DataControl adc(QStringLiteral("adcMiArchivo"));
            adc.setRecordSource(Workspace::defaultStatement(Workspace::List::Archive, person));
            const double t = nowMs();
            adc.refresh();
            for (int r = 0; r < listRows; ++r)
                for (int c = 0; c < adc.fields().size(); ++c)
                    adc.valueAt(r, c);
            reads.push_back(nowMs() - t);
        }
        const double slowest = steps.empty() ? 0 : *std::max_element(steps.begin(), steps.end());
        row.target = ratioTarget(row.program, row.engine, 1.3) + QStringLiteral("; step < 16 ms: ") +
                     verdict(slowest < 16, QStringLiteral("%1 ms").arg(slowest - 16, 0, 'f', 1));
        row.note = QStringLiteral("%1 page steps per run, slowest %2 ms; %3 rows shown, at most %4 held")
                       .arg(steps.size() / std::max(1, g_programOnly ? 1 : m_opt.runs + 1))
                       .arg(slowest, 0, 'f', 1)
                       .arg(rowsSeen)
                       .arg(heldAtMost);
        if (!reads.empty())
            row.note += QStringLiteral("; the data control's reads alone %1 ms (%2x the engine's read alone, %3 ms)")
                            .arg(fmt(median(reads)))
                            .arg(median(reads) / median(engineRead), 0, 'f', 2)
                            .arg(fmt(median(engineRead))) +
                        QStringLiteral(", the whole list in one read through ODBC %1 ms").arg(fmt(median(oneRead)));
        if (rowsSeen != listRows)
            row.note += QStringLiteral("; the grid showed %1 rows of %2").arg(rowsSeen).arg(listRows);
        w->close();
        delete w;
        settle();
        dropTouchTable();
        logBoxes("9");
        rows.push_back(row);
#else
        rows.push_back(unavailable(QStringLiteral("(9) grid scrolled to its end and back")));
#endif
    }

    // (8) the program's start to the login window, in child processes.
    void startup(const QString &self)
    {
        std::vector<double> p, e;
        for (int i = -1; i < m_opt.runs; ++i) {
            QProcess child;
            child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            const double start = nowMs();
            child.start(self, {QStringLiteral("--startup-probe"), QString::number(start, 'f', 3)});
            if (!child.waitForFinished(30000)) {
                child.kill();
                child.waitForFinished();
                Row r = unavailable(QStringLiteral("(8) start to login window"));
                r.note = QStringLiteral("the login window never came up");
                rows.push_back(r);
                return;
            }
            const double ms = QString::fromLatin1(child.readAllStandardOutput()).trimmed().toDouble();
            const double t = nowMs();
            m_engine.connectOnce();
            if (i >= 0) {
                p.push_back(ms);
                e.push_back(nowMs() - t);
            }
        }
        Row row{QStringLiteral("(8) start to login window"), m_backend, QStringLiteral("-")};
        row.program = median(p);
        row.engine = median(e);
        row.note = QStringLiteral("engine: a new connection");
        row.target = absoluteTarget(row.program, 400);
        rows.push_back(row);
    }

private:
    const Options &m_opt;
    bench::Engine &m_engine;
    store::Connection &m_conn;
    QString m_backend;
    bool m_touched = false;
};

void printTable(const std::vector<Row> &rows)
{
    auto line = [](const QStringList &cells) { std::printf("| %s |\n", qPrintable(cells.join(QStringLiteral(" | ")))); };
    line({QStringLiteral("path"), QStringLiteral("backend"), QStringLiteral("rows"),
          QStringLiteral("program ms (median)"), QStringLiteral("engine ms (median)"), QStringLiteral("ratio"),
          QStringLiteral("program peak MB"), QStringLiteral("target"), QStringLiteral("note")});
    line({QStringLiteral("---"), QStringLiteral("---"), QStringLiteral("---:"), QStringLiteral("---:"),
          QStringLiteral("---:"), QStringLiteral("---:"), QStringLiteral("---:"), QStringLiteral("---"),
          QStringLiteral("---")});
    double worst = -1;
    QString worstPath;
    for (const Row &r : rows) {
        const bool have = r.program >= 0;
        line({r.path, r.backend, r.rows, have ? fmt(r.program) : r.note, fmt(r.engine),
              have && r.engine > 0 ? QString::number(r.program / r.engine, 'f', 2) : QStringLiteral("-"),
              r.peakMb >= 0 ? QString::number(r.peakMb, 'f', 0) : QStringLiteral("-"), r.target,
              have ? r.note : QString()});
        if (r.peakMb > worst) {
            worst = r.peakMb;
            worstPath = r.path.section(QLatin1Char(' '), 0, 0);
        }
    }
    if (worst >= 0)
        std::printf("\nPeak memory of the program, each path in a process of its own: at most %.0f MB, on %s; "
                    "target < 150 MB on every path: %s\n",
                    worst, qPrintable(worstPath),
                    worst < 150 ? "met" : qPrintable(QStringLiteral("MISSED by %1 MB").arg(worst - 150, 0, 'f', 0)));
    std::fflush(stdout);
}

// The program's peak memory on path `n`: a child process runs the program's side of it
// once and reports its VmHWM. -1 when the child failed.
double programPeakMb(int n)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--memory-probe"), QString::number(n)});
    if (!child.waitForFinished(600000) || child.exitCode() != 0) {
        child.kill();
        child.waitForFinished();
        return -1;
    }
    bool ok = false;
    const double mb = QString::fromLatin1(child.readAllStandardOutput()).trimmed().toDouble(&ok);
    return ok ? mb : -1;
}

// ---- path 8's child: the program's own start-up, ended when the login window shows -----

double g_probeStart = 0;

class LoginWatcher : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && watched->isWidgetType() && watched->inherits("frmLogin")) {
            std::printf("%.3f\n", nowMs() - g_probeStart);
            std::fflush(stdout);
            _exit(0);
        }
        return false;
    }
};

void installLoginWatcher()
{
    if (g_probeStart > 0) {
        qApp->installEventFilter(new LoginWatcher(qApp));
        // Nothing answers a box in the probe; a failure ends it without a time.
        QTimer::singleShot(20000, [] { _exit(2); });
    }
}
Q_COREAPP_STARTUP_FUNCTION(installLoginWatcher)

}  // namespace

int main(int argc, char *argv[])
{
    for (int i = 1; i + 1 < argc; ++i)
        if (qstrcmp(argv[i], "--startup-probe") == 0) {
            g_probeStart = std::atof(argv[i + 1]);
            return modPrincipal::run(1, argv);
        }

    QApplication app(argc, argv);
    Options opt;
    int memoryProbe = 0;
    const QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--memory-probe") && i + 1 < args.size())
            memoryProbe = args[++i].toInt();
        else if (args[i] == QLatin1String("--runs") && i + 1 < args.size())
            opt.runs = std::max(1, args[++i].toInt());
        else if (args[i] == QLatin1String("--only") && i + 1 < args.size())
            for (const QString &n : args[++i].split(QLatin1Char(',')))
                opt.only << n.toInt();
    }

    auto dialogs = std::make_unique<BenchDialogs>();
    g_dialogs = dialogs.get();
    ui::setDialogs(std::move(dialogs));
    QTemporaryDir work;

    try {
        auto conn = store::Connection::open();
        std::unique_ptr<bench::Engine> engine = bench::Engine::forDataSource(conn->backend());
        Harness h(opt, *engine, *conn);
        if (memoryProbe > 0) {
            g_programOnly = true;
            opt.only = {memoryProbe};
        } else {
            std::fprintf(stderr, "tempalia-bench: %s, %d runs per path\n",
                         qPrintable(store::backendName(conn->backend())), opt.runs);
        }
        struct Step {
            int n;
            std::function<void()> run;
        };
        const std::vector<Step> steps{
            {2, [&] { h.workspace(); }},
            {3, [&] { h.budget(); }},
            {5, [&] { h.monthExport(work.path()); }},
            {6, [&] { h.areaReport(work.path()); }},
            {7, [&] { h.chart(); }},
            {4, [&] { h.monthClose(); }},
            {1, [&] { h.hoursWindow(); }},
            {9, [&] { h.gridScroll(); }},
            {10, [&] { h.historyCost(); }},
        };
        // The paths whose program side runs alone in a memory probe.
        const QList<int> probed{1, 2, 3, 4, 5, 6, 7, 9};
        for (const Step &s : steps) {
            if (!opt.wants(s.n) || (g_programOnly && !probed.contains(s.n)))
                continue;
            if (g_programOnly) {
                s.run();
                std::printf("%.1f\n", peakMemoryMb());
                return 0;
            }
            std::fprintf(stderr, "  path %d...\n", s.n);
            const double t = nowMs();
            try {
                s.run();
            } catch (const store::StoreError &e) {
                Row r = h.unavailable(QStringLiteral("(%1)").arg(s.n));
                r.note = QStringLiteral("failed: ") + e.description().left(120);
                h.rows.push_back(r);
            }
            std::fprintf(stderr, "  path %d: %.1f s\n", s.n, (nowMs() - t) / 1000);
        }
        if (g_programOnly)
            return 2;
        if (opt.wants(8))
            h.startup(QCoreApplication::applicationFilePath());
        for (int n : probed) {
            if (!opt.wants(n))
                continue;
            std::fprintf(stderr, "  path %d: memory...\n", n);
            const double mb = programPeakMb(n);
            for (Row &r : h.rows)
                if (pathNumber(r.path) == n)
                    r.peakMb = mb;
        }
        std::stable_sort(h.rows.begin(), h.rows.end(), [](const Row &a, const Row &b) {
            return pathNumber(a.path) != pathNumber(b.path) ? pathNumber(a.path) < pathNumber(b.path) : a.path < b.path;
        });
        printTable(h.rows);
    } catch (const store::StoreError &e) {
        std::fprintf(stderr, "tempalia-bench: %s\n", qPrintable(e.description()));
        return 1;
    } catch (const std::exception &e) {
        std::fprintf(stderr, "tempalia-bench: %s\n", e.what());
        return 1;
    }
    return 0;
}

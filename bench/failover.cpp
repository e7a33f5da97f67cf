// tempalia-bench-failover: what a primary with a synchronous standby costs the program, and
// how soon it saves again once the primary is lost. The users are tempalia-driver
// processes, the program's real windows headless, on the data source RRHHODBC of the
// environment (ODBCSYSINI / ODBCINI); the store behind it is made afresh with the demo rows.
//
//   tempalia-bench-failover costs <driver> [--runs N] [--saves S] [--close-rows R]
//       the median of S hours saves (the press of cmdGuardar in frmRegistroHoras; 40) and of
//       N month closes of about R rows (the press of cmdCerrar, put back after each run);
//       prints "save <ms>" and "close <ms> <rows>".
//   tempalia-bench-failover failover <driver> <ha-cluster script> [--runs N]
//       N times: a user saves one entry after another, the primary is lost
//       (`ha-cluster kill-primary`), and the time from the loss to the first save confirmed
//       after it is taken; the lost node then rejoins as the standby. Prints
//       "failover <ms>" per run and "failover-median <ms>".
#include "StoreTool.h"
#include "Median.h"

#include "store/Connection.h"
#include "store/StoreError.h"
#include "store/StoreSetup.h"

#include <QCoreApplication>
#include <QDate>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

using bench::median;

const QString kUser = QStringLiteral("11111111");  // a demo teacher of the area DOC
const QString kChief = QStringLiteral("22222222");

void say(const QString &line)
{
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

QVariant scalar(store::Connection &conn, const QString &sql, const QVariantList &values = {})
{
    const store::ResultSet rs = conn.selectNative(sql, values);
    return rs.rows.empty() ? QVariant() : rs.rows.front().value(0);
}

std::shared_ptr<store::Connection> freshStore()
{
    auto conn = store::Connection::open();
    store::setup::dropSchema(*conn);
    storetool::create(*conn);
    storetool::demo(*conn, QDate::currentDate());
    return conn;
}

// A driver process and the lines it printed.
class User {
public:
    User(const QString &driver, const QStringList &args)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(driver, args);
    }
    ~User()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }
    QStringList lines()
    {
        m_process.waitForReadyRead(50);
        while (m_process.canReadLine())
            m_lines << QString::fromUtf8(m_process.readLine()).trimmed();
        return m_lines;
    }
    QStringList starting(const QString &prefix)
    {
        QStringList out;
        for (const QString &l : lines())
            if (l.startsWith(prefix))
                out << l;
        return out;
    }
    bool finish(int ms = 600000)
    {
        const bool ended = m_process.waitForFinished(ms);
        lines();
        m_lines << QString::fromUtf8(m_process.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        return ended && m_process.exitCode() == 0;
    }

private:
    QProcess m_process;
    QStringList m_lines;
};

// "OK <i> <horid> <date> <hours> <teaching> <rub> <mat> <turno> <at> <took>"
qint64 okField(const QString &line, int field)
{
    return line.split(QLatin1Char(' ')).value(field).toLongLong();
}

int costs(const QString &driver, int runs, int saveRuns, int closeRows)
{
    auto conn = freshStore();

    // Hours saves: one warm-up entry, then `runs` timed ones.
    User saver(driver, {QStringLiteral("entry"), kUser, QString::number(saveRuns + 1), QStringLiteral("2031-03-03")});
    if (!saver.finish())
        return 1;
    std::vector<double> saves;
    const QStringList ok = saver.starting(QStringLiteral("OK "));
    for (int i = 1; i < ok.size(); ++i)
        saves.push_back(ok[i].split(QLatin1Char(' ')).value(10).toDouble());
    if (int(saves.size()) != saveRuns) {
        std::fprintf(stderr, "only %d of %d saves went through\n", int(saves.size()), saveRuns);
        return 1;
    }
    say(QStringLiteral("save %1").arg(median(saves), 0, 'f', 1));

    // Month closes: the area's demo rows copied until about `closeRows` are due.
    const QDate cut = QDate::currentDate();
    const QString columns = QStringLiteral("FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, HorSemana, HorValorhora, "
                                           "HorHoras, HorCategoria, TipId, HorMoneda, HorHorarioInicial, HorHorarioFinal");
    const int due = scalar(*conn, QStringLiteral("SELECT COUNT(*) FROM HORAS WHERE AreId = 'DOC' AND HorFecha <= ?"), {cut}).toInt();
    const int copies = std::max(0, closeRows / std::max(1, due) - 1);
    conn->executeNative(QStringLiteral("INSERT INTO HORAS (%1) SELECT %1 FROM HORAS, generate_series(1, %2) "
                                       "WHERE AreId = 'DOC' AND HorFecha <= ?")
                            .arg(columns)
                            .arg(copies),
                        {cut});
    const int moving = scalar(*conn, QStringLiteral("SELECT COUNT(*) FROM HORAS WHERE AreId = 'DOC' AND HorFecha <= ?"), {cut}).toInt();
    // What the archive held before, so that putting a close back moves only its own rows.
    conn->executeNative(QStringLiteral("CREATE TEMPORARY TABLE ARCHIVED_BEFORE AS SELECT HorId FROM HHORAS"));
    conn->executeNative(QStringLiteral("INSERT INTO CIERREMESES (FunCedula, AreId, CieMesMesCierre, CieMesAnioCierre, "
                                       "CieMesFechaActual, CieMesFechaCierre, CieMesAprobado, CieMesDesaprobado, "
                                       "CieMesCerrado) VALUES (?, 'DOC', ?, ?, ?, ?, TRUE, FALSE, FALSE)"),
                        {kChief, cut.month(), cut.year(), cut, cut});
    const qlonglong closeId = scalar(*conn, QStringLiteral("SELECT MAX(CieMesId) FROM CIERREMESES")).toLongLong();
    std::vector<double> closes;
    for (int run = 0; run <= runs; ++run) {
        User chief(driver, {QStringLiteral("close"), QString::number(closeId), QStringLiteral("DOC"), kChief});
        if (!chief.finish() || !chief.lines().contains(QStringLiteral("CLOSED"))) {
            std::fprintf(stderr, "the close failed: %s\n", qPrintable(chief.lines().join(QLatin1Char(' '))));
            return 1;
        }
        if (run > 0)  // the first is the warm-up
            closes.push_back(chief.starting(QStringLiteral("MS ")).value(0).mid(3).toDouble());
        conn->beginTransaction();
        const QString moved = QStringLiteral("HHORAS WHERE HorId NOT IN (SELECT HorId FROM ARCHIVED_BEFORE)");
        conn->executeNative(QStringLiteral("INSERT INTO HORAS SELECT * FROM ") + moved);
        conn->executeNative(QStringLiteral("DELETE FROM ") + moved);
        conn->executeNative(QStringLiteral("UPDATE CIERREMESES SET CieMesCerrado = FALSE WHERE CieMesId = ?"), {closeId});
        conn->commit();
    }
    say(QStringLiteral("close %1 %2").arg(median(closes), 0, 'f', 1).arg(moving));
    return 0;
}

bool ha(const QString &script, const QStringList &args)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    p.start(script, args);
    return p.waitForFinished(600000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

int failovers(const QString &driver, const QString &script, int runs)
{
    freshStore();
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        QTemporaryDir dir;
        const QString stop = dir.path() + QStringLiteral("/stop");
        User user(driver, {QStringLiteral("entry"), kUser, QStringLiteral("100000"),
                           QDate(2032, 1, 5).addDays(run * 400).toString(Qt::ISODate), stop});
        QElapsedTimer t;
        t.start();
        while (user.starting(QStringLiteral("OK ")).size() < 3 && t.elapsed() < 120000)
            QThread::msleep(50);
        // The primary is gone once the script returns.
        if (!ha(script, {QStringLiteral("kill-primary")}))
            return 1;
        const qint64 lostAt = QDateTime::currentMSecsSinceEpoch();
        qint64 savedAt = 0;
        t.restart();
        while (savedAt == 0 && t.elapsed() < 180000) {
            for (const QString &l : user.starting(QStringLiteral("OK ")))
                if (okField(l, 9) > lostAt) {
                    savedAt = okField(l, 9);
                    break;
                }
            QThread::msleep(20);
        }
        QFile(stop).open(QIODevice::WriteOnly);
        user.finish(120000);
        if (savedAt == 0) {
            std::fprintf(stderr, "no save went through after the primary was lost\n");
            return 1;
        }
        times.push_back(double(savedAt - lostAt));
        say(QStringLiteral("failover %1").arg(savedAt - lostAt));
        if (!ha(script, {QStringLiteral("rejoin")}) || !ha(script, {QStringLiteral("wait-sync")}))
            return 1;
    }
    say(QStringLiteral("failover-median %1").arg(median(times), 0, 'f', 0));
    return 0;
}

int optionValue(const QStringList &args, const QString &name, int fallback)
{
    const int i = args.indexOf(name);
    return i >= 0 && i + 1 < args.size() ? args.at(i + 1).toInt() : fallback;
}

}  // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    const int runs = optionValue(args, QStringLiteral("--runs"), 5);
    try {
        if (args.value(0) == QLatin1String("costs") && args.size() >= 2)
            return costs(args.at(1), runs, optionValue(args, QStringLiteral("--saves"), 40),
                         optionValue(args, QStringLiteral("--close-rows"), 20000));
        if (args.value(0) == QLatin1String("failover") && args.size() >= 3)
            return failovers(args.at(1), args.at(2), runs);
    } catch (const store::StoreError &e) {
        std::fprintf(stderr, "tempalia-bench-failover: %s\n", qPrintable(e.description()));
        return 1;
    }
    std::fputs("Uso: tempalia-bench-failover costs DRIVER [--runs N] [--saves S] [--close-rows R]\n"
               "     tempalia-bench-failover failover DRIVER HA-CLUSTER [--runs N]\n",
               stderr);
    return 2;
}

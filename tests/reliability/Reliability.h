#pragma once

// What the reliability tests share: a user of the store in a process of its own (the
// driver program), staff to give those users, and a look at every hour row of the store.
#include "TempStore.h"

#include <QDate>
#include <QElapsedTimer>
#include <QHash>
#include <QProcess>
#include <QStringList>
#include <QTest>

#include <functional>
#include <memory>

namespace reliability {

using namespace Qt::StringLiterals;

// Sizes of the concurrent runs: small by default, larger through scripts/stress.
inline int envInt(const char *name, int fallback)
{
    bool ok = false;
    const int v = qEnvironmentVariableIntValue(name, &ok);
    return ok && v > 0 ? v : fallback;
}
inline int processes() { return envInt("TEMPALIA_REL_PROCESSES", 4); }
inline int entriesPerProcess() { return envInt("TEMPALIA_REL_ENTRIES", 100); }

// One driver process. It inherits this process's environment, and so its data source.
class Driver {
public:
    explicit Driver(const QStringList &args, const QProcessEnvironment &env = QProcessEnvironment::systemEnvironment())
    {
        m_process.setProcessEnvironment(env);
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
        m_process.start(QStringLiteral(TEMPALIA_DRIVER_PATH), args);
    }
    ~Driver()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    // Reads what the driver has printed so far.
    void poll()
    {
        m_process.waitForReadyRead(0);
        while (m_process.canReadLine())
            m_lines << QString::fromUtf8(m_process.readLine()).trimmed();
    }
    // Waits until a line starting with `prefix` has come (true) or the time is up.
    bool waitFor(const QString &prefix, int ms = 60000)
    {
        QElapsedTimer t;
        t.start();
        while (!has(prefix) && m_process.state() != QProcess::NotRunning && t.elapsed() <= ms)
            m_process.waitForReadyRead(100);
        return has(prefix);
    }
    void go() { m_process.write("go\n"); }
    // Waits for the end; true when the process ended by itself with exit code 0.
    bool finish(int ms = 120000)
    {
        const bool ended = m_process.state() == QProcess::NotRunning || m_process.waitForFinished(ms);
        poll();
        m_lines << QString::fromUtf8(m_process.readAll()).split(u'\n', Qt::SkipEmptyParts);
        m_stderr = QString::fromUtf8(m_process.readAllStandardError());
        return ended && m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
    }
    QStringList lines()
    {
        poll();
        return m_lines;
    }
    QStringList linesStarting(const QString &prefix)
    {
        QStringList out;
        for (const QString &l : lines())
            if (l.startsWith(prefix))
                out << l;
        return out;
    }
    int countOf(const QString &prefix) { return int(linesStarting(prefix).size()); }
    bool has(const QString &prefix) { return countOf(prefix) > 0; }
    QString report() { return lines().join(u'\n') + u"\n[stderr]\n"_s + m_stderr; }

private:
    QProcess m_process;
    QStringList m_lines;
    QString m_stderr;
};

// A driver's line starting with `prefix` has come, or its end with exit code 0; else the test
// fails with what the driver printed.
#define DRIVER_WAIT(d, ...) QVERIFY2((d).waitFor(__VA_ARGS__), qPrintable((d).report()))
#define DRIVER_FINISH(d, ...) QVERIFY2((d).finish(__VA_ARGS__), qPrintable((d).report()))

// A staff member of the area DOC with one contract, for one driver.
inline void addStaff(tests::TempStore &db, const QString &cedula)
{
    db.execNative(u"INSERT INTO FUNCIONARIOS (FunCedula, FunNombres, FunApellidos, FunTelefonos, FunDireccion, "
                  "FunFacturador) VALUES (?, ?, ?, ?, ?, ?)"_s, {cedula, u"Usuario"_s, cedula, u"-"_s, u"-"_s, false});
    db.execNative(u"INSERT INTO FUNCIONARIOS_INSTITUTOS (FunCedula, InsId, AreId, FunInsCategoria, FunInsHoras_Semanales, "
                  "FunInsValor_Hora, FunInsMoneda, FunInsInicio, FunInsFinal, FunInsFinContrato) VALUES (?, 'CEN', 'DOC', "
                  "'A', 20, 350, 'Pesos Uruguayos', ?, ?, ?)"_s, {cedula, QDate(2020, 1, 1), QDate(2040, 12, 31), false});
}

inline QString staffCedula(int process) { return u"910000%1"_s.arg(process, 2, 10, QLatin1Char('0')); }

using tests::approvedClose;

// One entry as a driver reported it.
struct Entry {
    qlonglong horId = 0;
    QString cedula;
    QDate date;
    double hours = 0;
    bool teaching = false;
    QString rub, mat, turno;
};

// Reads "OK <i> <horid> <date> <hours> <teaching> <rub> <mat> <turno>" lines.
inline QList<Entry> entriesOf(const QStringList &lines, const QString &cedula)
{
    QList<Entry> out;
    for (const QString &l : lines) {
        const QStringList f = l.split(u' ');
        if (f.value(0) == u"OK"_s && f.size() >= 9)
            out << Entry{f[2].toLongLong(), cedula, QDate::fromString(f[3], Qt::ISODate), f[4].toDouble(), f[5] == u"1"_s,
                         f[6], f[7], f[8]};
    }
    return out;
}

// An hour row as the store holds it, in HORAS or in the archive.
struct StoredRow {
    QString table, cedula, area;
    QDate date;
    double hours = 0;
};

inline QMultiHash<qlonglong, StoredRow> hourRows(store::Connection &db)
{
    QMultiHash<qlonglong, StoredRow> rows;
    for (const QString &table : {u"HORAS"_s, u"HHORAS"_s})
        for (const store::Row &r : db.selectNative(u"SELECT HorId, FunCedula, AreId, HorFecha, HorHoras FROM "_s + table).rows)
            rows.insert(r.value(0).toLongLong(), StoredRow{table, r.value(1).toString().trimmed(),
                                                           r.value(2).toString().trimmed(), r.value(3).toDate(),
                                                           r.value(4).toDouble()});
    return rows;
}

inline QMultiHash<qlonglong, StoredRow> hourRows(tests::TempStore &db) { return hourRows(db.conn()); }

// The teaching links, each "rub mat turno".
inline QMultiHash<qlonglong, QString> links(store::Connection &db)
{
    QMultiHash<qlonglong, QString> out;
    for (const store::Row &r : db.selectNative(u"SELECT HorId, RubId, MatId, HorRubMatTurno FROM HORAS_RUBROS_MATERIAS"_s).rows)
        out.insert(r.value(0).toLongLong(), u"%1 %2 %3"_s.arg(r.value(1).toString().trimmed(), r.value(2).toString().trimmed(),
                                                              r.value(3).toString().trimmed()));
    return out;
}

// Every reported entry stands exactly once, in one of HORAS and HHORAS, as it was typed,
// with its teaching link (and only teaching entries have one); the staff of the drivers
// has no row that no driver reported, but those `unreported` accepts (an entry whose save
// was cut off may have gone through). An empty string when all holds, else what is wrong.
inline QString checkEntries(store::Connection &db, const QList<Entry> &entries, const QStringList &cedulas,
                            const std::function<bool(const StoredRow &)> &unreported = {})
{
    const auto rows = hourRows(db);
    const auto linkRows = links(db);
    QStringList problems;
    QSet<qlonglong> reported;
    for (const Entry &e : entries) {
        reported.insert(e.horId);
        const QList<StoredRow> found = rows.values(e.horId);
        if (found.size() != 1) {
            problems << u"HorId %1 stands %2 times"_s.arg(e.horId).arg(found.size());
            continue;
        }
        const StoredRow &r = found.front();
        if (r.cedula != e.cedula || r.date != e.date || qAbs(r.hours - e.hours) > 1e-6)
            problems << u"HorId %1 holds %2 %3 %4, typed %5 %6 %7"_s.arg(e.horId)
                            .arg(r.cedula, r.date.toString(Qt::ISODate)).arg(r.hours)
                            .arg(e.cedula, e.date.toString(Qt::ISODate)).arg(e.hours);
        const QStringList expected = e.teaching ? QStringList{e.rub + u' ' + e.mat + u' ' + e.turno} : QStringList();
        if (linkRows.values(e.horId) != expected)
            problems << u"HorId %1: teaching link wrong (%2, expected %3)"_s.arg(e.horId)
                            .arg(linkRows.values(e.horId).join(u','), expected.join(u','));
    }
    for (auto it = rows.cbegin(); it != rows.cend(); ++it)
        if (cedulas.contains(it->cedula) && !reported.contains(it.key()) && !(unreported && unreported(*it)))
            problems << u"HorId %1 of %2 stored but never reported"_s.arg(it.key()).arg(it->cedula);
    for (auto it = linkRows.cbegin(); it != linkRows.cend(); ++it)
        if (!rows.contains(it.key()))
            problems << u"link of HorId %1 points at no entry"_s.arg(it.key());
    if (problems.size() > 20)
        problems = problems.mid(0, 20) << u"..."_s;
    return problems.join(u'\n');
}

inline QString checkEntries(tests::TempStore &db, const QList<Entry> &entries, const QStringList &cedulas)
{
    return checkEntries(db.conn(), entries, cedulas);
}

}  // namespace reliability

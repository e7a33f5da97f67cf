// Several users on one store at once, each in a process of its own (tempalia-driver):
// entries recorded side by side, a month closed while entries go on, two users changing the
// same entry, two administrators saving the same key. Nothing may be lost, stored twice or
// split between HORAS and the archive.
#include "Reliability.h"
#include "ScriptedDialogs.h"
#include "ui/Application.h"

#include <QTest>

using namespace reliability;

namespace {

// Every entry a process reported has exactly one 'Alta' line in the history, stamped with
// the login of the process that stored it ("d" + the person's cedula): an empty text, or
// what is wrong.
QString historyOfEntries(tests::TempStore &store, const QList<Entry> &entries)
{
    QStringList problems;
    for (const Entry &e : entries) {
        const auto rs = store.selectNative(QStringLiteral("SELECT HisLogin FROM HORAS_HISTORIAL WHERE HorId = ? AND "
                                                          "HisTipo = 'Alta' AND HisTabla = 'HORAS'"),
                                           {e.horId});
        if (rs.rows.size() != 1 || rs.rows.front().value(0).toString() != QLatin1String("d") + e.cedula)
            problems << QStringLiteral("HorId %1: %2 'Alta' lines, login %3")
                            .arg(e.horId)
                            .arg(rs.rows.size())
                            .arg(rs.rows.empty() ? QString() : rs.rows.front().value(0).toString());
    }
    return problems.mid(0, 5).join(QLatin1Char('\n'));
}

}  // namespace

class TestConcurrency : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void concurrentEntry();
    void entryDuringClose();
    void conflictingEdits();
    void administratorsSaveSameKey();

private:
    std::unique_ptr<tests::TempStore> m_store;
};

void TestConcurrency::init()
{
    m_store = std::make_unique<tests::TempStore>();
}

void TestConcurrency::cleanup()
{
    m_store.reset();
}

void TestConcurrency::concurrentEntry()
{
    const int n = processes();
    const int perProcess = entriesPerProcess();
    QStringList cedulas;
    for (int p = 0; p < n; ++p) {
        cedulas << staffCedula(p);
        addStaff(*m_store, cedulas.last());
    }
    std::vector<std::unique_ptr<Driver>> drivers;
    for (int p = 0; p < n; ++p)
        drivers.push_back(std::make_unique<Driver>(
            QStringList{QStringLiteral("entry"), cedulas[p], QString::number(perProcess), QStringLiteral("2030-01-07")}));

    QList<Entry> all;
    for (int p = 0; p < n; ++p) {
        Driver &d = *drivers[p];
        QVERIFY2(d.finish(600000), qPrintable(d.report()));
        QVERIFY2(d.linesStarting(QStringLiteral("ERROR")).isEmpty(), qPrintable(d.report()));
        const QList<Entry> mine = entriesOf(d.lines(), cedulas[p]);
        QCOMPARE(mine.size(), perProcess);
        all += mine;
    }
    const QString problems = checkEntries(*m_store, all, cedulas);
    QVERIFY2(problems.isEmpty(), qPrintable(problems));
    QCOMPARE(m_store->count(QStringLiteral("HORAS"), QStringLiteral("FunCedula LIKE '91%'")), n * perProcess);
    const QString history = historyOfEntries(*m_store, all);
    QVERIFY2(history.isEmpty(), qPrintable(history));
}

// While four users enter hours of the area, its chief closes it: each row ends in exactly
// one of HORAS and HHORAS and nothing is lost.
void TestConcurrency::entryDuringClose()
{
    const int n = processes();
    const int perProcess = entriesPerProcess();
    const QDate first(2030, 1, 7);
    // Entries run i/4 days from the first date: the cut-off falls in the middle.
    const QDate cutOff = first.addDays(perProcess / 8);
    QStringList cedulas;
    for (int p = 0; p < n; ++p) {
        cedulas << staffCedula(p);
        addStaff(*m_store, cedulas.last());
    }
    m_store->execNative(QStringLiteral("INSERT INTO CIERREMESES (FunCedula, AreId, CieMesMesCierre, CieMesAnioCierre, "
                                       "CieMesFechaActual, CieMesFechaCierre, CieMesAprobado, CieMesDesaprobado, "
                                       "CieMesCerrado) VALUES ('22222222', 'DOC', ?, ?, ?, ?, ?, ?, ?)"),
                        {cutOff.month(), cutOff.year(), cutOff, cutOff, true, false, false});
    const qlonglong closeId = m_store->scalar(QStringLiteral("SELECT MAX(CieMesId) FROM CIERREMESES")).toLongLong();
    const int demoDocBefore = m_store->count(QStringLiteral("HORAS"), QStringLiteral("AreId='DOC'"));
    QVERIFY(demoDocBefore > 0);
    const int archivedBefore = m_store->count(QStringLiteral("HHORAS"), QStringLiteral("AreId='DOC'"));

    std::vector<std::unique_ptr<Driver>> drivers;
    for (int p = 0; p < n; ++p)
        drivers.push_back(std::make_unique<Driver>(QStringList{QStringLiteral("entry"), cedulas[p],
                                                               QString::number(perProcess), first.toString(Qt::ISODate)}));
    // The chief closes once every user has stored a part of the entries.
    for (auto &d : drivers)
        QVERIFY2(d->waitFor(QStringLiteral("OK %1 ").arg(perProcess / 5)), qPrintable(d->report()));
    Driver chief({QStringLiteral("close"), QString::number(closeId), QStringLiteral("DOC"), QStringLiteral("22222222")});
    QVERIFY2(chief.finish(), qPrintable(chief.report()));
    QVERIFY2(chief.lines().contains(QStringLiteral("CLOSED")), qPrintable(chief.report()));
    int stillRunning = 0;
    for (auto &d : drivers)
        stillRunning += d->countOf(QStringLiteral("DONE")) == 0;

    QList<Entry> all;
    for (int p = 0; p < n; ++p) {
        Driver &d = *drivers[p];
        QVERIFY2(d.finish(600000), qPrintable(d.report()));
        QVERIFY2(d.linesStarting(QStringLiteral("ERROR")).isEmpty(), qPrintable(d.report()));
        all += entriesOf(d.lines(), cedulas[p]);
    }
    QCOMPARE(all.size(), n * perProcess);
    const QString problems = checkEntries(*m_store, all, cedulas);
    QVERIFY2(problems.isEmpty(), qPrintable(problems));

    // Nothing archived stays behind, nothing after the cut-off or of another area moved,
    // and everything of the area that stood in HORAS before the close went.
    QCOMPARE(m_store->scalar(QStringLiteral("SELECT COUNT(*) FROM HORAS H WHERE EXISTS (SELECT 1 FROM HHORAS A WHERE "
                                            "A.HorId = H.HorId)")).toInt(), 0);
    QCOMPARE(m_store->count(QStringLiteral("HHORAS"), QStringLiteral("AreId='DOC' AND HorFecha > ?"), {cutOff}), 0);
    QCOMPARE(m_store->count(QStringLiteral("HORAS"), QStringLiteral("AreId='DOC' AND FunCedula NOT LIKE '91%'")), 0);
    QVERIFY(m_store->count(QStringLiteral("HHORAS"), QStringLiteral("FunCedula LIKE '91%'")) > 0);
    QVERIFY(m_store->count(QStringLiteral("HORAS"), QStringLiteral("AreId <> 'DOC'")) > 0);
    QCOMPARE(m_store->scalar(QStringLiteral("SELECT CieMesCerrado FROM CIERREMESES WHERE CieMesId = ?"), {closeId}).toBool(),
             true);
    if (stillRunning == 0)
        qWarning("every user had finished before the close ended: the run did not overlap");

    // The history: each entry's 'Alta' with its process's login, and the close as one line
    // with the chief's login and the rows it moved.
    const QString history = historyOfEntries(*m_store, all);
    QVERIFY2(history.isEmpty(), qPrintable(history));
    const auto closeLines = m_store->selectNative(QStringLiteral(
        "SELECT HisLogin, AreId, HisFilas FROM HORAS_HISTORIAL WHERE HisTipo = 'Archivo' AND HisLogin IS NOT NULL"));
    QCOMPARE(int(closeLines.rows.size()), 1);
    QCOMPARE(closeLines.rows.front().value(0).toString(), QStringLiteral("d22222222"));
    QCOMPARE(closeLines.rows.front().value(1).toString(), QStringLiteral("DOC"));
    QCOMPARE(closeLines.rows.front().value(2).toInt(),
             m_store->count(QStringLiteral("HHORAS"), QStringLiteral("AreId='DOC'")) - archivedBefore);
}

// Two users change the same entry: the one who saves first wins, the second gets the
// conflict message and keeps what was typed.
void TestConcurrency::conflictingEdits()
{
    const qlonglong horId = m_store
                                ->scalar(QStringLiteral("SELECT MIN(HorId) FROM HORAS WHERE FunCedula='11111111' AND "
                                                        "ActId='CLA'"))
                                .toLongLong();
    QVERIFY(horId > 0);
    Driver first({QStringLiteral("edit"), QString::number(horId), QStringLiteral("7,5")});
    Driver second({QStringLiteral("edit"), QString::number(horId), QStringLiteral("9,25")});
    QVERIFY2(first.waitFor(QStringLiteral("READY")), qPrintable(first.report()));
    QVERIFY2(second.waitFor(QStringLiteral("READY")), qPrintable(second.report()));
    first.go();
    QVERIFY2(first.finish(), qPrintable(first.report()));
    second.go();
    QVERIFY2(second.finish(), qPrintable(second.report()));

    QCOMPARE(first.linesStarting(QStringLiteral("SAVED")).size(), 1);
    QCOMPARE(first.linesStarting(QStringLiteral("WINDOW")), QStringList{QStringLiteral("WINDOW closed")});
    const QStringList refused = second.linesStarting(QStringLiteral("ERROR"));
    QCOMPARE(refused.size(), 1);
    QVERIFY2(refused.front().contains(QStringLiteral("Otro usuario modificó este registro")), qPrintable(refused.front()));
    QCOMPARE(second.linesStarting(QStringLiteral("WINDOW")), QStringList{QStringLiteral("WINDOW open 9,25")});
    QCOMPARE(m_store->scalar(QStringLiteral("SELECT HorHoras FROM HORAS WHERE HorId = ?"), {horId}).toDouble(), 7.5);
    QCOMPARE(m_store->count(QStringLiteral("HORAS_RUBROS_MATERIAS"), QStringLiteral("HorId = ?"), {horId}), 1);
    // One change in the history, the one that was stored, with its editor's login.
    const auto changes = m_store->selectNative(
        QStringLiteral("SELECT HisLogin, HisDespues FROM HORAS_HISTORIAL WHERE HorId = ? AND HisTipo = 'Cambio'"), {horId});
    QCOMPARE(int(changes.rows.size()), 1);
    QCOMPARE(changes.rows.front().value(0).toString(), QStringLiteral("d11111111"));
    QVERIFY2(changes.rows.front().value(1).toString().contains(QLatin1String("7.5")),
             qPrintable(changes.rows.front().value(1).toString()));
}

// Two administrators save a new area under the same key at the same moment: one wins, the
// other is told the store's refusal and keeps the window with the row.
void TestConcurrency::administratorsSaveSameKey()
{
    Driver a({QStringLiteral("area"), QStringLiteral("NUE"), QStringLiteral("Primera")});
    Driver b({QStringLiteral("area"), QStringLiteral("NUE"), QStringLiteral("Segunda")});
    QVERIFY2(a.waitFor(QStringLiteral("READY")), qPrintable(a.report()));
    QVERIFY2(b.waitFor(QStringLiteral("READY")), qPrintable(b.report()));
    a.go();
    b.go();
    QVERIFY2(a.finish(), qPrintable(a.report()));
    QVERIFY2(b.finish(), qPrintable(b.report()));

    const bool aWon = !a.linesStarting(QStringLiteral("SAVED")).isEmpty();
    Driver &winner = aWon ? a : b;
    Driver &loser = aWon ? b : a;
    QCOMPARE(winner.linesStarting(QStringLiteral("SAVED")).size(), 1);
    QCOMPARE(winner.linesStarting(QStringLiteral("WINDOW")), QStringList{QStringLiteral("WINDOW browsing")});
    const QStringList refused = loser.linesStarting(QStringLiteral("ERROR"));
    QCOMPARE(refused.size(), 1);
    QVERIFY2(refused.front().contains(QStringLiteral("Ya existe un registro con esa clave.")), qPrintable(refused.front()));
    QCOMPARE(loser.linesStarting(QStringLiteral("WINDOW")), QStringList{QStringLiteral("WINDOW open NUE")});
    QCOMPARE(m_store->count(QStringLiteral("AREAS"), QStringLiteral("AreId = 'NUE'")), 1);
    QCOMPARE(m_store->scalar(QStringLiteral("SELECT AreDescripcion FROM AREAS WHERE AreId = 'NUE'")).toString(),
             aWon ? QStringLiteral("Primera") : QStringLiteral("Segunda"));
}

TEMPALIA_TEST_MAIN(TestConcurrency)
#include "tst_concurrency.moc"

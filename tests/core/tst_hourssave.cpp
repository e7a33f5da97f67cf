// The save of an entry of hours without any window: what lands in HORAS and
// HORAS_RUBROS_MATERIAS, what is refused before anything is written, what the store
// refuses, and how a change keeps other users' work.
#include "TempStore.h"
#include "core/HoursSave.h"
#include "ui/Application.h"

#include <QRegularExpression>
#include <QTest>

namespace {

const core::Session kUser{QStringLiteral("usuario"), QStringLiteral("11111111"), QStringLiteral("DOC"), 5};

// A complete plain entry of the user on their first contract.
core::HoursEntry plainEntry(tests::TempStore &db)
{
    core::HoursEntry e;
    e.areId = QStringLiteral("DOC");
    e.actId = QStringLiteral("REU");
    e.desId = QStringLiteral("CUR");
    e.tipId = QStringLiteral("EXT");
    e.funInsId = db.scalar(QStringLiteral("SELECT MIN(FunInsId) FROM FUNCIONARIOS_INSTITUTOS WHERE FunCedula=?"),
                           {kUser.person});
    e.fecha = QDate(2024, 3, 13);
    e.semana = 10;
    e.horas = QStringLiteral("3,5");
    e.valorHora = 350;
    e.categoria = QStringLiteral("A");
    e.moneda = QStringLiteral("Dolares");
    return e;
}

core::HoursEntry teaching(core::HoursEntry e, const QString &rub, const QString &mat, const QString &turno)
{
    e.actId = QStringLiteral("CLA");
    e.teaching = true;
    e.rubId = rub;
    e.matId = mat;
    e.turno = turno;
    e.horarioInicial = QStringLiteral("8:00");
    e.horarioFinal = QStringLiteral("11:30");
    return e;
}

// The stored entry as a window reads it.
core::HoursEntry storedEntry(tests::TempStore &db, qlonglong horId)
{
    const store::ResultSet rs = db.select(QStringLiteral("SELECT * FROM HORAS WHERE HORID=%1").arg(horId));
    return core::entryFromColumns([&](const QString &column) { return rs.value(0, column); });
}

qlonglong maxHorId(tests::TempStore &db)
{
    return db.scalar(QStringLiteral("SELECT MAX(HorId) FROM HORAS")).toLongLong();
}

store::ResultSet links(tests::TempStore &db, qlonglong horId)
{
    return db.select(QStringLiteral("SELECT * FROM HORAS_RUBROS_MATERIAS WHERE HORID=%1").arg(horId));
}

void compareLink(tests::TempStore &db, qlonglong horId, const QStringList &expected)
{
    const store::ResultSet link = links(db, horId);
    QCOMPARE(int(link.rows.size()), expected.isEmpty() ? 0 : 1);
    if (expected.isEmpty())
        return;
    QCOMPARE(link.value(0, QStringLiteral("RubId")).toString(), expected.at(0));
    QCOMPARE(link.value(0, QStringLiteral("MatId")).toString(), expected.at(1));
    QCOMPARE(link.value(0, QStringLiteral("HorRubMatTurno")).toString(), expected.at(2));
}

enum class Piece { None, Contract, Area, Hours, AreaWithoutActivities };

}  // namespace

Q_DECLARE_METATYPE(Piece)

class TestHoursSave : public QObject {
    Q_OBJECT
private slots:
    void enterStoresOrRefuses_data();
    void enterStoresOrRefuses();
    void linkFailureIsCompletedByTheNextSave();
    void changeKeepsLinkAndOthersWork_data();
    void changeKeepsLinkAndOthersWork();
};

void TestHoursSave::enterStoresOrRefuses_data()
{
    QTest::addColumn<bool>("isTeaching");
    QTest::addColumn<QStringList>("link");  // group, subject, turn; empty: a plain entry
    QTest::addColumn<Piece>("spoiled");     // what the entry lacks or holds wrong
    QTest::addColumn<QString>("refusal");   // empty: stored
    QTest::addColumn<bool>("warning");
    QTest::newRow("plain") << false << QStringList() << Piece::None << QString() << false;
    QTest::newRow("teaching") << true << QStringList{"CIE", "FIS", "Tarde"} << Piece::None << QString() << false;
    QTest::newRow("teaching without group, subject or turn")
        << true << QStringList{"", "", ""} << Piece::None << QString() << false;
    QTest::newRow("no contract") << false << QStringList() << Piece::Contract << "no tiene contratos" << true;
    QTest::newRow("area without activities")
        << false << QStringList() << Piece::AreaWithoutActivities << "no tiene actividades" << true;
    // The store's refusal: its number, then what it means.
    QTest::newRow("no area") << false << QStringList() << Piece::Area << "^-?\\d+\n." << false;
    QTest::newRow("hours the store cannot read") << false << QStringList() << Piece::Hours << "." << false;
}

void TestHoursSave::enterStoresOrRefuses()
{
    QFETCH(bool, isTeaching);
    QFETCH(QStringList, link);
    QFETCH(Piece, spoiled);
    QFETCH(QString, refusal);
    QFETCH(bool, warning);
    tests::TempStore db;
    const qlonglong before = maxHorId(db);
    const int linksBefore = db.count(QStringLiteral("HORAS_RUBROS_MATERIAS"));

    core::HoursEntry entry = plainEntry(db);
    if (isTeaching)
        entry = teaching(entry, link.at(0), link.at(1), link.at(2));
    switch (spoiled) {
    case Piece::Contract: entry.funInsId = QVariant(); break;
    case Piece::Area: entry.areId = QVariant(); break;
    case Piece::Hours: entry.horas = QStringLiteral("tres"); break;
    case Piece::AreaWithoutActivities:
        db.execNative(QStringLiteral("INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('VAC', 'Vacía')"));
        entry.areId = QStringLiteral("VAC");
        entry.actId = QVariant();
        break;
    case Piece::None: break;
    }

    const core::HoursSaveResult result = core::HoursSave().enter(kUser, entry);
    if (!refusal.isEmpty()) {
        QVERIFY(!result.saved);
        QVERIFY2(result.message.contains(QRegularExpression(refusal)), qPrintable(result.message));
        QCOMPARE(result.warning, warning);
        QVERIFY(result.horId.isNull());
        QCOMPARE(maxHorId(db), before);
        QCOMPARE(db.count(QStringLiteral("HORAS_RUBROS_MATERIAS")), linksBefore);
        return;
    }
    QVERIFY2(result.saved, qPrintable(result.message));
    const qlonglong horId = result.horId.toLongLong();
    QCOMPARE(horId, maxHorId(db));
    QVERIFY(horId > before);
    const store::ResultSet rs = db.select(QStringLiteral("SELECT * FROM HORAS WHERE HORID=%1").arg(horId));
    QCOMPARE(rs.value(0, QStringLiteral("FunCedula")).toString(), kUser.person);
    QCOMPARE(rs.value(0, QStringLiteral("AreId")).toString(), QStringLiteral("DOC"));
    QCOMPARE(rs.value(0, QStringLiteral("ActId")).toString(), isTeaching ? QStringLiteral("CLA") : QStringLiteral("REU"));
    QCOMPARE(rs.value(0, QStringLiteral("DesId")).toString(), QStringLiteral("CUR"));
    QCOMPARE(rs.value(0, QStringLiteral("TipId")).toString(), QStringLiteral("EXT"));
    QCOMPARE(rs.value(0, QStringLiteral("FunInsId")), entry.funInsId);
    QCOMPARE(rs.value(0, QStringLiteral("HorFecha")).toDate(), QDate(2024, 3, 13));
    QCOMPARE(rs.value(0, QStringLiteral("HorSemana")).toInt(), 10);
    QCOMPARE(rs.value(0, QStringLiteral("HorHoras")).toDouble(), 3.5);
    QCOMPARE(rs.value(0, QStringLiteral("HorValorhora")).toDouble(), 350.0);
    QCOMPARE(rs.value(0, QStringLiteral("HorCategoria")).toString(), QStringLiteral("A"));
    QCOMPARE(rs.value(0, QStringLiteral("HorMoneda")).toString(), QStringLiteral("Dolares"));
    QCOMPARE(rs.value(0, QStringLiteral("HorHorarioInicial")).toTime(), isTeaching ? QTime(8, 0) : QTime());
    QCOMPARE(rs.value(0, QStringLiteral("HorHorarioFinal")).toTime(), isTeaching ? QTime(11, 30) : QTime());
    compareLink(db, horId, link);
}

void TestHoursSave::linkFailureIsCompletedByTheNextSave()
{
    tests::TempStore db;
    const qlonglong before = maxHorId(db);
    core::HoursEntry entry = teaching(plainEntry(db), QStringLiteral("HUM"), QStringLiteral("HIS"),
                                      QStringLiteral("Noche"));

    // The second write fails: its table is out of reach for a moment.
    db.execNative(QStringLiteral("ALTER TABLE HORAS_RUBROS_MATERIAS RENAME TO HRM_APARTE"));
    const core::HoursSaveResult failed = core::HoursSave().enter(kUser, entry);
    db.execNative(QStringLiteral("ALTER TABLE HRM_APARTE RENAME TO HORAS_RUBROS_MATERIAS"));
    QVERIFY(!failed.saved);
    QVERIFY(failed.warning);
    QVERIFY2(QRegularExpression(QStringLiteral("^-?\\d+\n.+")).match(failed.message).hasMatch(),
             qPrintable(failed.message));
    QVERIFY(failed.message.endsWith(core::HoursSave::linkFailedNote()));
    QCOMPARE(maxHorId(db), before + 1);
    QCOMPARE(failed.horId.toLongLong(), before + 1);

    // The next save completes the same entry instead of entering it twice.
    entry.horas = QStringLiteral("2,5");
    const core::HoursSaveResult completed = core::HoursSave().enter(kUser, entry, failed.horId);
    QVERIFY2(completed.saved, qPrintable(completed.message));
    QCOMPARE(completed.horId, failed.horId);
    QCOMPARE(maxHorId(db), before + 1);
    QCOMPARE(storedEntry(db, before + 1).horas.toDouble(), 2.5);
    compareLink(db, before + 1, {QStringLiteral("HUM"), QStringLiteral("HIS"), QStringLiteral("Noche")});
}

void TestHoursSave::changeKeepsLinkAndOthersWork_data()
{
    QTest::addColumn<QString>("storedActivity");
    QTest::addColumn<QStringList>("newLink");    // group, subject, turn of the entry as edited; empty: plain
    QTest::addColumn<QString>("otherUser");      // what another user sets first (SET clause), if anything
    QTest::addColumn<QString>("refusal");        // empty: saved
    QTest::newRow("teaching to plain deletes the link") << "CLA" << QStringList() << QString() << QString();
    QTest::newRow("plain to teaching creates it")
        << "REU" << QStringList{"HUM", "LEN", "Noche"} << QString() << QString();
    QTest::newRow("teaching stays, subject changes")
        << "CLA" << QStringList{"CIE", "QUI", "Mañana"} << QString() << QString();
    QTest::newRow("a column changed meanwhile is refused")
        << "REU" << QStringList() << "HorHoras=9" << "Otro usuario modificó este registro";
    QTest::newRow("a column left alone keeps the other user's change")
        << "REU" << QStringList() << "HorCategoria='Z'" << QString();
    QTest::newRow("the row has gone") << "REU" << QStringList() << QString("DELETE") << "ya no existe";
}

void TestHoursSave::changeKeepsLinkAndOthersWork()
{
    QFETCH(QString, storedActivity);
    QFETCH(QStringList, newLink);
    QFETCH(QString, otherUser);
    QFETCH(QString, refusal);
    tests::TempStore db;
    const qlonglong horId =
        db.scalar(QStringLiteral("SELECT MIN(HorId) FROM HORAS WHERE FunCedula=? AND ActId=?"), {kUser.person,
                                                                                                 storedActivity})
            .toLongLong();
    QVERIFY(horId > 0);
    QCOMPARE(int(links(db, horId).rows.size()), storedActivity == QLatin1String("CLA") ? 1 : 0);
    const core::HoursEntry read = storedEntry(db, horId);
    core::HoursEntry edited = read;
    edited.horas = QStringLiteral("4,5");
    if (!newLink.isEmpty())
        edited = teaching(edited, newLink.at(0), newLink.at(1), newLink.at(2));
    else
        edited.actId = QStringLiteral("REU");
    edited.horarioInicial = read.horarioInicial;
    edited.horarioFinal = read.horarioFinal;

    if (otherUser == QLatin1String("DELETE")) {
        db.execNative(QStringLiteral("DELETE FROM HORAS_RUBROS_MATERIAS WHERE HorId=?"), {horId});
        db.execNative(QStringLiteral("DELETE FROM HORAS WHERE HorId=?"), {horId});
    } else if (!otherUser.isEmpty()) {
        db.execNative(QStringLiteral("UPDATE HORAS SET %1 WHERE HorId=?").arg(otherUser), {horId});
    }
    const store::ResultSet before = db.select(QStringLiteral("SELECT * FROM HORAS WHERE HORID=%1").arg(horId));

    const core::HoursSaveResult result = core::HoursSave().change(horId, read, edited);
    const store::ResultSet after = db.select(QStringLiteral("SELECT * FROM HORAS WHERE HORID=%1").arg(horId));
    if (!refusal.isEmpty()) {
        QVERIFY(!result.saved);
        QVERIFY2(result.message.contains(refusal), qPrintable(result.message));
        QCOMPARE(after.rows, before.rows);  // nothing written
        return;
    }
    QVERIFY2(result.saved, qPrintable(result.message));
    QCOMPARE(after.value(0, QStringLiteral("HorHoras")).toDouble(), 4.5);
    QCOMPARE(after.value(0, QStringLiteral("ActId")).toString(),
             newLink.isEmpty() ? QStringLiteral("REU") : QStringLiteral("CLA"));
    // What the change did not touch stays as the store held it, another user's work included.
    for (const char *column : {"FunCedula", "AreId", "DesId", "FunInsId", "HorFecha", "HorSemana", "HorValorhora",
                               "HorCategoria", "TipId", "HorMoneda", "HorHorarioInicial", "HorHorarioFinal"})
        QVERIFY2(after.value(0, QLatin1String(column)) == before.value(0, QLatin1String(column)), column);
    if (!otherUser.isEmpty())
        QCOMPARE(after.value(0, QStringLiteral("HorCategoria")).toString(), QStringLiteral("Z"));
    compareLink(db, horId, newLink);
}

TEMPALIA_TEST_MAIN(TestHoursSave)
#include "tst_hourssave.moc"

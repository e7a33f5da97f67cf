// The save of an entry of hours without any window: what lands in HORAS and
// HORAS_RUBROS_MATERIAS, what is refused before anything is written, what the store
// refuses, and how a change keeps other users' work.
#include "TempStore.h"
#include "core/HoursSave.h"
#include "ui/Application.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const core::Session kUser{u"usuario"_s, u"11111111"_s, u"DOC"_s, 5};

// A complete plain entry of the user on their first contract.
core::HoursEntry plainEntry(tests::TempStore &db)
{
    core::HoursEntry e;
    e.areId = u"DOC"_s, e.actId = u"REU"_s, e.desId = u"CUR"_s, e.tipId = u"EXT"_s;
    e.funInsId = db.scalar(u"SELECT MIN(FunInsId) FROM FUNCIONARIOS_INSTITUTOS WHERE FunCedula=?"_s, {kUser.person});
    e.fecha = QDate(2024, 3, 13), e.semana = 10, e.horas = u"3,5"_s, e.valorHora = 350;
    e.categoria = u"A"_s, e.moneda = u"Dolares"_s;
    return e;
}

// The entry made a teaching one with `link` (group, subject, turn).
core::HoursEntry teaching(core::HoursEntry e, const QStringList &link)
{
    e.actId = u"CLA"_s, e.teaching = true, e.horarioInicial = u"8:00"_s, e.horarioFinal = u"11:30"_s;
    e.rubId = link.at(0), e.matId = link.at(1), e.turno = link.at(2);
    return e;
}

store::ResultSet horas(tests::TempStore &db, qlonglong horId)
{
    return db.select(u"SELECT * FROM HORAS WHERE HORID=%1"_s.arg(horId));
}

qlonglong maxHorId(tests::TempStore &db)
{
    return db.scalar(u"SELECT MAX(HorId) FROM HORAS"_s).toLongLong();
}

// The entry's teaching link as group, subject, turn; empty without one.
void compareLink(tests::TempStore &db, qlonglong horId, const QStringList &expected)
{
    const store::ResultSet link = db.select(u"SELECT * FROM HORAS_RUBROS_MATERIAS WHERE HORID=%1"_s.arg(horId));
    QStringList got;
    for (const store::Row &r : link.rows)
        got << r.value(link.columnIndex(u"RubId"_s)).toString() << r.value(link.columnIndex(u"MatId"_s)).toString()
            << r.value(link.columnIndex(u"HorRubMatTurno"_s)).toString();
    QCOMPARE(got, expected);
}

enum class Piece { None, Contract, Area, Hours, AreaWithoutActivities };

}  // namespace

Q_DECLARE_METATYPE(Piece)

class TestHoursSave : public QObject {
    Q_OBJECT
private slots:
    void enterStoresOrRefuses_data()
    {
        QTest::addColumn<QStringList>("link");  // group, subject, turn; empty: a plain entry
        QTest::addColumn<Piece>("spoiled");     // what the entry lacks or holds wrong
        QTest::addColumn<QString>("refusal");   // empty: stored
        QTest::addColumn<bool>("warning");
        QTest::newRow("plain") << QStringList() << Piece::None << QString() << false;
        QTest::newRow("teaching") << QStringList{"CIE", "FIS", "Tarde"} << Piece::None << QString() << false;
        QTest::newRow("teaching without group, subject or turn") << QStringList{"", "", ""} << Piece::None << QString() << false;
        QTest::newRow("no contract") << QStringList() << Piece::Contract << "no tiene contratos" << true;
        QTest::newRow("area without activities") << QStringList() << Piece::AreaWithoutActivities << "no tiene actividades" << true;
        // The store's refusal: its number, then what it means.
        QTest::newRow("no area") << QStringList() << Piece::Area << "^-?\\d+\n." << false;
        QTest::newRow("hours the store cannot read") << QStringList() << Piece::Hours << "." << false;
    }

    void enterStoresOrRefuses()
    {
        QFETCH(QStringList, link);
        QFETCH(Piece, spoiled);
        QFETCH(QString, refusal);
        QFETCH(bool, warning);
        tests::TempStore db;
        const qlonglong before = maxHorId(db);
        const int linksBefore = db.count(u"HORAS_RUBROS_MATERIAS"_s);
        core::HoursEntry entry = link.isEmpty() ? plainEntry(db) : teaching(plainEntry(db), link);
        switch (spoiled) {
        case Piece::Contract: entry.funInsId = QVariant(); break;
        case Piece::Area: entry.areId = QVariant(); break;
        case Piece::Hours: entry.horas = u"tres"_s; break;
        case Piece::AreaWithoutActivities:
            db.execNative(u"INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('VAC', 'Vacía')"_s);
            entry.areId = u"VAC"_s, entry.actId = QVariant();
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
            QCOMPARE(db.count(u"HORAS_RUBROS_MATERIAS"_s), linksBefore);
            return;
        }
        QVERIFY2(result.saved, qPrintable(result.message));
        const qlonglong horId = result.horId.toLongLong();
        QCOMPARE(horId, maxHorId(db));
        QVERIFY(horId > before);
        const store::ResultSet rs = horas(db, horId);
        const bool isTeaching = !link.isEmpty();
        const QString teachingTimes = isTeaching ? u"08:00|11:30"_s : u"|"_s;
        const QString expected = u"11111111|DOC|%1|CUR|EXT|%2|2024-03-13|10|3.5|350|A|Dolares|%3"_s.arg(
            isTeaching ? u"CLA"_s : u"REU"_s, entry.funInsId.toString(), teachingTimes);
        QStringList got;
        for (const char *column : {"FunCedula", "AreId", "ActId", "DesId", "TipId", "FunInsId", "HorFecha", "HorSemana",
                                   "HorHoras", "HorValorhora", "HorCategoria", "HorMoneda", "HorHorarioInicial",
                                   "HorHorarioFinal"}) {
            const QVariant v = rs.value(0, QLatin1String(column));
            got << (v.isNull() ? QString()
                    : v.typeId() == QMetaType::QDate ? v.toDate().toString(Qt::ISODate)
                    : v.typeId() == QMetaType::QTime ? v.toTime().toString(u"HH:mm"_s)
                    : v.typeId() == QMetaType::Double ? QString::number(v.toDouble())
                                                       : v.toString());
        }
        QCOMPARE(got.join(u'|'), expected);
        compareLink(db, horId, link);
    }

    void changeKeepsLinkAndOthersWork_data()
    {
        QTest::addColumn<QString>("storedActivity");
        QTest::addColumn<QStringList>("newLink");  // group, subject, turn of the entry as edited; empty: plain
        QTest::addColumn<QString>("otherUser");    // what another user sets first (SET clause), if anything
        QTest::addColumn<QString>("refusal");      // empty: saved
        QTest::newRow("teaching to plain deletes the link") << "CLA" << QStringList() << QString() << QString();
        QTest::newRow("plain to teaching creates it") << "REU" << QStringList{"HUM", "LEN", "Noche"} << QString() << QString();
        QTest::newRow("teaching stays, subject changes") << "CLA" << QStringList{"CIE", "QUI", "Mañana"} << QString() << QString();
        QTest::newRow("a column changed meanwhile is refused")
            << "REU" << QStringList() << "HorHoras=9" << "Otro usuario modificó este registro";
        QTest::newRow("a column left alone keeps the other user's change")
            << "REU" << QStringList() << "HorCategoria='Z'" << QString();
        QTest::newRow("the row has gone") << "REU" << QStringList() << QString("DELETE") << "ya no existe";
    }

    void changeKeepsLinkAndOthersWork()
    {
        QFETCH(QString, storedActivity);
        QFETCH(QStringList, newLink);
        QFETCH(QString, otherUser);
        QFETCH(QString, refusal);
        tests::TempStore db;
        const qlonglong horId =
            db.scalar(u"SELECT MIN(HorId) FROM HORAS WHERE FunCedula=? AND ActId=?"_s, {kUser.person, storedActivity})
                .toLongLong();
        QVERIFY(horId > 0);
        QCOMPARE(db.count(u"HORAS_RUBROS_MATERIAS"_s, u"HorId=?"_s, {horId}), storedActivity == u"CLA"_s ? 1 : 0);
        const core::HoursEntry read = core::entryFromColumns([rs = horas(db, horId)](const QString &c) { return rs.value(0, c); });
        core::HoursEntry edited = newLink.isEmpty() ? read : teaching(read, newLink);
        edited.horas = u"4,5"_s;
        if (newLink.isEmpty())
            edited.actId = u"REU"_s;
        edited.horarioInicial = read.horarioInicial, edited.horarioFinal = read.horarioFinal;

        if (otherUser == u"DELETE"_s) {
            db.execNative(u"DELETE FROM HORAS_RUBROS_MATERIAS WHERE HorId=?"_s, {horId});
            db.execNative(u"DELETE FROM HORAS WHERE HorId=?"_s, {horId});
        } else if (!otherUser.isEmpty()) {
            db.execNative(u"UPDATE HORAS SET %1 WHERE HorId=?"_s.arg(otherUser), {horId});
        }
        const store::ResultSet before = horas(db, horId);
        const core::HoursSaveResult result = core::HoursSave().change(horId, read, edited);
        const store::ResultSet after = horas(db, horId);
        if (!refusal.isEmpty()) {
            QVERIFY(!result.saved);
            QVERIFY2(result.message.contains(refusal), qPrintable(result.message));
            QCOMPARE(after.rows, before.rows);  // nothing written
            return;
        }
        QVERIFY2(result.saved, qPrintable(result.message));
        QCOMPARE(after.value(0, u"HorHoras"_s).toDouble(), 4.5);
        QCOMPARE(after.value(0, u"ActId"_s).toString(), newLink.isEmpty() ? u"REU"_s : u"CLA"_s);
        // What the change did not touch stays as the store held it, another user's work included.
        for (const char *column : {"FunCedula", "AreId", "DesId", "FunInsId", "HorFecha", "HorSemana", "HorValorhora",
                                   "HorCategoria", "TipId", "HorMoneda", "HorHorarioInicial", "HorHorarioFinal"})
            QVERIFY2(after.value(0, QLatin1String(column)) == before.value(0, QLatin1String(column)), column);
        if (!otherUser.isEmpty())
            QCOMPARE(after.value(0, u"HorCategoria"_s).toString(), u"Z"_s);
        compareLink(db, horId, newLink);
    }
};

TEMPALIA_TEST_MAIN(TestHoursSave)
#include "tst_hourssave.moc"

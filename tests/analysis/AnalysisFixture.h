#pragma once

// Rows for the analysis tests: two areas, a teaching and a non-teaching activity, one
// destination, two types of hour (factor 1 and 1.5), and hour records of this year and
// the last, in two currencies and a few spellings of them.

#include "TempStore.h"

#include <QDate>
#include <QString>
#include <QVariant>

namespace analysis_tests {

struct Hour {
    QDate date;
    const char *area;
    const char *activity;
    const char *type;
    double hours;
    double value;
    const char *currency;
    const char *destination = "CUR";
    bool nullHours = false;
};

inline void insertCatalogues(tests::TempStore &db)
{
    for (auto [id, text] : {std::pair{"DOC", "Docencia"}, {"ADM", "Administración"}})
        db.execNative(QStringLiteral("INSERT INTO AREAS (AreId, AreDescripcion) VALUES (?, ?)"),
                      {QString::fromUtf8(id), QString::fromUtf8(text)});
    db.execNative(QStringLiteral("INSERT INTO ACTIVIDADES (ActId, ActDescripcion, ActEsDocente) VALUES (?, ?, ?)"),
                  {QStringLiteral("CLA"), QStringLiteral("Clases"), true});
    db.execNative(QStringLiteral("INSERT INTO ACTIVIDADES (ActId, ActDescripcion, ActEsDocente) VALUES (?, ?, ?)"),
                  {QStringLiteral("TAR"), QStringLiteral("Tareas"), false});
    db.execNative(QStringLiteral("INSERT INTO DESTINOS (DesId, DesDescripcion) VALUES (?, ?)"),
                  {QStringLiteral("CUR"), QStringLiteral("Cursos")});
    db.execNative(QStringLiteral("INSERT INTO TIPOHORAS (TipId, TipDescripcion, TipPorcentaje) VALUES (?, ?, ?)"),
                  {QStringLiteral("COM"), QStringLiteral("Comunes"), 1.0});
    db.execNative(QStringLiteral("INSERT INTO TIPOHORAS (TipId, TipDescripcion, TipPorcentaje) VALUES (?, ?, ?)"),
                  {QStringLiteral("EXT"), QStringLiteral("Extra"), 1.5});
}

inline void insertHour(tests::TempStore &db, const Hour &h, const char *table = "HORAS", const char *cedula = "11111111")
{
    db.execNative(QStringLiteral("INSERT INTO %1 (%2FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, HorSemana, "
                                 "HorValorhora, HorHoras, HorCategoria, TipId, HorMoneda) VALUES (%3?, ?, ?, ?, 1, ?, "
                                 "1, ?, ?, 'A', ?, ?)")
                      .arg(QLatin1String(table),
                           QLatin1String(table) == QLatin1String("HHORAS") ? QStringLiteral("HorId, ") : QString(),
                           QLatin1String(table) == QLatin1String("HHORAS")
                               ? QStringLiteral("(SELECT COALESCE(MAX(HorId), 0) + 1 FROM HHORAS), ")
                               : QString()),
                  {QString::fromLatin1(cedula), QString::fromUtf8(h.area), QString::fromUtf8(h.activity),
                   QString::fromUtf8(h.destination), h.date, h.value,
                   h.nullHours ? QVariant(QMetaType::fromType<double>()) : QVariant(h.hours), QString::fromUtf8(h.type),
                   QString::fromUtf8(h.currency)});
}

// The close of an area chief, as the month close runs it: the rows up to a date move from
// HORAS to HHORAS.
inline void closeUpTo(tests::TempStore &db, const QDate &until)
{
    db.execNative(QStringLiteral("INSERT INTO HHORAS SELECT * FROM HORAS WHERE HorFecha <= ?"), {until});
    db.execNative(QStringLiteral("DELETE FROM HORAS WHERE HorFecha <= ?"), {until});
}

// The budget's rows, in this year unless said: rows 1-4 and 6 are archived by a close up to
// 5 February; 5 and 7 stay in HORAS.
inline void fillBudgetStore(tests::TempStore &db)
{
    const int y = QDate::currentDate().year();
    insertCatalogues(db);
    const Hour hours[] = {
        {QDate(y, 1, 10), "DOC", "CLA", "COM", 2, 100, "Pesos Uruguayos"},   // 200
        {QDate(y, 1, 20), "DOC", "CLA", "EXT", 4, 100, "Pesos Uruguayos"},   // 600 (factor 1.5)
        {QDate(y, 2, 5), "DOC", "TAR", "COM", 3, 10.5, "Dolares"},           // 31.5
        {QDate(y, 2, 5), "ADM", "TAR", "COM", 1.5, 200, "pesos"},            // 300, a peso
        {QDate(y, 3, 1), "ADM", "CLA", "EXT", 2, 20, "Dolares"},             // 60
        {QDate(y - 1, 12, 31), "DOC", "CLA", "COM", 1, 1000, "Pesos Uruguayos"},  // 1000, last year
        {QDate(y, 3, 15), "DOC", "CLA", "COM", 1, 50, "DOLARES"},            // 50, a peso
    };
    for (const Hour &h : hours)
        insertHour(db, h);
    closeUpTo(db, QDate(y, 2, 5));
}

}  // namespace analysis_tests

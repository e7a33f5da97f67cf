#pragma once

// The month report of one person: the session's person (the user, or the one
// chosen by the last "cambio"), with every area in which they have hours in HORAS. The
// cédula goes into the statement as it is, trailing blanks and all: the store's
// comparison decides whether it finds the person.
//
// open() builds the report with the data of that moment and shows its preview, or, while
// its preview is open, only brings that forward. The data does not follow later changes.
// Store errors pass to the caller.

#include "output/ReportPreview.h"
#include "session/modPrincipal.h"

#include <QPointer>

class dtrReporteMesActualUsuario : public output::ReportPreview {
    Q_OBJECT
public:
    static dtrReporteMesActualUsuario *open(const QString &cedula = modPrincipal::session().person);
    // The open report, or null.
    static dtrReporteMesActualUsuario *current();

private:
    explicit dtrReporteMesActualUsuario(store::ShapeChapter data);
    static QPointer<dtrReporteMesActualUsuario> s_open;
};

#pragma once

// The month report of an area: every staff member of the store with a section, holding the
// hours of HORAS written in that area (the session's area, not trimmed); empty for those with none.
//
// open() builds the report with the data of that moment and shows its preview, or, while
// its preview is open, only brings that forward. The data does not follow later changes.
// Store errors pass to the caller.

#include "output/ReportPreview.h"
#include "session/modPrincipal.h"

#include <QPointer>

class dtrReporteMesActualArea : public output::ReportPreview {
    Q_OBJECT
public:
    static dtrReporteMesActualArea *open(const QString &areaId = modPrincipal::session().area);
    // The open report, or null.
    static dtrReporteMesActualArea *current();

private:
    explicit dtrReporteMesActualArea(store::ShapeChapter data);
    static QPointer<dtrReporteMesActualArea> s_open;
};

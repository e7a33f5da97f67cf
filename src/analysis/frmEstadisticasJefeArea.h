#pragma once

#include "analysis/ChartWindow.h"

// The chart window of frmJefeArea.
class frmEstadisticasJefeArea : public analysis::ChartWindow {
    Q_OBJECT
public:
    frmEstadisticasJefeArea(const QString &consulta, const QString &agrupar, QWidget *parent = nullptr)
        : analysis::ChartWindow(consulta, agrupar, parent)
    {
        setObjectName(QStringLiteral("frmEstadisticasJefeArea"));
    }
};

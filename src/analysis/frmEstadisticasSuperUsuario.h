#pragma once

#include "analysis/ChartWindow.h"

// The chart window of frmSuperUsuario.
class frmEstadisticasSuperUsuario : public analysis::ChartWindow {
    Q_OBJECT
public:
    frmEstadisticasSuperUsuario(const QString &consulta, const QString &agrupar, QWidget *parent = nullptr)
        : analysis::ChartWindow(consulta, agrupar, parent)
    {
        setObjectName(QStringLiteral("frmEstadisticasSuperUsuario"));
    }
};

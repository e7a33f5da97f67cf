#pragma once

#include "workspaces/StaffWorkspace.h"

// "Menú Principal" of the area chief: the common workspace on the person chosen in the
// staff of the chief's area (each contract a row), the printing menu (the person or the
// area), and the tabs of the chief's own work.
class frmJefeArea : public StaffWorkspace {
    Q_OBJECT
public:
    explicit frmJefeArea(QWidget *parent = nullptr);

protected:
    QString staffStatement() const override;
    void currentGridClicked() override;
};

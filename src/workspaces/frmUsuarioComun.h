#pragma once

#include "workspaces/Workspace.h"

// "Menú Principal" of the common user: the hours of the user, in the two lists, with
// entry, change, delete, filter, sort and the report of the user's hours.
class frmUsuarioComun : public Workspace {
    Q_OBJECT
public:
    explicit frmUsuarioComun(QWidget *parent = nullptr);
};

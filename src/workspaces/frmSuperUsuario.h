#pragma once

#include "workspaces/StaffWorkspace.h"

// "Menú Principal" of the super user: the lists of any staff member of any area, read
// only (no key writes hours), the printing menu (the person, the area, everything) and the
// statistics menu over the whole archive, and the key `historial`, which opens the history
// of the hour record selected in the list on screen.
class frmSuperUsuario : public StaffWorkspace {
    Q_OBJECT
public:
    explicit frmSuperUsuario(QWidget *parent = nullptr);

    // The statement of the statistics over the whole archive (no clause).
    static QString statisticsStatement();

protected:
    QString staffStatement() const override;
    void buttonClicked(const QString &key) override;
    void menuEntryChosen(const QString &button, const QString &entry) override;
    // A click in the current list changes nothing here.
    void currentGridClicked() override {}

private:
    void showHistory();
};

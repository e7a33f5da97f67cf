#pragma once

#include "ui/DataGrid.h"

#include <QList>
#include <QPair>
#include <QString>
#include <QVariant>
#include <QWidget>

#include <functional>

class QFormLayout;
class QLineEdit;
class QPushButton;
class QVBoxLayout;
class QGridLayout;

namespace store {
class DataControl;
}
namespace ui {
class BoundList;
}

namespace admin {

using ui::column;

// What tells one maintenance window from another: its names, its data control and
// statement, its grid, and (for the catalogues) the key and description columns that
// txtCodigo and txtDescripcion are bound to.
struct MaintenanceSpec {
    QString windowName;  // objectName, e.g. "frmMantAreas"
    QString title;
    QString controlName;  // "adcAreas"
    QString statement;
    QString gridName;  // "dtgAreas"
    QString gridCaption;
    QList<ui::GridColumn> columns;
    QString keyField;          // empty: the window has no txtCodigo / txtDescripcion
    QString descriptionField;
    bool newHasAction = true;  // frmMantDestinos: cmdNuevo is there but does nothing
};

// The maintenance window every administration window is built on: a grid over one data
// control whose cells can be typed in place, entry boxes bound to the current row, and the
// buttons Nuevo / Guardar / Ayuda / Cerrar.
//
// Two states: browsing (cmdNuevo enabled) and a new row pending (cmdNuevo disabled), from
// cmdNuevo to the next cmdGuardar that the store accepts. Moving to another row writes what
// is pending, as the data control does by itself on a move. A write the store refuses is
// shown with the store's message and the window keeps the pending row and what was typed.
//
// A derived window adds its controls in its constructor and calls open() at its end, so
// that the first load already runs its own row-change step.
class MaintenanceWindow : public QWidget {
    Q_OBJECT
public:
    explicit MaintenanceWindow(const MaintenanceSpec &spec, QWidget *parent = nullptr);
    ~MaintenanceWindow() override;

    store::DataControl *dataControl() const { return m_adc; }
    ui::DataGrid *grid() const { return m_grid; }
    // Whether the data control stands on a row (new or stored), not before the first or
    // after the last.
    bool onRow() const;

protected:
    // Runs the statement: the grid fills and the first row becomes current.
    void open();

    // A text box bound to `field`, added to the form with its label and enabled only
    // while the data control stands on a row.
    QLineEdit *addTextBox(const QString &name, const QString &label, const QString &field, int maxLength,
                          const QString &mask = {});
    // A control enabled only while the data control stands on a row.
    void addRowControl(QWidget *control);
    QFormLayout *form() const { return m_form; }
    // The area below the entry boxes, for what a window adds (contracts, links).
    QVBoxLayout *extraArea() const { return m_extra; }
    // A link list laid out for the extra area: each picker with its caption right above it,
    // then the buttons that add and remove a link side by side, then the list, which takes
    // the room left.
    QGridLayout *linkListLayout(const QList<QPair<QString, QWidget *>> &pickers, QWidget *add, QWidget *remove,
                                QWidget *list);

    // The window's own step when the current row changes, after the row controls have
    // been enabled or disabled.
    virtual void currentRowChanged(bool onRow);
    // Shows the store's refusal in a box; the window stays as it was.
    void showRefusal(const std::exception &error);
    // Runs `write`; if the store refuses it, runs `undo` (when given), shows the refusal and
    // returns false.
    bool written(const std::function<void()> &write, const std::function<void()> &undo = {});
    // A new row not saved yet: says so ("Guarde primero el registro nuevo.") and returns true.
    bool newRowPending();

    // Link tables (rows that tie the current row to rows of another table), written at once.
    // Runs `statement` on the link table's data control and returns how many rows it found.
    static int findLinks(store::DataControl *links, const QString &statement);
    // Adds a link row with `values`, in that order. A refusal drops the row and is shown, and
    // gives false; otherwise the data control is read again.
    bool addLink(store::DataControl *links, const QList<QPair<QString, QVariant>> &values);
    // Deletes the link row `links` stands on (a refusal is shown) and reads it again.
    void removeLink(store::DataControl *links);
    // Runs `statement` on the data control behind `list` and fills the list again.
    static void showLinks(store::DataControl *rows, const QString &statement, ui::BoundList *list);

    QPushButton *cmdNuevo;
    QPushButton *cmdGuardar;
    QPushButton *cmdAyuda;
    QPushButton *cmdCerrar;
    QLineEdit *txtCodigo = nullptr;
    QLineEdit *txtDescripcion = nullptr;

private:
    void rowChanged();
    void cmdNuevo_Click();
    void cmdGuardar_Click();

    MaintenanceSpec m_spec;
    store::DataControl *m_adc;
    ui::DataGrid *m_grid;
    QFormLayout *m_form;
    QVBoxLayout *m_extra;
    QList<QWidget *> m_rowControls;
};

}  // namespace admin

#pragma once

#include <QAbstractTableModel>
#include <QFrame>
#include <QPointer>

class QLabel;
class QTableView;

#include "store/DataControl.h"

namespace ui {

// One column of a grid: its heading, the column it shows (by name, or by position in the
// statement's result when `field` is empty), its display mask, whether it is visible.
struct GridColumn {
    QString heading;
    QString field;
    int position = -1;
    QString mask;
    bool visible = true;
    int width = 0;  // pixels; 0 = fit
    int maxLength = 0;  // characters a cell can be typed with in place; 0 = no limit

    bool operator==(const GridColumn &) const = default;
};

// A column over a field, with an optional display mask.
GridColumn column(const QString &heading, const QString &field, const QString &mask = {});

class DataGridModel;

// The DataGrid: a caption above a table showing every row of its data control. The row
// selected in the grid is the data control's current row and the other way round. Yes/no
// columns read "Si"/"No"; masks format numbers, dates and times; cells can be edited in
// place when the grid allows it (the value reaches the row, which the data control writes
// when the row is left or saved).
class DataGrid : public QFrame {
    Q_OBJECT
public:
    explicit DataGrid(QWidget *parent = nullptr);
    ~DataGrid() override;

    void setCaption(const QString &caption);
    QString caption() const;
    void setColumns(const QList<GridColumn> &columns);
    const QList<GridColumn> &columns() const;
    void setDataSource(store::DataControl *source);
    store::DataControl *dataSource() const { return m_source; }
    void setEditable(bool editable);
    // Limits what a cell of the column over `field` takes when typed in place, as the
    // entry box of that field is limited.
    void setMaxLength(const QString &field, int maxLength);
    // Repaints from the data control (Refresh).
    void refresh();

    QTableView *view() const { return m_view; }
    // What a cell shows, as on screen (tests read the grid through this).
    QString cellText(int row, int column) const;
    int rowCount() const;
    int visibleColumnCount() const;
    QString heading(int column) const;
    // Selects a row as a user's click does.
    void clickRow(int row);

signals:
    void rowClicked(int row);
    void rowDoubleClicked(int row);

private:
    void followCurrentRow();
    void fitColumns();

    QLabel *m_caption;
    QTableView *m_view;
    DataGridModel *m_model;
    QPointer<store::DataControl> m_source;
    bool m_following = false;
};

}  // namespace ui

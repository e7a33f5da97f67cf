#pragma once

// The read-only window of a workbook that ExcelVb shows with Mostrar: one tab per sheet,
// a grid of the cells' texts for a worksheet and the pie for a chart sheet.

#include <QWidget>

class QTabWidget;

namespace output {

class Workbook;

class WorkbookWindow : public QWidget {
    Q_OBJECT
public:
    explicit WorkbookWindow(QWidget *parent = nullptr);

    // Shows what the workbook holds now, on the tab of its active sheet; null shows an
    // application without a workbook.
    void showBook(const Workbook *book);
    QTabWidget *tabs() const { return m_tabs; }

private:
    QTabWidget *m_tabs;
};

}  // namespace output

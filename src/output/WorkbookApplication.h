#pragma once

// The spreadsheet application that ExcelVb drives: its open workbooks, the active one, the
// printer it prints on, and whether it shows its window.

#include "workbook/Workbook.h"
#include "output/WorkbookWindow.h"

#include <QPointer>

#include <memory>
#include <vector>

class QPrinter;

namespace output {

class WorkbookApplication {
public:
    WorkbookApplication();
    ~WorkbookApplication();
    WorkbookApplication(const WorkbookApplication &) = delete;
    WorkbookApplication &operator=(const WorkbookApplication &) = delete;

    std::vector<std::unique_ptr<Workbook>> workbooks;
    int active = -1;

    // Throws WorkbookError when no workbook is open.
    Workbook &activeWorkbook();
    Workbook *activeWorkbookOrNull();
    // A new empty workbook ("Book1", "Book2"...), made the active one.
    Workbook &addWorkbook();
    Workbook &addWorkbook(Workbook book);

    bool isVisible() const { return m_visible; }
    void setVisible(bool visible);
    // The window, while it is shown; null otherwise.
    WorkbookWindow *window() const { return m_visible ? m_window.data() : nullptr; }
    // Brings the window up to date after a change, when it is shown.
    void changed();

    // The printer the print operations use: the one set here (not owned), else the
    // system's default printer.
    QPrinter &printer();
    void setPrinter(QPrinter *printer) { m_external = printer; }

private:
    bool m_visible = false;
    int m_bookCounter = 0;
    QPointer<WorkbookWindow> m_window;
    QPrinter *m_external = nullptr;
    std::unique_ptr<QPrinter> m_default;
};

}  // namespace output

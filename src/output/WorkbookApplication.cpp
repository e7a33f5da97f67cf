#include "output/WorkbookApplication.h"

#include "output/WorkbookWindow.h"

#include <QPrinter>

namespace output {

WorkbookApplication::WorkbookApplication() = default;

WorkbookApplication::~WorkbookApplication()
{
    delete m_window.data();
}

Workbook &WorkbookApplication::activeWorkbook()
{
    if (Workbook *book = activeWorkbookOrNull())
        return *book;
    throw WorkbookError(QStringLiteral("No hay ningún libro abierto."));
}

Workbook *WorkbookApplication::activeWorkbookOrNull()
{
    return active >= 0 && active < int(workbooks.size()) ? workbooks[active].get() : nullptr;
}

Workbook &WorkbookApplication::addWorkbook()
{
    return addWorkbook(Workbook(QStringLiteral("Book%1").arg(++m_bookCounter)));
}

Workbook &WorkbookApplication::addWorkbook(Workbook book)
{
    workbooks.push_back(std::make_unique<Workbook>(std::move(book)));
    active = int(workbooks.size()) - 1;
    return *workbooks.back();
}

void WorkbookApplication::setVisible(bool visible)
{
    m_visible = visible;
    if (visible) {
        if (!m_window)
            m_window = new WorkbookWindow;
        m_window->showBook(activeWorkbookOrNull());
        m_window->show();
    } else if (m_window) {
        m_window->hide();
    }
}

void WorkbookApplication::changed()
{
    if (m_visible && m_window)
        m_window->showBook(activeWorkbookOrNull());
}

QPrinter &WorkbookApplication::printer()
{
    if (m_external)
        return *m_external;
    if (!m_default)
        m_default = std::make_unique<QPrinter>(QPrinter::HighResolution);
    return *m_default;
}

}  // namespace output

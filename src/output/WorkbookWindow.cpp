#include "output/WorkbookWindow.h"

#include "workbook/Workbook.h"
#include "workbook/WorkbookPrint.h"

#include <QHeaderView>
#include <QPainter>
#include <QTabWidget>
#include <QTableWidget>
#include <QVBoxLayout>

namespace output {

namespace {

class PieView : public QWidget {
public:
    PieView(std::vector<ChartSlice> slices, bool threeD, QWidget *parent)
        : QWidget(parent), m_slices(std::move(slices)), m_threeD(threeD)
    {
        setAutoFillBackground(true);
        QPalette p = palette();
        p.setColor(QPalette::Window, Qt::white);
        setPalette(p);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        paintPie(painter, QRectF(rect()).adjusted(10, 10, -10, -10), m_slices, m_threeD);
    }

private:
    std::vector<ChartSlice> m_slices;
    bool m_threeD;
};

QWidget *worksheetView(const Sheet &sheet, QWidget *parent)
{
    auto *table = new QTableWidget(parent);
    const int rows = std::max(sheet.lastRow(), 1) + 20;
    const int columns = std::max(sheet.lastColumn(), 1) + 5;
    table->setRowCount(rows);
    table->setColumnCount(columns);
    QStringList headings;
    for (int c = 1; c <= columns; ++c)
        headings << columnName(c);
    table->setHorizontalHeaderLabels(headings);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (const auto &[pos, cell] : sheet.cells) {
        auto *item = new QTableWidgetItem(cell.displayText(pos.first, pos.second));
        if (cell.kind == Cell::Kind::Number || cell.kind == Cell::Kind::Date)
            item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        if (cell.kind == Cell::Kind::Formula)
            item->setToolTip(sheet.formulaA1(pos.first, pos.second));
        table->setItem(pos.first - 1, pos.second - 1, item);
    }
    table->setCurrentCell(sheet.activeRow - 1, sheet.activeColumn - 1);
    return table;
}

}  // namespace

WorkbookWindow::WorkbookWindow(QWidget *parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("WorkbookWindow"));
    setAttribute(Qt::WA_QuitOnClose, false);
    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName(QStringLiteral("tabHojas"));
    m_tabs->setTabPosition(QTabWidget::South);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_tabs);
    resize(800, 560);
}

void WorkbookWindow::showBook(const Workbook *book)
{
    while (m_tabs->count() > 0) {
        QWidget *page = m_tabs->widget(0);
        m_tabs->removeTab(0);
        delete page;
    }
    setWindowTitle(book ? book->name : QStringLiteral("Hoja de cálculo"));
    if (!book)
        return;
    for (int i = 0; i < int(book->sheets.size()); ++i) {
        const Sheet &s = book->sheets[i];
        QWidget *page = s.isChart() ? static_cast<QWidget *>(new PieView(
                                          s.chart ? book->chartSlices(*s.chart) : std::vector<ChartSlice>{},
                                          s.chart && s.chart->type == ChartSpec::Pie3D, m_tabs))
                                    : worksheetView(s, m_tabs);
        page->setObjectName(QStringLiteral("hoja_%1").arg(i));
        m_tabs->addTab(page, s.name);
    }
    m_tabs->setCurrentIndex(book->active);
}

}  // namespace output

#pragma once

#include "core/ChartGrid.h"

#include <QImage>
#include <QWidget>
#include <vector>

QT_BEGIN_NAMESPACE
class QStackedLayout;
class QChart;
class QChartView;
class Q3DBars;
class Q3DSurface;
class QAbstract3DGraph;
class QLabel;
QT_END_NAMESPACE

namespace analysis {

// The chart control (chtReport): a data grid (ChartGrid), a chart type, a repaint switch,
// the series' markers and a picture of the chart for the clipboard.
//
// Types, as the chart's type values: 1 two-dimensional bars and 14 pies (one pie per row,
// a slice per series, or a single pie of the rows when each row falls in one series) are
// drawn with Qt Charts; 0 three-dimensional bars and 4 three-dimensional area with Qt
// DataVisualization when an OpenGL context can be had, with a legend of the series below.
// Each series has the same colour in every type. Where
// none can (no screen, the offscreen platform, a driver without OpenGL), those two are drawn
// flat from the same grid (bars, and overlapping areas), and the chart's title says so.
class ChartView : public QWidget {
    Q_OBJECT
public:
    enum Type { Bars3D = 0, Bars2D = 1, Area3D = 4, Pie2D = 14 };

    explicit ChartView(QWidget *parent = nullptr);
    ~ChartView() override;

    core::ChartGrid &grid() { return m_grid; }
    const core::ChartGrid &grid() const { return m_grid; }

    int chartType() const { return m_type; }
    void setChartType(int type);

    // Stops (false) and resumes (true) repainting; resuming draws the grid as it is now.
    void setRepaint(bool repaint);
    bool repaintEnabled() const { return m_repaint; }
    // Draws the grid again (what resuming does).
    void redraw();

    // The series of the plot are the grid's columns, numbered from 1.
    int seriesCount() const { return m_grid.columnCount(); }
    bool markerVisible(int series) const;
    void setMarkerVisible(int series, bool visible);

    // What the chart shows now, as a picture.
    QImage image();
    // True while a three-dimensional type is drawn in three dimensions.
    bool drawingIn3D() const { return m_drawn3D; }
    static bool threeDAvailable();

private:
    void draw2D(int type, bool asFallback);
    void drawPies(QChart *chart);
    void draw3DBars();
    void draw3DArea();
    QWidget *graphPage(QAbstract3DGraph *graph, QLabel *&legend);
    bool categoriesFitAcross(const QStringList &names, int count) const;

    core::ChartGrid m_grid;
    int m_type = Bars2D;
    bool m_repaint = true;
    bool m_drawn3D = false;
    std::vector<bool> m_markers;  // per series; a series not listed shows its marker

    QStackedLayout *m_stack = nullptr;
    QChartView *m_chartView = nullptr;
    QWidget *m_barsPage = nullptr;
    QLabel *m_barsLegend = nullptr;
    Q3DBars *m_bars = nullptr;
    QWidget *m_surfacePage = nullptr;
    QLabel *m_surfaceLegend = nullptr;
    Q3DSurface *m_surface = nullptr;
};

}  // namespace analysis

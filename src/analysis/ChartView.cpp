#include "analysis/ChartView.h"

#include <QAreaSeries>
#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QCategoryAxis>
#include <QChart>
#include <QChartView>
#include <QGraphicsSimpleTextItem>
#include <QGuiApplication>
#include <QLegendMarker>
#include <QLineSeries>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QPieSeries>
#include <QPieSlice>
#include <QStackedLayout>
#include <QValueAxis>

#include <Q3DBars>
#include <Q3DSurface>
#include <QBar3DSeries>
#include <QBarDataProxy>
#include <QCategory3DAxis>
#include <QSurface3DSeries>
#include <QSurfaceDataProxy>
#include <QValue3DAxis>
#include <QValue3DAxisFormatter>
#include <QtDataVisualization/qutils.h>

#include <cmath>

namespace analysis {
namespace {

const QString kFlatNote = QStringLiteral("(vista en 3D no disponible en este equipo: se muestra en 2D)");

// Category labels on a value axis of the surface: the value i shows the i-th label.
class LabelFormatter : public QValue3DAxisFormatter {
public:
    explicit LabelFormatter(QStringList labels = {}) : m_labels(std::move(labels)) {}
    QValue3DAxisFormatter *createNewInstance() const override { return new LabelFormatter(m_labels); }
    void populateCopy(QValue3DAxisFormatter &copy) const override
    {
        QValue3DAxisFormatter::populateCopy(copy);
        static_cast<LabelFormatter &>(copy).m_labels = m_labels;
    }
    QString stringForValue(qreal value, const QString &) const override
    {
        const double rounded = std::round(value);
        if (std::abs(value - rounded) > 0.01 || rounded < 0 || rounded >= m_labels.size())
            return {};
        return m_labels.at(int(rounded));
    }

private:
    QStringList m_labels;
};

QString rowTitle(const ChartGrid &g, int row)
{
    const QString label = g.rowLabel(row);
    return label.isEmpty() ? QStringLiteral(" ") : label;
}

}  // namespace

ChartView::ChartView(QWidget *parent) : QWidget(parent)
{
    m_stack = new QStackedLayout(this);
    m_stack->setContentsMargins(0, 0, 0, 0);
    m_chartView = new QChartView(new QChart, this);
    m_chartView->setRenderHint(QPainter::Antialiasing);
    m_stack->addWidget(m_chartView);
    redraw();
}

ChartView::~ChartView() = default;

bool ChartView::threeDAvailable()
{
    static const bool available = [] {
        const QString platform = QGuiApplication::platformName();
        if (platform == QLatin1String("offscreen") || platform == QLatin1String("minimal") ||
            platform == QLatin1String("minimalegl"))
            return false;
        if (!qEnvironmentVariableIsEmpty("TEMPALIA_NO_3D"))
            return false;
        QOpenGLContext context;
        context.setFormat(qDefaultSurfaceFormat(true));
        if (!context.create())
            return false;
        QOffscreenSurface surface;
        surface.setFormat(context.format());
        surface.create();
        if (!surface.isValid() || !context.makeCurrent(&surface))
            return false;
        context.doneCurrent();
        return true;
    }();
    return available;
}

void ChartView::setChartType(int type)
{
    if (type != Bars3D && type != Bars2D && type != Area3D && type != Pie2D)
        type = Bars2D;
    m_type = type;
    redraw();
}

void ChartView::setRepaint(bool repaint)
{
    m_repaint = repaint;
    if (repaint)
        redraw();
}

bool ChartView::markerVisible(int series) const
{
    return series >= 1 && series <= int(m_markers.size()) ? m_markers[series - 1] : true;
}

void ChartView::setMarkerVisible(int series, bool visible)
{
    if (series < 1 || series > seriesCount())
        throw std::out_of_range("Serie fuera de la gráfica.");
    if (int(m_markers.size()) < seriesCount())
        m_markers.resize(seriesCount(), true);
    m_markers[series - 1] = visible;
    if (m_repaint)
        redraw();
}

void ChartView::redraw()
{
    if (!m_repaint)
        return;
    m_drawn3D = false;
    if ((m_type == Bars3D || m_type == Area3D) && threeDAvailable()) {
        if (m_type == Bars3D)
            draw3DBars();
        else
            draw3DArea();
        if (m_drawn3D)
            return;
    }
    const bool fallback = m_type == Bars3D || m_type == Area3D;
    draw2D(m_type, fallback);
    m_stack->setCurrentWidget(m_chartView);
}

void ChartView::draw2D(int type, bool asFallback)
{
    auto *chart = new QChart;
    chart->setAnimationOptions(QChart::NoAnimation);
    chart->legend()->setAlignment(Qt::AlignBottom);
    const ChartGrid &g = m_grid;
    const int rows = g.rowCount();
    const int cols = g.columnCount();

    if (type == Pie2D) {
        // One pie per row, a slice per series, laid out in a square of pies.
        const int across = rows > 0 ? int(std::ceil(std::sqrt(double(rows)))) : 1;
        const int down = rows > 0 ? (rows + across - 1) / across : 1;
        std::vector<QPieSeries *> pies;
        for (int r = 1; r <= rows; ++r) {
            auto *pie = new QPieSeries;
            pie->setName(rowTitle(g, r));
            for (int c = 1; c <= cols; ++c) {
                auto *slice = pie->append(g.columnLabel(c), g.value(r, c));
                slice->setLabelVisible(rows == 1 && markerVisible(c));
                slice->setLabel(QStringLiteral("%1: %2").arg(g.columnLabel(c), QLocale().toString(g.value(r, c))));
            }
            const int i = r - 1;
            pie->setHorizontalPosition((i % across + 0.5) / across);
            pie->setVerticalPosition((i / across + 0.45) / down);
            pie->setPieSize(0.9 / std::max(across, down));
            chart->addSeries(pie);
            pies.push_back(pie);
        }
        // The same slice has the same colour in every pie; the legend lists the series once.
        for (std::size_t p = 0; p < pies.size(); ++p) {
            const auto slices = pies[p]->slices();
            for (int s = 0; s < slices.size(); ++s) {
                slices[s]->setBrush(pies.front()->slices().at(s)->brush());
            }
            if (p > 0)
                for (QLegendMarker *m : chart->legend()->markers(pies[p]))
                    m->setVisible(false);
            for (QLegendMarker *m : chart->legend()->markers(pies[p]))
                m->setLabel(m->label().section(QStringLiteral(": "), 0, 0));
        }
        // The row's label under its pie.
        auto placeTitles = [chart, pies, across, down] {
            const QRectF area = chart->plotArea();
            for (std::size_t i = 0; i < pies.size(); ++i) {
                auto *item = static_cast<QGraphicsSimpleTextItem *>(pies[i]->property("titleItem").value<void *>());
                if (!item) {
                    item = new QGraphicsSimpleTextItem(pies[i]->name(), chart);
                    pies[i]->setProperty("titleItem", QVariant::fromValue<void *>(item));
                }
                const double cx = area.left() + area.width() * (int(i) % across + 0.5) / across;
                const double cy = area.top() + area.height() * ((int(i) / across) + 0.45) / down;
                // The pie's size is a share of the smaller side of the plot area.
                const double radius = 0.45 / std::max(across, down) * std::min(area.width(), area.height());
                const QRectF b = item->boundingRect();
                item->setPos(cx - b.width() / 2, cy + radius + 2);
            }
        };
        if (rows > 1)
            QObject::connect(chart, &QChart::plotAreaChanged, chart, placeTitles);
        else if (rows == 1)
            chart->setTitle(rowTitle(g, 1));
    } else if (type == Area3D) {
        // Flat: one area per series over the rows, drawn one over the other.
        auto *axisX = new QCategoryAxis;
        axisX->setLabelsPosition(QCategoryAxis::AxisLabelsPositionOnValue);
        for (int r = 1; r <= rows; ++r)
            axisX->append(rowTitle(g, r) + QString(r, QChar(0x200B)), r - 1);  // labels must be unique
        axisX->setRange(0, std::max(1, rows - 1));
        auto *axisY = new QValueAxis;
        axisY->setTitleText(QStringLiteral("Horas"));
        double top = 0;
        for (int c = 1; c <= cols; ++c) {
            auto *upper = new QLineSeries;
            for (int r = 1; r <= rows; ++r) {
                upper->append(r - 1, g.value(r, c));
                top = std::max(top, g.value(r, c));
            }
            if (rows == 1)
                upper->append(1, g.value(1, c));
            upper->setPointsVisible(markerVisible(c));
            auto *area = new QAreaSeries(upper);
            area->setName(g.columnLabel(c));
            area->setOpacity(0.6);
            area->setPointsVisible(markerVisible(c));
            chart->addSeries(area);
        }
        chart->addAxis(axisX, Qt::AlignBottom);
        chart->addAxis(axisY, Qt::AlignLeft);
        for (QAbstractSeries *s : chart->series()) {
            s->attachAxis(axisX);
            s->attachAxis(axisY);
        }
        axisY->setRange(0, top > 0 ? top * 1.1 : 1);
        axisY->applyNiceNumbers();
    } else {
        auto *series = new QBarSeries;
        bool labels = cols > 0;
        for (int c = 1; c <= cols; ++c) {
            auto *set = new QBarSet(g.columnLabel(c));
            for (int r = 1; r <= rows; ++r)
                *set << g.value(r, c);
            series->append(set);
            labels = labels && markerVisible(c);
        }
        series->setLabelsVisible(labels);
        chart->addSeries(series);
        auto *axisX = new QBarCategoryAxis;
        QStringList categories;
        for (int r = 1; r <= rows; ++r) {
            QString label = rowTitle(g, r);
            while (categories.contains(label))  // the axis needs distinct texts
                label += QChar(0x200B);
            categories << label;
        }
        axisX->append(categories);
        auto *axisY = new QValueAxis;
        axisY->setTitleText(QStringLiteral("Horas"));
        chart->addAxis(axisX, Qt::AlignBottom);
        chart->addAxis(axisY, Qt::AlignLeft);
        series->attachAxis(axisX);
        series->attachAxis(axisY);
        axisY->setMin(0);
        if (rows == 0)
            axisY->setRange(0, 1);
        else
            axisY->applyNiceNumbers();
    }
    if (asFallback)
        chart->setTitle(chart->title().isEmpty() ? kFlatNote : chart->title() + QLatin1Char(' ') + kFlatNote);

    QChart *old = m_chartView->chart();
    m_chartView->setChart(chart);
    delete old;
}

void ChartView::draw3DBars()
{
    if (!m_bars) {
        m_bars = new Q3DBars;
        if (!m_bars->hasContext()) {
            delete m_bars;
            m_bars = nullptr;
            return;
        }
        m_bars->setShadowQuality(QAbstract3DGraph::ShadowQualityNone);
        m_bars->scene()->activeCamera()->setCameraPreset(Q3DCamera::CameraPresetIsometricRightHigh);
        m_bars->valueAxis()->setTitle(QStringLiteral("Horas"));
        m_bars->valueAxis()->setTitleVisible(true);
        m_bars->valueAxis()->setLabelFormat(QStringLiteral("%.1f"));
        m_barsContainer = QWidget::createWindowContainer(m_bars, this);
        m_stack->addWidget(m_barsContainer);
    }
    for (QBar3DSeries *s : m_bars->seriesList())
        m_bars->removeSeries(s);
    const ChartGrid &g = m_grid;
    auto *series = new QBar3DSeries;
    series->setMesh(QAbstract3DSeries::MeshBevelBar);
    series->setItemLabelFormat(QStringLiteral("@rowLabel, @colLabel: @valueLabel"));
    auto *array = new QBarDataArray;
    for (int r = 1; r <= g.rowCount(); ++r) {
        auto *row = new QBarDataRow(g.columnCount());
        for (int c = 1; c <= g.columnCount(); ++c)
            (*row)[c - 1].setValue(float(g.value(r, c)));
        array->append(row);
    }
    QStringList rowLabels;
    for (int r = 1; r <= g.rowCount(); ++r)
        rowLabels << rowTitle(g, r);
    series->dataProxy()->resetArray(array, rowLabels, g.columnLabels());
    m_bars->addSeries(series);
    m_stack->setCurrentWidget(m_barsContainer);
    m_drawn3D = true;
}

void ChartView::draw3DArea()
{
    if (!m_surface) {
        m_surface = new Q3DSurface;
        if (!m_surface->hasContext()) {
            delete m_surface;
            m_surface = nullptr;
            return;
        }
        m_surface->setShadowQuality(QAbstract3DGraph::ShadowQualityNone);
        m_surface->scene()->activeCamera()->setCameraPreset(Q3DCamera::CameraPresetIsometricRightHigh);
        m_surface->axisY()->setTitle(QStringLiteral("Horas"));
        m_surface->axisY()->setTitleVisible(true);
        m_surface->axisY()->setLabelFormat(QStringLiteral("%.1f"));
        m_surfaceContainer = QWidget::createWindowContainer(m_surface, this);
        m_stack->addWidget(m_surfaceContainer);
    }
    for (QSurface3DSeries *s : m_surface->seriesList())
        m_surface->removeSeries(s);
    const ChartGrid &g = m_grid;
    // x: the rows of the grid; z: the series. A surface needs two points each way, so a
    // single row or series is drawn as a band of width one.
    const int xs = std::max(2, g.rowCount());
    const int zs = std::max(2, g.columnCount());
    auto *array = new QSurfaceDataArray;
    for (int z = 0; z < zs; ++z) {
        auto *row = new QSurfaceDataRow(xs);
        for (int x = 0; x < xs; ++x) {
            const int r = std::min(x + 1, g.rowCount());
            const int c = std::min(z + 1, g.columnCount());
            const double v = (r >= 1 && c >= 1) ? g.value(r, c) : 0.0;
            (*row)[x].setPosition(QVector3D(float(x), float(v), float(z)));
        }
        array->append(row);
    }
    QStringList rowLabels;
    for (int r = 1; r <= g.rowCount(); ++r)
        rowLabels << rowTitle(g, r);
    m_surface->axisX()->setFormatter(new LabelFormatter(rowLabels));
    m_surface->axisX()->setSegmentCount(xs - 1);
    m_surface->axisX()->setRange(0, float(xs - 1));
    m_surface->axisZ()->setFormatter(new LabelFormatter(g.columnLabels()));
    m_surface->axisZ()->setSegmentCount(zs - 1);
    m_surface->axisZ()->setRange(0, float(zs - 1));
    auto *series = new QSurface3DSeries;
    series->setDrawMode(QSurface3DSeries::DrawSurfaceAndWireframe);
    series->setFlatShadingEnabled(true);
    series->setItemLabelFormat(QStringLiteral("@yLabel"));
    series->dataProxy()->resetArray(array);
    m_surface->addSeries(series);
    m_stack->setCurrentWidget(m_surfaceContainer);
    m_drawn3D = true;
}

QImage ChartView::image()
{
    if (m_drawn3D) {
        const QSize size = m_stack->currentWidget()->size().expandedTo(QSize(320, 240));
        if (m_type == Bars3D && m_bars)
            return m_bars->renderToImage(4, size);
        if (m_type == Area3D && m_surface)
            return m_surface->renderToImage(4, size);
    }
    QImage picture(m_chartView->size().expandedTo(QSize(320, 240)), QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    m_chartView->render(&painter, QRectF(), m_chartView->rect());
    return picture;
}

}  // namespace analysis

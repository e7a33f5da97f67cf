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
#include <QLabel>
#include <QSet>
#include <QVBoxLayout>
#include <Q3DTheme>
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

// Category labels on a value axis of the surface, whose range is -0.5 to n - 0.5: the
// i-th label stands at the value i, with grid lines between the categories.
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

protected:
    void recalculate() override
    {
        const int n = std::max<int>(1, int(m_labels.size()));
        gridPositions().clear();
        subGridPositions().clear();
        labelPositions().clear();
        labelStrings().clear();
        for (int i = 0; i <= n; ++i)
            gridPositions().append(float(i) / n);
        for (int i = 0; i < m_labels.size(); ++i) {
            labelPositions().append((i + 0.5f) / n);
            labelStrings().append(m_labels.at(i));
        }
    }

private:
    QStringList m_labels;
};

// Ten colours far enough apart to tell the areas from each other, the i-th series taking
// the i-th (from 0), in every type of chart.
QColor seriesColour(int index)
{
    static const QColor colours[] = {QColor(0x1f, 0x77, 0xb4), QColor(0xff, 0x7f, 0x0e), QColor(0x2c, 0xa0, 0x2c),
                                     QColor(0xd6, 0x27, 0x28), QColor(0x94, 0x67, 0xbd), QColor(0x8c, 0x56, 0x4b),
                                     QColor(0xe3, 0x77, 0xc2), QColor(0x7f, 0x7f, 0x7f), QColor(0xbc, 0xbd, 0x22),
                                     QColor(0x17, 0xbe, 0xcf)};
    return colours[index % 10];
}

// A round top for a value axis over 0..top, with its number of segments.
float roundTop(double top, int &segments)
{
    if (top <= 0) {
        segments = 1;
        return 1.0f;
    }
    const double raw = top / 5;
    const double magnitude = std::pow(10.0, std::floor(std::log10(raw)));
    double step = magnitude;
    for (double f : {1.0, 2.0, 2.5, 5.0, 10.0}) {
        step = f * magnitude;
        if (step >= raw)
            break;
    }
    segments = int(std::ceil(top / step));
    return float(segments * step);
}

QString hoursText(double hours)
{
    return QLocale().toString(hours, 'f', hours == std::floor(hours) ? 0 : 1);
}

// The legend of the three-dimensional drawings: a coloured square and the area's name for
// each series.
QString legendHtml(const QStringList &names)
{
    QStringList items;
    for (int i = 0; i < names.size(); ++i)
        items << QStringLiteral("<span style=\"color:%1; font-size:large\">&#9632;</span>&nbsp;%2")
                     .arg(seriesColour(i).name(), names.at(i).toHtmlEscaped());
    return items.join(QStringLiteral(" &nbsp;&nbsp; "));
}

// A theme that reads at the window's size: large plain labels facing the viewer.
void readableTheme(QAbstract3DGraph *graph)
{
    Q3DTheme *theme = graph->activeTheme();
    theme->setType(Q3DTheme::ThemeQt);
    QFont font = theme->font();
    font.setFamily(QStringLiteral("DejaVu Sans"));
    font.setPointSize(30);
    theme->setFont(font);
    theme->setLabelBackgroundEnabled(false);
    theme->setLabelBorderEnabled(false);
    theme->setColorStyle(Q3DTheme::ColorStyleUniform);
    QList<QColor> colours;
    for (int i = 0; i < 10; ++i)
        colours << seriesColour(i);
    theme->setBaseColors(colours);
    graph->setShadowQuality(QAbstract3DGraph::ShadowQualityNone);
    graph->setReflection(false);
}

QString rowTitle(const core::ChartGrid &g, int row)
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
    const core::ChartGrid &g = m_grid;
    const int rows = g.rowCount();
    const int cols = g.columnCount();

    if (type == Pie2D) {
        drawPies(chart);
    } else if (type == Area3D) {
        // Flat: one area per series over the rows, drawn one over the other.
        auto *axisX = new QCategoryAxis;
        axisX->setLabelsPosition(QCategoryAxis::AxisLabelsPositionOnValue);
        for (int r = 1; r <= rows; ++r)
            axisX->append(rowTitle(g, r) + QString(r, QChar(0x200B)), r - 1);  // labels must be unique
        axisX->setRange(0, std::max(1, rows - 1));
        axisX->setTruncateLabels(false);
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
            area->setColor(seriesColour(c - 1));
            area->setBorderColor(seriesColour(c - 1).darker(130));
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
            set->setColor(seriesColour(c - 1));
            set->setBorderColor(seriesColour(c - 1).darker(130));
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
        // A category's name is never cut: names too long to stand side by side are tilted.
        axisX->setTruncateLabels(false);
        axisX->setLabelsAngle(categoriesFitAcross(categories, rows) ? 0 : -30);
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

// One pie per row of the grid, a slice per area with its hours written on it, the row's
// name above its pie and the areas once in the legend. Rows whose hours all fall in one
// area (always so when grouped by area) would each be a pie of one whole slice: they are
// drawn as the slices of a single pie instead.
void ChartView::drawPies(QChart *chart)
{
    const core::ChartGrid &g = m_grid;
    const int rows = g.rowCount();
    const int cols = g.columnCount();
    if (rows == 0)
        return;
    auto filledColumn = [&g, cols](int r) {
        int found = 0;
        for (int c = 1; c <= cols; ++c) {
            if (g.value(r, c) != 0) {
                if (found)
                    return -1;
                found = c;
            }
        }
        return found;
    };
    bool onePie = true;
    for (int r = 1; r <= rows && onePie; ++r)
        onePie = filledColumn(r) >= 0;

    if (onePie) {
        auto *pie = new QPieSeries;
        pie->setPieSize(0.62);
        double total = 0;
        for (int r = 1; r <= rows; ++r)
            for (int c = 1; c <= cols; ++c)
                total += g.value(r, c);
        for (int r = 1; r <= rows; ++r) {
            const int c = filledColumn(r);
            if (c <= 0)
                continue;
            QString name = rowTitle(g, r);
            if (name.compare(g.columnLabel(c), Qt::CaseInsensitive) != 0)
                name += QStringLiteral(" (%1)").arg(g.columnLabel(c));
            const double v = g.value(r, c);
            QPieSlice *slice = pie->append(name, v);
            slice->setColor(seriesColour(r - 1));
            slice->setLabel(QStringLiteral("%1: %2 h (%3 %)")
                                .arg(name, hoursText(v), QLocale().toString(total > 0 ? 100 * v / total : 0, 'f', 0)));
            slice->setLabelVisible(true);
            slice->setLabelPosition(QPieSlice::LabelOutside);
        }
        chart->addSeries(pie);
        const auto markers = chart->legend()->markers(pie);
        for (int i = 0; i < markers.size(); ++i)
            markers[i]->setLabel(pie->slices().at(i)->label().section(QStringLiteral(": "), 0, 0));
        return;
    }

    const int across = int(std::ceil(std::sqrt(double(rows))));
    const int down = (rows + across - 1) / across;
    const double pieSize = 0.78 / std::max(across, down);
    std::vector<QPieSeries *> pies;
    QSet<QString> inLegend;
    for (int r = 1; r <= rows; ++r) {
        auto *pie = new QPieSeries;
        pie->setName(rowTitle(g, r));
        double total = 0;
        for (int c = 1; c <= cols; ++c)
            total += g.value(r, c);
        for (int c = 1; c <= cols; ++c) {
            const double v = g.value(r, c);
            if (v == 0)
                continue;
            QPieSlice *slice = pie->append(g.columnLabel(c), v);
            slice->setColor(seriesColour(c - 1));
            slice->setLabel(hoursText(v));
            slice->setLabelPosition(QPieSlice::LabelInsideHorizontal);
            slice->setLabelColor(Qt::white);
            slice->setLabelVisible(total > 0 && v / total >= 0.06);
            if (v == total)  // a whole pie: no border line from its centre
                slice->setPen(Qt::NoPen);
        }
        const int i = r - 1;
        pie->setHorizontalPosition((i % across + 0.5) / across);
        pie->setVerticalPosition((i / across + 0.56) / down);
        pie->setPieSize(pieSize);
        chart->addSeries(pie);
        pies.push_back(pie);
    }
    // The legend names each area once, whatever pie shows it first.
    for (std::size_t p = 0; p < pies.size(); ++p) {
        const auto markers = chart->legend()->markers(pies[p]);
        int m = 0;
        for (int c = 1; c <= cols && m < markers.size(); ++c) {
            if (g.value(int(p) + 1, c) == 0)
                continue;
            const QString area = g.columnLabel(c);
            markers[m]->setLabel(area);
            markers[m]->setVisible(!inLegend.contains(area));
            inLegend.insert(area);
            ++m;
        }
    }
    // The row's name above its pie, cut to the width of its place if it is too long.
    auto placeTitles = [chart, pies, across, down, pieSize] {
        const QRectF area = chart->plotArea();
        const double cellWidth = area.width() / across;
        for (std::size_t i = 0; i < pies.size(); ++i) {
            auto *item = static_cast<QGraphicsSimpleTextItem *>(pies[i]->property("titleItem").value<void *>());
            if (!item) {
                item = new QGraphicsSimpleTextItem(chart);
                QFont font = item->font();
                font.setBold(true);
                item->setFont(font);
                pies[i]->setProperty("titleItem", QVariant::fromValue<void *>(item));
            }
            const QFontMetrics fm(item->font());
            item->setText(fm.elidedText(pies[i]->name(), Qt::ElideRight, int(cellWidth) - 8));
            item->setToolTip(pies[i]->name());
            const double cx = area.left() + area.width() * (int(i) % across + 0.5) / across;
            const double cy = area.top() + area.height() * ((int(i) / across) + 0.56) / down;
            const double radius = 0.5 * pieSize * std::min(area.width(), area.height());
            const QRectF b = item->boundingRect();
            item->setPos(cx - b.width() / 2, cy - radius - b.height() - 4);
        }
    };
    QObject::connect(chart, &QChart::plotAreaChanged, chart, placeTitles);
}

// A page of the stack for a three-dimensional graph: the graph above, the legend of the
// areas below it.
QWidget *ChartView::graphPage(QAbstract3DGraph *graph, QLabel *&legend)
{
    auto *page = new QWidget(this);
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    QWidget *container = QWidget::createWindowContainer(graph, page);
    container->setObjectName(QStringLiteral("grafico3D"));
    layout->addWidget(container, 1);
    legend = new QLabel(page);
    legend->setObjectName(QStringLiteral("leyenda3D"));
    legend->setTextFormat(Qt::RichText);
    legend->setWordWrap(true);
    legend->setAlignment(Qt::AlignCenter);
    layout->addWidget(legend);
    m_stack->addWidget(page);
    return page;
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
        readableTheme(m_bars);
        m_bars->setMultiSeriesUniform(true);
        m_bars->setBarThickness(1.0f);
        m_bars->setBarSpacing(QSizeF(0.4, 0.4));
        m_bars->scene()->activeCamera()->setCameraPosition(-20.0f, 18.0f, 85.0f);
        m_bars->valueAxis()->setTitle(QStringLiteral("Horas"));
        m_bars->valueAxis()->setTitleVisible(true);
        m_bars->valueAxis()->setLabelFormat(QStringLiteral("%.0f"));
        for (QAbstract3DAxis *axis : {static_cast<QAbstract3DAxis *>(m_bars->valueAxis()),
                                      static_cast<QAbstract3DAxis *>(m_bars->rowAxis()),
                                      static_cast<QAbstract3DAxis *>(m_bars->columnAxis())})
            axis->setLabelAutoRotation(90.0f);
        m_barsPage = graphPage(m_bars, m_barsLegend);
    }
    for (QBar3DSeries *s : m_bars->seriesList()) {
        m_bars->removeSeries(s);
        delete s;
    }
    // One series per area, each in its own colour: the groups run along the floor and the
    // areas' bars stand side by side in each group.
    const core::ChartGrid &g = m_grid;
    QStringList rowLabels;
    for (int r = 1; r <= g.rowCount(); ++r)
        rowLabels << rowTitle(g, r);
    for (int c = 1; c <= g.columnCount(); ++c) {
        auto *series = new QBar3DSeries;
        series->setName(g.columnLabel(c));
        series->setMesh(QAbstract3DSeries::MeshBevelBar);
        series->setBaseColor(seriesColour(c - 1));
        series->setItemLabelFormat(QStringLiteral("@seriesName, @rowLabel: @valueLabel h"));
        auto *array = new QBarDataArray;
        for (int r = 1; r <= g.rowCount(); ++r) {
            auto *row = new QBarDataRow(1);
            (*row)[0].setValue(float(g.value(r, c)));
            array->append(row);
        }
        series->dataProxy()->resetArray(array, rowLabels, {QString()});
        m_bars->addSeries(series);
    }
    m_bars->columnAxis()->setLabels({QString()});
    double top = 0;
    for (int r = 1; r <= g.rowCount(); ++r)
        for (int c = 1; c <= g.columnCount(); ++c)
            top = std::max(top, g.value(r, c));
    int segments = 1;
    m_bars->valueAxis()->setRange(0.0f, roundTop(top, segments));
    m_bars->valueAxis()->setSegmentCount(segments);
    m_barsLegend->setText(legendHtml(g.columnLabels()));
    m_stack->setCurrentWidget(m_barsPage);
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
        readableTheme(m_surface);
        m_surface->scene()->activeCamera()->setCameraPosition(-30.0f, 35.0f, 62.0f);
        m_surface->axisY()->setTitle(QStringLiteral("Horas"));
        m_surface->axisY()->setTitleVisible(true);
        m_surface->axisY()->setLabelFormat(QStringLiteral("%.0f"));
        for (QAbstract3DAxis *axis : {m_surface->axisX(), m_surface->axisY(), m_surface->axisZ()})
            axis->setLabelAutoRotation(90.0f);
        m_surfacePage = graphPage(m_surface, m_surfaceLegend);
    }
    for (QSurface3DSeries *s : m_surface->seriesList()) {
        m_surface->removeSeries(s);
        delete s;
    }
    const core::ChartGrid &g = m_grid;
    // x: the groups; z: the areas. Each area is a band of its own colour, one unit deep,
    // whose top follows the hours of the groups and whose edges come down to the floor.
    const int rows = g.rowCount();
    const int cols = g.columnCount();
    double top = 0;
    for (int c = 1; c <= cols; ++c) {
        auto *array = new QSurfaceDataArray;
        const float z = float(c - 1);
        const float depths[] = {z - 0.36f, z - 0.35f, z + 0.35f, z + 0.36f};
        for (int d = 0; d < 4; ++d) {
            const bool edge = d == 0 || d == 3;
            auto *row = new QSurfaceDataRow;
            // A single group is drawn as a flat top half a unit each way.
            const float from = rows == 1 ? -0.35f : 0.0f;
            const float to = rows == 1 ? 0.35f : float(rows - 1);
            row->append(QSurfaceDataItem(QVector3D(from - 0.01f, 0.0f, depths[d])));
            for (int r = 1; r <= std::max(rows, 1); ++r) {
                const double v = rows ? g.value(r, c) : 0.0;
                top = std::max(top, v);
                const float x = rows == 1 ? from : float(r - 1);
                row->append(QSurfaceDataItem(QVector3D(x, edge ? 0.0f : float(v), depths[d])));
                if (rows == 1)
                    row->append(QSurfaceDataItem(QVector3D(to, edge ? 0.0f : float(v), depths[d])));
            }
            row->append(QSurfaceDataItem(QVector3D(to + 0.01f, 0.0f, depths[d])));
            array->append(row);
        }
        auto *series = new QSurface3DSeries;
        series->setName(g.columnLabel(c));
        series->setDrawMode(QSurface3DSeries::DrawSurface);
        series->setFlatShadingEnabled(true);
        series->setBaseColor(seriesColour(c - 1));
        series->setItemLabelFormat(QStringLiteral("@seriesName: @yLabel h"));
        series->dataProxy()->resetArray(array);
        m_surface->addSeries(series);
    }
    QStringList rowLabels;
    for (int r = 1; r <= rows; ++r)
        rowLabels << rowTitle(g, r);
    m_surface->axisX()->setFormatter(new LabelFormatter(rowLabels));
    m_surface->axisX()->setRange(-0.5f, float(std::max(rows, 1)) - 0.5f);
    m_surface->axisZ()->setFormatter(new LabelFormatter(g.columnLabels()));
    m_surface->axisZ()->setRange(-0.5f, float(std::max(cols, 1)) - 0.5f);
    int segments = 1;
    m_surface->axisY()->setRange(0.0f, roundTop(top, segments));
    m_surface->axisY()->setSegmentCount(segments);
    m_surfaceLegend->setText(legendHtml(g.columnLabels()));
    m_stack->setCurrentWidget(m_surfacePage);
    m_drawn3D = true;
}

// Whether the names of the groups can stand side by side under their bars.
bool ChartView::categoriesFitAcross(const QStringList &names, int count) const
{
    if (count == 0)
        return true;
    const QFontMetrics fm(m_chartView->chart() ? m_chartView->chart()->font() : font());
    int widest = 0;
    for (const QString &n : names)
        widest = std::max(widest, fm.horizontalAdvance(n));
    const int plot = std::max(100, m_chartView->width() - 120);
    return widest + 8 <= plot / count;
}

QImage ChartView::image()
{
    if (m_drawn3D) {
        QWidget *page = m_stack->currentWidget();
        QLabel *legend = m_type == Bars3D ? m_barsLegend : m_surfaceLegend;
        QAbstract3DGraph *graph = m_type == Bars3D ? static_cast<QAbstract3DGraph *>(m_bars)
                                                   : static_cast<QAbstract3DGraph *>(m_surface);
        if (graph && legend) {
            const QSize size = page->size().expandedTo(QSize(480, 360));
            const int legendHeight = std::max(legend->heightForWidth(size.width()), legend->sizeHint().height());
            const QImage drawn = graph->renderToImage(4, QSize(size.width(), size.height() - legendHeight));
            QImage picture(size, QImage::Format_ARGB32_Premultiplied);
            picture.fill(Qt::white);
            QPainter painter(&picture);
            painter.drawImage(0, 0, drawn);
            legend->render(&painter, QPoint(0, size.height() - legendHeight), QRegion(),
                           QWidget::DrawChildren);
            return picture;
        }
    }
    QImage picture(m_chartView->size().expandedTo(QSize(480, 360)), QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    m_chartView->render(&painter, QRectF(), m_chartView->rect());
    return picture;
}

}  // namespace analysis

#include "analysis/ChartWindow.h"

#include "analysis/ChartView.h"
#include "core/ChartGrid.h"
#include "core/StatisticsQuery.h"
#include "store/Connection.h"
#include "store/StoreError.h"
#include "ui/Dialogs.h"
#include "ui/GuardedSlot.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPushButton>
#include <QRadioButton>

#include <algorithm>

namespace analysis {
namespace {

const QString kShapeConnect =
    QStringLiteral("PROVIDER=MSDataShape;dsn=RRHHODBC;uid=;pwd=;Data Provider=MSDASQL");

// Least widths of the controls in twips (a control whose caption needs more gets more);
// all of the bottom row is this high.
constexpr int kButtonWidth = 720;
constexpr int kButtonHeight = 300;
constexpr int kOptionWidths[4] = {1000, 1000, 1000, 885};
constexpr int kOptionHeight = 255;
// The bottom row from the right: the margin right of cmdClose, then the gap right of
// cmdCopiar, optTipo(3), optTipo(2), optTipo(1) and optTipo(0).
constexpr int kRightMargin = 180;
constexpr int kGaps[5] = {180, 120, 315, 200, 200};

}  // namespace

ChartWindow::ChartWindow(const QString &consulta, const QString &agrupar, QWidget *parent)
    : QWidget(parent, Qt::Window), m_consulta(consulta), m_agrupar(agrupar)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Estadísticas de empleo del tiempo de trabajo"));

    m_chart = new ChartView(this);
    m_chart->setObjectName(QStringLiteral("chtReport"));

    const char *captions[] = {"Barras 3D", "Barras 2D", "Circulos", "Área 3D"};
    for (int i = 0; i < 4; ++i) {
        m_optTipo[i] = new QRadioButton(QString::fromUtf8(captions[i]), this);
        m_optTipo[i]->setObjectName(QStringLiteral("optTipo_%1").arg(i));
        ui::connectGuarded(m_optTipo[i], &QRadioButton::clicked, this, [this, i] { m_chart->setChartType(typeOfOption(i)); });
    }
    m_optTipo[1]->setChecked(true);
    m_chart->setChartType(typeOfOption(1));

    m_cmdCopiar = new QPushButton(QStringLiteral("Copiar"), this);
    m_cmdCopiar->setObjectName(QStringLiteral("cmdCopiar"));
    m_cmdCopiar->setToolTip(QStringLiteral("Copiar la gráfica para pegarla en Excel, Word, etc."));
    ui::connectGuarded(m_cmdCopiar, &QPushButton::clicked, this, &ChartWindow::copyChart);
    m_cmdClose = new QPushButton(QStringLiteral("Cerrar"), this);
    m_cmdClose->setObjectName(QStringLiteral("cmdClose"));
    connect(m_cmdClose, &QPushButton::clicked, this, &QWidget::close);

    // Each control as wide as its caption needs, and never narrower than its least width.
    for (int i = 0; i < 4; ++i)
        m_width[i] = std::max(kOptionWidths[i], pixelsToTwips(m_optTipo[i]->sizeHint().width()));
    m_width[4] = std::max(kButtonWidth, pixelsToTwips(m_cmdCopiar->sizeHint().width()));
    m_width[5] = std::max(kButtonWidth, pixelsToTwips(m_cmdClose->sizeHint().width()));
    m_rowHeight = std::max({kButtonHeight, pixelsToTwips(m_cmdClose->sizeHint().height()),
                            pixelsToTwips(m_optTipo[0]->sizeHint().height())});

    setTabOrder(m_optTipo[0], m_optTipo[1]);
    setTabOrder(m_optTipo[1], m_optTipo[2]);
    setTabOrder(m_optTipo[2], m_optTipo[3]);
    setTabOrder(m_optTipo[3], m_cmdCopiar);
    setTabOrder(m_cmdCopiar, m_cmdClose);

    resize(twipsToPixels(kInnerWidth), twipsToPixels(kInnerHeight));
    placeControls();
}

ChartWindow::~ChartWindow() = default;

int ChartWindow::typeOfOption(int index)
{
    static constexpr int types[4] = {ChartView::Bars3D, ChartView::Bars2D, ChartView::Pie2D, ChartView::Area3D};
    return index >= 0 && index < 4 ? types[index] : ChartView::Bars2D;
}

int ChartWindow::twipsToPixels(int twips) const
{
    const int dpi = logicalDpiX() > 0 ? logicalDpiX() : 96;
    return qRound(twips * dpi / 1440.0);
}

int ChartWindow::pixelsToTwips(int pixels) const
{
    const int dpi = logicalDpiX() > 0 ? logicalDpiX() : 96;
    return qRound(pixels * 1440.0 / dpi);
}

void ChartWindow::load()
{
    store::ShapeResult records;
    try {
        // The totals are a few hundred groups at most: read whole, without a server cursor.
        m_conn = store::Connection::shared(kShapeConnect, store::Connection::Reading::Whole);
        records = core::StatisticsQuery::totals(m_consulta, *m_conn);
    } catch (const std::exception &e) {
        MostrarError(e);
        return;
    }
    // The grid and its hidden markers are drawn once, when both are in place.
    m_chart->setRepaint(false);
    if (fillGrid(records, m_agrupar, QStringLiteral("HorHoras"), QStringLiteral("AreDescripcion")))
        MostrarMarcadores(false);
    m_chart->setRepaint(true);
}

void ChartWindow::CargarGrafica(const store::ShapeRecordset &records, const QString &campoFila,
                                const QString &campoDato, const QString &campoColumna)
{
    m_chart->setRepaint(false);
    fillGrid(records, campoFila, campoDato, campoColumna);
    m_chart->setRepaint(true);
}

bool ChartWindow::fillGrid(const store::ShapeRecordset &records, const QString &campoFila, const QString &campoDato,
                           const QString &campoColumna)
{
    try {
        core::loadChartGrid(m_chart->grid(), records, campoFila, campoDato, campoColumna);
        return true;
    } catch (const std::exception &e) {
        MostrarError(e);
        return false;
    }
}

void ChartWindow::MostrarMarcadores(bool visible)
{
    // One drawing for all series rather than one per series.
    const bool repaint = m_chart->repaintEnabled();
    m_chart->setRepaint(false);
    try {
        for (int i = 1; i <= m_chart->seriesCount(); ++i)
            m_chart->setMarkerVisible(i, visible);
    } catch (const std::exception &e) {
        m_chart->setRepaint(repaint);
        MostrarError(e);
        return;
    }
    m_chart->setRepaint(repaint);
}

void ChartWindow::MostrarError(const std::exception &error)
{
    const auto *storeError = dynamic_cast<const store::StoreError *>(&error);
    const QString text = storeError ? storeError->description() : QString::fromUtf8(error.what());
    ui::msgBox(text, ui::programTitle(), ui::Icon::Exclamation, this);
}

void ChartWindow::copyChart()
{
    QGuiApplication::clipboard()->setImage(m_chart->image());
}

void ChartWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    placeControls();
}

void ChartWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
        m_cmdClose->click();
        return;
    }
    QWidget::keyPressEvent(event);
}

// Places the controls by the layout table, in twips from the window's inner size, each
// step on its own: what one step cannot do (a size below zero in a very small window) is
// left undone and the next goes on.
void ChartWindow::placeControls()
{
    const int sw = pixelsToTwips(width());
    const int sh = pixelsToTwips(height());
    const int top = sh - (m_rowHeight + 180);
    auto place = [this](QWidget *w, int left, int top, int width, int height) {
        try {
            if (width < 0 || height < 0)
                throw std::range_error("tamaño negativo");
            w->setGeometry(twipsToPixels(left), twipsToPixels(top), twipsToPixels(width), twipsToPixels(height));
        } catch (...) {
        }
    };
    // From the right edge leftwards: cmdClose, cmdCopiar, then optTipo(3) to optTipo(0).
    QWidget *row[6] = {m_cmdClose, m_cmdCopiar, m_optTipo[3], m_optTipo[2], m_optTipo[1], m_optTipo[0]};
    const int widths[6] = {m_width[5], m_width[4], m_width[3], m_width[2], m_width[1], m_width[0]};
    int right = sw - kRightMargin;
    for (int i = 0; i < 6; ++i) {
        place(row[i], right - widths[i], top, widths[i], m_rowHeight);
        if (i < 5)
            right -= widths[i] + kGaps[i];
    }
    place(m_chart, 180, 360, sw - 420, top - 420);
}

}  // namespace analysis

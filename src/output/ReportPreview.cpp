#include "output/ReportPreview.h"

#include "reports/ReportPainter.h"
#include "ui/Dialogs.h"
#include "ui/GuardedSlot.h"

#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QProgressBar>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QStandardPaths>
#include <QStyle>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace output {

namespace {
constexpr int kRowsPerBatch = 300;
constexpr int kSheetMargin = 12;  // pixels of grey around the sheet
}  // namespace

// The sheet on screen: white paper with the page drawn at the preview's zoom.
class ReportPageView : public QWidget {
public:
    explicit ReportPageView(QWidget *parent) : QWidget(parent) { setObjectName(QStringLiteral("page")); }

    void show(const ReportDocument *document, int page, double pixelsPerTwip)
    {
        m_document = document;
        m_page = page;
        m_scale = pixelsPerTwip;
        const QSize sheet = sheetSize();
        setFixedSize(sheet.width() + 2 * kSheetMargin, sheet.height() + 2 * kSheetMargin);
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter p(this);
        p.fillRect(rect(), palette().color(QPalette::Dark));
        const QRect sheet(QPoint(kSheetMargin, kSheetMargin), sheetSize());
        p.fillRect(sheet.translated(3, 3), QColor(90, 90, 90));
        p.fillRect(sheet, Qt::white);
        if (!m_document)
            return;
        p.translate(sheet.topLeft());
        paintPage(p, *m_document, m_page, m_scale);
    }

private:
    QSize sheetSize() const
    {
        const QSize twips = m_document ? m_document->pageSize : QSize(kA4Width, kA4Height);
        return QSize(int(twips.width() * m_scale + 0.5), int(twips.height() * m_scale + 0.5));
    }

    const ReportDocument *m_document = nullptr;
    int m_page = 0;
    double m_scale = 96.0 / kTwipsPerInch;
};

namespace {

QToolButton *toolButton(QWidget *parent, const char *name, const QString &text, QStyle::StandardPixmap icon,
                        const QString &tip = {})
{
    auto *b = new QToolButton(parent);
    b->setObjectName(QLatin1String(name));
    b->setText(text);
    b->setToolTip(tip.isEmpty() ? text : tip);
    if (icon != QStyle::SP_CustomBase) {
        b->setIcon(parent->style()->standardIcon(icon));
        b->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    }
    b->setAutoRaise(true);
    return b;
}

}  // namespace

ReportPreview::ReportPreview(const ReportLayout &layout, store::ShapeChapter data, QWidget *parent)
    : QWidget(parent, Qt::Window), m_data(std::move(data))
{
    if (!m_data)
        m_data = std::make_shared<store::ShapeRecordset>();
    m_layouter = std::make_unique<ReportLayouter>(layout, m_data);
    setWindowTitle(layout.title);

    m_first = toolButton(this, "firstPage", QString(), QStyle::SP_MediaSkipBackward, QStringLiteral("Primera página"));
    m_previous = toolButton(this, "previousPage", QString(), QStyle::SP_MediaSeekBackward,
                            QStringLiteral("Página anterior"));
    m_pageLabel = new QLabel(this);
    m_pageLabel->setObjectName(QStringLiteral("pageLabel"));
    m_pageLabel->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("Página 0000 de 0000")));
    m_pageLabel->setAlignment(Qt::AlignCenter);
    m_next = toolButton(this, "nextPage", QString(), QStyle::SP_MediaSeekForward, QStringLiteral("Página siguiente"));
    m_last = toolButton(this, "lastPage", QString(), QStyle::SP_MediaSkipForward, QStringLiteral("Última página"));
    for (QToolButton *b : {m_first, m_previous, m_next, m_last})
        b->setToolButtonStyle(Qt::ToolButtonIconOnly);

    auto *zoomLabel = new QLabel(QStringLiteral("Zoom:"), this);
    m_zoomBox = new QComboBox(this);
    m_zoomBox->setObjectName(QStringLiteral("zoom"));
    m_zoomBox->addItem(QStringLiteral("Ancho de página"), 0);
    for (int z : {50, 75, 100, 125, 150, 200})
        m_zoomBox->addItem(QStringLiteral("%1%").arg(z), z);
    m_zoomBox->setCurrentIndex(m_zoomBox->findData(100));
    zoomLabel->setBuddy(m_zoomBox);

    m_print = toolButton(this, "print", QStringLiteral("Imprimir..."), QStyle::SP_DialogSaveButton);
    m_print->setIcon(QIcon::fromTheme(QStringLiteral("document-print"), m_print->icon()));
    m_savePdf = toolButton(this, "savePdf", QStringLiteral("Guardar como PDF..."), QStyle::SP_DriveFDIcon);
    auto *closeButton = toolButton(this, "closePreview", QStringLiteral("Cerrar"), QStyle::SP_DialogCloseButton);

    auto *bar = new QHBoxLayout;
    bar->setContentsMargins(6, 4, 6, 4);
    bar->addWidget(m_first);
    bar->addWidget(m_previous);
    bar->addWidget(m_pageLabel);
    bar->addWidget(m_next);
    bar->addWidget(m_last);
    bar->addSpacing(16);
    bar->addWidget(zoomLabel);
    bar->addWidget(m_zoomBox);
    bar->addSpacing(16);
    bar->addWidget(m_print);
    bar->addWidget(m_savePdf);
    bar->addStretch(1);
    bar->addWidget(closeButton);

    m_view = new ReportPageView(this);
    m_scroll = new QScrollArea(this);
    m_scroll->setObjectName(QStringLiteral("pageArea"));
    m_scroll->setWidget(m_view);
    m_scroll->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_scroll->setBackgroundRole(QPalette::Dark);

    m_progress = new QProgressBar(this);
    m_progress->setObjectName(QStringLiteral("progress"));
    m_progress->setFormat(QStringLiteral("Preparando páginas... %p%"));
    m_progress->setRange(0, std::max(1, m_layouter->rowsTotal()));

    auto *layoutBox = new QVBoxLayout(this);
    layoutBox->setContentsMargins(0, 0, 0, 0);
    layoutBox->setSpacing(0);
    layoutBox->addLayout(bar);
    layoutBox->addWidget(m_scroll, 1);
    layoutBox->addWidget(m_progress);

    ui::connectGuarded(m_first, &QToolButton::clicked, this, [this] { showPage(0); });
    ui::connectGuarded(m_previous, &QToolButton::clicked, this, [this] { showPage(m_page - 1); });
    ui::connectGuarded(m_next, &QToolButton::clicked, this, [this] { showPage(m_page + 1); });
    ui::connectGuarded(m_last, &QToolButton::clicked, this, [this] { showPage(document().pageCount() - 1); });
    ui::connectGuarded(m_zoomBox, &QComboBox::activated, this, [this](int index) { setZoom(m_zoomBox->itemData(index).toInt()); });
    ui::connectGuarded(m_print, &QToolButton::clicked, this, &ReportPreview::print);
    ui::connectGuarded(m_savePdf, &QToolButton::clicked, this, &ReportPreview::savePdf);
    connect(closeButton, &QToolButton::clicked, this, &QWidget::close);

    m_timer = new QTimer(this);
    m_timer->setInterval(0);
    ui::connectGuarded(m_timer, &QTimer::timeout, this, &ReportPreview::layoutBatch);

    // The first batch at once, so that the window opens on its first page.
    m_layouter->step(kRowsPerBatch);
    if (!m_layouter->done())
        m_timer->start();
    else
        m_progress->hide();

    const QScreen *screen = this->screen();
    const int height = screen ? screen->availableGeometry().height() * 9 / 10 : 900;
    resize(int(kA4Width * pixelsPerTwip()) + 2 * kSheetMargin + 40, height);
    showPage(0);
}

ReportPreview::~ReportPreview() = default;

const ReportDocument &ReportPreview::document() const
{
    return m_layouter->document();
}

bool ReportPreview::isLaidOut() const
{
    return m_layouter->done();
}

void ReportPreview::layoutBatch()
{
    const int pagesBefore = document().pageCount();
    const bool done = m_layouter->step(kRowsPerBatch);
    m_progress->setValue(m_layouter->rowsDone());
    if (done) {
        m_timer->stop();
        m_progress->hide();
        updateControls();
        m_view->update();  // "%P" is written now
        emit layoutFinished();
    } else if (document().pageCount() != pagesBefore) {
        updateControls();
    }
}

void ReportPreview::finishLayout()
{
    if (m_layouter->done())
        return;
    ui::WaitCursor wait;
    while (!m_layouter->done())
        layoutBatch();
}

double ReportPreview::pixelsPerTwip() const
{
    const double dpi = logicalDpiX() > 0 ? logicalDpiX() : 96;
    if (m_zoom > 0)
        return dpi / kTwipsPerInch * m_zoom / 100.0;
    const int available = m_scroll ? m_scroll->viewport()->width() - 2 * kSheetMargin : 600;
    return std::max(0.02, double(available) / document().pageSize.width());
}

void ReportPreview::showPage(int page)
{
    // The last page is the one still being laid out; it can be shown but may still grow.
    const int count = document().pageCount();
    m_page = std::clamp(page, 0, std::max(0, count - 1));
    m_view->show(&document(), m_page, pixelsPerTwip());
    if (m_scroll)
        m_scroll->verticalScrollBar()->setValue(0);
    updateControls();
}

void ReportPreview::setZoom(int percent)
{
    m_zoom = std::max(0, percent);
    const int index = m_zoomBox->findData(m_zoom);
    if (index >= 0)
        m_zoomBox->setCurrentIndex(index);
    m_view->show(&document(), m_page, pixelsPerTwip());
}

void ReportPreview::updateControls()
{
    const int count = document().pageCount();
    const bool done = m_layouter->done();
    m_pageLabel->setText(done ? QStringLiteral("Página %1 de %2").arg(m_page + 1).arg(count)
                              : QStringLiteral("Página %1 de %2...").arg(m_page + 1).arg(count));
    m_first->setEnabled(m_page > 0);
    m_previous->setEnabled(m_page > 0);
    m_next->setEnabled(m_page + 1 < count);
    m_last->setEnabled(m_page + 1 < count);
    m_print->setEnabled(done);
    m_savePdf->setEnabled(done);
}

void ReportPreview::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_PageDown:
        showPage(m_page + 1);
        return;
    case Qt::Key_PageUp:
        showPage(m_page - 1);
        return;
    case Qt::Key_Home:
        if (event->modifiers() & Qt::ControlModifier) {
            showPage(0);
            return;
        }
        break;
    case Qt::Key_End:
        if (event->modifiers() & Qt::ControlModifier) {
            showPage(document().pageCount() - 1);
            return;
        }
        break;
    case Qt::Key_Escape:
        close();
        return;
    default:
        break;
    }
    QWidget::keyPressEvent(event);
}

void ReportPreview::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    if (m_zoom == 0 && m_view)
        m_view->show(&document(), m_page, pixelsPerTwip());
}

QString ReportPreview::defaultPdfPath() const
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (folder.isEmpty() || !QDir(folder).exists())
        folder = QDir::homePath();
    return QDir(folder).filePath(objectName().isEmpty() ? QStringLiteral("reporte.pdf")
                                                        : objectName() + QStringLiteral(".pdf"));
}

bool ReportPreview::savePdf()
{
    const std::optional<QString> typed = ui::inputBox(QStringLiteral("Nombre del archivo PDF:"),
                                                      QStringLiteral("Guardar como PDF"), defaultPdfPath(), this);
    if (!typed)
        return false;
    QString path = typed->trimmed();
    if (path.isEmpty()) {
        ui::msgBox(QStringLiteral("Debe escribir el nombre del archivo."), QStringLiteral("Guardar como PDF"),
                   ui::Icon::Exclamation, this);
        return false;
    }
    if (QFileInfo(path).suffix().isEmpty())
        path += QStringLiteral(".pdf");
    QFileInfo info(path);
    if (info.isRelative())
        info = QFileInfo(QFileInfo(defaultPdfPath()).dir(), path);
    path = info.absoluteFilePath();
    if (info.isDir()) {
        ui::msgBox(QStringLiteral("%1 es una carpeta: escriba el nombre de un archivo.").arg(QDir::toNativeSeparators(path)),
                   QStringLiteral("Guardar como PDF"), ui::Icon::Exclamation, this);
        return false;
    }
    if (info.exists()
        && !ui::ask(QStringLiteral("El archivo %1 ya existe. ¿Desea reemplazarlo?").arg(QDir::toNativeSeparators(path)),
                    QStringLiteral("Guardar como PDF"), ui::Icon::Question, this))
        return false;
    return saveAsPdf(path);
}

bool ReportPreview::saveAsPdf(const QString &path)
{
    finishLayout();
    QString error;
    if (!writePdf(document(), path, &error)) {
        ui::msgBox(QStringLiteral("No se pudo guardar el archivo %1: %2").arg(QDir::toNativeSeparators(path), error),
                   QStringLiteral("Guardar como PDF"), ui::Icon::Exclamation, this);
        return false;
    }
    return true;
}

store::ShapeChapter ReportPreview::loadWaiting(const std::function<store::ShapeChapter()> &load)
{
    ui::WaitCursor wait;
    return load();
}

void ReportPreview::bringForward()
{
    setAttribute(Qt::WA_DeleteOnClose);
    if (isMinimized())
        showNormal();
    else
        show();
    raise();
    activateWindow();
}

void ReportPreview::print()
{
    finishLayout();
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageSize(QPageSize(QPageSize::A4));
    printer.setDocName(document().title);
    printer.setFromTo(1, document().pageCount());
    QPrintDialog dialog(&printer, this);
    dialog.setWindowTitle(QStringLiteral("Imprimir"));
    dialog.setMinMax(1, document().pageCount());
    if (dialog.exec() != QDialog::Accepted)
        return;
    ui::WaitCursor wait;
    printDocument(document(), printer);
}

}  // namespace output

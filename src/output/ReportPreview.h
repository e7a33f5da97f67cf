#pragma once

// The preview window of a report: its pages, zoom, page navigation, printing through the
// platform's print dialog and saving as PDF. Nothing is printed unless the user asks.
//
// The pages are laid out in batches from the event loop, so that a report of thousands of
// rows shows its first page at once and the window answers while the rest is laid out; a
// progress bar runs meanwhile, and printing and saving wait for the end of the layout.
//
// Controls (objectName): firstPage, previousPage, nextPage, lastPage, pageLabel, zoom,
// print, savePdf, closePreview, progress; the page itself is drawn in `page`.

#include "reports/ReportEngine.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>

class QComboBox;
class QLabel;
class QProgressBar;
class QScrollArea;
class QTimer;
class QToolButton;

namespace output {

class ReportPageView;

class ReportPreview : public QWidget {
    Q_OBJECT
public:
    ReportPreview(const ReportLayout &layout, store::ShapeChapter data, QWidget *parent = nullptr);
    ~ReportPreview() override;

    const ReportDocument &document() const;
    const store::ShapeRecordset &data() const { return *m_data; }
    bool isLaidOut() const;
    // Lays out what is left at once.
    void finishLayout();

    int currentPage() const { return m_page; }  // 0-based
    void showPage(int page);
    // Zoom in percent; 0 fits the page's width to the window.
    void setZoom(int percent);
    int zoom() const { return m_zoom; }

    // Asks for the file through an input box and writes the PDF; false if nothing was written.
    bool savePdf();
    // Writes the PDF to `path` (the layout is finished first); shows a message on failure.
    bool saveAsPdf(const QString &path);
    // The platform's print dialog, then the pages on the printer chosen.
    void print();

    // Shows the window (it deletes itself when closed) or raises it if it is shown already.
    void bringForward();

signals:
    void layoutFinished();

protected:
    // The open-once rule of the report windows: while `open` holds a preview, only that is
    // brought forward; otherwise load() reads the data under the wait cursor, make() builds
    // the preview from it and it is shown. Store errors pass to the caller.
    template <class Report, class Make>
    static Report *openOnce(QPointer<Report> &open, const std::function<store::ShapeChapter()> &load, Make make)
    {
        if (!open)
            open = make(loadWaiting(load));
        open->bringForward();
        return open.data();
    }
    // What load() returns, read under the wait cursor.
    static store::ShapeChapter loadWaiting(const std::function<store::ShapeChapter()> &load);

    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void layoutBatch();
    void updateControls();
    double pixelsPerTwip() const;
    QString defaultPdfPath() const;

    store::ShapeChapter m_data;
    std::unique_ptr<ReportLayouter> m_layouter;
    QTimer *m_timer = nullptr;
    int m_page = 0;
    int m_zoom = 100;

    QToolButton *m_first = nullptr;
    QToolButton *m_previous = nullptr;
    QToolButton *m_next = nullptr;
    QToolButton *m_last = nullptr;
    QLabel *m_pageLabel = nullptr;
    QComboBox *m_zoomBox = nullptr;
    QToolButton *m_print = nullptr;
    QToolButton *m_savePdf = nullptr;
    QProgressBar *m_progress = nullptr;
    QScrollArea *m_scroll = nullptr;
    ReportPageView *m_view = nullptr;
};

}  // namespace output

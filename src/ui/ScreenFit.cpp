#include "ui/ScreenFit.h"

#include <QAbstractButton>
#include <QApplication>
#include <QAbstractScrollArea>
#include <QCheckBox>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTabBar>
#include <QTimer>
#include <QToolButton>
#include <QWidget>
#include <QWindow>

#include <algorithm>

namespace ui {
namespace {

// What a window manager's frame usually adds (title bar and borders) before it has said
// what its own adds.
const QMargins kFrameGuess(6, 32, 6, 8);
// What a title bar takes beside the title: the window's icon and three buttons.
constexpr int kTitleBarButtons = 110;

bool hasWindowManager()
{
    const QString platform = QGuiApplication::platformName();
    return platform != QLatin1String("offscreen") && platform != QLatin1String("minimal") &&
           platform != QLatin1String("minimalegl");
}

QMargins frameOf(const QWidget *window)
{
    const QWindow *handle = window->windowHandle();
    const QMargins known = handle ? handle->frameMargins() : QMargins();
    if (!known.isNull() || !hasWindowManager() || (window->windowFlags() & Qt::FramelessWindowHint))
        return known;
    return kFrameGuess;
}

QScreen *screenOf(const QWidget *window)
{
    QScreen *screen = window->screen();
    if (!screen && window->parentWidget())
        screen = window->parentWidget()->window()->screen();
    return screen ? screen : QGuiApplication::primaryScreen();
}

// The windows whose place the program chooses: not menus, tips or pop-up lists.
bool placedWindow(const QWidget *w)
{
    if (!w->isWindow())
        return false;
    const Qt::WindowType type = w->windowType();
    return type == Qt::Window || type == Qt::Dialog || type == Qt::Sheet || type == Qt::Tool;
}

void fitWindow(QWidget *window, bool choosePlace)
{
    // Wide enough for its title in the title bar, where the window can be.
    const int titled = titleWidth(window);
    if (window->width() < titled && window->maximumWidth() >= titled)
        window->resize(titled, window->height());
    QScreen *screen = screenOf(window);
    if (!screen)
        return;
    const QRect area = screen->availableGeometry();
    const QMargins frame = frameOf(window);
    QPoint wanted = frameGeometryOf(window).topLeft();
    if (choosePlace) {
        // Not placed by anyone yet: over the middle of the window it belongs to, or of
        // the screen.
        const QWidget *owner = window->parentWidget() ? window->parentWidget()->window() : nullptr;
        const QRect over = owner && owner->isVisible() ? frameGeometryOf(owner) : area;
        const QSize outer = window->size().grownBy(frame);
        wanted = over.center() - QPoint(outer.width() / 2, outer.height() / 2);
    }
    // Never below what the window's layout needs: a frame the window manager reports wrongly
    // for a moment, while it reparents the window, must not squeeze it to nothing.
    const QSize least = window->minimumSize().expandedTo(window->minimumSizeHint());
    const QRect place = placeInside(area, frame, wanted, window->size(), least);
    if (place.size() != window->size())
        window->resize(place.size());
    // move() of a top-level window places its frame's top left.
    if (choosePlace || place.topLeft() != frameGeometryOf(window).topLeft())
        window->move(place.topLeft());
}

// Places every window the application shows before it is mapped, and looks again once
// the window manager has framed it.
class WindowPlacer : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && watched->isWidgetType())
            keepOnScreen(static_cast<QWidget *>(watched));
        return false;
    }
};

// The text of a control, as it is drawn (without the "&" of a shortcut).
QString shownText(QString text)
{
    text.replace(QLatin1String("&&"), QString(QChar(0x1)));
    text.remove(QLatin1Char('&'));
    text.replace(QChar(0x1), QLatin1Char('&'));
    return text;
}

int textWidth(const QWidget *w, const QString &text)
{
    int widest = 0;
    for (const QString &line : shownText(text).split(QLatin1Char('\n')))
        widest = std::max(widest, w->fontMetrics().horizontalAdvance(line));
    return widest;
}

bool buttonFits(const QAbstractButton *b)
{
    if (b->text().isEmpty())
        return true;
    QStyleOptionButton opt;
    opt.initFrom(b);
    opt.text = b->text();
    opt.icon = b->icon();
    opt.iconSize = b->iconSize();
    int need = textWidth(b, b->text());
    QStyle::SubElement contents = QStyle::SE_PushButtonContents;
    if (qobject_cast<const QCheckBox *>(b))
        contents = QStyle::SE_CheckBoxContents;
    else if (qobject_cast<const QRadioButton *>(b))
        contents = QStyle::SE_RadioButtonContents;
    else if (!qobject_cast<const QPushButton *>(b))
        return b->sizeHint().width() <= b->width() + 1;
    if (contents == QStyle::SE_PushButtonContents && !b->icon().isNull())
        need += b->iconSize().width() + 4;
    const QRect room = b->style()->subElementRect(contents, &opt, b);
    return need <= room.width() + 1 && b->fontMetrics().height() <= room.height() + 2;
}

bool labelFits(const QLabel *l)
{
    if (l->text().isEmpty() || l->pixmap().cacheKey() != 0)
        return true;
    if (l->wordWrap())
        return l->heightForWidth(l->width()) <= l->height() + 1;
    const QSize need = l->sizeHint();
    return need.width() <= l->width() + 1 && l->fontMetrics().height() <= l->height() + 1;
}

bool tabsFit(const QTabBar *bar)
{
    for (int i = 0; i < bar->count(); ++i) {
        if (!bar->isTabVisible(i) || bar->tabText(i).isEmpty())
            continue;
        const QRect r = bar->tabRect(i);
        if (r.right() > bar->width() || r.bottom() > bar->height() || r.left() < 0)
            return false;
        const int space = bar->style()->pixelMetric(QStyle::PM_TabBarTabHSpace, nullptr, bar);
        const bool across = bar->shape() == QTabBar::RoundedNorth || bar->shape() == QTabBar::RoundedSouth ||
                            bar->shape() == QTabBar::TriangularNorth || bar->shape() == QTabBar::TriangularSouth;
        if ((across ? r.width() : r.height()) < textWidth(bar, bar->tabText(i)) + space / 2)
            return false;
    }
    return true;
}

bool headingsFit(const QHeaderView *header)
{
    if (header->orientation() != Qt::Horizontal || !header->model())
        return true;
    const int margin = header->style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, header);
    for (int i = 0; i < header->count(); ++i) {
        if (header->isSectionHidden(i) || header->sectionSize(i) == 0)
            continue;
        const QString text = header->model()->headerData(i, Qt::Horizontal).toString();
        if (text.isEmpty())
            continue;
        if (textWidth(header, text) + 2 * margin > header->sectionSize(i) + 1)
            return false;
    }
    return true;
}

// A control that its window cuts: it reaches past the edge of one of the widgets that hold
// it. Controls inside a view that scrolls are left to the view.
bool cutByHolder(const QWidget *w)
{
    const QWidget *window = w->window();
    const QRect own(w->mapTo(window, QPoint(0, 0)), w->size());
    for (const QWidget *holder = w->parentWidget(); holder; holder = holder->parentWidget()) {
        if (qobject_cast<const QAbstractScrollArea *>(holder))
            return false;
        const QRect room(holder->mapTo(window, QPoint(0, 0)), holder->size());
        if (!room.contains(own))
            return true;
        if (holder == window)
            break;
    }
    return false;
}

QString textOf(const QWidget *w)
{
    if (auto *l = qobject_cast<const QLabel *>(w))
        return l->text();
    if (auto *b = qobject_cast<const QAbstractButton *>(w))
        return b->text();
    if (auto *g = qobject_cast<const QGroupBox *>(w))
        return g->title();
    if (auto *t = qobject_cast<const QTabBar *>(w)) {
        QStringList texts;
        for (int i = 0; i < t->count(); ++i)
            texts << t->tabText(i);
        return texts.join(QLatin1String(" | "));
    }
    if (auto *h = qobject_cast<const QHeaderView *>(w)) {
        QStringList texts;
        for (int i = 0; h->model() && i < h->count(); ++i)
            texts << h->model()->headerData(i, Qt::Horizontal).toString();
        return texts.join(QLatin1String(" | "));
    }
    return {};
}

}  // namespace

int titleWidth(const QWidget *window)
{
    if (window->windowTitle().isEmpty() || (window->windowFlags() & Qt::FramelessWindowHint))
        return 0;
    QFont font = QApplication::font();
    font.setBold(true);
    // The title and, beside it, the window's icon and its three buttons.
    return QFontMetrics(font).horizontalAdvance(window->windowTitle()) + kTitleBarButtons;
}

QRect placeInside(const QRect &area, const QMargins &frame, const QPoint &wanted, const QSize &size,
                  const QSize &minimum)
{
    const int roomW = area.width() - frame.left() - frame.right();
    const int roomH = area.height() - frame.top() - frame.bottom();
    const QSize fitted(std::max(minimum.width(), std::min(size.width(), roomW)),
                       std::max(minimum.height(), std::min(size.height(), roomH)));
    const int outerW = fitted.width() + frame.left() + frame.right();
    const int outerH = fitted.height() + frame.top() + frame.bottom();
    // The right and bottom edges are pulled in first, so that a window larger than the
    // area keeps its title bar on screen.
    const int x = std::max(area.left(), std::min(wanted.x(), area.right() + 1 - outerW));
    const int y = std::max(area.top(), std::min(wanted.y(), area.bottom() + 1 - outerH));
    return QRect(QPoint(x, y), fitted);
}

void keepOnScreen(QWidget *window)
{
    if (!window || !placedWindow(window) || window->isMinimized() || window->isMaximized() || window->isFullScreen())
        return;
    fitWindow(window, !window->testAttribute(Qt::WA_Moved));
    if (!hasWindowManager())
        return;
    // The frame is known once the window manager has put it round the window.
    QPointer<QWidget> guard(window);
    for (int delay : {0, 150, 600})
        QTimer::singleShot(delay, window, [guard] {
            if (guard && guard->isVisible() && !guard->isMaximized() && !frameOnScreen(guard))
                fitWindow(guard, false);
        });
}

void keepWindowsOnScreen(QObject *application)
{
    application->installEventFilter(new WindowPlacer(application));
}

QRect frameGeometryOf(const QWidget *window)
{
    const QWindow *handle = window->windowHandle();
    return handle && window->isWindow() ? handle->frameGeometry() : window->frameGeometry();
}

bool frameOnScreen(const QWidget *window)
{
    QScreen *screen = screenOf(window);
    if (!screen)
        return true;
    QRect frame = frameGeometryOf(window);
    if (frame == window->geometry())  // not framed yet: allow for the frame to come
        frame = frame.marginsAdded(frameOf(window));
    return screen->availableGeometry().contains(frame);
}

bool textFits(const QWidget *control)
{
    if (auto *l = qobject_cast<const QLabel *>(control))
        return labelFits(l);
    if (auto *b = qobject_cast<const QAbstractButton *>(control))
        return buttonFits(b);
    if (auto *g = qobject_cast<const QGroupBox *>(control))
        return g->title().isEmpty() || textWidth(g, g->title()) + 16 <= g->width();
    if (auto *t = qobject_cast<const QTabBar *>(control))
        return tabsFit(t);
    if (auto *h = qobject_cast<const QHeaderView *>(control))
        return headingsFit(h);
    return true;
}

QStringList clippedTexts(const QWidget *root)
{
    QStringList clipped;
    QList<const QWidget *> all{root};
    for (const QWidget *w : root->findChildren<QWidget *>())
        all << w;
    for (const QWidget *w : all) {
        if (!w->isVisible() || w->width() <= 0 || w->height() <= 0)
            continue;
        // A control scrolled out of a view, or of a tab that is not shown, is not seen.
        if (!w->visibleRegion().isEmpty() || w == root) {
            if (!textFits(w) || (!textOf(w).isEmpty() && w != root && cutByHolder(w)))
                clipped << QStringLiteral("%1 (%2, %3x%4): «%5»")
                               .arg(w->objectName(), QString::fromLatin1(w->metaObject()->className()))
                               .arg(w->width())
                               .arg(w->height())
                               .arg(textOf(w));
        }
    }
    return clipped;
}

}  // namespace ui

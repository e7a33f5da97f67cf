#pragma once

#include <QMargins>
#include <QRect>
#include <QString>
#include <QStringList>

class QObject;
class QWidget;

// Two rules every window of the program keeps, in one place:
//  - a window opens with its frame inside the free area of its screen (keepOnScreen);
//  - every caption, heading and label is shown whole (textFits / clippedTexts).
namespace ui {

// Where a window of this size, whose frame adds `frame` around it, may stand on `area`
// when it wants to be at `wanted` (its frame's top left): the frame is moved, and the
// window shrunk down to `minimum` at most, until the frame lies inside the area.
QRect placeInside(const QRect &area, const QMargins &frame, const QPoint &wanted, const QSize &size,
                  const QSize &minimum);

// Keeps the frame of a top-level window inside its screen's available area: applied when
// it is shown, and once more when the window manager has put its frame around it. A
// window nobody has placed yet opens over the middle of its owner (or of the screen).
void keepOnScreen(QWidget *window);
// Does keepOnScreen for every window the application shows (ui::Application calls it).
void keepWindowsOnScreen(QObject *application);

// The width a window needs for its title to be read whole in its title bar (0 without a
// title or a title bar). keepOnScreen widens a window to it where it can.
int titleWidth(const QWidget *window);

// The frame of the window (title bar included) lies inside its screen's available area.
bool frameOnScreen(const QWidget *window);
// The window's frame as the window system has it now. QWidget::frameGeometry() keeps the
// frame it first learnt, which may be one misreported while the window manager reparents
// the window (a frame narrower than the window itself).
QRect frameGeometryOf(const QWidget *window);

// True when the text of a label, button, check box, option, group box, tab or column
// heading can be read whole in the space the control has now. Controls without text fit.
bool textFits(const QWidget *control);

// "objectName (class): «text»" for every visible control under `root` (itself included)
// whose text does not fit; empty when all fit.
QStringList clippedTexts(const QWidget *root);

}  // namespace ui

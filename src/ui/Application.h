#pragma once

#include <QApplication>

namespace ui {

// The program's application object: it sets the Spanish (Uruguay) locale the masks and
// dates are written for, sets the program's icon as every window's icon, loads the
// toolkit's Spanish texts and keeps every window it shows on screen. Handlers that may
// throw are wrapped where they are connected (ui/GuardedSlot.h): no exception reaches
// the event loop.
class Application : public QApplication {
    Q_OBJECT
public:
    Application(int &argc, char **argv);

private:
    bool loadToolkitTranslations();
};

// Shows an exception's text in a box with an exclamation icon, the pointer back to normal.
void showError(const std::exception &error);

}  // namespace ui

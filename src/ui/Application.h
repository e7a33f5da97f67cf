#pragma once

#include <QApplication>

namespace ui {

// The program's application object and its one error boundary: an exception that escapes
// a handler is caught here and its message shown in a box, and the window that raised it
// stays open with what the user typed. It also sets the Spanish (Uruguay) locale the masks
// and dates are written for, sets the program's icon as every window's icon, loads the
// toolkit's Spanish texts and keeps every window it shows on screen.
class Application : public QApplication {
    Q_OBJECT
public:
    Application(int &argc, char **argv);
    bool notify(QObject *receiver, QEvent *event) override;

private:
    bool loadToolkitTranslations();
};

// Shows an exception's text in a box with an exclamation icon (the boundary's own way).
void showError(const std::exception &error);

}  // namespace ui

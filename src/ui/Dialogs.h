#pragma once

#include <QString>

#include <memory>
#include <optional>

class QWidget;

// Message boxes, questions, input boxes, the mouse pointer and "end the program at once"
// all go through one Dialogs object, never through QMessageBox or QApplication directly.
// The program runs with QtDialogs (real dialogs); a test installs its own Dialogs that
// answers from a script and records every box shown.
namespace ui {

enum class Buttons { Ok, YesNo, OkCancel, YesNoCancel };
enum class Icon { None, Information, Exclamation, Critical, Question };
enum class Answer { Ok, Cancel, Yes, No };

// A box without a title shows the program's title.
QString programTitle();

class Dialogs {
public:
    virtual ~Dialogs();

    // Shows a box and waits for the answer, which is one of `buttons`. The title
    // arrives already resolved (never empty).
    virtual Answer message(const QString &text, const QString &title, Buttons buttons,
                           Icon icon, QWidget *parent) = 0;
    // Asks for a line of text; nullopt when the user cancels.
    virtual std::optional<QString> input(const QString &prompt, const QString &title,
                                         const QString &defaultText, QWidget *parent) = 0;
    // The mouse pointer of the whole program: hourglass (true) or default (false).
    virtual void setBusy(bool busy) = 0;
    virtual bool isBusy() const = 0;
    // Ends the program at once, whatever windows are open, asking nothing and running no
    // window's close logic. The real one does not return; a scripted one does, so callers
    // return straight after calling it.
    virtual void endProgram() = 0;
};

// The dialogs on screen: QMessageBox and QInputDialog with Spanish buttons ("Sí", "No",
// "Aceptar", "Cancelar"), the override cursor, and std::exit for the end of the program.
// Without a screen (the offscreen or minimal platform) nobody could answer a box, so it is
// written to the log and given its default answer (Ok, No, Cancel) instead of hanging.
class QtDialogs : public Dialogs {
public:
    Answer message(const QString &text, const QString &title, Buttons buttons, Icon icon,
                   QWidget *parent) override;
    std::optional<QString> input(const QString &prompt, const QString &title,
                                 const QString &defaultText, QWidget *parent) override;
    void setBusy(bool busy) override;
    bool isBusy() const override;
    void endProgram() override;

private:
    bool m_busy = false;
};

// Installs `dialogs` and hands back the one it replaces (null if none was installed
// yet). Passing null puts the real dialogs back.
std::unique_ptr<Dialogs> setDialogs(std::unique_ptr<Dialogs> dialogs);
// The dialogs in use; QtDialogs unless something else was installed.
Dialogs &dialogs();

// The answer a box gets when nobody answers it: Ok for an OK box, Cancel for a box with
// Cancel, No for a question.
Answer defaultAnswer(Buttons buttons);

// A box with an OK button only.
void msgBox(const QString &text, const QString &title = {}, Icon icon = Icon::None,
            QWidget *parent = nullptr);
Answer message(const QString &text, const QString &title, Buttons buttons,
               Icon icon = Icon::None, QWidget *parent = nullptr);
// A question with Yes and No; true only on Yes.
bool ask(const QString &text, const QString &title = {}, Icon icon = Icon::Question,
         QWidget *parent = nullptr);
std::optional<QString> inputBox(const QString &prompt, const QString &title = {},
                                const QString &defaultText = {}, QWidget *parent = nullptr);
void endProgram();

// The mouse pointer, set and left as the windows say ("hourglass", then "default").
void setBusy(bool busy);
bool isBusy();

// Hourglass while alive; puts back the pointer it found.
class WaitCursor {
public:
    WaitCursor();
    ~WaitCursor();
    WaitCursor(const WaitCursor &) = delete;
    WaitCursor &operator=(const WaitCursor &) = delete;

private:
    bool m_wasBusy;
};

}  // namespace ui

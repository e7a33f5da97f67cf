#pragma once

#include "ui/Dialogs.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <deque>
#include <functional>
#include <memory>
#include <optional>

// Answers the program's boxes from a script and records every box shown, the mouse
// pointer's history and the end of the program. Installed for one test:
//
//     InstalledDialogs dialogs;                     // a ScriptedDialogs, installed
//     dialogs.answerNext(ui::Answer::Yes);        // the next question gets Yes
//     dialogs.typeNext("C:\\horas.xls");          // the next input box gets this text
//
// A box the script has no answer for gets its default: Ok for an OK box, No for a question,
// Cancel for a box with Cancel and for an input box. An OK-only box takes an Ok from the
// head of the queue if there is one and otherwise leaves the queue alone, so a script of
// answers to questions isn't thrown off by the notices shown in between. An answer that
// the box has no button for is a fault of the script: it is noted in problems(), and the
// box gets its default.
//
// endProgram() does not end the test: it is counted, and every top-level window is closed.
// Answers and inputs still queued when Install ends are reported as a warning: the boxes
// the test expected did not come.
class ScriptedDialogs : public ui::Dialogs {
public:
    enum class Kind { Message, Input };

    struct Box {
        Kind kind = Kind::Message;
        QString text;   // message text, or the input box's prompt
        QString title;  // as shown: an empty title has become the program's title
        ui::Buttons buttons = ui::Buttons::Ok;
        ui::Icon icon = ui::Icon::None;
        QString defaultText;          // input boxes
        ui::Answer answer = ui::Answer::Ok;  // what the box returned (Ok/Cancel for inputs)
        std::optional<QString> typed;        // what an input box returned
        bool busy = false;            // the pointer was the hourglass while it was up
    };

    // Installs a ScriptedDialogs for the life of this object and puts back what was there.
    class Install {
    public:
        explicit Install(ScriptedDialogs &dialogs);
        ~Install();
        Install(const Install &) = delete;
        Install &operator=(const Install &) = delete;

    private:
        ScriptedDialogs &m_dialogs;
        std::unique_ptr<ui::Dialogs> m_previous;
    };

    // The ScriptedDialogs in use, installed directly (ui::setDialogs) or through Install;
    // null when the real dialogs are in use.
    static ScriptedDialogs *current();

    ScriptedDialogs();
    ~ScriptedDialogs() override;

    void answerNext(ui::Answer answer);
    void typeNext(const QString &text);
    void cancelNextInput();
    // Answers not used yet.
    int pendingAnswers() const;
    int pendingInputs() const;

    // Called as each box appears, before its answer is taken: a test can look at the
    // windows while the box is "up".
    void setOnShown(std::function<void(const Box &)> callback);

    const QList<Box> &shown() const;
    int count() const;
    // The last box shown; a default Box when none was.
    Box last() const;
    // Texts of the boxes shown, in order.
    QStringList texts() const;
    void clearShown();

    QList<bool> busyHistory() const;
    bool endProgramCalled() const;
    int endProgramCount() const;
    QStringList problems() const;

    // ui::Dialogs
    ui::Answer message(const QString &text, const QString &title, ui::Buttons buttons,
                       ui::Icon icon, QWidget *parent) override;
    std::optional<QString> input(const QString &prompt, const QString &title,
                                 const QString &defaultText, QWidget *parent) override;
    void setBusy(bool busy) override;
    bool isBusy() const override;
    void endProgram() override;

private:
    std::deque<ui::Answer> m_answers;
    std::deque<std::optional<QString>> m_inputs;
    std::function<void(const Box &)> m_onShown;
    QList<Box> m_shown;
    QList<bool> m_busyHistory;
    bool m_busy = false;
    int m_endProgram = 0;
    QStringList m_problems;
};

// A ScriptedDialogs installed for as long as it lives: the boxes of one test function.
class InstalledDialogs : public ScriptedDialogs {
public:
    InstalledDialogs() : m_install(*this) {}

private:
    Install m_install;
};

// For QCOMPARE and failure messages.
const char *answerName(ui::Answer answer);

#include "ScriptedDialogs.h"

#include <QApplication>
#include <QPointer>
#include <QWidget>

namespace {

// What the seam owns while a test's ScriptedDialogs is installed: a pass-through to it.
class Forwarder : public ui::Dialogs {
public:
    explicit Forwarder(ScriptedDialogs &target) : m_target(target) {}

    ui::Answer message(const QString &text, const QString &title, ui::Buttons buttons,
                       ui::Icon icon, QWidget *parent) override
    {
        return m_target.message(text, title, buttons, icon, parent);
    }
    std::optional<QString> input(const QString &prompt, const QString &title,
                                 const QString &defaultText, QWidget *parent) override
    {
        return m_target.input(prompt, title, defaultText, parent);
    }
    void setBusy(bool busy) override { m_target.setBusy(busy); }
    bool isBusy() const override { return m_target.isBusy(); }
    void endProgram() override { m_target.endProgram(); }
    ScriptedDialogs &target() const { return m_target; }

private:
    ScriptedDialogs &m_target;
};

bool fits(ui::Answer answer, ui::Buttons buttons)
{
    switch (buttons) {
    case ui::Buttons::Ok:
        return answer == ui::Answer::Ok;
    case ui::Buttons::OkCancel:
        return answer == ui::Answer::Ok || answer == ui::Answer::Cancel;
    case ui::Buttons::YesNo:
        return answer == ui::Answer::Yes || answer == ui::Answer::No;
    case ui::Buttons::YesNoCancel:
        return answer != ui::Answer::Ok;
    }
    return false;
}

}  // namespace

const char *answerName(ui::Answer answer)
{
    switch (answer) {
    case ui::Answer::Ok:
        return "Ok";
    case ui::Answer::Cancel:
        return "Cancel";
    case ui::Answer::Yes:
        return "Yes";
    case ui::Answer::No:
        return "No";
    }
    return "?";
}

ScriptedDialogs::Install::Install(ScriptedDialogs &dialogs)
    : m_dialogs(dialogs), m_previous(ui::setDialogs(std::make_unique<Forwarder>(dialogs)))
{
}

ScriptedDialogs::Install::~Install()
{
    if (m_dialogs.pendingAnswers() > 0 || m_dialogs.pendingInputs() > 0) {
        qWarning("ScriptedDialogs: %d respuestas y %d entradas sin usar",
                 m_dialogs.pendingAnswers(), m_dialogs.pendingInputs());
    }
    ui::setDialogs(std::move(m_previous));
}

ScriptedDialogs *ScriptedDialogs::current()
{
    // Look without creating the real dialogs as a side effect.
    std::unique_ptr<ui::Dialogs> installed = ui::setDialogs(nullptr);
    ScriptedDialogs *found = nullptr;
    if (auto *forwarder = dynamic_cast<Forwarder *>(installed.get()))
        found = &forwarder->target();
    else
        found = dynamic_cast<ScriptedDialogs *>(installed.get());
    ui::setDialogs(std::move(installed));
    return found;
}

ScriptedDialogs::ScriptedDialogs() = default;
ScriptedDialogs::~ScriptedDialogs() = default;

void ScriptedDialogs::answerNext(ui::Answer answer)
{
    m_answers.push_back(answer);
}

void ScriptedDialogs::typeNext(const QString &text)
{
    m_inputs.push_back(text);
}

void ScriptedDialogs::cancelNextInput()
{
    m_inputs.push_back(std::nullopt);
}

int ScriptedDialogs::pendingAnswers() const
{
    return int(m_answers.size());
}

int ScriptedDialogs::pendingInputs() const
{
    return int(m_inputs.size());
}

void ScriptedDialogs::setOnShown(std::function<void(const Box &)> callback)
{
    m_onShown = std::move(callback);
}

const QList<ScriptedDialogs::Box> &ScriptedDialogs::shown() const
{
    return m_shown;
}

int ScriptedDialogs::count() const
{
    return int(m_shown.size());
}

ScriptedDialogs::Box ScriptedDialogs::last() const
{
    return m_shown.isEmpty() ? Box() : m_shown.last();
}

QStringList ScriptedDialogs::texts() const
{
    QStringList result;
    for (const Box &box : m_shown)
        result.append(box.text);
    return result;
}

void ScriptedDialogs::clearShown()
{
    m_shown.clear();
}

QList<bool> ScriptedDialogs::busyHistory() const
{
    return m_busyHistory;
}

bool ScriptedDialogs::endProgramCalled() const
{
    return m_endProgram > 0;
}

int ScriptedDialogs::endProgramCount() const
{
    return m_endProgram;
}

QStringList ScriptedDialogs::problems() const
{
    return m_problems;
}

ui::Answer ScriptedDialogs::message(const QString &text, const QString &title,
                                    ui::Buttons buttons, ui::Icon icon, QWidget *)
{
    Box box;
    box.kind = Kind::Message;
    box.text = text;
    box.title = title;
    box.buttons = buttons;
    box.icon = icon;
    box.busy = m_busy;
    if (m_onShown)
        m_onShown(box);

    box.answer = ui::defaultAnswer(buttons);
    const bool okOnly = buttons == ui::Buttons::Ok;
    if (!m_answers.empty() && (!okOnly || m_answers.front() == ui::Answer::Ok)) {
        const ui::Answer scripted = m_answers.front();
        m_answers.pop_front();
        if (fits(scripted, buttons)) {
            box.answer = scripted;
        } else {
            m_problems.append(QStringLiteral("Respuesta %1 para una caja sin ese botón: %2")
                                  .arg(QLatin1String(answerName(scripted)), text));
        }
    }
    m_shown.append(box);
    return box.answer;
}

std::optional<QString> ScriptedDialogs::input(const QString &prompt, const QString &title,
                                              const QString &defaultText, QWidget *)
{
    Box box;
    box.kind = Kind::Input;
    box.text = prompt;
    box.title = title;
    box.buttons = ui::Buttons::OkCancel;
    box.defaultText = defaultText;
    box.busy = m_busy;
    if (m_onShown)
        m_onShown(box);

    if (!m_inputs.empty()) {
        box.typed = m_inputs.front();
        m_inputs.pop_front();
    }
    box.answer = box.typed ? ui::Answer::Ok : ui::Answer::Cancel;
    m_shown.append(box);
    return box.typed;
}

void ScriptedDialogs::setBusy(bool busy)
{
    m_busy = busy;
    m_busyHistory.append(busy);
}

bool ScriptedDialogs::isBusy() const
{
    return m_busy;
}

void ScriptedDialogs::endProgram()
{
    ++m_endProgram;
    // The process would be gone with all its windows; the test goes on without them.
    QList<QPointer<QWidget>> windows;
    for (QWidget *w : QApplication::topLevelWidgets()) {
        if (w->isVisible())
            windows.append(w);
    }
    for (const QPointer<QWidget> &w : windows) {
        if (w)
            w->close();
    }
}

#include "ui/Dialogs.h"

#include <QApplication>
#include <QCursor>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QtGlobal>

#include <cstdio>
#include <cstdlib>

namespace ui {
namespace {

std::unique_ptr<Dialogs> &installed()
{
    static std::unique_ptr<Dialogs> current;
    return current;
}

QString resolvedTitle(const QString &title)
{
    return title.isEmpty() ? programTitle() : title;
}

QWidget *ownerFor(QWidget *parent)
{
    return parent ? parent : QApplication::activeWindow();
}

bool noScreen()
{
    const QString platform = QGuiApplication::platformName();
    return platform == QLatin1String("offscreen") || platform == QLatin1String("minimal");
}

QMessageBox::Icon qtIcon(Icon icon)
{
    switch (icon) {
    case Icon::Information:
        return QMessageBox::Information;
    case Icon::Exclamation:
        return QMessageBox::Warning;
    case Icon::Critical:
        return QMessageBox::Critical;
    case Icon::Question:
        return QMessageBox::Question;
    case Icon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

}  // namespace

QString programTitle()
{
    return QStringLiteral("Quronda");
}

Dialogs::~Dialogs() = default;

Answer defaultAnswer(Buttons buttons)
{
    switch (buttons) {
    case Buttons::Ok:
        return Answer::Ok;
    case Buttons::OkCancel:
        return Answer::Cancel;
    case Buttons::YesNo:
    case Buttons::YesNoCancel:
        return Answer::No;
    }
    return Answer::Ok;
}

Answer QtDialogs::message(const QString &text, const QString &title, Buttons buttons,
                          Icon icon, QWidget *parent)
{
    if (noScreen()) {
        qWarning("Caja de mensaje sin pantalla (respuesta por defecto): %s: %s",
                 qUtf8Printable(title), qUtf8Printable(text));
        return defaultAnswer(buttons);
    }
    QMessageBox box(qtIcon(icon), title, text, QMessageBox::NoButton, ownerFor(parent));
    // The first button is the default one, as the system's boxes have it.
    auto add = [&box](QMessageBox::StandardButton which, const char *caption) {
        box.addButton(which)->setText(QString::fromUtf8(caption));
    };
    switch (buttons) {
    case Buttons::Ok:
        add(QMessageBox::Ok, "Aceptar");
        box.setDefaultButton(QMessageBox::Ok);
        box.setEscapeButton(QMessageBox::Ok);
        break;
    case Buttons::OkCancel:
        add(QMessageBox::Ok, "Aceptar");
        add(QMessageBox::Cancel, "Cancelar");
        box.setDefaultButton(QMessageBox::Ok);
        box.setEscapeButton(QMessageBox::Cancel);
        break;
    case Buttons::YesNo:
        add(QMessageBox::Yes, "Sí");
        add(QMessageBox::No, "No");
        box.setDefaultButton(QMessageBox::Yes);
        box.setEscapeButton(QMessageBox::No);
        break;
    case Buttons::YesNoCancel:
        add(QMessageBox::Yes, "Sí");
        add(QMessageBox::No, "No");
        add(QMessageBox::Cancel, "Cancelar");
        box.setDefaultButton(QMessageBox::Yes);
        box.setEscapeButton(QMessageBox::Cancel);
        break;
    }
    // A box waits with the normal pointer even while the program is busy.
    const bool busy = m_busy;
    if (busy)
        QGuiApplication::setOverrideCursor(QCursor(Qt::ArrowCursor));
    box.exec();
    if (busy)
        QGuiApplication::restoreOverrideCursor();
    switch (box.standardButton(box.clickedButton())) {
    case QMessageBox::Ok:
        return Answer::Ok;
    case QMessageBox::Cancel:
        return Answer::Cancel;
    case QMessageBox::Yes:
        return Answer::Yes;
    case QMessageBox::No:
        return Answer::No;
    default:
        return defaultAnswer(buttons);
    }
}

std::optional<QString> QtDialogs::input(const QString &prompt, const QString &title,
                                        const QString &defaultText, QWidget *parent)
{
    if (noScreen()) {
        qWarning("Caja de entrada sin pantalla (cancelada): %s: %s", qUtf8Printable(title),
                 qUtf8Printable(prompt));
        return std::nullopt;
    }
    QInputDialog dialog(ownerFor(parent));
    dialog.setWindowTitle(title);
    dialog.setLabelText(prompt);
    dialog.setTextValue(defaultText);
    dialog.setInputMode(QInputDialog::TextInput);
    dialog.setOkButtonText(QStringLiteral("Aceptar"));
    dialog.setCancelButtonText(QStringLiteral("Cancelar"));
    const bool busy = m_busy;
    if (busy)
        QGuiApplication::setOverrideCursor(QCursor(Qt::ArrowCursor));
    const int result = dialog.exec();
    if (busy)
        QGuiApplication::restoreOverrideCursor();
    if (result != QDialog::Accepted)
        return std::nullopt;
    return dialog.textValue();
}

void QtDialogs::setBusy(bool busy)
{
    if (busy == m_busy)
        return;
    m_busy = busy;
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return;
    if (busy)
        QGuiApplication::setOverrideCursor(QCursor(Qt::WaitCursor));
    else
        QGuiApplication::restoreOverrideCursor();
}

bool QtDialogs::isBusy() const
{
    return m_busy;
}

void QtDialogs::endProgram()
{
    // No window is asked or told: the process goes, with whatever is open. Every write of
    // the program has already reached the store, since nothing is kept in a transaction.
    std::fflush(nullptr);
    std::exit(0);
}

std::unique_ptr<Dialogs> setDialogs(std::unique_ptr<Dialogs> dialogs)
{
    std::unique_ptr<Dialogs> previous = std::move(installed());
    installed() = std::move(dialogs);
    return previous;
}

Dialogs &dialogs()
{
    if (!installed())
        installed() = std::make_unique<QtDialogs>();
    return *installed();
}

void msgBox(const QString &text, const QString &title, Icon icon, QWidget *parent)
{
    dialogs().message(text, resolvedTitle(title), Buttons::Ok, icon, parent);
}

Answer message(const QString &text, const QString &title, Buttons buttons, Icon icon,
               QWidget *parent)
{
    return dialogs().message(text, resolvedTitle(title), buttons, icon, parent);
}

bool ask(const QString &text, const QString &title, Icon icon, QWidget *parent)
{
    return dialogs().message(text, resolvedTitle(title), Buttons::YesNo, icon, parent)
           == Answer::Yes;
}

std::optional<QString> inputBox(const QString &prompt, const QString &title,
                                const QString &defaultText, QWidget *parent)
{
    return dialogs().input(prompt, resolvedTitle(title), defaultText, parent);
}

void endProgram()
{
    dialogs().endProgram();
}

void setBusy(bool busy)
{
    dialogs().setBusy(busy);
}

bool isBusy()
{
    return dialogs().isBusy();
}

WaitCursor::WaitCursor() : m_wasBusy(isBusy())
{
    setBusy(true);
}

WaitCursor::~WaitCursor()
{
    setBusy(m_wasBusy);
}

}  // namespace ui

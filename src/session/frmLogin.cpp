#include "session/frmLogin.h"

#include "session/Usuario.h"
#include "session/modPrincipal.h"
#include "store/DataControl.h"
#include "store/Connection.h"
#include "store/ErrorReporter.h"
#include "store/HourHistory.h"
#include "store/SqlValue.h"
#include "store/StoreError.h"
#include "ui/Dialogs.h"
#include "ui/GuardedSlot.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <limits>

namespace {

const QString kUsuarios = QStringLiteral(
    "SELECT * FROM USUARIOS U, FUNCIONARIOS_INSTITUTOS FI WHERE U.FUNCEDULA=FI.FUNCEDULA");

// Blanks at both ends go; other characters stay, as the login is typed.
QString trimBlanks(const QString &text)
{
    qsizetype first = 0;
    qsizetype last = text.size();
    while (first < last && text.at(first) == QLatin1Char(' '))
        ++first;
    while (last > first && text.at(last - 1) == QLatin1Char(' '))
        --last;
    return text.mid(first, last - first);
}

// A text column into a text variable. A Null area (a contract without one) reads as
// empty rather than stopping the login.
QString textOf(const QVariant &value)
{
    return value.isNull() ? QString() : value.toString();
}

// The role number into its 16-bit variable: Null, a text that is not a number and a
// number out of range are run-time errors, reported like any other of the login.
qint16 roleOf(const QVariant &value)
{
    using store::StoreError;
    if (value.isNull())
        throw StoreError(StoreError::Kind::BadValue, 94, QStringLiteral("Uso no válido de Null"));
    bool ok = false;
    const qlonglong number = value.toLongLong(&ok);
    if (!ok)
        throw StoreError(StoreError::Kind::BadValue, 13, QStringLiteral("No coinciden los tipos"));
    if (number < std::numeric_limits<qint16>::min() || number > std::numeric_limits<qint16>::max())
        throw StoreError(StoreError::Kind::BadValue, 6, QStringLiteral("Desbordamiento"));
    return qint16(number);
}

}  // namespace

frmLogin::frmLogin(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmLogin"));
    setWindowTitle(QStringLiteral("Quronda - Login"));

    lblLogin = new QLabel(QStringLiteral("&Login:"), this);
    lblLogin->setObjectName(QStringLiteral("lblLogin"));
    txtLogin = new QLineEdit(this);
    txtLogin->setObjectName(QStringLiteral("txtLogin"));
    lblLogin->setBuddy(txtLogin);

    lblPassword = new QLabel(QStringLiteral("&Password:"), this);
    lblPassword->setObjectName(QStringLiteral("lblPassword"));
    txtPassword = new QLineEdit(this);
    txtPassword->setObjectName(QStringLiteral("txtPassword"));
    txtPassword->setEchoMode(QLineEdit::Password);
    // One "*" per character, whatever the style's own mask character is.
    txtPassword->setStyleSheet(QStringLiteral("lineedit-password-character: 42;"));
    lblPassword->setBuddy(txtPassword);

    cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdOK->setAutoDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);

    auto *fields = new QGridLayout;
    fields->addWidget(lblLogin, 0, 0);
    fields->addWidget(txtLogin, 0, 1);
    fields->addWidget(lblPassword, 1, 0);
    fields->addWidget(txtPassword, 1, 1);
    fields->setColumnMinimumWidth(1, 180);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addSpacing(8);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    setTabOrder(txtLogin, txtPassword);
    setTabOrder(txtPassword, cmdOK);
    setTabOrder(cmdOK, cmdCancel);
    txtLogin->setFocus();

    ui::connectGuarded(cmdOK, &QPushButton::clicked, this, &frmLogin::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmLogin::reject);

    // Opened at load with its design-time statement, like every data control that has one.
    adcUsuarios = new store::DataControl(QStringLiteral("adcUsuarios"), this);
    adcUsuarios->setRecordSource(kUsuarios);
    try {
        adcUsuarios->refresh();
    } catch (const std::exception &error) {
        store::reportError(error);
    }
}

frmLogin::~frmLogin() = default;

void frmLogin::selectWholeText(QLineEdit *edit)
{
    edit->setFocus();
    edit->home(false);
    edit->end(true);
}

void frmLogin::cmdOK_Click()
{
    try {
        adcUsuarios->setRecordSource(kUsuarios + QStringLiteral(" AND U.USULOGIN=")
                                     + store::sql::text(trimBlanks(txtLogin->text())));
        adcUsuarios->refresh();
        adcUsuarios->refresh();
        if (adcUsuarios->recordCount() == 0) {
            ui::msgBox(QStringLiteral("Código de empleado incorrecto!"), QStringLiteral("Login"),
                       ui::Icon::None, this);
            selectWholeText(txtLogin);
            return;
        }

        // The password counts as typed, blanks and all.
        const QString typed = txtPassword->text();
        const QVariant stored = adcUsuarios->value(QStringLiteral("UsuPassword"));
        const Usuario::PasswordCheck check = Usuario::checkPassword(typed, stored);
        if (check == Usuario::PasswordCheck::Wrong) {
            ui::msgBox(QStringLiteral("Password incorrecta!"), QStringLiteral("Login"), ui::Icon::None,
                       this);
            selectWholeText(txtPassword);
            return;
        }

        // The first row decides: a person with several contracts gets the area of the
        // row the store returns first.
        LoginSucceeded = true;
        core::Session session{txtLogin->text(), textOf(adcUsuarios->value(QStringLiteral("FunCedula"))),
                              textOf(adcUsuarios->value(QStringLiteral("AreId")))};
        // A role that is no 16-bit number is reported with the rest of the session already set.
        modPrincipal::setSession(session);
        session.role = roleOf(adcUsuarios->value(QStringLiteral("PerId")));
        modPrincipal::setSession(session);
        const QString usuLogin = textOf(adcUsuarios->value(QStringLiteral("UsuLogin")));
        if (check == Usuario::PasswordCheck::RightOldEncoding)
            rewriteAsHash(usuLogin, typed, stored.toString());
        store::history::announceLogin(usuLogin);
        hide();
    } catch (const std::exception &error) {
        modPrincipal::ReportarError(error);
    }
}

// A row still in the old encoding becomes a hash of the password just typed. Only if the
// row still holds what was read (another administrator may have set a new password in the
// meantime). Should the store refuse, the login goes on and the next one tries again.
void frmLogin::rewriteAsHash(const QString &usuLogin, const QString &password, const QString &oldEncoding)
{
    try {
        adcUsuarios->connection().executeNative(
            QStringLiteral("UPDATE USUARIOS SET UsuPassword = ? WHERE UsuLogin = ? AND UsuPassword = ?"),
            {Usuario::hashPassword(password), usuLogin, oldEncoding});
    } catch (const std::exception &) {
        // The old row keeps working; it is rewritten at a later login.
    }
}

void frmLogin::reject()
{
    LoginSucceeded = false;
    QDialog::reject();
}

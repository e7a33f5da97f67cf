#pragma once

#include <QDialog>

class QLabel;
class QLineEdit;
class QPushButton;

namespace store {
class DataControl;
}

// The login window. Main shows it modally and, once it has hidden itself, reads
// LoginSucceeded. A successful login fills the four session variables of modPrincipal.
class frmLogin : public QDialog {
    Q_OBJECT
public:
    explicit frmLogin(QWidget *parent = nullptr);
    ~frmLogin() override;

    bool LoginSucceeded = false;

public slots:
    // cmdCancel, Esc and the close box: the login did not succeed; the window hides.
    void reject() override;

private:
    void cmdOK_Click();
    static void selectWholeText(QLineEdit *edit);
    void rewriteAsHash(const QString &usuLogin, const QString &password, const QString &oldEncoding);

    QLabel *lblLogin;
    QLineEdit *txtLogin;
    QLabel *lblPassword;
    QLineEdit *txtPassword;
    QPushButton *cmdOK;
    QPushButton *cmdCancel;
    store::DataControl *adcUsuarios;
};

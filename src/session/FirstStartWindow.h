#pragma once

#include <QDialog>

#include <functional>

class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QRadioButton;
class QStackedWidget;

namespace store {
class Connection;
}

// Shown by Main before the login when the data source RRHHODBC is not defined: it says so
// and offers either a personal store for this user (an SQLite file in the user's data
// folder, with one administrator login typed here) or the way to point RRHHODBC at a
// shared server. Accepted once the data source is there; Cancel leaves it undefined.
class FirstStartWindow : public QDialog {
    Q_OBJECT
public:
    // Fills a new, empty store with its tables and its first administrator.
    using Filler = std::function<void(store::Connection &, const QString &login, const QString &password)>;

    explicit FirstStartWindow(Filler fill, QWidget *parent = nullptr);
    ~FirstStartWindow() override;

    // Where the personal store goes.
    QString storeFile() const { return m_storeFile; }

private:
    void showChoice();
    void cmdContinuar_Click();
    void createPersonalStore();
    void checkSharedServer();
    bool refuse(const QString &text, QLineEdit *field);

    Filler m_fill;
    QString m_storeFile;

    QLabel *lblExplicacion;
    QRadioButton *optPersonal;
    QRadioButton *optServidor;
    QStackedWidget *stkOpcion;
    QLabel *lblUbicacion;
    QLineEdit *txtLogin;
    QLineEdit *txtPassword;
    QLineEdit *txtConfirmar;
    QPlainTextEdit *txtInstrucciones;
    QPushButton *cmdContinuar;
    QPushButton *cmdCancelar;
};

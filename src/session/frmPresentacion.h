#pragma once

#include <QFrame>

class QLabel;

// The presentation window, up between the login and the main window. It has no title and
// no buttons in its frame, it sees every key before its controls, and any key unloads it.
class frmPresentacion : public QFrame {
    Q_OBJECT
public:
    explicit frmPresentacion(QWidget *parent = nullptr);
    ~frmPresentacion() override;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void Form_Load();
    void unload();

    QLabel *imgLogo;
    QLabel *imgNovadat;
    QLabel *lblProductName;
    QLabel *lblVersion;
    QLabel *lblCompany;
    QLabel *lblCopyright;
    QLabel *lblPropaganda;
    QLabel *lblWarning;
};

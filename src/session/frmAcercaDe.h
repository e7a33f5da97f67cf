#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

// The About window: the program's title, version, description and legal text from the
// version record, and a button that starts the system's information tool.
//
// The tool is found through registry keys, as on the system this program comes from. Here
// a small stand-in registry answers those two keys from the PATH: the first of the known
// system-information programs installed (kinfocenter, gnome-system-monitor, hardinfo...)
// is the tool; none installed means the keys are absent.
class frmAcercaDe : public QWidget {
    Q_OBJECT
public:
    explicit frmAcercaDe(QWidget *parent = nullptr);
    ~frmAcercaDe() override;

    // Root keys of the stand-in registry.
    static constexpr qintptr HKEY_LOCAL_MACHINE = 0x80000002;

    // Starts the system's information tool without waiting for it, or says that it is
    // unavailable.
    void StartSysInfo();

    // Reads one value of the registry: true with its text in KeyVal, or false with KeyVal
    // empty. A double-word value reads as its decimal number.
    static bool GetKeyValue(qintptr KeyRoot, const QString &KeyName, const QString &SubKeyRef, QString &KeyVal);

    // The programs the stand-in registry looks for on the PATH, in order of preference.
    static QStringList systemInformationPrograms();

private:
    QLabel *picIcon;
    QLabel *lblTitle;
    QLabel *lblVersion;
    QLabel *lblDescription;
    QLabel *lblCopyright;
    QLabel *lblPaginaWeb;
    QLabel *lblSoporte;
    QPushButton *cmdOK;
    QPushButton *cmdSysInfo;
};

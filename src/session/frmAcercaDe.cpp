#include "session/frmAcercaDe.h"

#include "session/VersionRecord.h"
#include "ui/Dialogs.h"
#include "ui/GuardedSlot.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QVBoxLayout>

#include <optional>
#include <variant>

namespace {

const QString kSysInfoKey = QStringLiteral("SOFTWARE\\Microsoft\\Shared Tools\\MSINFO");
const QString kSysInfoPathValue = QStringLiteral("PATH");
const QString kSysInfoLocationKey = QStringLiteral("SOFTWARE\\Microsoft\\Shared Tools Location");
const QString kSysInfoLocationValue = QStringLiteral("MSINFO");
const QString kUnavailable = QStringLiteral("System Information Is Unavailable At This Time");

// A registry value: a string or a double word.
using RegistryValue = std::variant<QString, quint32>;

// The stand-in registry: only the two keys of the information tool exist, answered from
// the PATH at the moment they are read.
std::optional<QString> installedTool()
{
    for (const QString &program : frmAcercaDe::systemInformationPrograms()) {
        const QString path = QStandardPaths::findExecutable(program);
        if (!path.isEmpty())
            return path;
    }
    return std::nullopt;
}

std::optional<RegistryValue> readRegistry(qintptr root, const QString &key, const QString &value)
{
    if (root != frmAcercaDe::HKEY_LOCAL_MACHINE)
        return std::nullopt;
    const std::optional<QString> tool = installedTool();
    if (!tool)
        return std::nullopt;
    if (key.compare(kSysInfoKey, Qt::CaseInsensitive) == 0 &&
        value.compare(kSysInfoPathValue, Qt::CaseInsensitive) == 0)
        return RegistryValue(*tool);
    if (key.compare(kSysInfoLocationKey, Qt::CaseInsensitive) == 0 &&
        value.compare(kSysInfoLocationValue, Qt::CaseInsensitive) == 0)
        return RegistryValue(QFileInfo(*tool).absolutePath());
    return std::nullopt;
}

}  // namespace

QStringList frmAcercaDe::systemInformationPrograms()
{
    return {QStringLiteral("kinfocenter"), QStringLiteral("gnome-system-monitor"), QStringLiteral("hardinfo"),
            QStringLiteral("hardinfo2"), QStringLiteral("mate-system-monitor"), QStringLiteral("xfce4-taskmanager")};
}

frmAcercaDe::frmAcercaDe(QWidget *parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("frmAcercaDe"));
    setAttribute(Qt::WA_DeleteOnClose);

    picIcon = new QLabel(this);
    picIcon->setObjectName(QStringLiteral("picIcon"));
    const QIcon icon = QApplication::windowIcon();
    if (!icon.isNull())
        picIcon->setPixmap(icon.pixmap(32, 32));
    lblTitle = new QLabel(this);
    lblTitle->setObjectName(QStringLiteral("lblTitle"));
    QFont titleFont = lblTitle->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.5);
    titleFont.setBold(true);
    lblTitle->setFont(titleFont);
    lblVersion = new QLabel(this);
    lblVersion->setObjectName(QStringLiteral("lblVersion"));
    lblDescription = new QLabel(this);
    lblDescription->setObjectName(QStringLiteral("lblDescription"));
    lblDescription->setWordWrap(true);
    lblCopyright = new QLabel(this);
    lblCopyright->setObjectName(QStringLiteral("lblCopyright"));
    lblCopyright->setWordWrap(true);
    lblPaginaWeb = new QLabel(QStringLiteral("Página web: www.novadat.com.uy"), this);
    lblPaginaWeb->setObjectName(QStringLiteral("lblPaginaWeb"));
    lblSoporte = new QLabel(QStringLiteral("Soporte técnico: soporte@novadat.com.uy"), this);
    lblSoporte->setObjectName(QStringLiteral("lblSoporte"));
    cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdSysInfo = new QPushButton(QStringLiteral("&System Info..."), this);
    cmdSysInfo->setObjectName(QStringLiteral("cmdSysInfo"));

    auto *texts = new QVBoxLayout;
    for (QLabel *l : {lblTitle, lblVersion, lblDescription, lblCopyright, lblPaginaWeb, lblSoporte})
        texts->addWidget(l);
    auto *top = new QHBoxLayout;
    top->addWidget(picIcon, 0, Qt::AlignTop);
    top->addLayout(texts, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdSysInfo);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addLayout(buttons);

    // Filled at load, in this order, from the version record.
    const session::VersionRecord &v = session::versionRecord();
    lblVersion->setText(QStringLiteral("Versión ") + v.versionText());
    lblDescription->setText(v.comments);
    lblTitle->setText(v.title);
    lblCopyright->setText(v.legalCopyright);
    setWindowTitle(QStringLiteral("Acerca de ") + v.title);

    connect(cmdOK, &QPushButton::clicked, this, &QWidget::close);
    ui::connectGuarded(cmdSysInfo, &QPushButton::clicked, this, &frmAcercaDe::StartSysInfo);
}

frmAcercaDe::~frmAcercaDe() = default;

void frmAcercaDe::StartSysInfo()
{
    QString path;
    if (!GetKeyValue(HKEY_LOCAL_MACHINE, kSysInfoKey, kSysInfoPathValue, path)) {
        QString folder;
        bool found = false;
        if (GetKeyValue(HKEY_LOCAL_MACHINE, kSysInfoLocationKey, kSysInfoLocationValue, folder)) {
            for (const QString &program : systemInformationPrograms()) {
                const QFileInfo candidate(QDir(folder).filePath(program));
                if (candidate.isFile() && candidate.isExecutable()) {
                    path = candidate.absoluteFilePath();
                    found = true;
                    break;
                }
            }
        }
        if (!found) {
            ui::msgBox(kUnavailable, {}, ui::Icon::None, this);
            return;
        }
    }
    if (!QProcess::startDetached(path, {}))
        ui::msgBox(kUnavailable, {}, ui::Icon::None, this);
}

bool frmAcercaDe::GetKeyValue(qintptr KeyRoot, const QString &KeyName, const QString &SubKeyRef, QString &KeyVal)
{
    KeyVal.clear();
    const std::optional<RegistryValue> value = readRegistry(KeyRoot, KeyName, SubKeyRef);
    if (!value)
        return false;
    if (const QString *text = std::get_if<QString>(&*value)) {
        // Cut at the first zero character, as a value read into a buffer would be.
        const qsizetype zero = text->indexOf(QChar(0));
        KeyVal = zero >= 0 ? text->left(zero) : *text;
    } else if (const quint32 *dword = std::get_if<quint32>(&*value)) {
        KeyVal = QString::number(*dword);
    }
    return true;
}

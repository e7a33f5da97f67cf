#include "session/FirstStartWindow.h"

#include "store/DataSources.h"
#include "store/PersonalStore.h"
#include "ui/Dialogs.h"
#include "ui/GuardedSlot.h"

#include <QFontDatabase>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {

const QString kDataSource = QLatin1String(store::datasources::kProgramDataSource);
constexpr int kLongestLogin = 12;  // as the users' window allows

QString serverInstructions()
{
    return QStringLiteral(
               "Pida al administrador del servidor los datos de la base compartida (servidor, "
               "puerto, base, usuario y contraseña) y defina el origen de datos %1 con el "
               "controlador ODBC de PostgreSQL (paquete odbc-postgresql): solo para usted en el "
               "archivo %2, o para todos los usuarios de este equipo en /etc/odbc.ini:\n\n"
               "[%1]\n"
               "Driver=PostgreSQL Unicode\n"
               "Servername=servidor.ejemplo.org\n"
               "Port=5432\n"
               "Database=rrhh\n"
               "Username=rrhh\n"
               "Password=contraseña\n"
               "BoolsAsChar=0\n"
               "UseDeclareFetch=1\n"
               "Fetch=100\n\n"
               "Luego pulse Continuar.")
        .arg(kDataSource, store::datasources::userFile());
}

QLineEdit *lineEdit(const char *name, QWidget *parent, bool password)
{
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(QLatin1String(name));
    edit->setMaxLength(kLongestLogin);
    if (password)
        edit->setEchoMode(QLineEdit::Password);
    return edit;
}

}  // namespace

FirstStartWindow::FirstStartWindow(Filler fill, QWidget *parent)
    : QDialog(parent), m_fill(std::move(fill)), m_storeFile(store::personalstore::defaultFile())
{
    setObjectName(QStringLiteral("FirstStartWindow"));
    setWindowTitle(QStringLiteral("Quronda - Primer inicio"));

    lblExplicacion = new QLabel(
        QStringLiteral("Todavía no hay ninguna base de datos configurada para Quronda: el origen de "
                       "datos %1 no está definido en este equipo. ¿Cómo desea continuar?")
            .arg(kDataSource),
        this);
    lblExplicacion->setObjectName(QStringLiteral("lblExplicacion"));
    lblExplicacion->setWordWrap(true);

    optPersonal = new QRadioButton(QStringLiteral("Crear una base de datos &personal en este equipo"), this);
    optPersonal->setObjectName(QStringLiteral("optPersonal"));
    optPersonal->setChecked(true);
    optServidor = new QRadioButton(QStringLiteral("Usar una base de datos &compartida en un servidor"), this);
    optServidor->setObjectName(QStringLiteral("optServidor"));

    auto *personal = new QWidget(this);
    lblUbicacion = new QLabel(
        QStringLiteral("Solo usted la usará; se guardará en %1. Usted será su administrador: elija "
                       "su login y su contraseña (hasta %2 caracteres).")
            .arg(m_storeFile)
            .arg(kLongestLogin),
        personal);
    lblUbicacion->setObjectName(QStringLiteral("lblUbicacion"));
    lblUbicacion->setWordWrap(true);
    txtLogin = lineEdit("txtLogin", personal, false);
    txtPassword = lineEdit("txtPassword", personal, true);
    txtConfirmar = lineEdit("txtConfirmar", personal, true);
    auto *fields = new QFormLayout;
    fields->addRow(QStringLiteral("&Login del administrador:"), txtLogin);
    fields->addRow(QStringLiteral("C&ontraseña:"), txtPassword);
    fields->addRow(QStringLiteral("&Repita la contraseña:"), txtConfirmar);
    auto *personalLayout = new QVBoxLayout(personal);
    personalLayout->setContentsMargins(0, 0, 0, 0);
    personalLayout->addWidget(lblUbicacion);
    personalLayout->addLayout(fields);
    personalLayout->addStretch();

    txtInstrucciones = new QPlainTextEdit(serverInstructions(), this);
    txtInstrucciones->setObjectName(QStringLiteral("txtInstrucciones"));
    txtInstrucciones->setReadOnly(true);
    txtInstrucciones->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    txtInstrucciones->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    txtInstrucciones->setMinimumHeight(txtInstrucciones->fontMetrics().lineSpacing() * 18);
    txtInstrucciones->setTabChangesFocus(true);

    stkOpcion = new QStackedWidget(this);
    stkOpcion->setObjectName(QStringLiteral("stkOpcion"));
    stkOpcion->addWidget(personal);
    stkOpcion->addWidget(txtInstrucciones);

    cmdContinuar = new QPushButton(QStringLiteral("Continuar"), this);
    cmdContinuar->setObjectName(QStringLiteral("cmdContinuar"));
    cmdContinuar->setDefault(true);
    cmdCancelar = new QPushButton(QStringLiteral("Cancelar"), this);
    cmdCancelar->setObjectName(QStringLiteral("cmdCancelar"));
    cmdCancelar->setAutoDefault(false);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdContinuar);
    buttons->addWidget(cmdCancelar);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(lblExplicacion);
    layout->addSpacing(6);
    layout->addWidget(optPersonal);
    layout->addWidget(optServidor);
    layout->addSpacing(6);
    layout->addWidget(stkOpcion, 1);
    layout->addLayout(buttons);
    setMinimumWidth(560);

    setTabOrder(optPersonal, optServidor);
    setTabOrder(optServidor, txtLogin);
    setTabOrder(txtLogin, txtPassword);
    setTabOrder(txtPassword, txtConfirmar);
    setTabOrder(txtConfirmar, txtInstrucciones);
    setTabOrder(txtInstrucciones, cmdContinuar);
    setTabOrder(cmdContinuar, cmdCancelar);

    // Without a routine to fill a store only the shared server is on offer.
    if (!m_fill) {
        optPersonal->setEnabled(false);
        optServidor->setChecked(true);
    }

    ui::connectGuarded(optPersonal, &QRadioButton::toggled, this, &FirstStartWindow::showChoice);
    ui::connectGuarded(cmdContinuar, &QPushButton::clicked, this, &FirstStartWindow::cmdContinuar_Click);
    connect(cmdCancelar, &QPushButton::clicked, this, &FirstStartWindow::reject);
    showChoice();
    txtLogin->setFocus();
}

FirstStartWindow::~FirstStartWindow() = default;

void FirstStartWindow::showChoice()
{
    stkOpcion->setCurrentIndex(optPersonal->isChecked() ? 0 : 1);
}

void FirstStartWindow::cmdContinuar_Click()
{
    if (optPersonal->isChecked())
        createPersonalStore();
    else
        checkSharedServer();
}

bool FirstStartWindow::refuse(const QString &text, QLineEdit *field)
{
    ui::msgBox(text, QString(), ui::Icon::Exclamation, this);
    field->setFocus();
    field->selectAll();
    return false;
}

void FirstStartWindow::createPersonalStore()
{
    const QString login = txtLogin->text().trimmed();
    const QString password = txtPassword->text();
    if (login.isEmpty()) {
        refuse(QStringLiteral("Escriba el login del administrador."), txtLogin);
        return;
    }
    if (password.isEmpty()) {
        refuse(QStringLiteral("Escriba una contraseña para el administrador."), txtPassword);
        return;
    }
    if (txtConfirmar->text() != password) {
        refuse(QStringLiteral("Las dos contraseñas no coinciden: escríbala de nuevo en \"Repita la contraseña\"."),
               txtConfirmar);
        return;
    }
    try {
        ui::WaitCursor wait;
        store::personalstore::create(kDataSource, m_storeFile, [&](store::Connection &conn) {
            m_fill(conn, login, password);
        });
    } catch (const std::exception &error) {
        ui::msgBox(QStringLiteral("No se creó la base de datos personal: %1").arg(QString::fromUtf8(error.what())), QString(),
                   ui::Icon::Exclamation, this);
        return;
    }
    ui::msgBox(QStringLiteral("Se creó la base de datos personal en %1.\nIngrese con el login %2 y su contraseña.")
                   .arg(m_storeFile, login),
               QString(), ui::Icon::Information, this);
    accept();
}

void FirstStartWindow::checkSharedServer()
{
    if (store::datasources::defined(kDataSource)) {
        accept();
        return;
    }
    ui::msgBox(QStringLiteral("El origen de datos %1 todavía no está definido. Defínalo como se indica y pulse "
                              "Continuar otra vez.")
                   .arg(kDataSource),
               QString(), ui::Icon::Information, this);
}

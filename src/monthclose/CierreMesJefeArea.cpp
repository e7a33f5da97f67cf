#include "monthclose/CierreMesJefeArea.h"

#include "core/MonthClose.h"

#include "monthclose/MonthCloseParts.h"
#include "session/modPrincipal.h"
#include "store/Connection.h"
#include "store/DataControl.h"
#include "store/SchemaInfo.h"
#include "store/StoreError.h"
#include "ui/DataGrid.h"
#include "ui/DatePicker.h"
#include "ui/Dialogs.h"
#include "ui/FieldBinding.h"
#include "ui/GuardedSlot.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDate>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressDialog>
#include <QPushButton>
#include <QVBoxLayout>

using monthclose::column;
using monthclose::flag;
using monthclose::labelFor;
using monthclose::standsOnRow;

namespace {

const QString kNotApproved = QStringLiteral("El mes debe ser aprobado por el Súper Usuario para poder cerrarse.");
const QString kOtherArea = QStringLiteral("Solo puede cerrar o modificar los cierres de su área.");
const QString kNoRow = QStringLiteral("Seleccione primero un cierre de mes de la lista, o pulse \"Solicitar Cierre\".");
const QString kCloseFailed = QStringLiteral("No se pudo cerrar el mes: ");

// Marks our own writes for the time of a handler, so that the rules for leaving a row
// don't apply to them.
class WritingGuard {
public:
    explicit WritingGuard(bool &flag) : m_flag(flag), m_was(flag) { m_flag = true; }
    ~WritingGuard() { m_flag = m_was; }
    WritingGuard(const WritingGuard &) = delete;
    WritingGuard &operator=(const WritingGuard &) = delete;

private:
    bool &m_flag;
    bool m_was;
};

}  // namespace

CierreMesJefeArea::CierreMesJefeArea(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("CierreMesJefeArea"));
    m_adcCierreMeses = new store::DataControl(QStringLiteral("adcCierreMeses"), this);
    m_adcCierreMeses->setRecordSource(QStringLiteral("SELECT * FROM CIERREMESES"));
    buildControls();

    connect(m_adcCierreMeses, &store::DataControl::currentChanged, this, &CierreMesJefeArea::onRowChanged);
    // Connected after the bindings, so that what was typed has reached the row.
    connect(m_adcCierreMeses, &store::DataControl::aboutToWrite, this, &CierreMesJefeArea::onAboutToWrite);

    m_adcCierreMeses->refresh();
    m_dtgCierreMeses->refresh();
}

CierreMesJefeArea::~CierreMesJefeArea()
{
    // A request never saved is not written on the way out.
    if (m_adcCierreMeses && m_adcCierreMeses->isNewRow())
        m_adcCierreMeses->cancelUpdate();
}

void CierreMesJefeArea::buildControls()
{
    m_dtgCierreMeses = new ui::DataGrid(this);
    m_dtgCierreMeses->setObjectName(QStringLiteral("dtgCierreMeses"));
    m_dtgCierreMeses->setCaption(QStringLiteral("ESTADO DE LOS CIERRES DE MES"));
    const QString dateMask = QStringLiteral("d-MMM-yy");
    m_dtgCierreMeses->setColumns({
        column(QStringLiteral("Fecha Solicitud"), QStringLiteral("CieMesFechaActual"), dateMask),
        column(QStringLiteral("Fecha Cierre"), QStringLiteral("CieMesFechaCierre"), dateMask),
        column(QStringLiteral("Aprobado"), QStringLiteral("CieMesAprobado")),
        column(QStringLiteral("Desaprobado"), QStringLiteral("CieMesDesaprobado")),
        column(QStringLiteral("Súper Usuario"), QStringLiteral("CieMesComentarioSuperUsuario")),
        column(QStringLiteral("Jéfe de área"), QStringLiteral("CieMesComentarioJefeArea")),
        column(QStringLiteral("Mes Cerrado"), QStringLiteral("CieMesCerrado")),
        column(QStringLiteral("Archivo de Horas"), QStringLiteral("CieMesArchivoHoras")),
    });
    m_dtgCierreMeses->setDataSource(m_adcCierreMeses);

    auto named = [](QWidget *w, const char *name) {
        w->setObjectName(QLatin1String(name));
        return w;
    };
    m_txtMesCierre = new QLineEdit(this);
    named(m_txtMesCierre, "txtMesCierre");
    m_txtMesCierre->setEnabled(false);
    m_txtAnioCierre = new QLineEdit(this);
    named(m_txtAnioCierre, "txtAnioCierre");
    m_txtAnioCierre->setEnabled(false);
    m_dtpFechaCierre = new ui::DatePicker(QStringLiteral("d-MMM-yy"), this);
    named(m_dtpFechaCierre, "dtpFechaCierre");
    m_dtpFechaCierre->setDate(QDate::currentDate());
    m_dtpFechaCierre->setEnabled(false);
    m_txtUbicacionArchivoHoras = new QLineEdit(this);
    named(m_txtUbicacionArchivoHoras, "txtUbicacionArchivoHoras");
    m_txtComentariosJefeArea = new QPlainTextEdit(this);
    named(m_txtComentariosJefeArea, "txtComentariosJefeArea");
    m_txtComentariosSuperUsuario = new QPlainTextEdit(this);
    named(m_txtComentariosSuperUsuario, "txtComentariosSuperUsuario");
    m_txtComentariosSuperUsuario->setEnabled(false);
    m_chkAprobadoSuperUsuario = new QCheckBox(QStringLiteral("Fué aprobado por el Súper Usuario"), this);
    named(m_chkAprobadoSuperUsuario, "chkAprobadoSuperUsuario");
    m_chkAprobadoSuperUsuario->setEnabled(false);
    m_chkDesaprobadoSuperUsuario = new QCheckBox(QStringLiteral("Fué desaprobado por el Súper Usuario"), this);
    named(m_chkDesaprobadoSuperUsuario, "chkDesaprobadoSuperUsuario");
    m_chkDesaprobadoSuperUsuario->setEnabled(false);
    m_chkMesCerrado = new QCheckBox(QStringLiteral("El mes ya fué cerrado satisfactoriamente"), this);
    named(m_chkMesCerrado, "chkMesCerrado");
    m_chkMesCerrado->setEnabled(false);

    m_cmdSolicitarCierre = new QPushButton(QStringLiteral("Solicitar Cierre"), this);
    named(m_cmdSolicitarCierre, "cmdSolicitarCierre");
    m_cmdSolicitarCierre->setToolTip(QStringLiteral("Solicitar el cierre del mes actual al super usuario"));
    m_cmdGuardar = new QPushButton(QStringLiteral("Guardar"), this);
    named(m_cmdGuardar, "cmdGuardar");
    m_cmdCerrar = new QPushButton(QStringLiteral("Cerrar Mes"), this);
    named(m_cmdCerrar, "cmdCerrar");
    m_cmdCerrar->setToolTip(QStringLiteral("Cierra el mes en curso y pasa los datos al archivo"));
    m_cmdCerrar->setEnabled(false);
    m_cmdExportar = new QPushButton(QStringLiteral("Exportar"), this);
    named(m_cmdExportar, "cmdExportar");
    m_cmdExportar->setToolTip(QStringLiteral("Exportar a Excel"));

    ui::FieldBinding::bind(m_txtMesCierre, m_adcCierreMeses, QStringLiteral("CieMesMesCierre"));
    ui::FieldBinding::bind(m_txtAnioCierre, m_adcCierreMeses, QStringLiteral("CieMesAnioCierre"));
    ui::FieldBinding::bind(m_txtUbicacionArchivoHoras, m_adcCierreMeses, QStringLiteral("CieMesArchivoHoras"));
    ui::FieldBinding::bind(m_txtComentariosJefeArea, m_adcCierreMeses, QStringLiteral("CieMesComentarioJefeArea"));
    ui::FieldBinding::bind(m_txtComentariosSuperUsuario, m_adcCierreMeses,
                           QStringLiteral("CieMesComentarioSuperUsuario"));
    ui::FieldBinding::bind(m_chkAprobadoSuperUsuario, m_adcCierreMeses, QStringLiteral("CieMesAprobado"));
    ui::FieldBinding::bind(m_chkDesaprobadoSuperUsuario, m_adcCierreMeses, QStringLiteral("CieMesDesaprobado"));
    ui::FieldBinding::bind(m_chkMesCerrado, m_adcCierreMeses, QStringLiteral("CieMesCerrado"));

    auto *fields = new QGridLayout;
    int row = 0;
    auto *period = new QHBoxLayout;
    period->addWidget(labelFor(QStringLiteral("Mes:"), m_txtMesCierre));
    period->addWidget(m_txtMesCierre);
    period->addWidget(labelFor(QStringLiteral("Año:"), m_txtAnioCierre));
    period->addWidget(m_txtAnioCierre);
    period->addWidget(labelFor(QStringLiteral("Fecha de cierre:"), m_dtpFechaCierre));
    period->addWidget(m_dtpFechaCierre);
    period->addStretch();
    fields->addLayout(period, row++, 0, 1, 2);
    fields->addWidget(labelFor(QStringLiteral("Ubicación del archivo de horas:"), m_txtUbicacionArchivoHoras), row, 0);
    fields->addWidget(m_txtUbicacionArchivoHoras, row++, 1);
    fields->addWidget(labelFor(QStringLiteral("Comentarios del Jéfe de área:"), m_txtComentariosJefeArea), row, 0);
    fields->addWidget(labelFor(QStringLiteral("Comentarios del Súper Usuario:"), m_txtComentariosSuperUsuario), row++, 1);
    fields->addWidget(m_txtComentariosJefeArea, row, 0);
    fields->addWidget(m_txtComentariosSuperUsuario, row++, 1);
    fields->addWidget(m_chkAprobadoSuperUsuario, row++, 0, 1, 2);
    fields->addWidget(m_chkDesaprobadoSuperUsuario, row++, 0, 1, 2);
    fields->addWidget(m_chkMesCerrado, row++, 0, 1, 2);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_cmdSolicitarCierre);
    buttons->addWidget(m_cmdGuardar);
    buttons->addWidget(m_cmdCerrar);
    buttons->addWidget(m_cmdExportar);
    buttons->addStretch();

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_dtgCierreMeses, 1);
    layout->addLayout(fields);
    layout->addLayout(buttons);

    setTabOrder(m_dtgCierreMeses, m_txtMesCierre);
    setTabOrder(m_txtMesCierre, m_txtAnioCierre);
    setTabOrder(m_txtAnioCierre, m_dtpFechaCierre);
    setTabOrder(m_dtpFechaCierre, m_txtUbicacionArchivoHoras);
    setTabOrder(m_txtUbicacionArchivoHoras, m_txtComentariosJefeArea);
    setTabOrder(m_txtComentariosJefeArea, m_cmdSolicitarCierre);
    setTabOrder(m_cmdSolicitarCierre, m_cmdGuardar);
    setTabOrder(m_cmdGuardar, m_cmdCerrar);
    setTabOrder(m_cmdCerrar, m_cmdExportar);
    m_txtComentariosJefeArea->setTabChangesFocus(true);

    ui::connectGuarded(m_cmdSolicitarCierre, &QPushButton::clicked, this, &CierreMesJefeArea::cmdSolicitarCierre_Click);
    ui::connectGuarded(m_cmdGuardar, &QPushButton::clicked, this, &CierreMesJefeArea::cmdGuardar_Click);
    ui::connectGuarded(m_cmdCerrar, &QPushButton::clicked, this, &CierreMesJefeArea::cmdCerrar_Click);
    ui::connectGuarded(m_cmdExportar, &QPushButton::clicked, this, &CierreMesJefeArea::cmdExportar_Click);
}

void CierreMesJefeArea::setMesActual(store::DataControl *adcMesActual)
{
    m_adcMesActual = adcMesActual;
}

store::DataControl *CierreMesJefeArea::adcMesActual() const
{
    if (m_adcMesActual)
        return m_adcMesActual;
    return window() ? window()->findChild<store::DataControl *>(QStringLiteral("adcMesActual")) : nullptr;
}

void CierreMesJefeArea::setExportHandler(std::function<void()> handler)
{
    m_exportHandler = std::move(handler);
}

// Whenever the list stands on a row: a closed month can be neither closed nor exported again.
// A new request counts as a row not closed, also as the first row of an empty list.
void CierreMesJefeArea::onRowChanged()
{
    if (!m_adcCierreMeses->isNewRow() && !standsOnRow(m_adcCierreMeses))
        return;
    const bool closed = flag(m_adcCierreMeses->value(QStringLiteral("CieMesCerrado")));
    m_cmdCerrar->setEnabled(!closed);
    m_cmdExportar->setEnabled(!closed);
}

// The list is about to write the current row because the chief moves to another one: a
// request never saved is dropped, a row of another area keeps nothing, and a stored row of
// the area keeps only the location and the comment.
void CierreMesJefeArea::onAboutToWrite()
{
    if (m_writing || !m_adcCierreMeses->hasCurrentRow())
        return;
    if (m_adcCierreMeses->isNewRow()) {
        m_adcCierreMeses->cancelUpdate();
        return;
    }
    if (!m_adcCierreMeses->isEditing())
        return;
    if (!isOwnArea()) {
        m_adcCierreMeses->cancelUpdate();
        return;
    }
    keepOnlyChiefText();
}

bool CierreMesJefeArea::isOwnArea() const
{
    if (m_adcCierreMeses->isNewRow())
        return true;
    return m_adcCierreMeses->value(QStringLiteral("AreId")).toString().trimmed() ==
           modPrincipal::session().area.trimmed();
}

// Reduces the pending changes of a stored row to the two columns the chief may change on
// it; everything else goes back to what the store holds.
void CierreMesJefeArea::keepOnlyChiefText()
{
    const QString location = QStringLiteral("CieMesArchivoHoras");
    const QString comment = QStringLiteral("CieMesComentarioJefeArea");
    const QVariant typedLocation = m_adcCierreMeses->value(location);
    const QVariant typedComment = m_adcCierreMeses->value(comment);
    const WritingGuard writing(m_writing);
    m_adcCierreMeses->cancelUpdate();
    if (typedLocation != m_adcCierreMeses->value(location))
        m_adcCierreMeses->setValue(location, typedLocation);
    if (typedComment != m_adcCierreMeses->value(comment))
        m_adcCierreMeses->setValue(comment, typedComment);
}

void CierreMesJefeArea::showRow()
{
    for (QWidget *w : {static_cast<QWidget *>(m_txtMesCierre), static_cast<QWidget *>(m_txtAnioCierre),
                       static_cast<QWidget *>(m_txtUbicacionArchivoHoras),
                       static_cast<QWidget *>(m_txtComentariosJefeArea),
                       static_cast<QWidget *>(m_txtComentariosSuperUsuario),
                       static_cast<QWidget *>(m_chkAprobadoSuperUsuario),
                       static_cast<QWidget *>(m_chkDesaprobadoSuperUsuario), static_cast<QWidget *>(m_chkMesCerrado)})
        if (ui::FieldBinding *b = ui::FieldBinding::of(w))
            b->show();
}

void CierreMesJefeArea::cmdSolicitarCierre_Click()
{
    const QDate today = QDate::currentDate();
    m_adcCierreMeses->addNew();
    m_adcCierreMeses->setValue(QStringLiteral("CieMesMesCierre"), today.month());
    m_adcCierreMeses->setValue(QStringLiteral("CieMesAnioCierre"), today.year());
    showRow();
    m_txtMesCierre->setEnabled(true);
    m_txtAnioCierre->setEnabled(true);
    m_dtpFechaCierre->setEnabled(true);
    m_dtpFechaCierre->setDate(today);
}

void CierreMesJefeArea::cmdGuardar_Click()
{
    if (!m_adcCierreMeses->hasCurrentRow()) {
        ui::msgBox(kNoRow, {}, ui::Icon::Exclamation, this);
        return;
    }
    const WritingGuard writing(m_writing);
    if (m_adcCierreMeses->isNewRow()) {
        m_adcCierreMeses->setValue(QStringLiteral("FunCedula"), modPrincipal::session().person);
        m_adcCierreMeses->setValue(QStringLiteral("AreId"), modPrincipal::session().area);
        m_adcCierreMeses->setValue(QStringLiteral("CieMesFechaActual"), QDate::currentDate());
        m_adcCierreMeses->setValue(QStringLiteral("CieMesFechaCierre"),
                                   m_dtpFechaCierre->isBlank() ? QVariant() : QVariant(m_dtpFechaCierre->date()));
        // A refusal of the store leaves the row in edit with what was typed.
        m_adcCierreMeses->update();
        return;
    }
    if (!isOwnArea()) {
        ui::msgBox(kOtherArea, {}, ui::Icon::Exclamation, this);
        return;
    }
    m_adcCierreMeses->move0();
    keepOnlyChiefText();
    m_adcCierreMeses->update();
    showRow();
}

void CierreMesJefeArea::cmdCerrar_Click()
{
    if (!m_adcCierreMeses->hasCurrentRow()) {
        ui::msgBox(kNoRow, {}, ui::Icon::Exclamation, this);
        return;
    }
    if (!isOwnArea()) {
        ui::msgBox(kOtherArea, {}, ui::Icon::Exclamation, this);
        return;
    }
    if (!flag(m_adcCierreMeses->value(QStringLiteral("CieMesAprobado")))) {
        ui::msgBox(kNotApproved, {}, ui::Icon::None, this);
        return;
    }
    const QVariant month = m_adcCierreMeses->value(QStringLiteral("CieMesMesCierre"));
    const QVariant year = m_adcCierreMeses->value(QStringLiteral("CieMesAnioCierre"));
    if (!ui::ask(QStringLiteral("Está seguro que desea cerrar el mes %1/%2 ?").arg(month.toString(), year.toString()),
                 QStringLiteral("Confirme que desea hacer"), ui::Icon::Question, this))
        return;
    const QDate cutOff = m_adcCierreMeses->value(QStringLiteral("CieMesFechaCierre")).toDate();
    if (!cutOff.isValid()) {
        ui::msgBox(kCloseFailed + QStringLiteral("el cierre no tiene fecha de cierre."), {}, ui::Icon::Exclamation,
                   this);
        return;
    }

    ui::WaitCursor wait;
    QString error;
    if (!runClose(cutOff, m_adcCierreMeses->value(QStringLiteral("CieMesId")), &error)) {
        ui::msgBox(kCloseFailed + error, {}, ui::Icon::Exclamation, this);
        return;
    }

    // The hours have moved and the row is marked closed, together. What the chief typed
    // on the row meanwhile (the location, the comment) is stored through the list; should
    // that write be refused, the close stands and the chief is told.
    try {
        const WritingGuard writing(m_writing);
        m_adcCierreMeses->move0();
        keepOnlyChiefText();
        m_adcCierreMeses->update();
    } catch (const store::StoreError &e) {
        ui::msgBox(QStringLiteral("El mes quedó cerrado, pero no se pudieron guardar la ubicación y el comentario: ") +
                       e.description(),
                   {}, ui::Icon::Exclamation, this);
    }
    m_adcCierreMeses->refresh();
    m_adcCierreMeses->refresh();
    m_dtgCierreMeses->refresh();
}

// Moves the area's hours up to the cut-off date into the archive and marks the row closed,
// all or nothing (core::MonthClose says how it stays safe against other users' changes).
// Returns false with the store's message when it could not.
bool CierreMesJefeArea::runClose(const QDate &cutOff, const QVariant &closeId, QString *error)
{
    // The close is one blocking call of unknown length: the box, a busy bar, is up before it
    // starts and goes with it.
    QProgressDialog progress(QStringLiteral("Cerrando el mes..."), QString(), 0, 0, this);
    progress.setWindowTitle(ui::programTitle());
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(0);
    progress.setCancelButton(nullptr);
    progress.setValue(0);
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    try {
        core::MonthClose(modPrincipal::session().area, cutOff, closeId).run(QString::fromLatin1(store::kDefaultConnectString));
        return true;
    } catch (const store::StoreError &e) {
        *error = e.description();
        return false;
    }
}

void CierreMesJefeArea::cmdExportar_Click()
{
    if (m_exportHandler) {
        m_exportHandler();
        return;
    }
    ui::msgBox(QStringLiteral("La exportación a Excel todavía no está disponible."), {}, ui::Icon::Information, this);
}

#include "admin/MaintenanceWindow.h"

#include "store/DataControl.h"
#include "store/StoreError.h"
#include "ui/DataLists.h"
#include "ui/Dialogs.h"
#include "ui/FieldBinding.h"
#include "ui/GuardedSlot.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QHeaderView>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

namespace admin {

namespace {
constexpr int kRowsShown = 6;  // rows of the list always in sight
}

MaintenanceWindow::MaintenanceWindow(const MaintenanceSpec &spec, QWidget *parent)
    : QWidget(parent, Qt::Window), m_spec(spec)
{
    setObjectName(spec.windowName);
    setWindowTitle(spec.title);
    setAttribute(Qt::WA_DeleteOnClose);

    m_adc = new store::DataControl(spec.controlName, this);
    m_adc->setRecordSource(spec.statement);

    m_grid = new ui::DataGrid(this);
    m_grid->setObjectName(spec.gridName);
    m_grid->setCaption(spec.gridCaption);
    m_grid->setColumns(spec.columns);
    m_grid->setEditable(true);

    m_form = new QFormLayout;
    m_extra = new QVBoxLayout;

    cmdNuevo = new QPushButton(QStringLiteral("Nuevo"), this);
    cmdNuevo->setObjectName(QStringLiteral("cmdNuevo"));
    cmdGuardar = new QPushButton(QStringLiteral("Guardar"), this);
    cmdGuardar->setObjectName(QStringLiteral("cmdGuardar"));
    cmdGuardar->setToolTip(QStringLiteral("Guardar los cambios"));
    cmdAyuda = new QPushButton(QStringLiteral("Ayuda"), this);
    cmdAyuda->setObjectName(QStringLiteral("cmdAyuda"));
    cmdAyuda->setToolTip(QStringLiteral("Obtener ayuda"));
    cmdCerrar = new QPushButton(QStringLiteral("Cerrar"), this);
    cmdCerrar->setObjectName(QStringLiteral("cmdCerrar"));
    cmdCerrar->setToolTip(QStringLiteral("Cerrar esta ventana"));

    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    for (QPushButton *b : {cmdNuevo, cmdGuardar, cmdAyuda, cmdCerrar})
        buttons->addWidget(b);

    // The list shows several rows whatever the window adds below it.
    m_grid->view()->setMinimumHeight(m_grid->view()->horizontalHeader()->sizeHint().height() +
                                     kRowsShown * m_grid->view()->verticalHeader()->defaultSectionSize() + 4);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_grid, 1);
    layout->addLayout(m_form);
    layout->addLayout(m_extra);
    layout->addLayout(buttons);

    if (!spec.keyField.isEmpty()) {
        txtCodigo = addTextBox(QStringLiteral("txtCodigo"), QStringLiteral("Código:"), spec.keyField, 4);
        txtDescripcion =
            addTextBox(QStringLiteral("txtDescripcion"), QStringLiteral("Descripción:"), spec.descriptionField, 30);
    }

    if (spec.newHasAction)
        ui::connectGuarded(cmdNuevo, &QPushButton::clicked, this, &MaintenanceWindow::cmdNuevo_Click);
    ui::connectGuarded(cmdGuardar, &QPushButton::clicked, this, &MaintenanceWindow::cmdGuardar_Click);
    connect(cmdCerrar, &QPushButton::clicked, this, &QWidget::close);
    connect(m_adc, &store::DataControl::currentChanged, this, &MaintenanceWindow::rowChanged);
    resize(560, 480);
}

MaintenanceWindow::~MaintenanceWindow() = default;

void MaintenanceWindow::open()
{
    m_adc->refresh();
    m_grid->setDataSource(m_adc);
}

QLineEdit *MaintenanceWindow::addTextBox(const QString &name, const QString &label, const QString &field,
                                         int maxLength, const QString &mask)
{
    auto *edit = new QLineEdit(this);
    edit->setObjectName(name);
    edit->setMaxLength(maxLength);
    auto *caption = new QLabel(label, this);
    caption->setBuddy(edit);
    m_form->addRow(caption, edit);
    ui::FieldBinding::bind(edit, m_adc, field, mask);
    m_grid->setMaxLength(field, maxLength);
    addRowControl(edit);
    return edit;
}

QGridLayout *MaintenanceWindow::linkListLayout(const QList<QPair<QString, QWidget *>> &pickers, QWidget *add,
                                               QWidget *remove, QWidget *list)
{
    auto *grid = new QGridLayout;
    int row = 0;
    for (const auto &[caption, picker] : pickers) {
        grid->addWidget(new QLabel(caption, this), row++, 0, 1, 2);
        grid->addWidget(picker, row++, 0, 1, 2);
    }
    grid->addWidget(add, row, 0);
    grid->addWidget(remove, row++, 1);
    grid->addWidget(list, row, 0, 1, 2);
    grid->setRowStretch(row, 1);
    return grid;
}

void MaintenanceWindow::addRowControl(QWidget *control)
{
    m_rowControls << control;
    control->setEnabled(onRow());
}

bool MaintenanceWindow::onRow() const
{
    const int position = m_adc->absolutePosition();
    return position != store::DataControl::PosBOF && position != store::DataControl::PosEOF && position > 0;
}

void MaintenanceWindow::rowChanged()
{
    const bool on = onRow();
    for (QWidget *w : std::as_const(m_rowControls))
        w->setEnabled(on);
    currentRowChanged(on);
}

void MaintenanceWindow::currentRowChanged(bool) {}

void MaintenanceWindow::showRefusal(const std::exception &error)
{
    const auto *storeError = dynamic_cast<const store::StoreError *>(&error);
    ui::msgBox(storeError ? storeError->description() : QString::fromUtf8(error.what()), {},
               ui::Icon::Exclamation, this);
}

bool MaintenanceWindow::written(const std::function<void()> &write, const std::function<void()> &undo)
{
    try {
        write();
    } catch (const store::StoreError &e) {
        if (undo)
            undo();
        showRefusal(e);
        return false;
    }
    return true;
}

bool MaintenanceWindow::newRowPending()
{
    if (!m_adc->isNewRow())
        return false;
    ui::msgBox(QStringLiteral("Guarde primero el registro nuevo."), {}, ui::Icon::Exclamation, this);
    return true;
}

int MaintenanceWindow::findLinks(store::DataControl *links, const QString &statement)
{
    links->setRecordSource(statement);
    links->refresh();
    links->refresh();
    return links->recordCount();
}

bool MaintenanceWindow::addLink(store::DataControl *links, const QList<QPair<QString, QVariant>> &values)
{
    const bool ok = written(
        [&] {
            links->addNew();
            for (const auto &value : values)
                links->setValue(value.first, value.second);
            links->update();
        },
        [&] { links->cancelUpdate(); });
    if (!ok)
        return false;
    links->refresh();
    links->refresh();
    return true;
}

void MaintenanceWindow::removeLink(store::DataControl *links)
{
    written([&] { links->deleteCurrent(); });
    links->refresh();
    links->refresh();
}

void MaintenanceWindow::showLinks(store::DataControl *rows, const QString &statement, ui::BoundList *list)
{
    rows->setRecordSource(statement);
    rows->refresh();
    rows->refresh();
    list->refill();
}

void MaintenanceWindow::cmdNuevo_Click()
{
    // A pending change that the store refuses when the new row pushes it out stops here.
    if (!written([&] { m_adc->addNew(); }))
        return;
    cmdNuevo->setEnabled(false);
    cmdGuardar->setEnabled(true);
}

void MaintenanceWindow::cmdGuardar_Click()
{
    if (m_adc->hasCurrentRow() && !written([&] { m_adc->update(); }))
        return;
    m_adc->refresh();
    m_adc->refresh();
    m_grid->refresh();
    cmdNuevo->setEnabled(true);
}

}  // namespace admin

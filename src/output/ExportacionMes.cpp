#include "output/ExportacionMes.h"

#include "output/ExcelVb.h"
#include "session/modPrincipal.h"
#include "store/DataControl.h"
#include "store/SqlValue.h"
#include "ui/Dialogs.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

// A date turned into text the default way (day first under the Spanish settings).
QVariant dateAsText(const QVariant &value)
{
    QDate date;
    if (value.typeId() == QMetaType::QDate)
        date = value.toDate();
    else if (value.typeId() == QMetaType::QDateTime)
        date = value.toDateTime().date();
    else if (!value.isNull())
        date = QDate::fromString(value.toString().left(10), Qt::ISODate);
    if (!date.isValid())
        return value.isNull() ? QVariant() : QVariant(value.toString());
    // The apostrophe keeps it text, as a spreadsheet would otherwise read it as a date.
    return QStringLiteral("'") + output::spanishDate(date);
}

// A number column as a number, even if the driver hands it over as text.
QVariant asNumber(const QVariant &value)
{
    if (value.typeId() == QMetaType::QString) {
        bool ok = false;
        const double d = value.toString().toDouble(&ok);
        if (ok)
            return d;
    }
    return value;
}

}  // namespace

QString ExportacionMes::exportStatement(const QString &areId)
{
    return QStringLiteral(
               "SELECT F.FUNAPELLIDOS+', '+F.FUNNOMBRES, H.FUNCEDULA, H.HORFECHA, H.HORSEMANA, "
               "H.HORVALORHORA, H.HORHORAS, T.TIPDESCRIPCION, D.DESDESCRIPCION, ACT.ACTDESCRIPCION, "
               "ARE.AREID, ARE.AREDESCRIPCION, H.HORID FROM TIPOHORAS T, HORAS H, ACTIVIDADES ACT, "
               "AREAS ARE, DESTINOS D, FUNCIONARIOS F WHERE H.FUNCEDULA=F.FUNCEDULA AND "
               "H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID AND H.DESID=D.DESID AND H.TIPID=T.TIPID "
               "AND H.AREID=") +
           store::sql::text(areId) + QStringLiteral("ORDER BY H.HORFECHA");
}

QString ExportacionMes::defaultStatement(const QString &cedula)
{
    return QStringLiteral(
               "SELECT H.HORFECHA, H.HORSEMANA, H.HORVALORHORA, H.HORHORAS, T.TIPDESCRIPCION, "
               "D.DESDESCRIPCION, ACT.ACTDESCRIPCION, ARE.AREDESCRIPCION, H.HORID FROM TIPOHORAS T, "
               "HORAS H, ACTIVIDADES ACT, AREAS ARE, DESTINOS D WHERE H.ACTID=ACT.ACTID AND "
               "H.AREID=ARE.AREID AND H.DESID=D.DESID AND H.TIPID=T.TIPID AND H.FUNCEDULA=") +
           store::sql::text(cedula) + QStringLiteral(" ORDER BY H.HORFECHA");
}

// The workbook is written in the format of .xlsx files: a name typed with the old .xls
// extension, or with none, is saved under .xlsx so that spreadsheet programs open it
// without a warning.
QString ExportacionMes::workbookPath(const QString &typed)
{
    const QFileInfo info(typed);
    const QString suffix = info.suffix().toLower();
    if (suffix == QLatin1String("xlsx"))
        return typed;
    if (suffix == QLatin1String("xls"))
        return typed.left(typed.size() - 3) + QStringLiteral("xlsx");
    if (suffix.isEmpty() && !typed.endsWith(QLatin1Char('/')) && !typed.endsWith(QLatin1Char('\\')))
        return typed + QStringLiteral(".xlsx");
    return typed;
}

// Where the workbook went, when it is not the name typed.
QString ExportacionMes::savedWhere(const QString &typed, const QString &saved)
{
    if (typed == saved)
        return {};
    return QStringLiteral("\n\nEl libro se guardó como «%1».").arg(QDir::toNativeSeparators(saved));
}

QString ExportacionMes::proposedPath()
{
    return QDir::toNativeSeparators(
        QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
            .filePath(QStringLiteral("resumen.xlsx")));
}

void ExportacionMes::exportar(store::DataControl *adcMesActual, QWidget *parent,
                              const std::function<void()> &refreshGrid)
{
    if (!adcMesActual)
        return;
    // Whatever happens below, the list goes back to the person's default statement.
    struct GiveBack {
        store::DataControl *adc;
        const std::function<void()> &refreshGrid;
        ~GiveBack()
        {
            try {
                adc->setRecordSource(defaultStatement(modPrincipal::session().person.trimmed()));
                adc->refresh();
                if (refreshGrid)
                    refreshGrid();
            } catch (const std::exception &e) {
                ui::msgBox(QString::fromUtf8(e.what()), {}, ui::Icon::Exclamation);
            }
        }
    } giveBack{adcMesActual, refreshGrid};

    // The rows are read once, all of them: the count and the walk below read no more.
    adcMesActual->setRecordSource(exportStatement(modPrincipal::session().area));
    adcMesActual->refreshAll();
    ExcelVb xl;
    // Moving to the last row of an empty result fails, so the count comes first here.
    const int count = adcMesActual->recordCount();
    if (count >= 1)
        adcMesActual->moveLast();
    if (count < 1) {
        ui::msgBox(QStringLiteral("No hay horas del área para exportar."), {}, ui::Icon::Information, parent);
        return;
    }

    try {
        ui::setBusy(true);
        xl.Crear();
        xl.NewBook();
        xl.SetCell(QStringLiteral("Horas trabajadas en el area: ") + modPrincipal::session().area, QStringLiteral("A1"));
        const char *headings[] = {"CEDULA", "NOMBRE", "FECHA", "HORAS", "TIPO HORAS", "ACTIVIDAD", "VALOR HORA"};
        for (int c = 0; c < 7; ++c)
            xl.SetCell(QString::fromLatin1(headings[c]), QChar('A' + c) + QStringLiteral("3"));

        adcMesActual->moveFirst();
        // The columns are found once, on the first row (a missing one fails there as any
        // read by name does). The records are then read by position, without moving the
        // current row: a grid bound to the list would follow each move, selecting and
        // scrolling to every record.
        const auto field = [adcMesActual](const char *name) {
            adcMesActual->value(QLatin1String(name));
            return adcMesActual->fieldIndex(QLatin1String(name));
        };
        const int cedula = field("FUNCEDULA"), fecha = field("HORFECHA"), horas = field("HORHORAS"),
                  tipo = field("TIPDESCRIPCION"), actividad = field("ACTDESCRIPCION"), valor = field("HORVALORHORA");
        int row = 4;  // wide enough for any number of rows
        for (int record = 0; record < count; ++record, ++row) {
            const auto value = [adcMesActual, record](int column) { return adcMesActual->valueAt(record, column); };
            // One cell name per row, its column letter changed in place.
            QString cell = QLatin1Char('A') + QString::number(row);
            const auto in = [&cell](char column) -> const QString & {
                cell[0] = QLatin1Char(column);
                return cell;
            };
            xl.SetCell(value(cedula), in('A'));
            xl.SetCell(value(0), in('B'));
            xl.SetCell(dateAsText(value(fecha)), in('C'));
            xl.SetCell(asNumber(value(horas)), in('D'));
            xl.SetCell(value(tipo), in('E'));
            xl.SetCell(value(actividad), in('F'));
            xl.SetCell(asNumber(value(valor)), in('G'));
        }
        xl.CrearGrafico(QStringLiteral("A4"), QStringLiteral("D") + QString::number(row - 1));
        ui::setBusy(false);
    } catch (const output::WorkbookError &e) {
        ui::setBusy(false);
        ui::msgBox(QStringLiteral("No se pudo exportar a Excel: ") + e.message(), {}, ui::Icon::Exclamation, parent);
        return;
    } catch (...) {
        ui::setBusy(false);
        throw;
    }

    const auto answer = ui::inputBox(
        QStringLiteral("Ingrese el nombre de archivo y la carpeta donde desea guardar el documento de excel."),
        QStringLiteral("Guardar como"), proposedPath(), parent);
    const QString file = answer.value_or(QString());
    if (!file.isEmpty()) {
        const QString saved = workbookPath(file);
        try {
            xl.SaveAsBook(saved);
        } catch (const output::WorkbookError &e) {
            xl.Quitar();
            ui::msgBox(QStringLiteral("No se pudo guardar el archivo: ") + e.message(), {}, ui::Icon::Exclamation,
                       parent);
            return;
        }
        ui::msgBox(QStringLiteral("Se ha exportado a Excel con exito") + savedWhere(file, saved), {}, ui::Icon::None,
                   parent);
        xl.Quitar();
    } else {
        xl.Quitar();
        ui::msgBox(QStringLiteral("Se ha cancelado la exportación de los datos a Excel."), {}, ui::Icon::None,
                   parent);
    }
}

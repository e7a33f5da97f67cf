// The month export on a fresh store: the saved workbook read back and compared with the
// store, the boxes shown, and the "Mes en curso" list given back.

#include "Session.h"
#include "WindowFixture.h"

#include "output/ExportacionMes.h"
#include "workbook/WorkbookXlsx.h"
#include "session/modPrincipal.h"
#include "store/Connection.h"
#include "store/DataControl.h"
#include "ui/Application.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kPrompt =
    QStringLiteral("Ingrese el nombre de archivo y la carpeta donde desea guardar el documento de excel.");

// A reader of our own making is not a second opinion: when Python is at hand, the file is
// also read with its zip and XML modules, straight from the parts, as "A1\tvalue" lines.
const char *kPythonReader = R"(
import sys, zipfile, xml.etree.ElementTree as ET
ns = {'m': 'http://schemas.openxmlformats.org/spreadsheetml/2006/main'}
z = zipfile.ZipFile(sys.argv[1])
strings = []
if 'xl/sharedStrings.xml' in z.namelist():
    for si in ET.fromstring(z.read('xl/sharedStrings.xml')).findall('m:si', ns):
        strings.append(''.join(t.text or '' for t in si.iter('{%s}t' % ns['m'])))
book = ET.fromstring(z.read('xl/workbook.xml'))
rels = ET.fromstring(z.read('xl/_rels/workbook.xml.rels'))
target = {r.get('Id'): r.get('Target') for r in rels}
for s in book.find('m:sheets', ns):
    rid = s.get('{http://schemas.openxmlformats.org/officeDocument/2006/relationships}id')
    print('SHEET\t' + s.get('name') + '\t' + target[rid])
    if s.get('name') != sys.argv[2]:
        continue
    sheet = ET.fromstring(z.read('xl/' + target[rid].lstrip('/').replace('xl/', '')))
    for c in sheet.iter('{%s}c' % ns['m']):
        v = c.find('m:v', ns)
        if c.get('t') == 'inlineStr':
            value = ''.join(t.text or '' for t in c.iter('{%s}t' % ns['m']))
        elif v is None:
            continue
        else:
            value = strings[int(v.text)] if c.get('t') == 's' else v.text
        print(c.get('r') + '\t' + value)
    for col in sheet.iter('{%s}col' % ns['m']):
        for i in range(int(col.get('min')), int(col.get('max')) + 1):
            print('COL\t' + chr(64 + i) + '\t' + col.get('width'))
for name in z.namelist():
    if name.startswith('xl/charts/chart'):
        chart = ET.fromstring(z.read(name))
        c = '{http://schemas.openxmlformats.org/drawingml/2006/chart}'
        for f in chart.iter(c + 'f'):
            print('CHART\t' + f.text + '\t' + name)
        kinds = [e.tag[len(c):] for e in chart.iter() if e.tag in (c + 'pieChart', c + 'pie3DChart', c + 'view3D')]
        print('KIND\t' + '\t'.join(kinds))
)";

}  // namespace

class TestExport : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture.begin();
        m_store = &m_fixture.store();
        m_dialogs = &m_fixture.dialogs();
        tests::amendSession([&](core::Session &s) {
            s.area = QStringLiteral("DOC");
            s.person = QStringLiteral("22222222 ");
            s.role = 6;
        });
        m_adc = std::make_unique<store::DataControl>(QStringLiteral("adcMesActual"));
        // A sorted list stands on the grid before the export.
        m_adc->setRecordSource(QStringLiteral("SELECT * FROM HORAS ORDER BY HORID DESC"));
        m_adc->refresh();
        m_gridRefreshed = 0;
    }
    void cleanup()
    {
        store::Connection::setStatementObserver({});
        m_adc.reset();
        m_fixture.end();
    }

    void exportSavesTheAreaHours()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("resumen.xlsx"));
        m_dialogs->typeNext(path);
        run();

        QCOMPARE(m_dialogs->count(), 2);
        const auto input = m_dialogs->shown().at(0);
        QCOMPARE(input.kind, ScriptedDialogs::Kind::Input);
        QCOMPARE(input.text, kPrompt);
        QCOMPARE(input.title, QStringLiteral("Guardar como"));
        QCOMPARE(input.defaultText, ExportacionMes::proposedPath());
        QVERIFY(input.defaultText.endsWith(QStringLiteral("resumen.xlsx")));
        QVERIFY(!input.busy);  // the pointer is back before the question
        QCOMPARE(m_dialogs->last().text, QStringLiteral("Se ha exportado a Excel con exito"));
        QCOMPARE(m_dialogs->last().buttons, ui::Buttons::Ok);
        QVERIFY(m_dialogs->busyHistory().contains(true));
        QVERIFY(!ui::isBusy());
        checkGivenBack();

        const store::ResultSet expected = m_store->select(ExportacionMes::exportStatement(QStringLiteral("DOC")));
        QVERIFY(expected.rows.size() > 1);
        const int last = 3 + int(expected.rows.size());
        const output::Workbook book = output::loadXlsx(path);
        QCOMPARE(int(book.sheets.size()), 2);
        const output::Sheet &chart = book.sheets[0];
        QCOMPARE(chart.name, QStringLiteral("Chart1"));
        QVERIFY(chart.isChart());
        QCOMPARE(chart.chart->sourceSheet, QStringLiteral("Sheet1"));
        QCOMPARE(chart.chart->source, output::parseRange(QStringLiteral("A4:D%1").arg(last)));
        QVERIFY(!chart.chart->hasTitle);

        const output::Sheet &s = book.sheets[1];
        QCOMPARE(s.name, QStringLiteral("Sheet1"));
        QCOMPARE(s.cell(1, 1).value.toString(), QStringLiteral("Horas trabajadas en el area: DOC"));
        QCOMPARE(s.lastRow(), last);
        QCOMPARE(s.lastColumn(), 7);
        for (int c = 1; c <= 7; ++c)
            QVERIFY(s.cell(2, c).isEmpty());
        QStringList headings;
        for (int c = 1; c <= 7; ++c)
            headings << s.cell(3, c).value.toString();
        QCOMPARE(headings, (QStringList{"CEDULA", "NOMBRE", "FECHA", "HORAS", "TIPO HORAS", "ACTIVIDAD", "VALOR HORA"}));
        QSet<QString> names;
        for (int i = 0; i < int(expected.rows.size()); ++i) {
            const store::Row &e = expected.rows[i];
            const int r = 4 + i;
            QCOMPARE(s.cell(r, 1).value.toDouble(), e.at(1).toString().toDouble());
            QCOMPARE(s.cell(r, 2).value.toString(), e.at(0).toString());
            QCOMPARE(int(s.cell(r, 3).kind), int(output::Cell::Kind::Text));
            QCOMPARE(s.cell(r, 3).value.toString(), e.at(2).toDate().toString(QStringLiteral("dd/MM/yyyy")));
            QCOMPARE(s.cell(r, 4).value.toDouble(), e.at(5).toDouble());
            QCOMPARE(s.cell(r, 5).value.toString(), e.at(6).toString());
            QCOMPARE(s.cell(r, 6).value.toString(), e.at(8).toString());
            QCOMPARE(s.cell(r, 7).value.toDouble(), e.at(4).toDouble());
            names << e.at(0).toString();
        }
        QVERIFY(names.size() > 1);  // all of the area's staff, each with their own name

        secondOpinion(path, expected);
    }

    // A name typed with the old .xls extension (or none) is saved as .xlsx, the format the
    // workbook is in, and the message says where it went.
    void oldExtensionSavedAsXlsx_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("saved");
        QTest::newRow("xls") << "resumen.xls" << "resumen.xlsx";
        QTest::newRow("XLS") << "Horas.XLS" << "Horas.xlsx";
        QTest::newRow("sin extensión") << "horas" << "horas.xlsx";
        QTest::newRow("xlsx") << "ya.xlsx" << "ya.xlsx";
    }
    void oldExtensionSavedAsXlsx()
    {
        QFETCH(QString, typed);
        QFETCH(QString, saved);
        QTemporaryDir dir;
        m_dialogs->typeNext(dir.filePath(typed));
        run();
        QVERIFY(QFile::exists(dir.filePath(saved)));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{saved});
        QVERIFY(m_dialogs->last().text.startsWith(QStringLiteral("Se ha exportado a Excel con exito")));
        if (typed != saved)
            QVERIFY2(m_dialogs->last().text.contains(QDir::toNativeSeparators(dir.filePath(saved))),
                     qPrintable(m_dialogs->last().text));
        QCOMPARE(int(output::loadXlsx(dir.filePath(saved)).sheets.size()), 2);
    }

    // No file comes out of a cancelled or empty answer, nor of a folder that is not there;
    // each says why.
    void nothingSaved_data()
    {
        QTest::addColumn<QString>("typed");  // null: cancelled
        QTest::addColumn<QString>("message");
        const QString cancelled = QStringLiteral("Se ha cancelado la exportación de los datos a Excel.");
        QTest::newRow("cancelled") << QString() << cancelled;
        QTest::newRow("left empty") << QStringLiteral("") << cancelled;
        QTest::newRow("unwritable") << QStringLiteral("no/existe/resumen.xlsx")
                                    << QStringLiteral("No se pudo guardar el archivo: ");
    }
    void nothingSaved()
    {
        QFETCH(QString, typed);
        QFETCH(QString, message);
        const QDir documents(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
        const bool existedBefore = documents.exists(QStringLiteral("resumen.xlsx"));
        QTemporaryDir dir;
        const QString path = typed.isEmpty() ? typed : dir.filePath(typed);
        if (typed.isNull())
            m_dialogs->cancelNextInput();
        else
            m_dialogs->typeNext(path);
        run();
        QCOMPARE(m_dialogs->count(), 2);
        QCOMPARE(m_dialogs->texts().first(), kPrompt);
        QVERIFY2(m_dialogs->last().text.startsWith(message), qPrintable(m_dialogs->last().text));
        QCOMPARE(documents.exists(QStringLiteral("resumen.xlsx")), existedBefore);
        if (!path.isEmpty())
            QVERIFY(!QFileInfo::exists(path));
        checkGivenBack();
    }

    void areaWithoutHours()
    {
        m_store->execNative(QStringLiteral("DELETE FROM HORAS_RUBROS_MATERIAS WHERE HorId IN "
                                           "(SELECT HorId FROM HORAS WHERE AreId = 'INV')"));
        m_store->execNative(QStringLiteral("DELETE FROM HORAS WHERE AreId = 'INV'"));
        tests::amendSession([&](core::Session &s) { s.area = QStringLiteral("INV"); });
        run();
        QCOMPARE(m_dialogs->texts(), QStringList{QStringLiteral("No hay horas del área para exportar.")});
        QVERIFY(m_dialogs->busyHistory().isEmpty() || !m_dialogs->busyHistory().contains(true));
        checkGivenBack();
    }

    void oneRecordMakesRowsOneToFour()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("uno.xlsx"));
        const store::ResultSet inv = m_store->select(ExportacionMes::exportStatement(QStringLiteral("INV")));
        QVERIFY(!inv.rows.empty());
        const QVariant keep = inv.rows.front().back();  // HORID of the first row
        m_store->execNative(QStringLiteral("DELETE FROM HORAS_RUBROS_MATERIAS WHERE HorId IN "
                                           "(SELECT HorId FROM HORAS WHERE AreId = 'INV' AND HorId <> ?)"),
                            {keep});
        m_store->execNative(QStringLiteral("DELETE FROM HORAS WHERE AreId = 'INV' AND HorId <> ?"), {keep});
        tests::amendSession([&](core::Session &s) { s.area = QStringLiteral("INV"); });
        m_dialogs->typeNext(path);
        run();
        const output::Workbook book = output::loadXlsx(path);
        QCOMPARE(book.sheets[0].chart->source, output::parseRange(QStringLiteral("A4:D4")));
        QCOMPARE(book.sheets[1].lastRow(), 4);
    }

private:
    // The export, with every statement it sends to the store noted.
    void run()
    {
        m_statements.clear();
        store::Connection::setStatementObserver([this](const QString &sql) { m_statements << sql; });
        ExportacionMes::exportar(m_adc.get(), nullptr, [this] { ++m_gridRefreshed; });
        store::Connection::setStatementObserver({});
    }

    // The list is back on the person's default statement, read, and the grid refreshed.
    void checkGivenBack()
    {
        QCOMPARE(m_adc->recordSource(), ExportacionMes::defaultStatement(QStringLiteral("22222222")));
        QVERIFY(m_adc->recordSource().contains(QStringLiteral("H.FUNCEDULA='22222222' ORDER BY")));
        QCOMPARE(m_adc->recordCount(),
                 int(m_store->select(ExportacionMes::defaultStatement(QStringLiteral("22222222"))).rows.size()));
        QCOMPARE(m_gridRefreshed, 1);
        // The area's hours are read once, whole, with no count beside them; the list
        // given back is read once.
        QCOMPARE(m_statements.size(), 2);
        QVERIFY2(m_statements[0].contains(QStringLiteral("FUNCIONARIOS F"), Qt::CaseInsensitive),
                 qPrintable(m_statements[0]));
        QVERIFY2(!m_statements[1].contains(QStringLiteral("FUNCIONARIOS F"), Qt::CaseInsensitive),
                 qPrintable(m_statements[1]));
    }

    void secondOpinion(const QString &path, const store::ResultSet &expected)
    {
        const QString python = QStandardPaths::findExecutable(QStringLiteral("python3"));
        if (python.isEmpty()) {
            qInfo("python3 is not installed: no second reading of the file");
            return;
        }
        QProcess p;
        p.start(python, {QStringLiteral("-c"), QString::fromLatin1(kPythonReader), path, QStringLiteral("Sheet1")});
        QVERIFY(p.waitForFinished(60000));
        QCOMPARE(p.exitCode(), 0);
        QHash<QString, QString> cells;
        QStringList sheets, chartRanges, chartKinds;
        QHash<QString, double> widths;
        for (const QString &line : QString::fromUtf8(p.readAllStandardOutput()).split(QLatin1Char('\n'))) {
            const QStringList parts = line.split(QLatin1Char('\t'));
            if (parts.size() == 3 && parts[0] == QLatin1String("SHEET"))
                sheets << parts[1] + QLatin1Char(' ') + parts[2].section(QLatin1Char('/'), -2, -2);
            else if (parts.size() == 3 && parts[0] == QLatin1String("CHART"))
                chartRanges << parts[1];
            else if (parts.size() == 3 && parts[0] == QLatin1String("KIND"))
                chartKinds << parts[1] + QLatin1Char(' ') + parts[2];
            else if (parts.size() == 3 && parts[0] == QLatin1String("COL"))
                widths.insert(parts[1], parts[2].toDouble());
            else if (parts.size() == 2)
                cells.insert(parts[0], parts[1]);
        }
        QCOMPARE(sheets, (QStringList{"Chart1 chartsheets", "Sheet1 worksheets"}));
        const QString last = QString::number(3 + int(expected.rows.size()));
        QCOMPARE(chartRanges, (QStringList{"Sheet1!$A$4:$A$" + last, "Sheet1!$D$4:$D$" + last}));
        // A three-dimensional pie, tilted.
        QCOMPARE(chartKinds, (QStringList{"view3D pie3DChart"}));
        // Every column that shows a number, a date or a text with something beside it has
        // a width as wide as its widest such cell (no ### in a spreadsheet program).
        for (const char *column : {"A", "B", "C", "D", "E", "F", "G"}) {
            double widest = 0;
            for (int i = 0; i < int(expected.rows.size()); ++i)
                widest = std::max<double>(widest, cells.value(column + QString::number(4 + i)).size());
            QVERIFY2(widths.value(QString::fromLatin1(column)) >= widest, column);
        }
        QCOMPARE(cells.value("A1"), QStringLiteral("Horas trabajadas en el area: DOC"));
        QCOMPARE(cells.value("G3"), QStringLiteral("VALOR HORA"));
        for (int i = 0; i < int(expected.rows.size()); ++i) {
            const QString r = QString::number(4 + i);
            QCOMPARE(cells.value("A" + r).toDouble(), expected.rows[i].at(1).toString().toDouble());
            QCOMPARE(cells.value("B" + r), expected.rows[i].at(0).toString());
            QCOMPARE(cells.value("C" + r), expected.rows[i].at(2).toDate().toString(QStringLiteral("dd/MM/yyyy")));
            QCOMPARE(cells.value("D" + r).toDouble(), expected.rows[i].at(5).toDouble());
        }
    }

    tests::WindowFixture m_fixture;
    tests::TempStore *m_store = nullptr;
    ScriptedDialogs *m_dialogs = nullptr;
    std::unique_ptr<store::DataControl> m_adc;
    int m_gridRefreshed = 0;
    QStringList m_statements;
};

TEMPALIA_TEST_MAIN(TestExport)
#include "tst_export.moc"

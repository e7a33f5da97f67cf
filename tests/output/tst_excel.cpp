// ExcelVb on its own: what each operation leaves in the workbook, and the .xlsx round trip.

#include "ScriptedDialogs.h"
#include "TempStore.h"

#include "output/ExcelVb.h"
#include "ui/Application.h"
#include "output/WorkbookWindow.h"
#include "workbook/WorkbookXlsx.h"

#include <QPrinter>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QtTest>
#include <QXmlStreamReader>
#include <zip.h>

using output::Cell;
using output::Sheet;

namespace {

const Sheet &active(ExcelVb &xl)
{
    return xl.application()->activeWorkbook().activeSheet();
}

const Cell &at(ExcelVb &xl, const QString &name)
{
    const output::CellRange r = output::parseRange(name);
    return active(xl).cell(r.top, r.left);
}

QString text(ExcelVb &xl, const QString &name)
{
    const output::CellRange r = output::parseRange(name);
    return active(xl).cell(r.top, r.left).displayText(r.top, r.left);
}

QStringList sheetNames(ExcelVb &xl)
{
    QStringList names;
    for (const Sheet &s : xl.application()->activeWorkbook().sheets)
        names << s.name;
    return names;
}

void fill(ExcelVb &xl, const QStringList &rows, int firstRow = 1)
{
    for (int r = 0; r < rows.size(); ++r) {
        const QStringList cells = rows[r].split(QLatin1Char('|'));
        for (int c = 0; c < cells.size(); ++c)
            xl.SetCell(cells[c], output::columnName(c + 1) + QString::number(firstRow + r));
    }
}

QStringList column(ExcelVb &xl, const QString &col, int from, int to)
{
    QStringList out;
    for (int r = from; r <= to; ++r)
        out << text(xl, col + QString::number(r));
    return out;
}

// The values a saved chart keeps beside its references, read from its part: for each of
// c:cat and c:val, "numRef" or "strRef", the point count and "index=value" per point.
QStringList chartCaches(const QString &path)
{
    QStringList out;
    int error = 0;
    zip_t *z = zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, &error);
    if (!z)
        return {QStringLiteral("no zip")};
    zip_stat_t st;
    QByteArray xml;
    if (zip_stat(z, "xl/charts/chart1.xml", 0, &st) == 0) {
        xml.resize(qsizetype(st.size));
        zip_file_t *f = zip_fopen(z, "xl/charts/chart1.xml", 0);
        if (f) {
            zip_fread(f, xml.data(), st.size);
            zip_fclose(f);
        }
    }
    zip_discard(z);
    QXmlStreamReader r(xml);
    QString line;
    while (!r.atEnd()) {
        r.readNext();
        if (r.isStartElement() && (r.name() == u"numRef" || r.name() == u"strRef"))
            line = r.name().toString();
        else if (r.isStartElement() && r.name() == u"ptCount")
            line += QLatin1Char(' ') + r.attributes().value(QLatin1String("val")).toString();
        else if (r.isStartElement() && r.name() == u"pt")
            line += QLatin1Char(' ') + r.attributes().value(QLatin1String("idx")).toString() + QLatin1Char('=');
        else if (r.isStartElement() && r.name() == u"v")
            line += r.readElementText();
        else if (r.isEndElement() && (r.name() == u"numRef" || r.name() == u"strRef"))
            out << line;
    }
    if (r.hasError())
        out << r.errorString();
    return out;
}

// An application with a new workbook, as the windows start every export.
struct Book : ExcelVb {
    Book()
    {
        Crear();
        NewBook();
    }
};

}  // namespace

class TestExcel : public QObject {
    Q_OBJECT

private slots:
    void init() { m_dialogs = std::make_unique<InstalledDialogs>(); }
    void cleanup() { m_dialogs.reset(); }

    void newBookHasOneActiveSheet()
    {
        ExcelVb xl;
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.NewBook());
        xl.Crear();
        QVERIFY(!xl.application()->isVisible());
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.SetCell(1, QStringLiteral("A1")));
        xl.NewBook();
        QCOMPARE(sheetNames(xl), QStringList{QStringLiteral("Sheet1")});
        xl.NewDinamicTableExtern();
        QVERIFY(active(xl).cells.empty());
        xl.Quitar();
        QVERIFY(!xl.application());
    }

    void setCell_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("cell");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QVariant>("expected");  // value, or the formula in A1 form

        const auto N = int(Cell::Kind::Number), T = int(Cell::Kind::Text), D = int(Cell::Kind::Date),
                   F = int(Cell::Kind::Formula), E = int(Cell::Kind::Empty), B = int(Cell::Kind::Boolean);
        QTest::newRow("relative sum") << QVariant("=SUM(R[-4]C:R[-1]C)") << "C7" << F << QVariant("=SUM(C3:C6)");
        QTest::newRow("absolute and relative") << QVariant("=R1C1+RC[1]*2") << "B2" << F << QVariant("=$A$1+C2*2");
        QTest::newRow("text in formula kept") << QVariant("=\"RC\"&R[1]C") << "A1" << F << QVariant("=\"RC\"&A2");
        QTest::newRow("thousands, decimal comma") << QVariant("1.234,5") << "A1" << N << QVariant(1234.5);
        QTest::newRow("dot decimal") << QVariant("3.75") << "A1" << N << QVariant(3.75);
        QTest::newRow("day first date") << QVariant("04/11/2001") << "A1" << D << QVariant(QDate(2001, 11, 4));
        QTest::newRow("month name date") << QVariant("4-nov-01") << "A1" << D << QVariant(QDate(2001, 11, 4));
        QTest::newRow("not a date") << QVariant("31/02/2001") << "A1" << T << QVariant("31/02/2001");
        QTest::newRow("apostrophe keeps text") << QVariant("'0123") << "A1" << T << QVariant("0123");
        QTest::newRow("number value") << QVariant(7) << "A1" << N << QVariant(7.0);
        QTest::newRow("date value") << QVariant(QDate(2024, 3, 1)) << "A1" << D << QVariant(QDate(2024, 3, 1));
        QTest::newRow("yes") << QVariant("verdadero") << "A1" << B << QVariant(true);
        QTest::newRow("empty clears") << QVariant("") << "A1" << E << QVariant();
        QTest::newRow("name, absolute cell") << QVariant("Pérez, Ana") << "$B$12" << T << QVariant("Pérez, Ana");
        QTest::newRow("signed number, lower case cell") << QVariant(" -12,5 ") << " xfd1048576 " << N << QVariant(-12.5);
    }
    void setCell()
    {
        QFETCH(QVariant, value);
        QFETCH(QString, cell);
        QFETCH(int, kind);
        QFETCH(QVariant, expected);
        Book xl;
        xl.SetCell(QStringLiteral("antes"), cell);
        xl.SetCell(QStringLiteral("otro"), QStringLiteral("Z1"));
        xl.SetCell(value, cell);
        const Cell &c = at(xl, cell);
        QCOMPARE(int(c.kind), kind);
        const output::CellRange r = output::parseRange(cell);
        if (kind == int(Cell::Kind::Formula))
            QCOMPARE(active(xl).formulaA1(r.top, r.left), expected.toString());
        else if (kind != int(Cell::Kind::Empty))
            QCOMPARE(c.value, expected);
        // The written cell is left selected and active.
        QCOMPARE(active(xl).selection, r);
        QCOMPARE(active(xl).activeRow, r.top);
        QCOMPARE(active(xl).activeColumn, r.left);
    }

    void badCellNamesFail_data()
    {
        QTest::addColumn<QString>("cell");
        for (const char *bad : {"", "A0", "1A", "XFE1", "A1:B", "A1:B2:C3", "hola", "$", "A$$1", "AAAA1",
                                "A12345678", "A1048577", "A 1", "A1$", "Ñ1"})
            QTest::newRow(bad) << QString::fromLatin1(bad);
    }
    void badCellNamesFail()
    {
        QFETCH(QString, cell);
        Book xl;
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.SetCell(1, cell));
        QVERIFY(active(xl).cells.empty());
    }

    // Inserting and removing act on whole rows and columns; cells and references follow.
    void insertAndRemoveRowsAndColumns()
    {
        Book xl;
        fill(xl, {"a1|b1|c1", "a2|b2|c2", "a3|b3|c3"});
        xl.SetCell(QStringLiteral("=SUM(R[-3]C:R[-1]C)"), QStringLiteral("B4"));  // B1:B3

        xl.InsertRow(QStringLiteral("B2"));
        QCOMPARE(column(xl, "A", 1, 4), (QStringList{"a1", "", "a2", "a3"}));
        QCOMPARE(text(xl, "C3"), QStringLiteral("c2"));
        QCOMPARE(active(xl).formulaA1(5, 2), QStringLiteral("=SUM(B1:B4)"));
        QCOMPARE(active(xl).selection, output::parseRange("B2"));

        xl.RemoveRow(QStringLiteral("C1"));
        QCOMPARE(column(xl, "A", 1, 3), (QStringList{"", "a2", "a3"}));
        QCOMPARE(active(xl).formulaA1(4, 2), QStringLiteral("=SUM(B1:B3)"));

        xl.InsertColumn(QStringLiteral("A2"));
        QCOMPARE(text(xl, "B2"), QStringLiteral("a2"));
        QCOMPARE(text(xl, "D3"), QStringLiteral("c3"));
        QVERIFY(at(xl, "A2").isEmpty());
        QCOMPARE(active(xl).formulaA1(4, 3), QStringLiteral("=SUM(C1:C3)"));

        xl.RemoveColumn(QStringLiteral("C1:D1"));  // both whole columns
        QCOMPARE(text(xl, "B3"), QStringLiteral("a3"));
        QVERIFY(at(xl, "C3").isEmpty());
        QVERIFY(at(xl, "C4").isEmpty());  // the formula went with its column

        // A single reference to a removed row becomes #REF!.
        xl.SetCell(QStringLiteral("=R[-1]C"), QStringLiteral("B4"));
        xl.RemoveRow(QStringLiteral("B3"));
        QCOMPARE(active(xl).formulaA1(3, 2), QStringLiteral("=#REF!"));
    }

    void sortByTwoKeys()
    {
        Book xl;
        fill(xl, {"NOMBRE|HORAS|X", "beta|3|1", "Alfa|5|2", "beta|1|3", "", "alfa|2|4"});
        xl.SetCell(QStringLiteral("suelto"), QStringLiteral("A8"));
        xl.SelCell(QStringLiteral("A1:C6"));
        // Key 1: the active cell's column (A); key 2: "A1" taken from the column right of it (B).
        xl.SortCell(QStringLiteral("A1"));
        QCOMPARE(column(xl, "A", 1, 6), (QStringList{"NOMBRE", "alfa", "Alfa", "beta", "beta", ""}));
        QCOMPARE(column(xl, "B", 1, 6), (QStringList{"HORAS", "2", "5", "1", "3", ""}));
        QCOMPARE(column(xl, "C", 2, 5), (QStringList{"4", "2", "3", "1"}));  // rows move whole
        QCOMPARE(text(xl, "A8"), QStringLiteral("suelto"));                   // outside: untouched

        // A second key outside the sorted range is refused.
        xl.SelCell(QStringLiteral("A1:B6"));
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.SortCell(QStringLiteral("B1")));

        // A single cell selected sorts the block around it.
        fill(xl, {"3|c", "1|a", "2|b"}, 10);
        xl.SelCell(QStringLiteral("A11"));
        xl.SortCell(QStringLiteral("A1"));
        QCOMPARE(column(xl, "A", 10, 12), (QStringList{"1", "2", "3"}));
        QCOMPARE(column(xl, "B", 10, 12), (QStringList{"a", "b", "c"}));
    }

    void sheetsRenameRemoveInsert()
    {
        Book xl;
        xl.InsertSheet();  // before the active one, and made active
        QCOMPARE(sheetNames(xl), (QStringList{"Sheet2", "Sheet1"}));
        QCOMPARE(active(xl).name, QStringLiteral("Sheet2"));

        xl.RenameSheet(QStringLiteral("Sheet1"), QStringLiteral("Datos"));
        QCOMPARE(sheetNames(xl), (QStringList{"Sheet2", "Datos"}));
        QCOMPARE(active(xl).name, QStringLiteral("Datos"));
        xl.RenameSheet(1, QStringLiteral("Primera"));  // by position
        QCOMPARE(sheetNames(xl), (QStringList{"Primera", "Datos"}));
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.RenameSheet(QStringLiteral("datos"), "Primera"));
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.RenameSheet(2, QStringLiteral("a/b")));
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.RenameSheet(3, QStringLiteral("Otra")));
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.RenameSheet(QStringLiteral("Nada"), "Otra"));

        xl.SetCell(QStringLiteral("en datos"), QStringLiteral("A1"));
        xl.RemoveSheet(QStringLiteral("Primera"));
        QCOMPARE(sheetNames(xl), QStringList{QStringLiteral("Datos")});
        QCOMPARE(text(xl, "A1"), QStringLiteral("en datos"));
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.RemoveSheet(QStringLiteral("Datos")));
        xl.InsertSheet();
        QCOMPARE(sheetNames(xl), (QStringList{"Sheet3", "Datos"}));
    }

    void sumarColumnaSumsTheFourCellsAbove()
    {
        Book xl;
        fill(xl, {"x|10", "x|1", "x|2", "x|3", "x|4"});
        xl.SumarColumna(QStringLiteral("A1"), 6, QStringLiteral(" B"));
        QCOMPARE(active(xl).formulaA1(6, 2), QStringLiteral("=SUM(B2:B5)"));
        QCOMPARE(active(xl).activeRow, 6);
        QCOMPARE(active(xl).activeColumn, 2);
        // Inside the selection only the active cell moves.
        xl.SelCell(QStringLiteral("A1:D9"));
        xl.SumarColumna(QStringLiteral("A1:D9"), 9, QStringLiteral("D"));
        QCOMPARE(active(xl).formulaA1(9, 4), QStringLiteral("=SUM(D5:D8)"));
        QCOMPARE(active(xl).selection, output::parseRange("A1:D9"));
    }

    void pivotTotals()
    {
        Book xl;
        fill(xl, {"CEDULA|NOMBRE|FECHA|HORAS", "222|Gómez, Jorge|02/01/2024|3", "111|Pérez, Ana|01/01/2024|2",
                  "111|Pérez, Ana|01/01/2024|4", "111|Pérez, Ana|02/01/2024|1", "222|Gómez, Jorge|02/01/2024|5"});
        xl.NewDinamicTableSheet(QStringLiteral("A1:D6"));
        QCOMPARE(sheetNames(xl), (QStringList{"Sheet2", "Sheet1"}));
        const Sheet &p = active(xl);
        QCOMPARE(p.pivotTable, QStringLiteral("Tabla dinámica1"));
        auto row = [&](int r, int columns) {
            QStringList out;
            for (int c = 1; c <= columns; ++c)
                out << p.cell(r, c).displayText(r, c);
            return out;
        };
        QCOMPARE(row(3, 3), (QStringList{"Suma de HORAS", "CEDULA", "FECHA"}));
        QCOMPARE(row(4, 7), (QStringList{"", "111", "", "111 Total", "222", "222 Total", "Total general"}));
        QCOMPARE(row(5, 5), (QStringList{"NOMBRE", "01/01/2024", "02/01/2024", "", "02/01/2024"}));
        QCOMPARE(row(6, 7), (QStringList{"Gómez, Jorge", "", "", "", "8", "8", "8"}));
        QCOMPARE(row(7, 7), (QStringList{"Pérez, Ana", "6", "1", "7", "", "", "7"}));
        QCOMPARE(row(8, 7), (QStringList{"Total general", "6", "1", "7", "8", "8", "15"}));

        xl.SelCell(QStringLiteral("A1"));
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.NewDinamicTableSheet(QStringLiteral("B1:D6")));
    }

    void chartOnItsOwnSheet_data()
    {
        QTest::addColumn<QString>("firstSheet");
        QTest::addColumn<QStringList>("answers");  // input boxes, in order; "<cancel>" cancels
        QTest::addColumn<bool>("fails");
        QTest::newRow("Sheet1: nothing asked") << "Sheet1" << QStringList{} << false;
        QTest::newRow("renamed: asked once") << "Hoja1" << QStringList{"Hoja1"} << false;
        QTest::newRow("wrong answer fails") << "Hoja1" << QStringList{"Sheet9"} << true;
        QTest::newRow("cancel fails") << "Hoja1" << QStringList{"<cancel>"} << true;
    }
    void chartOnItsOwnSheet()
    {
        QFETCH(QString, firstSheet);
        QFETCH(QStringList, answers);
        QFETCH(bool, fails);
        Book xl;
        xl.RenameSheet(1, firstSheet);
        fill(xl, {"111|Ana|01/01/2024|3", "222|Jorge|02/01/2024|5"}, 4);
        for (const QString &a : answers) {
            if (a == QLatin1String("<cancel>"))
                m_dialogs->cancelNextInput();
            else
                m_dialogs->typeNext(a);
        }
        if (fails) {
            QVERIFY_THROWS_EXCEPTION(output::WorkbookError,
                                     xl.CrearGrafico(QStringLiteral("A4"), QStringLiteral("D5")));
        } else {
            xl.CrearGrafico(QStringLiteral("A4"), QStringLiteral("D5"));
        }
        QCOMPARE(m_dialogs->count(), int(answers.size()));
        if (!answers.isEmpty()) {
            const auto box = m_dialogs->shown().first();
            QCOMPARE(box.kind, ScriptedDialogs::Kind::Input);
            QCOMPARE(box.title, QStringLiteral("Problema con la configuración de Excel"));
            QCOMPARE(box.text, QStringLiteral("Ingrese el nombre que su excel le otorga a las hojas nuevas. Si no lo "
                                              "sabe, simplemente cree una planilla en blanco en Excel y fijese el "
                                              "nombre de las hojas, luego coloque ese nombre en este cuadro de "
                                              "dialogo. "));
            QCOMPARE(box.defaultText, QStringLiteral("Sheet1"));
        }
        const Sheet &chart = active(xl);
        QVERIFY(chart.isChart());  // steps 2 and 3 stand even when the source failed
        QCOMPARE(sheetNames(xl), (QStringList{"Chart1", firstSheet}));
        if (fails)
            return;
        QCOMPARE(chart.chart->sourceSheet, firstSheet);
        QCOMPARE(chart.chart->source, output::parseRange("A4:D5"));
        QVERIFY(chart.chart->byColumns);
        QVERIFY(!chart.chart->hasTitle);
        QCOMPARE(chart.chart->type, output::ChartSpec::Pie3D);
        const auto slices = xl.application()->activeWorkbook().chartSlices(*chart.chart);
        QCOMPARE(int(slices.size()), 2);
        QCOMPARE(slices[1].label, QStringLiteral("222"));
        QCOMPARE(slices[1].value, 5.0);
    }

    // The saved chart keeps the values it draws beside its references, for readers that
    // show it without recomputing: numbers as numbers, texts (escaped) as texts, a blank
    // cell without a point.
    void savedChartKeepsItsValues_data()
    {
        QTest::addColumn<QStringList>("rows");  // from A4 on
        QTest::addColumn<QStringList>("caches");
        QTest::newRow("numbers") << QStringList{"111|Ana|01/01/2024|3", "222|Jorge|02/01/2024|5,5"}
                                 << QStringList{"numRef 2 0=111 1=222", "numRef 2 0=3 1=5.5"};
        QTest::newRow("texts and a blank") << QStringList{"'007|x|y|2", "R&D <1>|x|y|4", "|x|y|1"}
                                           << QStringList{"strRef 3 0=007 1=R&D <1>", "numRef 3 0=2 1=4 2=1"};
    }
    void savedChartKeepsItsValues()
    {
        QFETCH(QStringList, rows);
        QFETCH(QStringList, caches);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("grafico.xlsx"));
        Book xl;
        fill(xl, rows, 4);
        xl.CrearGrafico(QStringLiteral("A4"), QStringLiteral("D") + QString::number(3 + rows.size()));
        xl.SaveAsBook(path);
        QCOMPARE(chartCaches(path), caches);
    }

    void autofilterToggles()
    {
        Book xl;
        fill(xl, {"A|B", "1|2", "3|4"}, 2);
        xl.SetCell(QStringLiteral("lejos"), QStringLiteral("F10"));
        xl.InsertarAutofiltro(QStringLiteral("B3"));
        QVERIFY(active(xl).autoFilter);
        QCOMPARE(*active(xl).autoFilter, output::parseRange("A2:B4"));
        xl.InsertRow(QStringLiteral("A1"));
        QCOMPARE(*active(xl).autoFilter, output::parseRange("A3:B5"));
        xl.InsertarAutofiltro(QStringLiteral("A3"));
        QVERIFY(!active(xl).autoFilter);
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.InsertarAutofiltro(QStringLiteral("D20")));
    }

    // Saved, then read back by OpenBook: values, formulas, dates, the chart and the state.
    void saveAndOpenRoundTrip()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("libro.xlsx"));
        Book xl;
        fill(xl, {"Horas trabajadas en el area: DOC", "", "CEDULA|NOMBRE|FECHA|HORAS", "11111111|Pérez, Ana|04/11/2001|2,5",
                  "22222222|Gómez, Jorge|05/11/2001|4"});
        xl.SetCell(QStringLiteral("=SUM(R[-2]C:R[-1]C)"), QStringLiteral("D6"));
        xl.SetCell(QStringLiteral("<&> \"comillas\""), QStringLiteral("E1"));
        xl.InsertarAutofiltro(QStringLiteral("A3"));
        xl.CrearGrafico(QStringLiteral("A4"), QStringLiteral("D5"));
        xl.SaveAsBook(path);
        QCOMPARE(xl.application()->activeWorkbook().path, path);

        xl.OpenBook(path);
        QCOMPARE(int(xl.application()->workbooks.size()), 2);
        QCOMPARE(sheetNames(xl), (QStringList{"Chart1", "Sheet1"}));
        const output::Workbook &back = xl.application()->activeWorkbook();
        QCOMPARE(back.active, 0);
        QVERIFY(back.sheets[0].isChart());  // what the chart holds: tst_export reads it back
        const Sheet &s = back.sheets[1];
        QCOMPARE(s.cell(1, 1).value.toString(), QStringLiteral("Horas trabajadas en el area: DOC"));
        QCOMPARE(s.cell(4, 1).value, QVariant(11111111.0));
        QCOMPARE(s.cell(4, 3).value, QVariant(QDate(2001, 11, 4)));
        QCOMPARE(s.cell(4, 4).value, QVariant(2.5));
        QCOMPARE(s.formulaA1(6, 4), QStringLiteral("=SUM(D4:D5)"));
        QCOMPARE(s.cell(1, 5).value.toString(), QStringLiteral("<&> \"comillas\""));
        QVERIFY(s.autoFilter);
        QCOMPARE(*s.autoFilter, output::parseRange("A3:D6"));

        // SaveBook writes back where the workbook came from.
        xl.RemoveSheet(QStringLiteral("Chart1"));
        xl.SetCell(QStringLiteral("nuevo"), QStringLiteral("A2"));
        xl.SaveBook();
        const output::Workbook again = output::loadXlsx(path);
        QCOMPARE(int(again.sheets.size()), 1);
        QCOMPARE(again.sheets[0].cell(2, 1).value.toString(), QStringLiteral("nuevo"));
    }

    void badFilesFail()
    {
        QTemporaryDir dir;
        Book xl;
        xl.SetCell(1, QStringLiteral("A1"));
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.SaveAsBook(dir.filePath("no/existe/x.xlsx")));
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.SaveAsBook(dir.path()));
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.OpenBook(dir.filePath("falta.xlsx")));
        QFile junk(dir.filePath("junk.xlsx"));
        QVERIFY(junk.open(QIODevice::WriteOnly));
        junk.write("no es un libro");
        junk.close();
        QVERIFY_THROWS_EXCEPTION(output::WorkbookError, xl.OpenBook(junk.fileName()));
        QCOMPARE(int(xl.application()->workbooks.size()), 1);
    }

    void printToPdf()
    {
        QTemporaryDir dir;
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        ExcelVb xl;
        xl.Crear();
        xl.application()->setPrinter(&printer);
        xl.NewBook();
        fill(xl, {"CEDULA|HORAS", "111|3", "222|5"});
        xl.CrearGrafico(QStringLiteral("A2"), QStringLiteral("B3"));
        auto printed = [&](const QString &name, const std::function<void()> &print) {
            const QString file = dir.filePath(name);
            printer.setOutputFileName(file);
            print();
            return QFileInfo(file).size();
        };
        QVERIFY(printed("chart.pdf", [&] { xl.PrintSheet(); }) > 0);
        QVERIFY(printed("book.pdf", [&] { xl.PrintBook(); }) > 0);
        xl.RemoveSheet(QStringLiteral("Chart1"));
        xl.SelCell(QStringLiteral("A1:B2"));
        QVERIFY(printed("sel.pdf", [&] { xl.PrintSelCell(QStringLiteral("C5")); }) > 0);
        QCOMPARE(active(xl).selection, output::parseRange("C5"));
        QCOMPARE(printer.copyCount(), 1);
    }

    void mostrarAndOcultar()
    {
        Book xl;
        xl.SetCell(QStringLiteral("hola"), QStringLiteral("B2"));
        xl.Mostrar();
        output::WorkbookWindow *w = xl.application()->window();
        QVERIFY(w && w->isVisible());
        QCOMPARE(w->tabs()->count(), 1);
        QCOMPARE(w->tabs()->tabText(0), QStringLiteral("Sheet1"));
        xl.InsertSheet();  // the window follows the workbook
        QCOMPARE(w->tabs()->count(), 2);
        QCOMPARE(w->tabs()->currentIndex(), 0);
        xl.Ocultar();
        QVERIFY(!w->isVisible());
        xl.Quitar();
    }

private:
    std::unique_ptr<InstalledDialogs> m_dialogs;
};

TEMPALIA_TEST_MAIN(TestExcel)
#include "tst_excel.moc"

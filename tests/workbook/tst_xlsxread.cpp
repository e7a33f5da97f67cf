// Reading workbooks that are damaged or built to hurt: each gives a WorkbookError with a
// Spanish sentence naming the file, never a crash, and never an allocation sized by what a
// header claims.


#include "workbook/Workbook.h"
#include "workbook/WorkbookXlsx.h"
#include "ui/Application.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <zip.h>

#include <functional>

namespace {

const QByteArray kContentTypes =
    "<?xml version=\"1.0\"?><Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\"/>";
const QByteArray kBookRels =
    "<?xml version=\"1.0\"?><Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
    "<Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet\" "
    "Target=\"worksheets/sheet1.xml\"/></Relationships>";
const QByteArray kBook =
    "<?xml version=\"1.0\"?><workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
    "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\"><sheets>"
    "<sheet name=\"Hoja1\" sheetId=\"1\" r:id=\"rId1\"/></sheets></workbook>";
const QByteArray kSheet =
    "<?xml version=\"1.0\"?><worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
    "<sheetData><row r=\"1\"><c r=\"A1\"><v>42</v></c></row></sheetData></worksheet>";

// Writes a test workbook at the path given.
using Maker = std::function<void(const QString &)>;

// A zip of the given parts, deflated, written by libzip.
void writeZip(const QString &path, const QList<QPair<QString, QByteArray>> &parts)
{
    int error = 0;
    zip_t *z = zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    QVERIFY(z);
    for (const auto &[name, data] : parts) {
        zip_source_t *src = zip_source_buffer(z, data.constData(), zip_uint64_t(data.size()), 0);
        QVERIFY(src);
        QVERIFY(zip_file_add(z, name.toUtf8().constData(), src, ZIP_FL_OVERWRITE) >= 0);
    }
    QCOMPARE(zip_close(z), 0);  // the buffers are read here, while `parts` still holds them
}

QList<QPair<QString, QByteArray>> goodParts(const QByteArray &sheet = kSheet, const QByteArray &book = kBook)
{
    return {{"[Content_Types].xml", kContentTypes},
            {"xl/workbook.xml", book},
            {"xl/_rels/workbook.xml.rels", kBookRels},
            {"xl/worksheets/sheet1.xml", sheet}};
}

QByteArray readFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void writeFile(const QString &path, const QByteArray &data)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(data);
}

// Peak resident memory of this process so far, in MB.
long peakMb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong() / 1024;
    return 0;
}

}  // namespace

class TestXlsxRead : public QObject {
    Q_OBJECT

private slots:
    void sound()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("bien.xlsx");
        writeZip(path, goodParts());
        const output::Workbook book = output::loadXlsx(path);
        QCOMPARE(int(book.sheets.size()), 1);
        QCOMPARE(book.sheets[0].name, QStringLiteral("Hoja1"));
        QCOMPARE(book.sheets[0].cell(1, 1).value, QVariant(42.0));
    }

    void refused_data()
    {
        QTest::addColumn<Maker>("make");
        QTest::addColumn<QString>("says");

        const auto fromGood = [](std::function<QByteArray(QByteArray)> damage) {
            return Maker([damage](const QString &path) {
                writeZip(path, goodParts());
                writeFile(path, damage(readFile(path)));
            });
        };
        const QString notABook = QStringLiteral("no es un libro de Excel que se pueda leer");

        QTest::newRow("empty file") << Maker([](const QString &p) { writeFile(p, {}); }) << notABook;
        QTest::newRow("cut in half") << fromGood([](QByteArray d) { return d.left(d.size() / 2); }) << notABook;
        QTest::newRow("directory cut off") << fromGood([](QByteArray d) { return d.left(d.size() - 30); }) << notABook;
        // Bytes of the deflated parts overwritten: the inflater or the checksum catches it.
        QTest::newRow("data scrambled")
            << fromGood([](QByteArray d) {
                   for (qsizetype i = 60; i < d.size() / 2; i += 7)
                       d[i] = char(d[i] ^ 0x5a);
                   return d;
               })
            << notABook;
        // Every size field of the central directory claims 4 GB: nothing may be allocated
        // from them.
        QTest::newRow("sizes that lie")
            << fromGood([](QByteArray d) {
                   for (qsizetype at = d.indexOf("PK\x01\x02"); at >= 0; at = d.indexOf("PK\x01\x02", at + 4)) {
                       for (int field : {20, 24})
                           for (int b = 0; b < 4; ++b)
                               d[at + field + b] = char(0xfe);
                   }
                   return d;
               })
            << notABook;
        QTest::newRow("no workbook part") << Maker([](const QString &p) { writeZip(p, {{"hola.txt", "hola"}}); }) << notABook;
        // A sheet that inflates to 80 MB from a few hundred kilobytes.
        QTest::newRow("inflates too far") << Maker([](const QString &p) { writeZip(p, goodParts(QByteArray(80 * 1024 * 1024, ' '))); })
                                          << QStringLiteral("tiene partes de más de 64 MB");
        // Entities that would expand to gigabytes; the XML reader must not expand them.
        QTest::newRow("entity bomb") << Maker([](const QString &p) {
            QByteArray bomb = "<?xml version=\"1.0\"?><!DOCTYPE w [<!ENTITY a \"aaaaaaaaaa\">";
            for (char e = 'b'; e <= 'j'; ++e)
                bomb += QByteArray("<!ENTITY ") + e + " \"" + QByteArray("&").append(char(e - 1)).append(';').repeated(10) + "\">";
            bomb += "]><workbook><sheets><sheet name=\"&j;\" r:id=\"rId1\"/></sheets></workbook>";
            writeZip(p, goodParts(kSheet, bomb));
        }) << notABook;
        // Sheets whose XML is cut short or whose cells stand outside any sheet.
        const auto sheetOf = [](const QByteArray &data) {
            return Maker([data](const QString &p) {
                writeZip(p, goodParts("<?xml version=\"1.0\"?><worksheet xmlns=\"http://schemas.openxmlformats.org/"
                                      "spreadsheetml/2006/main\"><sheetData>" + data));
            });
        };
        QTest::newRow("sheet cut short") << sheetOf("<row r=\"1\"><c r=\"A1\"><v>4") << notABook;
        const QByteArray end = "</row></sheetData></worksheet>";
        QTest::newRow("cell off the sheet") << sheetOf("<row r=\"1\"><c r=\"XFE1\"><v>1</v></c>" + end) << notABook;
        QTest::newRow("row below the sheet") << sheetOf("<row r=\"99999999\"><c><v>1</v></c>" + end) << notABook;
        QTest::newRow("row above the sheet") << sheetOf("<row r=\"-5\"><c><v>1</v></c>" + end) << notABook;
    }

    void refused()
    {
        QFETCH(Maker, make);
        QFETCH(QString, says);
        QTemporaryDir dir;
        const QString path = dir.filePath("malo.xlsx");
        make(path);
        const long before = peakMb();
        QString message;
        try {
            const output::Workbook book = output::loadXlsx(path);
            // A file the reader can make sense of must at least not carry the damage along.
            for (const output::Sheet &s : book.sheets)
                QVERIFY2(s.name.size() < 1000, "an entity was expanded into a sheet name");
            // Only a file whose damage the reader can leave out may be read at all: sizes
            // it does not trust, entities it does not expand.
            if (!QStringList{"sizes that lie", "entity bomb"}.contains(QString::fromLatin1(QTest::currentDataTag())))
                QFAIL("the file was read although it should have been refused");
            return;
        } catch (const output::WorkbookError &e) {
            message = QString::fromUtf8(e.what());
        }
        QVERIFY2(message.contains(says), qPrintable(message));
        QVERIFY2(message.contains(QStringLiteral("malo.xlsx")), qPrintable(message));
        QVERIFY2(peakMb() - before < 200, qPrintable(QStringLiteral("peak grew by %1 MB").arg(peakMb() - before)));
    }
};

int main(int argc, char *argv[])
{
    ui::Application app(argc, argv);
    TestXlsxRead tc;
    return QTest::qExec(&tc, argc, argv);
}
#include "tst_xlsxread.moc"

#include "workbook/XlsxPie3D.h"

#include "workbook/Workbook.h"

#include <QFile>
#include <QRegularExpression>

#include <zip.h>

#include <vector>

namespace output {

QByteArray pieChartAsThreeDimensional(const QByteArray &chartXml)
{
    if (!chartXml.contains("<c:pieChart>"))
        return chartXml;
    QByteArray xml = chartXml;
    xml.replace("<c:pieChart>", "<c:pie3DChart>");
    xml.replace("</c:pieChart>", "</c:pie3DChart>");
    // A three-dimensional pie has no first-slice angle; its tilt is in the chart's view.
    static const QRegularExpression firstSlice(QStringLiteral("<c:firstSliceAng[^>]*/>"));
    xml = QString::fromUtf8(xml).remove(firstSlice).toUtf8();
    // c:view3D comes after the title and before the plot area.
    xml.replace("<c:plotArea>",
                "<c:view3D><c:rotX val=\"30\"/><c:rotY val=\"0\"/><c:rAngAx val=\"0\"/></c:view3D><c:plotArea>");
    return xml;
}

namespace {

[[noreturn]] void fail(const QString &what)
{
    throw WorkbookError(what);
}

}  // namespace

// A copy of the archive in which libzip replaces the chart parts; every other part is
// carried over as it was written.
void makePiesThreeDimensional(const QString &from, const QString &to, const std::set<int> &charts)
{
    QFile::remove(to);
    if (!QFile::copy(from, to))
        fail(QStringLiteral("no se pudo escribir el libro."));
    int error = 0;
    zip_t *zip = zip_open(QFile::encodeName(to).constData(), 0, &error);
    if (!zip)
        fail(QStringLiteral("no se pudo leer el libro escrito."));
    std::vector<QByteArray> rewritten;  // held until zip_close, which reads the buffers
    rewritten.reserve(charts.size());
    for (const int chart : charts) {
        const QByteArray name = QStringLiteral("xl/charts/chart%1.xml").arg(chart).toUtf8();
        const zip_int64_t index = zip_name_locate(zip, name.constData(), 0);
        zip_stat_t st;
        zip_file_t *part = index < 0 || zip_stat_index(zip, zip_uint64_t(index), 0, &st) != 0
                               ? nullptr
                               : zip_fopen_index(zip, zip_uint64_t(index), 0);
        if (!part) {
            zip_discard(zip);
            fail(QStringLiteral("el libro escrito está dañado."));
        }
        // The part was written a moment ago by the chart writer: its size is known and small.
        QByteArray xml(qsizetype(st.size), Qt::Uninitialized);
        const zip_int64_t got = zip_fread(part, xml.data(), zip_uint64_t(xml.size()));
        zip_fclose(part);
        if (got != zip_int64_t(xml.size())) {
            zip_discard(zip);
            fail(QStringLiteral("el libro escrito está dañado."));
        }
        rewritten.push_back(pieChartAsThreeDimensional(xml));
        zip_source_t *src = zip_source_buffer(zip, rewritten.back().constData(), zip_uint64_t(rewritten.back().size()), 0);
        if (!src || zip_file_replace(zip, zip_uint64_t(index), src, 0) != 0) {
            if (src)
                zip_source_free(src);
            zip_discard(zip);
            fail(QStringLiteral("no se pudo escribir el libro."));
        }
    }
    if (zip_close(zip) != 0) {
        zip_discard(zip);
        fail(QStringLiteral("no se pudo escribir el libro."));
    }
}

}  // namespace output

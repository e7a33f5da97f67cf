#include "workbook/XlsxPie3D.h"

#include "workbook/Workbook.h"

#include <QFile>

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
    // A three-dimensional pie has no first-slice angle; its tilt is in the chart's view. The
    // part holds a copy of every plotted value, so it is edited as bytes.
    for (qsizetype at = xml.indexOf("<c:firstSliceAng"); at >= 0; at = xml.indexOf("<c:firstSliceAng", at)) {
        const qsizetype end = xml.indexOf('>', at);
        if (end < 0 || xml.at(end - 1) != '/')
            break;
        xml.remove(at, end + 1 - at);
    }
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

// A new archive with the parts of `from` in their order: the chart parts rewritten, every
// other part carried over as its compressed bytes, so nothing is compressed twice.
void makePiesThreeDimensional(const QString &from, const QString &to, const std::set<int> &charts)
{
    int error = 0;
    zip_t *source = zip_open(QFile::encodeName(from).constData(), ZIP_RDONLY, &error);
    if (!source)
        fail(QStringLiteral("no se pudo leer el libro escrito."));
    QFile::remove(to);
    zip_t *target = zip_open(QFile::encodeName(to).constData(), ZIP_CREATE | ZIP_EXCL, &error);
    if (!target) {
        zip_close(source);
        fail(QStringLiteral("no se pudo escribir el libro."));
    }
    const auto give_up = [&](const QString &why) {
        zip_discard(target);
        zip_close(source);
        QFile::remove(to);
        fail(why);
    };
    std::set<QByteArray> chartNames;
    for (const int chart : charts)
        chartNames.insert(QStringLiteral("xl/charts/chart%1.xml").arg(chart).toUtf8());
    std::vector<QByteArray> rewritten;  // held until zip_close, which reads the buffers
    rewritten.reserve(charts.size());
    const zip_int64_t parts = zip_get_num_entries(source, 0);
    for (zip_int64_t i = 0; i < parts; ++i) {
        const char *name = zip_get_name(source, zip_uint64_t(i), 0);
        if (!name)
            give_up(QStringLiteral("el libro escrito está dañado."));
        const bool chartPart = chartNames.count(QByteArray(name)) > 0;
        zip_source_t *part = nullptr;
        if (chartPart) {
            zip_stat_t st;
            zip_file_t *file = zip_stat_index(source, zip_uint64_t(i), 0, &st) != 0
                                   ? nullptr
                                   : zip_fopen_index(source, zip_uint64_t(i), 0);
            if (!file)
                give_up(QStringLiteral("el libro escrito está dañado."));
            // The part was written a moment ago by the chart writer: its size is known (it
            // holds a copy of the plotted values, a few megabytes at most).
            QByteArray xml(qsizetype(st.size), Qt::Uninitialized);
            const zip_int64_t got = zip_fread(file, xml.data(), zip_uint64_t(xml.size()));
            zip_fclose(file);
            if (got != zip_int64_t(xml.size()))
                give_up(QStringLiteral("el libro escrito está dañado."));
            rewritten.push_back(pieChartAsThreeDimensional(xml));
            part = zip_source_buffer(target, rewritten.back().constData(), zip_uint64_t(rewritten.back().size()), 0);
        } else {
            part = zip_source_zip(target, source, zip_uint64_t(i), ZIP_FL_COMPRESSED, 0, -1);
        }
        const zip_int64_t added = part ? zip_file_add(target, name, part, 0) : -1;
        if (added < 0) {
            if (part)
                zip_source_free(part);
            give_up(QStringLiteral("no se pudo escribir el libro."));
        }
        // A chart part repeats its values: the quickest compression is nearly as small.
        if (chartPart)
            zip_set_file_compression(target, zip_uint64_t(added), ZIP_CM_DEFLATE, 1);
    }
    if (zip_close(target) != 0)
        give_up(QStringLiteral("no se pudo escribir el libro."));
    zip_close(source);
}

}  // namespace output

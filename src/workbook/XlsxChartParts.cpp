#include "workbook/XlsxChartParts.h"

#include "workbook/Workbook.h"

#include <QFile>

#include <zip.h>

#include <vector>

namespace output {

namespace {

QByteArray asThreeDimensional(const QByteArray &chartXml)
{
    if (!chartXml.contains("<c:pieChart>"))
        return chartXml;
    QByteArray xml = chartXml;
    xml.replace("<c:pieChart>", "<c:pie3DChart>");
    xml.replace("</c:pieChart>", "</c:pie3DChart>");
    // A three-dimensional pie has no first-slice angle; its tilt is in the chart's view.
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

// Each reference the writer left without values (<c:numRef><c:f>...</c:f></c:numRef>) gets
// the next cache: a c:numCache, or for texts a c:strRef with a c:strCache.
QByteArray withCaches(const QByteArray &xml, const std::vector<ChartCache> &caches)
{
    static const QByteArray open = "<c:numRef><c:f>", close = "</c:f></c:numRef>";
    QByteArray out;
    qsizetype size = xml.size();
    for (const ChartCache &c : caches)
        size += c.points.size() + 64;
    out.reserve(size);
    qsizetype from = 0;
    for (const ChartCache &cache : caches) {
        const qsizetype at = xml.indexOf(open, from);
        const qsizetype end = at < 0 ? -1 : xml.indexOf(close, at + open.size());
        if (end < 0)
            break;
        const QByteArrayView formula(xml.constData() + at + open.size(), end - at - open.size());
        out.append(xml.constData() + from, at - from);
        if (cache.text)
            out.append("<c:strRef><c:f>").append(formula).append("</c:f><c:strCache>");
        else
            out.append("<c:numRef><c:f>").append(formula).append("</c:f><c:numCache><c:formatCode>General</c:formatCode>");
        out.append(cache.points);
        out.append(cache.text ? "</c:strCache></c:strRef>" : "</c:numCache></c:numRef>");
        from = end + close.size();
    }
    out.append(xml.constData() + from, xml.size() - from);
    return out;
}

}  // namespace

QByteArray finishedChartPart(const QByteArray &chartXml, const ChartPartEdit &edit)
{
    return withCaches(edit.threeDimensional ? asThreeDimensional(chartXml) : chartXml, edit.caches);
}

namespace {

[[noreturn]] void fail(const QString &what)
{
    throw WorkbookError(what);
}

}  // namespace

void finishChartParts(const QString &from, const QString &to, const std::map<int, ChartPartEdit> &charts)
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
    std::map<QByteArray, const ChartPartEdit *> chartNames;
    for (const auto &[chart, edit] : charts)
        chartNames.emplace(QStringLiteral("xl/charts/chart%1.xml").arg(chart).toUtf8(), &edit);
    std::vector<QByteArray> rewritten;  // held until zip_close, which reads the buffers
    rewritten.reserve(charts.size());
    const zip_int64_t parts = zip_get_num_entries(source, 0);
    for (zip_int64_t i = 0; i < parts; ++i) {
        const char *name = zip_get_name(source, zip_uint64_t(i), 0);
        if (!name)
            give_up(QStringLiteral("el libro escrito está dañado."));
        const auto edit = chartNames.find(QByteArray(name));
        const bool chartPart = edit != chartNames.end();
        zip_source_t *part = nullptr;
        if (chartPart) {
            zip_stat_t st;
            zip_file_t *file = zip_stat_index(source, zip_uint64_t(i), 0, &st) != 0
                                   ? nullptr
                                   : zip_fopen_index(source, zip_uint64_t(i), 0);
            if (!file)
                give_up(QStringLiteral("el libro escrito está dañado."));
            // The part was written a moment ago by the chart writer, without the values: its
            // size is known and small.
            QByteArray xml(qsizetype(st.size), Qt::Uninitialized);
            const zip_int64_t got = zip_fread(file, xml.data(), zip_uint64_t(xml.size()));
            zip_fclose(file);
            if (got != zip_int64_t(xml.size()))
                give_up(QStringLiteral("el libro escrito está dañado."));
            rewritten.push_back(finishedChartPart(xml, *edit->second));
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
        // A chart part repeats its cached values: the quickest compression is nearly as small.
        if (chartPart)
            zip_set_file_compression(target, zip_uint64_t(added), ZIP_CM_DEFLATE, 1);
    }
    if (zip_close(target) != 0)
        give_up(QStringLiteral("no se pudo escribir el libro."));
    zip_close(source);
}

}  // namespace output

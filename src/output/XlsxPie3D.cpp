#include "output/XlsxPie3D.h"

#include "output/Workbook.h"

#include <QFile>
#include <QRegularExpression>

#include <unzip.h>
#include <zip.h>

#include <memory>

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

struct UnzipCloser {
    void operator()(void *f) const { unzClose(f); }
};
struct ZipCloser {
    void operator()(void *f) const { zipClose(f, nullptr); }
};

[[noreturn]] void fail(const QString &what)
{
    throw WorkbookError(what);
}

}  // namespace

void makePiesThreeDimensional(const QString &from, const QString &to, const std::set<int> &charts)
{
    const QByteArray fromName = QFile::encodeName(from);
    const QByteArray toName = QFile::encodeName(to);
    std::unique_ptr<void, UnzipCloser> in(unzOpen64(fromName.constData()));
    if (!in)
        fail(QStringLiteral("no se pudo leer el libro escrito."));
    std::unique_ptr<void, ZipCloser> out(zipOpen64(toName.constData(), APPEND_STATUS_CREATE));
    if (!out)
        fail(QStringLiteral("no se pudo escribir el libro."));

    for (int rc = unzGoToFirstFile(in.get()); rc == UNZ_OK; rc = unzGoToNextFile(in.get())) {
        unz_file_info64 info{};
        char name[512];
        if (unzGetCurrentFileInfo64(in.get(), &info, name, sizeof name, nullptr, 0, nullptr, 0) != UNZ_OK)
            fail(QStringLiteral("el libro escrito está dañado."));
        const QString part = QString::fromUtf8(name);
        static const QRegularExpression chartPart(QStringLiteral("^xl/charts/chart(\\d+)\\.xml$"));
        const auto match = chartPart.match(part);
        const bool rewrite = match.hasMatch() && charts.count(match.captured(1).toInt());

        if (unzOpenCurrentFile(in.get()) != UNZ_OK)
            fail(QStringLiteral("el libro escrito está dañado."));
        QByteArray data;
        data.resize(qsizetype(info.uncompressed_size));
        const int read = unzReadCurrentFile(in.get(), data.data(), unsigned(data.size()));
        unzCloseCurrentFile(in.get());
        if (read < 0 || read != data.size())
            fail(QStringLiteral("el libro escrito está dañado."));
        if (rewrite)
            data = pieChartAsThreeDimensional(data);

        zip_fileinfo zi{};
        zi.dosDate = info.dosDate;
        if (zipOpenNewFileInZip64(out.get(), name, &zi, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                                  Z_DEFAULT_COMPRESSION, data.size() > 0xffffffffLL ? 1 : 0) != ZIP_OK ||
            zipWriteInFileInZip(out.get(), data.constData(), unsigned(data.size())) != ZIP_OK ||
            zipCloseFileInZip(out.get()) != ZIP_OK)
            fail(QStringLiteral("no se pudo escribir el libro."));
    }
    if (zipClose(out.release(), nullptr) != ZIP_OK)
        fail(QStringLiteral("no se pudo escribir el libro."));
}

}  // namespace output

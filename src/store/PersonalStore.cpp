#include "store/PersonalStore.h"

#include "store/Connection.h"
#include "store/DataSources.h"
#include "store/StoreError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace store::personalstore {
namespace {

StoreError refusal(const QString &text)
{
    return StoreError(StoreError::Kind::Store, 0, text);
}

QString systemText()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

bool exists(const QString &path)
{
    struct stat info;
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0;
}

// SQLite's companions of a database file; a stale one would be read as part of the new
// store, so none may be there either.
QStringList companions(const QString &file)
{
    return {file + QStringLiteral("-wal"), file + QStringLiteral("-shm"), file + QStringLiteral("-journal")};
}

// Everything create() has written so far, so that a failure can take it back. Only what
// this call made is ever removed.
class Undo {
public:
    ~Undo()
    {
        if (m_done)
            return;
        if (!m_file.isEmpty()) {
            QFile::remove(m_file);
            for (const QString &c : companions(m_file))
                QFile::remove(c);
        }
        restoreIni();
        for (auto it = m_folders.crbegin(); it != m_folders.crend(); ++it)
            ::rmdir(QFile::encodeName(*it).constData());
    }

    void folderMade(const QString &folder) { m_folders << folder; }
    void fileMade(const QString &file) { m_file = file; }
    void appended(const QString &ini, bool existed, qint64 oldSize, const QByteArray &bytes)
    {
        m_ini = ini;
        m_iniExisted = existed;
        m_iniOldSize = oldSize;
        m_appended = bytes;
    }
    void done() { m_done = true; }

private:
    // Back to the size it had, and only when what follows that point is still exactly what
    // was appended: a change made meanwhile by someone else stays.
    void restoreIni()
    {
        if (m_ini.isEmpty())
            return;
        QFile f(m_ini);
        if (!f.open(QIODevice::ReadOnly))
            return;
        const QByteArray now = f.readAll();
        f.close();
        if (now.size() != m_iniOldSize + m_appended.size() || !now.endsWith(m_appended))
            return;
        if (!m_iniExisted)
            QFile::remove(m_ini);
        else
            f.resize(m_iniOldSize);
    }

    bool m_done = false;
    QStringList m_folders;
    QString m_file;
    QString m_ini;
    bool m_iniExisted = false;
    qint64 m_iniOldSize = 0;
    QByteArray m_appended;
};

// Creates the missing folders of `folder`, outermost first, each readable by its owner only.
void makeFolders(const QString &folder, Undo &undo)
{
    QStringList missing;
    for (QString f = QDir::cleanPath(folder); !exists(f); f = QFileInfo(f).path())
        missing.prepend(f);
    for (const QString &f : std::as_const(missing)) {
        if (::mkdir(QFile::encodeName(f).constData(), 0700) != 0)
            throw refusal(QStringLiteral("No se pudo crear la carpeta %1 (%2).").arg(f, systemText()));
        undo.folderMade(f);
    }
}

void makeEmptyFile(const QString &file, Undo &undo)
{
    const int fd = ::open(QFile::encodeName(file).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) {
        if (errno == EEXIST)
            throw refusal(QStringLiteral("Ya existe el archivo %1: no se reemplaza.").arg(file));
        throw refusal(QStringLiteral("No se pudo crear el archivo %1 (%2).").arg(file, systemText()));
    }
    undo.fileMade(file);
    ::fchmod(fd, 0600);
    ::close(fd);
}

// Appends the section to the user's data source file (made, 0600, when there is none).
void appendSection(const QString &ini, const QByteArray &section, Undo &undo)
{
    struct stat info;
    const QByteArray path = QFile::encodeName(ini);
    const bool existed = ::stat(path.constData(), &info) == 0;
    const qint64 oldSize = existed ? qint64(info.st_size) : 0;
    QByteArray bytes = section;
    if (oldSize > 0) {
        QFile old(ini);
        bool endsWithNewline = false;
        if (old.open(QIODevice::ReadOnly) && old.seek(oldSize - 1))
            endsWithNewline = old.read(1) == "\n";
        bytes.prepend(endsWithNewline ? "\n" : "\n\n");
    }
    const int fd = ::open(path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        throw refusal(QStringLiteral("No se pudo registrar el origen de datos en %1 (%2).").arg(ini, systemText()));
    const ssize_t written = ::write(fd, bytes.constData(), size_t(bytes.size()));
    const int writeError = errno;
    ::close(fd);
    undo.appended(ini, existed, oldSize, bytes.left(written < 0 ? 0 : int(written)));
    if (written != ssize_t(bytes.size())) {
        errno = writeError;
        throw refusal(QStringLiteral("No se pudo registrar el origen de datos en %1 (%2).").arg(ini, systemText()));
    }
}

}  // namespace

QString defaultFile()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/tempalia/rrhh.sqlite");
}

QString dataSourceSection(const QString &dataSource, const QString &file)
{
    // StepAPI lets a list show its first rows without reading the whole result; several
    // processes share the file in WAL mode and wait up to 10 s for each other's writes.
    return QStringLiteral("[%1]\nDescription=Tempalia, base personal (SQLite)\nDriver=%2\nDatabase=%3\n"
                          "Timeout=10000\nStepAPI=1\nJournalMode=WAL\nSyncPragma=NORMAL\n")
        .arg(dataSource, QLatin1String(kDriver), file);
}

void create(const QString &dataSource, const QString &file, const Filler &fill)
{
    if (datasources::defined(dataSource))
        throw refusal(QStringLiteral("El origen de datos %1 ya está definido: no se cambió nada.").arg(dataSource));
    if (!datasources::driverInstalled(QLatin1String(kDriver)))
        throw refusal(QStringLiteral("No está instalado el controlador ODBC de SQLite (paquete libsqliteodbc): "
                                     "no se creó nada."));
    const QString path = QFileInfo(file).absoluteFilePath();
    for (const QString &f : QStringList{path} + companions(path)) {
        if (exists(f))
            throw refusal(QStringLiteral("Ya existe el archivo %1: no se reemplaza.").arg(f));
    }

    Undo undo;
    makeFolders(QFileInfo(path).absolutePath(), undo);
    makeEmptyFile(path, undo);
    const QString ini = datasources::userFile();
    appendSection(ini, dataSourceSection(dataSource, path).toUtf8(), undo);
    if (!datasources::defined(dataSource))
        throw refusal(QStringLiteral("El origen de datos %1 se escribió en %2, pero el administrador de ODBC no lo "
                                     "encuentra allí.").arg(dataSource, ini));
    {
        const std::shared_ptr<Connection> conn = Connection::open(QStringLiteral("DSN=") + dataSource);
        fill(*conn);
    }
    undo.done();
}

}  // namespace store::personalstore

#include "store/StoreError.h"

#include <QRegularExpression>
#include <QSqlError>

namespace store {
namespace {

using Fault = StoreError::Fault;

// A name the store's text gives for the column at fault, in the server's English or Spanish
// (a detail for the sentence, never what decides the fault).
QString columnIn(const QString &text)
{
    static const QRegularExpression column(
        QStringLiteral(R"(constraint failed: (?:\w+\.)?(\w+)|length\((\w+)\)|columna? [\"«](\w+)[\"»]|varying\((\d+)\))"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch m = column.match(text);
    for (int i = 1; i <= m.lastCapturedIndex(); ++i)
        if (!m.captured(i).isEmpty())
            return m.captured(i);
    return {};
}

Fault sqliteFault(int native, const QString &text)
{
    switch (native & 0xff) {  // the primary result code of an extended one
    case 3:  // SQLITE_PERM
    case 23:  // SQLITE_AUTH
        return Fault::PermissionDenied;
    case 5:  // SQLITE_BUSY
    case 6:  // SQLITE_LOCKED
        return Fault::Busy;
    case 8:  // SQLITE_READONLY
        return Fault::ReadOnly;
    case 10:  // SQLITE_IOERR
    case 14:  // SQLITE_CANTOPEN
        return Fault::CannotOpen;
    case 11:  // SQLITE_CORRUPT
    case 26:  // SQLITE_NOTADB
        return Fault::Damaged;
    case 13:  // SQLITE_FULL
        return Fault::DiskFull;
    case 20:  // SQLITE_MISMATCH
        return Fault::InvalidValue;
    case 19: {  // SQLITE_CONSTRAINT; the driver gives no extended code, so the engine's
                // fixed name of the constraint tells which one
        if (text.contains(QLatin1String("UNIQUE constraint")) || text.contains(QLatin1String("PRIMARY KEY")))
            return Fault::Duplicate;
        if (text.contains(QLatin1String("NOT NULL constraint")))
            return Fault::MissingValue;
        if (text.contains(QLatin1String("FOREIGN KEY constraint")))
            return Fault::ForeignKey;
        if (text.contains(QLatin1String("CHECK constraint failed: length(")))
            return Fault::TooLong;
        return Fault::InvalidValue;
    }
    default:
        return Fault::Other;
    }
}

Fault postgresFault(const QString &state, bool connecting)
{
    static const QHash<QString, Fault> exact{
        {QStringLiteral("23505"), Fault::Duplicate},        {QStringLiteral("23502"), Fault::MissingValue},
        {QStringLiteral("23503"), Fault::ForeignKey},       {QStringLiteral("23514"), Fault::InvalidValue},
        {QStringLiteral("22001"), Fault::TooLong},          {QStringLiteral("40001"), Fault::Serialization},
        {QStringLiteral("40P01"), Fault::Serialization},    {QStringLiteral("55P03"), Fault::Busy},
        {QStringLiteral("57014"), Fault::Busy},             {QStringLiteral("28000"), Fault::LoginRefused},
        {QStringLiteral("28P01"), Fault::LoginRefused},     {QStringLiteral("42501"), Fault::PermissionDenied},
        {QStringLiteral("53100"), Fault::DiskFull},         {QStringLiteral("25006"), Fault::StandbyOnly},
        {QStringLiteral("3D000"), Fault::NoDataSource},     {QStringLiteral("53300"), Fault::Unreachable},
        {QStringLiteral("HYT01"), Fault::Unreachable},
    };
    if (const auto it = exact.constFind(state); it != exact.cend())
        return *it;
    if (state.startsWith(QLatin1String("08")) || state.startsWith(QLatin1String("57P")))
        return connecting ? Fault::Unreachable : Fault::ConnectionLost;
    if (state.startsWith(QLatin1String("22")))
        return Fault::InvalidValue;
    return Fault::Other;
}

}  // namespace

StoreError::Fault StoreError::classify(Backend backend, const QString &state, int native, const QString &text)
{
    if (state == QLatin1String("IM002") || state == QLatin1String("IM003"))
        return Fault::NoDataSource;
    return backend == Backend::SQLite ? sqliteFault(native, text) : postgresFault(state, false);
}

QString StoreError::sentence(Fault fault, const QString &detail)
{
    switch (fault) {
    case Fault::ReadOnly:
        return QStringLiteral("La base de datos es de solo lectura: no se guardó nada. Pida al administrador permiso de "
                              "escritura sobre el archivo de la base de datos y su carpeta.");
    case Fault::DiskFull:
        return QStringLiteral("El disco de la base de datos está lleno: no se guardó nada. Libere espacio en ese disco "
                              "y vuelva a intentarlo.");
    case Fault::Busy:
        return QStringLiteral("La base de datos está ocupada por otro usuario. Intente de nuevo en unos segundos.");
    case Fault::Damaged:
        return QStringLiteral("El archivo de la base de datos está dañado o no es una base de datos. Avise al "
                              "administrador para que la recupere de una copia de seguridad.");
    case Fault::CannotOpen:
        return QStringLiteral("No se pudo leer o escribir el archivo de la base de datos. Compruebe que el archivo y su "
                              "carpeta existan y que usted tenga permiso sobre ellos.");
    case Fault::NoDataSource:
        return QStringLiteral("El origen de datos %1 no está definido o su base de datos no existe. Pida al "
                              "administrador que lo defina (vea el manual, \"odbc.ini\").")
            .arg(detail.isEmpty() ? QStringLiteral("RRHHODBC") : detail);
    case Fault::Unreachable:
        return QStringLiteral("No se pudo conectar con el servidor de la base de datos. Compruebe que el servidor esté "
                              "en marcha y que la red funcione, y vuelva a intentarlo.");
    case Fault::ConnectionLost:
        return QStringLiteral("Se perdió la conexión con la base de datos. Lo que estaba guardando no se guardó; "
                              "compruebe la red o el servidor y vuelva a intentarlo.");
    case Fault::Reconnected:
        return QStringLiteral("Se perdió la conexión con la base de datos; se reconectó al servidor disponible. "
                              "Repita la operación.");
    case Fault::StandbyOnly:
        return QStringLiteral("Solo responde un servidor de reserva, de solo lectura: no se guardó nada. Intente de "
                              "nuevo en unos segundos, cuando la reserva ocupe el lugar del servidor principal.");
    case Fault::LoginRefused:
        return QStringLiteral("El servidor de la base de datos rechazó la conexión: el usuario, la contraseña o la base "
                              "de datos del origen de datos no son válidos. Pida al administrador que revise la cuenta "
                              "del origen de datos.");
    case Fault::PermissionDenied:
        return QStringLiteral("La cuenta del origen de datos no tiene permiso para hacer esto. Pida al administrador "
                              "que le dé ese permiso.");
    case Fault::Serialization:
        return QStringLiteral("Otro usuario cambiaba los mismos datos al mismo tiempo y no se guardó nada. Vuelva a "
                              "intentarlo.");
    case Fault::TooLong:
        return detail.isEmpty() ? QStringLiteral("Un texto es más largo de lo permitido. Acórtelo y vuelva a guardar.")
                                : QStringLiteral("Un texto (%1) es más largo de lo permitido. Acórtelo y vuelva a "
                                                 "guardar.")
                                      .arg(detail);
    case Fault::Duplicate:
        return QStringLiteral("Ya existe un registro con esa clave. Escriba otra clave, o busque el registro que ya "
                              "existe.");
    case Fault::MissingValue:
        return detail.isEmpty() ? QStringLiteral("Falta un valor obligatorio. Complételo y vuelva a guardar.")
                                : QStringLiteral("Falta un valor obligatorio (%1). Complételo y vuelva a guardar.")
                                      .arg(detail);
    case Fault::ForeignKey:
        return QStringLiteral("El registro se refiere a otro que no existe, o otros registros se refieren a él. "
                              "Revise los valores elegidos.");
    case Fault::InvalidValue:
        return detail.isEmpty() ? QStringLiteral("Un valor está vacío o no es válido. Corríjalo y vuelva a guardar.")
                                : QStringLiteral("El valor de %1 está vacío o no es válido. Corríjalo y vuelva a "
                                                 "guardar.")
                                      .arg(detail);
    case Fault::Other:
        break;
    }
    return QStringLiteral("La base de datos rechazó la operación. Si el problema sigue, avise al administrador con "
                          "el código y el texto siguientes.");
}

StoreError::StoreError(Kind kind, int number, const QString &description)
    : std::runtime_error(description.toStdString()), m_kind(kind), m_number(number), m_description(description)
{
}

StoreError StoreError::fromDiagnostic(Backend backend, const Diagnostic &diag, const QSqlError &error, bool connecting,
                                      bool connectionDead)
{
    QString text = diag.text.trimmed();
    if (text.isEmpty())
        text = error.databaseText().trimmed();
    if (text.isEmpty())
        text = error.text().trimmed();
    text.remove(QStringLiteral(";\nError while executing the query"));
    text = text.trimmed();
    int native = diag.native;
    if (native == 0)
        native = error.nativeErrorCode().toInt();

    Fault fault = Fault::Other;
    if (diag.state == QLatin1String("IM002") || diag.state == QLatin1String("IM003"))
        fault = Fault::NoDataSource;
    else if (backend == Backend::PostgreSQL)
        fault = postgresFault(diag.state, connecting);
    else
        fault = sqliteFault(native, text);
    if (connectionDead && !connecting)
        fault = Fault::ConnectionLost;
    // psqlODBC says 08001 for every failed connect; one the server answered and refused
    // (account, password, database) carries the server's severity marker.
    if (connecting && fault == Fault::Unreachable && diag.state == QLatin1String("08001") &&
        text.contains(QLatin1String("FATAL:")))
        fault = Fault::LoginRefused;
    // libpq refuses a server that takes no writes (target_session_attrs=read-write) with
    // these fixed words and no SQLSTATE of its own.
    static const QRegularExpression standby(QStringLiteral("session is read-only|server is in hot standby mode"));
    if (connecting && backend == Backend::PostgreSQL && standby.match(text).hasMatch())
        fault = Fault::StandbyOnly;
    if (fault == Fault::Other && connecting)
        fault = backend == Backend::PostgreSQL ? Fault::Unreachable : Fault::CannotOpen;

    QString detail = fault == Fault::NoDataSource ? diag.dataSource : QString();
    if (fault == Fault::MissingValue || fault == Fault::TooLong || fault == Fault::InvalidValue)
        detail = columnIn(text);
    if (fault == Fault::TooLong && !detail.isEmpty() && detail.at(0).isDigit())
        detail = QStringLiteral("hasta %1 caracteres").arg(detail);

    QString code;
    if (backend == Backend::PostgreSQL || diag.state.startsWith(QLatin1String("IM")))
        code = diag.state.isEmpty() ? QString() : QStringLiteral("SQLSTATE %1").arg(diag.state);
    else if (native != 0)
        code = QStringLiteral("SQLite %1").arg(native);
    QString said;
    if (!code.isEmpty())
        said += QStringLiteral(" (código %1)").arg(code);
    if (!text.isEmpty())
        said += QStringLiteral("\n(%1)").arg(text);
    const QString description = sentence(fault, detail) + said;

    const bool notConnected = connecting || fault == Fault::NoDataSource;
    StoreError e(notConnected ? Kind::NotConnected : Kind::Store, native != 0 ? native : -2147467259, description);
    e.m_fault = fault;
    e.m_state = diag.state;
    e.m_said = said;
    return e;
}

StoreError StoreError::reconnectedAfter(const StoreError &lost)
{
    StoreError e(Kind::Store, lost.m_number, sentence(Fault::Reconnected) + lost.m_said);
    e.m_fault = Fault::Reconnected;
    e.m_state = lost.m_state;
    e.m_said = lost.m_said;
    return e;
}

StoreError StoreError::fromSql(const QSqlError &error, const QString &statement)
{
    // Without the driver's diagnostics: the native code and the type of the error are all
    // there is. The generic "store refused" number (E_FAIL) stands when the driver gives none.
    Q_UNUSED(statement);
    Diagnostic diag;
    diag.native = error.nativeErrorCode().toInt();
    if (error.type() == QSqlError::ConnectionError)
        diag.state = QStringLiteral("08001");
    return fromDiagnostic(Backend::SQLite, diag, error, error.type() == QSqlError::ConnectionError);
}

StoreError StoreError::changedSinceRead()
{
    return StoreError(Kind::Conflict, 3197,
                      QStringLiteral("Otro usuario modificó este registro desde que se leyó. "
                                     "Vuelva a leer los datos e intente de nuevo."));
}

StoreError StoreError::noCurrentRow()
{
    return StoreError(Kind::NoCurrentRow, 3021,
                      QStringLiteral("No hay un registro actual: el cursor está antes del primero o después del "
                                     "último registro."));
}

}  // namespace store

#include "store/StoreError.h"

#include <QRegularExpression>
#include <QSqlError>

namespace store {
namespace {

// The store's refusals said in Spanish; the store's own text follows in brackets, so
// nothing the store said is lost.
QString spanishReason(const QString &text)
{
    struct Rule {
        const char *pattern;
        const char *message;
    };
    static const Rule rules[] = {
        {R"(UNIQUE constraint failed|duplicate key value)", "Ya existe un registro con esa clave."},
        {R"(NOT NULL constraint failed: \w+\.(\w+)|null value in column \"(\w+)\")",
         "Falta un valor obligatorio (%1)."},
        {R"(value too long for type character varying\((\d+)\))",
         "Un texto es más largo de lo permitido (%1 caracteres)."},
        {R"(CHECK constraint failed: length\((\w+)\))",
         "El valor de %1 está vacío o es más largo de lo permitido."},
        {R"(CHECK constraint failed: (\w+))", "El valor de %1 no es válido."},
        {R"(violates check constraint)", "Un valor está vacío o no es válido."},
        {R"(invalid input syntax for type (\w+))", "Un valor no tiene el formato de %1."},
        {R"(database is locked|database table is locked)",
         "La base de datos está ocupada por otro usuario. Intente de nuevo en unos segundos."},
        {R"(could not connect|server closed the connection|no connection to the server|terminating connection|Connection refused|connection (has been )?lost)",
         "Se perdió la conexión con la base de datos."},
        {R"(Data source name not found)", "El origen de datos no está definido."},
    };
    for (const Rule &r : rules) {
        const QRegularExpression re(QString::fromUtf8(r.pattern), QRegularExpression::CaseInsensitiveOption);
        const QRegularExpressionMatch m = re.match(text);
        if (!m.hasMatch())
            continue;
        QString message = QString::fromUtf8(r.message);
        if (message.contains(QLatin1String("%1"))) {
            QString captured;
            for (int i = 1; i <= m.lastCapturedIndex() && captured.isEmpty(); ++i)
                captured = m.captured(i);
            message = message.arg(captured);
        }
        return message;
    }
    return {};
}

}  // namespace

StoreError::StoreError(Kind kind, int number, const QString &description)
    : std::runtime_error(description.toStdString()), m_kind(kind), m_number(number), m_description(description)
{
}

StoreError StoreError::fromSql(const QSqlError &error, const QString &statement)
{
    // The driver's text carries the store's own message; the native code is the
    // store's error number (SQLSTATE-like text for some drivers, then we keep 0).
    bool ok = false;
    int number = error.nativeErrorCode().toInt(&ok);
    if (!ok)
        number = -2147467259;  // the generic "store refused" number (E_FAIL) when the driver gives none
    QString text = error.databaseText().trimmed();
    if (text.isEmpty())
        text = error.text().trimmed();
    text.remove(QStringLiteral(";\nError while executing the query"));
    text = text.trimmed();
    const QString reason = spanishReason(text);
    if (!reason.isEmpty())
        text = QStringLiteral("%1\n(%2)").arg(reason, text);
    else if (error.type() == QSqlError::ConnectionError)
        text = QStringLiteral("No se pudo conectar con el origen de datos: %1").arg(text);
    Q_UNUSED(statement);
    return StoreError(error.type() == QSqlError::ConnectionError ? Kind::NotConnected : Kind::Store, number,
                      text);
}

StoreError StoreError::noCurrentRow()
{
    return StoreError(Kind::NoCurrentRow, 3021,
                      QStringLiteral("No hay un registro actual: el cursor está antes del primero o después del "
                                     "último registro."));
}

}  // namespace store

#include "store/StoreError.h"

#include <QSqlError>

namespace store {

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
        number = -2147467259;  // the generic "store refused" number of the original data layer
    QString text = error.databaseText().trimmed();
    if (text.isEmpty())
        text = error.text().trimmed();
    if (error.type() == QSqlError::ConnectionError && !text.contains(QLatin1String("RRHHODBC")))
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

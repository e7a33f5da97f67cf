#include "session/Usuario.h"

#include "session/modPrincipal.h"
#include "store/StoreError.h"

namespace Usuario {

std::optional<QString> encode(const QString &text)
{
    QString out;
    out.reserve(text.size());
    for (QChar c : text) {
        const ushort code = c.unicode();
        if (code >= 255)
            return std::nullopt;
        out += QChar(ushort(code + 1));
    }
    return out;
}

QString CodificarPassword(QString &texto)
{
    const QString input = texto;
    texto.clear();
    const std::optional<QString> encoded = encode(input);
    if (!encoded) {
        modPrincipal::ReportarError(store::StoreError(
            store::StoreError::Kind::BadValue, 5,
            QStringLiteral("La contraseña tiene un carácter que no se puede codificar.")));
        return {};
    }
    return *encoded;
}

}  // namespace Usuario

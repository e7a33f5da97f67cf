#include "session/Usuario.h"

#include "session/modPrincipal.h"
#include "store/StoreError.h"

#include <sodium.h>

namespace Usuario {
namespace {

struct HashLimits {
    unsigned long long opslimit;
    size_t memlimit;
};

HashLimits &limits()
{
    static HashLimits l{crypto_pwhash_OPSLIMIT_INTERACTIVE, crypto_pwhash_MEMLIMIT_INTERACTIVE};
    return l;
}

void initSodium()
{
    static const bool ready = sodium_init() >= 0;
    if (!ready)
        throw store::StoreError(store::StoreError::Kind::Store, 0,
                                QStringLiteral("No se pudo iniciar la biblioteca de cifrado (libsodium)."));
}

}  // namespace

QString hashPassword(const QString &password)
{
    initSodium();
    const QByteArray bytes = password.toUtf8();
    char out[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str(out, bytes.constData(), static_cast<unsigned long long>(bytes.size()),
                          limits().opslimit, limits().memlimit) != 0)
        throw store::StoreError(store::StoreError::Kind::Store, 0,
                                QStringLiteral("No hay memoria suficiente para proteger la contraseña."));
    return QString::fromLatin1(out);
}

bool isPasswordHash(const QString &stored)
{
    return stored.startsWith(QLatin1String("$argon2id$")) || stored.startsWith(QLatin1String("$argon2i$"));
}

PasswordCheck checkPassword(const QString &typed, const QVariant &stored)
{
    if (stored.isNull())
        return PasswordCheck::Wrong;
    const QString text = stored.toString();
    if (isPasswordHash(text)) {
        initSodium();
        const QByteArray hash = text.toLatin1();
        const QByteArray bytes = typed.toUtf8();
        return crypto_pwhash_str_verify(hash.constData(), bytes.constData(),
                                        static_cast<unsigned long long>(bytes.size())) == 0
                   ? PasswordCheck::Right
                   : PasswordCheck::Wrong;
    }
    QString copy = typed;
    const QString encoded = CodificarPassword(copy);
    if (encoded != text)
        return PasswordCheck::Wrong;
    return encode(typed) ? PasswordCheck::RightOldEncoding : PasswordCheck::Right;
}

void useCheapHashingForTests()
{
    limits() = {crypto_pwhash_OPSLIMIT_MIN, crypto_pwhash_MEMLIMIT_MIN};
}

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

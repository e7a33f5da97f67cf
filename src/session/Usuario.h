#pragma once

#include <QString>
#include <QVariant>
#include <optional>

namespace Usuario {

// --- Passwords as the store keeps them -------------------------------------------------
//
// UsuPassword holds an Argon2id hash in libsodium's string form ("$argon2id$v=19$m=...,
// t=...,p=1$salt$hash"): a fresh random salt per password, so equal passwords never give
// equal texts, and the cost parameters travel inside the text, so a hash made with other
// limits still verifies. Rows written before hashing hold the old reversible encoding
// (CodificarPassword below); the login still accepts them and rewrites them as hashes.

// The hash of `password` (its UTF-8 bytes) with the limits in force. Throws
// store::StoreError when the machine cannot spare the memory the hash needs.
QString hashPassword(const QString &password);
// Whether a stored text is a hash of ours rather than the old encoding.
bool isPasswordHash(const QString &stored);

enum class PasswordCheck {
    Wrong,           // does not match (a Null stored value never matches)
    Right,           // matches a hash
    RightOldEncoding // matches a row in the old encoding: rewrite it as a hash
};
// Compares what was typed (blanks and all) with UsuPassword. A row in the old encoding is
// compared through CodificarPassword, which reports a character it cannot encode exactly
// as the login always did; a match that came only from such a failure is not
// RightOldEncoding, since the typed text is not that password.
PasswordCheck checkPassword(const QString &typed, const QVariant &stored);

// Argon2id cost. Production uses libsodium's INTERACTIVE limits (64 MiB, 2 passes: about
// 0.1-0.3 s per login on a desktop). Test programs call useCheapHashingForTests() once at
// start, so that the hundreds of fresh demo stores they build do not each spend a second
// on four hashes; the program and the store tool never call it.
void useCheapHashingForTests();

// --- The old encoding -----------------------------------------------------------------

// The password encoder of the stores written before hashing: each character becomes the
// next one of the single-byte character set (Latin-1), so "abc" becomes "bcd". Characters
// outside that set, and code 255 (which has no successor), have no encoding: std::nullopt.
std::optional<QString> encode(const QString &text);

// The encoder as the login calls it to recognise an old row: it consumes its argument
// (the caller's string is empty afterwards, so callers pass a copy) and reports a
// character it cannot encode through ReportarError, returning an empty text.
QString CodificarPassword(QString &texto);

}  // namespace Usuario

#pragma once

#include <QString>
#include <optional>

namespace Usuario {

// The password encoder: each character becomes the next one of the single-byte character
// set (Latin-1), so "abc" becomes "bcd". Characters outside that set, and code 255 (which
// has no successor), have no encoding: std::nullopt.
std::optional<QString> encode(const QString &text);

// The encoder as the windows call it: it consumes its argument (the caller's string is
// empty afterwards, so callers pass a copy) and reports a character it cannot encode
// through ReportarError, returning an empty text.
QString CodificarPassword(QString &texto);

}  // namespace Usuario

#pragma once

#include <QStringList>

namespace pelorinnews {

/// The user's languages for texts, best first, in the form in which the platform gives them
/// ("en-US", "de"), with the script where the user chose one ("sr-Latn-RS"). Where the user has set
/// none (the "C" locale) it is English. Never empty.
[[nodiscard]] QStringList preferredLanguages();

/// The language of a POSIX locale, with the script that its modifier may choose: "de-DE" for
/// "de_DE.UTF-8", "sr-Latn-RS" for "sr_RS@latin"; a language tag stays as it is. "C" and "POSIX"
/// are "C"; empty for a name that has no language.
[[nodiscard]] QString languageOfLocale(const QString &locale);

/// `languages` with every "C" as "en", without empty ones, and English where none is left.
[[nodiscard]] QStringList languagesForTexts(const QStringList &languages);

}  // namespace pelorinnews

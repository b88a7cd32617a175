#pragma once

#include <QStringList>

namespace pelorinnews {

/// The user's languages for texts, best first, as the platform spells them ("en-US", "de"), with
/// the script if the user chose one ("sr-Latn-RS"). English if the user has set none (the "C"
/// locale). Never empty.
[[nodiscard]] QStringList preferredLanguages();

/// The language of a POSIX locale, with the script that its modifier may select: "de-DE" for
/// "de_DE.UTF-8", "sr-Latn-RS" for "sr_RS@latin". A language tag is returned unchanged. "C" and
/// "POSIX" give "C"; a name without a language gives an empty string.
[[nodiscard]] QString languageOfLocale(const QString &locale);

/// `languages` with every "C" replaced by "en", without empty ones and duplicates; English if none
/// is left.
[[nodiscard]] QStringList languagesForTexts(const QStringList &languages);

}  // namespace pelorinnews

#pragma once

#include <QStringList>

namespace pelorinnews {

/// The user's languages for texts, best first, in the form in which the platform gives them
/// ("en-US", "de"). Where the user has set none (the "C" locale) it is English. Never empty.
[[nodiscard]] QStringList preferredLanguages();

/// `languages` with every "C" as "en", without empty ones, and English where none is left.
[[nodiscard]] QStringList languagesForTexts(const QStringList &languages);

}  // namespace pelorinnews

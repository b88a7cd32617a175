#pragma once

#include <QString>
#include <QStringList>

/// The languages and locales that readers of a feed may have, as Unicode's locale data knows them.
namespace pelorinnews::FeedReaders {

/// Whether `locale`, a POSIX locale or a language tag, names a language and, if it has one, a
/// region that exist. "C" and "POSIX" do.
[[nodiscard]] bool isKnownLocale(const QString &locale);

/// Whether the panel of a user whose language is `language` takes `feedLanguage`, which is not
/// empty, for that user's language.
[[nodiscard]] bool matches(const QString &language, const QString &feedLanguage);

/// Whether `feedLanguage` is a language tag as users have it, such as "de", "de-AT" or "zh-TW". No
/// user has any other.
[[nodiscard]] bool isKnownLanguage(const QString &feedLanguage);

/// The tag that was probably meant by `feedLanguage`, which is not known: "en-US" for "en_us",
/// "en" for "English". Empty if there is none.
[[nodiscard]] QString suggestedLanguage(const QString &feedLanguage);

/// The language tags with a region, such as "de-AT", of the users whom `feedLanguage` reaches.
[[nodiscard]] QStringList languagesReached(const QString &feedLanguage);

}  // namespace pelorinnews::FeedReaders

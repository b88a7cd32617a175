#include "FeedReaders.h"

#include <algorithm>
#include <string_view>
#include <unicode/locid.h>

namespace pelorinnews::FeedReaders {

namespace {

/// The parts of a locale's name.
struct Locale {
    QString language;
    QString script;
    QString region;

    [[nodiscard]] QString tag(bool withScript, bool withRegion) const {
        QStringList parts{language};
        if (withScript && !script.isEmpty())
            parts.append(script);
        if (withRegion && !region.isEmpty())
            parts.append(region);
        return parts.join(u'-');
    }
};

Locale partsOf(const icu::Locale &locale) {
    return {QString::fromLatin1(locale.getLanguage()), QString::fromLatin1(locale.getScript()),
            QString::fromLatin1(locale.getCountry())};
}

/// The script in which users of this language in this region write unless they say otherwise.
QString usualScript(const Locale &locale) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale likely(locale.language.toLatin1().constData(),
                       locale.region.toLatin1().constData());
    likely.addLikelySubtags(status);
    return QString::fromLatin1(likely.getScript());
}

/// Whether the user's language `tag` is `feedLanguage`, or that with a script or region. The panel
/// compares only beginnings, but no service sends "da" to those who ask for "dav".
bool isAskedFor(const QString &tag, const QString &feedLanguage) {
    return matches(tag, feedLanguage) &&
           (tag.size() == feedLanguage.size() || tag[feedLanguage.size()] == u'-');
}

/// All locales of Unicode's data.
const QList<Locale> &allLocales() {
    static const QList<Locale> all = [] {
        int32_t count = 0;
        const icu::Locale *const available = icu::Locale::getAvailableLocales(count);
        QList<Locale> locales;
        for (int32_t i = 0; i < count; ++i)
            locales.append(partsOf(available[i]));
        return locales;
    }();
    return all;
}

/// Every tag that some user's language may have, with its script and without.
const QStringList &allTags() {
    static const QStringList all = [] {
        QStringList tags;
        for (const Locale &locale : allLocales()) {
            for (const bool withScript : {false, true}) {
                tags.append(locale.tag(withScript, false));
                tags.append(locale.tag(withScript, true));
            }
        }
        tags.sort();
        tags.removeDuplicates();
        return tags;
    }();
    return all;
}

bool isCountry(const QString &region) {
    for (const char *const *country = icu::Locale::getISOCountries(); *country; ++country) {
        if (region == QLatin1String(*country))
            return true;
    }
    return false;
}

/// Any number, as in "es_419", is a group of countries, which only the data itself lists.
bool isKnownRegion(const QString &region) {
    return region.isEmpty() || isCountry(region) ||
           std::any_of(allLocales().begin(), allLocales().end(),
                       [&](const Locale &known) { return known.region == region; });
}

bool isKnown(const icu::Locale &locale) {
    const Locale parts = partsOf(locale);
    return std::any_of(allLocales().begin(), allLocales().end(),
                       [&](const Locale &known) { return known.language == parts.language; }) &&
           isKnownRegion(parts.region) && *locale.getVariant() == '\0';
}

/// The usual spelling of a language tag, whatever its case; empty if it is none. A user may combine
/// any language with any region: "de-US".
QString usualTag(const QString &tag) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale locale = icu::Locale::forLanguageTag(tag.toStdString(), status);
    // The base name lacks extensions, as in "en-x-news".
    if (U_FAILURE(status) || !isKnown(locale) ||
        std::string_view(locale.getName()) != locale.getBaseName())
        return {};
    return QString::fromStdString(locale.toLanguageTag<std::string>(status));
}

QString displayName(const icu::Locale &language, const icu::Locale &in) {
    icu::UnicodeString name;
    language.getDisplayLanguage(in, name);
    return QString::fromUtf16(name.getBuffer(), name.length());
}

}  // namespace

bool isKnownLocale(const QString &locale) {
    const QString name = locale.section(u'@', 0, 0).section(u'.', 0, 0);
    if (name == u"C" || name == u"POSIX")
        return true;
    return isKnown(icu::Locale::createFromName(name.toUtf8().constData()));
}

bool matches(const QString &language, const QString &feedLanguage) {
    return language.startsWith(feedLanguage);
}

bool isKnownLanguage(const QString &feedLanguage) {
    const QStringList &tags = allTags();
    return !feedLanguage.isEmpty() && (std::binary_search(tags.begin(), tags.end(), feedLanguage) ||
                                       usualTag(feedLanguage) == feedLanguage);
}

QString suggestedLanguage(const QString &feedLanguage) {
    const QString spelled = feedLanguage.trimmed().replace(u'_', u'-');
    if (QString tag = usualTag(spelled); !tag.isEmpty())
        return tag;
    for (const Locale &locale : allLocales()) {
        const icu::Locale language(locale.language.toLatin1().constData());
        for (const icu::Locale &in : {icu::Locale::getEnglish(), language}) {
            if (displayName(language, in).compare(spelled, Qt::CaseInsensitive) == 0)
                return locale.language;
        }
    }
    const QString first = spelled.section(u'-', 0, 0).toLower();
    return first != spelled && isKnownLanguage(first) ? first : QString();
}

QStringList languagesReached(const QString &feedLanguage) {
    QStringList reached;
    for (const Locale &locale : allLocales()) {
        // Groups of countries are nobody's region. Hindi in Latin letters is in the data, but no
        // desktop has it.
        const bool isDesktops =
            locale.region.size() == 2 && !(locale.language == u"hi" && locale.script == u"Latn");
        if (!isDesktops)
            continue;
        const QString tag = locale.tag(true, true);
        const bool isUsual = locale.script.isEmpty() || locale.script == usualScript(locale);
        if (isAskedFor(tag, feedLanguage) ||
            (isUsual && isAskedFor(locale.tag(false, true), feedLanguage)))
            reached.append(tag);
    }
    reached.removeDuplicates();
    return reached;
}

}  // namespace pelorinnews::FeedReaders

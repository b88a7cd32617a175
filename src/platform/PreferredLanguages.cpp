#include "PreferredLanguages.h"

#include <QByteArray>
#include <QLocale>

namespace pelorinnews {

namespace {

/// The name of the user's first language, as in the environment ("sr_RS.UTF-8@latin").
QString firstName() {
    for (const QByteArray &name : qgetenv("LANGUAGE").split(':')) {
        if (!name.isEmpty())
            return QString::fromLatin1(name);
    }
    for (const char *const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const QByteArray name = qgetenv(variable); !name.isEmpty())
            return QString::fromLatin1(name);
    }
    return {};
}

/// The script subtag for the modifier of a locale's name.
QLatin1StringView scriptOf(const QString &name) {
    const QString modifier = name.section(u'@', 1);
    return modifier == u"latin"      ? QLatin1StringView("-Latn")
           : modifier == u"cyrillic" ? QLatin1StringView("-Cyrl")
                                     : QLatin1StringView();
}

}  // namespace

QStringList preferredLanguages() {
    QStringList languages = QLocale::system().uiLanguages();
    // Qt drops a locale modifier that selects a script, or mistakes it for a country. So put the
    // language with that script first.
    if (const QString name = firstName(); !scriptOf(name).isEmpty())
        languages.prepend(languageOfLocale(name));
    return languagesForTexts(languages);
}

QString languageOfLocale(const QString &locale) {
    const QString place = locale.section(u'@', 0, 0).section(u'.', 0, 0).replace(u'_', u'-');
    if (place == u"POSIX")
        return QStringLiteral("C");
    const QString language = place.section(u'-', 0, 0);
    return language.isEmpty() ? QString()
                              : language + scriptOf(locale) + place.sliced(language.size());
}

QStringList languagesForTexts(const QStringList &languages) {
    QStringList usable;
    for (const QString &language : languages) {
        const QString usual = language == u"C" ? QStringLiteral("en") : language;
        if (!usual.isEmpty() && !usable.contains(usual))
            usable.append(usual);
    }
    return usable.isEmpty() ? QStringList{QStringLiteral("en")} : usable;
}

}  // namespace pelorinnews

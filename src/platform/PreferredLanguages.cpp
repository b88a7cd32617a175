#include "PreferredLanguages.h"

#include <QLocale>

namespace pelorinnews {

QStringList preferredLanguages() {
    return languagesForTexts(QLocale::system().uiLanguages());
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

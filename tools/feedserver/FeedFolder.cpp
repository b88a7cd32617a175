#include "FeedFolder.h"

#include "FeedTemplate.h"

#include <QFile>
#include <QRegularExpression>

namespace pelorinnews {

namespace {

const QString defaultLocale = QStringLiteral("en");

/// Accepts plain names only, so that no request reads outside the folder.
bool isPlainName(const QString &text) {
    static const QRegularExpression plain(QStringLiteral("\\A[A-Za-z0-9_-]+\\z"));
    return plain.match(text).hasMatch();
}

}  // namespace

FeedFolder::FeedFolder(const QString &path) {
    if (!path.isEmpty())
        _folder.emplace(path);
}

std::optional<QByteArray> FeedFolder::feed(const QString &type, const QString &locale) const {
    if (!isPlainName(type))
        return std::nullopt;
    QString asked = isPlainName(locale) ? locale : defaultLocale;
    asked.replace(QLatin1Char('_'), QLatin1Char('-'));
    for (const QString &candidate : {asked, asked.section(QLatin1Char('-'), 0, 0), defaultLocale}) {
        const QString name = type + QLatin1Char('.') + candidate + QStringLiteral(".xml");
        if (auto feed = rendered(name, asked))
            return feed;
    }
    return std::nullopt;
}

std::optional<QByteArray> FeedFolder::file(const QString &name) const {
    static const QRegularExpression fileName(
        QStringLiteral("\\A[A-Za-z0-9_-]+(?:\\.([A-Za-z0-9_-]+))?\\.xml\\z"));
    const QRegularExpressionMatch match = fileName.match(name);
    if (!match.hasMatch())
        return std::nullopt;
    const QString locale = match.captured(1);
    return rendered(name, locale.isEmpty() ? defaultLocale : locale);
}

std::optional<QByteArray> FeedFolder::rendered(const QString &name, const QString &locale) const {
    if (!_folder)
        return std::nullopt;
    QFile file(_folder->filePath(name));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return FeedTemplate::render(file.readAll(), locale, QDateTime::currentDateTimeUtc());
}

}  // namespace pelorinnews

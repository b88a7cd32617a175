#pragma once

#include <QByteArray>
#include <QDir>
#include <QString>

#include <optional>

namespace pelorinnews {

/// The folder of feed templates that a feed service serves. The service's address returns
/// `TYPE.LOCALE.xml` for the query's type and locale (for example `standard.de.xml`,
/// `standard.pt-BR.xml`); any `.xml` file is also served by its name.
class FeedFolder {
public:
    /// An empty path is a folder without feeds.
    explicit FeedFolder(const QString &path);

    /// The feed of `type` in `locale`, else in its base language, else in English. Its dates are
    /// written in `locale`, because the reader parses them in that locale. Absent if there is no
    /// such type.
    [[nodiscard]] std::optional<QByteArray> feed(const QString &type, const QString &locale) const;

    /// The file `name` (ending in ".xml") of the folder. Its dates are written in the locale that
    /// its name contains, else in English.
    [[nodiscard]] std::optional<QByteArray> file(const QString &name) const;

private:
    [[nodiscard]] std::optional<QByteArray> rendered(const QString &name,
                                                     const QString &locale) const;

    std::optional<QDir> _folder;
};

}  // namespace pelorinnews

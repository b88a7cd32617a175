#pragma once

#include <QByteArray>
#include <QDir>
#include <QString>

#include <optional>

namespace pelorinnews {

/// The folder of feed templates that a feed service serves. `TYPE.LOCALE.xml` (for example
/// `standard.de.xml`, `standard.pt-BR.xml`) answers the service's address; any `.xml` file is
/// served by its name.
class FeedFolder {
public:
    /// An empty path is a folder without feeds.
    explicit FeedFolder(const QString &path);

    /// The feed of `type` in `locale`, else in its base language, else in English. Its dates are
    /// written in `locale`, because the reader parses them in that locale. Absent if there is no
    /// such type.
    [[nodiscard]] std::optional<QByteArray> feed(const QString &type, const QString &locale) const;

    /// The file `name` of the folder, which ends in ".xml". Its dates are written in the locale in
    /// its name, else in English.
    [[nodiscard]] std::optional<QByteArray> file(const QString &name) const;

private:
    [[nodiscard]] std::optional<QByteArray> rendered(const QString &name,
                                                     const QString &locale) const;

    std::optional<QDir> _folder;
};

}  // namespace pelorinnews

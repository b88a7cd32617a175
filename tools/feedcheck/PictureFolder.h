#pragma once

#include <QSet>
#include <QSize>
#include <QString>

#include <array>

namespace pelorinnews {

/// How the desktop looks on which pictures are taken.
struct PictureLook {
    bool isDark;
    /// The scale of the screen.
    int percent;
};
inline constexpr std::array<PictureLook, 4> pictureLooks{
    {{false, 100}, {true, 100}, {false, 200}, {true, 200}}};

enum class PictureRenderer { Web, Text };

/// The name of a picture's file. `item` is counted from one.
[[nodiscard]] QString pictureName(std::size_t item, PictureRenderer renderer, PictureLook look);

/// The folder of pictures and of the contact sheet that shows them, `index.html`. It may hold other
/// files, which stay as they are: pictures count as ours only if the contact sheet is.
class PictureFolder {
public:
    /// Makes the folder, if need be. `problem` tells if it cannot be used.
    explicit PictureFolder(const QString &path);

    /// Why the folder is not used; null if it is.
    [[nodiscard]] const QString &problem() const { return _problem; }

    [[nodiscard]] QString pathOf(const QString &name) const;
    [[nodiscard]] QString sheetPath() const;

    /// Replaces the contact sheet. The reason if that fails, else null.
    [[nodiscard]] QString writeSheet(const QString &html) const;

    /// Removes the pictures of earlier runs, but for those in `kept`.
    void removeOthers(const QSet<QString> &kept) const;

private:
    QString _path;
    QString _problem;
};

/// What contact sheets have in their head, by which they are recognised.
[[nodiscard]] QString sheetMark();

}  // namespace pelorinnews

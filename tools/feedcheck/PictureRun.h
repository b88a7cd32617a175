#pragma once

#include "PictureFolder.h"
#include "feed/OlvNewsCache.h"

#include <functional>
#include <vector>

namespace pelorinnews {

/// What came of the pictures of the web renderer.
enum class WebPicture {
    Complete,
    /// The page was still loading when the picture was taken.
    TimedOut,
    /// The web renderer cannot show the page, so there is no picture.
    Absent,
};

/// Has the first `maxItems` items of a feed pictured, in both renderers and all looks. The program
/// that draws, pelorin-news-pictures, is started once for each look. Items are handed to it one at
/// a time, so the memory in use does not grow with their number.
class PictureRun {
public:
    static constexpr std::size_t maxItems = 200;

    PictureRun(const OlvNewsItemList &items, const PictureFolder &folder, QSize size);

    /// Blocks until all pictures are taken, or `isStale`, which is called now and then, returns
    /// true. Returns whether all pictures were taken.
    [[nodiscard]] bool take(const std::function<bool()> &isStale);

    /// How many items are pictured.
    [[nodiscard]] std::size_t itemCount() const { return _web.size(); }
    [[nodiscard]] static std::size_t picturesPerItem() { return 2 * pictureLooks.size(); }

    /// Why not all pictures were taken; null if `isStale` was the reason, or if all were.
    [[nodiscard]] const QString &problem() const { return _problem; }

    /// The pictures of an item, counted from zero, in the order of `pictureLooks`.
    using WebPictures = std::array<WebPicture, pictureLooks.size()>;
    [[nodiscard]] const WebPictures &webPictures(std::size_t item) const { return _web[item]; }

    /// Why the web renderer has shown no item at all; null if it has shown one.
    [[nodiscard]] QString webProblem() const;

    /// The names of the files of all pictures.
    [[nodiscard]] QSet<QString> names() const;

private:
    enum class End { Done, Stale, Failed };

    [[nodiscard]] End takeLook(std::size_t look, const std::function<bool()> &isStale);

    const OlvNewsItemList &_items;
    const PictureFolder &_folder;
    QSize _size;
    std::vector<WebPictures> _web;
    QString _problem;
};

}  // namespace pelorinnews

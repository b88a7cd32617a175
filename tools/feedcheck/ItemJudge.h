#pragma once

#include "DateJudge.h"
#include "FeedInspector.h"
#include "FeedPreview.h"
#include "Finding.h"

#include <QHash>

#include <vector>

namespace pelorinnews {

/// Judges the items of one feed, in their order.
class ItemJudge {
public:
    /// `locale` and `otherReaders` as for `DateJudge`. `preview` must outlive this object.
    ItemJudge(const FeedPreview &preview, const QString &locale, const QStringList &otherReaders)
        : _preview(preview), _dates(locale, otherReaders) {}

    /// The findings on the next item, without its number.
    [[nodiscard]] std::vector<Finding> judge(const OlvNewsCacheItem &item,
                                             const InspectedItem &inspected);

private:
    void judgeTexts(const OlvNewsCacheItem &item, const InspectedItem &inspected);
    void judgeComments(const QString &comments, qint64 line);
    void judgeCategory(const OlvNewsCacheItem &item, const InspectedItem &inspected);
    void judgePageOf(const OlvNewsCacheItem &item, const InspectedItem &inspected);
    void judgeRepetition(const OlvNewsCacheItem &item, const InspectedItem &inspected);
    void note(FindingKind kind, qint64 line, const QString &text) {
        _findings.push_back({kind, line, text});
    }

    const FeedPreview &_preview;
    DateJudge _dates;
    std::vector<Finding> _findings;
    /// The numbers of the items, by what makes one item equal to another.
    QHash<QStringList, std::size_t> _known;
    std::size_t _number = 0;
    bool _linkNoted = false;
};

}  // namespace pelorinnews

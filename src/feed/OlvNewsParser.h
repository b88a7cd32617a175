#pragma once

#include "OlvNewsCacheItem.h"

#include <pelorinnews/Error.h>

#include <QVariantMap>

#include <optional>

namespace pelorinnews {

inline const QString OlvNewsFeedChannelLanguageKeyName =
    QStringLiteral("OlvNewsFeedChannelLanguageKeyName");
inline const QString OlvNewsFeedNewsCacheItemsKeyName =
    QStringLiteral("OlvNewsFeedNewsCacheItemsKeyName");

/// Turns the text of a feed into its language and its items.
class OlvNewsParser {
public:
    [[nodiscard]] std::optional<QVariantMap> parse(const QString &text, Error *error = nullptr);
};

}  // namespace pelorinnews

Q_DECLARE_METATYPE(std::shared_ptr<pelorinnews::OlvNewsItemList>)

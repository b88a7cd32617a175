#pragma once

#include <QMimeData>

#include <memory>

namespace pelorinnews {

/// Clipboard data for rich text: the same bytes under each MIME type that applications look for,
/// and no plain-text alternative.
[[nodiscard]] std::unique_ptr<QMimeData> richTextMimeData(const QByteArray &rtf);

}  // namespace pelorinnews

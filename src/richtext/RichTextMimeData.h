#pragma once

#include <QMimeData>

#include <memory>

namespace pelorinnews {

/// What a clipboard is given for rich text: the same bytes under each type that applications look
/// for it by, and no plain text beside them.
[[nodiscard]] std::unique_ptr<QMimeData> richTextMimeData(const QByteArray &rtf);

}  // namespace pelorinnews

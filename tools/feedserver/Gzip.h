#pragma once

#include <QByteArray>

namespace pelorinnews {

/// `bytes` as one gzip member.
[[nodiscard]] QByteArray gzip(const QByteArray &bytes);

}  // namespace pelorinnews

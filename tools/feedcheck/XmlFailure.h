#pragma once

#include "Finding.h"

#include "pelorinnews/Error.h"

#include <QStringView>

namespace pelorinnews {

/// The finding on the error at which the XML reader stopped in `text`, with what to write instead.
[[nodiscard]] Finding xmlFailure(const Error &error, QStringView text);

}  // namespace pelorinnews

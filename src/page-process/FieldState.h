#pragma once

#include "pageprotocol/PageProtocol.h"

namespace pelorinnews {

/// The input method state of the page's focused element; the default state if nothing has the
/// focus.
[[nodiscard]] pageprotocol::InputState currentFieldState();

}  // namespace pelorinnews

#pragma once

namespace pelorinnews::pageprotocol {

/// The file descriptor of the child's end of the connection.
inline constexpr int childSocket = 3;

}  // namespace pelorinnews::pageprotocol

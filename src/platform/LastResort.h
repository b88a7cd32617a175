#pragma once

#include <functional>

namespace pelorinnews {

/// Runs `work` and catches what it throws, for the outermost function of a thread: an exception
/// that left the thread would end the host. Only a failed allocation throws in this module. Reports
/// the exception to the Qt logging category "pelorin.news", never to the host's logger. False if
/// `work` threw.
bool lastResort(const std::function<void()> &work) noexcept;

}  // namespace pelorinnews

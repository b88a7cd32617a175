#pragma once

namespace pelorinnews {

/// The reason for a navigation. Policy delegates rely on these numbers.
enum class NavigationType : int {
    LinkClicked = 0,
    FormSubmitted = 1,
    BackForward = 2,
    Reload = 3,
    FormResubmitted = 4,
    Other = 5,
};

}  // namespace pelorinnews

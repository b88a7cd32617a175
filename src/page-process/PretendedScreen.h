#pragma once

#include "pageprotocol/StartArguments.h"
#include "platform/FileDescriptor.h"

namespace pelorinnews {

/// Gives Qt's offscreen platform a screen of the same size and scale as the host's, so that the
/// engine keeps pop-ups within it. Create it before the application object, and keep it until the
/// application object exists.
class PretendedScreen {
public:
    explicit PretendedScreen(const StartArguments &start);

private:
    FileDescriptor _description;
};

}  // namespace pelorinnews

#pragma once

#include "pageprotocol/PageProtocol.h"

class QWidget;

/// Delivers the host's input to a window of this process as if it came from the window system.
namespace pelorinnews::InputEvents {

void deliver(QWidget &window, const pageprotocol::MouseInput &input);
void deliver(QWidget &window, const pageprotocol::WheelInput &input);
void deliver(QWidget &window, const pageprotocol::KeyInput &input);
void deliver(QWidget &window, const pageprotocol::DropText &input);

/// Gives the window the keyboard focus, or takes it away.
void deliver(QWidget &window, const pageprotocol::FocusInput &input);

/// The event goes to the object that has the keyboard focus.
void deliver(const pageprotocol::CommitText &input);
void deliver(const pageprotocol::PreeditText &input);

}  // namespace pelorinnews::InputEvents

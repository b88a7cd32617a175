#pragma once

namespace pelorinnews {

/// Has Qt Quick, and with it the engine, paint by itself where GL would be done by the processor,
/// as on computers without a graphics card: a page then comes up in a third of the time. Call it
/// before the first object of the engine is made.
///
/// The choice is the process's, and for good. So it is left alone where the host already shows Qt
/// Quick, or where the user's environment makes it (QT_QUICK_BACKEND, QSG_RHI_BACKEND).
void paintWithoutEmulatedGl();

}  // namespace pelorinnews

#pragma once

namespace pelorinnews {

/// Makes Qt Quick, and with it the engine, paint in software if GL would be emulated on the CPU, as
/// on computers without a graphics card: a page then appears in a third of the time. Call it before
/// the first object of the engine is created.
///
/// The choice is process-wide and permanent. Therefore this is a no-op if the host already has a Qt
/// Quick window, or if the environment makes the choice (QT_QUICK_BACKEND, QSG_RHI_BACKEND).
void paintWithoutEmulatedGl();

}  // namespace pelorinnews

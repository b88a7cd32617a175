#pragma once

namespace pelorinnews {

/// Makes Qt Quick, and with it the engine, paint in software if GL would be emulated on the CPU, as
/// on computers without a graphics card: a page then comes up in a third of the time. Call it
/// before the first object of the engine is created.
///
/// The choice is process-wide and permanent. So it is left alone if the host already shows Qt
/// Quick, or if the user's environment makes it (QT_QUICK_BACKEND, QSG_RHI_BACKEND).
void paintWithoutEmulatedGl();

}  // namespace pelorinnews

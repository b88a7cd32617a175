#pragma once

#include <glib.h>

namespace pelorinnews {

/// While it exists, each turn of the default GLib main context tells Qt when the loop is about to
/// wait. Qt's Wayland code sends its requests then; Qt's own loop emits the signal, but a GLib loop
/// run by the host does not, so a window might never appear. Main thread only.
class GlibFlush {
public:
    GlibFlush();
    GlibFlush(const GlibFlush &) = delete;
    GlibFlush &operator=(const GlibFlush &) = delete;
    ~GlibFlush();

private:
    GSource *_source;
};

}  // namespace pelorinnews

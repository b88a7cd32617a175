#include "GlibFlush.h"

#include <QAbstractEventDispatcher>

namespace pelorinnews {

namespace {

// GLib asks every source before it waits.
gboolean prepare(GSource *, gint *timeout) {
    *timeout = -1;
    if (QAbstractEventDispatcher *const dispatcher = QAbstractEventDispatcher::instance())
        Q_EMIT dispatcher->aboutToBlock();
    return FALSE;
}

gboolean check(GSource *) {
    return FALSE;
}

gboolean dispatch(GSource *, GSourceFunc, gpointer) {
    return G_SOURCE_CONTINUE;
}

GSourceFuncs functions{prepare, check, dispatch, nullptr, nullptr, nullptr};

}  // namespace

GlibFlush::GlibFlush() : _source(g_source_new(&functions, sizeof(GSource))) {
    // GLib prepares sources in the order of their priority, and not those that come after one that
    // is ready; but then it does not wait.
    g_source_set_priority(_source, G_PRIORITY_LOW);
    g_source_attach(_source, nullptr);
}

GlibFlush::~GlibFlush() {
    g_source_destroy(_source);
    g_source_unref(_source);
}

}  // namespace pelorinnews

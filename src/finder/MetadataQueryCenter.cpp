#include "MetadataQueryCenter.h"

#include <QCoreApplication>

namespace pelorinnews {

MetadataQueryCenter *MetadataQueryCenter::defaultCenter() {
    static MetadataQueryCenter *const center = [] {
        auto *made = new MetadataQueryCenter;
        if (const QCoreApplication *application = QCoreApplication::instance())
            made->moveToThread(application->thread());
        return made;
    }();
    return center;
}

}  // namespace pelorinnews

#include "PretendedScreen.h"

#include "pageprotocol/SharedMemory.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace pelorinnews {

PretendedScreen::PretendedScreen(const StartArguments &start) {
    const QJsonObject screen{{QStringLiteral("name"), QStringLiteral("host")},
                             {QStringLiteral("x"), 0},
                             {QStringLiteral("y"), 0},
                             {QStringLiteral("width"), start.screen.width()},
                             {QStringLiteral("height"), start.screen.height()},
                             {QStringLiteral("logicalDpi"), 96},
                             {QStringLiteral("logicalBaseDpi"), 96},
                             {QStringLiteral("dpr"), 1}};
    const QJsonObject description{{QStringLiteral("screens"), QJsonArray{screen}}};
    _description = SharedMemory::createSealed(QJsonDocument(description).toJson());
    QByteArray platform = "offscreen";
    if (_description.isValid())
        platform += ":configfile=/proc/self/fd/" + QByteArray::number(_description.get());
    qputenv("QT_QPA_PLATFORM", platform);
    qputenv("QT_SCALE_FACTOR", QByteArray::number(start.scale, 'g', 17));
}

}  // namespace pelorinnews

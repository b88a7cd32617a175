#include "KeptGeometry.h"

#include "platform/FileReplacement.h"
#include "platform/RegularFile.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

namespace pelorinnews {

namespace {

constexpr qint64 maxFileBytes = 1024;

/// X11 has 16 bits for a coordinate and for a length.
constexpr int maxCoordinate = 32767;

std::optional<int> number(const QJsonObject &object, QLatin1String name, int least) {
    const double value = object.value(name).toDouble(std::nan(""));
    if (!(value >= least && value <= maxCoordinate) || value != std::floor(value))
        return std::nullopt;
    return static_cast<int>(value);
}

}  // namespace

QString KeptGeometry::path() const {
    return QDir(_folder).filePath(QStringLiteral("window.json"));
}

std::optional<KeptGeometry::Geometry> KeptGeometry::read() const {
    Error unused;
    const auto bytes =
        _folder.isEmpty() ? std::nullopt : RegularFile::contents(path(), maxFileBytes, &unused);
    if (!bytes)
        return std::nullopt;
    const QJsonObject object = QJsonDocument::fromJson(*bytes).object();
    const auto width = number(object, QLatin1String("width"), 1);
    const auto height = number(object, QLatin1String("height"), 1);
    if (!width || !height)
        return std::nullopt;
    Geometry geometry{QSize(*width, *height), std::nullopt};
    const auto x = number(object, QLatin1String("x"), -maxCoordinate);
    const auto y = number(object, QLatin1String("y"), -maxCoordinate);
    if (x && y)
        geometry.place = QPoint(*x, *y);
    return geometry;
}

void KeptGeometry::write(const Geometry &geometry) const {
    if (_folder.isEmpty() || read() == geometry || !QDir().mkpath(_folder))
        return;
    QJsonObject object{{QStringLiteral("width"), geometry.size.width()},
                       {QStringLiteral("height"), geometry.size.height()}};
    if (geometry.place) {
        object.insert(QStringLiteral("x"), geometry.place->x());
        object.insert(QStringLiteral("y"), geometry.place->y());
    }
    FileReplacement file(path());
    file.write(QJsonDocument(object).toJson());
    // There is nothing to do about a failure: the next window opens with the earlier geometry.
    static_cast<void>(file.commit());
}

}  // namespace pelorinnews

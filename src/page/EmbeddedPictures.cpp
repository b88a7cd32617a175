#include "EmbeddedPictures.h"

#include "BoundedPage.h"

namespace pelorinnews {

namespace {

constexpr int maxUses = 1000;

}  // namespace

QString EmbeddedPictures::nameOf(const QString &address) {
    if (!address.startsWith(QStringLiteral("data:image/"), Qt::CaseInsensitive) || _uses >= maxUses)
        return {};
    ++_uses;
    auto known = _indexes.constFind(address);
    if (known == _indexes.constEnd()) {
        known = _indexes.insert(address, _addresses.size());
        _addresses << address;
    }
    return BoundedPage::pictureName(*known);
}

}  // namespace pelorinnews

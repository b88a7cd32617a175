#include "RequestFilter.h"

#include "ItemSchemeHandler.h"

#include <QSet>

namespace pelorinnews {

void RequestFilter::interceptRequest(QWebEngineUrlRequestInfo &request) {
    static const QSet<QString> schemes{QStringLiteral("http"), QStringLiteral("https"),
                                       QStringLiteral("data"), QStringLiteral("blob"),
                                       QString::fromLatin1(ItemSchemeHandler::scheme())};
    if (!schemes.contains(request.requestUrl().scheme()))
        request.block(true);
}

}  // namespace pelorinnews

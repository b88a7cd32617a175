#include "StartArguments.h"

#include "PageProtocol.h"

namespace pelorinnews {

QByteArrayList StartArguments::toArguments() const {
    return {QByteArray::number(host),
            QByteArray::number(scale, 'g', 17),
            QByteArray::number(screen.width()),
            QByteArray::number(screen.height()),
            QByteArray::number(prefersDark ? 1 : 0),
            proxy.toEncoded()};
}

bool StartArguments::isProxy(const QUrl &proxy) {
    const bool isKnown =
        proxy.scheme() == QLatin1String("http") || proxy.scheme() == QLatin1String("socks5");
    QUrl plain;
    plain.setScheme(proxy.scheme());
    plain.setHost(proxy.host());
    plain.setPort(proxy.port());
    return isKnown && proxy.isValid() && !proxy.host().isEmpty() && proxy.port() > 0 &&
           proxy == plain;
}

std::optional<StartArguments> StartArguments::parse(const QByteArrayList &arguments) {
    if (arguments.size() != 6)
        return std::nullopt;
    bool isNumber[5] = {};
    StartArguments parsed;
    parsed.host = arguments.at(0).toInt(&isNumber[0]);
    parsed.scale = arguments.at(1).toDouble(&isNumber[1]);
    parsed.screen = {arguments.at(2).toInt(&isNumber[2]), arguments.at(3).toInt(&isNumber[3])};
    const int dark = arguments.at(4).toInt(&isNumber[4]);
    parsed.prefersDark = dark != 0;
    parsed.proxy = QUrl::fromEncoded(arguments.at(5), QUrl::StrictMode);
    if (!arguments.at(5).isEmpty() && !isProxy(parsed.proxy))
        return std::nullopt;
    for (const bool each : isNumber) {
        if (!each)
            return std::nullopt;
    }
    // The comparison is negated, so that it rejects NaN, too.
    if (parsed.host <= 0 || !(parsed.scale >= minScale && parsed.scale <= maxScale) ||
        !pageprotocol::isSize(parsed.screen.width(), parsed.screen.height()) ||
        !pageprotocol::isFlag(dark))
        return std::nullopt;
    return parsed;
}

}  // namespace pelorinnews

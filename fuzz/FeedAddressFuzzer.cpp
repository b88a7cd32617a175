// The promise tested: whatever the preferences hold, the address of the feed is composed as
// documented, and what goes on the wire is one line of printable ASCII.

#include "Input.h"
#include "feed/FeedDownload.h"
#include "feed/OlvNewsCache.h"

using namespace pelorinnews;

namespace {

void require(bool holds) {
    if (!holds)
        qFatal("a feed's address violates one of its guarantees");
}

class NoLoader : public UrlLoader {
public:
    NoLoader() = default;
    void sendAsynchronousRequest(const QUrl &, std::chrono::seconds, QThreadPool *,
                                 UrlCompletion) override {}
};

QString composed(const QString &base, const QString &locale, const QString &type) {
    if (base.endsWith(QStringLiteral(".xml")))
        return base;
    QStringList parts = {base + QLatin1Char('?')};
    if (!locale.isEmpty())
        parts.append(QStringLiteral("locale=") + locale);
    if (!type.isEmpty())
        parts.append(QStringLiteral("type=") + type);
    return parts.join(QLatin1Char('&'));
}

}  // namespace

/// The base URL, the locale and the type: a line each.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(QByteArrayView(data, static_cast<qsizetype>(size)));
    const QString base = QString::fromUtf8(input.bytesUntil('\n'));
    const QString locale = QString::fromUtf8(input.bytesUntil('\n'));
    const QString type = QString::fromUtf8(input.rest());
    const QString address = FeedDownload::address(base, locale, type);
    require(address == composed(base, locale, type));

    static const auto cache = std::make_shared<OlvNewsCache>(std::make_shared<NoLoader>());
    cache->setFeedBaseURL(base);
    cache->setDesiredLocale(locale);
    cache->setFeedType(type);
    const std::optional<QUrl> url = cache->feedRequest();
    require(url.has_value() == !base.isNull());
    if (!url || !url->isValid())
        return 0;
    const QByteArray sent = url->toEncoded(QUrl::RemoveFragment | QUrl::RemoveUserInfo);
    for (const char character : sent)
        require(character > ' ' && character < '\x7F');
    return 0;
}

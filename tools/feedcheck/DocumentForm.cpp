#include "DocumentForm.h"

#include "FeedInspector.h"

#include <QRegularExpression>

#include <algorithm>

namespace pelorinnews {

namespace {

using namespace std::string_view_literals;

std::string_view bytesOf(const QByteArray &body) {
    return {body.constData(), static_cast<std::size_t>(body.size())};
}

bool isUtf32(const QByteArray &body) {
    const std::string_view bytes = bytesOf(body);
    return bytes.starts_with("\xFF\xFE\0\0"sv) || bytes.starts_with("\0\0\xFE\xFF"sv) ||
           bytes.starts_with("<\0\0\0"sv) || bytes.starts_with("\0\0\0<"sv);
}

bool isUtf16(const QByteArray &body) {
    const std::string_view bytes = bytesOf(body);
    return bytes.starts_with("\xFF\xFE"sv) || bytes.starts_with("\xFE\xFF"sv) ||
           bytes.starts_with("<\0"sv) || bytes.starts_with("\0<"sv);
}

/// The number of the first line that is not UTF-8, from 1. Each line can be checked separately,
/// because no byte of a multi-byte UTF-8 character is a line feed.
qint64 firstLineNotUtf8(const QByteArray &body) {
    const QList<QByteArray> lines = body.split('\n');
    const auto found = std::find_if(lines.begin(), lines.end(),
                                    [](const QByteArray &one) { return !one.isValidUtf8(); });
    return found - lines.begin() + 1;
}

/// The beginning of the text, without the XML declaration, comments and blanks.
QString opening(const QByteArray &body) {
    constexpr qsizetype maxOpening = 4096;
    static const QRegularExpression prolog(
        QStringLiteral("^(?:\\x{FEFF}|\\s|<\\?xml[^>]*>|<!--.*?-->)+"),
        QRegularExpression::DotMatchesEverythingOption);
    return QString::fromUtf8(body.first(std::min(body.size(), maxOpening))).remove(prolog);
}

bool startsWith(const QString &text, const char *beginning) {
    return text.startsWith(QLatin1String(beginning), Qt::CaseInsensitive);
}

/// Words before the XML declaration, as a generator prints them that reports a problem of its own.
std::optional<Finding> beforeDeclaration(const QString &text) {
    const qsizetype declaration = text.indexOf(QLatin1String("<?xml"));
    if (declaration <= 0)
        return std::nullopt;
    static const QRegularExpression tag(QStringLiteral("<[^>]*>"));
    const QString words = text.first(declaration).remove(tag).simplified();
    return Finding{FindingKind::DeclarationLate, 1,
                   QStringLiteral("something stands before the declaration <?xml …?>, and the "
                                  "panel takes nothing of this feed: \"%1\"")
                       .arg(forOneLine(words))};
}

/// `name` without its namespace prefix.
std::string_view localName(std::string_view name) {
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

}  // namespace

std::optional<Finding> otherThanXml(const QByteArray &body) {
    const auto found = [](FindingKind kind, const char *text, qint64 line = 1) {
        return Finding{kind, line, QLatin1String(text)};
    };
    if (isUtf32(body))
        return found(FindingKind::DocumentUtf16,
                     "the document is UTF-32: the panel takes nothing of it; save it as UTF-8");
    if (isUtf16(body))
        return found(FindingKind::DocumentUtf16,
                     "the document is UTF-16: the panel takes nothing of it; save it as UTF-8");
    if (!body.isValidUtf8())
        return found(FindingKind::DocumentNotUtf8,
                     "this line is not UTF-8: the panel takes nothing of this feed and keeps the "
                     "news it has; save the document as UTF-8",
                     firstLineNotUtf8(body));
    const QString text = opening(body);
    if (text.isEmpty() && !body.contains('<'))
        return found(FindingKind::DocumentEmpty,
                     "the document is empty: the panel keeps the news it has");
    if (startsWith(text, "HTTP/"))
        return found(FindingKind::DocumentHttpHead,
                     "the document begins with the head of an HTTP reply: save the body alone");
    if (startsWith(text, "<!DOCTYPE html") || startsWith(text, "<html"))
        return found(FindingKind::DocumentHtml,
                     "this is a web page, not a feed: either the address is not the feed's, or the "
                     "service reports an error in a page of its own");
    if (startsWith(text, "{") || startsWith(text, "["))
        return found(FindingKind::DocumentJson,
                     "this is JSON: the panel reads RSS only; publish the news as RSS");
    return beforeDeclaration(text);
}

std::optional<Finding> otherFeedFormat(const FeedInspector &inspector) {
    const std::string_view name = localName(inspector.root());
    if (name == "feed")
        return Finding{FindingKind::DocumentAtom, inspector.rootLine(),
                       QStringLiteral("this is an Atom feed: the panel reads RSS only; publish the "
                                      "news with <language> and <item>")};
    if (name == "RDF")
        return Finding{FindingKind::DocumentRdf, inspector.rootLine(),
                       QStringLiteral("this is a feed in RSS 1.0, whose language and dates the "
                                      "panel does not read; publish the news as RSS 2.0")};
    return std::nullopt;
}

}  // namespace pelorinnews

#include "PageJudge.h"

#include "page/BoundedHtml.h"
#include "page/HtmlAttributes.h"
#include "page/HtmlReader.h"

#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <array>

namespace pelorinnews {

namespace {

constexpr qsizetype kilobyte = 1024;
/// Of the picture's file. The panel downloads a feed's pictures with every refresh.
constexpr qsizetype maxPictureBytes = 256 * kilobyte;

struct ElementKind {
    const char *name;
    FindingKind kind;
    const char *text;
};
constexpr auto scriptsText = "scripts never run, and <script> is not shown";
constexpr auto framesText =
    "frames show only while readers are online, and never in the text "
    "renderer: link to the page instead";
constexpr auto mediaText =
    "sound and films do not play by themselves, and never in the text "
    "renderer: link to them as well";
constexpr auto formText = "forms do not work in the text renderer: link to a page with the form";
constexpr auto plugInText = "plug-ins never run: link to the file instead";
constexpr std::array elementKinds = {
    ElementKind{"script", FindingKind::PageScript, scriptsText},
    ElementKind{"iframe", FindingKind::PageFrame, framesText},
    ElementKind{"frame", FindingKind::PageFrame, framesText},
    ElementKind{"video", FindingKind::PageMedia, mediaText},
    ElementKind{"audio", FindingKind::PageMedia, mediaText},
    ElementKind{"form", FindingKind::PageForm, formText},
    ElementKind{"input", FindingKind::PageForm, formText},
    ElementKind{"button", FindingKind::PageForm, formText},
    ElementKind{"select", FindingKind::PageForm, formText},
    ElementKind{"textarea", FindingKind::PageForm, formText},
    ElementKind{"object", FindingKind::PagePlugin, plugInText},
    ElementKind{"embed", FindingKind::PagePlugin, plugInText},
    ElementKind{"applet", FindingKind::PagePlugin, plugInText},
};

/// The scheme of `address` in small letters; empty for a relative address.
QString schemeOf(const QString &address) {
    static const QRegularExpression scheme(QStringLiteral("^([A-Za-z][A-Za-z0-9+.-]*):"));
    return scheme.match(address).captured(1).toLower();
}

bool isWeb(const QString &scheme) {
    return scheme == u"http" || scheme == u"https";
}

/// Whether `address` names no host of its own, although its scheme needs one.
bool isRelative(const QString &address) {
    const QString scheme = schemeOf(address);
    return scheme.isEmpty() || (isWeb(scheme) && QUrl(address).host().isEmpty());
}

/// Reads one page.
class PageReading {
public:
    PageReading(const QString &html, const InspectedElement &element)
        : _html(html), _element(element) {}

    std::vector<Finding> run() {
        readBounds();
        HtmlReader reader(_html);
        bool hasTags = false;
        while (true) {
            _position = reader.position();
            const HtmlToken token = reader.next();
            if (token.kind == HtmlToken::Kind::End)
                break;
            hasTags = hasTags || token.kind != HtmlToken::Kind::Text;
            if (token.kind == HtmlToken::Kind::StartTag)
                readTag(token);
        }
        if (!hasTags)
            readEscapes();
        return std::move(_findings);
    }

private:
    void note(FindingKind kind, const QString &text) {
        if (std::any_of(_findings.begin(), _findings.end(),
                        [kind](const Finding &finding) { return finding.kind == kind; }))
            return;
        const qint64 line = _element.textLines.lineAt(_position, _html);
        _findings.push_back({kind, line > 0 ? line : _element.line, text});
    }

    void readBounds() {
        if (!BoundedHtml::prepared(_html))
            note(FindingKind::PageLong,
                 QStringLiteral("the page is so long or so complex that the text renderer shows "
                                "only its beginning"));
        _pictures = BoundedHtml::beginning(_html).pictures;
    }

    void readTag(const HtmlToken &token) {
        for (const ElementKind &known : elementKinds) {
            if (token.name == QLatin1String(known.name))
                note(known.kind, QLatin1String(known.text));
        }
        if (std::any_of(token.attributes.begin(), token.attributes.end(),
                        [](const auto &attribute) { return attribute.first.startsWith(u"on"); }))
            note(FindingKind::PageScript,
                 QStringLiteral("scripts never run: the handler in <%1> does nothing")
                     .arg(forOneLine(token.name)));
        if (token.name == u"meta" && valueOf(token.attributes, QLatin1String("http-equiv"))
                                             .compare(u"refresh", Qt::CaseInsensitive) == 0)
            note(FindingKind::PageRefresh,
                 QStringLiteral("the text renderer does not follow <meta http-equiv=\"refresh\">, "
                                "and the page leaves the item: show the content itself"));
        if (token.name == u"a" || token.name == u"area")
            readLink(token);
        if (token.name == u"img")
            readPicture(token);
    }

    static QString addressIn(const HtmlToken &token, const char *attribute) {
        const QString value = valueOf(token.attributes, QLatin1String(attribute));
        return value.isNull() ? value : withoutEntities(value).trimmed();
    }

    void readLink(const HtmlToken &token) {
        const QString address = addressIn(token, "href");
        if (address.isNull())
            return;
        const QString scheme = schemeOf(address);
        if (isRelative(address))
            note(FindingKind::LinkRelative,
                 QStringLiteral(
                     "the link \"%1\" leads nowhere: the panel has no address to complete "
                     "it with; write it in full")
                     .arg(forOneLine(address)));
        else if (scheme == u"file" || scheme == u"javascript" || scheme == u"data" ||
                 scheme == u"about")
            note(FindingKind::LinkLocal,
                 QStringLiteral("the link \"%1\" leads readers nowhere: write a web address")
                     .arg(forOneLine(address)));
    }

    void readPicture(const HtmlToken &token) {
        const QString address = addressIn(token, "src");
        const QString scheme = schemeOf(address);
        if (scheme == u"data") {
            readEmbeddedPicture(address);
            return;
        }
        if (isRelative(address))
            note(FindingKind::PictureRelative,
                 QStringLiteral("the picture \"%1\" is never shown: write its address in full, or "
                                "embed it as a data: address")
                     .arg(forOneLine(address)));
        else if (!isWeb(scheme))
            note(FindingKind::PictureLocal,
                 QStringLiteral("the picture \"%1\" is never shown: readers' computers do not have "
                                "it; put it on the web, or embed it as a data: address")
                     .arg(forOneLine(address)));
        else if (valueOf(token.attributes, QLatin1String("alt")).isNull())
            note(FindingKind::PictureAlternative,
                 QStringLiteral("the picture \"%1\" has no alt text, which is all that the text "
                                "renderer shows of pictures on the web")
                     .arg(forOneLine(address)));
    }

    void readEmbeddedPicture(const QString &address) {
        const qsizetype bytes = address.size() * 3 / 4;
        if (bytes > maxPictureBytes)
            note(FindingKind::PictureLarge,
                 QStringLiteral("the embedded picture has about %1 KB, which each reader downloads "
                                "with every refresh: make it smaller, or put it on the web")
                     .arg(bytes / kilobyte));
        const bool isSvg = address.startsWith(QLatin1String("data:image/svg"), Qt::CaseInsensitive);
        if (isSvg || !_pictures.contains(address))
            note(FindingKind::PictureUnshown,
                 QStringLiteral("the text renderer does not show the embedded picture \"%1\": use "
                                "PNG, JPEG, GIF, BMP or WebP")
                     .arg(forOneLine(address)));
    }

    /// For a page without any tag.
    void readEscapes() {
        static const QRegularExpression escapedTag(
            QStringLiteral("&lt;/?[A-Za-z][A-Za-z0-9]*(\\s[^&<>]*|&quot;)*/?&gt;"));
        const QRegularExpressionMatch match = escapedTag.match(_html);
        if (!match.hasMatch())
            return;
        _position = match.capturedStart();
        note(FindingKind::HtmlEscaped,
             QStringLiteral("the HTML is escaped twice, so readers see the tag \"%1\" itself: put "
                            "the HTML into one CDATA section")
                 .arg(forOneLine(match.captured())));
    }

    const QString &_html;
    const InspectedElement &_element;
    QStringList _pictures;
    qsizetype _position = 0;
    std::vector<Finding> _findings;
};

}  // namespace

std::vector<Finding> judgePage(const QString &html, const InspectedElement &element) {
    return PageReading(html, element).run();
}

bool looksLikeHtml(const QString &text) {
    static const QRegularExpression markup(
        QStringLiteral(
            "</"
            "?(a|abbr|b|big|blockquote|br|code|div|em|font|h[1-6]|hr|i|img|li|ol|p|pre|s|small|"
            "span|"
            "strong|sub|sup|table|td|th|tr|tt|u|ul)(\\s[^<>]*)?/?>"
            "|&(amp|lt|gt|quot|apos|nbsp|hellip|[lr][sd]quo|[mn]dash|#\\d{1,7}|#x[0-9a-f]{1,6});"),
        QRegularExpression::CaseInsensitiveOption);
    return markup.match(text).hasMatch();
}

}  // namespace pelorinnews

#include "PageJudge.h"

#include "page/BoundedHtml.h"
#include "page/HtmlAttributes.h"
#include "page/HtmlReader.h"
#include "page/PagePictures.h"

#include <QHash>
#include <QImageReader>
#include <QRegularExpression>
#include <QSet>
#include <QUrl>

#include <algorithm>
#include <array>
#include <chrono>

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

/// An attribute, other than the `src` of `img`, with the address of a picture.
struct PictureAttribute {
    /// Null for any element.
    const char *element;
    const char *attribute;
};
constexpr std::array pictureAttributes = {
    PictureAttribute{nullptr, "background"}, PictureAttribute{"image", "href"},
    PictureAttribute{"image", "xlink:href"}, PictureAttribute{"video", "poster"},
    PictureAttribute{"input", "src"},
};

/// Elements whose text shows HTML on purpose.
constexpr std::array codeElements = {"code", "pre", "kbd", "samp", "tt", "xmp"};

/// The value of the attribute, without character references; null if the attribute is absent.
QString valueIn(const HtmlToken &token, const char *attribute) {
    const auto found =
        std::find_if(token.attributes.begin(), token.attributes.end(),
                     [&](const auto &each) { return each.first == QLatin1String(attribute); });
    if (found == token.attributes.end())
        return {};
    const QString value = withoutEntities(found->second).trimmed();
    return value.isNull() ? QStringLiteral("") : value;
}

/// The addresses in the value of a `srcset`, each of which a width or a density may follow.
QStringList candidatesIn(const QString &value) {
    static const QRegularExpression candidate(
        QStringLiteral("([^\\s,](?:\\S*[^\\s,])?)(?:,|\\s[^,]*(?:,|$)|$)"));
    QStringList addresses;
    for (auto found = candidate.globalMatch(value); found.hasNext();) {
        addresses.append(found.next().captured(1));
    }
    return addresses;
}

/// Reads one page.
class PageReading {
public:
    PageReading(const QString &html, const InspectedElement &element)
        : _html(html), _element(element) {}

    std::vector<Finding> run() {
        readBounds();
        bool hasTags = false;
        readTokens(_html, [&](const HtmlToken &token) {
            hasTags = hasTags || token.kind != HtmlToken::Kind::Text;
            if (token.kind == HtmlToken::Kind::StartTag)
                readTag(token);
            else if (token.kind == HtmlToken::Kind::Text)
                readText(token.text);
            countCode(token);
            if (token.kind == HtmlToken::Kind::StartTag && token.name == u"svg")
                readDrawing(token.text);
        });
        if (!hasTags)
            readEscapedTags();
        return std::move(_findings);
    }

private:
    void note(FindingKind kind, const QString &text) {
        // The line takes a time that grows with the page.
        constexpr std::size_t maxFindings = 1000;
        const QString key = nameOf(kind) + u' ' + text;
        if (_findings.size() >= maxFindings || _noted.contains(key))
            return;
        _noted.insert(key);
        const qint64 line = _element.textLines.lineAt(_position, _html);
        _findings.push_back({kind, line > 0 ? line : _element.line, text});
    }

    /// Calls `take` for each token of `html`, a part of the page.
    template <class Take>
    void readTokens(QStringView html, const Take &take) {
        const qsizetype start = html.data() - QStringView(_html).data();
        HtmlReader reader(html);
        while (true) {
            const qsizetype position = start + reader.position();
            const HtmlToken token = reader.next();
            if (token.kind == HtmlToken::Kind::End)
                return;
            _position = position;
            take(token);
        }
    }

    /// The content of a drawing, which the text renderer leaves out.
    void readDrawing(QStringView svg) {
        readTokens(svg, [this](const HtmlToken &token) {
            if (token.kind == HtmlToken::Kind::StartTag)
                readTag(token);
        });
    }

    void readBounds() {
        if (!BoundedHtml::prepared(_html))
            note(FindingKind::PageLong,
                 QStringLiteral("the page is so long or so complex that the text renderer shows "
                                "only its beginning"));
        const QStringList named = BoundedHtml::beginning(_html).pictures;
        _pictures = QSet<QString>(named.begin(), named.end());
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
        if (token.name == u"base")
            _hasBase = _hasBase || isWeb(schemeOf(valueIn(token, "href")));
        if (token.name == u"a" || token.name == u"area") {
            readLink(valueIn(token, "href"));
            readLink(valueIn(token, "xlink:href"));
        }
        if (token.name == u"img")
            readPicture(token);
        if (token.name == u"img" || token.name == u"source")
            readCandidates(token);
        for (const PictureAttribute &known : pictureAttributes) {
            if (!known.element || token.name == QLatin1String(known.element))
                readOtherPicture(valueIn(token, known.attribute));
        }
        if (token.name == u"link" &&
            valueIn(token, "rel").contains(u"stylesheet", Qt::CaseInsensitive))
            readStyleSheet(valueIn(token, "href"));
        if (token.name == u"style")
            readStyle(token.text.toString());
        readStyle(valueIn(token, "style"));
    }

    void readLink(const QString &address) {
        if (address.isNull())
            return;
        const QString scheme = schemeOf(address);
        if (isRelative(address) && _hasBase)
            note(FindingKind::LinkRelative,
                 QStringLiteral("the link \"%1\" leads nowhere in the text renderer, which ignores "
                                "<base>: write its address in full")
                     .arg(forOneLine(address)));
        else if (isRelative(address))
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
        const QString address = valueIn(token, "src");
        const QString scheme = schemeOf(address);
        if (scheme == u"data") {
            readEmbeddedPicture(address);
            return;
        }
        if (address.isEmpty())
            note(FindingKind::PictureRelative,
                 valueIn(token, "srcset").isEmpty()
                     ? QStringLiteral("a picture without an address is never shown: write the full "
                                      "address into src, or embed the picture as a data: address")
                     : QStringLiteral("the text renderer does not read srcset: write the address "
                                      "of one picture into src, too"));
        else if (!noteUnreachable(address) &&
                 valueOf(token.attributes, QLatin1String("alt")).isNull())
            note(FindingKind::PictureAlternative,
                 QStringLiteral("the picture \"%1\" has no alt text, which is all that the text "
                                "renderer shows of pictures on the web")
                     .arg(forOneLine(address)));
    }

    void readCandidates(const HtmlToken &token) {
        const QStringList candidates = candidatesIn(valueIn(token, "srcset"));
        for (const QString &address : candidates)
            readOtherPicture(address);
    }

    /// A picture that only the web renderer shows.
    void readOtherPicture(const QString &address) {
        if (!address.isEmpty() && schemeOf(address) != u"data")
            noteUnreachable(address);
    }

    /// Whether the picture at `address`, which is not embedded, never reaches a reader.
    bool noteUnreachable(const QString &address) {
        if (isRelative(address) && _hasBase)
            note(FindingKind::PictureRelative,
                 QStringLiteral("the picture \"%1\" relies on <base>: write its address in full, "
                                "or embed it as a data: address")
                     .arg(forOneLine(address)));
        else if (isRelative(address))
            note(FindingKind::PictureRelative,
                 QStringLiteral("the picture \"%1\" is never shown: write its address in full, or "
                                "embed it as a data: address")
                     .arg(forOneLine(address)));
        else if (!isWeb(schemeOf(address)))
            note(FindingKind::PictureLocal,
                 QStringLiteral("the picture \"%1\" is never shown: readers' computers do not have "
                                "it; put it on the web, or embed it as a data: address")
                     .arg(forOneLine(address)));
        else
            return false;
        return true;
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
        else if (!isDrawable(address))
            note(FindingKind::PictureUnshown,
                 QStringLiteral("the embedded picture \"%1\" is not shown: it is broken, or the "
                                "pictures of this page have more than 32 million pixels")
                     .arg(forOneLine(address)));
    }

    /// Whether the text renderer draws the embedded picture.
    bool isDrawable(const QString &address) {
        const auto known = _areDrawable.constFind(address);
        if (known != _areDrawable.cend())
            return *known;
        const PagePicture picture = _reader.read(address);
        // The reader for WebP is a package of its own, which this computer may lack.
        static const bool readsWebP = QImageReader::supportedImageFormats().contains("webp");
        const bool isDrawn = !picture.image.isNull() || (picture.format == "webp" && !readsWebP);
        return *_areDrawable.insert(address, isDrawn);
    }

    void readStyleSheet(const QString &address) {
        if (address.isEmpty())
            return;
        note(
            FindingKind::PageStyleSheet,
            (isWeb(schemeOf(address)) && !isRelative(address)) || _hasBase
                ? QStringLiteral("the text renderer does not load the style sheet \"%1\", nor does "
                                 "the other one offline: put its rules into a <style>")
                      .arg(forOneLine(address))
                : QStringLiteral("the style sheet \"%1\" is never loaded: put its rules into a "
                                 "<style>")
                      .arg(forOneLine(address)));
    }

    /// For the text of a style sheet or of a `style` attribute.
    void readStyle(QString css) {
        static const QRegularExpression comment(QStringLiteral("/\\*.*?\\*/"),
                                                QRegularExpression::DotMatchesEverythingOption);
        static const QRegularExpression address(
            QStringLiteral(
                "(@import\\s*)?(?:url\\(\\s*(?:\"([^\"]*)\"|'([^']*)'|([^\"')]*?))\\s*\\)"
                "|(?<=@import)\\s*(?:\"([^\"]*)\"|'([^']*)'))"),
            QRegularExpression::CaseInsensitiveOption);
        if (!css.contains(u'(') && !css.contains(u'@'))
            return;
        css.remove(comment);
        for (auto found = address.globalMatch(css); found.hasNext();) {
            const QRegularExpressionMatch match = found.next();
            const QString named = (match.captured(2) + match.captured(3) + match.captured(4) +
                                   match.captured(5) + match.captured(6))
                                      .trimmed();
            const bool isImport =
                !match.captured(1).isEmpty() || !(match.captured(5) + match.captured(6)).isEmpty();
            if (isImport)
                readStyleSheet(named);
            else if (!named.startsWith(u'#'))
                readOtherPicture(named);
        }
    }

    void countCode(const HtmlToken &token) {
        const auto *const known =
            std::find_if(codeElements.begin(), codeElements.end(),
                         [&](const char *name) { return token.name == QLatin1String(name); });
        if (known == codeElements.end())
            return;
        if (token.kind == HtmlToken::Kind::StartTag)
            ++_openCode;
        else if (token.kind == HtmlToken::Kind::EndTag && _openCode > 0)
            --_openCode;
    }

    /// For the text between two tags: character references that are escaped twice.
    void readText(QStringView text) {
        static const QRegularExpression escaped(QStringLiteral(
            "&amp;(?:nbsp|amp|lt|gt|quot|apos|hellip|[lr][sd]quo|[mn]dash|szlig|copy|reg|euro"
            "|[A-Za-z]{1,2}(?:acute|grave|uml|circ|tilde|cedil|ring|slash|lig)"
            "|#\\d{1,7}|#x[0-9A-Fa-f]{1,6});"));
        if (_openCode > 0)
            return;
        const QRegularExpressionMatch match = escaped.match(text.toString());
        if (!match.hasMatch())
            return;
        _position += match.capturedStart();
        note(FindingKind::HtmlEscaped,
             QStringLiteral("\"%1\" is escaped twice, so readers see \"%2\": escape it once")
                 .arg(match.captured(), withoutEntities(match.captured())));
    }

    /// For a page without any tag.
    void readEscapedTags() {
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
    /// The embedded pictures that get as far as the text renderer's reader.
    QSet<QString> _pictures;
    PagePictures _reader{std::chrono::minutes(1)};
    QHash<QString, bool> _areDrawable;
    /// Whether a `base` completes relative addresses in the web renderer.
    bool _hasBase = false;
    int _openCode = 0;
    qsizetype _position = 0;
    QSet<QString> _noted;
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

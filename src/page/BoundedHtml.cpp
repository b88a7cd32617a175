#include "BoundedHtml.h"

#include "HtmlAttributes.h"
#include "HtmlPicture.h"

#include <utility>

namespace pelorinnews {

BoundedHtml::BoundedHtml(const QString &html, HtmlCost::Purpose purpose)
    : _reader(html),
      _cost(purpose),
      _styles(_pictures, _cost),
      _looks(purpose),
      _writer(_page.html, _cost),
      _elements(_writer, _looks, _cost) {}

std::optional<BoundedPage> BoundedHtml::prepared(const QString &html) {
    if (html.isNull())
        return std::nullopt;
    BoundedHtml bounded(html, HtmlCost::Purpose::Copy);
    if (!bounded.run())
        return std::nullopt;
    return std::move(bounded._page);
}

BoundedPage BoundedHtml::beginning(const QString &html) {
    BoundedHtml bounded(html, HtmlCost::Purpose::Display);
    if (!bounded.run())
        bounded._page.html += QChar(0x2026);
    return std::move(bounded._page);
}

bool BoundedHtml::run() {
    bool whole = true;
    while (whole) {
        const qsizetype start = _reader.position();
        const HtmlToken token = _reader.next();
        if (token.kind == HtmlToken::Kind::End)
            break;
        const qsizetype written = _page.html.size();
        _cost.addRead(_reader.position() - start);
        read(token);
        if (!_cost.isTooMuch())
            continue;
        // Drop the token that exceeded the limit. `QTextDocument` closes the elements that are
        // still open.
        _page.html.truncate(written);
        whole = false;
    }
    _page.items = _elements.takeListItems();
    _page.pictures = _pictures.takeAddresses();
    _page.pictureTime = _cost.timeForPictures();
    _page.isLong = _cost.isMuch();
    return whole;
}

void BoundedHtml::read(const HtmlToken &token) {
    switch (token.kind) {
        case HtmlToken::Kind::Text:
            writeText(token.text);
            break;
        case HtmlToken::Kind::StartTag:
            start(token);
            break;
        case HtmlToken::Kind::EndTag:
            _elements.close(token.name);
            break;
        case HtmlToken::Kind::End:
            break;
    }
}

void BoundedHtml::start(const HtmlToken &token) {
    _cost.addTag();
    if (token.element->isDropped)
        return;
    if (token.name == QStringLiteral("style")) {
        _styles.addSheet(token.text);
        return;
    }
    _elements.closeBefore(token);
    if (_elements.isFull())
        return;
    HtmlNode node = HtmlNode::of(token);
    CssStyle style;
    if (!_elements.isHidden())
        style = _styles.styleOf(node, token.attributes, _elements.path());
    const bool hidden = _elements.isHidden() || style.value("display") == QStringLiteral("none");
    if (token.element->isVoid) {
        if (!hidden)
            startVoid(token, style);
    } else if (hidden) {
        _elements.openHidden(std::move(node));
    } else {
        _elements.open(std::move(node), token.attributes, std::move(style));
    }
}

void BoundedHtml::startVoid(const HtmlToken &token, const CssStyle &style) {
    if (token.name == QStringLiteral("wbr")) {
        writeText(u"&#8203;");
    } else if (token.name == QStringLiteral("img")) {
        writePicture(token.attributes, style);
    } else if (token.name == QStringLiteral("br")) {
        _elements.enterCell();
        _writer.writeLineBreak();
    } else if (token.name == QStringLiteral("hr")) {
        writeRule(token.attributes);
    }
}

void BoundedHtml::writeText(QStringView text) {
    if (_elements.isHidden() || text.isEmpty())
        return;
    const bool blank = text.trimmed().isEmpty();
    if (blank && _elements.isBesideCells())
        return;
    if (!blank)
        _elements.enterCell();
    _writer.writeText(text, _elements.innermost());
}

void BoundedHtml::writeRule(const HtmlAttributes &attributes) {
    _elements.enterCell();
    OpenElement rule = _elements.innermost().child(QStringLiteral("hr"));
    rule.written = rule.name;
    _writer.writeStart(rule, boundedAttributes(rule.written, attributes), {});
}

void BoundedHtml::writePicture(const HtmlAttributes &attributes, const CssStyle &style) {
    const HtmlPicture picture(attributes, style);
    const QString address = picture.address();
    const QString name = _writer.hasRoomForPicture() ? _pictures.nameOf(address) : QString();
    if (name.isNull()) {
        writeText(picture.alternative());
        return;
    }
    _elements.enterBlock();
    CssStyle place = picture.place();
    if (!place.value("float").isEmpty() && !_looks.tryAddFloat())
        place.remove("float");
    OpenElement element = _elements.innermost().child(QStringLiteral("img"));
    element.written = element.name;
    _writer.writePicture(element, picture.attributesFor(name), place, address.size());
}

}  // namespace pelorinnews

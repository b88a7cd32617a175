#include "XmlFailure.h"

#include "platform/XmlError.h"

#include <QRegularExpression>

#include <algorithm>
#include <expat.h>

namespace pelorinnews {

namespace {

QStringView lineOf(QStringView text, qint64 number) {
    while (--number > 0) {
        const qsizetype end = text.indexOf(u'\n');
        if (end < 0)
            return {};
        text = text.sliced(end + 1);
    }
    return text.first(
        std::max<qsizetype>(0, text.indexOf(u'\n') < 0 ? text.size() : text.indexOf(u'\n')));
}

/// Whether a "&" that begins no reference ends at `column` (from one) of `line`.
bool isBareAmpersand(QStringView line, qint64 column) {
    static const QRegularExpression bare(QStringLiteral("&[\\w.:#-]*$"));
    static const QRegularExpression beginsReference(QStringLiteral("^&(#?\\w[\\w.:-]*;)"));
    // The reader stops at the "&" or at the first character that cannot belong to a name.
    const qsizetype position = std::min<qsizetype>(line.size(), column);
    for (const qsizetype end : {position, position - 1}) {
        if (end <= 0)
            continue;
        const QRegularExpressionMatch match = bare.match(line.first(end).toString());
        if (match.hasMatch() &&
            !beginsReference.match(line.sliced(match.capturedStart()).toString()).hasMatch())
            return true;
    }
    return false;
}

}  // namespace

Finding xmlFailure(const Error &error, QStringView text) {
    const qint64 line =
        std::max<qint64>(1, error.userInfo.value(XmlError::lineNumberKey()).toLongLong());
    const qint64 column = error.userInfo.value(XmlError::columnNumberKey()).toLongLong();
    const QString reason = error.userInfo.value(Error::localizedDescriptionKey()).toString();
    const QString lost = QStringLiteral("the document breaks off here, and what follows is lost: ");
    const auto found = [&](FindingKind kind, const QString &why) {
        return Finding{kind, line, lost + why};
    };
    switch (static_cast<int>(error.code)) {
        case XML_ERROR_MISPLACED_XML_PI:
            return found(
                FindingKind::DeclarationLate,
                QStringLiteral("the declaration <?xml …?> must be the very first thing in the "
                               "document; remove the blanks or lines before it"));
        case XML_ERROR_NO_ELEMENTS:
        case XML_ERROR_UNCLOSED_TOKEN:
        case XML_ERROR_PARTIAL_CHAR:
        case XML_ERROR_UNCLOSED_CDATA_SECTION:
            return found(FindingKind::XmlBroken,
                         QStringLiteral("it is cut off, or lacks an end tag (%1)").arg(reason));
        case XML_ERROR_UNDEFINED_ENTITY:
            return found(FindingKind::EntityUndeclared,
                         reason + QStringLiteral("; write the character itself, or put HTML into a "
                                                 "CDATA section"));
        case XmlError::UnusableEntity:
        case XmlError::TooMuchExpansion:
        case XML_ERROR_RECURSIVE_ENTITY_REF:
        case XML_ERROR_AMPLIFICATION_LIMIT_BREACH:
            return found(FindingKind::EntityRefused,
                         reason + QStringLiteral("; write the text itself instead"));
        case XmlError::RefusedByDelegate:
        case XmlError::TooDeep:
        case XmlError::TooManyAttributes:
            return found(FindingKind::LimitExceeded, reason);
        case XML_ERROR_INVALID_TOKEN:
            if (isBareAmpersand(lineOf(text, line), column))
                return found(
                    FindingKind::AmpersandBare,
                    QStringLiteral("a bare \"&\" at line %1; write \"&amp;\", in addresses "
                                   "too")
                        .arg(line));
            break;
        default:
            break;
    }
    return found(FindingKind::XmlBroken, reason);
}

}  // namespace pelorinnews

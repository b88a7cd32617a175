// The promise tested: the lines of an HTTP reply give the status, length, codings and problems that
// a second, simpler reading of all lines at once gives.

#include "Input.h"
#include "network/ResponseHead.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

using namespace pelorinnews;

namespace {

constexpr qint64 maxHeadBytes = 262'144;

void require(bool holds, const char *what) {
    if (!holds)
        qFatal("%s", what);
}

/// The model. Works on Latin-1 text, so that each byte is one character.
struct Model {
    explicit Model(const QList<QByteArray> &lines) {
        qsizetype start = -1;
        for (qsizetype at = 0; at < lines.size(); ++at)
            start = lines[at].startsWith("HTTP/") ? at : start;
        if (start >= 0)
            code = codeIn(lines[start]);
        for (qsizetype at = start + 1; at < lines.size() && !isComplete; ++at) {
            const QByteArray line = lines[at].trimmed();
            isComplete = line.isEmpty();
            const qsizetype colon = line.indexOf(':');
            if (colon >= 0)
                fields[line.first(colon).toLower()] += line.sliced(colon + 1).trimmed();
        }
    }

    static int codeIn(const QByteArray &line) {
        // A number that does not fit counts as none.
        const QByteArray word = line.simplified().split(' ').value(1);
        return isDigits(word) ? word.toInt() : 0;
    }

    static bool isDigits(const QByteArray &text) {
        return !text.isEmpty() && withoutDigits(text).isEmpty();
    }

    static QByteArray withoutDigits(QByteArray text) {
        for (char digit = '0'; digit <= '9'; ++digit)
            text.replace(digit, "");
        return text;
    }

    /// Whether a length is written as digits whose number is less than 2^63.
    static bool isLength(QByteArray text) {
        if (!isDigits(text))
            return false;
        while (text.size() > 1 && text.startsWith('0'))
            text.remove(0, 1);
        const QByteArray most = "9223372036854775807";
        return text.size() < most.size() || (text.size() == most.size() && text <= most);
    }

    [[nodiscard]] QByteArray joined(const char *name) const {
        return fields.value(name).join(", ");
    }

    [[nodiscard]] bool hasProblem() const {
        const QList<QByteArray> lengths = fields.value("content-length");
        for (const QByteArray &length : lengths)
            if (!isLength(length) || length != lengths[0])
                return true;
        const QByteArray coding = joined("transfer-encoding").toLower();
        return code < 200 || (coding != "" && coding != "chunked" && coding != "identity");
    }

    bool isComplete = false;
    int code = 0;
    QMap<QByteArray, QList<QByteArray>> fields;
};

void check(const QList<QByteArray> &lines) {
    ResponseHead head;
    qint64 bytes = 0;
    for (const QByteArray &line : lines) {
        bytes += line.size();
        const bool isTaken = head.addLine(line);
        require(isTaken == (bytes <= maxHeadBytes), "the limit is another one");
        if (!isTaken)
            return;
    }
    const Model model(lines);
    require(head.status() == (model.isComplete ? std::optional(model.code) : std::nullopt),
            "another status");
    const QList<QByteArray> locations = model.fields.value("location");
    const bool isRedirect = model.isComplete && !locations.isEmpty() &&
                            QList<int>{301, 302, 303, 307, 308}.contains(model.code);
    require(head.isRedirect() == isRedirect, "another view of whether this is a redirect");
    require(head.location() == locations.value(0), "another location");
    require(head.contentEncoding() == model.joined("content-encoding"), "another coding");
    require(head.problem().isEmpty() != model.hasProblem(), "another view of the problems");
    require(!head.problem().contains('\n'), "a problem of two lines");
    if (model.hasProblem())
        return;
    const QList<QByteArray> lengths = model.fields.value("content-length");
    const bool hasCoding = !model.fields.value("transfer-encoding").isEmpty();
    const auto length = head.contentLength();
    require(length.has_value() == (!lengths.isEmpty() && !hasCoding), "another use of the length");
    require(!length || *length == lengths[0].toLongLong(), "another length");
    const bool isChunked = model.joined("transfer-encoding").toLower() == "chunked";
    require(head.bodyEndsWithConnection() == (lengths.isEmpty() && !isChunked),
            "another end of the body");
}

}  // namespace

/// Reads by how much the first line is made longer (2 bytes: the upper one times 2 KB), then the
/// lines.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(QByteArrayView(data, static_cast<qsizetype>(size)));
    const qsizetype padding = qsizetype{2048} * (input.value<quint16>() / 256);
    QList<QByteArray> lines;
    while (!input.isAtEnd())
        lines += input.bytesUntil('\n').toByteArray() + '\n';
    if (padding > 0 && !lines.isEmpty())
        lines.front().insert(lines.front().size() - 1, QByteArray(padding, 'x'));
    check(lines);
    return 0;
}

// The promises tested:
// - Showing any page in the text renderer and copying any page as rich text each take at most a
//   quarter of a second, or as many times that as PELORIN_FUZZ_ALLOWANCE says.
// - The copy is well-formed RTF, and all of the document's text can be read from it again.
// - Showing and copying a page again leaves no more memory in use.

#include "RtfReader.h"
#include "page/BoundedHtml.h"
#include "page/HtmlDocumentRepair.h"
#include "page/PageTables.h"
#include "rendering/TextNewsRenderer.h"
#include "richtext/RichTextDocument.h"
#include "richtext/RichTextWriter.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QPixmap>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextTable>

#include <algorithm>
#include <chrono>
#include <compare>
#include <ctime>
#include <functional>
#include <malloc.h>
#include <vector>

using namespace pelorinnews;

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

Milliseconds maxTime() {
    static const int allowance =
        std::max(1, qEnvironmentVariableIntValue("PELORIN_FUZZ_ALLOWANCE"));
    return allowance * Milliseconds(250);
}

// CPU time of the calibration in `slowness` on the reference computer when it is idle. The limit
// `maxTime` is meant for that computer.
constexpr Milliseconds calibratedTime{7.3};
constexpr size_t maxPageSize = 65'536;

Milliseconds processorTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

Milliseconds timeOf(const std::function<void()> &work) {
    const Milliseconds start = processorTime();
    work();
    return processorTime() - start;
}

/// How many times slower than the reference computer this one is right now; at least 1.
double slowness() {
    static const QString article =
        QStringLiteral(
            "<p>Lorem ipsum dolor sit amet consectetur <b>Lorem ipsum dolor sit amet consectetur "
            "</b>Lorem ipsum dolor sit amet consectetur </p>")
            .repeated(200);
    Milliseconds best = Milliseconds::max();
    for (int i = 0; i < 3; ++i)
        best = std::min(best, timeOf([] {
                            QTextDocument document;
                            document.setHtml(article);
                            document.setTextWidth(576);
                            static_cast<void>(document.documentLayout()->documentSize());
                        }));
    return std::max(1.0, best / calibratedTime);
}

void show(const QString &html) {
    static auto *const renderer = [] {
        auto *made = new TextNewsRenderer(nullptr);
        made->resize(576, 322);
        made->setStandardFontFamily(QStringLiteral("Verdana"));
        return made;
    }();
    renderer->loadHtmlString(html, PageKind::Item);
    static_cast<void>(renderer->grab());
    // The layout is lazy: ask for the last block, so that the whole document is laid out now.
    static_cast<void>(renderer->document()->documentLayout()->blockBoundingRect(
        renderer->document()->lastBlock()));
}

std::optional<QByteArray> copied;

void copy(const QString &html) {
    copied = richTextFromHtml(html);
}

/// `text` without what cannot be written as RTF: controls, noncharacters and the signs of a
/// document's structure are dropped, and half of a surrogate pair becomes U+FFFD.
QString writable(const QString &text) {
    QString out;
    for (const char32_t point : text.toUcs4()) {
        const bool control =
            (point < 0x20 && point != '\t' && point != '\n') || (point >= 0x7F && point < 0xA0);
        const bool noncharacter = (point >= 0xFDD0 && point <= 0xFDEF) || (point & ~1U) == 0xFFFE;
        const bool structure =
            point == QChar::ObjectReplacementCharacter || point == QChar::ParagraphSeparator;
        if (point == '\n')
            out += QChar(QChar::LineSeparator);
        else if (!control && !noncharacter && !structure)
            out += QStringView(QChar::fromUcs4(point));
    }
    return out;
}

/// The text of a page's document, in the form of `test::RtfReading::text`.
struct DocumentText {
    QString text;
    /// For each picture of the text, what is written if the picture cannot be read.
    QStringList alternatives;
    /// How deep tables are nested in the document.
    int tableDepth = 0;
};

int tableDepth(const QTextFrame *frame) {
    int deepest = 0;
    const auto inner = frame->childFrames();
    for (const QTextFrame *each : inner)
        deepest = std::max(deepest, tableDepth(each));
    return deepest + (qobject_cast<const QTextTable *>(frame) != nullptr ? 1 : 0);
}

DocumentText textOf(const BoundedPage &page) {
    RichTextDocument document;
    document.setHtml(page.html);
    repairHtmlDocument(document, page.items);
    DocumentText found;
    found.tableDepth = tableDepth(document.rootFrame());
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const auto item = static_cast<std::size_t>(block.userState());
        if (item < page.items.size() && page.items[item].marker != ListMarker::None)
            found.text += markerText(page.items[item]) + QLatin1Char('\t');
        for (auto each = block.begin(); !each.atEnd(); ++each) {
            const QTextCharFormat format = each.fragment().charFormat();
            const QString text = each.fragment().text();
            if (!format.isImageFormat()) {
                found.text += writable(text);
                continue;
            }
            for (qsizetype i = 0; i < text.size(); ++i) {
                found.text += QChar(QChar::ObjectReplacementCharacter);
                found.alternatives +=
                    writable(format.property(QTextFormat::ImageAltText).toString());
            }
        }
        found.text += QLatin1Char('\n');
    }
    return found;
}

/// Moves `at` behind the line feeds at that place. True if there are any, or at the end.
bool skipLineFeeds(QStringView text, qsizetype &at) {
    const qsizetype start = at;
    while (at < text.size() && text[at] == QLatin1Char('\n'))
        ++at;
    return at > start || at == text.size();
}

/// A place up to which `difference` can explain the copy.
struct Explained {
    qsizetype at = 0;
    /// Whether line feeds came before this place.
    bool documentLine = true;
    bool readLine = true;

    auto operator<=>(const Explained &other) const = default;
};

/// Where `read` differs from the document's text; -1 if nowhere. Several line feeds count as one:
/// the empty block before a table is not written, and a cell of several rows adds empty cells.
/// Which pictures could be read is not known, so each may have become itself or its alternative.
qsizetype difference(const DocumentText &document, QStringView read) {
    std::vector<Explained> places{Explained{}};
    qsizetype furthest = 0;
    qsizetype picture = 0;
    for (qsizetype i = 0;;) {
        const bool isNewLine = skipLineFeeds(document.text, i);
        for (Explained &place : places) {
            place.documentLine = isNewLine || place.documentLine;
            place.readLine = skipLineFeeds(read, place.at) || place.readLine;
            furthest = std::max(furthest, place.at);
        }
        if (i == document.text.size())
            return std::any_of(places.begin(), places.end(),
                               [&](const Explained &place) { return place.at == read.size(); })
                       ? -1
                       : furthest;
        std::vector<Explained> next;
        const auto follow = [&](QStringView expected) {
            for (const Explained &place : places) {
                if (expected.isEmpty())
                    next.push_back(place);
                else if (place.documentLine == place.readLine &&
                         read.sliced(place.at).startsWith(expected))
                    next.push_back({place.at + expected.size(), false, false});
            }
        };
        const QStringView expected = QStringView(document.text).sliced(i++, 1);
        follow(expected);
        if (expected.front() == QChar::ObjectReplacementCharacter)
            follow(document.alternatives[picture++]);
        std::sort(next.begin(), next.end());
        next.erase(std::unique(next.begin(), next.end()), next.end());
        if (next.empty())
            return furthest;
        places = std::move(next);
    }
}

/// Requires that the last copy is of the page `html`.
void requireText(const QString &html) {
    const std::optional<BoundedPage> page = BoundedHtml::prepared(html);
    if (copied.has_value() != page.has_value())
        qFatal("a page can be copied, but not prepared, or the reverse");
    if (!copied)
        return;
    const test::RtfReading reading = test::readRtf(*copied);
    if (reading.error != nullptr)
        qFatal("the copy is not RTF: %s", reading.error);
    const DocumentText expected = textOf(*page);
    // The layout takes exponential time: what is nested a little too deep is found before what is
    // too slow.
    if (expected.tableDepth > PageTables::maxDepth)
        qFatal("tables are nested %d deep", expected.tableDepth);
    if (const qsizetype at = difference(expected, reading.text); at >= 0)
        qFatal("the copy has another text, at character %lld:\n%s\nThe document:\n%s",
               static_cast<long long>(at),
               qPrintable(reading.text.mid(std::max<qsizetype>(0, at - 40), 80)),
               qPrintable(expected.text.mid(std::max<qsizetype>(0, at - 40), 80)));
}

/// Bytes in use on the heap. 0 with AddressSanitizer, which detects leaks by itself.
size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Requires that a page that was shown and copied already can be shown and copied again without
/// more memory in use afterwards. The allocator keeps some freed memory at hand, more and more up
/// to a limit, and counts it as in use, so one run of many without growth is enough.
/// Detects leaks from about 1,000 bytes a page on; AddressSanitizer detects smaller ones in
/// `./test`.
void requireSameMemory(const QString &html) {
    constexpr int maxRuns = 100;
    size_t start = 0;
    for (int i = 0; i < maxRuns; ++i) {
        const size_t before = heapInUse();
        if (i == 0)
            start = before;
        show(html);
        copy(html);
        // No event loop runs here.
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (heapInUse() <= before)
            return;
    }
    qFatal("%zu bytes more in use after %d showings and copies", heapInUse() - start, maxRuns);
}

void require(const char *what, const QString &html, void (*work)(const QString &)) {
    const Milliseconds first = timeOf([&] { work(html); });
    if (first <= maxTime())
        return;
    // Other programs slow this one down, so the best of several runs counts.
    Milliseconds best = Milliseconds::max();
    for (int i = 0; i < 5; ++i) {
        const Milliseconds taken = timeOf([&] { work(html); });
        best = std::min(best, taken / slowness());
    }
    if (best > maxTime())
        qFatal("%s in %.0f ms; the first run took %.0f ms", what, best.count(), first.count());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_LOGGING_RULES", "*.warning=false");
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            fprintf(stderr, "%s\n", qPrintable(text));
    });
    static QApplication application(*argc, *argv);
    fprintf(stderr, "slowness %.2f\n", slowness());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > maxPageSize)
        return 0;
    const QString html =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    require("shown", html, show);
    require("copied", html, copy);
    requireText(html);
    // Asking the allocator takes longer than most pages.
    static unsigned count = 0;
    if (count++ % 64 == 0)
        requireSameMemory(html);
    return 0;
}

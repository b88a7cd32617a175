#include "ItemCamera.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QPixmap>
#include <QTimer>

namespace pelorinnews {

namespace {

using namespace std::chrono_literals;

constexpr auto pollInterval = 50ms;

/// A loaded page that looks the same this long is taken for finished: the engine decodes large
/// pictures after it has painted the page for the first time.
constexpr auto stillTime = 300ms;
/// The longest wait for that, for pages that move.
constexpr auto movingTime = 2s;

/// How long the web engine may take to start. The panel waits less, because a reader waits, too.
constexpr auto readyTime = 30s;

/// The font that the panel gives to pages that name none.
constexpr auto standardFontFamily = "Verdana";

void wait(std::chrono::milliseconds time) {
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Waits until `condition` holds; whether it did in time.
template <class Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds timeout) {
    const QDeadlineTimer deadline(timeout);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        wait(pollInterval);
    }
    return true;
}

QImage pictureOf(QWidget &window) {
    return window.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

QImage pictureWhenStill(QWidget &window) {
    const QDeadlineTimer deadline(movingTime);
    QImage picture = pictureOf(window);
    QDeadlineTimer still(stillTime);
    while (!still.hasExpired() && !deadline.hasExpired()) {
        wait(pollInterval);
        QImage next = pictureOf(window);
        if (next != picture)
            still.setRemainingTime(stillTime);
        picture = std::move(next);
    }
    return picture;
}

void open(QWidget &window, QSize size) {
    // The program does not end with its windows.
    window.setAttribute(Qt::WA_QuitOnClose, false);
    window.resize(size);
    window.show();
}

}  // namespace

ItemCamera::ItemCamera(QSize size, const QString &pageProcess)
    : _pageProcess(pageProcess), _text(&_textWindow) {
    open(_webWindow, size);
    open(_textWindow, size);
    openWeb();
    _text.setStandardFontFamily(QLatin1String(standardFontFamily));
    _text.setGeometry(_textWindow.rect());
    _text.show();
}

void ItemCamera::openWeb() {
    _web = std::make_unique<WebNewsRenderer>(&_webWindow, _pageProcess,
                                             WebNewsRenderer::Limits{.ready = readyTime});
    _web->setStandardFontFamily(QLatin1String(standardFontFamily));
    _web->widget()->setGeometry(_webWindow.rect());
    _web->widget()->show();
}

std::optional<ItemCamera::Picture> ItemCamera::takeWeb(const QString &html,
                                                       std::chrono::milliseconds timeout) {
    // A page that breaks the engine does not take the web renderer from the pages after it.
    if (_web->isText() && _webWorks)
        openWeb();
    if (!waitUntil([this] { return _web->isReady() || _web->isText(); }, readyTime) ||
        _web->isText())
        return std::nullopt;
    _web->loadHtmlString(html, PageKind::Item);
    const bool isComplete =
        waitUntil([this] { return _web->isPageComplete() || _web->isText(); }, timeout);
    QImage image = pictureWhenStill(_webWindow);
    if (_web->isText())
        return std::nullopt;
    _webWorks = true;
    return Picture{std::move(image), isComplete ? Load::Complete : Load::TimedOut};
}

QImage ItemCamera::takeText(const QString &html) {
    _text.loadHtmlString(html, PageKind::Item);
    QCoreApplication::processEvents();
    return pictureOf(_textWindow);
}

}  // namespace pelorinnews

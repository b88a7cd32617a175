#pragma once

#include <QRectF>
#include <QString>
#include <QUrl>
#include <QWebEngineScript>

#include <optional>

namespace pelorinnews {

/// A script that reports every click on a link in a page, by mouse or keyboard and for any URL
/// scheme. It also reports middle clicks in fields, and when the page has been painted for the
/// first time.
///
/// The engine itself reports only clicks on links that it would follow. Links within the page,
/// downloads, and links with `file:`, `data:`, `javascript:`, `mailto:` or schemes that the engine
/// does not know are not reported; a malformed URL just empties the page. Therefore the script, in
/// an isolated world that the page cannot access, handles the click before the engine does and
/// reports it as a console message.
class PageScript {
public:
    PageScript();

    /// The script to run in every frame, from the creation of its document.
    [[nodiscard]] QWebEngineScript script() const;

    /// Code that makes the page stop waiting for the style sheets that have not come yet. Runs in
    /// the world of `script`.
    [[nodiscard]] QString skipLateStyleSheets() const;

    /// The clicked link, if `consoleMessage` is the script's report of a click. Absent for other
    /// console messages, such as warnings of the engine that quote the page.
    [[nodiscard]] std::optional<QUrl> clickedLink(const QString &consoleMessage) const;

    /// Whether `consoleMessage` is the script's report of a middle click in a field, which pastes
    /// the primary selection.
    [[nodiscard]] bool isPaste(const QString &consoleMessage) const;

    /// A link that the pointer or the keyboard focus is on.
    struct Pointed {
        bool isFocus = false;
        /// Without the page's zoom; empty where it is not known.
        QRectF place;
        /// Empty if there is no link.
        QUrl address;
        /// The link's own text in one line, at most `maxLinkText` long; only if it has the focus.
        QString text;
    };

    /// The link that the pointer or the focus has come to, or that there is none any more, if
    /// `consoleMessage` is the script's report of that.
    [[nodiscard]] std::optional<Pointed> pointedLink(const QString &consoleMessage) const;

    /// The address of the painted page, if `consoleMessage` is the script's report of a first
    /// painting.
    [[nodiscard]] std::optional<QUrl> paintedPage(const QString &consoleMessage) const;

private:
    [[nodiscard]] std::optional<QUrl> addressOf(QLatin1String report, const QString &message) const;

    // The beginning of each report. Only the script knows this text, so no page can fake a click.
    QString _secret;
};

}  // namespace pelorinnews

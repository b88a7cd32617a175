#pragma once

#include <QString>
#include <QUrl>
#include <QWebEngineScript>

#include <optional>

namespace pelorinnews {

/// Reports every click on a link in a page, by mouse or keyboard and for any URL scheme.
///
/// The engine itself asks only about links that it would follow. It does not report links within
/// the page, mail and other schemes that it does not know, `file:`, `data:`, `javascript:` and
/// downloads; on a malformed address it just empties the page. So our own script, in a world that
/// the page cannot access, handles the click before the engine does and reports it on the page's
/// console.
class LinkClicks {
public:
    LinkClicks();

    /// The script to run in every frame, from the creation of its document.
    [[nodiscard]] QWebEngineScript script() const;

    /// The clicked link, if `consoleMessage` is a report of the script. Other console messages,
    /// such as complaints of the engine that quote the page, give nothing.
    [[nodiscard]] std::optional<QUrl> reported(const QString &consoleMessage) const;

private:
    // Known to our script only, so that no page can fake a click.
    QString _secret;
};

}  // namespace pelorinnews

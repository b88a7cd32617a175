#pragma once

#include <QString>
#include <QUrl>
#include <QWebEngineScript>

#include <optional>

namespace pelorinnews {

/// Reports every click on a link in a page, by mouse or keyboard and for any URL scheme.
///
/// The engine itself reports only clicks on links that it would follow. Links within the page,
/// downloads, and links with `file:`, `data:`, `javascript:`, `mailto:` or schemes that the engine
/// does not know are not reported; a malformed URL just empties the page. Therefore a script of
/// this module, in an isolated world that the page cannot access, handles the click before the
/// engine does and reports it as a console message.
class LinkClicks {
public:
    LinkClicks();

    /// The script to run in every frame, from the creation of its document.
    [[nodiscard]] QWebEngineScript script() const;

    /// The clicked link, if `consoleMessage` is a report of the script. Absent for other console
    /// messages, such as warnings of the engine that quote the page.
    [[nodiscard]] std::optional<QUrl> reported(const QString &consoleMessage) const;

private:
    // The beginning of each report. Only the script knows this text, so no page can fake a click.
    QString _secret;
};

}  // namespace pelorinnews

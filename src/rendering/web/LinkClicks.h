#pragma once

#include <QString>
#include <QUrl>
#include <QWebEngineScript>

#include <optional>

namespace pelorinnews {

/// Tells of every link that is clicked in a page, by mouse or keyboard and whatever its scheme.
///
/// The engine itself asks only about links that it would follow: it is silent about links within
/// the page, about mail and other schemes that it does not know, about `file:`, `data:`,
/// `javascript:` and downloads, and about addresses that it finds malformed it just empties the
/// page. So a script of ours, which runs apart from the page in a world where the page has nothing,
/// takes the click before the engine does and reports it on the page's console.
class LinkClicks {
public:
    LinkClicks();

    /// What has to run in every frame, from the frame's beginning.
    [[nodiscard]] QWebEngineScript script() const;

    /// The link that was clicked, where `consoleMessage` is such a report. What else stands on the
    /// console, the engine's complaints with words of the page in them, is none.
    [[nodiscard]] std::optional<QUrl> reported(const QString &consoleMessage) const;

private:
    // Known to our script and to nobody else, so that no page can pretend that it was clicked.
    QString _secret;
};

}  // namespace pelorinnews

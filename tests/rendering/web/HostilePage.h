#pragma once

#include <QColor>
#include <QMap>
#include <QString>
#include <QStringList>

namespace pelorinnews::test {

enum class Painter;

/// One page of `hostile/` with its expected behaviour, read from `NAME.html` and `NAME.expected`.
///
/// Both files have placeholders for the addresses of this run: `{server}` is a web server, `{tls}`
/// one with an untrusted certificate, `{files}` a folder of local files that no page may read.
/// `{repeat N|text}` and `{char HEX}` are replaced by the repeated text and the character.
///
/// Each line of `NAME.expected` is one of these; a line that begins with `web` or `text` is for
/// that renderer alone:
///
///     click              the test clicks the upper left of the page once it is shown
///     hangs              the page never finishes loading; the test does not read its text
///     shows TEXT         the page's text contains TEXT in the end
///     hides TEXT         the page's text does not contain TEXT
///     never #RRGGBB      no pixel on the screen has that colour
///     requests METHOD PATH   the web server gets this request, and only listed ones
///     asks N ADDRESS     the policy delegate is asked about a navigation of type N (a
///                        `NavigationType`) to ADDRESS, and only about listed ones
///     opens-list         the click opens the drop-down list of a form field
///     silent             all sounds and videos of the page have loaded, and none is heard
///     download           the engine receives a file to save, and does not save it
///     keeps-asking N ADDRESS   the delegate is asked this question repeatedly, and no other
struct HostilePage {
    QString html;
    bool click = false;
    bool hangs = false;
    bool opensList = false;
    bool silent = false;
    int downloads = 0;
    QStringList shows;
    QStringList hides;
    QStringList requests;
    QStringList asks;
    QString keepsAsking;
    QList<QColor> never;

    static HostilePage read(const QString &folder, const QString &name, Painter painter,
                            const QMap<QString, QString> &addresses);
};

}  // namespace pelorinnews::test

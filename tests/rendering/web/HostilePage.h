#pragma once

#include <QColor>
#include <QMap>
#include <QString>
#include <QStringList>

namespace pelorinnews::test {

enum class Painter;

/// One page of `hostile/` with what is expected of it, read from `NAME.html` and `NAME.expected`.
///
/// In both, `{NAME}` stands for an address of this run: `{server}` a web server, `{tls}` one whose
/// certificate nobody trusts, `{files}` a folder of local files that no page may read. In pages,
/// `{repeat N|text}` and `{char HEX}` stand for what they say.
///
/// Each line of the expectation is one of these, for one renderer where it begins with `web` or
/// `text`:
///
///     click              the upper left of the page is clicked once it is shown
///     hangs              the page never comes to its end; its text is not asked for
///     shows TEXT         the page's text contains it, after all
///     hides TEXT         and does not contain this
///     never #RRGGBB      nowhere on the screen is that colour
///     requests METHOD PATH   the web server is asked for it; for nothing that is not listed
///     asks N ADDRESS     the policy delegate is asked; about nothing that is not listed
///     opens-list         the click drops down the list of a form's field
///     silent             all its sounds and films have come, and none is heard
///     download           the engine is handed a file to be saved, which it is not
///     keeps-asking N ADDRESS   it is asked over and over, about this alone
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

#pragma once

#include "Patience.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

namespace pelorinnews {

struct Outcome {
    int exitCode = -1;
    QByteArray output;
    QByteArray errors;

    [[nodiscard]] QJsonObject json() const { return QJsonDocument::fromJson(output).object(); }
    [[nodiscard]] QString report() const { return QString::fromUtf8(output); }
    /// The findings of the report, each as "line: text".
    [[nodiscard]] QStringList findings() const {
        static const QRegularExpression row(QStringLiteral("^  line +(\\d+)  (.*)$"),
                                            QRegularExpression::MultilineOption);
        QStringList found;
        for (auto rows = row.globalMatch(report()); rows.hasNext();) {
            const QRegularExpressionMatch match = rows.next();
            found.append(match.captured(1) + QStringLiteral(": ") + match.captured(2));
        }
        return found;
    }
};

/// Runs the program on `input`, in the environment of a user with English dates.
inline Outcome check(const QStringList &arguments, const QByteArray &input = {},
                     const QByteArray &variables = "LC_ALL=en_US.UTF-8") {
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *const name : {"LC_ALL", "LC_TIME", "LC_MESSAGES", "LANG", "LANGUAGE"})
        environment.remove(QString::fromLatin1(name));
    for (const QString &variable : QString::fromLatin1(variables).split(u' '))
        environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(PELORIN_APP_DIR "/bin/pelorin-feedcheck"), arguments);
    program.write(input);
    program.closeWriteChannel();
    if (!program.waitForFinished(testPatience) || program.exitStatus() != QProcess::NormalExit)
        return {-1, {}, program.errorString().toUtf8() + program.readAllStandardError()};
    return {program.exitCode(), program.readAllStandardOutput(), program.readAllStandardError()};
}

inline QByteArray feed(const QByteArray &items,
                       const QByteArray &language = "<language>en</language>") {
    return "<rss><channel>\n" + language + "\n" + items + "\n</channel></rss>\n";
}

inline QByteArray daysAgo(int days) {
    // The same text whenever it is asked for.
    static const QDateTime now = QDateTime::currentDateTimeUtc();
    return QLocale(QLocale::English)
        .toString(now.addDays(-days), QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'"))
        .toLatin1();
}

/// An item without mistakes, in one line.
inline QByteArray item(const QByteArray &title, int ageInDays = 1,
                       const QByteArray &category = "mac pelorin") {
    return "<item><title>" + title + "</title><pubDate>" + daysAgo(ageInDays) +
           "</pubDate><category>" + category +
           "</category><description>html</description><comments>text</comments></item>";
}

}  // namespace pelorinnews

#pragma once

#include "ScriptedServer.h"

#include <QByteArray>
#include <QList>

namespace pelorinnews::test {

/// A way in which a server may answer, and the outcome that a loader must report.
struct ServerAnswer {
    enum class Outcome {
        Whole,          ///< Status and body arrive.
        Error,          ///< A connection error, and no body.
        Timeout,        ///< A connection error because the idle timeout expired, and no body.
        StatusAndError  ///< The status arrives, and a connection error.
    };
    /// One bit for each channel; unscoped, so that `|` combines them.
    enum Channel {
        Plain = 1,
        Tls = 2,
        TlsWithoutNotify = 4,
        AllTls = Tls | TlsWithoutNotify,
        All = 7
    };

    QByteArray name;
    Script script;
    Outcome outcome = Outcome::Whole;
    int status = 200;
    QByteArray body;
    /// The channels for which this outcome is expected. `TlsWithoutNotify` turns the orderly end of
    /// `script` into a FIN without close_notify.
    int channels = All;
};

/// The body of most answers.
[[nodiscard]] QByteArray answeredBody();

/// The size limit of a body that a test must set in its loader.
constexpr qint64 maxAnswerBody = qint64(1) * 1024 * 1024;
/// The idle timeout that a test must set in its loader for answers whose script has a pause.
constexpr std::chrono::seconds answerIdleTimeout{1};

/// All answers; their names are unique.
[[nodiscard]] QList<ServerAnswer> serverAnswers();

}  // namespace pelorinnews::test

#pragma once

#include "ScriptedServer.h"

#include <QByteArray>
#include <QList>

namespace pelorinnews::test {

/// How a server may answer, and what a loader is to make of it.
struct ServerAnswer {
    enum class Outcome {
        Whole,          ///< Status and body arrive.
        Error,          ///< A connection error, and no body.
        Timeout,        ///< The same, for want of progress.
        StatusAndError  ///< The status arrives and a connection error with it.
    };
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
    /// Where this is what is to come of it. `TlsWithoutNotify` takes the orderly end of `script`
    /// for a FIN without close_notify.
    int channels = All;
};

/// The body of most answers.
[[nodiscard]] QByteArray answeredBody();

/// The most that a loader which is tried on these answers may take for a body.
constexpr qint64 answerLimit = qint64(1) * 1024 * 1024;
/// The idle timeout that such a loader is to be given for an answer with `Outcome::Timeout`, and
/// for those that are slow on purpose.
constexpr int answerIdleTimeoutSeconds = 1;

/// All of them; no two bear one name.
[[nodiscard]] QList<ServerAnswer> serverAnswers();

}  // namespace pelorinnews::test

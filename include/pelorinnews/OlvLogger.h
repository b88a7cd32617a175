#pragma once

#include <QString>

namespace pelorinnews {

/// The host's log, as the module sees it. The host implements this class and hands an object to
/// `NewsController::setLogger`.
///
/// Each operation takes one finished line of text, without a time stamp, a level name or a line
/// end. **Implementations must be thread-safe**: the module calls every operation from any thread,
/// also concurrently. Implementations must also return soon, because the caller waits.
class OlvLogger {
public:
    virtual ~OlvLogger() = default;

    /// Something failed.
    virtual void addErrorMessage(const QString &message) = 0;
    /// Something is wrong but did not fail. The module logs none.
    virtual void addWarningMessage(const QString &message) = 0;
    /// What the module does. The module logs none.
    virtual void addInfoMessage(const QString &message) = 0;
    /// Details for developers. The module logs none.
    virtual void addDebugMessage(const QString &message) = 0;

protected:
    OlvLogger() = default;
    OlvLogger(const OlvLogger &) = default;
    OlvLogger &operator=(const OlvLogger &) = default;
};

}  // namespace pelorinnews

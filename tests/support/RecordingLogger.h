#pragma once

#include "pelorinnews/OlvLogger.h"

#include <QList>

#include <mutex>

namespace pelorinnews::test {

/// A logger that records what it receives. Thread-safe.
class RecordingLogger : public OlvLogger {
public:
    struct Entry {
        int level;
        QString text;
        friend bool operator==(const Entry &, const Entry &) = default;
    };

    void addErrorMessage(const QString &message) override { add(1, message); }
    void addWarningMessage(const QString &message) override { add(2, message); }
    void addInfoMessage(const QString &message) override { add(3, message); }
    void addDebugMessage(const QString &message) override { add(4, message); }

    [[nodiscard]] QList<Entry> entries() const {
        const std::lock_guard lock(_mutex);
        return _recorded;
    }

private:
    void add(int level, const QString &text) {
        const std::lock_guard lock(_mutex);
        _recorded.append({level, text});
    }

    mutable std::mutex _mutex;
    QList<Entry> _recorded;
};

}  // namespace pelorinnews::test

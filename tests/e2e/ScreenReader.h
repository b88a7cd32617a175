#pragma once

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace pelorinnews::test {

/// Orca, the screen reader, on the display and in the D-Bus session of the test, without a voice.
/// It ends with the object, by process id.
class ScreenReader {
public:
    ScreenReader();
    ~ScreenReader();
    ScreenReader(const ScreenReader &) = delete;
    ScreenReader &operator=(const ScreenReader &) = delete;

    /// All utterances so far. What is spoken in one go is one entry.
    [[nodiscard]] QStringList spoken() const;

    /// Waits until it speaks `text`, after the first `heard` entries. False on timeout.
    [[nodiscard]] bool says(const QString &text, qsizetype heard) const;

private:
    QTemporaryDir _folder;
    QProcess _process;
};

}  // namespace pelorinnews::test

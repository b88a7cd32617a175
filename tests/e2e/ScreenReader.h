#pragma once

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace pelorinnews::test {

/// The screen reader Orca, without speech output, on the test's display and in its D-Bus session.
/// The destructor ends it by its process id.
class ScreenReader {
public:
    ScreenReader();
    ~ScreenReader();
    ScreenReader(const ScreenReader &) = delete;
    ScreenReader &operator=(const ScreenReader &) = delete;

    /// All utterances so far, one entry for each.
    [[nodiscard]] QStringList spoken() const;

    /// Waits until Orca speaks `text` in an utterance after the first `heard` ones. False on
    /// timeout.
    [[nodiscard]] bool says(const QString &text, qsizetype heard) const;

private:
    QTemporaryDir _folder;
    QProcess _process;
};

}  // namespace pelorinnews::test

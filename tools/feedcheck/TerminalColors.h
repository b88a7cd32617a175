#pragma once

#include <QString>

namespace pelorinnews {

/// Colours for a terminal, or none.
class TerminalColors {
public:
    explicit TerminalColors(bool isOn) : _isOn(isOn) {}

    /// Colours if standard output is a terminal, unless the environment variable NO_COLOR is set
    /// and not empty, or TERM is "dumb".
    static TerminalColors ofStandardOutput();

    [[nodiscard]] QString error(const QString &text) const { return painted("31", text); }
    [[nodiscard]] QString warning(const QString &text) const { return painted("33", text); }
    [[nodiscard]] QString good(const QString &text) const { return painted("32", text); }
    [[nodiscard]] QString heading(const QString &text) const { return painted("1", text); }
    [[nodiscard]] QString faint(const QString &text) const { return painted("2", text); }

private:
    [[nodiscard]] QString painted(const char *code, const QString &text) const {
        return _isOn ? QStringLiteral("\033[%1m%2\033[0m").arg(QLatin1String(code), text) : text;
    }

    bool _isOn;
};

}  // namespace pelorinnews

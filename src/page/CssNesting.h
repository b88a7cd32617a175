#pragma once

#include <QChar>

namespace pelorinnews {

/// Tracks the quotes and parentheses of a CSS text, character by character.
class CssNesting {
public:
    void add(QChar c) {
        if (!_quote.isNull())
            _quote = c == _quote ? QChar() : _quote;
        else if (c == QLatin1Char('"') || c == QLatin1Char('\''))
            _quote = c;
        else if (c == QLatin1Char('('))
            ++_depth;
        else if (c == QLatin1Char(')'))
            --_depth;
    }

    /// Whether the last character lies outside all quotes and parentheses.
    [[nodiscard]] bool isOutside() const { return _quote.isNull() && _depth <= 0; }

private:
    QChar _quote;
    int _depth = 0;
};

}  // namespace pelorinnews

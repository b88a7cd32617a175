#pragma once

#include <QMap>
#include <QString>
#include <QStringView>

#include <functional>

namespace pelorinnews {

/// Declarations of a style sheet or of a `style` attribute, reduced to those that a `QTextDocument`
/// may get: properties that the document knows, with values of a known form within bounds.
/// Everything else is dropped.
///
/// Shorthands are expanded. Lengths are whole pixels (`em` counts as 16), except font sizes in
/// points and line heights in percent. In this form, single properties can override each other, and
/// equal styles have equal texts.
class CssStyle {
public:
    /// Returns the name under which the document gets the image at `address`, a `data:` URL; null
    /// if the document may not show that image.
    using PictureNames = std::function<QString(const QString &address)>;

    /// Reads at most the first 64 declarations of `text`. Keeps a background image only if
    /// `pictures` returns a name for it.
    static CssStyle of(QStringView text, const PictureNames &pictures);

    /// Overrides this style with `other`, except for values that are `!important` in this style but
    /// not in `other`.
    void overlay(const CssStyle &other);

    /// The value of `property`; null if it is not set.
    [[nodiscard]] QString value(const char *property) const;
    void set(const char *property, const QString &value);
    void remove(const char *property);
    /// Removes the font's properties: family, size, style, variant and weight.
    void removeFont();
    void clear() { _values.clear(); }

    [[nodiscard]] bool isEmpty() const { return _values.isEmpty(); }
    [[nodiscard]] qsizetype size() const { return _values.size(); }
    /// The font's properties only, as text; each ends with a semicolon.
    [[nodiscard]] QString fontText() const;
    /// All properties, as the text of a `style` attribute.
    [[nodiscard]] QString text() const;

private:
    struct Value {
        QString text;
        bool important = false;
    };

    void declare(const QString &property, const QString &value, bool important);
    void declareSides(const QString &property, const QString &value, bool important);
    void declareFont(const QString &value, bool important);
    void put(const QString &property, const QString &value, bool important);

    QMap<QString, Value> _values;
};

}  // namespace pelorinnews

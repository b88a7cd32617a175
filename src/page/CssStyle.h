#pragma once

#include <QMap>
#include <QString>
#include <QStringView>

#include <functional>

namespace pelorinnews {

/// Declarations of a style sheet or of a `style` attribute, as far as they reach a text document:
/// properties that it knows, with values of a known form within bounds. Anything else a page states
/// is left out here.
///
/// Shorthands are taken apart, lengths are whole pixels (`em` counts as 16), so that properties can
/// be laid over each other and equal styles are equal texts.
class CssStyle {
public:
    /// What a document calls the picture at an address; null for one that it may not show.
    using PictureNames = std::function<QString(const QString &address)>;

    /// Reads at most the first 64 declarations of `text`. Background pictures are those that
    /// `pictures` has a name for.
    static CssStyle of(QStringView text, const PictureNames &pictures);

    /// `other` wins, but for what is `!important` here and not there.
    void overlay(const CssStyle &other);

    /// The value of `property`; null where it is not stated.
    [[nodiscard]] QString value(const char *property) const;
    void set(const char *property, const QString &value);
    void remove(const char *property);
    /// Removes what gives text another font: family, size, weight and slant.
    void removeFont();
    void clear() { _values.clear(); }

    [[nodiscard]] bool isEmpty() const { return _values.isEmpty(); }
    [[nodiscard]] qsizetype size() const { return _values.size(); }
    /// The part of the text that concerns the font.
    [[nodiscard]] QString fontText() const;
    /// As a `style` attribute has it.
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

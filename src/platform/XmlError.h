#pragma once

#include <QString>

/// The domain, codes and user information of the fatal error of an XML document.
namespace pelorinnews::XmlError {

/// Codes in addition to Expat's own. Unscoped, because an `Error` holds its code as a number.
enum Code {
    UnusableEntity = 1000,
    TooMuchExpansion,
    /// The delegate has stopped the document (`XmlReader::refuse`).
    RefusedByDelegate,
    TooDeep,
    TooManyAttributes,
};

[[nodiscard]] inline QString domain() {
    return QStringLiteral("com.Olvane.PelorinNews.XmlReader.ErrorDomain");
}

/// Entries of the user information: where the document broke, counted from one.
[[nodiscard]] inline QString lineNumberKey() {
    return QStringLiteral("lineNumber");
}
[[nodiscard]] inline QString columnNumberKey() {
    return QStringLiteral("columnNumber");
}

}  // namespace pelorinnews::XmlError

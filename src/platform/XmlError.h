#pragma once

#include <QString>

/// What the fatal error of an XML document consists of.
namespace pelorinnews::XmlError {

/// The codes are Expat's, and these.
enum Code {
    UnusableEntity = 1000,
    TooMuchExpansion,
    /// The delegate wants no more of the document.
    RefusedByDelegate,
    TooDeep,
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

#pragma once

#include <QtGlobal>

/// What an `XmlReader` accepts at most; a document beyond it fails.
namespace pelorinnews::XmlLimits {

/// Bytes in the value of one entity.
constexpr qsizetype maxEntityBytes = 100;
/// Bytes to which all uses of entities expand together.
constexpr qsizetype maxExpansion = 1'000'000;
/// Elements nested in one another.
constexpr int maxOpenElements = 200'000;
/// Attributes that the document type declares. Expat compares each with all earlier ones.
constexpr int maxDeclaredAttributes = 1000;
/// Attributes that elements have by declaration only, in the whole document.
constexpr qint64 maxDefaultedAttributes = 1'000'000;

}  // namespace pelorinnews::XmlLimits

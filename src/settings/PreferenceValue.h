#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>

/// Converts what is stored under a preference's key, of whatever type, to a typed value.
///
/// The preferences file stores booleans and numbers as plain texts, and a list of one text as that
/// text. A value must read the same before and after the file is reread. So the conversions to
/// boolean and integer first make the text that the file would hold, and use only that text:
///
/// | stored                    | boolean | integer            | text         | date         |
/// |---------------------------|---------|--------------------|--------------|--------------|
/// | nothing                   | false   | 0                  | absent       | absent       |
/// | boolean yes, text "true"  | true    | 1                  | text only    | absent       |
/// | boolean no, text "false"  | false   | 0                  | text only    | absent       |
/// | number, or its text       | not 0   | towards zero       | text only    | absent       |
/// | "YES", "y", "True", " t"  | true    | 0                  | unchanged    | absent       |
/// | "no", "off", "on", ""     | false   | 0                  | unchanged    | absent       |
/// | "12abc", "1,5"            | true    | 12, 1              | unchanged    | absent       |
/// | "007", "-1", "3.7", "1e3" | true    | 7, -1, 3, 1000     | unchanged    | absent       |
/// | "0", "-0", "0.5", "x1"    | false   | 0                  | unchanged    | absent       |
/// | beyond 64 bits            | true    | largest, smallest  | unchanged    | absent       |
/// | ISO 8601 text             | as text | leading digits     | unchanged    | that instant |
/// | date                      | false   | 0                  | absent       | unchanged    |
/// | list of one text          | as that text                                               |
/// | anything else             | false   | 0                  | absent       | absent       |
///
/// "text only": a text reads unchanged. A boolean or a number is not a text, and reads as absent
/// until the file is reread.
///
/// A text counts as true when it begins, after white space, one sign and zeros, with one of Y, y,
/// T, t or a digit from 1 to 9.
namespace pelorinnews::PreferenceValue {

/// Whether writing `value` removes the key. True for an invalid variant, a null pointer, a null
/// text, an invalid date, and an empty list, which the file cannot hold.
[[nodiscard]] bool isAbsent(const QVariant &value);

[[nodiscard]] bool toBool(const QVariant &stored);
[[nodiscard]] qint64 toInteger(const QVariant &stored);
[[nodiscard]] QString toText(const QVariant &stored);
[[nodiscard]] QDateTime toDate(const QVariant &stored);

}  // namespace pelorinnews::PreferenceValue

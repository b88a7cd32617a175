#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>

/// What a preference reads as, whatever is stored under its key.
///
/// The preferences file keeps booleans and numbers as plain texts, and a list of one text as that
/// text. So that a value reads the same before and after the file was reread, the conversions to
/// boolean and integer first turn what is stored into the text that the file would hold, and look
/// at that text alone:
///
/// | stored                    | boolean | integer            | text         | date         |
/// |---------------------------|---------|--------------------|--------------|--------------|
/// | nothing                   | false   | 0                  | absent       | absent       |
/// | boolean yes, text "true"  | true    | 1                  | text alone   | absent       |
/// | boolean no, text "false"  | false   | 0                  | text alone   | absent       |
/// | number, or its text       | not 0   | towards zero       | text alone   | absent       |
/// | "YES", "y", "True", " t"  | true    | 0                  | as it stands | absent       |
/// | "no", "off", "on", ""     | false   | 0                  | as it stands | absent       |
/// | "12abc", "1,5"            | true    | 12, 1              | as it stands | absent       |
/// | "007", "-1", "3.7", "1e3" | true    | 7, -1, 3, 1000     | as it stands | absent       |
/// | "0", "-0", "0.5", "x1"    | false   | 0                  | as it stands | absent       |
/// | beyond 64 bits            | true    | largest, smallest  | as it stands | absent       |
/// | ISO 8601 text             | digits  | leading digits     | as it stands | that instant |
/// | date                      | false   | 0                  | absent       | as it stands |
/// | list of one text          | as that text                                               |
/// | anything else             | false   | 0                  | absent       | absent       |
///
/// "text alone": the text reads as it stands; the boolean or the number itself, which is not text,
/// reads as absent as long as it was not reread from the file.
///
/// A text counts as true when it begins, after white space, one sign and zeros, with one of
/// Y, y, T, t or a digit from 1 to 9.
namespace pelorinnews::PreferenceValue {

/// Whether writing `value` means removing it: nothing, a null text, an invalid date, or an empty
/// list, which the file cannot hold.
[[nodiscard]] bool isAbsent(const QVariant &value);

[[nodiscard]] bool toBool(const QVariant &stored);
[[nodiscard]] qint64 toInteger(const QVariant &stored);
[[nodiscard]] QString toText(const QVariant &stored);
[[nodiscard]] QDateTime toDate(const QVariant &stored);

}  // namespace pelorinnews::PreferenceValue

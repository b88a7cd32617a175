#pragma once

#include "GuardedSlot.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace pelorinnews {

/// Localized texts by key, from the tables of one folder.
///
/// A table has one file for each language, `<folder>/<table>_<language>.qm`. A key is looked up in
/// the user's languages, best first, each followed by its more general forms ("de-AT", then "de";
/// "zh-SG", then "zh-Hans", then "zh"); then in English. The translators are never installed in the
/// application, so the host's own texts cannot collide with these.
///
/// Set the folder and the table once; `stringForKey` and `language` may be called from any thread.
class OlvLocalization {
public:
    /// For the user's languages as they are now.
    OlvLocalization();
    explicit OlvLocalization(const QStringList &preferredLanguages);
    OlvLocalization(const OlvLocalization &) = delete;
    OlvLocalization &operator=(const OlvLocalization &) = delete;
    ~OlvLocalization();

    /// The folder of the tables' files.
    void setBundle(const QString &folder);

    /// The table to look in. A missing or damaged file has no texts.
    void setTable(const QString &name);

    /// The text for `key`. Returns `key` itself if no language has a text, if folder or table is
    /// not set yet, or if `key` is empty.
    [[nodiscard]] QString stringForKey(const QString &key) const;

    /// The language in which `stringForKey` looks first, as in its file's name. Null if there are
    /// no texts.
    [[nodiscard]] QString language() const;

private:
    struct Table;
    using Tables = std::vector<std::unique_ptr<const Table>>;

    void load();

    QStringList _languages;
    QString _folder;
    QString _table;
    GuardedSlot<std::shared_ptr<const Tables>> _tables;
};

}  // namespace pelorinnews

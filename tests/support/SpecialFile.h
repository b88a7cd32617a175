#pragma once

#include <QString>
#include <QStringList>

#include <memory>

namespace pelorinnews::test {

/// A special file, in place of one of the panel's files. Detects whether it is opened, changed or
/// replaced.
class SpecialFile {
public:
    /// The kinds of special file: a pipe, a device, a link to one, and so on.
    [[nodiscard]] static QStringList kinds();

    /// Makes a special file of `kind` at `path`; if it is a link, its target is made beside it.
    SpecialFile(const QString &kind, const QString &path);
    SpecialFile(const SpecialFile &) = delete;
    SpecialFile &operator=(const SpecialFile &) = delete;
    ~SpecialFile();

    /// Why the special file could not be made; empty on success.
    [[nodiscard]] QString whyNot() const { return _refusal; }

    /// What has happened to the special file: "opened", "changed", "replaced"; empty if nothing
    /// has.
    [[nodiscard]] QString harm() const;

private:
    struct Watch;
    bool make(const QString &kind);

    QString _path;
    QString _refusal;
    std::unique_ptr<Watch> _watch;
};

}  // namespace pelorinnews::test

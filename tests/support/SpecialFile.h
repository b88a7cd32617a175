#pragma once

#include <QString>
#include <QStringList>

#include <memory>

namespace pelorinnews::test {

/// Something that stands where a file of ours belongs and is no regular file, and a watch over it.
class SpecialFile {
public:
    /// What there can be: a pipe, a device, a link to one, and so on.
    [[nodiscard]] static QStringList kinds();

    /// Makes a `kind` at `path`; what it leads to, if it is a link, beside it.
    SpecialFile(const QString &kind, const QString &path);
    SpecialFile(const SpecialFile &) = delete;
    SpecialFile &operator=(const SpecialFile &) = delete;
    ~SpecialFile();

    /// Why it could not be made; empty where it could.
    [[nodiscard]] QString whyNot() const { return refusal; }

    /// What has happened to it: "opened", "changed", "replaced"; empty where nothing has.
    [[nodiscard]] QString harm() const;

private:
    struct Watch;
    bool make(const QString &kind);

    QString path;
    QString refusal;
    std::unique_ptr<Watch> watch;
};

}  // namespace pelorinnews::test

#pragma once

#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>

namespace pelorinnews {

/// The program's command line.
class CommandLine {
public:
    enum class Wish { Check, Help, Version, ListFindings, Explain };

    explicit CommandLine(const QStringList &arguments);

    /// Why the command line is refused; null if it is not.
    [[nodiscard]] const QString &mistake() const { return _mistake; }

    [[nodiscard]] Wish wish() const { return _wish; }
    [[nodiscard]] const QString &help() const { return _help; }
    /// The name of the finding to explain; null unless that is the wish.
    [[nodiscard]] const QString &finding() const { return _finding; }
    [[nodiscard]] const QString &feed() const { return _feed; }
    [[nodiscard]] bool json() const { return _json; }
    [[nodiscard]] bool strict() const { return _strict; }
    /// The reader's locale; absent if the feed is checked for all of its readers.
    [[nodiscard]] const std::optional<QString> &locale() const { return _locale; }

    /// The folder for pictures of the items; null if none are wanted.
    [[nodiscard]] const QString &pictures() const { return _pictures; }
    /// The size of pictured pages, in logical pixels.
    [[nodiscard]] QSize pageSize() const { return _pageSize; }
    /// Whether to check the file again, without end, whenever it changes.
    [[nodiscard]] bool watches() const { return _watches; }

private:
    QString _mistake;
    QString _help;
    QString _finding;
    QString _feed;
    QString _pictures;
    std::optional<QString> _locale;
    /// By default, that of a page in the panel's window when it is first shown.
    QSize _pageSize{576, 376};
    Wish _wish = Wish::Check;
    bool _json = false;
    bool _strict = false;
    bool _watches = false;
};

}  // namespace pelorinnews

#pragma once

#include <QDateTime>
#include <QString>

#include <memory>
#include <vector>

namespace pelorinnews {

/// Guesses which moment an editor meant by a date that the panel cannot read.
class DateGuess {
public:
    /// `locale` is the reader's; its names are tried before those of other languages.
    explicit DateGuess(const QString &locale);
    ~DateGuess();
    DateGuess(const DateGuess &) = delete;
    DateGuess &operator=(const DateGuess &) = delete;

    /// In UTC, which also counts where `text` has no time zone; without a time, midnight. Invalid
    /// unless all of `text` is understood.
    [[nodiscard]] QDateTime read(const QString &text);

    /// `date`, with the century that a year of two digits leaves out.
    [[nodiscard]] static QDateTime withCentury(const QDateTime &date);

private:
    class Form;

    [[nodiscard]] QDate dayOf(const QString &text);

    QString _locale;
    /// Every form in every language; made for the first date that needs them.
    std::vector<std::unique_ptr<Form>> _forms;
    /// The form of the last day, which the next one probably has, too.
    std::size_t _last = 0;
};

}  // namespace pelorinnews

#pragma once

#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

namespace pelorinnews {

/// Tells whether an item's category contains every category of interest: a test of substrings that
/// takes each text as it stands and in which case and diacritics count. An absent category fails.
///
/// The items of a feed share few different categories, so the answers for the texts met first are
/// remembered, recognised by the memory they share. Belongs to one thread.
class CategoryTest {
public:
    /// Without categories of interest every item passes, one without a category too.
    explicit CategoryTest(QStringList categoriesOfInterest)
        : wanted(std::move(categoriesOfInterest)) {}

    [[nodiscard]] bool isTrivial() const { return wanted.isEmpty(); }
    [[nodiscard]] bool passes(const QString &category);

private:
    [[nodiscard]] bool containsAll(const QString &category) const;

    static constexpr std::size_t mostRemembered = 16;

    QStringList wanted;
    /// Holding the texts keeps their memory from being given to another text meanwhile.
    std::vector<std::pair<QString, bool>> remembered;
};

}  // namespace pelorinnews

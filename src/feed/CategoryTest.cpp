#include "CategoryTest.h"

#include <algorithm>

namespace pelorinnews {

bool CategoryTest::passes(const QString &category) {
    if (isTrivial())
        return true;
    if (category.isNull())
        return false;
    for (const auto &[known, answer] : remembered) {
        if (known.constData() == category.constData() && known.size() == category.size())
            return answer;
    }
    const bool answer = containsAll(category);
    if (remembered.size() < mostRemembered)
        remembered.emplace_back(category, answer);
    return answer;
}

bool CategoryTest::containsAll(const QString &category) const {
    return std::all_of(wanted.cbegin(), wanted.cend(),
                       [&category](const QString &text) { return category.contains(text); });
}

}  // namespace pelorinnews

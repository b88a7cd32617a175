#pragma once

#include <QTemporaryDir>

namespace pelorinnews::test {

/// A home folder of the test's own, with every user folder in it; removed with the object.
/// Construct it before any application object, so that nothing reads the real user's folders.
class TestHome {
public:
    TestHome();

    /// The absolute path of `relative` in this home.
    [[nodiscard]] QString path(const QString &relative) const { return _home.filePath(relative); }

private:
    QTemporaryDir _home;
};

}  // namespace pelorinnews::test

#pragma once

#include "WindowFixture.h"

#include <QObject>

namespace pelorinnews::test {

/// The base of tests of the news window: a new `WindowFixture` for each test function.
class WindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        _fixture = std::make_unique<WindowFixture>();
        prepare();
    }
    void cleanup() { _fixture.reset(); }

protected:
    /// Called with each new fixture.
    virtual void prepare() {}

    std::unique_ptr<WindowFixture> _fixture;
};

}  // namespace pelorinnews::test

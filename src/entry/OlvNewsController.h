#pragma once

#include "pelorinnews/Error.h"
#include "pelorinnews/NewsController.h"
#include "pelorinnews/NewsStatus.h"

#include <QObject>

#include <memory>

namespace pelorinnews {

class OlvNewsWindowController;

/// The module's entry object: owns the window controller, which does the work, and forwards to it.
///
/// Main thread only. Without a window controller, `show`, `exit` and `setLogger` are no-ops, and
/// the status says that there is nothing.
class OlvNewsController final : public QObject,
                                public NewsController,
                                public NewsStatus,
                                public std::enable_shared_from_this<OlvNewsController> {
    Q_OBJECT
    Q_INTERFACES(pelorinnews::NewsStatus)

public:
    /// Null only without an application object. If only the window controller cannot be created,
    /// returns a controller without one.
    static std::shared_ptr<OlvNewsController> init() { return init(nullptr); }

    /// Null on failure, with the reason in `*error`; on success `*error` is untouched.
    static std::shared_ptr<OlvNewsController> init(Error *error);

    ~OlvNewsController() override;

    void show() override;
    void exit() override;
    void setLogger(std::shared_ptr<OlvLogger> logger) override;
    void setDelegate(std::shared_ptr<void> delegate) override;

    [[nodiscard]] qint64 unreadCount() const override;
    [[nodiscard]] std::optional<Headline> latestItem() const override;
    [[nodiscard]] std::optional<Refresh> lastRefresh() const override;
    void setChangeCallback(std::function<void()> callback) override;
    void refreshNow() override;

private:
    OlvNewsController() = default;

    std::shared_ptr<OlvNewsWindowController> _windowController;
    // Declared last, so destroyed before the window controller.
    std::shared_ptr<void> _delegate;
};

}  // namespace pelorinnews

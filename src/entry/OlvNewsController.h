#pragma once

#include <pelorinnews/Error.h>
#include <pelorinnews/NewsController.h>

#include <memory>

namespace pelorinnews {

class OlvNewsWindowController;

/// The entry object: owns the window controller, which does the work, and forwards to it.
///
/// Main thread only. One that was made without a window controller does nothing at all.
class OlvNewsController final : public NewsController,
                                public std::enable_shared_from_this<OlvNewsController> {
public:
    /// Without a place for an error, a controller without a window controller is given where only
    /// that one cannot be made; null where there is no application object.
    static std::shared_ptr<OlvNewsController> init() { return init(nullptr); }

    /// Null on failure, with the reason in `error`; on success `error` is left as it is.
    static std::shared_ptr<OlvNewsController> init(Error *error);

    ~OlvNewsController() override;

    void show() override;
    void exit() override;
    void setLogger(std::shared_ptr<OlvLogger> logger) override;
    void setDelegate(std::shared_ptr<void> delegate) override;

private:
    OlvNewsController() = default;

    std::shared_ptr<OlvNewsWindowController> _windowController;
    // Goes before the window controller.
    std::shared_ptr<void> _delegate;
};

}  // namespace pelorinnews

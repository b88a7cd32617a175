#include "WindowDescription.h"

#include "ui_OlvNewsWindowController.h"

#include <QAbstractButton>
#include <QComboBox>

namespace pelorinnews::WindowDescription {

namespace {

// Actions run only on user input, not on changes by code; a menu, for example, selects its first
// entry by itself. Assistive technologies toggle a checkable button without clicking it, so such a
// button is connected by `toggled`, and code that sets its state must block its signals.
void connectAction(QWidget &control, const std::function<void()> &action) {
    auto *button = qobject_cast<QAbstractButton *>(&control);
    if (button && button->isCheckable())
        QObject::connect(button, &QAbstractButton::toggled, button, [action] { action(); });
    else if (button)
        QObject::connect(button, &QAbstractButton::clicked, button, [action] { action(); });
    else if (auto *menu = qobject_cast<QComboBox *>(&control))
        QObject::connect(menu, &QComboBox::activated, menu, [action] { action(); });
}

}  // namespace

std::unique_ptr<OlvNewsWindow> load(const QString &name, const Actions &actions) {
    if (name != QLatin1String("OlvNewsWindowController"))
        return nullptr;
    auto window = std::make_unique<OlvNewsWindow>();
    Ui::OlvNewsWindow().setupUi(window.get());
    const auto controls = window->findChildren<QWidget *>();
    for (QWidget *control : controls) {
        const auto found = actions.find(control->property("action").toString());
        if (found != actions.end())
            connectAction(*control, found->second);
    }
    return window;
}

}  // namespace pelorinnews::WindowDescription

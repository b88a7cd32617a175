#include "WindowDescription.h"

#include "DisclosureButton.h"
#include "OlvNewsWebView.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QFile>
#include <QUiLoader>

// Outside of any namespace, where the macro wants to be.
static void initDescriptions() {
    Q_INIT_RESOURCE(window);
}

namespace pelorinnews {

namespace {

class Loader final : public QUiLoader {
public:
    // Plug-ins for Qt Designer are no business of a host that shows news.
    Loader() { clearPluginPaths(); }

    QWidget *createWidget(const QString &className, QWidget *parent, const QString &name) override {
        QWidget *widget = nullptr;
        if (className == QLatin1String("OlvNewsWindow"))
            widget = new OlvNewsWindow(parent);
        else if (className == QLatin1String("OlvNewsWebView"))
            widget = new OlvNewsWebView(parent);
        else if (className == QLatin1String("DisclosureButton"))
            widget = new DisclosureButton(parent);
        else
            return QUiLoader::createWidget(className, parent, name);
        widget->setObjectName(name);
        return widget;
    }
};

// Only what the user does counts, not what a program sets: menus select their first entry by
// themselves.
void connectAction(QWidget &control, const std::function<void()> &action) {
    if (auto *button = qobject_cast<QAbstractButton *>(&control))
        QObject::connect(button, &QAbstractButton::clicked, button, [action] { action(); });
    else if (auto *menu = qobject_cast<QComboBox *>(&control))
        QObject::connect(menu, &QComboBox::activated, menu, [action] { action(); });
}

}  // namespace

std::unique_ptr<OlvNewsWindow> WindowDescription::load(const Actions &actions) const {
    initDescriptions();
    QFile file(_path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    Loader loader;
    std::unique_ptr<QWidget> widget(loader.load(&file));
    auto *window = qobject_cast<OlvNewsWindow *>(widget.get());
    if (!window)
        return nullptr;
    static_cast<void>(widget.release());
    const auto controls = window->findChildren<QWidget *>();
    for (QWidget *control : controls) {
        const auto found = actions.find(control->property("action").toString());
        if (found != actions.end())
            connectAction(*control, found->second);
    }
    return std::unique_ptr<OlvNewsWindow>(window);
}

}  // namespace pelorinnews

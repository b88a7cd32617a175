// A program that sets a preference after its event loop has ended, or, with the argument "late",
// even after its application object is destroyed. It then exits while the preferences object still
// exists.

#include "settings/UserDefaults.h"

#include <QCoreApplication>

#include <memory>

int main(int argc, char *argv[]) {
    static std::shared_ptr<pelorinnews::UserDefaults> *held = nullptr;
    const auto set = [] { (*held)->setValue(QStringLiteral("newsShowOnStart"), false); };
    {
        const QCoreApplication application(argc, argv);
        QCoreApplication::setOrganizationName(QStringLiteral("Olvane"));
        QCoreApplication::setApplicationName(QStringLiteral("Leaving"));
        held = new auto(pelorinnews::UserDefaults::standard());
        if (argc == 1)
            set();
    }
    if (argc > 1)
        set();
    return 0;
}

// A program that sets a preference after its event loop has ended, and exits while the preferences
// object is still held.

#include "settings/UserDefaults.h"

#include <QCoreApplication>

int main(int argc, char *argv[]) {
    const QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Olvane"));
    QCoreApplication::setApplicationName(QStringLiteral("Leaving"));
    static const auto *const held = new auto(pelorinnews::UserDefaults::standard());
    (*held)->setValue(QStringLiteral("newsShowOnStart"), false);
    return 0;
}

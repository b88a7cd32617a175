#include "HostBundle.h"

#include "GuardedSlot.h"
#include "HostBundleLocation.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStringList>
#include <QVariant>

#include <algorithm>

namespace pelorinnews {

namespace {

GuardedSlot<HostIdentity> &statedIdentity() {
    static GuardedSlot<HostIdentity> identity;
    return identity;
}

bool namesOneFolder(const QString &name) {
    return !name.isEmpty() && !name.contains(QLatin1Char('/')) &&
           !name.contains(QLatin1Char('\0')) && name != QLatin1String(".") &&
           name != QLatin1String("..");
}

/// The name of the host's desktop file. QGuiApplication has it as a property; reading the property
/// by name avoids linking this library to Qt Gui.
QString desktopFileName() {
    const QCoreApplication *application = QCoreApplication::instance();
    if (application == nullptr)
        return {};
    QString name = application->property("desktopFileName").toString();
    const QLatin1String suffix(".desktop");
    if (name.endsWith(suffix))
        name.chop(suffix.size());
    return name;
}

QString domainAndApplicationName() {
    const QString application = QCoreApplication::applicationName();
    QStringList labels =
        QCoreApplication::organizationDomain().split(QLatin1Char('.'), Qt::SkipEmptyParts);
    if (labels.isEmpty() || application.isEmpty())
        return {};
    std::reverse(labels.begin(), labels.end());
    return labels.join(QLatin1Char('.')) + QLatin1Char('.') + application;
}

QString executableName() {
    if (QCoreApplication::instance() == nullptr)
        return {};
    return QFileInfo(QCoreApplication::applicationFilePath()).fileName();
}

}  // namespace

void HostBundle::setIdentity(const HostIdentity &identity) {
    statedIdentity().set(identity);
}

HostIdentity HostBundle::identity() {
    return statedIdentity().get();
}

HostBundle HostBundle::mainBundle() {
    const QString candidates[] = {
        statedIdentity().get().bundleIdentifier,
        qEnvironmentVariable("FLATPAK_ID"),
        desktopFileName(),
        domainAndApplicationName(),
        executableName(),
    };
    HostBundle bundle;
    const auto *found = std::find_if(std::begin(candidates), std::end(candidates), namesOneFolder);
    if (found != std::end(candidates))
        bundle._bundleIdentifier = *found;
    return bundle;
}

QString HostBundle::location() const {
    return hostBundleLocation(HostProcess::current());
}

QString HostBundle::name() const {
    const QString path = location();
    return path.isNull() ? path : path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

EntryPattern HostBundle::copies() const {
    const bool isProgram = location() == HostProcess::current().executable;
    return {FileNamePattern::like(name()),
            isProgram ? EntryPattern::Kind::Program : EntryPattern::Kind::Any};
}

}  // namespace pelorinnews

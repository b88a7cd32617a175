#pragma once

#include "pelorinnews/NewsController.h"

#include <QString>

#include <memory>

namespace pelorinnews::host {

/// The default path of the news module: in `../lib/pelorin`, relative to the executable's folder,
/// or where `cmake --install` or a package put it, also relative to that folder.
QString newsModulePath();

/// Loads the news module at `path`, sets this host's identity in it, and creates its panel.
///
/// On failure, returns null and sets `*problem` to a message for the user. Call it once, on the
/// main thread, after creating the application object.
std::shared_ptr<NewsController> createNews(const QString &path, QString *problem);

}  // namespace pelorinnews::host

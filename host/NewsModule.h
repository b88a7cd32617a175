#pragma once

#include <pelorinnews/NewsController.h>

#include <QString>

#include <memory>

namespace pelorinnews::host {

/// Where the news module is looked for: beside the executable's folder, in `../lib/pelorin`.
QString newsModulePath();

/// Loads the news module at `path`, tells it who this host is, and creates its panel.
///
/// Null when that fails; then `problem` says why, in words for the user. Call it once, on the main
/// thread, after the application object was made.
std::shared_ptr<NewsController> createNews(const QString &path, QString *problem);

}  // namespace pelorinnews::host

#pragma once

#include "NewsRenderer.h"

#include <QString>

#include <memory>

class QWidget;

namespace pelorinnews::RendererLoader {

/// Creates the best renderer that is installed: the web renderer if the page process is beside the
/// module, otherwise the text renderer. Never null. Main thread only.
///
/// `programFolder` is the folder of the page process's program; by default the module's own.
[[nodiscard]] std::unique_ptr<NewsRenderer> createRenderer(QWidget *parent,
                                                           const QString &programFolder = {});

}  // namespace pelorinnews::RendererLoader

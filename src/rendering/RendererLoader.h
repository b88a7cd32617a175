#pragma once

#include "NewsRenderer.h"

#include <QString>

#include <memory>

class QWidget;

namespace pelorinnews::RendererLoader {

/// Creates the renderer of a content view: the web renderer, which uses the text renderer wherever
/// the page process cannot run. Never null. Main thread only.
///
/// `programFolder` is the folder of the page process's program; by default the module's own.
[[nodiscard]] std::unique_ptr<NewsRenderer> createRenderer(QWidget *parent,
                                                           const QString &programFolder = {});

}  // namespace pelorinnews::RendererLoader

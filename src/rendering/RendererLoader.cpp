#include "RendererLoader.h"

#include "WebNewsRenderer.h"
#include "platform/ModuleBundle.h"

namespace pelorinnews::RendererLoader {

std::unique_ptr<NewsRenderer> createRenderer(QWidget *parent, const QString &programFolder) {
    const QString folder = programFolder.isNull() ? ModuleBundle::folder() : programFolder;
    return std::make_unique<WebNewsRenderer>(parent, folder + QStringLiteral("/pelorin-news-page"));
}

}  // namespace pelorinnews::RendererLoader

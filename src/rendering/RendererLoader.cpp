#include "RendererLoader.h"

#include "TextNewsRenderer.h"
#include "WebNewsRenderer.h"
#include "platform/ModuleBundle.h"

#include <QFileInfo>

namespace pelorinnews::RendererLoader {

std::unique_ptr<NewsRenderer> createRenderer(QWidget *parent, const QString &programFolder) {
    const QString program = (programFolder.isNull() ? ModuleBundle::folder() : programFolder) +
                            QStringLiteral("/pelorin-news-page");
    if (QFileInfo(program).isExecutable())
        return std::make_unique<WebNewsRenderer>(parent, program);
    return std::make_unique<TextNewsRenderer>(parent);
}

}  // namespace pelorinnews::RendererLoader

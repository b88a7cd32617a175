#include "RichTextMimeData.h"

namespace pelorinnews {

std::unique_ptr<QMimeData> richTextMimeData(const QByteArray &rtf) {
    auto data = std::make_unique<QMimeData>();
    data->setData(QStringLiteral("text/rtf"), rtf);
    data->setData(QStringLiteral("text/richtext"), rtf);
    data->setData(QStringLiteral("application/rtf"), rtf);
    return data;
}

}  // namespace pelorinnews

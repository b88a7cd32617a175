#pragma once

#include <QTextDocument>

namespace pelorinnews {

/// A text document that loads no resources: it reads no file, downloads nothing and loads no image,
/// whatever the page asks for.
class RichTextDocument final : public QTextDocument {
public:
    RichTextDocument();

protected:
    QVariant loadResource(int type, const QUrl &name) override;
};

}  // namespace pelorinnews

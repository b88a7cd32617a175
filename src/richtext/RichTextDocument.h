#pragma once

#include <QTextDocument>

namespace pelorinnews {

/// A text document that reaches nothing outside its own text: no file is read, nothing is
/// downloaded and no picture is loaded, whatever the page asks for.
class RichTextDocument final : public QTextDocument {
public:
    RichTextDocument();

protected:
    QVariant loadResource(int type, const QUrl &name) override;
};

}  // namespace pelorinnews

#pragma once

#include <QTextDocument>

namespace pelorinnews {

/// A text document that reaches nothing outside its own text: pictures written into the page
/// (`data:` addresses) are its only resources. No file is read and nothing is downloaded, whatever
/// the page asks for.
class RichTextDocument final : public QTextDocument {
public:
    RichTextDocument();

protected:
    QVariant loadResource(int type, const QUrl &name) override;
};

/// The bytes of a `data:` address whose type is a picture; empty for any other and for one that
/// is malformed.
[[nodiscard]] QByteArray dataPicture(const QString &address);

}  // namespace pelorinnews

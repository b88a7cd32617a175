#pragma once

#include <QHash>
#include <QMap>
#include <QString>
#include <QXmlStreamReader>

namespace pelorinnews::test {

/// The content of an OpenDocument text as lines that people can read and tests can compare: one for
/// each paragraph, list item, table, row and cell, with its style's properties.
class OpenDocumentOutline {
public:
    /// The outline of a flat OpenDocument text; empty if `document` is not well-formed.
    static QString of(const QByteArray &document);

private:
    using Properties = QMap<QString, QString>;

    explicit OpenDocumentOutline(const QByteArray &document) : _reader(document) {}

    QString run();
    void readStyle();
    void readListStyle();
    void readBody();
    void start();
    void end();
    void line(const QString &text);
    [[nodiscard]] QString styleOf(const QString &name) const;
    [[nodiscard]] QString attribute(const char *qualifiedName) const;

    QXmlStreamReader _reader;
    QHash<QString, Properties> _styles;
    QHash<QString, QStringList> _listStyles;
    QStringList _lines;
    QString _paragraph;
    QString _openSpan;
    QString _lastSpan;
    qsizetype _lastSpanEnd = 0;
    QStringList _lists;
    int _indent = 0;
};

}  // namespace pelorinnews::test

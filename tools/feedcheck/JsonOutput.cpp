#include "JsonOutput.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

namespace pelorinnews {

namespace {

QJsonValue textOrNull(const QString &text) {
    return text.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QByteArray compact(const QJsonObject &object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

/// A QJsonDocument must be an array or an object, so wrap the value in an array and strip the
/// brackets.
QByteArray compact(const QJsonValue &value) {
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return array.sliced(1, array.size() - 2);
}

QJsonObject itemObject(const OlvNewsCacheItem &item) {
    return {
        {QStringLiteral("title"), textOrNull(item.title())},
        {QStringLiteral("date"), textOrNull(isoDate(item.date()))},
        {QStringLiteral("category"), textOrNull(item.category())},
        {QStringLiteral("plainTextContent"), textOrNull(item.plainTextContent())},
        {QStringLiteral("htmlContent"), textOrNull(item.htmlContent())},
    };
}

QJsonObject findingObject(const Finding &finding) {
    const auto numberOrNull = [](qint64 number) {
        return number > 0 ? QJsonValue(number) : QJsonValue(QJsonValue::Null);
    };
    return {
        {QStringLiteral("name"), QString(nameOf(finding.kind))},
        {QStringLiteral("severity"),
         isError(finding.kind) ? QStringLiteral("error") : QStringLiteral("warning")},
        {QStringLiteral("line"), numberOrNull(finding.line)},
        {QStringLiteral("item"), numberOrNull(static_cast<qint64>(finding.item))},
        {QStringLiteral("text"), finding.text},
    };
}

/// An array with one element per line.
template <class List, class ObjectOf>
QByteArray linesOf(const List &list, ObjectOf objectOf) {
    QByteArray json = "[";
    const char *separator = "\n";
    for (const auto &element : list) {
        json += separator + compact(objectOf(element));
        separator = ",\n";
    }
    return json + "]";
}

}  // namespace

QString errorText(const Error &error) {
    const QString text =
        printableText(error.userInfo.value(Error::localizedDescriptionKey()).toString());
    return text.isEmpty() ? error.description() : text;
}

QString isoDate(const QDateTime &date) {
    if (!date.isValid())
        return {};
    const QDateTime utc = date.toUTC();
    const int year = utc.date().year();
    constexpr int lastOfFourDigits = 9999;
    if (year >= 0 && year <= lastOfFourDigits)
        return utc.toString(Qt::ISODate);
    return (year < 0 ? QLatin1Char('-') : QLatin1Char('+')) +
           QStringLiteral("%1").arg(qAbs(year), 6, 10, QLatin1Char('0')) +
           utc.toString(QStringLiteral("-MM-ddTHH:mm:ssZ"));
}

QByteArray jsonOutput(const QString &language, const OlvNewsItemList &items,
                      const std::optional<Error> &error, const std::vector<Finding> &findings) {
    QByteArray json = "{\"language\": " + compact(textOrNull(language)) + ",\n\"items\": ";
    json += linesOf(items, [](const auto &item) { return itemObject(*item); });
    json += ",\n\"findings\": " + linesOf(findings, findingObject);
    json += ",\n\"error\": ";
    json += error ? compact(QJsonObject{{QStringLiteral("domain"), error->domain},
                                        {QStringLiteral("code"), error->code},
                                        {QStringLiteral("description"), errorText(*error)}})
                  : QByteArray("null");
    return json + "}\n";
}

}  // namespace pelorinnews

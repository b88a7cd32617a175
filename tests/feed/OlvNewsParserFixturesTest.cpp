#include "TestMain.h"
#include "feed/OlvNewsParser.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>

using namespace pelorinnews;

namespace {

QJsonValue json(const QString &text) {
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}

QJsonObject json(const OlvNewsCacheItem &item) {
    const QDateTime date = item.date();
    return {{QStringLiteral("title"), json(item.title())},
            {QStringLiteral("date"),
             date.isValid() ? date.toUTC().toString(Qt::ISODate) : QJsonValue()},
            {QStringLiteral("category"), json(item.category())},
            {QStringLiteral("plainTextContent"), json(item.plainTextContent())},
            {QStringLiteral("htmlContent"), json(item.htmlContent())}};
}

/// The result of a parse as JSON, in the format of the `.expected.json` files. The error has a line
/// number only if the error in `expected` has one.
QJsonObject json(const std::optional<QVariantMap> &result, const std::optional<Error> &error,
                 const QJsonObject &expected) {
    QJsonArray items;
    if (result) {
        const auto list = result->value(OlvNewsFeedNewsCacheItemsKeyName)
                              .value<std::shared_ptr<OlvNewsItemList>>();
        for (const auto &item : *list)
            items.append(json(*item));
    }
    QJsonObject object = expected;
    object[QStringLiteral("language")] =
        result ? json(result->value(OlvNewsFeedChannelLanguageKeyName).toString()) : QJsonValue();
    object[QStringLiteral("items")] = items;
    QJsonValue shownError;
    if (error) {
        QJsonObject fields{{QStringLiteral("code"), error->code}};
        if (expected[QStringLiteral("error")].toObject().contains(QStringLiteral("line")))
            fields[QStringLiteral("line")] =
                error->userInfo.value(XmlError::lineNumberKey()).toInt();
        shownError = fields;
    }
    object[QStringLiteral("error")] = shownError;
    return object;
}

QByteArray contentOf(const QString &path) {
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    return file.readAll();
}

QDir fixtures() {
    return {QStringLiteral(PELORIN_TEST_DATA "/fixtures")};
}

/// Parses `input`, which is a text or bytes, and returns the result as JSON. The error is absent
/// unless the parser has stored one.
template <class Input>
QByteArray shown(const Input &input, const QJsonObject &expected) {
    const Error untouched{QStringLiteral("untouched"), 7, {}};
    Error error = untouched;
    OlvNewsParser parser(expected[QStringLiteral("locale")].toString(QStringLiteral("en_US")));
    const auto result = parser.parse(input, &error);
    return QJsonDocument(
               json(result, error == untouched ? std::nullopt : std::optional(error), expected))
        .toJson();
}

}  // namespace

/// Tests that the parser reads each fixture `x.xml` as `x.expected.json` says.
class OlvNewsParserFixturesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFeedIsReadAsExpected_data() {
        QTest::addColumn<QString>("name");
        const QStringList files = fixtures().entryList({QStringLiteral("*.xml")});
        for (const QString &file : files) {
            const QString name = file.chopped(4);
            QTest::newRow(qPrintable(name)) << name;
        }
        QVERIFY(files.size() > 60);
    }

    void aFeedIsReadAsExpected() {
        QFETCH(const QString, name);
        const QByteArray body = contentOf(fixtures().filePath(name + QStringLiteral(".xml")));
        const QJsonObject expected =
            QJsonDocument::fromJson(
                contentOf(fixtures().filePath(name + QStringLiteral(".expected.json"))))
                .object();
        QVERIFY(!expected.isEmpty());

        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString decoded = decoder(body);
        const bool readable = !decoder.hasError();
        QCOMPARE(body.isValidUtf8(), readable);
        const QString text = !readable          ? QString()
                             : decoded.isNull() ? QStringLiteral("")
                                                : decoded;
        QCOMPARE(shown(text, expected), QJsonDocument(expected).toJson());
        const QByteArrayView bytes =
            readable ? QByteArrayView(body.constData(), body.size()) : QByteArrayView();
        QCOMPARE(shown(bytes, expected), QJsonDocument(expected).toJson());
    }
};

PELORIN_CORE_TEST_MAIN(OlvNewsParserFixturesTest)
#include "OlvNewsParserFixturesTest.moc"

#include "Assistive.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace pelorinnews::test::Assistive {

namespace {

/// The client process that answers requests. All of the test's hosts share it, because starting it
/// takes longer than many requests.
QProcess *client = nullptr;

void endClient() {
    client->closeWriteChannel();
    if (!client->waitForFinished(testPatience))
        client->kill();
    client->waitForFinished(testPatience);
    delete client;
    client = nullptr;
}

void startClient() {
    client = new QProcess;
    client->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    client->start(QStringLiteral(PELORIN_TEST_DATA "/assistive"), {QStringLiteral("serve")});
    if (!client->waitForStarted(testPatience))
        qFatal("the accessibility client does not start: %s", qPrintable(client->errorString()));
    qAddPostRoutine(endClient);
}

QJsonValue answerTo(const QJsonArray &request) {
    if (!client)
        startClient();
    client->write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
    while (!client->canReadLine()) {
        if (!client->waitForReadyRead(testPatience))
            qFatal("the accessibility client does not answer");
    }
    // The answer may be a plain `null`, which Qt parses only inside an array.
    return QJsonDocument::fromJson('[' + client->readLine() + ']')[0];
}

QStringList texts(const QJsonValue &list) {
    QStringList all;
    for (const auto each : list.toArray())
        all.append(each.toString());
    return all;
}

}  // namespace

QList<Object> tree(qint64 host, const QString &title) {
    QJsonArray request{QStringLiteral("tree"), host};
    if (!title.isNull())
        request.append(title);
    QList<Object> all;
    for (const auto each : answerTo(request).toArray()) {
        Object object;
        object.depth = each[QStringLiteral("depth")].toInt();
        object.role = each[QStringLiteral("role")].toString();
        object.name = each[QStringLiteral("name")].toString();
        object.text = each[QStringLiteral("text")].toString();
        const QJsonValue place = each[QStringLiteral("place")];
        object.place =
            QRect(place[0].toInt(), place[1].toInt(), place[2].toInt(), place[3].toInt());
        object.states = texts(each[QStringLiteral("states")]);
        object.labels = texts(each[QStringLiteral("labels")]);
        const QJsonObject actions = each[QStringLiteral("actions")].toObject();
        for (auto action = actions.begin(); action != actions.end(); ++action)
            object.actions.insert(action.key(), action.value().toString());
        object.takesText = each[QStringLiteral("takesText")].toBool();
        all.append(object);
    }
    return all;
}

void write(qint64 host, const QString &text) {
    answerTo({QStringLiteral("write"), host, text});
}

void press(qint64 host, const QString &name) {
    answerTo({QStringLiteral("press"), host, name});
}

Listener::Listener(qint64 host) {
    _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    _process.start(QStringLiteral(PELORIN_TEST_DATA "/assistive"),
                   {QStringLiteral("listen"), QString::number(host)});
    if (!_process.waitForReadyRead(testPatience))
        qFatal("the client does not listen on the accessibility bus");
    _process.readLine();
}

Listener::~Listener() {
    _process.kill();
    _process.waitForFinished(testPatience);
}

QList<Event> Listener::events() {
    _process.waitForReadyRead(0);
    while (_process.canReadLine()) {
        const QJsonObject told = QJsonDocument::fromJson(_process.readLine()).object();
        _heard.append(
            {told[QStringLiteral("type")].toString(), told[QStringLiteral("detail")].toInt(),
             told[QStringLiteral("said")].toString(), told[QStringLiteral("role")].toString(),
             told[QStringLiteral("name")].toString()});
    }
    return _heard;
}

int Listener::count(const QString &type, const QString &name) {
    const QList<Event> all = events();
    return static_cast<int>(std::count_if(all.begin(), all.end(), [&](const Event &event) {
        return event.type == type && event.name == name;
    }));
}

}  // namespace pelorinnews::test::Assistive

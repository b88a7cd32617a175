/// What the feed library reads, for the second reading: tests/feed/second-reading.
///
/// Standard input holds cases. A case is one line of JSON, a list of steps, followed by the bytes
/// of its documents; each case starts with a new cache and no cache file. Standard output gets one
/// line for each case: the list of what each step led to.
///
///     ["now", ms]                         sets the clock
///     ["feed", length]                    refreshes; the next `length` bytes are the answer
///     ["fail"]                            refreshes; the answer is an HTTP status 404
///     ["categories", [text...]]           sets a condition of the filter
///     ["age", seconds as text]
///     ["unviewed", bool]
///     ["lastViewing", ms]
///     ["fetch", index]                    fetches an item of the view for display
#include "ScriptedLoader.h"
#include "feed/OlvNewsCacheFiltered.h"
#include "feed/OlvNewsParser.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QStringDecoder>

#include <algorithm>
#include <cstdio>
#include <future>

namespace {

using namespace pelorinnews;
using test::ScriptedLoader;

QJsonValue json(const QString &text) {
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}

/// Text: a JSON number has no room for every date.
QJsonValue json(const QDateTime &date) {
    return date.isValid() ? QJsonValue(QString::number(date.toMSecsSinceEpoch())) : QJsonValue();
}

QJsonValue json(const OlvNewsItemList &items) {
    QJsonArray list;
    for (const auto &item : items)
        list.append(QJsonArray{json(item->title()), json(item->date()), json(item->htmlContent()),
                               json(item->plainTextContent()), json(item->category())});
    return list;
}

/// What a parser makes of `text`, a QString or UTF-8.
template <class Text>
QJsonObject parsed(const Text &text) {
    Error error;
    const auto feed = OlvNewsParser().parse(text, &error);
    QJsonObject result{{"error", !error.domain.isEmpty()}, {"language", {}}, {"items", {}}};
    if (!feed)
        return result;
    result["language"] = json(feed->value(OlvNewsFeedChannelLanguageKeyName).toString());
    const QVariant items = feed->value(OlvNewsFeedNewsCacheItemsKeyName);
    result["items"] = json(*qvariant_cast<std::shared_ptr<OlvNewsItemList>>(items));
    return result;
}

class Cache : public OlvNewsCacheFiltered {
public:
    Cache(std::shared_ptr<UrlLoader> loader, Clock clock)
        : OlvNewsCacheFiltered(std::move(loader), std::move(clock)) {
        setFeedBaseURL(QStringLiteral("http://127.0.0.1/feed.xml"));
    }

    [[nodiscard]] QJsonValue items() const { return json(*feedItems()); }

    /// The item's index in the feed; its title if it is no longer there; null for no item.
    [[nodiscard]] QJsonValue place(const std::shared_ptr<OlvNewsCacheItem> &item) const {
        if (!item)
            return {};
        const auto items = feedItems();
        const auto found = std::find(items->begin(), items->end(), item);
        return found == items->end() ? QJsonValue("gone: " + item->title())
                                     : QJsonValue(qint64(found - items->begin()));
    }

    /// The view, and what else is known of it. Leaves the last viewing as it was.
    QJsonObject state() {
        QJsonObject state{{"lastViewing", json(lastViewing())},
                          {"peek", place(peekAtLatestItem())},
                          {"unfiltered", qint64(unfilteredCount())},
                          {"since", sinceLastViewingCount()}};
        const QDateTime before = lastViewing();
        QJsonArray view;
        for (quint64 index = 0; index < count(); ++index)
            view.append(place(itemAtIndex(index)));
        setLastViewing(before);
        state["view"] = view;
        return state;
    }
};

bool refresh(Cache &cache) {
    // Shared: the other thread may still be in set_value when this function returns.
    const auto failed = std::make_shared<std::promise<bool>>();
    cache.refresh([failed](const std::optional<Error> &error) { failed->set_value(bool(error)); });
    return failed->get_future().get();
}

class Case {
public:
    explicit Case(QFile &input) : _input(input) {}

    QJsonObject step(const QJsonArray &step) {
        const QString name = step[0].toString();
        const QJsonValue value = step[1];
        QJsonObject result;
        if (name == "feed" || name == "fail")
            result = answered(name == "feed" ? std::optional(document(value.toInteger()))
                                             : std::nullopt);
        else if (name == "now")
            _now = value.toInteger();
        else if (name == "categories")
            _cache->setCategoriesOfInterest(value.toVariant().toStringList());
        else if (name == "age")
            _cache->setFilterTimeInterval(value.toString().toDouble());
        else if (name == "unviewed")
            _cache->setShowOnlyUnviewedItems(value.toBool());
        else if (name == "lastViewing")
            _cache->setLastViewing(utc(value.toInteger()));
        else if (name == "fetch")
            result["item"] = _cache->place(_cache->itemAtIndex(quint64(value.toInteger())));
        else
            qFatal("no such step: %s", qPrintable(name));
        result["state"] = _cache->state();
        return result;
    }

private:
    /// Never null, which would be no document. A pipe gives a long one in pieces.
    QByteArray document(qint64 length) {
        QByteArray bytes("");
        while (bytes.size() < length) {
            const QByteArray piece = _input.read(length - bytes.size());
            if (piece.isEmpty())
                qFatal("cut short in a document");
            bytes += piece;
        }
        return bytes;
    }

    static QDateTime utc(qint64 ms) { return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC); }

    QJsonObject answered(const std::optional<QByteArray> &body) {
        _loader->setOutcome(body ? ScriptedLoader::answer(200, *body)
                                 : ScriptedLoader::answer(404, QByteArray()));
        QJsonObject result{{"failed", refresh(*_cache)},
                           {"language", json(_cache->retrievedLocale())},
                           {"items", _cache->items()}};
        if (!body)
            return result;
        // A byte-order mark is part of the text.
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                         QStringDecoder::Flag::ConvertInitialBom);
        const QString text = decoder(*body);
        if (decoder.hasError())
            return result;
        result["text"] = parsed(text);
        result["utf8"] = parsed(QByteArrayView(*body));
        return result;
    }

    QFile &_input;
    qint64 _now = 0;
    std::shared_ptr<ScriptedLoader> _loader = std::make_shared<ScriptedLoader>();
    std::shared_ptr<Cache> _cache = std::make_shared<Cache>(_loader, [this] { return utc(_now); });
};

}  // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    QFile input, output;
    if (qEnvironmentVariableIsEmpty("XDG_DATA_HOME") || !input.open(stdin, QIODevice::ReadOnly) ||
        !output.open(stdout, QIODevice::WriteOnly))
        return 2;
    for (QByteArray line; !(line = input.readLine()).isEmpty();) {
        QDir(data).removeRecursively();
        Case now(input);
        QJsonArray results;
        for (const QJsonValue step : QJsonDocument::fromJson(line).array())
            results.append(now.step(step.toArray()));
        output.write(QJsonDocument(results).toJson(QJsonDocument::Compact) + '\n');
    }
    return output.flush() ? 0 : 1;
}

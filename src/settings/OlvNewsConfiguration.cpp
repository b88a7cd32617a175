#include "OlvNewsConfiguration.h"

#include "platform/PreferredLanguages.h"

#include <chrono>
#include <utility>

namespace pelorinnews {

namespace {

constexpr QLatin1StringView showOnStartKey("newsShowOnStart");
constexpr QLatin1StringView feedBaseURLKey("newsFeedBaseURL");
constexpr QLatin1StringView newsTypeFilterKey("newsTypeFilter");
constexpr QLatin1StringView newsFilterKey("newsFilter");
constexpr QLatin1StringView feedLocaleKey("newsFeedLocale");
constexpr QLatin1StringView readItemContentKey("newsReadItemContent");
constexpr QLatin1StringView lastViewingKey("newsLastViewing");
constexpr QLatin1StringView refreshIntervalKey("newsRefreshInterval");
constexpr QLatin1StringView feedTypeKey("newsFeedType");

constexpr std::chrono::seconds defaultRefreshInterval = std::chrono::hours(4);

}  // namespace

OlvNewsConfiguration::OlvNewsConfiguration()
    : OlvNewsConfiguration(UserDefaults::standard(), pelorinnews::preferredLanguages()) {}

OlvNewsConfiguration::OlvNewsConfiguration(std::shared_ptr<UserDefaults> userDefaults,
                                           const QStringList &preferredLanguages)
    : _userDefaults(std::move(userDefaults)),
      _defaultSettings{
          {showOnStartKey, true},
          {feedBaseURLKey, QStringLiteral("https://news.olvane.example/RSS_Feed/PelorinNews.php")},
          {newsTypeFilterKey, static_cast<int>(NewsTypeFilter::All)},
          {newsFilterKey, static_cast<int>(NewsFilter::Unread)},
          {feedLocaleKey, languagesForTexts(preferredLanguages).first()},
          {readItemContentKey, true},
          {lastViewingKey, distantPast()},
          {refreshIntervalKey, static_cast<int>(defaultRefreshInterval.count())},
          {feedTypeKey, QStringLiteral("standard")},
      } {
    _userDefaults->registerDefaults(_defaultSettings);
}

bool OlvNewsConfiguration::showOnStart() const {
    return _userDefaults->boolForKey(showOnStartKey);
}

void OlvNewsConfiguration::setShowOnStart(bool showOnStart) {
    _userDefaults->setValue(showOnStartKey, showOnStart);
}

QString OlvNewsConfiguration::feedBaseURL() const {
    return _userDefaults->stringForKey(feedBaseURLKey);
}

void OlvNewsConfiguration::setFeedBaseURL(const QString &feedBaseURL) {
    _userDefaults->setValue(feedBaseURLKey, feedBaseURL);
}

NewsTypeFilter OlvNewsConfiguration::newsTypeFilter() const {
    return static_cast<NewsTypeFilter>(_userDefaults->integerForKey(newsTypeFilterKey));
}

void OlvNewsConfiguration::setNewsTypeFilter(NewsTypeFilter newsTypeFilter) {
    _userDefaults->setValue(newsTypeFilterKey, static_cast<qint64>(newsTypeFilter));
}

NewsFilter OlvNewsConfiguration::newsFilter() const {
    return static_cast<NewsFilter>(_userDefaults->integerForKey(newsFilterKey));
}

void OlvNewsConfiguration::setNewsFilter(NewsFilter newsFilter) {
    _userDefaults->setValue(newsFilterKey, static_cast<qint64>(newsFilter));
}

QString OlvNewsConfiguration::feedLocale() const {
    return _userDefaults->stringForKey(feedLocaleKey);
}

void OlvNewsConfiguration::setFeedLocale(const QString &feedLocale) {
    _userDefaults->setValue(feedLocaleKey, feedLocale);
}

bool OlvNewsConfiguration::readItemContent() const {
    return _userDefaults->boolForKey(readItemContentKey);
}

void OlvNewsConfiguration::setReadItemContent(bool readItemContent) {
    _userDefaults->setValue(readItemContentKey, readItemContent);
}

QDateTime OlvNewsConfiguration::lastViewing() const {
    const QDateTime stored = _userDefaults->dateForKey(lastViewingKey);
    return stored.isValid() ? stored : distantPast();
}

void OlvNewsConfiguration::setLastViewing(const QDateTime &lastViewing) {
    if (lastViewing.isValid())
        _userDefaults->setDateUnlessEarlier(lastViewingKey, lastViewing);
    else
        _userDefaults->removeObjectForKey(lastViewingKey);
}

quint64 OlvNewsConfiguration::refreshInterval() const {
    return static_cast<quint64>(_userDefaults->integerForKey(refreshIntervalKey));
}

QString OlvNewsConfiguration::feedType() const {
    return _userDefaults->stringForKey(feedTypeKey);
}

void OlvNewsConfiguration::restoreDefaults() {
    for (auto setting = _defaultSettings.cbegin(); setting != _defaultSettings.cend(); ++setting)
        _userDefaults->removeObjectForKey(setting.key());
    _userDefaults->synchronize();
}

QDateTime OlvNewsConfiguration::distantPast() {
    return {QDate(1, 1, 1), QTime(0, 0), Qt::UTC};
}

}  // namespace pelorinnews

// Shows the items and steps through them.

#include "OlvNewsFilterMenuItem.h"
#include "OlvNewsTypeFilterMenuItem.h"
#include "OlvNewsWindowController.h"
#include "platform/MainQueue.h"
#include "platform/OlvLocalization.h"

#include <QAbstractItemView>
#include <QDesktopServices>
#include <QKeySequence>
#include <QLocale>
#include <QRegularExpression>
#include <QSignalBlocker>
#include <QStandardItemModel>

namespace pelorinnews {

namespace {

constexpr auto standardFontFamily = "Verdana";
constexpr auto loadingPage = "Loading content.";

template <class Entry, class Filter>
void addEntry(QComboBox &menu, const QString &title, Filter value) {
    if (auto *entries = qobject_cast<QStandardItemModel *>(menu.model()))
        entries->appendRow(new Entry(title, value));
}

// Sets a text with a mnemonic. Qt measures such a text as a whole and draws it in pieces, without
// kerning between them: with kerning elsewhere, the text may be drawn wider than the control is.
template <class Control>
void setMnemonicText(Control &control, const QString &text) {
    QFont font = control.font();
    font.setKerning(false);
    control.setFont(font);
    control.setText(text);
}

// Sets the accessible name of a menu's pop-up list to the text of the label beside the menu,
// without the mnemonic: "S&how:", or "表示(&H):" in a language that is typed by an input method.
void nameList(QComboBox &menu, QString label) {
    static const QRegularExpression mnemonic(QStringLiteral("\\(&\\w\\)|&"));
    menu.view()->setAccessibleName(label.remove(mnemonic));
}

// Selects the first entry whose value is `setting`, or no entry if there is none.
template <class Entry, class Filter>
void selectEntry(QComboBox &menu, Filter setting, Filter (Entry::*value)() const) {
    const auto *entries = qobject_cast<QStandardItemModel *>(menu.model());
    menu.setCurrentIndex(-1);
    for (int row = 0; entries && row < entries->rowCount(); ++row) {
        const auto *entry = dynamic_cast<const Entry *>(entries->item(row));
        if (!entry || (entry->*value)() != setting)
            continue;
        menu.setCurrentIndex(row);
        return;
    }
}

// The tool tip of an arrow: its name and its key.
QString arrowTip(const QAbstractButton &button, const QString &name) {
    const QKeySequence key = button.shortcut();
    if (key.isEmpty())
        return name;
    // Every keyboard has the arrows, whatever its language. The mark keeps the arrow beside "Alt"
    // in a text from right to left.
    QString keyName = key.toString();
    keyName.replace(QStringLiteral("Left"), QStringLiteral("\u2190\u200e"));
    keyName.replace(QStringLiteral("Right"), QStringLiteral("\u2192\u200e"));
    const QString tip = QStringLiteral("%1 (%2)").arg(name, keyName);
    // A tool tip has the host's direction, not the window's: isolate a text of the other one.
    return name.isRightToLeft() ? u'\u2067' + tip + u'\u2069' : tip;
}

// Arrows have no text: screen readers get a name instead, sighted users a tool tip. The description
// would be the tool tip, which repeats the name.
void nameArrow(QAbstractButton *button, const QString &name) {
    if (!button)
        return;
    button->setAccessibleName(name);
    button->setAccessibleDescription(name);
    button->setToolTip(arrowTip(*button, name));
}

// A status text as a page. In a page that does not say its direction, the engine writes from left
// to right.
QString statusPage(const QString &text, Qt::LayoutDirection direction) {
    return direction == Qt::RightToLeft
               ? QStringLiteral("<div dir=\"rtl\">") + text + QStringLiteral("</div>")
               : text;
}

}  // namespace

QString OlvNewsWindowController::localized(const char *key) const {
    return _localization->stringForKey(QLatin1String(key));
}

void OlvNewsWindowController::setAccessibilityValue(const QString &text) {
    if (_webView && _webView->accessibilityIsAttributeSettable(AccessibilityAttribute::Value))
        _webView->accessibilitySetValueForAttribute(text, AccessibilityAttribute::Value);
}

void OlvNewsWindowController::initializeControls() {
    if (_loadedWindow) {
        // The language of the texts may be written in another direction than the host's.
        _loadedWindow->setLayoutDirection(QLocale(_localization->language()).textDirection());
        _loadedWindow->setWindowTitle(localized("WindowTitle"));
    }
    if (_webView) {
        _webView->setStandardFontFamily(QLatin1String(standardFontFamily));
        _webView->loadHtmlString(QLatin1String(loadingPage), PageKind::Status);
        _webView->setPolicyDelegate(this);
    }
    if (!_configuration->readItemContent())
        setAccessibilityValue(localized("WebViewAccessibilityTitle"));
    if (_showOnStart) {
        const QSignalBlocker noAction(_showOnStart);
        setMnemonicText(*_showOnStart, localized("SettingsShowOnStartCheckbox"));
        _showOnStart->setChecked(_configuration->showOnStart());
    }
    if (_displayContentTypeLabel)
        setMnemonicText(*_displayContentTypeLabel, localized("SettingsDisplayContentTypeLabel"));
    if (_displayContentType) {
        nameList(*_displayContentType, localized("SettingsDisplayContentTypeLabel"));
        using Entry = OlvNewsTypeFilterMenuItem;
        addEntry<Entry>(*_displayContentType, localized("SettingsDisplayContentTypeAll"),
                        NewsTypeFilter::All);
        addEntry<Entry>(*_displayContentType, localized("SettingsDisplayContentTypeCritical"),
                        NewsTypeFilter::Critical);
        selectEntry(*_displayContentType, _configuration->newsTypeFilter(), &Entry::newsTypeFilter);
    }
    if (_displayContentFromLabel)
        setMnemonicText(*_displayContentFromLabel, localized("SettingsDisplayContentFromLabel"));
    if (_displayContentFrom) {
        nameList(*_displayContentFrom, localized("SettingsDisplayContentFromLabel"));
        using Entry = OlvNewsFilterMenuItem;
        addEntry<Entry>(*_displayContentFrom, localized("SettingsDisplayContentUnread"),
                        NewsFilter::Unread);
        addEntry<Entry>(*_displayContentFrom, localized("SettingsDisplayContentRecent"),
                        NewsFilter::Recent);
        addEntry<Entry>(*_displayContentFrom, localized("SettingsDisplayContentAll"),
                        NewsFilter::All);
        selectEntry(*_displayContentFrom, _configuration->newsFilter(), &Entry::newsFilter);
    }
    nameArrow(_previousItem, localized("NavigationAccessibilityTitlePrevious"));
    nameArrow(_nextItem, localized("NavigationAccessibilityTitleNext"));
    if (_itemIndicator) {
        // Reserve room for positions of two digits in any font, so that the window need not grow
        // for them.
        const QString before = _itemIndicator->text();
        _itemIndicator->setText(QStringLiteral("88 / 88"));
        const int width = _itemIndicator->sizeHint().width();
        _itemIndicator->setText(before);
        _itemIndicator->setMinimumWidth(qMax(width, _itemIndicator->minimumWidth()));
    }
    if (_optionsLabel) {
        // Make the label wide enough for both of its texts, so that nothing beside it moves when
        // the text changes.
        _optionsLabel->setText(localized("SettingsHideOptions"));
        const int width = _optionsLabel->sizeHint().width();
        _optionsLabel->setText(localized("SettingsShowOptions"));
        _optionsLabel->setMinimumWidth(qMax(width, _optionsLabel->sizeHint().width()));
    }
}

QString OlvNewsWindowController::statusKey() const {
    if (_newsCache->unfilteredCount() == 0)
        return _newsCache->retrievingContent() ? QStringLiteral("StatusRetrievingContent")
                                               : QStringLiteral("StatusErrorRetrievingContent");
    const NewsFilter filter = _configuration->newsFilter();
    if (filter <= NewsFilter::All)
        return QStringLiteral("StatusNothingFound");
    if (filter == NewsFilter::Recent)
        return QStringLiteral("StatusNothingFoundRecent");
    if (filter == NewsFilter::Unread)
        return QStringLiteral("StatusNothingFoundUnread");
    return {};
}

void OlvNewsWindowController::displayItemAtCurrentIndex() {
    QString page;
    QString spoken;
    QString position = QStringLiteral("");
    auto kind = PageKind::Status;
    if (const auto item = _newsCache->itemAtIndex(_currentIndex)) {
        page = item->htmlContent();
        kind = PageKind::Item;
        spoken = item->plainTextContent();
        position = QStringLiteral("%1 / %2").arg(_currentIndex + 1).arg(_newsCache->count());
    } else if (const QString key = statusKey(); !key.isNull()) {
        spoken = _localization->stringForKey(key);
        page = statusPage(spoken, _webView ? _webView->layoutDirection() : Qt::LeftToRight);
    }
    if (_itemIndicator)
        _itemIndicator->setText(position);
    // The page and its spoken text change together, after the current event.
    MainQueue::dispatchAsync([self = shared_from_this(), page, kind, spoken] {
        if (self->_webView)
            self->_webView->loadHtmlString(page, kind);
        if (self->_configuration->readItemContent())
            self->setAccessibilityValue(spoken);
    });
    // The item counts as viewed now.
    statusChanged();
}

void OlvNewsWindowController::refreshControls() {
    const bool several = _newsCache->count() > 1;
    if (_nextItem)
        _nextItem->setEnabled(several);
    if (_previousItem)
        _previousItem->setEnabled(several);
    _currentIndex = 0;
    displayItemAtCurrentIndex();
}

void OlvNewsWindowController::onPreviousItem() {
    const quint64 count = _newsCache->count();
    if (count < 2)
        return;
    _currentIndex = _currentIndex == 0 ? count - 1 : _currentIndex - 1;
    displayItemAtCurrentIndex();
}

void OlvNewsWindowController::onNextItem() {
    if (_newsCache->count() < 2)
        return;
    ++_currentIndex;
    if (_currentIndex == _newsCache->count())
        _currentIndex = 0;
    displayItemAtCurrentIndex();
}

NavigationDecision OlvNewsWindowController::webViewDecidePolicyForNavigationAction(
    NavigationType type, const QUrl &url) {
    if (type != NavigationType::LinkClicked)
        return NavigationDecision::Use;
    QDesktopServices::openUrl(url);
    return NavigationDecision::Ignore;
}

}  // namespace pelorinnews

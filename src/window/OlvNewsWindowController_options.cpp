// Handles the options area: its two menus, its check box and its folding.

#include "DisclosureButton.h"
#include "OlvNewsFilterMenuItem.h"
#include "OlvNewsTypeFilterMenuItem.h"
#include "OlvNewsWindowController.h"
#include "SpeakAgain.h"

#include <QCheckBox>
#include <QStandardItemModel>

namespace pelorinnews {

namespace {

// Shared by all controllers of the process and never reset. Initially true because the window
// description has the area open; the first show folds it.
bool optionsAreOpen = true;

template <class Entry>
const Entry *selectedEntry(const QComboBox *menu) {
    const auto *entries = menu ? qobject_cast<const QStandardItemModel *>(menu->model()) : nullptr;
    return entries ? dynamic_cast<const Entry *>(entries->item(menu->currentIndex())) : nullptr;
}

}  // namespace

void OlvNewsWindowController::applyFilter() {
    _newsCache->setCategoriesOfInterest(categoriesOf(_configuration->newsTypeFilter()));
    const NewsFilter filter = _configuration->newsFilter();
    _newsCache->setFilterTimeInterval(
        filter == NewsFilter::Recent ? static_cast<double>(recentNews.count()) : 0.0);
    _newsCache->setShowOnlyUnviewedItems(filter == NewsFilter::Unread);
}

void OlvNewsWindowController::onDisplayContentTypeChanged() {
    if (const auto *entry = selectedEntry<OlvNewsTypeFilterMenuItem>(_displayContentType))
        _configuration->setNewsTypeFilter(entry->newsTypeFilter());
    applyFilter();
    refreshControls();
}

void OlvNewsWindowController::onDisplayContentFromChanged() {
    if (const auto *entry = selectedEntry<OlvNewsFilterMenuItem>(_displayContentFrom))
        _configuration->setNewsFilter(entry->newsFilter());
    applyFilter();
    refreshControls();
}

void OlvNewsWindowController::onShowOnStartChanged() {
    if (const auto *box = qobject_cast<const QCheckBox *>(_showOnStart))
        _configuration->setShowOnStart(box->checkState() == Qt::Checked);
}

void OlvNewsWindowController::showOptionControls(bool visible) {
    const std::initializer_list<QWidget *> controls = {
        _displayContentFromLabel, _displayContentFrom, _displayContentTypeLabel,
        _displayContentType};
    for (QWidget *control : controls) {
        if (control)
            control->setVisible(visible);
    }
}

void OlvNewsWindowController::optionsChanged(const QString &label) {
    if (_optionsLabel)
        _optionsLabel->setText(label);
    if (_optionsButton) {
        _optionsButton->setAccessibleName(label);
        speakAgain(_optionsButton);
    }
}

void OlvNewsWindowController::onOptionsButton() {
    toggleOptions([] {});
}

void OlvNewsWindowController::toggleOptions(std::function<void()> finished) {
    optionsAreOpen = !optionsAreOpen;
    turnOptionsButton();
    if (!_optionsFold)
        return;
    if (optionsAreOpen) {
        _optionsFold->start(true, [this, finished = std::move(finished)] {
            showOptionControls(true);
            optionsChanged(localized("SettingsHideOptions"));
            finished();
        });
        return;
    }
    // Finish a running unfolding first: its callback would show the controls again after they are
    // hidden here.
    _optionsFold->complete();
    showOptionControls(false);
    _optionsFold->start(false, [this, finished = std::move(finished)] {
        optionsChanged(localized("SettingsShowOptions"));
        finished();
    });
}

void OlvNewsWindowController::catchUpWithOptionsState() {
    if (_optionsFold && _optionsFold->isOpen() != optionsAreOpen)
        adoptOptionsState();
}

void OlvNewsWindowController::adoptOptionsState() {
    if (!_optionsFold)
        return;
    _optionsFold->setLaidOut(optionsAreOpen);
    showOptionControls(optionsAreOpen);
    optionsChanged(localized(optionsAreOpen ? "SettingsHideOptions" : "SettingsShowOptions"));
    turnOptionsButton();
}

// A click on the button already turns its triangle, but the state may also change elsewhere: in
// another window, or on the first show.
void OlvNewsWindowController::turnOptionsButton() {
    if (auto *button = qobject_cast<DisclosureButton *>(_optionsButton))
        button->setOpen(optionsAreOpen);
}

}  // namespace pelorinnews

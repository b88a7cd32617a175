#include "OlvNewsItemList.h"

#include "platform/Background.h"
#include "platform/MainQueue.h"

#include <utility>

namespace pelorinnews {

OlvNewsItemListRef shareItemList(std::shared_ptr<const OlvNewsItemList> items) {
    const OlvNewsItemList *list = items.get();
    if (list == nullptr)
        return nullptr;
    return {list, [owner = std::move(items)](const OlvNewsItemList *) mutable {
                if (!owner->empty() && MainQueue::isMainThread())
                    releaseInBackground(std::move(owner));
                else
                    owner.reset();
            }};
}

}  // namespace pelorinnews

#include "PageTables.h"

#include "HtmlCost.h"

#include <algorithm>

namespace pelorinnews {

namespace {

constexpr int maxTables = 500;

}  // namespace

bool PageTables::open(bool hasRoom) {
    const bool written = hasRoom && depth() < maxDepth && _written < maxTables;
    _open.emplace_back(written);
    if (written) {
        ++_written;
        _cost.setTableDepth(depth());
    }
    return written;
}

void PageTables::close() {
    _open.pop_back();
    _cost.setTableDepth(depth());
}

int PageTables::depth() const {
    return static_cast<int>(std::count_if(_open.begin(), _open.end(),
                                          [](const HtmlTable &each) { return each.isWritten(); }));
}

}  // namespace pelorinnews

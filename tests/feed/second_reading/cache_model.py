"""The rules of the cache: what refreshes and the filter make of the feeds."""

import math
from fractions import Fraction

from feed_model import Feed


def decoded(body):
    """The text of a download, its byte-order mark included; None if it is not UTF-8."""
    try:
        return body.decode("utf-8")
    except UnicodeDecodeError:
        return None


class Cache:
    def __init__(self, dates):
        self._dates = dates
        self._items = []
        self._language = None
        self._view = []
        self._categories = []
        self._age = 0.0
        self._unviewed = False
        self._last_viewing = None
        self._now = 0
        self._file = None

    def step(self, name, *arguments):
        steps = {"now": self._set_now, "feed": self._feed, "fail": self._fail,
                 "categories": self._set_categories, "age": self._set_age,
                 "unviewed": self._set_unviewed, "lastViewing": self._set_last_viewing,
                 "fetch": self._fetch}
        result = steps[name](*arguments)
        return dict(result or {}, state=self.state())

    def state(self):
        return {"lastViewing": None if self._last_viewing is None else str(self._last_viewing),
                "peek": self._place(self._latest()), "unfiltered": len(self._items),
                "since": sum(map(self._is_unviewed, self._view)),
                "view": [self._place(item) for item in self._view]}

    def _place(self, item):
        if item is None:
            return None
        for index, other in enumerate(self._items):
            if other is item:
                return index
        return "gone: " + (item.title or "")

    # Refreshes

    def _feed(self, body):
        text = decoded(body)
        result = {"failed": False}
        if text is not None:
            feed = Feed(text, self._dates)
            self._take(feed)
            self._file = text
            result["text"] = result["utf8"] = feed.as_dict()
            result["disputed"] = feed.disputed
        return self._refreshed(result)

    def _fail(self):
        if self._file is not None:
            self._take(Feed(self._file, self._dates))
        return self._refreshed({"failed": True})

    def _take(self, feed):
        if feed.language is not None:
            self._language, self._items = feed.language, feed.items

    def _refreshed(self, result):
        if self._items:
            self._filter()
        return dict(result, language=self._language,
                    items=[item.as_list() for item in self._items])

    # Filter

    def _set_now(self, milliseconds):
        self._now = milliseconds

    def _set_categories(self, categories):
        self._categories = categories
        self._filter()

    def _set_age(self, seconds):
        self._age = float(seconds)
        self._filter()

    def _set_unviewed(self, only):
        self._unviewed = only
        self._filter()

    def _set_last_viewing(self, milliseconds):
        self._last_viewing = milliseconds

    def _is_unviewed(self, item):
        return (item.date is not None and self._last_viewing is not None
                and item.date > self._last_viewing)

    def _is_young(self, item):
        if item.date is None or math.isnan(self._age):
            return False
        if math.isinf(self._age):
            return self._age > 0
        return item.date > self._now - 1000 * Fraction(self._age)

    def _passes(self, item):
        for category in self._categories:
            if item.category is None or category not in item.category:
                return False
        if self._age != 0 and not self._is_young(item):
            return False
        return not self._unviewed or self._is_unviewed(item)

    def _filter(self):
        self._view = [item for item in self._items if self._passes(item)]

    def _fetch(self, index):
        if index >= len(self._view):
            return {"item": None}
        item = self._view[index]
        if self._is_unviewed(item):
            self._last_viewing = item.date
        return {"item": self._place(item)}

    def _latest(self):
        dates = [item.date for item in self._view if item.date is not None]
        latest = max(dates, default=None)
        for item in self._view:
            if latest is None or item.date == latest:
                return item
        return None

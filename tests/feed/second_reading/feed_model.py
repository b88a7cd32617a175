"""The rules of the feed: what a parser makes of a document."""

from xml_events import XmlEvents

FIELDS = {b"title": "title", b"pubDate": "date", b"description": "html", b"comments": "plain",
          b"category": "category"}


class Item:
    def __init__(self):
        self.title = self.date = self.html = self.plain = self.category = None

    def as_list(self):
        date = None if self.date is None else str(self.date)
        return [self.title, date, self.html, self.plain, self.category]


class Feed:
    """Language (None if there is none) and items of the feed `text`; whether it has an error.

    Nothing is said of a `disputed` feed.
    """

    def __init__(self, text, dates):
        self.language = None
        self.items = []
        self._dates = dates
        self._buffer = ""
        self._storing = False
        self._open = None
        events = XmlEvents(text.encode(), self)
        self.error = events.error
        self.disputed = events.disputed

    def start(self, name):
        if name == b"item":
            self._open = Item()
        elif name == b"language" or (self._open and name in FIELDS):
            self._buffer = ""
            self._storing = True

    def text(self, data):
        self._buffer += data.decode()

    def cdata(self, data):
        self._buffer = data.decode()

    def end(self, name):
        if not self._open and not self._storing:
            return
        if name == b"language":
            self.language = self._buffer
        elif name == b"item":
            if self._open:
                self.items.append(self._open)
            self._open = None
        elif self._open and name == b"pubDate":
            self._open.date = self._dates.parse(self._buffer)
        elif self._open and name in FIELDS:
            setattr(self._open, FIELDS[name], self._buffer)
        self._storing = False

    def as_dict(self):
        found = self.language is not None
        return {"error": self.error, "language": self.language,
                "items": [item.as_list() for item in self.items] if found else None}

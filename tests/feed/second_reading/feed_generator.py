"""Feed documents from a random number generator: from typical ones to broken ones.

Left out are references to parameter entities, and odd version numbers, all of which Expat accepts.
"""

import re

WORDS = ("mac pelorin critical Mac imac macintosh windows news it's a<b x&y 100% größe новости "
         "ニュース e\u0301 \U0001f600 \u2028 \ufeff ]]> --> %@ %1 {}").split(" ")
LANGUAGES = ["en", "de", "en_US", "", " en ", "zh-Hant", "EN", "fr\n", "ru", "日本"]
FIELDS = ["title", "pubDate", "description", "comments", "category"]
CATEGORIES = ["mac", "pelorin", "critical", "Mac", "imac", "windows", "it's"]
OTHERS = ["link", "guid", "b", "Title", "TITLE", "ITEM", "Item", "items", "pubdate", "media:title",
          "a:item", ":item", "language.", "dc:language", "x-1", "überschrift", "項目", "_"]
SPACES = ["", "", " ", "\n", "\r\n", "\r", "\t", "\n\n  "]
SNIPPETS = [b"<", b">", b"&", b"&amp", b"]]>", b"--", b"<!--", b"-->", b"<![CDATA[", b"<?", b"?>",
            b"<!DOCTYPE x>", b"<?xml version='1.0'?>", b"\0", b"\x01", b"\xff", b"\xc0\x80",
            b"\xed\xa0\x80", b"\xef\xbb\xbf", b"\xef\xbf\xbe", b"\xc2\x85", b"&#0;", b"&#xFFFF;",
            b"&#xD800;", b"&#x110000;", b"&#xfffd;", b"&#10;", b"&unknown;", b"&lt;", b"'", b'"',
            b"=", b"/", b"</", b"/>", b"<item>", b"</item>", b"<language>", b"</language>",
            b"<title>", b"</title>", b"<item/>", b" ", b"\r", b"\x7f", b"<a b='1' b='2'/>",
            b"<a b=c/>", b"<a b='<'/>", b"<a b='&amp;\n'/>"]
ODD_VERSION = re.compile(rb"^(\xef\xbb\xbf)?(<\?xml\s+version\s*=\s*)(['\"])[-A-Za-z0-9_.]*\3")
ENTITIES = ["", "x", "a b", "&#65;", "&#x44f;", "&#38;", "&#38;#65;", "&#60;", "<b/>", "&lt;",
            "&amp;", "&e0;", "&e1;", "&nobody;", "9" * 100, "9" * 101, "я" * 50, "я" * 51,
            "&#65;" * 100, "]]&#62;", "'", "&#13;", "&#38;#13;", "&#38;#38;"]


class FeedGenerator:
    """`random` decides everything; `dates` gives the texts of dates."""

    def __init__(self, random, dates):
        self._random = random
        self._dates = dates
        self._entities = []

    def _chance(self, one_in):
        return self._random.randrange(one_in) == 0

    def document(self):
        """The bytes of one document."""
        self._strange = self._random.choice([0, 0, 4, 12, 40])
        self._left = 60
        self._entities = []
        text = self._prologue() + self._root() + self._epilogue()
        data = text.encode()
        if self._chance(40):
            data = b"\xef\xbb\xbf" * self._random.choice([1, 1, 1, 2]) + data
        if self._chance(3):
            for _ in range(self._random.choice([1, 1, 1, 2, 5])):
                data = self._broken(data)
            data = ODD_VERSION.sub(rb"\1\2\g<3>1.0\3", data)
        if self._chance(200):
            data = text.encode(self._random.choice(["utf-16", "utf-16-le", "utf-32"]))
        return data

    def _odd(self):
        """Whether to do something unusual here: more often in a strange document."""
        odd = self._left > 0 and self._random.randrange(100) < self._strange
        self._left -= odd
        return odd

    def _one_of(self, *makers):
        """A text, or what a function that makes a text returns."""
        maker = self._random.choice(makers)
        return maker if isinstance(maker, str) else maker()

    def _prologue(self):
        random = self._random
        text = random.choice(["", '<?xml version="1.0" encoding="UTF-8"?>\n',
                              "<?xml version='1.0'?>"])
        if self._odd():
            text = random.choice([
                '<?xml version="1.0" encoding="ISO-8859-1"?>', "<?xml version='1.0' encoding='x'?>",
                '<?xml version="1.0" encoding="UTF-16"?>', ' <?xml version="1.0"?>', "<?xml?>",
                '<?xml version="1.0" standalone="yes"?>', "<?xml encoding='UTF-8'?>", "\n \t",
                '<?xml version="1.0" encoding="utf-8" standalone="no" ?>\r\n', "<!-- first -->",
                '<?xml-stylesheet href="a.css"?>', "text"])
        if self._odd() or self._strange and self._chance(6):
            text += self._document_type()
        return text

    def _document_type(self):
        random = self._random
        if self._chance(4):
            return random.choice(["<!DOCTYPE rss>", '<!DOCTYPE rss SYSTEM "rss.dtd">',
                                  '<!DOCTYPE rss PUBLIC "-//X//Y" "rss.dtd" []>', "<!DOCTYPE>",
                                  "<!DOCTYPE rss [<!ELEMENT rss ANY><!ATTLIST rss a CDATA 'x'>]>"])
        lines = []
        for index in range(random.randrange(1, 5)):
            self._entities.append(f"e{index}")
            lines.append(f'<!ENTITY e{index} "{random.choice(ENTITIES)}">')
        if self._odd():
            lines.insert(random.randrange(len(lines) + 1), random.choice([
                '<!ENTITY e0 "second">', "<!-- comment -->", "<?pi?>", "\n", "<!ENTITY % e0 'x'>",
                '<!ENTITY e0 SYSTEM "file:///etc/hostname">', "<!ENTITY e1 PUBLIC 'p' 'e1'>",
                '<!NOTATION n SYSTEM "n">', "<!ATTLIST item title CDATA 'default'>"]))
        return f"<!DOCTYPE rss [{''.join(lines)}]>"

    def _root(self):
        random = self._random
        parts = []
        language = None if self._chance(12) else self._element("language", random.choice(LANGUAGES))
        if self._chance(2):
            parts += [self._field("title"), self._field("description")]
        # In a long feed, the dates share their names.
        count = 40 if self._chance(30) else random.choice([0, 1, 1, 2, 2, 3, 5, 8])
        for _ in range(count):
            parts.append(self._item(0))
        if language is not None:
            parts.insert(0 if self._chance(2) else random.randrange(len(parts) + 1), language)
        if self._odd():
            parts.insert(random.randrange(len(parts) + 1),
                         self._element("language", random.choice(LANGUAGES)))
        text = self._join(parts)
        if self._entities and self._chance(100):
            text += f"&{random.choice(self._entities)};" * random.choice([200, 9_000, 11_000])
        if self._odd():
            return self._join([text])
        if self._odd() and self._chance(20):
            depth = random.choice([300, 1000, 3000])
            text = "<d>" * depth + text + "</d>" * depth
        return f'<rss version="2.0"><channel>{text}</channel></rss>'

    def _epilogue(self):
        if not self._odd():
            return self._random.choice(["", "\n"])
        return self._random.choice(["<!-- last -->", "<?pi x?>", "text", "<rss/>", "&amp;", " \r\n",
                                    "<![CDATA[]]>", "</rss>"])

    def _join(self, parts):
        text = ""
        for part in parts:
            text += self._random.choice(SPACES) + part
            if self._odd():
                text += self._nothing()
        return text

    def _nothing(self):
        """Something between elements that means nothing to a feed."""
        return self._one_of(
            "<!-- <item> -->", "<?pi <item>?>", "text", "<![CDATA[<item>]]>", "&amp;", "&#9731;",
            "<link/>", "<a:b xmlns:a='urn:a' a:item='1'/>", lambda: self._content("x"),
            lambda: self._field("title"), lambda: "<x>" + self._field("category") + "</x>")

    def _item(self, depth):
        random = self._random
        fields = [field for field in FIELDS if not self._chance(8)]
        if self._chance(3):
            random.shuffle(fields)
        parts = [self._field(field) for field in fields]
        while self._odd():
            parts.insert(random.randrange(len(parts) + 1), self._one_of(
                lambda: self._field(random.choice(FIELDS)), self._nothing,
                lambda: self._element(random.choice(OTHERS), self._words()),
                lambda: self._element("language", random.choice(LANGUAGES)),
                lambda: self._item(depth + 1) if depth < 3 else ""))
        return self._element("item", self._join(parts), raw=True)

    def _field(self, name):
        random = self._random
        if name == "pubDate":
            text = self._dates.text(random, self._strange)
        elif name == "category":
            text = " ".join(random.choice(CATEGORIES)
                            for _ in range(random.choice([0, 1, 2, 2, 3, 3, 4])))
        else:
            text = self._words()
        return self._element(name, text)

    def _words(self):
        count = 20_000 if self._chance(3000) else self._random.randrange(6)
        return " ".join(self._random.choice(WORDS) for _ in range(count))

    def _element(self, name, text, raw=False):
        content = text if raw else self._content(text)
        attributes = ""
        if self._odd():
            attributes = self._random.choice([
                ' a="1"', " a='&lt;&#10;' b=\"'\"", ' xmlns="urn:x"', ' isPermaLink="false"\n', " ",
                ' xml:lang="de"', " a='" + self._reference() + "'", ' title="item"'])
        if not content and self._chance(2):
            return f"<{name}{attributes}/>"
        space = self._random.choice(SPACES) if self._odd() else ""
        return f"<{name}{attributes}>{content}</{name}{space}>"

    def _reference(self):
        if self._entities and not self._chance(12):
            return f"&{self._random.choice(self._entities)};"
        return self._random.choice(["&amp;", "&quot;", "&apos;", "&#228;", "&#x1F600;", "&gt;",
                                    "&#9;", "&#13;", "&nbsp;"])

    def _content(self, text):
        """Markup that a reader takes as `text`, or nearly so."""
        random = self._random
        if self._odd():
            text = random.choice(SPACES) + text + random.choice(SPACES)
        if self._chance(4):
            return self._cdata(text)
        markup = text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")
        while self._odd():
            at = random.choice([0, len(markup)])
            markup = markup[:at] + self._one_of(
                lambda: self._cdata(self._words()), "<![CDATA[]]>", "<!-- x -->", "<?p x?>",
                self._reference, "<b>bold</b>", "<br/>", "<item/>",
                lambda: self._element(random.choice(FIELDS), "inner"),
                lambda: self._element(random.choice(OTHERS), "other")) + markup[at:]
        return markup

    def _cdata(self, text):
        return "<![CDATA[" + text.replace("]]>", "]]]]><![CDATA[>") + "]]>"

    def _broken(self, data):
        """`data` with a random fault."""
        random = self._random
        at, to = sorted(random.randrange(len(data) + 1) for _ in range(2))
        near = min(to, at + random.randrange(12))
        return random.choice([
            lambda: data[:at],
            lambda: data[:at] + data[near:],
            lambda: data[:at] + random.choice(SNIPPETS) + data[at:],
            lambda: data[:at] + random.choice(SNIPPETS) + data[near:],
            lambda: data[:at] + bytes([random.randrange(256)]) + data[at + 1:],
            lambda: data[:at] + bytes([random.choice(b"<>/&;![]?-= '\"\r\nx")]) + data[at + 1:],
            lambda: data[:near] + data[at:],
            lambda: data[:at] + data[at:at + 1].swapcase() + data[at + 1:],
        ])()

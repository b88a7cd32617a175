"""Events of an XML document, read by libxml2 (the product uses Expat).

libxml2 is called through ctypes: lxml reports CDATA sections as ordinary text, and a feed's reader
has to tell them apart.
"""

import ctypes
import os
import re
import sys

MAX_ENTITY = 100
MAX_EXPANSION = 1_000_000

_xml = ctypes.CDLL("libxml2.so.2")
_xml.xmlNewParserCtxt.restype = ctypes.c_void_p
_xml.xmlCtxtReadMemory.restype = ctypes.c_void_p
_xml.xmlCtxtReadMemory.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int, ctypes.c_char_p,
                                   ctypes.c_char_p, ctypes.c_int]
for _function in (_xml.xmlFreeDoc, _xml.xmlFreeParserCtxt, _xml.xmlStopParser):
    _function.argtypes = [ctypes.c_void_p]
    _function.restype = None

# XML_PARSE_NOERROR, NOWARNING, NONET, HUGE, IGNORE_ENC: no limits but the feed's own, and always
# UTF-8, whatever the XML declaration says.
_OPTIONS = 1 << 5 | 1 << 6 | 1 << 11 | 1 << 19 | 1 << 21

_NAMED = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p)
_START = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p, ctypes.POINTER(ctypes.c_char_p))
_INSTRUCTION = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p)
_TEXT = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int)
_GET_ENTITY = ctypes.CFUNCTYPE(ctypes.c_void_p, ctypes.c_void_p, ctypes.c_char_p)
_ENTITY_DECLARATION = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int,
                                       ctypes.c_char_p, ctypes.c_char_p, ctypes.c_char_p)
# Not XML, but libxml2 accepts it: no white space follows, or the declarations follow the ">".
_NO_DOCTYPE = re.compile(
    rb"(\xef\xbb\xbf)?(?>\s|<\?.*?\?>|<!--.*?-->)*+<!DOCTYPE((?!\s)|[^[<>]*>\[)",
    re.DOTALL)
# A declaration with a letter that the editions of XML dispute, as below.
_DISPUTED_DECLARATION = re.compile(rb"<![A-Z]+[^<>]*\xef\xbb\xbf")
_LETTERS = "A-Za-z_:À-ÖØ-öø-ıА-ЯЁа-яё一-龥ァ-ヺ"
_UNDISPUTED = re.compile(f"[{_LETTERS}][-.0-9ー{_LETTERS}]*")
_INTERNAL_GENERAL, _PREDEFINED = 1, 6


class _SaxHandler(ctypes.Structure):
    _fields_ = [(name, ctypes.c_void_p) for name in (
        "internalSubset isStandalone hasInternalSubset hasExternalSubset resolveEntity getEntity "
        "entityDecl notationDecl attributeDecl elementDecl unparsedEntityDecl setDocumentLocator "
        "startDocument endDocument startElement endElement reference characters "
        "ignorableWhitespace processingInstruction comment warning error fatalError "
        "getParameterEntity cdataBlock externalSubset").split()] + [
        ("initialized", ctypes.c_uint), ("_private", ctypes.c_void_p),
        ("startElementNs", ctypes.c_void_p), ("endElementNs", ctypes.c_void_p),
        ("serror", ctypes.c_void_p)]


class _Context(ctypes.Structure):
    """The first fields of a parser context."""
    _fields_ = [("sax", ctypes.POINTER(_SaxHandler)), ("userData", ctypes.c_void_p),
                ("myDoc", ctypes.c_void_p), ("wellFormed", ctypes.c_int)]


class _Entity(ctypes.Structure):
    _fields_ = [("_private", ctypes.c_void_p), ("type", ctypes.c_int), ("name", ctypes.c_char_p),
                ("children", ctypes.c_void_p), ("last", ctypes.c_void_p),
                ("parent", ctypes.c_void_p), ("next", ctypes.c_void_p), ("prev", ctypes.c_void_p),
                ("doc", ctypes.c_void_p), ("orig", ctypes.c_void_p), ("content", ctypes.c_char_p),
                ("length", ctypes.c_int), ("etype", ctypes.c_int), ("rest", ctypes.c_void_p * 8)]


PREDEFINED = {b"amp": b"&", b"lt": b"<", b"gt": b">", b"apos": b"'", b"quot": b'"'}


def _replacement(content):
    """An entity's text; None if the entity is refused: too big, markup, or a declared entity."""
    if content is None or len(content) > MAX_ENTITY or b"<" in content:
        return None
    text, *references = content.split(b"&")
    for reference in references:
        name, _, rest = reference.partition(b";")
        if name.startswith(b"#"):
            code = int(name[2:], 16) if name.startswith(b"#x") else int(name[1:])
            text += chr(code).encode() + rest
        elif name in PREDEFINED:
            text += PREDEFINED[name] + rest
        else:
            return None
    return text


class XmlEvents:
    """Reads one document; calls start(name), end(name), text(bytes) and cdata(bytes) of `delegate`.

    `error` says whether the document has a fatal error; `disputed` whether a name has a letter that
    libxml2 allows, after the fifth edition of XML, and Expat, after the fourth, does not.
    """

    def __init__(self, utf8, delegate):
        self._delegate = delegate
        self._entities = {}
        self._declaring = None
        self._expanded = 0
        self._used = []  # libxml2 keeps no reference
        self.error = False
        self.disputed = bool(_DISPUTED_DECLARATION.search(utf8))
        if _NO_DOCTYPE.match(utf8):
            self.error = True
            return
        context = _xml.xmlNewParserCtxt()
        document = None
        try:
            head = ctypes.cast(context, ctypes.POINTER(_Context)).contents
            _xml.xmlSAXVersion(head.sax, 1)  # without namespaces
            callbacks = self._callbacks()
            for name, callback in callbacks.items():
                setattr(head.sax.contents, name, ctypes.cast(callback, ctypes.c_void_p))
            document = _xml.xmlCtxtReadMemory(context, utf8, len(utf8), None, b"UTF-8", _OPTIONS)
            self.error = self.error or not head.wellFormed
        finally:
            if document:
                _xml.xmlFreeDoc(document)
            _xml.xmlFreeParserCtxt(context)

    def _check_name(self, name):
        self.disputed = self.disputed or not _UNDISPUTED.fullmatch(name.decode())

    def _start(self, name, attributes):
        self._check_name(name)
        index = 0
        while attributes and attributes[index] is not None:  # names and values in turn
            self._check_name(attributes[index])
            index += 2
        self._delegate.start(name)

    def _callbacks(self):
        text = _TEXT(lambda _, start, size: self._delegate.text(ctypes.string_at(start, size)))
        return {
            "startElement": _START(lambda _, name, attributes: self._start(name, attributes)),
            "processingInstruction": _INSTRUCTION(lambda _, name, data: self._check_name(name)),
            "endElement": _NAMED(lambda _, name: self._delegate.end(name)),
            "characters": text,
            "ignorableWhitespace": text,
            "cdataBlock": _TEXT(lambda _, start, size: self._delegate.cdata(
                ctypes.string_at(start, size))),
            "entityDecl": _ENTITY_DECLARATION(self._declare),
            "getEntity": _GET_ENTITY(self._use),
            **dict.fromkeys(["comment", "reference", "externalSubset", "attributeDecl",
                             "elementDecl"], ctypes.c_void_p(None)),
        }

    def _declare(self, _context, name, kind, _public, _system, content):
        self._check_name(name)
        for reference in re.findall(rb"&([^\s&;#<>]+);", content or b""):
            self._check_name(reference)
        if kind in (4, 5):  # parameter entities
            return
        self._entities.setdefault(name, content if kind == _INTERNAL_GENERAL else None)
        # libxml2 looks an internal entity up once, right after its declaration.
        self._declaring = name if kind == _INTERNAL_GENERAL else None

    def _use(self, context, name):
        if self._declaring == name:
            self._declaring = None
            return None
        self._check_name(name)
        text = _replacement(self._entities.get(name))
        if text is not None:
            self._expanded += len(text)
        if text is None or self._expanded > MAX_EXPANSION:
            self.error = True
            _xml.xmlStopParser(context)
            return None
        # libxml2 inserts a predefined entity as it stands.
        entity = _Entity(type=17, name=name, content=text, length=len(text), etype=_PREDEFINED)
        self._used.append(entity)
        return ctypes.addressof(entity)


def _fail(unraisable):
    """An exception in a callback must not be lost."""
    sys.__excepthook__(unraisable.exc_type, unraisable.exc_value, unraisable.exc_traceback)
    sys.stderr.flush()
    os._exit(3)


sys.unraisablehook = _fail

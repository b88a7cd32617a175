#include "TestMain.h"
#include "platform/XmlReader.h"

#include <expat.h>
#include <sys/resource.h>
#include <thread>

using namespace pelorinnews;

namespace {

/// Collects all text of a document, whatever elements it is in, and the names of the elements.
class Gathering final : public XmlReaderDelegate {
public:
    void parserDidStartElement(std::string_view name) override {
        (elements += ' ').append(name);
        if (refused == name)
            reader->refuse(QStringLiteral("enough of it"));
    }
    void parserFoundCharacters(std::string_view characters) override {
        hadEmptyRun = hadEmptyRun || characters.empty();
        text += characters;
    }
    void parserFoundCDATA(QByteArrayView bytes) override {
        text.append(bytes.data(), static_cast<size_t>(bytes.size()));
    }
    void parserDidEndElement(std::string_view name) override {
        (elements += " /").append(name);
        if (refusedEnd == name)
            reader->refuse(QStringLiteral("enough of it"));
    }
    void parserParseErrorOccurred(const Error & /*error*/) override { ++errors; }
    void parserValidationErrorOccurred(const Error & /*error*/) override { ++errors; }

    std::string text;
    std::string elements;
    bool hadEmptyRun = false;
    int errors = 0;
    XmlReader *reader = nullptr;
    std::string refused;
    std::string refusedEnd;
};

/// The result of reading a document.
struct Outcome {
    QByteArray text;
    QByteArray elements;
    /// 0 if the document is read to its end.
    int code = 0;
    QString description;
    qint64 line = 0;
    qint64 column = 0;
};

Outcome outcomeOf(const Gathering &gathered, const XmlReader &reader) {
    Outcome outcome;
    outcome.text = QByteArray::fromStdString(gathered.text);
    outcome.elements = QByteArray::fromStdString(gathered.elements);
    if (reader.error()) {
        outcome.code = reader.error()->code;
        const QVariantMap &info = reader.error()->userInfo;
        outcome.description = info.value(Error::localizedDescriptionKey()).toString();
        outcome.line = info.value(XmlError::lineNumberKey()).toLongLong();
        outcome.column = info.value(XmlError::columnNumberKey()).toLongLong();
    }
    if (gathered.errors != (outcome.code == 0 ? 0 : 1) || gathered.hadEmptyRun)
        qFatal("an error was not reported exactly once, or an empty run of text was reported");
    return outcome;
}

Outcome read(const QByteArray &document) {
    Gathering gathered;
    XmlReader reader(gathered);
    reader.read(QByteArrayView(document));
    return outcomeOf(gathered, reader);
}

Outcome readByteByByte(const QByteArray &document) {
    Gathering gathered;
    XmlReader reader(gathered);
    for (qsizetype at = 0; at < document.size(); ++at)
        reader.feed(QByteArrayView(document.constData() + at, 1));
    reader.finish();
    return outcomeOf(gathered, reader);
}

QByteArray withSubset(const QByteArray &subset, const QByteArray &content) {
    return "<!DOCTYPE r [" + subset + "]>\n<r>" + content + "</r>";
}

/// Entity declarations `<!ENTITY a0 "x"><!ENTITY a1 "&a0;">` and so on, up to `a<length>`.
QByteArray chain(int length) {
    QByteArray declarations = "<!ENTITY a0 \"x\">";
    for (int i = 1; i <= length; ++i)
        declarations +=
            "<!ENTITY a" + QByteArray::number(i) + " \"&a" + QByteArray::number(i - 1) + ";\">";
    return declarations;
}

/// The peak resident memory of this process, in bytes.
qint64 peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss * qint64(1024);
}

/// Long enough to overflow a thread's stack if each step is a recursive call.
constexpr int longChain = 100'000;
/// Long enough to overflow only a small stack.
constexpr int shorterChain = 24'000;

}  // namespace

class XmlEntitiesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aSmallEntityIsUsed_data() {
        QTest::addColumn<QByteArray>("declaration");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("text");
        const auto row = [](const char *name, const char *declaration, const char *content,
                            const char *text) {
            QTest::newRow(name) << QByteArray(declaration) << QByteArray(content)
                                << QByteArray(text);
        };
        row("a no-break space", "<!ENTITY nbsp '&#160;'>", "a&nbsp;b",
            "a\xC2\xA0"
            "b");
        row("in hexadecimal", "<!ENTITY eacute '&#xE9;'>", "Caf&eacute;", "Caf\xC3\xA9");
        row("a text", "<!ENTITY maker 'Olvane'>", "by &maker;.", "by Olvane.");
        row("in both quotes", "<!ENTITY q \"it's\">", "&q;", "it's");
        row("beside a predefined one", "<!ENTITY co 'Olvane &amp; &#67;o'>", "&co;&amp;",
            "Olvane & Co&");
        row("escaped twice, as in XHTML", "<!ENTITY less '&#38;#60;'>", "a &less; b", "a < b");
        row("every predefined one", "<!ENTITY p '&amp;&lt;&gt;&apos;&quot;'>", "&p;", "&<>'\"");
        row("an empty one", "<!ENTITY e ''>", "a&e;b", "ab");
        row("line ends", "<!ENTITY l 'a\r\nb\rc&#13;d'>", "&l;", "a\nb\nc\rd");
        row("the first of two declarations", "<!ENTITY e 'one'><!ENTITY e 'two'>", "&e;", "one");
        row("the first, where the second is none to use",
            "<!ENTITY e 'one'><!ENTITY f ''><!ENTITY e '&f;'>", "&e;", "one");
        row("as often as wanted", "<!ENTITY e 'x'>", "&e;&e;<b>&e;</b>", "xxx");
        row("but not in a section", "<!ENTITY e 'x'>", "<![CDATA[&e;&nope;]]>", "&e;&nope;");
        row("nor in a comment", "<!ENTITY e 'x'>", "a<!-- &nope; --><?p &nope;?>", "a");
        row("beside declarations that nothing uses",
            "<!ENTITY big '0123456789012345678901234567890123456789012345678901234567890123456789"
            "0123456789012345678901234567890'><!ENTITY tag '<b/>'><!ENTITY n '&e;'><!ENTITY out "
            "SYSTEM 'file:///etc/passwd'><!ENTITY odd '&#38;'><!ENTITY % p 'x'><!NOTATION g SYSTEM "
            "'g'><!ENTITY pic SYSTEM 'p' NDATA g><!ENTITY e 'x'>",
            "&e;", "x");
        row("in an attribute", "<!ENTITY e 'x'>", "<b c='&e;&#65;&amp;'/>y", "y");
        row("in an attribute's default", "<!ENTITY e 'x'><!ATTLIST b c CDATA '&e;'>", "<b/>y", "y");
        row("in an attribute, beside others that are nested",
            "<!ENTITY e 'x'><!ENTITY f '&e;'><!ENTITY g '&f;'>", "<b c='&e;'/>y", "y");
    }

    void aSmallEntityIsUsed() {
        QFETCH(const QByteArray, declaration);
        QFETCH(const QByteArray, content);
        QFETCH(const QByteArray, text);
        for (const Outcome &outcome : {read(withSubset(declaration, content)),
                                       readByteByByte(withSubset(declaration, content))}) {
            QVERIFY2(outcome.code == 0, qPrintable(outcome.description));
            QCOMPARE(outcome.text, text);
        }
    }

    void anyOtherThatIsUsedIsAnError_data() {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char *name, const QByteArray &document, int code,
                            const char *reason) {
            QTest::newRow(name) << document << code << QString::fromLatin1(reason);
        };
        const auto unusable = [&row](const char *name, const QByteArray &declaration,
                                     const char *reason) {
            row(name, withSubset(declaration, "before &e; after"), XmlError::UnusableEntity,
                reason);
        };
        unusable("nested", "<!ENTITY f 'x'><!ENTITY e 'a&f;'>",
                 "the entity \"e\" holds another entity");
        unusable("nested by a numeric reference", "<!ENTITY f 'x'><!ENTITY e '&#38;f;'>",
                 "the entity \"e\" holds another entity");
        unusable("of itself", "<!ENTITY e '&e;'>", "the entity \"e\" holds another entity");
        unusable("markup", "<!ENTITY e '<b/>'>", "the entity \"e\" holds markup");
        unusable("markup by a numeric reference", "<!ENTITY e '&#60;b/>'>",
                 "the entity \"e\" holds markup");
        unusable("a lone ampersand", "<!ENTITY e '&#38;'>",
                 "the entity \"e\" holds a broken reference");
        unusable("a broken reference", "<!ENTITY e '&#38;#x;'>",
                 "the entity \"e\" holds a broken reference");
        unusable("no character", "<!ENTITY e '&#38;#0;'>",
                 "the entity \"e\" holds a broken reference");
        unusable("101 bytes", "<!ENTITY e '" + QByteArray(101, 'x') + "'>",
                 "the entity \"e\" holds more than 100 bytes");
        unusable("external", "<!ENTITY e SYSTEM 'file:///etc/passwd'>",
                 "the entity \"e\" lies outside of the document");
        unusable("the first of two declarations",
                 "<!ENTITY f ''><!ENTITY e '&f;'><!ENTITY e 'good'>",
                 "the entity \"e\" holds another entity");

        const char *const undeclared = "the entity \"eacute\" is not declared";
        const auto missing = [&](const char *name, const QByteArray &doctype) {
            row(name, doctype + "\n<r>Caf&eacute;</r>", XML_ERROR_UNDEFINED_ENTITY, undeclared);
        };
        missing("undeclared", "");
        missing("undeclared beside others", "<!DOCTYPE r [<!ENTITY nbsp '&#160;'>]>");
        missing("undeclared with an external type",
                "<!DOCTYPE r SYSTEM 'http://127.0.0.1:9/r.dtd'>");
        missing("undeclared with a public external type",
                "<!DOCTYPE r PUBLIC '-//X//Y' 'http://127.0.0.1:9/r.dtd' [<!ENTITY e ''>]>");
        missing("undeclared in a standalone document",
                "<?xml version='1.0' standalone='yes'?><!DOCTYPE r SYSTEM 'r.dtd'>");
        missing("undeclared in one that is not",
                "<?xml version='1.0' standalone='no'?><!DOCTYPE r SYSTEM 'r.dtd'>");
        missing("declared by a parameter entity",
                "<!DOCTYPE r [<!ENTITY % p \"<!ENTITY eacute 'x'>\">%p;]>");
        missing("declared by an external parameter entity",
                "<!DOCTYPE r [<!ENTITY % p SYSTEM 'file:///dev/zero'>%p;]>");
        missing("declared behind a parameter entity",
                "<!DOCTYPE r [<!ENTITY % p ''>%p;<!ENTITY eacute 'x'>]>");

        const auto inAttribute = [&](const char *name, const QByteArray &doctype, int code,
                                     const char *reason) {
            row(name, doctype + "\n<r>before <b c='&e;'>after</b></r>", code, reason);
        };
        inAttribute("undeclared in an attribute", "", XML_ERROR_UNDEFINED_ENTITY,
                    "the entity \"e\" is not declared");
        inAttribute("undeclared in an attribute with an external type",
                    "<!DOCTYPE r SYSTEM 'r.dtd'>", XML_ERROR_UNDEFINED_ENTITY,
                    "the entity \"e\" is not declared");
        inAttribute("nested in an attribute", "<!DOCTYPE r [<!ENTITY f 'x'><!ENTITY e '&f;'>]>",
                    XmlError::UnusableEntity, "the entity \"e\" holds another entity");
        inAttribute("101 bytes in an attribute",
                    "<!DOCTYPE r [<!ENTITY e '" + QByteArray(101, 'x') + "'>]>",
                    XmlError::UnusableEntity, "the entity \"e\" holds more than 100 bytes");
        inAttribute("external in an attribute", "<!DOCTYPE r [<!ENTITY e SYSTEM 'f'>]>",
                    XmlError::UnusableEntity, "the entity \"e\" lies outside of the document");
    }

    void anyOtherThatIsUsedIsAnError() {
        QFETCH(const QByteArray, document);
        QFETCH(const int, code);
        QFETCH(const QString, reason);
        for (const Outcome &outcome : {read(document), readByteByByte(document)}) {
            QCOMPARE(outcome.code, code);
            QVERIFY2(outcome.description.startsWith(reason), qPrintable(outcome.description));
            QVERIFY2(!outcome.text.contains("after"), "something was reported after the error");
            QCOMPARE(outcome.line, 2);
            const qsizetype line = document.indexOf('\n') + 1;
            const qsizetype reference = document.indexOf('&', line);
            const qsizetype tag = document.indexOf("<b c", line);
            const QList<qint64> places{reference - line + 1, tag < 0 ? -1 : tag - line + 1};
            QVERIFY2(places.contains(outcome.column), qPrintable(outcome.description));
        }
    }

    void anAttributesDefaultIsNoBetterPlace_data() {
        QTest::addColumn<QByteArray>("subset");
        QTest::addColumn<bool>("withExternalType");
        QTest::newRow("undeclared") << QByteArray() << false;
        QTest::newRow("undeclared, with an external type") << QByteArray() << true;
        QTest::newRow("nested") << QByteArray("<!ENTITY f ''><!ENTITY e '&f;'>") << false;
        QTest::newRow("markup") << QByteArray("<!ENTITY e '<'>") << false;
        QTest::newRow("101 bytes")
            << QByteArray("<!ENTITY e '" + QByteArray(101, 'x') + "'>") << false;
    }

    void anAttributesDefaultIsNoBetterPlace() {
        QFETCH(const QByteArray, subset);
        QFETCH(const bool, withExternalType);
        const QByteArray document = QByteArray("<!DOCTYPE r ") +
                                    (withExternalType ? "SYSTEM 'r.dtd' [%p;" : "[") + subset +
                                    "<!ATTLIST r c CDATA \"it's &e;\">]><r/>";
        for (const Outcome &outcome : {read(document), readByteByByte(document)}) {
            QVERIFY(outcome.code != 0 || withExternalType);
            QCOMPARE(outcome.elements, withExternalType ? " r /r" : "");
        }
    }

    void hundredBytesAreUsed() {
        const QByteArray value(XmlLimits::maxEntityBytes, 'x');
        QCOMPARE(read(withSubset("<!ENTITY e '" + value + "'>", "&e;")).text, value);
        // The limit counts the bytes of the replacement text, not its characters and not the bytes
        // of the declaration.
        const QByteArray fifty = QByteArray("&#160;").repeated(50);
        QCOMPARE(read(withSubset("<!ENTITY e '" + fifty + "'>", "&e;")).text,
                 QByteArray("\xC2\xA0").repeated(50));
        QCOMPARE(read(withSubset("<!ENTITY e '" + fifty + "x'>", "&e;")).code,
                 XmlError::UnusableEntity);
    }

    void allUsesTogetherAreLimited() {
        const QByteArray declaration = "<!ENTITY e '" + QByteArray(100, 'x') + "'>";
        const qsizetype maxUses = XmlLimits::maxExpansion / 100;
        const QByteArray uses = QByteArray("&e;").repeated(maxUses - 1);
        QCOMPARE(read(withSubset(declaration, uses + "&e;")).text.size(), XmlLimits::maxExpansion);
        const Outcome outcome = read(withSubset(declaration, uses + "&e;&e;"));
        QCOMPARE(outcome.code, XmlError::TooMuchExpansion);
        QCOMPARE(outcome.text.size(), XmlLimits::maxExpansion);
        // Entity references in attribute values count towards the limit, too, including default
        // values in the DTD.
        QCOMPARE(read(withSubset(declaration, "<b c='&e;'/>" + uses)).code, 0);
        QCOMPARE(read(withSubset(declaration, "<b c='&e;&e;'/>" + uses)).code,
                 XmlError::TooMuchExpansion);
        QCOMPARE(
            read(withSubset(declaration + "<!ATTLIST b c CDATA '&e;&e;'>", "<b/>" + uses)).code,
            XmlError::TooMuchExpansion);
        // Predefined entities and character references do not count towards the limit.
        QCOMPARE(read(withSubset(declaration, "&amp;&#65;<b c='&amp;&#65;'/>" + uses + "&e;")).code,
                 0);
    }

    void anAttributeFullOfEntitiesIsAnErrorAndIsNotExpandedWhole() {
        const QByteArray declaration = "<!ENTITY e '" + QByteArray(100, 'x') + "'>";
        for (const int uses : {10'001, 1'000'000}) {
            const QByteArray document =
                withSubset(declaration, "<b c='" + QByteArray("&e;").repeated(uses) + "'>x</b>");
            const qint64 before = peakMemory();
            const Outcome outcome = read(document);
            // Fully expanded, the longer attribute would take 100 MB.
            QVERIFY(peakMemory() - before < 60'000'000);
            QCOMPARE(outcome.code, XmlError::TooMuchExpansion);
            QCOMPARE(outcome.elements, " r");
        }
    }

    void aLongChainNeitherRecursesNorExpands_data() {
        QTest::addColumn<QByteArray>("document");
        const QByteArray last = "&a" + QByteArray::number(longChain) + ";";
        QTest::newRow("in text") << withSubset(chain(longChain), last);
        QTest::newRow("in an attribute")
            << withSubset(chain(longChain), "<b c='" + last + "'>x</b>");
        QTest::newRow("in an attribute's default")
            << withSubset(chain(longChain) + "<!ATTLIST b c CDATA '" + last + "'>", "<b/>x");
        QByteArray forward;
        for (int i = 0; i < longChain; ++i)
            forward +=
                "<!ENTITY a" + QByteArray::number(i) + " '&a" + QByteArray::number(i + 1) + ";'>";
        forward += "<!ENTITY a" + QByteArray::number(longChain) + " 'x'>";
        QTest::newRow("declared the other way round, in text") << withSubset(forward, "&a0;");
        QTest::newRow("declared the other way round, in an attribute")
            << withSubset(forward, "<b c='&a0;'>x</b>");
        QTest::newRow("one that Expat may follow, in an attribute")
            << withSubset(chain(1000), "<b c='&a1000;'>x</b>");
        const QByteArray middle = "&a" + QByteArray::number(shorterChain) + ";";
        QTest::newRow("a shorter one, in text") << withSubset(chain(shorterChain), middle);
        QTest::newRow("a shorter one, in an attribute")
            << withSubset(chain(shorterChain), "<b c='" + middle + "'>x</b>");
    }

    void aLongChainNeitherRecursesNorExpands() {
        QFETCH(const QByteArray, document);
        Outcome outcome;
        // Read on a thread with the default stack size.
        std::thread([&] { outcome = read(document); }).join();
        QCOMPARE(outcome.code, XmlError::UnusableEntity);
        QCOMPARE(outcome.text, QByteArray());
    }

    void anUnusedChainDoesNoHarm() {
        const Outcome outcome = read(withSubset(chain(longChain), "a&a0;<b c='d'/>"));
        QVERIFY2(outcome.code == 0, qPrintable(outcome.description));
        QCOMPARE(outcome.text, QByteArray("ax"));
    }

    void unusedDeclarationsLeavePredefinedEntitiesAlone_data() {
        QTest::addColumn<QByteArray>("declarations");
        QTest::addColumn<QByteArray>("used");
        QByteArray usable;
        for (int i = 0; i < 2000; ++i)
            usable += "<!ENTITY e" + QByteArray::number(i) + " 'x&#38;amp;&#38;#121;&lt;'>";
        // Replacement texts that contain an ampersand, but no reference to a declared entity.
        QTest::newRow("usable ones of references") << usable << QByteArray("&e1999;");
        QTest::newRow("17 nested ones") << chain(17) << QByteArray("&a0;");
        QTest::newRow("1000 nested ones") << chain(1000) << QByteArray("&a0;");
    }

    void unusedDeclarationsLeavePredefinedEntitiesAlone() {
        QFETCH(const QByteArray, declarations);
        QFETCH(const QByteArray, used);
        const QByteArray plain = read(withSubset(declarations, used)).text;
        QVERIFY(!plain.isEmpty());
        for (const QByteArray &content :
             {QByteArray("a&amp;b<b c='d&lt;e'/>"), "a&amp;b<b c='d" + used + "e&amp;'/>" + used}) {
            const QByteArray document = withSubset(declarations, content);
            for (const Outcome &outcome : {read(document), readByteByByte(document)}) {
                QVERIFY2(outcome.code == 0, qPrintable(outcome.description));
                QCOMPARE(outcome.text, content.endsWith("/>") ? "a&b" : "a&b" + plain);
            }
        }
    }

    void whereVeryManyAreNestedAttributesAndPredefinedEntitiesAreErrors() {
        const QByteArray declarations = chain(1001);
        QCOMPARE(read(withSubset(declarations, "a&a0;&#65;<b c='&#65;'/>")).text, "axA");
        for (const char *content : {"&amp;", "<b c='&amp;'/>", "<b c='&a0;'/>"})
            QVERIFY(read(withSubset(declarations, content)).code != 0);
    }

    void elementsInsideOneAnotherAreLimited() {
        const auto nested = [](int depth) {
            return "<r><b/>" + QByteArray("<a>").repeated(depth - 1) + "x" +
                   QByteArray("</a>").repeated(depth - 1) + "</r>";
        };
        QCOMPARE(read(nested(XmlLimits::maxOpenElements)).code, 0);
        const Outcome outcome = read(nested(XmlLimits::maxOpenElements + 1));
        QCOMPARE(outcome.code, XmlError::TooDeep);
        QVERIFY2(outcome.description.startsWith(
                     QStringLiteral("more than 200000 elements inside one another at line 1")),
                 qPrintable(outcome.description));
        QCOMPARE(outcome.text, QByteArray());
        // Closed elements do not count towards the limit of open elements.
        QCOMPARE(
            read("<r>" + QByteArray("<a/>").repeated(XmlLimits::maxOpenElements) + "</r>").code, 0);
    }

    // Expat's time to read declarations grows with the square of their number, and each element
    // gets all attributes that are declared for it.
    void declaredAttributesAreLimited() {
        const auto declared = [](int count) {
            QByteArray list = "<!ATTLIST b";
            for (int i = 0; i < count; ++i)
                list += " a" + QByteArray::number(i) + " CDATA 'x'";
            return list + '>';
        };
        constexpr int max = XmlLimits::maxDeclaredAttributes;
        QCOMPARE(read(withSubset(declared(max), "<b/>x")).code, 0);
        const Outcome outcome = read(withSubset(declared(max + 1), "<b/>x"));
        QCOMPARE(outcome.code, XmlError::TooManyAttributes);
        QCOMPARE(outcome.text, QByteArray());
        // More than the limit, but not of declared ones.
        const QByteArray specified = QByteArray("<b a0='y'/>").repeated(2'000'000);
        QCOMPARE(read(withSubset(declared(1), specified + "x")).code, 0);
    }

    void attributesThatElementsHaveByDeclarationAreLimited() {
        QByteArray list = "<!ATTLIST b";
        for (int i = 0; i < 1000; ++i)
            list += " a" + QByteArray::number(i) + " CDATA 'x'";
        list += '>';
        QCOMPARE(read(withSubset(list, QByteArray("<b/>").repeated(1000) + "x")).code, 0);
        const Outcome outcome = read(withSubset(list, QByteArray("<b/>").repeated(1001) + "x"));
        QCOMPARE(outcome.code, XmlError::TooManyAttributes);
        QCOMPARE(outcome.text, QByteArray());
    }

    void aHugeEntityIsNeverExpanded() {
        const QByteArray declaration = "<!ENTITY e '" + QByteArray(3'000'000, 'x') + "'>";
        const QByteArray uses = QByteArray("&e;").repeated(95);
        Outcome outcome = read(withSubset(declaration, uses));
        QCOMPARE(outcome.code, XmlError::UnusableEntity);
        QCOMPARE(outcome.text, QByteArray());
        outcome = read(withSubset(declaration, "<b c='" + uses + "'>x</b>"));
        QCOMPARE(outcome.code, XmlError::UnusableEntity);
        QCOMPARE(outcome.text, QByteArray());
    }

    void aNameInAnErrorIsCutShort() {
        const QByteArray name = QByteArray("a").repeated(100'000);
        const Outcome outcome = read("<r>&" + name + ";</r>");
        QCOMPARE(outcome.code, XML_ERROR_UNDEFINED_ENTITY);
        QVERIFY(outcome.description.size() < 150);
        QVERIFY(outcome.description.startsWith(QStringLiteral("the entity \"aaaa")));
    }

    void aDelegateCanEndTheReading() {
        for (const bool atEnd : {false, true}) {
            Gathering gathered;
            XmlReader reader(gathered);
            gathered.reader = &reader;
            (atEnd ? gathered.refusedEnd : gathered.refused) = "b";
            QVERIFY(!reader.read(QByteArrayView("<a>\n<b/>text<c/></a>")));
            QCOMPARE(gathered.errors, 1);
            QCOMPARE(QByteArray::fromStdString(gathered.elements), atEnd ? " a b /b" : " a b");
            QCOMPARE(QByteArray::fromStdString(gathered.text), "\n");
            const Outcome outcome = outcomeOf(gathered, reader);
            QCOMPARE(outcome.code, XmlError::RefusedByDelegate);
            QCOMPARE(outcome.description,
                     QStringLiteral("enough of it at line 2, column %1").arg(atEnd ? 5 : 1));
            QVERIFY(!reader.finish());
        }
        // The delegate can refuse the document's last event, too.
        Gathering gathered;
        XmlReader reader(gathered);
        gathered.reader = &reader;
        gathered.refusedEnd = "a";
        QVERIFY(!reader.read(QByteArrayView("<a></a>")));
        QCOMPARE(reader.error()->code, XmlError::RefusedByDelegate);
    }
};

PELORIN_CORE_TEST_MAIN(XmlEntitiesTest)
#include "XmlEntitiesTest.moc"

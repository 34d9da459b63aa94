#include "TestServices.h"

#include <HostKit/DOMDoc.h>
#include <HostKit/DocumentSource.h>

#include <QTemporaryDir>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>

namespace
{
const QString URI = QStringLiteral("urn:zelkor:test-suite");
const std::string OPEN = "<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\">";
const std::string GROUPS = "<x:InitGroup/><x:ExitGroup/>";
const std::string CLOSE = "</x:TestSuite>";

/// A valid suite whose elements nest `depth` deep.
std::string Nested(int depth)
{
    const QString groups =
        QStringLiteral("<x:Group>").repeated(depth - 1) + QStringLiteral("</x:Group>").repeated(depth - 1);
    return OPEN + "<x:InitGroup/>" + groups.toStdString() + "<x:ExitGroup/>" + CLOSE;
}
} // namespace

class DOMDocTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { parser = std::make_unique<CDOMParser>(QStringLiteral("ZKTestSuiteSchema.xsd")); }
    static void TearDownTestSuite() { parser.reset(); }

    std::string Write(std::string_view text, const char* name = "suite.xml") const
    {
        const std::string path = folder + "/" + name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    /// Every error as "line:column: severity: message", a line each; "valid" when the document parses.
    static std::string Errors(CDOMDoc& document)
    {
        const bool parsed = document.ParseDoc();
        std::string text = parsed ? "valid\n" : "";
        for (std::size_t i = 0; i < document.ErrorCount(); ++i)
        {
            const CDOMError& error = document.Error(i);
            text += std::to_string(error.LineNumber()) + ":" + std::to_string(error.ColumnNumber()) + ": " +
                error.ErrorSeverityStr() + ": " + error.Message() + "\n";
            EXPECT_EQ(error.SchemaURI(), URI.toStdString());
        }
        EXPECT_EQ(parsed, document.Parsed());
        EXPECT_EQ(parsed, static_cast<bool>(document.GetRootElement()));
        return text;
    }
    static std::string ErrorsOfPath(const std::string& path)
    {
        CDOMDoc document(parser.get(), URI, QString::fromStdString(path));
        return Errors(document);
    }
    std::string ErrorsOf(std::string_view text) const { return ErrorsOfPath(Write(text)); }

    static std::unique_ptr<CDOMParser> parser;
    const QTemporaryDir temporary;
    const std::string folder = temporary.path().toStdString();
};

std::unique_ptr<CDOMParser> DOMDocTest::parser;

TEST_F(DOMDocTest, PathsThatHoldNoDocument)
{
    EXPECT_EQ(ErrorsOfPath(folder + "/missing.xml"), "0:0: Fatal Error: " + folder + "/missing.xml: no such file\n");
    EXPECT_EQ(ErrorsOfPath(folder), "0:0: Fatal Error: " + folder + ": is a folder, not a file\n");
    EXPECT_EQ(ErrorsOfPath("/dev/null"), "0:0: Fatal Error: /dev/null: is not a regular file\n");
    EXPECT_EQ(ErrorsOfPath(Write("")), "0:0: Fatal Error: " + folder + "/suite.xml: is empty\n");
}

TEST_F(DOMDocTest, WhatIsNotASuiteIsReportedWithItsPlace)
{
    const std::string refusedDTD =
        "Fatal Error: a document type definition (<!DOCTYPE>) is not allowed; remove it and whatever it declares\n";
    const std::vector<std::pair<std::string, std::string>> rows{
        {"no xml", "1:1: Fatal Error: there is no x:TestSuite element\n"},
        {"<!-- none -->\n", "2:1: Fatal Error: there is no x:TestSuite element\n"},
        {OPEN + "\n<x:InitGroup>",
         "2:14: Fatal Error: input ended before all started tags were ended; last tag started is 'InitGroup'\n"},
        {OPEN + "\n&secret;" + CLOSE, "2:9: Fatal Error: entity 'secret' not found\n"},
        {"<!DOCTYPE a [<!ENTITY e 'x'>\n<!ENTITY f '&e;&e;'>]>" + OPEN + "&f;" + CLOSE, "1:13: " + refusedDTD},
        {"\n<!DOCTYPE a SYSTEM 'file:///etc/hostname'>" + OPEN + GROUPS + CLOSE, "2:42: " + refusedDTD},
        {"<x:InitGroup xmlns:x='urn:zelkor:test-suite'><x:Foo a='1'/></x:InitGroup>",
         "1:1: Error: the root element is x:InitGroup; it must be x:TestSuite\n"},
        {"<!-- none -->\n<x:TestSuite xmlns:x='urn:other'><x:InitGroup a='1'/><x:Group>\n</x:Group></x:TestSuite>",
         "2:1: Error: the root element \"x:TestSuite\" is not in the namespace \"urn:zelkor:test-suite\"; declare "
         "xmlns:x=\"urn:zelkor:test-suite\" and use the prefix x\n"},
        {"<x:TestSuite xmlns:x='urn:zelkor:test-suite' xmlns:y='urn:zelkor:test-suite'>\n <y:InitGroup/>"
         "<y:ExitGroup/></x:TestSuite>",
         "2:2: Error: the element \"y:InitGroup\" is in the namespace \"urn:zelkor:test-suite\" without the prefix "
         "x; declare xmlns:x=\"urn:zelkor:test-suite\" and use the prefix x for every element\n"},
        {OPEN + "<!-- <x:No/> -->\n<x:InitGroup\r a='1'/>&#228;\xC3\xA4</x:Other><x:No/>",
         "2:1: Error: x:InitGroup has no attribute \"a\"; it takes label and name\n"
         "3:16: Error: text is not allowed in x:TestSuite; remove it or make it a comment\n"
         "3:18: Fatal Error: expected end of tag 'x:TestSuite'\n"},
        {OPEN + GROUPS + "<y:A xmlns:y='urn:a'/><y:A xmlns:y='urn:b'/>" + CLOSE,
         "1:74: Error: y:A is in the namespace \"urn:a\", not in \"urn:zelkor:test-suite\"\n"
         "1:96: Error: y:A is in the namespace \"urn:b\", not in \"urn:zelkor:test-suite\"\n"},
        {Nested(256), "valid\n"},
        {Nested(257), "1:2355: Fatal Error: elements nest deeper than 256 levels\n"},
    };
    for (const auto& [text, errors] : rows)
    {
        EXPECT_EQ(ErrorsOf(text), errors) << text.substr(0, 200);
    }
}

TEST_F(DOMDocTest, AnErrorTellsWhatKindItIs)
{
    const std::vector<std::pair<std::string, EErrorKind>> rows{
        {"", EErrorKind::Unreadable},
        {"<!-- \xE4 -->", EErrorKind::Xml},
        {"no xml", EErrorKind::Xml},
        {"<!DOCTYPE a []>" + OPEN + GROUPS + CLOSE, EErrorKind::Xml},
        {OPEN + GROUPS, EErrorKind::Xml},
        {Nested(257), EErrorKind::Xml},
        {OPEN + GROUPS + "<x:Foo/>" + CLOSE, EErrorKind::Schema},
        {OPEN + "a" + GROUPS + CLOSE, EErrorKind::Schema},
        {OPEN + "<x:InitGroup xsi:nil='true' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'/><x:ExitGroup/>" +
             CLOSE,
         EErrorKind::Schema},
    };
    for (const auto& [text, kind] : rows)
    {
        CDOMDoc document(parser.get(), URI, QString::fromStdString(Write(text)));
        EXPECT_FALSE(document.ParseDoc()) << text;
        ASSERT_EQ(document.ErrorCount(), 1U) << text;
        EXPECT_EQ(document.Error(0).Kind(), kind) << text;
    }
}

TEST_F(DOMDocTest, StructureIsExplainedAtTheElement)
{
    const std::string term = "<x:Comparison operator='eq'><x:Value/></x:Comparison>";
    const std::string inverted = "<x:Not>" + term + "</x:Not>";
    const std::vector<std::pair<std::string, std::string>> rows{
        {"", "1:1: x:TestSuite needs an x:InitGroup\n"},
        {"<x:InitGroup/>\n<x:Group/>", "1:1: x:TestSuite needs an x:ExitGroup after x:InitGroup\n"},
        {"<x:Tooltip/><x:Group\n/><x:Group/><x:InitGroup/><x:ExitGroup/>",
         "2:13: x:Group is not allowed here; expected x:InitGroup\n"},
        {GROUPS + "<x:Tooltip/><x:Group/>", "2:41: x:Group is not allowed in x:TestSuite after x:ExitGroup\n"},
        {"<x:InitGrup><x:Functoin nmae='a' b='c'/></x:InitGrup>\n<x:Foo><x:Bar/></x:Foo><x:ExitGroup/>",
         "2:1: x:InitGrup is unknown; did you mean x:InitGroup?\n"
         "2:13: x:Functoin is unknown; did you mean x:Function?\n"
         "2:13: x:Function has no attribute \"nmae\"; did you mean \"name\"?\n"
         "2:13: x:Function has no attribute \"b\"; it takes label, name and type\n"
         "3:1: x:Foo is unknown; expected x:ExitGroup\n"},
        {"<x:InitGroup><x:Foo/></x:InitGroup><x:ExitGroup/><Tooltip/>",
         "2:14: x:Foo is unknown; the schema names what x:InitGroup may hold\n"
         "2:50: Tooltip is in no namespace, not in \"urn:zelkor:test-suite\"; did you mean x:Tooltip?\n"},
        {"<x:Variables><x:Local/><x:Define tpye='1' c=''/></x:Variables><x:InitGroup><x:Define type=''>\na<x:Group/>"
         "</x:Define></x:InitGroup><x:ExitGroup/>",
         "2:14: x:Local needs the attribute \"type\"\n"
         "2:24: x:Define has no attribute \"tpye\"; did you mean \"type\"?\n"
         "2:24: x:Define has no attribute \"c\"; it takes ZKconfig, name, type and value\n"
         "2:76: x:Define is not allowed in x:InitGroup; it belongs in x:Variables\n"
         "3:2: x:Group is not allowed in x:Define; it belongs in x:ExitGroup, x:Group, x:InitGroup or x:TestSuite\n"},
        {"<x:InitGroup>\na<x:Not/><x:Not>" + inverted + "<x:Not/></x:Not></x:InitGroup><x:ExitGroup/>",
         "3:2: text is not allowed in x:InitGroup; remove it or make it a comment\n"
         "3:2: x:Not needs an x:And, x:Comparison, x:Not or x:Or\n"
         "3:85: x:Not is not allowed in x:Not after x:Not\n"
         "3:85: x:Not needs an x:And, x:Comparison, x:Not or x:Or\n"},
        {"<x:InitGroup xml:lang='de'/><x:ExitGroup xsi:nil='true' "
         "xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'/>",
         "2:1: x:InitGroup has no attribute \"xml:lang\"; it takes label and name\n"
         "2:112: 'xsi:nil' specified for non-nillable element 'ExitGroup'\n"},
    };
    for (const auto& [body, expected] : rows)
    {
        const std::string errors = ErrorsOf(OPEN + "\n" + body + CLOSE);
        EXPECT_EQ(QString::fromStdString(errors).remove(QStringLiteral("Error: ")).toStdString(), expected) << body;
    }
}

TEST_F(DOMDocTest, AConditionMayStandInEveryNode)
{
    const std::string term = "<x:Comparison operator='eq'><x:Value/></x:Comparison>";
    const std::string condition = "<x:Condition>" + term + "</x:Condition>";
    const auto with = [&](const std::string& element, const std::string& content)
    { return "<x:" + element + ">" + condition + content + "</x:" + element.substr(0, element.find(' ')) + ">"; };
    const std::string value = with("Value", "");
    const std::string boolean = with("Comparison operator='eq'", value);
    const std::string content = with("Function", "") + with("BooleanPopup", "") + with("InfoPopup", "") +
        with("SetPopup", "") + with("Set", with("Expression operator='add'", value)) + with("And", boolean) +
        with("Or", with("Not", boolean)) + with("Condition", boolean);
    EXPECT_EQ(ErrorsOf(OPEN + condition + with("InitGroup", content) +
                       with("Group", content + with("LoopTerminate", boolean) + with("NextIteration", value)) +
                       with("ExitGroup", content) + condition + CLOSE),
              "valid\n");
}

TEST_F(DOMDocTest, ProblemsAreCountedUpToABound)
{
    const QString bad = QStringLiteral("<x:Foo/>").repeated(1200);
    const std::string errors = ErrorsOf(OPEN + "<x:InitGroup>" + bad.toStdString() + "</x:InitGroup>" + CLOSE);
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1001);
    EXPECT_TRUE(errors.ends_with("there are more problems than that; the rest of the file was not checked\n"));
}

TEST_F(DOMDocTest, SchemaHintsAndOtherFilesAreIgnored)
{
    Write("<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:other'>"
          "<xs:element name='Free'/></xs:schema>",
          "other.xsd");
    const std::string suite = "<x:TestSuite xmlns:x='urn:zelkor:test-suite' xmlns:o='urn:other' "
                              "xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' "
                              "xsi:schemaLocation='urn:other other.xsd urn:zelkor:test-suite other.xsd'>" +
        GROUPS;
    EXPECT_EQ(ErrorsOf(suite + CLOSE), "valid\n");
    EXPECT_EQ(ErrorsOf(suite + "\n<o:Free/><o:Group/>" + CLOSE),
              "2:1: Error: o:Free is in the namespace \"urn:other\", not in \"urn:zelkor:test-suite\"\n"
              "2:10: Error: o:Group is in the namespace \"urn:other\", not in \"urn:zelkor:test-suite\"; did you mean "
              "x:Group?\n");
}

TEST_F(DOMDocTest, PlacesAreThoseOfTheStartTags)
{
    const std::string body = "<?xml version='1.0' encoding='UTF-8'?>\r\n<!-- <x:No/> ü -->\r\n" + OPEN +
        "<x:Tooltip>ü <![CDATA[<x:No>]]></x:Tooltip>  <x:InitGroup\n\n   label='a &gt; b > c'\n/><?pi <x:No/> ?>"
        "\n\t<x:Group\n><x:Group/></x:Group><!--" +
        QStringLiteral("\u00FCber").repeated(1000).toStdString() + "--><x:Group/>\r<x:ExitGroup/>" + CLOSE;
    const std::vector<std::string> expected{"x:TestSuite 3:1", "x:Tooltip 3:46", "x:InitGroup 3:91", "x:Group 7:2",
                                            "x:Group 8:2",     "x:Group 8:4029", "x:ExitGroup 9:1"};
    for (const std::string& text : {body, "\xEF\xBB\xBF" + body})
    {
        CDOMDoc document(parser.get(), URI, QString::fromStdString(Write(text)));
        ASSERT_EQ(Errors(document), "valid\n");
        std::vector<std::string> places;
        for (const pugi::xpath_node& found : CDOMDoc::RunQuery(document.GetRootElement(), "//*"))
        {
            const SElementPlace place = document.Place(found.node());
            places.push_back(found.node().name() + (" " + std::to_string(place.line)) + ":" +
                             std::to_string(place.column));
        }
        EXPECT_EQ(places, expected);
        const CDocumentSource same(document.FileName());
        EXPECT_EQ(same.Place(same.Tree().document_element()).line, 3U);
        EXPECT_EQ(document.Place(same.Tree().document_element()).line, 0U);
        EXPECT_EQ(document.Place(pugi::xml_node()).line, 0U);
        EXPECT_EQ(document.Place(document.GetRootElement().first_child().first_child()).line, 0U);
    }
}

namespace
{
using namespace std::string_literals;

/// Text as units of some bytes each, UTF-16 or UTF-32 for text in the basic plane.
std::string Units(const std::u16string& text, std::size_t size, bool bigEndian)
{
    std::string bytes;
    for (const char16_t unit : text)
    {
        for (std::size_t i = 0; i < size; ++i)
        {
            const std::size_t shift = 8 * (bigEndian ? size - 1 - i : i);
            bytes += static_cast<char>(shift < 16 ? unit >> shift : 0);
        }
    }
    return bytes;
}

std::u16string Declared(const char* encoding)
{
    return u"<?xml version='1.0' encoding='" + QString::fromLatin1(encoding).toStdU16String() + u"'?>";
}
} // namespace

TEST_F(DOMDocTest, EveryAcceptedEncodingKeepsTextAndPlaces)
{
    const std::u16string body =
        u"\n<x:TestSuite xmlns:x='urn:zelkor:test-suite' name='\u00FC'>\r\n\u00FC<x:InitGroup/><x:ExitGroup/></x:TestSuite>";
    std::u16string valid = body;
    valid.erase(valid.rfind(u'\u00FC'), 1);
    const std::u16string mark = u"\uFEFF";
    const auto utf8 = [](const std::u16string& text) { return QString::fromStdU16String(text).toStdString(); };
    const auto latin1 = [](const std::u16string& text)
    { return QString::fromStdU16String(text).toLatin1().toStdString(); };
    const std::vector<std::function<std::string(const std::u16string&)>> encoders{
        [&](const std::u16string& text) { return utf8(text.substr(1)); },
        [&](const std::u16string& text) { return utf8(mark + Declared("utf-8") + text); },
        [&](const std::u16string& text) { return latin1(Declared("iso-8859-1") + text); },
        [&](const std::u16string& text) { return latin1(Declared("Latin1") + text); },
        [&](const std::u16string& text) { return Units(mark + text.substr(1), 2, false); },
        [&](const std::u16string& text) { return Units(Declared("UTF-16LE") + text, 2, false); },
        [&](const std::u16string& text) { return Units(mark + Declared("utf-16") + text, 2, true); },
        [&](const std::u16string& text) { return Units(Declared("UTF-16BE") + text, 2, true); },
        [&](const std::u16string& text) { return Units(mark + Declared("UTF-32") + text, 4, false); },
        [&](const std::u16string& text) { return Units(Declared("UTF-32LE") + text, 4, false); },
        [&](const std::u16string& text) { return Units(mark + text.substr(1), 4, true); },
        [&](const std::u16string& text) { return Units(Declared("UTF-32BE") + text, 4, true); },
    };
    for (std::size_t i = 0; i < encoders.size(); ++i)
    {
        SCOPED_TRACE(i);
        CDOMDoc document(parser.get(), URI, QString::fromStdString(Write(encoders[i](valid))));
        ASSERT_EQ(Errors(document), "valid\n");
        EXPECT_EQ(CDOMDoc::GetAttribute(document.GetRootElement(), QStringLiteral("name")), QStringLiteral("\u00FC"));
        const std::string errors = ErrorsOf(encoders[i](body));
        EXPECT_EQ(errors.substr(1, 10), ":2: Error:") << errors;
    }
}

TEST_F(DOMDocTest, OtherEncodingsAndBrokenTextAreRefused)
{
    const std::u16string suite =
        u"\n<x:TestSuite xmlns:x='urn:zelkor:test-suite'><x:InitGroup/><x:ExitGroup/></x:TestSuite>\n";
    const std::string plain = QString::fromStdU16String(suite).toStdString();
    const auto declared = [](const char* encoding)
    { return QString::fromStdU16String(Declared(encoding)).toStdString(); };
    const std::string wide = Units(u"\uFEFF" + suite, 2, false);
    const std::string advice = "; save the file as UTF-8";
    const std::vector<std::pair<std::string, std::string>> rows{
        {declared("UTF-7") + plain, "1:31: the encoding \"UTF-7\" is not supported" + advice + " and declare that"},
        {declared("windows-1251") + plain,
         "1:31: the encoding \"windows-1251\" is not supported" + advice + " and declare that"},
        {declared("UTF-16") + plain,
         "1:31: the encoding \"UTF-16\" is declared, but the file is neither UTF-16 nor "
         "UTF-32" +
             advice + " and declare that"},
        {"\xEF\xBB\xBF" + declared("latin1") + plain,
         "1:31: the encoding \"latin1\" is declared, but the file is UTF-8" + advice + " and declare that"},
        {Units(Declared("UTF-8") + suite, 2, true),
         "1:31: the encoding \"UTF-8\" is declared, but the file is UTF-16 "
         "(big-endian)" +
             advice + " and declare that"},
        {Units(Declared("UTF-16BE") + suite, 2, false),
         "1:31: the encoding \"UTF-16BE\" is declared, but the file is "
         "UTF-16 (little-endian)" +
             advice + " and declare that"},
        {plain + "\xC3\xA4\xE4<", "3:2: the byte 0xE4 is not UTF-8 here" + advice},
        {plain + "\xC0\x80", "3:1: the byte 0xC0 is not UTF-8 here" + advice},
        {plain + "\xE0\x80\x80", "3:1: the byte 0xE0 is not UTF-8 here" + advice},
        {plain + "\xED\xA0\x80", "3:1: the byte 0xED is not UTF-8 here" + advice},
        {plain + "\xF4\x90\x80\x80", "3:1: the byte 0xF4 is not UTF-8 here" + advice},
        {plain + " \xE2\x82", "3:2: the byte 0xE2 is not UTF-8 here" + advice},
        {declared("US-ASCII") + "\xC3\xA4" + plain, "1:42: the byte 0xC3 is not US-ASCII here" + advice},
        {plain + "\n \0"s, "4:2: a NUL character is not allowed" + advice},
        {wide + "\0"s,
         "3:1: the file ends within a character of UTF-16 (little-endian); it was cut off, or is not "
         "UTF-16 (little-endian)"},
        {wide + "\0\xD8"s, "3:1: 0xD800 is no character of UTF-16 (little-endian)" + advice},
        {wide + "\0\xDC\0\xD8"s, "3:1: 0xDC00 is no character of UTF-16 (little-endian)" + advice},
        {Units(u"\uFEFF" + suite, 4, true) + "\0\x11\0\0"s,
         "3:1: 0x110000 is no character of UTF-32 (big-endian)" + advice},
    };
    for (const auto& [bytes, expected] : rows)
    {
        const QString errors = QString::fromStdString(ErrorsOf(bytes)).remove(QStringLiteral("Fatal Error: "));
        EXPECT_EQ(errors.toStdString(), expected + "\n");
    }
    EXPECT_EQ(ErrorsOf(wide + "<\0!\0-\0-\0\x3D\xD8\0\xDE-\0-\0>\0"s), "valid\n") << "a pair of surrogates";
}

TEST_F(DOMDocTest, EachParseStartsAfresh)
{
    const std::string path = Write(OPEN + CLOSE);
    CDOMDoc document(parser.get(), URI, QString::fromStdString(path));
    EXPECT_EQ(document.Name(), QStringLiteral("suite.xml"));
    EXPECT_NE(Errors(document), "valid\n");
    Write("<x:TestSuite xmlns:x='urn:zelkor:test-suite' name='N'>" + GROUPS + CLOSE);
    EXPECT_EQ(Errors(document), "valid\n");
    const pugi::xml_node root = document.GetRootElement();
    EXPECT_EQ(CDOMDoc::GetAttribute(root, QStringLiteral("library")), QString());
    EXPECT_EQ(CDOMDoc::GetAllAttributes(root).at(QStringLiteral("name")), QStringLiteral("N"));
    document.Reset();
    EXPECT_FALSE(document.Parsed() || document.GetRootElement());
    std::filesystem::remove(path);
    EXPECT_NE(Errors(document), "valid\n");
    EXPECT_EQ(document.ErrorCount(), 1U);
}

TEST_F(DOMDocTest, UnknownSchemasAreRefused)
{
    EXPECT_EQ(Outcome([] { CDOMParser(QStringLiteral("Other.xsd")); }), "error: There is no schema \"Other.xsd\".");
}

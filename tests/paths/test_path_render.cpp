#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "paths/path_test_tree.h"
#include "tessel/paths/PathWalker.h"

namespace {

using namespace path_test;
using Tessel::NITFMessages;

std::string narrow(const any_type::value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text != nullptr ? *text : "<not a narrow string>";
}

std::wstring wide(const any_type::value& value) {
    const auto* text = std::get_if<std::wstring>(&value);
    return text != nullptr ? *text : L"<not a wide string>";
}

using XmlDoc = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

XmlDoc parseXML(const std::string& text) {
    xmlInitParser();
    return XmlDoc(xmlReadMemory(text.data(), static_cast<int>(text.size()), "path.xml", nullptr,
                                XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
                  &xmlFreeDoc);
}

std::string contentOf(xmlNode* node) {
    xmlChar* content = xmlNodeGetContent(node);
    std::string text(reinterpret_cast<const char*>(content));
    xmlFree(content);
    return text;
}

xmlNode* child(xmlNode* parent, std::string_view name) {
    for (xmlNode* node = parent->children; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE && reinterpret_cast<const char*>(node->name) == name) {
            return node;
        }
    }
    return nullptr;
}

class PathRenderTest : public ::testing::Test {
protected:
    any_type::value read(std::string_view path) {
        Node root = tree.root();
        return queryTree(root, path, messages);
    }

    FileTree tree{2};
    NITFMessages messages;
};

constexpr std::string_view kDeclaration = "<?xml version='1.0' encoding='UTF-8'?>\n";

TEST_F(PathRenderTest, XMLOfAFieldIsADeclarationAndAFragment) {
    EXPECT_EQ(narrow(read("/FileHeader/FTITLE?XML")),
              std::string(kDeclaration) + "<NITFFragment>A small title</NITFFragment>");
}

TEST_F(PathRenderTest, XMLOfTheWholeTreeIsADocument) {
    for (const char* path : {"/?XML", "?XML", "/?format=XML"}) {
        const std::string xml = narrow(read(path));
        const XmlDoc doc = parseXML(xml);
        ASSERT_NE(doc, nullptr) << xml;
        xmlNode* root = xmlDocGetRootElement(doc.get());
        EXPECT_STREQ(reinterpret_cast<const char*>(root->name), "NITFFragment");
        xmlNode* header = child(root, "FileHeader");
        ASSERT_NE(header, nullptr);
        EXPECT_EQ(contentOf(child(header, "FL")), "000000001234");
        xmlNode* images = child(root, "Images");
        ASSERT_NE(images, nullptr);
        xmlNode* image = child(images, "Image");
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(contentOf(child(image, "IID1")), "IMG0");
        xmlNode* comments = child(image, "Comments");
        ASSERT_NE(comments, nullptr);
        EXPECT_EQ(contentOf(child(comments, "Comment")), "first comment");
        // The read-only "Data" dictionary is empty, and empty dictionaries are left out.
        EXPECT_EQ(child(root, "Data"), nullptr);
    }
}

TEST_F(PathRenderTest, XMLWordAndFormatKeyMeanTheSame) {
    EXPECT_EQ(read("/FileHeader?XML"), read("/FileHeader?format=XML"));
}

TEST_F(PathRenderTest, LowerCaseXMLWordIsIgnored) {
    EXPECT_EQ(wide(read("/FileHeader/FHDR?xml")), L"NITF");
}

TEST(PathRenderXML, EmptyTextIsASelfClosingElement) {
    Dict dict;
    dict.add("Blank", Node::makeString(""));
    dict.add("Full", Node::makeString("x"));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(renderXML(root, messages, {}),
              std::string(kDeclaration) + "<NITFFragment><Blank/><Full>x</Full></NITFFragment>");
}

TEST(PathRenderXML, NullFieldsXMLContentAndEmptyContainersAreSkipped) {
    Dict xml;
    xml.add("Doc", Node::makeString("inside"));
    Dict dict;
    dict.add("Body", Node::makeField(nullptr,
                                     [](NitroUtils::Encoder& e, nitf_Field*) { e.write("body"); }));
    dict.add("XML", Node::makeDict(std::move(xml), FlagXML));
    dict.add("NoDict", Node::makeDict(Dict()));
    dict.add("NoArray", Node::makeArray("Value", Array()));
    dict.add("Kept", Node::makeString("k"));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(renderXML(root, messages, {}),
              std::string(kDeclaration) + "<NITFFragment><Kept>k</Kept></NITFFragment>");
}

TEST(PathRenderXML, XMLContentAndBodiesAreReachableDirectly) {
    Dict xml;
    xml.add("Doc", Node::makeString("inside"));
    Dict dict;
    dict.add("Body", Node::makeField(nullptr,
                                     [](NitroUtils::Encoder& e, nitf_Field*) { e.write("body"); }));
    dict.add("XML", Node::makeDict(std::move(xml), FlagXML));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(narrow(queryTree(root, "/XML?XML", messages)),
              std::string(kDeclaration) + "<NITFFragment><Doc>inside</Doc></NITFFragment>");
    EXPECT_EQ(narrow(queryTree(root, "/Body?XML", messages)),
              std::string(kDeclaration) + "<NITFFragment>body</NITFFragment>");
    EXPECT_EQ(wide(queryTree(root, "/Body", messages)), L"body");
}

TEST(PathRenderXML, ArrayElementsTakeTheElementName) {
    Array array;
    array.add(Node::makeString("a"));
    array.add(Node());
    array.add(Node::makeString("b"));
    Dict dict;
    dict.add("Values", Node::makeArray("Value", std::move(array)));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(renderXML(root, messages, {}),
              std::string(kDeclaration) +
                  "<NITFFragment><Values><Value>a</Value><Value>b</Value></Values></NITFFragment>");
}

TEST(PathRenderXML, ElementsWithEmptyNamesShowOnlyTheirContent) {
    Dict first;
    first.add("F", Node::makeString("1"));
    Dict second;
    second.add("F", Node::makeString("2"));
    Array repeats;
    repeats.add(Node::makeDict(std::move(first)));
    repeats.add(Node::makeDict(std::move(second)));
    Dict dict;
    dict.add("ABC", Node::makeArray("", std::move(repeats)));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(
        renderXML(root, messages, {}),
        std::string(kDeclaration) + "<NITFFragment><ABC><F>1</F><F>2</F></ABC></NITFFragment>");
}

TEST(PathRenderXML, TextIsEscapedAndParsesBack) {
    const std::string text =
        std::string("a\"b&c'd<e>f\tg\nh\ri") + '\x01' + '\x7f' + '\x85' + '\x90' + '\xe9' + '\xa0';
    Dict dict;
    dict.add("T", Node::makeString(text));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    const std::string xml = renderXML(root, messages, {});
    EXPECT_EQ(xml, std::string(kDeclaration) +
                       "<NITFFragment><T>a&quot;b&amp;c&apos;d&lt;e&gt;f&#x0009;g&#x000A;h&#x000D;"
                       "i&#x0020;&#x0020;&#x0085;&#x0020;&#x00E9;&#x00A0;</T></NITFFragment>");
    const XmlDoc doc = parseXML(xml);
    ASSERT_NE(doc, nullptr);
    // The references come back as the Latin-1 code points, in UTF-8.
    EXPECT_EQ(contentOf(xmlDocGetRootElement(doc.get())),
              "a\"b&c'd<e>f\tg\nh\ri  \xc2\x85 \xc3\xa9\xc2\xa0");
}

TEST_F(PathRenderTest, JSONOfTheWholeTreeParses) {
    for (const char* path : {"/?JSON", "?format=JSON"}) {
        const std::string text = narrow(read(path));
        const auto json = nlohmann::json::parse(text, nullptr, false);
        ASSERT_FALSE(json.is_discarded()) << text;
        EXPECT_EQ(json["Version"], "02.10");
        EXPECT_EQ(json["FileHeader"]["FTITLE"], "A small title");
        EXPECT_EQ(json["Images"].size(), 2u);
        EXPECT_EQ(json["Images"][1]["NROWS"], "00000049");
        EXPECT_EQ(json["Images"][0]["Comments"][1], "second comment");
        EXPECT_FALSE(json.contains("Data"));
    }
}

TEST_F(PathRenderTest, JSONHasNoWhiteSpaceButAfterTheColon) {
    EXPECT_EQ(narrow(read("/FileHeader?JSON")),
              R"({"FHDR": "NITF","FVER": "02.10","FTITLE": "A small title","FL": "000000001234"})");
    EXPECT_EQ(narrow(read("/FileHeader/FL?JSON")), R"("000000001234")");
}

TEST(PathRenderJSON, NullFieldsAndEmptyContainersAreSkippedWithTheirSeparator) {
    Dict dict;
    dict.add("Body", Node::makeField(nullptr));
    dict.add("A", Node::makeString("a"));
    dict.add("NoDict", Node::makeDict(Dict()));
    dict.add("NoArray", Node::makeArray("Value", Array()));
    dict.add("Gap", Node());
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(renderJSON(root, 1e300, messages, {}), R"({"A": "a","Gap": null})");
}

TEST(PathRenderJSON, XMLContentIsAMarker) {
    Dict xml;
    xml.add("Doc", Node::makeString("inside"));
    Dict dict;
    dict.add("XML", Node::makeDict(std::move(xml), FlagXML));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(narrow(queryTree(root, "/?JSON", messages)), R"({"XML": "...xml..."})");
    EXPECT_EQ(narrow(queryTree(root, "/XML?JSON", messages)), R"("...xml...")");
}

TEST(PathRenderJSON, ArrayElementsHaveNoKeyAndGapsAreNull) {
    Array array;
    array.add(Node::makeString("a"));
    array.add(Node());
    array.add(Node::makeField(nullptr));
    Node root = Node::makeArray("Value", std::move(array));
    NITFMessages messages;
    const std::string text = renderJSON(root, 1e300, messages, {});
    EXPECT_EQ(text, R"(["a",null,""])");
    EXPECT_FALSE(nlohmann::json::parse(text, nullptr, false).is_discarded());
}

TEST_F(PathRenderTest, JSONDepthLimitsNesting) {
    EXPECT_EQ(narrow(read("/?format=JSON&depth=1")),
              R"({"Version": "02.10","FileHeader": "...object...","Images": "...array..."})");
    EXPECT_EQ(narrow(read("/?format=JSON&depth=0")), R"("...object...")");
    EXPECT_EQ(narrow(read("/Images?format=JSON&depth=0")), R"("...array...")");
    const auto two = nlohmann::json::parse(narrow(read("/?format=JSON&depth=2")));
    EXPECT_EQ(two["FileHeader"]["FHDR"], "NITF");
    EXPECT_EQ(two["Images"][0], "...object...");
    const auto three = nlohmann::json::parse(narrow(read("/?format=JSON&depth=3")));
    EXPECT_EQ(three["Images"][0]["IID1"], "IMG0");
    EXPECT_EQ(three["Images"][0]["Comments"], "...array...");
}

TEST_F(PathRenderTest, EmptyContainerPastTheDepthLimitIsLeftOutWithoutAMarker) {
    // "Data" is an empty dictionary: it is left out before the limit is looked at.
    const auto one = nlohmann::json::parse(narrow(read("/?format=JSON&depth=1")));
    EXPECT_FALSE(one.contains("Data"));
    EXPECT_EQ(one["FileHeader"], "...object...");
}

TEST_F(PathRenderTest, DepthLimitAsksContainersPastItOnlyWhetherTheyHoldAnything) {
    read("/?format=JSON&depth=1");
    EXPECT_EQ(tree.calls.fileHeader, 1);
    EXPECT_EQ(tree.calls.images, 1);
    EXPECT_EQ(tree.calls.image, 0);
}

TEST(PathRenderJSON, TextIsEscaped) {
    const std::string text = std::string("q\"b\\s/\b\t\n\f\r") + '\0' + '\x01' + '\x7f' + '\xe9';
    Node node = Node::makeString(text);
    NITFMessages messages;
    EXPECT_EQ(renderJSON(node, 1e300, messages, {}),
              "\"q\\\"b\\\\s/\\b\\t\\n\\f\\r \\u0001\\u007f\\u-017\"");
    // Without bytes above 127 the text is valid JSON.
    Node plain = Node::makeString(text.substr(0, text.size() - 1));
    const auto json = nlohmann::json::parse(renderJSON(plain, 1e300, messages, {}));
    EXPECT_EQ(json.get<std::string>(), std::string("q\"b\\s/\b\t\n\f\r \x01\x7f"));
}

TEST(PathRenderJSON, KeysAreWrittenAsTheyStand) {
    Dict dict;
    dict.add("@id", Node::makeString("7"));
    dict.add("#text", Node::makeString("t"));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(renderJSON(root, 1e300, messages, {}), R"({"@id": "7","#text": "t"})");
}

TEST_F(PathRenderTest, RawFormatKeepsThePadding) {
    EXPECT_EQ(wide(read("/FileHeader/FTITLE?RAW")), L"A small title" + std::wstring(67, L' '));
    EXPECT_EQ(wide(read("/FileHeader/FTITLE?format=RAW")),
              L"A small title" + std::wstring(67, L' '));
    EXPECT_EQ(wide(read("/FileHeader/FTITLE")), L"A small title");
    EXPECT_EQ(wide(read("/FileHeader/FTITLE?format=STRING")), L"A small title");
}

TEST(PathRenderText, StringNodesAreNotTrimmedAndNullFieldsAreSkipped) {
    Dict dict;
    dict.add("A", Node::makeString(" a "));
    dict.add("Body", Node::makeField(nullptr,
                                     [](NitroUtils::Encoder& e, nitf_Field*) { e.write("body"); }));
    dict.add("B", Node::makeString("b"));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(renderText(root, false, messages, {}), " a b");
}

TEST(PathRenderText, EmptyTextIsAnEmptyValue) {
    FieldStore fields;
    Dict dict;
    dict.add("Blank", Node::makeField(fields.make("", 10)));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_TRUE(std::holds_alternative<std::monostate>(queryTree(root, "/Blank", messages)));
    EXPECT_EQ(wide(queryTree(root, "/Blank?RAW", messages)), std::wstring(10, L' '));
    EXPECT_EQ(narrow(queryTree(root, "/Blank?XML", messages)),
              std::string(kDeclaration) + "<NITFFragment/>");
    EXPECT_EQ(narrow(queryTree(root, "/Blank?JSON", messages)), "\"\"");
}

TEST(PathRenderText, BinaryFieldsRenderAsBase64) {
    FieldStore fields;
    Dict dict;
    dict.add("Bin", Node::makeField(fields.make(std::string("\xff\x00\x10", 3), 3, NITF_BINARY)));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(wide(queryTree(root, "/Bin", messages)), L"/wAQ");
    EXPECT_EQ(narrow(queryTree(root, "/Bin?JSON", messages)), "\"/wAQ\"");
}

TEST(PathRenderText, FailedWalkRendersNothingInEveryFormat) {
    Node root = Node::makeDict(Dict());
    NITFMessages messages;
    for (const char* path : {"/x", "/x?XML", "/x?JSON", "/x?RAW"}) {
        EXPECT_TRUE(std::holds_alternative<std::monostate>(queryTree(root, path, messages)));
    }
    EXPECT_EQ(messages.size(), 4u);
}

TEST_F(PathRenderTest, XMLIgnoresThePostProcessor) {
    const std::string xml = narrow(read("/Images/0/NROWS?format=XML&parse=int&exp=@,2,*"));
    EXPECT_EQ(xml, std::string(kDeclaration) + "<NITFFragment>00000048</NITFFragment>");
}

}  // namespace

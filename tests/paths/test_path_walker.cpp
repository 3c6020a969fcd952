#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "paths/path_test_tree.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/base/text.h"

namespace {

using namespace path_test;
using Tessel::NITFMessages;

std::wstring wide(const any_type::value& value) {
    const auto* text = std::get_if<std::wstring>(&value);
    return text != nullptr ? *text : L"<not a wide string>";
}

class PathWalkerTest : public ::testing::Test {
protected:
    any_type::value read(std::string_view path) {
        Node root = tree.root();
        return queryTree(root, path, messages);
    }

    FileTree tree{2};
    NITFMessages messages;
};

TEST(PathSplitting, ComponentsAreTrimmedAndEmptyOnesDropped) {
    const std::vector<std::string> expected{"FileHeader", "FL"};
    EXPECT_EQ(splitPath("/FileHeader/FL"), expected);
    EXPECT_EQ(splitPath("FileHeader/FL"), expected);
    EXPECT_EQ(splitPath("//FileHeader/ FL /"), expected);
    EXPECT_EQ(splitPath("\t/FileHeader\r\v\n/FL"), expected);
    EXPECT_TRUE(splitPath("").empty());
    EXPECT_TRUE(splitPath("/").empty());
    EXPECT_TRUE(splitPath(" / // ").empty());
}

TEST(PathSplitting, InnerBlanksStayInAComponent) {
    EXPECT_EQ(splitPath("/DESs/CSSHPA DES/_desID"),
              (std::vector<std::string>{"DESs", "CSSHPA DES", "_desID"}));
}

TEST(PathSplitting, ItemsSplitAtTheirSeparator) {
    EXPECT_EQ(splitItems(" a , b,,c ", ','), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(splitItems("x=1&&y=2&", '&'), (std::vector<std::string>{"x=1", "y=2"}));
}

TEST_F(PathWalkerTest, RootPathsReadTheWholeTreeAsText) {
    EXPECT_EQ(wide(read("/")), std::to_wstring(tree.text()));
    EXPECT_EQ(wide(read("")), std::to_wstring(tree.text()));
    EXPECT_TRUE(messages.empty());
}

TEST_F(PathWalkerTest, FieldTextIsTrimmed) {
    EXPECT_EQ(wide(read("/FileHeader/FTITLE")), L"A small title");
    EXPECT_EQ(wide(read("/Images/1/NROWS")), L"00000049");
}

TEST(PathWalkerEdges, CountOfAnEmptyArrayIsZeroText) {
    FileTree tree(0);
    NITFMessages messages;
    Node root = tree.root();
    EXPECT_EQ(wide(queryTree(root, "/Images/_count", messages)), L"0");
    EXPECT_TRUE(messages.empty());
}

TEST_F(PathWalkerTest, ExistsPastTheEndOfAnArrayIsEmptyWithIndexMessage) {
    const any_type::value value = read("/Images/99/_exists");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(value));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/Images/99: Index Out of Range");
}

TEST_F(PathWalkerTest, DictionaryIndexGivesTheEntryAtThatPosition) {
    EXPECT_EQ(wide(read("/FileHeader/0")), L"NITF");
    EXPECT_EQ(wide(read("/FileHeader/FHDR")), L"NITF");
    EXPECT_EQ(wide(read("/FileHeader/3")), L"000000001234");
    EXPECT_EQ(wide(read("/1/2")), L"A small title");
}

TEST_F(PathWalkerTest, StepBelowAFieldIsFieldNotFound) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(read("/Images/0/NROWS/x")));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/Images/0/NROWS/x: Field not Found");
}

TEST_F(PathWalkerTest, NamesDifferingOnlyInCaseAreDifferent) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(read("/fileheader")));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/fileheader: Not Found");
}

TEST_F(PathWalkerTest, ExistsOnAPresentNodeIsOne) {
    EXPECT_EQ(wide(read("/FileHeader/_exists")), L"1");
    EXPECT_EQ(wide(read("/FileHeader/FL/_exists")), L"1");
    EXPECT_EQ(wide(read("/_exists")), L"1");
}

TEST_F(PathWalkerTest, ExistsIgnoresWhateverFollows) {
    EXPECT_EQ(wide(read("/FileHeader/_exists/more/components")), L"1");
    EXPECT_TRUE(messages.empty());
}

TEST_F(PathWalkerTest, ExistsOnAMissingNameIsEmptyNotZero) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(read("/FileHeader/NOPE/_exists")));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/FileHeader/NOPE: Not Found");
}

TEST(PathWalkerEdges, ExistsOnAPresentEmptyNodeIsZero) {
    Array gaps;
    gaps.add(Node());
    gaps.add(Node::makeString("x"));
    Dict dict;
    dict.add("Values", Node::makeArray("Value", std::move(gaps)));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(wide(queryTree(root, "/Values/0/_exists", messages)), L"0");
    EXPECT_EQ(wide(queryTree(root, "/Values/1/_exists", messages)), L"1");
    // The gap itself renders as an empty value, without a message.
    EXPECT_TRUE(std::holds_alternative<std::monostate>(queryTree(root, "/Values/0", messages)));
    EXPECT_TRUE(messages.empty());
}

TEST_F(PathWalkerTest, CountOfADictionaryIsItsNumberOfEntries) {
    EXPECT_EQ(wide(read("/FileHeader/_count")), L"4");
    EXPECT_EQ(wide(read("/_count")), L"4");
    EXPECT_EQ(wide(read("/Images/_count")), L"2");
    EXPECT_EQ(wide(read("/Images/0/Comments/_count")), L"2");
}

TEST_F(PathWalkerTest, DictionaryIndexAboveTheCountFails) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(read("/FileHeader/9")));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/FileHeader/9: Index 9 Out of Range");
}

TEST_F(PathWalkerTest, DictionaryIndexEqualToTheCountIsEmptyWithoutMessage) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(read("/FileHeader/4")));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(read("/FileHeader/4/_exists")));
    EXPECT_TRUE(messages.empty());
}

TEST_F(PathWalkerTest, ArrayIndexAtTheEndFails) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(read("/Images/2/IID1")));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/Images/2: Index Out of Range");
}

TEST_F(PathWalkerTest, MessagesNameThePathWalkedSoFar) {
    read("/Images/1/Comments/5/x");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/Images/1/Comments/5: Index Out of Range");
}

TEST_F(PathWalkerTest, DigitsBeyond32BitsAreANameNotAnIndex) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(read("/FileHeader/4294967296")));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(read("/Images/4294967296")));
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0], "/FileHeader/4294967296: Not Found");
    EXPECT_EQ(messages[1], "/Images/4294967296: Field not an Index");
}

TEST_F(PathWalkerTest, LargestIndexIsStillAnIndex) {
    read("/Images/4294967295");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/Images/4294967295: Index Out of Range");
}

TEST_F(PathWalkerTest, NameOnAnArrayWithoutLookupIsNotAnIndex) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(read("/Images/first/IID1")));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/Images/first: Field not an Index");
}

TEST_F(PathWalkerTest, EmptyReadOnlyDictionaryHasNoChildren) {
    EXPECT_EQ(wide(read("/Data/_count")), L"0");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(read("/Data/x")));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/Data/x: Not Found");
}

TEST_F(PathWalkerTest, StepBelowAStringIsFieldNotFound) {
    read("/Images/_count/x");  // "_count" ends the walk: nothing follows it
    EXPECT_TRUE(messages.empty());
    Dict dict;
    dict.add("S", Node::makeString("text"));
    Node root = Node::makeDict(std::move(dict));
    queryTree(root, "/S/x", messages);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/S/x: Field not Found");
}

TEST(PathWalkerEdges, ArrayLookupReachesAnElementByName) {
    Array array;
    array.add(Node::makeString("zero"));
    array.lookup = [](std::string_view key, NITFMessages&, const PathList& path) {
        if (key != "named") {
            return Node();
        }
        Dict dict;
        dict.add("where", Node::makeString(pathText(path)));
        return Node::makeDict(std::move(dict));
    };
    Dict dict;
    dict.add("List", Node::makeArray("Item", std::move(array)));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(wide(queryTree(root, "/List/named/where", messages)), L"/List/named");
    EXPECT_EQ(wide(queryTree(root, "/List/0", messages)), L"zero");
    EXPECT_TRUE(messages.empty());
    EXPECT_TRUE(std::holds_alternative<std::monostate>(queryTree(root, "/List/other", messages)));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/List/other: Field not an Index");
}

TEST(PathWalkerEdges, FirstOfRepeatedNamesWinsAndIndexesReachTheOthers) {
    Dict dict;
    dict.add("A", Node::makeString("first"));
    dict.add("A", Node::makeString("second"));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    EXPECT_EQ(wide(queryTree(root, "/A", messages)), L"first");
    EXPECT_EQ(wide(queryTree(root, "/1", messages)), L"second");
}

TEST_F(PathWalkerTest, OnlyTheProvidersOnTheWayAreAsked) {
    read("/FileHeader/FL");
    EXPECT_EQ(tree.calls.root, 1);
    EXPECT_EQ(tree.calls.fileHeader, 1);
    EXPECT_EQ(tree.calls.images, 0);
    EXPECT_EQ(tree.calls.image, 0);
    read("/Images/1/IID1");
    EXPECT_EQ(tree.calls.images, 1);
    EXPECT_EQ(tree.calls.image, 1);
}

TEST_F(PathWalkerTest, ProvidersAreAskedAgainOnEveryEntry) {
    Node root = tree.root();
    const PathWalk first(root, splitPath("/FileHeader"), messages);
    const PathWalk second(root, splitPath("/FileHeader/FL"), messages);
    EXPECT_EQ(tree.calls.root, 2);
    EXPECT_EQ(tree.calls.fileHeader, 1);  // the first walk ended on it without entering
}

TEST(PathWalkerEdges, ProviderSeesThePathOfItsNode) {
    std::string seen;
    Dict dict;
    dict.add("Outer", Node::makeDict([&seen](NITFMessages&, const PathList& path) {
                 seen = pathText(path);
                 Dict content;
                 content.add("X", Node::makeString("x"));
                 return content;
             }));
    Node root = Node::makeDict(std::move(dict));
    NITFMessages messages;
    queryTree(root, "/Outer/X", messages);
    EXPECT_EQ(seen, "/Outer");
}

TEST(PathWalkerEdges, WalkResultIsTheSharedEmptyNodeOnFailure) {
    Node root = Node::makeDict(Dict());
    NITFMessages messages;
    const PathWalk walk(root, {"missing"}, messages);
    EXPECT_TRUE(walk.failed());
    EXPECT_EQ(&walk.result(), &emptyNode());
    EXPECT_TRUE(emptyNode().isEmpty());
}

TEST(PathWalkerEdges, RootWithNeitherProviderNorContentIsAnEmptyDictionary) {
    Node root;
    root.kind = NodeKind::Dictionary;
    NITFMessages messages;
    EXPECT_EQ(wide(queryTree(root, "/_count", messages)), L"0");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(queryTree(root, "/", messages)));
}

TEST(NodeKinds, NamesInMessages) {
    EXPECT_EQ(kindName(NodeKind::Empty), "Empty");
    EXPECT_EQ(kindName(NodeKind::String), "String");
    EXPECT_EQ(kindName(NodeKind::Field), "Field");
    EXPECT_EQ(kindName(NodeKind::Dictionary), "Dictionary");
    EXPECT_EQ(kindName(NodeKind::Array), "Array");
    EXPECT_EQ(kindName(static_cast<NodeKind>(7)), "Unknown");
}

TEST(NodeKinds, FlagsAndFactories) {
    const Node readOnly = Node::makeField(nullptr, {}, {}, FlagReadOnly);
    EXPECT_EQ(readOnly.kind, NodeKind::Field);
    EXPECT_TRUE(readOnly.isReadOnly());
    EXPECT_FALSE(readOnly.isXML());
    const Node xml = Node::makeDict(Dict(), FlagXML);
    EXPECT_TRUE(xml.isXML());
    const Node array = Node::makeArray("Band", Array());
    EXPECT_EQ(array.kind, NodeKind::Array);
    EXPECT_EQ(array.elementName, "Band");
}

}  // namespace

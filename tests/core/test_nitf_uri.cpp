#include <gtest/gtest.h>

#include "core/NITFExtensions.h"
#include "tessel/core/NITFURI.h"

#include <map>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

using namespace Tessel;

namespace {

template <typename Exception>
std::string messageOfThrow(const std::wstring& text) {
    try {
        NITFURI uri(text, L"");
    } catch (const Exception& error) {
        return error.what();
    }
    return "no exception";
}

}  // namespace

// Forms of the text

TEST(NITFURIForms, IndexPrefixGivesImageIndexAndPath) {
    const NITFURI uri(L"NITF_IM:3:C:/x/a.ntf", L"");
    EXPECT_EQ(uri.object_index(), 3u);
    EXPECT_EQ(uri.object_type(), FileObject::Image);
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:/x/a.ntf");
    EXPECT_EQ(uri.getURI_u16(URIParts::Everything), L"C:/x/a.ntf#IM_3");
}

TEST(NITFURIForms, IndexPrefixIgnoresCase) {
    const NITFURI uri(L"nitf_im:7:C:/x/a.ntf", L"");
    EXPECT_EQ(uri.object_type(), FileObject::Image);
    EXPECT_EQ(uri.object_index(), 7u);
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:/x/a.ntf");
}

TEST(NITFURIForms, ImageFragmentGivesIndexInAnyCase) {
    for (const wchar_t* text : {L"C:/x/a.ntf#IM_12", L"C:/x/a.ntf#im_12"}) {
        const NITFURI uri(text, L"");
        EXPECT_EQ(uri.object_index(), 12u) << text;
        EXPECT_EQ(uri.object_type(), FileObject::Image) << text;
        EXPECT_TRUE(uri.object_name().empty()) << text;
        EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:/x/a.ntf") << text;
    }
}

TEST(NITFURIForms, ImageFragmentMustMatchTheWholeText) {
    const NITFURI uri(L"C:/x/a.ntf#IM_12x", L"");
    EXPECT_EQ(uri.object_type(), FileObject::Named);
    EXPECT_EQ(uri.object_name(), L"IM_12x");
    EXPECT_EQ(uri.object_index(), 0u);
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:/x/a.ntf");
}

TEST(NITFURIForms, NamedFragmentMayHoldBlanks) {
    const NITFURI uri(L"C:/x/a.ntf#Segment 1", L"");
    EXPECT_EQ(uri.object_type(), FileObject::Named);
    EXPECT_EQ(uri.object_name(), L"Segment 1");
    EXPECT_EQ(uri.getURI_u16(URIParts::Everything), L"C:/x/a.ntf#Segment 1");
}

TEST(NITFURIForms, NameWithDotStaysPartOfThePath) {
    const NITFURI uri(L"C:/x/a.ntf#v1.2", L"");
    EXPECT_FALSE(uri.has_object());
    EXPECT_EQ(uri.stem(), L"a.ntf#v1");
    EXPECT_EQ(uri.extension(), L".2");
}

TEST(NITFURIForms, FragmentSplitsAtTheLastHash) {
    const NITFURI uri(L"C:/x/a#b.ntf#c-d_e", L"");
    EXPECT_EQ(uri.object_name(), L"c-d_e");
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:/x/a#b.ntf");
}

TEST(NITFURIForms, OverflowingIndexDigitsLeaveZero) {
    const NITFURI fragment(L"C:/x/a.ntf#IM_99999999999999999999999", L"");
    EXPECT_EQ(fragment.object_type(), FileObject::Image);
    EXPECT_EQ(fragment.object_index(), 0u);
    EXPECT_EQ(fragment.getURI_u16(URIParts::Path), L"C:/x/a.ntf");

    const NITFURI prefix(L"NITF_IM:18446744073709551616:C:/x/a.ntf", L"");
    EXPECT_EQ(prefix.object_type(), FileObject::Image);
    EXPECT_EQ(prefix.object_index(), 0u);

    const NITFURI largest(L"NITF_IM:18446744073709551615:C:/x/a.ntf", L"");
    EXPECT_EQ(largest.object_index(), 18446744073709551615u);
}

// Profile and object as path components

TEST(NITFURIComponents, ProfileAfterNITFFileName) {
    const NITFURI uri(L"C:/x/a.ntf/Default", L"");
    EXPECT_EQ(uri.profile_name(), L"Default");
    EXPECT_FALSE(uri.has_object());
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:/x/a.ntf");
}

TEST(NITFURIComponents, ProfileAndImageComponentKeepTheName) {
    const NITFURI uri(L"C:/x/a.ntf/Prof/IM_4", L"");
    EXPECT_EQ(uri.profile_name(), L"Prof");
    EXPECT_EQ(uri.object_index(), 4u);
    EXPECT_EQ(uri.object_type(), FileObject::Image);
    EXPECT_EQ(uri.object_name(), L"IM_4");
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:/x/a.ntf");
    EXPECT_EQ(uri.getURI_u16(URIParts::Everything), L"C:/x/a.ntf/Prof#IM_4");
}

TEST(NITFURIComponents, LowerCaseImageComponentStaysAName) {
    const NITFURI uri(L"C:/x/a.ntf/Prof/im_4", L"");
    EXPECT_EQ(uri.profile_name(), L"Prof");
    EXPECT_EQ(uri.object_name(), L"im_4");
    EXPECT_EQ(uri.object_type(), FileObject::Named);
    EXPECT_EQ(uri.getURI_u16(URIParts::Everything), L"C:/x/a.ntf/Prof#im_4");
}

TEST(NITFURIComponents, ImageComponentWithoutNumberThrows) {
    EXPECT_THROW(NITFURI(L"C:/x/a.ntf/Prof/IM_x", L""), std::invalid_argument);
    EXPECT_EQ(messageOfThrow<std::invalid_argument>(L"C:/x/a.ntf/Prof/IM_x"),
              "invalid stoi argument");
    EXPECT_EQ(messageOfThrow<std::invalid_argument>(L"C:/x/a.ntf/Prof/IM_"),
              "invalid stoi argument");
}

TEST(NITFURIComponents, ImageComponentOutOfRangeThrows) {
    EXPECT_THROW(NITFURI(L"C:/x/a.ntf/Prof/IM_2147483648", L""), std::out_of_range);
    EXPECT_EQ(messageOfThrow<std::out_of_range>(L"C:/x/a.ntf/Prof/IM_99999999999"),
              "stoi argument out of range");
    EXPECT_EQ(NITFURI(L"C:/x/a.ntf/Prof/IM_2147483647", L"").object_index(), 2147483647u);
}

TEST(NITFURIComponents, ImageComponentIsReadLikeStoi) {
    // Leading blanks and a sign are accepted, and text after the digits is ignored.
    const NITFURI trailing(L"C:/x/a.ntf/Prof/IM_4x", L"");
    EXPECT_EQ(trailing.object_type(), FileObject::Image);
    EXPECT_EQ(trailing.object_index(), 4u);
    EXPECT_EQ(trailing.object_name(), L"IM_4x");
    EXPECT_EQ(NITFURI(L"C:/x/a.ntf/Prof/IM_+5", L"").object_index(), 5u);
}

TEST(NITFURIComponents, UpperCaseNITFExtensionSplitsProfile) {
    const NITFURI uri(L"C:/x/A.NTF/Prof", L"");
    EXPECT_EQ(uri.profile_name(), L"Prof");
    EXPECT_EQ(uri.extension(), L".NTF");
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:/x/A.NTF");
}

TEST(NITFURIComponents, OtherParentExtensionKeepsWholePath) {
    const NITFURI uri(L"C:/x/a.tif/Prof", L"");
    EXPECT_FALSE(uri.has_profile());
    EXPECT_FALSE(uri.has_object());
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:/x/a.tif/Prof");
    EXPECT_EQ(uri.stem(), L"Prof");
    EXPECT_EQ(uri.relative_path(), L"x/a.tif");
}

TEST(NITFURIComponents, ProductExtensionSplitsProfileAndObject) {
    const NITFURI uri(L"/data/a.i21/Prof/Band 1", L"");
    EXPECT_EQ(uri.profile_name(), L"Prof");
    EXPECT_EQ(uri.object_name(), L"Band 1");
    EXPECT_EQ(uri.object_type(), FileObject::Named);
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"/data/a.i21");
}

TEST(NITFURIComponents, FileWithExtensionIsNotSplit) {
    const NITFURI uri(L"C:/x/a.ntf/b.ntf", L"");
    EXPECT_FALSE(uri.has_profile());
    EXPECT_EQ(uri.stem(), L"b");
    EXPECT_EQ(uri.relative_path(), L"x/a.ntf");
}

TEST(NITFURIComponents, FragmentAndProfileCombine) {
    const NITFURI uri(L"C:\\data\\a.ntf/Default#IM_2", L"");
    EXPECT_EQ(uri.profile_name(), L"Default");
    EXPECT_EQ(uri.object_index(), 2u);
    EXPECT_EQ(uri.cacheKey(), L"C:/data/a.ntf");
    EXPECT_EQ(NITFURI(L"C:/data/a.ntf/Default/IM_2", L"").getURI_u16(URIParts::Everything),
              L"C:/data/a.ntf/Default#IM_2");
    EXPECT_EQ(NITFURI(L"NITF_IM:2:C:/data/a.ntf/Default", L"").getURI_u16(URIParts::Everything),
              L"C:/data/a.ntf/Default#IM_2");
}

// Resolution against the base

TEST(NITFURIBase, RelativeTextThatEndsTheBaseGivesTheBase) {
    const NITFURI uri(L"a.ntf", L"C:\\x\\a.ntf");
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:\\x/a.ntf");
    EXPECT_EQ(uri.getOriginalURI(), L"a.ntf");
}

TEST(NITFURIBase, RelativeTextIsAppendedToAFolder) {
    const NITFURI uri(L"a.ntf", L"C:\\x");
    EXPECT_EQ(uri.root_name(), L"C:\\");
    EXPECT_EQ(uri.relative_path(), L"x");
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:\\x/a.ntf");
    EXPECT_EQ(uri.cacheKey(), L"C:/x/a.ntf");
}

TEST(NITFURIBase, NoSeparatorIsAddedAfterOneThatEndsTheBase) {
    EXPECT_EQ(NITFURI(L"a.ntf", L"/data/").getURI_u16(URIParts::Path), L"/data/a.ntf");
    EXPECT_EQ(NITFURI(L"a.ntf", L"C:\\data\\").cacheKey(), L"C:/data/a.ntf");
}

TEST(NITFURIBase, SlashesMatchBackslashesOfTheBase) {
    const NITFURI uri(L"x/a.ntf", L"C:\\x\\a.ntf");
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:\\x/a.ntf");
}

TEST(NITFURIBase, RelativeTextWithoutBaseStaysRelative) {
    const NITFURI uri(L"x/a.ntf", L"");
    EXPECT_TRUE(uri.root_name().empty());
    EXPECT_EQ(uri.relative_path(), L"x");
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"x/a.ntf");
    EXPECT_EQ(NITFURI(L"a.ntf", L"").getURI_u16(URIParts::Path), L"a.ntf");
}

TEST(NITFURIBase, NetworkAndRootedPathsAreAbsolute) {
    const NITFURI network(L"\\\\server\\share\\a.ntf", L"C:\\base");
    EXPECT_EQ(network.root_name(), L"\\\\server\\");
    EXPECT_EQ(network.relative_path(), L"share");
    EXPECT_EQ(network.cacheKey(), L"//server/share/a.ntf");

    const NITFURI rooted(L"/a.ntf", L"C:\\base");
    EXPECT_EQ(rooted.root_name(), L"/");
    EXPECT_TRUE(rooted.relative_path().empty());
    EXPECT_EQ(rooted.stem(), L"a");
}

TEST(NITFURIBase, DriveWithoutSeparatorIsAbsolute) {
    const NITFURI uri(L"d:a.ntf", L"C:\\base");
    EXPECT_EQ(uri.root_name(), L"d:");
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"d:/a.ntf");
}

TEST(NITFURIBase, EmptyTextResolvesToTheBase) {
    const NITFURI uri(L"", L"C:/x/a.ntf");
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:/x/a.ntf");
    EXPECT_TRUE(uri.getOriginalURI().empty());
}

TEST(NITFURIBase, NarrowTextIsConvertedFromUTF8) {
    const NITFURI uri("C:/d\xC3\xA9j\xC3\xA0/a.ntf#IM_1", "");
    EXPECT_EQ(uri.getOriginalURI(), L"C:/d\u00E9j\u00E0/a.ntf#IM_1");
    EXPECT_EQ(uri.relative_path(), L"d\u00E9j\u00E0");
    EXPECT_EQ(uri.getURI_u8(URIParts::Everything), "C:/d\xC3\xA9j\xC3\xA0/a.ntf#IM_1");
    EXPECT_EQ(NITFURI("a.ntf", "/base").cacheKey(), L"/base/a.ntf");
}

// Splitting of the path

TEST(NITFURISplit, FileNamesFollowFileSystemRules) {
    EXPECT_EQ(NITFURI(L"C:/x/.profile", L"").stem(), L".profile");
    EXPECT_TRUE(NITFURI(L"C:/x/.profile", L"").extension().empty());
    EXPECT_EQ(NITFURI(L"C:/x/a.", L"").extension(), L".");
    EXPECT_EQ(NITFURI(L"C:/x/a.", L"").stem(), L"a");
    EXPECT_EQ(NITFURI(L"C:/x/..", L"").stem(), L"..");
    EXPECT_TRUE(NITFURI(L"C:/x/..", L"").extension().empty());
    EXPECT_EQ(NITFURI(L"C:/x/a.b.ntf", L"").stem(), L"a.b");
}

TEST(NITFURISplit, StreamNameIsNoPartOfStemOrExtension) {
    const NITFURI uri(L"C:/x/a.ntf:stream.txt", L"");
    EXPECT_EQ(uri.stem(), L"a");
    EXPECT_EQ(uri.extension(), L".ntf");
}

TEST(NITFURISplit, RepeatedSeparatorsLeaveNoTrailingOnes) {
    const NITFURI uri(L"C:/x/y//a.ntf", L"");
    EXPECT_EQ(uri.relative_path(), L"x/y");
    EXPECT_EQ(uri.cacheKey(), L"C:/x/y/a.ntf");
}

TEST(NITFURISplit, FileAtTheRootGetsASeparatorAfterTheRoot) {
    // The stem always follows a "/" when there is text before it.
    EXPECT_EQ(NITFURI(L"C:/a.ntf", L"").getURI_u16(URIParts::Path), L"C://a.ntf");
    EXPECT_EQ(NITFURI(L"/a.ntf", L"").nativePath(), std::filesystem::path("//a.ntf"));
}

TEST(NITFURISplit, VeryLongTextIsTakenAsPlainPath) {
    const std::wstring folder(200000, L'a');
    const NITFURI uri(L"/" + folder + L"/b.ntf#IM_3", L"C:/base");
    EXPECT_FALSE(uri.has_object());
    EXPECT_EQ(uri.root_name(), L"/");
    EXPECT_EQ(uri.relative_path(), folder);
    EXPECT_EQ(uri.stem(), L"b");
    const NITFURI relative(folder + L".ntf", L"C:/base");
    EXPECT_EQ(relative.relative_path(), L"base");
}

// Assembly

TEST(NITFURIAssembly, PartsSelectWhatIsAssembled) {
    const NITFURI uri(L"C:/data/sub/a.ntf/Default/IM_2", L"");
    EXPECT_EQ(uri.getURI_u16(URIParts::Folder), L"C:/data/sub");
    EXPECT_EQ(uri.getURI_u16(URIParts::FileName), L"a.ntf");
    EXPECT_EQ(uri.getURI_u16(URIParts::Path), L"C:/data/sub/a.ntf");
    EXPECT_EQ(uri.getURI_u16(URIParts::Everything), L"C:/data/sub/a.ntf/Default#IM_2");
    EXPECT_EQ(uri.getURI_u16(URIParts::Profile | URIParts::Object), L"Default#IM_2");
    EXPECT_EQ(uri.getURI_u16(URIParts::Object), L"IM_2");
    EXPECT_EQ(uri.getURI_u16(URIParts::None), L"");
    EXPECT_EQ(uri.getURI_u8(URIParts::Everything), "C:/data/sub/a.ntf/Default#IM_2");
}

TEST(NITFURIAssembly, FlagValuesAreFixed) {
    EXPECT_EQ(static_cast<uint32_t>(URIParts::Root), 1u);
    EXPECT_EQ(static_cast<uint32_t>(URIParts::Relative), 2u);
    EXPECT_EQ(static_cast<uint32_t>(URIParts::Stem), 16u);
    EXPECT_EQ(static_cast<uint32_t>(URIParts::Extension), 32u);
    EXPECT_EQ(static_cast<uint32_t>(URIParts::Profile), 256u);
    EXPECT_EQ(static_cast<uint32_t>(URIParts::Object), 512u);
    EXPECT_EQ(static_cast<uint32_t>(URIParts::Folder), 3u);
    EXPECT_EQ(static_cast<uint32_t>(URIParts::FileName), 48u);
    EXPECT_EQ(static_cast<uint32_t>(URIParts::Path), 51u);
    EXPECT_EQ(static_cast<uint32_t>(URIParts::Everything), 819u);
    EXPECT_EQ(static_cast<int>(FileObject::None), 0);
    EXPECT_EQ(static_cast<int>(FileObject::Named), 1);
    EXPECT_EQ(static_cast<int>(FileObject::Image), 2);
}

TEST(NITFURIAssembly, CacheKeyUnifiesSeparatorsButKeepsCase) {
    const NITFURI backslashed(L"C:\\x\\a.ntf#IM_2", L"");
    const NITFURI plain(L"C:/x/a.ntf", L"");
    EXPECT_EQ(backslashed.cacheKey(), plain.cacheKey());
    EXPECT_EQ(plain.cacheKey(), L"C:/x/a.ntf");
    EXPECT_NE(NITFURI(L"c:/x/a.ntf", L"").cacheKey(), plain.cacheKey());
}

TEST(NITFURIAssembly, NativePathIsTheWholePath) {
    EXPECT_EQ(NITFURI(L"/data/x/a.ntf/Prof#IM_1", L"").nativePath(),
              std::filesystem::path("/data/x/a.ntf"));
    EXPECT_EQ(NITFURI(L"/d\u00E9j\u00E0/a.ntf", L"").nativePath().string(),
              "/d\xC3\xA9j\xC3\xA0/a.ntf");
}

TEST(NITFURIAssembly, DefaultURIIsEmpty) {
    const NITFURI uri;
    EXPECT_EQ(uri.getURI_u16(URIParts::Everything), L"");
    EXPECT_EQ(uri.object_type(), FileObject::None);
    EXPECT_EQ(uri.object_index(), 0u);
    EXPECT_FALSE(uri.has_profile());
    EXPECT_FALSE(uri.has_object());
    EXPECT_TRUE(uri.cacheKey().empty());
}

// Setters

TEST(NITFURISetters, ObjectNameMakesANamedObjectWithIndexZero) {
    NITFURI uri(L"C:/x/a.ntf#IM_5", L"");
    uri.object_name(L"TEXT");
    EXPECT_EQ(uri.object_type(), FileObject::Named);
    EXPECT_EQ(uri.object_index(), 0u);
    EXPECT_EQ(uri.getURI_u16(URIParts::Everything), L"C:/x/a.ntf#TEXT");
}

TEST(NITFURISetters, ObjectIndexClearsTheName) {
    NITFURI uri(L"C:/x/a.ntf#Label", L"");
    uri.object_index(7, FileObject::Image);
    EXPECT_TRUE(uri.object_name().empty());
    EXPECT_EQ(uri.object_index(), 7u);
    EXPECT_EQ(uri.getURI_u16(URIParts::Everything), L"C:/x/a.ntf#IM_7");
    uri.object_index(0, FileObject::None);
    EXPECT_FALSE(uri.has_object());
    EXPECT_EQ(uri.getURI_u16(URIParts::Everything), L"C:/x/a.ntf");
}

TEST(NITFURISetters, FileNameSettersChangeTheKeyButNotTheOriginal) {
    NITFURI uri(L"C:/x/a.ntf", L"");
    uri.stem(L"b");
    uri.extension(L".nsf");
    EXPECT_EQ(uri.cacheKey(), L"C:/x/b.nsf");
    EXPECT_EQ(uri.getOriginalURI(), L"C:/x/a.ntf");
    EXPECT_FALSE(uri.has_object());
}

TEST(NITFURISetters, ProfileSetterTouchesOnlyTheProfile) {
    NITFURI uri(L"C:/x/a.ntf#IM_1", L"");
    EXPECT_FALSE(uri.has_profile());
    uri.profile_name(L"Default");
    EXPECT_TRUE(uri.has_profile());
    EXPECT_EQ(uri.getURI_u16(URIParts::Everything), L"C:/x/a.ntf/Default#IM_1");
    EXPECT_EQ(uri.cacheKey(), L"C:/x/a.ntf");
    uri.profile_name(L"");
    EXPECT_FALSE(uri.has_profile());
}

TEST(NITFURISetters, ObjectTupleSetsAndGetsAllThree) {
    NITFURI uri(L"C:/x/a.ntf/Prof/IM_4", L"");
    EXPECT_EQ(uri.object(), std::make_tuple(FileObject::Image, std::wstring(L"IM_4"), size_t{4}));
    uri.object({FileObject::Named, L"LABEL", 9});
    EXPECT_EQ(uri.object_type(), FileObject::Named);
    EXPECT_EQ(uri.object_name(), L"LABEL");
    EXPECT_EQ(uri.object_index(), 9u);
}

TEST(NITFURISetters, CopiesAreIndependent) {
    const NITFURI original(L"C:/x/a.ntf/Prof#IM_1", L"");
    NITFURI copy = original;
    copy.profile_name(L"Other");
    EXPECT_EQ(original.profile_name(), L"Prof");
    NITFURI moved = std::move(copy);
    EXPECT_EQ(moved.profile_name(), L"Other");
    static_assert(std::is_nothrow_move_constructible_v<NITFURI>);
}

// The extension set

TEST(NITFExtensionSet, LookupIgnoresCaseAndNeedsTheDot) {
    EXPECT_TRUE(NITFURI::is_nitf_extension(L".YZ8"));
    EXPECT_FALSE(NITFURI::is_nitf_extension(L".yza"));
    EXPECT_FALSE(NITFURI::is_nitf_extension(L".a1i"));
    EXPECT_FALSE(NITFURI::is_nitf_extension(L"ntf"));
    EXPECT_TRUE(NITFURI::is_nitf_extension(".NtF"));
    EXPECT_FALSE(NITFURI::is_nitf_extension(""));
    EXPECT_FALSE(NITFURI::is_nitf_extension(L""));
}

TEST(NITFExtensionSet, NamesAndFamilyGaps) {
    const std::map<std::string, bool> expected = {
        {".ntf", true},  {".nitf", true},  {".nsf", true},  {".nsif", true}, {".r0", true},
        {".r01", false}, {".r0a", false},  {".hr1", true},  {".hr8", true},  {".hr0", false},
        {".hr9", false}, {".gn5", false},  {".gn6", false}, {".gnj", true},  {".gn1", true},
        {".pbf", false}, {".pbe", true},   {".pdf", false}, {".png", false}, {".pnh", true},
        {".prj", false}, {".prh", true},   {".pth", false}, {".ptj", true},  {".yza", false},
        {".yz8", true},  {".yz9", true},   {".yzj", true},  {".i1a", true},  {".zzj", true},
        {".c1i", false}, {".ntf1", false}, {".tif", false}, {".jpg", false},
    };
    for (const auto& [extension, inSet] : expected) {
        EXPECT_EQ(NITFURI::is_nitf_extension(extension), inSet) << extension;
        EXPECT_EQ(NITFURI::is_nitf_extension(std::wstring(extension.begin(), extension.end())),
                  inSet)
            << extension;
    }
}

TEST(NITFExtensionSet, TableHasOneDuplicate) {
    const auto entries = NITFExtensions::tableEntries();
    EXPECT_EQ(entries.size(), 3639u);
    EXPECT_EQ(NITFExtensions::narrowSet().size(), 3638u);
    EXPECT_EQ(NITFExtensions::wideSet().size(), 3638u);
    for (const std::string& entry : entries) {
        EXPECT_EQ(entry.front(), '.') << entry;
        for (char c : entry) {
            EXPECT_FALSE(c >= 'A' && c <= 'Z') << entry;
        }
    }
}

TEST(NITFExtensionSet, FamilySizes) {
    const auto& set = NITFExtensions::narrowSet();
    std::map<std::string, size_t> familySizes;
    for (const std::string& entry : set) {
        if (entry.size() == 4 && entry != ".ntf" && entry != ".nsf" &&
            entry.compare(0, 3, ".hr") != 0) {
            ++familySizes[entry.substr(1, 2)];
        }
    }
    EXPECT_EQ(familySizes.size(), 202u);
    EXPECT_EQ(familySizes["gn"], 13u);
    for (const char* family : {"pb", "pd", "pn", "pr", "pt", "yz"}) {
        EXPECT_EQ(familySizes[family], 17u) << family;
    }
    size_t full = 0;
    for (const auto& [family, size] : familySizes) {
        full += size == 18 ? 1 : 0;
    }
    EXPECT_EQ(full, 195u);
}

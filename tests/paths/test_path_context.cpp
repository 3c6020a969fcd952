#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/nitf/nitf_test_files.h"
#include "support/TestPaths.h"
#include "tessel/paths/PathContext.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/base/text.h"
#include "tessel/platform/nitf.h"

namespace {

using namespace NITFPathInternal;
using Tessel::NITFMessages;

// A context over a record read from the demo file; it has no images and no block cache.
class RecordContext : public PathContext {
public:
    explicit RecordContext(nitf_Record* record, nitf_Reader* reader)
        : record_(record), reader_(reader) {}
    nitf_Record*& getRecord() override { return record_; }
    nitf_Reader*& getReader() override { return reader_; }
    Tessel::BlockCache& getBlockCache() override {
        throw std::logic_error("no block cache in this context");
    }
    std::shared_ptr<Tessel::NITFImage> getImage(int, NITFMessages&) override { return {}; }

private:
    nitf_Record* record_;
    nitf_Reader* reader_;
};

std::wstring wide(const any_type::value& value) {
    const auto* text = std::get_if<std::wstring>(&value);
    return text != nullptr ? *text : L"<not a wide string>";
}

bool isEmpty(const any_type::value& value) {
    return std::holds_alternative<std::monostate>(value);
}

template <typename T>
std::vector<T*> listOf(nitf_List* list) {
    std::vector<T*> items;
    for (nitf_ListNode* node = list != nullptr ? list->first : nullptr; node != nullptr;
         node = node->next) {
        items.push_back(static_cast<T*>(node->data));
    }
    return items;
}

// Small builders in place of the path dictionary: a few fields per level, and per TRE
// its tag and the label of the section it came from.
class PathContextTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(TESSEL_SAMPLE_FILE)) {
            GTEST_SKIP() << "demo file not built";
        }
        file_ = std::make_unique<nitf_test::OpenFile>(TESSEL_SAMPLE_FILE);
        ASSERT_NE(file_->record, nullptr) << file_->error.message;
        context_ = std::make_unique<RecordContext>(file_->record, file_->reader);
        previous_ = installRootBuilders(builders());
        installed_ = true;
    }

    void TearDown() override {
        if (installed_) {
            installRootBuilders(std::move(previous_));
        }
    }

    static Dict segmentDict(nitf_ImageSegment* segment, int index) {
        Dict dict;
        dict.add("IID1", Node::makeField(segment->subheader->imageId));
        dict.add("NROWS", Node::makeField(segment->subheader->numRows));
        dict.add("_index", Node::makeString(std::to_string(index)));
        return dict;
    }

    RootBuilders builders() {
        RootBuilders b;
        b.root = [](PathContext& context) {
            nitf_Record* record = context.getRecord();
            Dict root;
            root.add("FileHeader", Node::makeDict([record](NITFMessages&, const PathList&) {
                         Dict header;
                         header.add("FHDR", Node::makeField(record->header->fileHeader));
                         header.add("FTITLE", Node::makeField(record->header->fileTitle));
                         return header;
                     }));
            root.add("Images", Node::makeArray("Image", [record](NITFMessages&, const PathList&) {
                         Array images;
                         int index = 0;
                         for (auto* segment : listOf<nitf_ImageSegment>(record->images)) {
                             images.add(Node::makeDict(segmentDict(segment, index++)));
                         }
                         return images;
                     }));
            return root;
        };
        b.image = [](nitf_ImageSegment* segment, int index, PathContext&) {
            return segmentDict(segment, index);
        };
        b.appendSection = [this](Dict& target, nitf_Extensions* section, PathContext&,
                                 NITFMessages&, const PathList&) {
            if (section == nullptr) {
                return;
            }
            for (auto* tre : listOf<nitf_TRE>(section->ref)) {
                Dict dict;
                dict.add("_treID", Node::makeString(tre->tag));
                dict.add("_section", Node::makeString(labels_[section]));
                target.add(tre->tag, Node::makeDict(std::move(dict)));
            }
        };
        return b;
    }

    void addTRE(nitf_Extensions* section, const char* tag, const std::string& label) {
        nitf_Error error{};
        nitf_TRE* tre = nitf_TRE_createSkeleton(tag, &error);
        ASSERT_NE(tre, nullptr);
        ASSERT_TRUE(nitf_Extensions_appendTRE(section, tre, &error));
        labels_[section] = label;
    }

    void setOverflow(nitf_Field* field, const char* value) {
        nitf_Error error{};
        ASSERT_TRUE(nitf_Field_setString(field, value, &error)) << error.message;
    }

    // Puts TREs in every section that "TRE" merges, for image 0 and the file.
    void spreadTREs() {
        nitf_Record* record = file_->record;
        auto* image = listOf<nitf_ImageSegment>(record->images).at(0)->subheader;
        labels_[image->extendedSection] = "image XHD";
        addTRE(image->userDefinedSection, "IMGUDT", "image UD");
        addTRE(record->header->userDefinedSection, "FILEUD", "file UD");
        addTRE(record->header->extendedSection, "RPC00B", "file XHD");
        addTRE(record->header->extendedSection, "FILETR", "file XHD");
        nitf_Error error{};
        nitf_DESegment* imageOverflow = listOf<nitf_DESegment>(record->dataExtensions).at(0);
        nitf_DESegment* fileOverflow = nitf_Record_newDataExtensionSegment(record, &error);
        ASSERT_NE(fileOverflow, nullptr);
        addTRE(imageOverflow->subheader->userDefinedSection, "IMGOVF", "image DES");
        addTRE(fileOverflow->subheader->userDefinedSection, "FILOVF", "file DES");
        setOverflow(image->extendedHeaderOverflow, "001");
        setOverflow(record->header->extendedHeaderOverflow, "002");
    }

    any_type::value read(int image, std::string_view path) {
        return context_->GetByPathAsVariant(image, path, messages_);
    }

    std::unique_ptr<nitf_test::OpenFile> file_;
    std::unique_ptr<RecordContext> context_;
    std::map<nitf_Extensions*, std::string> labels_;
    RootBuilders previous_;
    bool installed_ = false;
    NITFMessages messages_;
};

TEST_F(PathContextTest, RootComesFromTheInstalledBuilders) {
    EXPECT_EQ(wide(read(0, "/FileHeader/FTITLE")), L"TesselLib sample");
    EXPECT_EQ(wide(read(0, "/Images/_count")), L"2");
    EXPECT_EQ(wide(read(0, "FileHeader/0")), L"NITF");
    EXPECT_TRUE(messages_.empty());
}

TEST_F(PathContextTest, ImageShortcutReadsTheSegmentOfTheIndex) {
    EXPECT_EQ(read(1, "/Image/NROWS"), read(0, "/Images/1/NROWS"));
    EXPECT_EQ(wide(read(1, "/Image/_index")), L"1");
    EXPECT_EQ(wide(read(0, "/Image/_index")), L"0");
    EXPECT_EQ(read(0, "/Image/NROWS?parse=int&exp=@,2,*"), any_type::value(96.0));
    EXPECT_EQ(read(0, "/Image/NROWS?parse=int"), any_type::value(int64_t{48}));
    EXPECT_EQ(read(1, "/Image/NROWS?parse=int"), any_type::value(int64_t{16}));
    EXPECT_TRUE(messages_.empty());
}

TEST_F(PathContextTest, LiteralImagesPathDoesNotDependOnTheIndex) {
    EXPECT_EQ(read(0, "/Images/1/_index"), read(1, "/Images/1/_index"));
    EXPECT_EQ(read(7, "/Images/0/NROWS"), read(0, "/Images/0/NROWS"));
}

TEST_F(PathContextTest, ImageShortcutOutOfRangeReportsTheNitroErrorAndFieldNotFound) {
    EXPECT_TRUE(isEmpty(read(5, "/Image/NROWS")));
    ASSERT_EQ(messages_.size(), 2u);
    EXPECT_EQ(messages_[0], "/Image: list index 5 out of range");
    EXPECT_EQ(messages_[1], "/Image: Field not Found");
    messages_.clear();
    EXPECT_TRUE(isEmpty(read(-1, "/Image")));
    ASSERT_EQ(messages_.size(), 2u);
    EXPECT_EQ(messages_[1], "/Image: Field not Found");
}

TEST_F(PathContextTest, ShortcutsLoseTheirComponentInMessages) {
    EXPECT_TRUE(isEmpty(read(0, "/Image/NOPE")));
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_EQ(messages_[0], "/NOPE: Not Found");
}

TEST_F(PathContextTest, ShortcutWordsCountOnlyAsTheFirstComponent) {
    EXPECT_TRUE(isEmpty(read(0, "/FileHeader/Image")));
    EXPECT_TRUE(isEmpty(read(0, "/FileHeader/TRE")));
    ASSERT_EQ(messages_.size(), 2u);
    EXPECT_EQ(messages_[0], "/FileHeader/Image: Not Found");
    EXPECT_EQ(messages_[1], "/FileHeader/TRE: Not Found");
}

TEST_F(PathContextTest, TREShortcutFindsTheExtensionAtAnyLevel) {
    spreadTREs();
    EXPECT_EQ(wide(read(0, "/TRE/USE00A/_treID")), L"USE00A");
    EXPECT_EQ(wide(read(0, "/TRE/FILETR/_section")), L"file XHD");
    EXPECT_EQ(wide(read(0, "/TRE/IMGOVF/_section")), L"image DES");
    EXPECT_EQ(wide(read(0, "/TRE/FILOVF/_section")), L"file DES");
    EXPECT_TRUE(messages_.empty());
}

TEST_F(PathContextTest, TREShortcutPrefersTheImageCopy) {
    spreadTREs();
    EXPECT_EQ(wide(read(0, "/TRE/RPC00B/_section")), L"image XHD");
    // Image 1 has no extensions of its own.
    EXPECT_EQ(wide(read(1, "/TRE/RPC00B/_section")), L"file XHD");
}

TEST_F(PathContextTest, TREShortcutMergesSectionsInOrder) {
    spreadTREs();
    std::vector<std::wstring> order;
    const auto count = std::stoi(std::to_string(wide(read(0, "/TRE/_count"))));
    for (int i = 0; i < count; ++i) {
        order.push_back(wide(read(0, "/TRE/" + std::to_string(i) + "/_treID")));
    }
    const std::vector<std::wstring> expected{L"IMGUDT", L"RPC00B", L"USE00A", L"IMGOVF",
                                             L"FILEUD", L"RPC00B", L"FILETR", L"FILOVF"};
    EXPECT_EQ(order, expected);
}

TEST_F(PathContextTest, TREShortcutWithABadImageIndexListsTheFileOnly) {
    spreadTREs();
    EXPECT_EQ(wide(read(9, "/TRE/RPC00B/_section")), L"file XHD");
    EXPECT_EQ(wide(read(9, "/TRE/_count")), L"4");
    EXPECT_TRUE(messages_.empty());
}

TEST_F(PathContextTest, FormatsThroughTheContext) {
    const auto text = std::get<std::string>(read(0, "/FileHeader?JSON"));
    const auto json = nlohmann::json::parse(text);
    EXPECT_EQ(json["FTITLE"], "TesselLib sample");
    EXPECT_EQ(std::get<std::string>(read(0, "/Image/IID1?XML")).rfind("<?xml", 0), 0u);
}

TEST_F(PathContextTest, WithoutBuildersTheRecordReadsAsAnEmptyDictionary) {
    installRootBuilders(RootBuilders());
    EXPECT_EQ(wide(read(0, "/_count")), L"0");
    EXPECT_EQ(wide(read(0, "/TRE/_count")), L"0");
    EXPECT_EQ(wide(read(0, "/Image/_count")), L"0");
    EXPECT_TRUE(isEmpty(read(0, "/")));
}

TEST(PathContextBuilders, InstallReturnsThePreviousBuilders) {
    RootBuilders mine;
    mine.root = [](PathContext&) { return Dict(); };
    RootBuilders before = installRootBuilders(std::move(mine));
    EXPECT_TRUE(static_cast<bool>(rootBuilders().root));
    RootBuilders back = installRootBuilders(std::move(before));
    EXPECT_TRUE(static_cast<bool>(back.root));
}

}  // namespace

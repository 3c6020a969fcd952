// Writing metadata by path: fields, segments, bands, comments, TREs and bodies made on the
// way, the refusal of values that don't fit, and a changed file written and read again.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>

#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/file/RecordCopy.h"
#include "tessel/platform/nitf.h"
#include "tests/support/GdalOracle.h"
#include "tests/support/ImageFileBuilder.h"
#include "tests/support/TestPaths.h"

namespace {

namespace fs = std::filesystem;

bool hasMessage(const Tessel::NITFMessages& messages, const std::string& text) {
    return std::find(messages.begin(), messages.end(), text) != messages.end();
}

bool mentions(const Tessel::NITFMessages& messages, const std::string& part) {
    return std::any_of(messages.begin(), messages.end(),
                       [&](const std::string& m) { return m.find(part) != std::string::npos; });
}

std::string joined(const Tessel::NITFMessages& messages) {
    std::string text;
    for (const auto& m : messages) {
        text += m + "\n";
    }
    return text;
}

class PathWriter : public ::testing::Test {
protected:
    void SetUp() override {
        context_ =
            std::make_unique<Tessel::NITFFileContext>(Tessel::NITFFactory::create(messages_));
        ASSERT_TRUE(*context_);
    }
    Tessel::NITFFile& file() { return context_->getFile(); }
    bool set(const std::string& path, const std::string& value) {
        return file().setPathAsString(0, path, value, messages_);
    }
    bool setJSON(const std::string& path, const std::string& value) {
        return file().setPath(0, path, value, messages_);
    }
    std::string get(const std::string& path) { return file().getPathString(0, path, "<none>"); }
    std::string raw(const std::string& path) { return get(path + "?format=RAW"); }

    Tessel::NITFMessages messages_;
    std::unique_ptr<Tessel::NITFFileContext> context_;
};

TEST_F(PathWriter, SetsAHeaderFieldAsText) {
    EXPECT_TRUE(set("/FileHeader/FTITLE", "A new title")) << joined(messages_);
    EXPECT_EQ(get("/FileHeader/FTITLE"), "A new title");
    EXPECT_TRUE(messages_.empty());
}

TEST_F(PathWriter, ReadOnlyFieldIsAcceptedAndUnchanged) {
    const std::string before = raw("/FileHeader/NUMI");
    EXPECT_TRUE(set("/FileHeader/NUMI", "5"));
    EXPECT_EQ(raw("/FileHeader/NUMI"), before);
    EXPECT_EQ(before, "000");
}

TEST_F(PathWriter, LabelsCanNotBeAdded) {
    EXPECT_FALSE(set("/Labels/0/LID", "L"));
    EXPECT_TRUE(hasMessage(messages_, "/Labels/0: Unable to grow array to 1")) << joined(messages_);
    EXPECT_TRUE(hasMessage(messages_, "Unable to find '/Labels/0/LID'"));
    EXPECT_EQ(get("/Labels/_count"), "0");
}

TEST_F(PathWriter, SettingTheThirdImageCreatesThreeImages) {
    EXPECT_TRUE(set("/Images/2/IID1", "THIRD")) << joined(messages_);
    EXPECT_EQ(file().getNumberImages(), 3u);
    EXPECT_EQ(get("/Images/2/IID1"), "THIRD");
    EXPECT_EQ(raw("/FileHeader/NUMI"), "003");
    // A new image has the defaults: 16 by 16 8-bit integers in one block, one band.
    EXPECT_EQ(get("/Images/0/PVTYPE"), "INT");
    EXPECT_EQ(get("/Images/0/PJUST"), "R");
    EXPECT_EQ(get("/Images/0/NBPP"), "08");
    EXPECT_EQ(get("/Images/0/ABPP"), "08");
    EXPECT_EQ(get("/Images/0/IREP"), "MONO");
    EXPECT_EQ(get("/Images/0/ICAT"), "VIS");
    EXPECT_EQ(get("/Images/0/NROWS"), "00000016");
    EXPECT_EQ(get("/Images/0/NCOLS"), "00000016");
    EXPECT_EQ(get("/Images/0/NPPBH"), "0016");
    EXPECT_EQ(get("/Images/0/NPPBV"), "0016");
    EXPECT_EQ(get("/Images/0/NBPR"), "0001");
    EXPECT_EQ(get("/Images/0/NBPC"), "0001");
    EXPECT_EQ(get("/Images/0/IMODE"), "B");
    EXPECT_EQ(get("/Images/0/NBANDS"), "1");
    EXPECT_EQ(get("/Images/0/XBANDS"), "00000");
    EXPECT_EQ(get("/Images/0/Bands/_count"), "1");
    EXPECT_EQ(get("/Images/0/Bands/0/IREPBAND"), "R");
    EXPECT_EQ(get("/Images/0/Bands/0/IFC"), "N");
}

TEST_F(PathWriter, JSONObjectOnTheFileHeaderAssignsFieldByField) {
    EXPECT_TRUE(setJSON("/FileHeader", R"({"FTITLE": "Title", "ONAME": "Someone"})"))
        << joined(messages_);
    EXPECT_EQ(get("/FileHeader/FTITLE"), "Title");
    EXPECT_EQ(get("/FileHeader/ONAME"), "Someone");
}

TEST_F(PathWriter, AnUnknownKeyInAJSONObjectCanNotBeCreated) {
    EXPECT_FALSE(
        setJSON("/FileHeader", R"({"FTITLE": "Before", "NOSUCH": "x", "ONAME": "After"})"));
    EXPECT_TRUE(hasMessage(messages_, "/FileHeader: Could not create new field 'NOSUCH'"))
        << joined(messages_);
    EXPECT_EQ(messages_.back(), "Unable to set '/FileHeader'");
    // Not transactional: what came before the failure stays, nothing after it is stored.
    EXPECT_EQ(get("/FileHeader/FTITLE"), "Before");
    EXPECT_EQ(get("/FileHeader/ONAME"), "<none>");
}

TEST_F(PathWriter, AJSONNumberIsStoredAsItsText) {
    EXPECT_TRUE(setJSON("/FileHeader/CLEVEL", "5")) << joined(messages_);
    EXPECT_EQ(raw("/FileHeader/CLEVEL"), "05");
    EXPECT_TRUE(setJSON("/FileHeader/FTITLE", "2.5"));
    EXPECT_EQ(get("/FileHeader/FTITLE"), "2.5");
    EXPECT_TRUE(setJSON("/FileHeader/ONAME", "true"));
    EXPECT_EQ(get("/FileHeader/ONAME"), "true");
}

TEST_F(PathWriter, AStringOnADictionaryCanNotBeSet) {
    EXPECT_FALSE(set("/FileHeader", "text"));
    EXPECT_TRUE(hasMessage(messages_, "/FileHeader: Can not set a 'Dictionary' with 'String'"))
        << joined(messages_);
    EXPECT_EQ(messages_.back(), "Unable to set '/FileHeader'");
}

TEST_F(PathWriter, HexIntoAShortBinaryFieldWritesARawNumber) {
    // LOCSEC of RPFHDR is a 4-byte binary field: 0x1234 lands in machine order.
    ASSERT_TRUE(set("/FileHeader/TREs/RPFHDR/LOCSEC", "HEX:1234")) << joined(messages_);
    EXPECT_EQ(get("/FileHeader/TREs/RPFHDR/LOCSEC"), "NBIAAA==");
    ASSERT_TRUE(set("/FileHeader/TREs/RPFHDR/ENDIAN", "HEX:FF")) << joined(messages_);
    EXPECT_EQ(get("/FileHeader/TREs/RPFHDR/ENDIAN"), "/w==");
}

TEST(PathWriterOpenedFile, HexIntoALongerBinaryFieldIsReadAsBase64) {
    // An undescribed TRE of 12 bytes holds them in one binary field of that width.
    const fs::path folder =
        fs::path(::testing::TempDir()) / ("path_writer_hex_" + std::to_string(::getpid()));
    fs::create_directories(folder);
    image_test::ImageLayout layout;
    layout.data = std::string(1, '\0');
    layout.tres.push_back(image_test::rawTre("ZZTEST", std::string(12, 'a')));
    const fs::path path = folder / "raw.ntf";
    image_test::ImageFileBuilder().add(layout).write(path);
    Tessel::NITFMessages messages;
    auto file = std::make_shared<Tessel::NITFFile>(Tessel::NITFURI(path.string()), messages);
    file->getPrivate()->setReadOnly(false);
    const std::string tre = "/Images/0/TREs/ZZTEST/raw_data";
    ASSERT_EQ(file->getPathString(0, tre, ""), "YWFhYWFhYWFhYWFh");
    EXPECT_FALSE(file->setPathAsString(0, tre, "HEX:FF", messages));
    EXPECT_TRUE(mentions(messages,
                         "/Images/0/TREs/ZZTEST/raw_data: Can not set 'HEX:FF': not "
                         "base64"))
        << joined(messages);
    EXPECT_EQ(file->getPathString(0, tre, ""), "YWFhYWFhYWFhYWFh");
    EXPECT_TRUE(file->setPathAsString(0, tre, "AAECAwQFBgcICQoL", messages)) << joined(messages);
    EXPECT_EQ(file->getPathString(0, tre, ""), "AAECAwQFBgcICQoL");
    // The width of the field stays: fewer bytes are refused.
    EXPECT_FALSE(file->setPathAsString(0, tre, "AAEC", messages));
    EXPECT_TRUE(mentions(messages, "3 bytes for a field of 12"));
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

TEST_F(PathWriter, AFiveDigitColourIsRefused) {
    EXPECT_FALSE(set("/FileHeader/FBKGC", "#12345"));
    EXPECT_TRUE(hasMessage(messages_,
                           "/FileHeader/FBKGC: Can not be set to '#12345', expected HTML style "
                           "color '#RRGGBB'"))
        << joined(messages_);
    EXPECT_EQ(get("/FileHeader/FBKGC"), "#000000");
}

TEST_F(PathWriter, AnHTMLColourSetsTheBackground) {
    EXPECT_TRUE(set("/FileHeader/FBKGC", "#0a0B1c")) << joined(messages_);
    EXPECT_EQ(get("/FileHeader/FBKGC"), "#0a0b1c");
    EXPECT_FALSE(set("/FileHeader/FBKGC", "#0a0B1g"));
    EXPECT_EQ(get("/FileHeader/FBKGC"), "#0a0b1c");
}

TEST_F(PathWriter, APathThatNamesNoFieldFails) {
    EXPECT_FALSE(set("/FileHeader/NOSUCH", "x"));
    EXPECT_TRUE(hasMessage(messages_, "/FileHeader/NOSUCH: Unable to create field 'NOSUCH'"))
        << joined(messages_);
    EXPECT_EQ(messages_.back(), "Unable to find '/FileHeader/NOSUCH'");
}

TEST_F(PathWriter, ATREWithoutADescriptionHasNoFieldsToSet) {
    EXPECT_FALSE(set("/FileHeader/TREs/ZZTEST/FIELD", "x"));
    EXPECT_TRUE(hasMessage(messages_, "/FileHeader/TREs/ZZTEST/FIELD: Field Not Found After Grow"))
        << joined(messages_);
    EXPECT_EQ(messages_.back(), "Unable to find '/FileHeader/TREs/ZZTEST/FIELD'");
    // The TRE was made, as raw bytes.
    EXPECT_EQ(get("/FileHeader/TREs/ZZTEST/_isRaw"), "true");
    EXPECT_EQ(get("/FileHeader/TREs/ZZTEST/raw_data"), "AA==");
}

TEST_F(PathWriter, ADescribedTREIsMadeWithItsDefaults) {
    EXPECT_TRUE(set("/Images/0/TREs/BLOCKA/BLOCK_INSTANCE", "1")) << joined(messages_);
    EXPECT_EQ(raw("/Images/0/TREs/BLOCKA/BLOCK_INSTANCE"), "01");
    EXPECT_EQ(get("/Images/0/TREs/BLOCKA/_treID"), "BLOCKA");
    // "TRE" asks for another of the same: the listing becomes an array.
    EXPECT_FALSE(set("/Images/0/TREs/BLOCKA/TRE", "x"));
    EXPECT_EQ(get("/Images/0/TREs/BLOCKA/_count"), "2");
    EXPECT_TRUE(set("/Images/0/TREs/BLOCKA/1/BLOCK_INSTANCE", "2")) << joined(messages_);
    EXPECT_EQ(raw("/Images/0/TREs/BLOCKA/1/BLOCK_INSTANCE"), "02");
    EXPECT_EQ(raw("/Images/0/TREs/BLOCKA/0/BLOCK_INSTANCE"), "01");
}

TEST_F(PathWriter, AValueThatIsNoJSONIsNotEvaluated) {
    EXPECT_FALSE(setJSON("/FileHeader/FTITLE", "{this is not json at all, not at all}"));
    EXPECT_EQ(messages_.at(0), "JSON Parser Error");
    EXPECT_EQ(messages_.at(1), "Unable to evaluate value '{this is not json at all, not ...'");
    messages_.clear();
    EXPECT_FALSE(setJSON("/FileHeader/FTITLE", "null"));
    EXPECT_EQ(messages_.at(0), "JSON Parsing Error: unsupported type: 0");
    EXPECT_EQ(messages_.at(1), "Unable to evaluate value 'null'");
}

TEST_F(PathWriter, ANullInAnObjectStopsTheValue) {
    EXPECT_FALSE(setJSON("/FileHeader", R"({"FTITLE": "T", "ONAME": null})"));
    EXPECT_TRUE(hasMessage(messages_, "JSON Parsing Error: unsupported type: 0"));
    EXPECT_EQ(get("/FileHeader/FTITLE"), "<none>");
}

TEST_F(PathWriter, ABandCountReshapesTheImage) {
    ASSERT_TRUE(set("/Images/0/NBANDS", "3")) << joined(messages_);
    EXPECT_EQ(get("/Images/0/Bands/_count"), "3");
    EXPECT_EQ(get("/Images/0/NBANDS"), "3");
    ASSERT_TRUE(set("/Images/0/NBANDS", "+12")) << joined(messages_);
    EXPECT_EQ(get("/Images/0/NBANDS"), "0");
    EXPECT_EQ(get("/Images/0/XBANDS"), "00012");
    EXPECT_EQ(get("/Images/0/Bands/_count"), "12");
    // The count lies in XBANDS now: XBANDS 0 would leave no count at all.
    EXPECT_FALSE(set("/Images/0/NBANDS", "many"));
    EXPECT_EQ(messages_.back(), "Unable to set '/Images/0/NBANDS'");
    EXPECT_EQ(get("/Images/0/Bands/_count"), "12");
}

TEST_F(PathWriter, AnExistingBandKeepsItsFieldsThroughAReshape) {
    ASSERT_TRUE(set("/Images/0/Bands/0/ISUBCAT", "FIRST")) << joined(messages_);
    ASSERT_TRUE(set("/Images/0/Bands/2/IREPBAND", "B")) << joined(messages_);
    EXPECT_EQ(get("/Images/0/NBANDS"), "3");
    EXPECT_EQ(get("/Images/0/Bands/0/ISUBCAT"), "FIRST");
    EXPECT_EQ(get("/Images/0/Bands/1/IREPBAND"), "R");
    EXPECT_EQ(get("/Images/0/Bands/2/IREPBAND"), "B");
}

TEST_F(PathWriter, AShapeFieldRecomputesTheBlocking) {
    ASSERT_TRUE(set("/Images/0/NROWS", "100")) << joined(messages_);
    EXPECT_EQ(get("/Images/0/NBPC"), "0007");
    ASSERT_TRUE(set("/Images/0/NPPBH", "8")) << joined(messages_);
    EXPECT_EQ(get("/Images/0/NBPR"), "0002");
    // NBPR follows from the blocking: a write leaves it.
    EXPECT_TRUE(set("/Images/0/NBPR", "9"));
    EXPECT_EQ(get("/Images/0/NBPR"), "0002");
}

TEST_F(PathWriter, CommentsAreAddedUpToNine) {
    ASSERT_TRUE(set("/Images/0/Comments/1", "second")) << joined(messages_);
    EXPECT_EQ(get("/Images/0/Comments/_count"), "2");
    EXPECT_EQ(get("/Images/0/Comments/1"), "second");
    EXPECT_FALSE(set("/Images/0/Comments/9", "tenth"));
    EXPECT_TRUE(hasMessage(messages_, "/Images/0/Comments/9: Unable to grow array to 10"));
    EXPECT_EQ(get("/Images/0/Comments/_count"), "9");
}

TEST_F(PathWriter, SegmentBodiesAreKeptForTheWriter) {
    ASSERT_TRUE(set("/Text/0/Data", "Some text")) << joined(messages_);
    EXPECT_EQ(get("/Text/0/Data"), "Some text");
    ASSERT_TRUE(set("/Text/0/Data", "Other text"));
    EXPECT_EQ(get("/Text/0/Data"), "Other text");
    ASSERT_TRUE(set("/DESs/0/DataBase64", "AAEC")) << joined(messages_);
    EXPECT_EQ(get("/DESs/0/DataBase64"), "AAEC");
    EXPECT_FALSE(set("/DESs/0/DataBase64", "!!"));
    EXPECT_EQ(get("/DESs/0/DataBase64"), "AAEC");
    ASSERT_TRUE(set("/Graphics/0/Data", "G"));
    EXPECT_EQ(get("/Graphics/0/Data"), "G");
}

TEST_F(PathWriter, ADESSubheaderNeedsItsTag) {
    EXPECT_FALSE(set("/DESs/0/UserDefinedSubHeader/FIELD", "x"));
    EXPECT_TRUE(hasMessage(messages_, "/DESs/0/UserDefinedSubHeader/FIELD: DESTAG not set"))
        << joined(messages_);
}

TEST_F(PathWriter, AJSONArrayGrowsTheTarget) {
    ASSERT_TRUE(setJSON("/Images", R"([{"IID1": "ONE"}, {"IID1": "TWO", "NBANDS": 2}])"))
        << joined(messages_);
    EXPECT_EQ(get("/Images/_count"), "2");
    EXPECT_EQ(get("/Images/1/IID1"), "TWO");
    EXPECT_EQ(get("/Images/1/Bands/_count"), "2");
    EXPECT_FALSE(setJSON("/Labels", R"([{"LID": "L"}])"));
    EXPECT_TRUE(hasMessage(messages_, "/Labels: Unable to grow array to 1")) << joined(messages_);
}

TEST_F(PathWriter, AQueryIsPartOfTheName) {
    EXPECT_FALSE(set("/FileHeader/FTITLE?format=RAW", "x"));
    EXPECT_TRUE(hasMessage(messages_, "Unable to find '/FileHeader/FTITLE?format=RAW'"));
}

TEST_F(PathWriter, TheWholeTreeComesBackFromItsJSON) {
    ASSERT_TRUE(set("/FileHeader/FTITLE", "Round trip"));
    ASSERT_TRUE(set("/FileHeader/Security/FSCLSY", "US"));
    const std::string document = file().getISD("JSON");
    Tessel::NITFMessages sink;
    Tessel::NITFFileContext other = Tessel::NITFFactory::create(sink);
    ASSERT_TRUE(other.getFile().setISD(document, sink)) << joined(sink);
    EXPECT_EQ(other.getFile().getISD("JSON"), document);
}

// --- values that don't fit their field -------------------------------------------------

TEST_F(PathWriter, ANumericFieldRefusesLetters) {
    EXPECT_FALSE(set("/FileHeader/CLEVEL", "AB"));
    EXPECT_TRUE(hasMessage(messages_,
                           "/FileHeader/CLEVEL: Can not set 'AB': 'A' is not allowed in a "
                           "numeric field"))
        << joined(messages_);
    EXPECT_EQ(raw("/FileHeader/CLEVEL"), "00");
}

TEST_F(PathWriter, AValueLongerThanItsFieldIsRefused) {
    ASSERT_TRUE(set("/FileHeader/OPHONE", "123"));
    EXPECT_FALSE(set("/FileHeader/OPHONE", std::string(19, '9')));
    EXPECT_TRUE(hasMessage(messages_,
                           "/FileHeader/OPHONE: Can not set '9999999999999999999': 19 characters "
                           "for a field of 18"))
        << joined(messages_);
    EXPECT_EQ(get("/FileHeader/OPHONE"), "123");
}

TEST_F(PathWriter, AControlCharacterIsRefused) {
    EXPECT_FALSE(set("/FileHeader/FTITLE", "tab\there"));
    EXPECT_TRUE(mentions(messages_, "character 0x09 is not allowed")) << joined(messages_);
    EXPECT_EQ(get("/FileHeader/FTITLE"), "<none>");
}

TEST_F(PathWriter, AHexNumberTooLargeForItsFieldIsRefused) {
    ASSERT_TRUE(set("/FileHeader/TREs/RPFHDR/ENDIAN", "HEX:01"));
    EXPECT_FALSE(set("/FileHeader/TREs/RPFHDR/ENDIAN", "HEX:100"));
    EXPECT_TRUE(mentions(messages_, "the number does not fit in 1 bytes")) << joined(messages_);
    EXPECT_FALSE(set("/FileHeader/TREs/RPFHDR/ENDIAN", "HEX:xy"));
    EXPECT_TRUE(mentions(messages_, "not a hexadecimal number"));
    EXPECT_EQ(get("/FileHeader/TREs/RPFHDR/ENDIAN"), "AQ==");
}

TEST_F(PathWriter, ANegativeNumberIsAllowedWhereTheFieldTakesASign) {
    // BCS-N allows a leading sign: the field's own type decides, not its meaning.
    EXPECT_TRUE(set("/Images/0/IDLVL", "7")) << joined(messages_);
    EXPECT_EQ(raw("/Images/0/IDLVL"), "007");
}

// --- files opened from disk ----------------------------------------------------------------

TEST(PathWriterOpenedFile, AnOpenedFileIsNotWritten) {
    Tessel::NITFMessages messages;
    auto file = std::make_shared<Tessel::NITFFile>(Tessel::NITFURI(TESSEL_SAMPLE_FILE), messages);
    EXPECT_FALSE(file->setPathAsString(0, "/FileHeader/FTITLE", "x", messages));
    EXPECT_FALSE(file->setPath(0, "/FileHeader/FTITLE", "\"x\"", messages));
    EXPECT_FALSE(file->setISD("{}", messages));
    EXPECT_TRUE(messages.empty());
}

TEST(PathWriterOpenedFile, AChangedFieldIsWrittenAndReadBack) {
    const fs::path folder =
        fs::path(::testing::TempDir()) / ("path_writer_" + std::to_string(::getpid()));
    fs::create_directories(folder);
    const fs::path out = folder / "changed.ntf";
    Tessel::NITFMessages messages;
    auto file = std::make_shared<Tessel::NITFFile>(Tessel::NITFURI(TESSEL_SAMPLE_FILE), messages);
    file->getPrivate()->setReadOnly(false);  // opened apart from the cache, to be changed
    ASSERT_TRUE(file->setPathAsString(0, "/FileHeader/FTITLE", "Changed by path", messages))
        << joined(messages);
    ASSERT_TRUE(file->setPathAsString(0, "/Images/0/IID1", "NEWID", messages)) << joined(messages);
    std::string error;
    ASSERT_TRUE(Tessel::writeAtomically(
        out.string(),
        [&](const std::string& temporary, std::string& why) {
            nrt_IOInterface* output = Tessel::openOutput(temporary, why);
            if (output == nullptr) {
                return false;
            }
            const bool ok = Tessel::copyRecord(*file, output, why);
            nrt_Error closeError{};
            const bool closed = nrt_IOInterface_close(output, &closeError);
            nrt_IOInterface_destruct(&output);
            return ok && closed;
        },
        error))
        << error;

    Tessel::NITFFile copy(Tessel::NITFURI(out.string()), messages);
    EXPECT_EQ(copy.getPathString(0, "/FileHeader/FTITLE", ""), "Changed by path");
    EXPECT_EQ(copy.getPathString(0, "/Images/0/IID1", ""), "NEWID");
    EXPECT_EQ(copy.getPathString(0, "/Images/0/NROWS", ""),
              file->getPathString(0, "/Images/0/NROWS", "<none>"));

    if (tessel_test::gdalAvailable()) {
        const auto metadata = tessel_test::jsonFromCommand(
            "/usr/bin/python3 -c \"import json; from osgeo import gdal; "
            "ds = gdal.Open('" +
            out.string() + "'); print(json.dumps(ds.GetMetadata()))\" 2>/dev/null");
        ASSERT_TRUE(metadata.is_object());
        EXPECT_EQ(metadata.value("NITF_FTITLE", ""), "Changed by path");
        EXPECT_EQ(metadata.value("NITF_IID1", ""), "NEWID");
    } else {
        std::printf("GDAL's Python bindings are missing: GDAL check skipped\n");
    }
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

}  // namespace

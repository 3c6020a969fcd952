#include <cstdio>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/image/NITFImage.h"
#include "tessel/platform/nitf.h"
#include "tools/Commands.h"
#include "tools/FileCommands.h"
#include "tools/ImageDetails.h"

namespace tessel_cli {
namespace {

using Json = nlohmann::ordered_json;

std::string text(const nitf_Field* field) {
    if (field == nullptr || field->raw == nullptr) {
        return {};
    }
    const std::string value(field->raw, field->length);
    const size_t first = value.find_first_not_of(' ');
    if (first == std::string::npos) {
        return {};
    }
    return value.substr(first, value.find_last_not_of(' ') - first + 1);
}

// A number field as a number; a field that holds anything else keeps its text.
Json number(const nitf_Field* field) {
    const std::string digits = text(field);
    if (digits.empty() || digits.size() > 18 ||
        digits.find_first_not_of("0123456789") != std::string::npos) {
        return digits;
    }
    return std::stoll(digits);
}

std::string versionText(Tessel::NITFType type) {
    std::ostringstream out;
    out << type;
    return out.str();
}

Json describeImage(size_t index, const nitf_ImageSubheader* subheader) {
    Json image;
    image["index"] = index;
    image["rows"] = number(subheader->numRows);
    image["columns"] = number(subheader->numCols);
    // NBANDS 0 means that XBANDS holds the count.
    Json bands = number(subheader->numImageBands);
    if (bands == 0) {
        bands = number(subheader->numMultispectralImageBands);
    }
    image["bands"] = bands;
    image["pixel_type"] = {{"PVTYPE", text(subheader->pixelValueType)},
                           {"NBPP", number(subheader->numBitsPerPixel)},
                           {"ABPP", number(subheader->actualBitsPerPixel)}};
    image["IMODE"] = text(subheader->imageMode);
    image["IC"] = text(subheader->imageCompression);
    image["blocking"] = {{"NPPBH", number(subheader->numPixelsPerHorizBlock)},
                         {"NPPBV", number(subheader->numPixelsPerVertBlock)},
                         {"NBPR", number(subheader->numBlocksPerRow)},
                         {"NBPC", number(subheader->numBlocksPerCol)}};
    return image;
}

Json describe(const Tessel::NITFFileContext& context) {
    Tessel::NITFFilePrivate& file = *context.getFile().getPrivate();
    const auto lock = file.lockRecord();
    nitf_Record* record = file.getRecord();
    nrt_Error error{};
    Json out;
    out["uri"] = context.getURI().getURI_u8(Tessel::URIParts::Everything);
    out["version"] = versionText(context.getNITFVersion());
    out["header"] = text(record->header->fileHeader) + text(record->header->fileVersion);
    out["segments"] = {
        {"images", nitf_Record_getNumImages(record, &error)},
        {"graphics", nitf_Record_getNumGraphics(record, &error)},
        {"labels", nitf_Record_getNumLabels(record, &error)},
        {"texts", nitf_Record_getNumTexts(record, &error)},
        {"data_extensions", nitf_Record_getNumDataExtensions(record, &error)},
        {"reserved_extensions", nitf_Record_getNumReservedExtensions(record, &error)}};
    Json images = Json::array();
    size_t index = 0;
    for (nrt_ListNode* node = record->images->first; node != nullptr; node = node->next) {
        const auto* segment = static_cast<const nitf_ImageSegment*>(node->data);
        images.push_back(describeImage(index++, segment->subheader));
    }
    out["images"] = std::move(images);
    return out;
}

// What the image objects say, beside the raw subheader fields. Made outside the record
// lock: an image reads its subheader and looks for overview files when it is made.
void addImageDetails(const Tessel::NITFFileContext& context, Json& info) {
    Tessel::NITFFile& file = context.getFile();
    for (auto& image : info["images"]) {
        Tessel::ImageOptions options;
        options.segment = image["index"].get<int32_t>();
        try {
            const auto found = file.getImage(options);
            image["details"] = found ? imageDetails(*found) : Json{{"error", "no image"}};
        } catch (const std::exception& error) {
            image["details"] = Json{{"error", error.what()}};
        }
    }
}

std::string plain(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

void printText(const Json& info) {
    std::printf("%-10s %s\n", "uri", plain(info["uri"]).c_str());
    std::printf("%-10s %s (%s)\n", "version", plain(info["version"]).c_str(),
                plain(info["header"]).c_str());
    std::string counts;
    for (const auto& item : info["segments"].items()) {
        counts += (counts.empty() ? "" : ", ") + item.key() + " " + plain(item.value());
    }
    std::printf("%-10s %s\n", "segments", counts.c_str());
    for (const auto& image : info["images"]) {
        const auto& pixels = image["pixel_type"];
        const auto& blocks = image["blocking"];
        std::printf("image %s   rows %s, columns %s, bands %s\n", plain(image["index"]).c_str(),
                    plain(image["rows"]).c_str(), plain(image["columns"]).c_str(),
                    plain(image["bands"]).c_str());
        std::printf("  %-8s PVTYPE %s, NBPP %s, ABPP %s\n", "pixels",
                    plain(pixels["PVTYPE"]).c_str(), plain(pixels["NBPP"]).c_str(),
                    plain(pixels["ABPP"]).c_str());
        std::printf("  %-8s %s\n", "IMODE", plain(image["IMODE"]).c_str());
        std::printf("  %-8s %s\n", "IC", plain(image["IC"]).c_str());
        std::printf("  %-8s NPPBH %s, NPPBV %s, NBPR %s, NBPC %s\n", "blocks",
                    plain(blocks["NPPBH"]).c_str(), plain(blocks["NPPBV"]).c_str(),
                    plain(blocks["NBPR"]).c_str(), plain(blocks["NBPC"]).c_str());
        printImageDetails(image["details"]);
    }
}

int runInfo(const Arguments& arguments) {
    if (arguments.positional.size() != 1) {
        return fail("info", "expected one URI (see 'tessel info --help')");
    }
    const Tessel::NITFURI uri = uriFromArgument(arguments.positional[0]);
    Tessel::NITFMessages messages;
    const Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(uri, messages);
    if (!context) {
        return reportOpenFailure("info", uri, messages);
    }
    Json info = describe(context);
    addImageDetails(context, info);
    if (arguments.has("--json")) {
        std::printf("%s\n", info.dump(2).c_str());
    } else {
        printText(info);
    }
    return 0;
}

}  // namespace

Command infoCommand() {
    return {"info", "info URI [--json]",
            "Open a NITF file and print its version, segment counts and image structure.",
            "For each image: NROWS and NCOLS, the band count, the pixel type (PVTYPE, NBPP,\n"
            "ABPP), IMODE, the compression IC and the blocking (NPPBH, NPPBV, NBPR, NBPC);\n"
            "then what the image object makes of them: size, bands, block grid, sample type\n"
            "and bits, compression and its description, NoData, colour interpretation,\n"
            "colour maps and pyramid levels (under \"details\" in the JSON form).\n"
            "A file that doesn't open prints the reasons on standard error, with status 1.",
            runInfo};
}

}  // namespace tessel_cli

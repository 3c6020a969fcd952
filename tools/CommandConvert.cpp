#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/file/NITFMemorySource.h"
#include "tessel/file/RecordCopy.h"
#include "tessel/image/NITFImage.h"
#include "tessel/platform/nitf.h"
#include "tools/Commands.h"
#include "tools/RasterInput.h"

namespace tessel_cli {
namespace {

constexpr uint32_t kDefaultConvertBlock = 1024;

struct ConvertArguments {
    std::string input;
    std::string output;
    std::vector<std::pair<std::string, std::string>> settings;  // path, value
    uint32_t block = kDefaultConvertBlock;
};

// Reads the words; an empty text when they make sense, else what is wrong.
std::string parseConvert(const Arguments& arguments, ConvertArguments& parsed) {
    const auto& words = arguments.words;
    std::vector<std::string> positional;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word == "--set" || word == "--block") {
            if (i + 1 == words.size()) {
                return word + " needs a value";
            }
            const std::string& value = words[++i];
            if (word == "--block") {
                char* end = nullptr;
                const unsigned long block = std::strtoul(value.c_str(), &end, 10);
                if (value.empty() || *end != '\0' || block == 0 || block > 8192) {
                    return "--block takes a number of pixels from 1 to 8192";
                }
                parsed.block = static_cast<uint32_t>(block);
                continue;
            }
            const size_t equals = value.find('=');
            if (equals == std::string::npos || equals == 0) {
                return "--set takes PATH=VALUE";
            }
            parsed.settings.emplace_back(value.substr(0, equals), value.substr(equals + 1));
        } else if (word.rfind("--", 0) == 0) {
            return "unknown option " + word;
        } else {
            positional.push_back(word);
        }
    }
    if (positional.size() != 2) {
        return "expected IN OUT (see 'tessel convert --help')";
    }
    parsed.input = positional[0];
    parsed.output = positional[1];
    return {};
}

bool setConvertField(nitf_Field* field, const std::string& value) {
    nrt_Error error{};
    return nitf_Field_setString(field, value.c_str(), &error);
}

// What the bands show: IREP, ICAT and each band's IREPBAND.
void describeConvertBands(nitf_ImageSubheader* subheader, const RasterImage& image) {
    const size_t bands = image.planes.size();
    const bool rgb = image.colour && bands == 3;
    setConvertField(subheader->imageRepresentation, rgb ? "RGB" : (bands == 1 ? "MONO" : "MULTI"));
    setConvertField(subheader->imageCategory, bands == 1 || rgb ? "VIS" : "MS");
    for (size_t band = 0; band < bands; ++band) {
        std::string representation;
        if (image.colour && band < 3) {
            representation = std::string(1, "RGB"[band]);
        } else if (bands == 1) {
            representation = "M";
        }
        setConvertField(subheader->bandInfo[band]->representation, representation);
    }
}

nitf_ImageSubheader* firstConvertSubheader(Tessel::NITFFile& file) {
    nitf_Record* record = file.getPrivate()->getRecord();
    nrt_ListIterator first = nrt_List_begin(record->images);
    return static_cast<nitf_ImageSegment*>(nrt_ListIterator_get(&first))->subheader;
}

int runConvert(const Arguments& arguments) {
    ConvertArguments parsed;
    if (const std::string wrong = parseConvert(arguments, parsed); !wrong.empty()) {
        return fail("convert", wrong);
    }
    std::shared_ptr<const RasterImage> image;
    try {
        image = std::make_shared<const RasterImage>(readRaster(parsed.input));
    } catch (const std::exception& error) {
        return fail("convert", error.what());
    }
    Tessel::NITFMessages messages;
    const Tessel::NITFFileContext context = Tessel::NITFFactory::create(messages);
    if (!context) {
        return fail("convert", "can't make a new NITF record");
    }
    Tessel::NITFFile& file = context.getFile();
    Tessel::ImageOptions options;
    const auto bands = static_cast<unsigned>(image->planes.size());
    const std::string name = std::filesystem::path(parsed.output).filename().string();
    if (!file.createImage(image->width, image->height, bands, image->bitsPerSample, parsed.block,
                          parsed.block, image->pixelType, name, options)) {
        return fail("convert", "can't compose an image of " + std::to_string(image->width) + "x" +
                                   std::to_string(image->height) + " pixels and " +
                                   std::to_string(bands) + " bands");
    }
    describeConvertBands(firstConvertSubheader(file), *image);
    for (const auto& [path, value] : parsed.settings) {
        if (!file.setPathAsString(0, path, value, messages)) {
            const std::string why =
                messages.empty() ? "this build can't set fields by path" : messages.front();
            return fail("convert", fmt::format("--set {}={} was refused: {}", path, value, why));
        }
    }
    for (size_t band = 0; band < bands; ++band) {
        file.setSource(
            Tessel::NITFFile::SegmentType::ImageBand, 1000 + band,
            std::make_shared<Tessel::NITFMemorySource>(
                std::shared_ptr<const std::vector<uint8_t>>(image, &image->planes[band])));
    }
    std::string error;
    const bool written = Tessel::writeAtomically(
        parsed.output,
        [&](const std::string& temporary, std::string& why) {
            Tessel::NITFMessages writeMessages;
            if (file.write(temporary, writeMessages)) {
                return true;
            }
            why = writeMessages.empty() ? "the write failed" : writeMessages.back();
            return false;
        },
        error);
    return written ? 0 : fail("convert", error);
}

}  // namespace

Command convertCommand() {
    return {"convert", "convert IN.tif|IN.png OUT.ntf [--set PATH=VALUE]... [--block N]",
            "Compose a new NITF 2.10 file from a TIFF or PNG image.",
            "The image becomes one uncompressed, band-sequential image segment in blocks of N\n"
            "pixels square (1024 unless --block says otherwise, never larger than the image),\n"
            "with its samples as they are: 8-, 16- or 32-bit, grey, RGB or many bands. A PNG\n"
            "palette becomes RGB. --set fills a header field by its metadata path before the\n"
            "file is written, and a value that can't be set stops the command. OUT appears\n"
            "only when it is complete; on failure an existing OUT is left as it was.",
            runConvert};
}

}  // namespace tessel_cli

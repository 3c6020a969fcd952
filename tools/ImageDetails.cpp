#include "tools/ImageDetails.h"

#include <cstdio>
#include <string>
#include <variant>

#include "tessel/core/eColorInterpretation.h"
#include "tessel/core/eCompressionType.h"

namespace tessel_cli {
namespace {

using Json = nlohmann::ordered_json;

const char* typeName(lumo_pixel::type type) {
    switch (type) {
        case lumo_pixel::unsigned_integer:
            return "unsigned integer";
        case lumo_pixel::bilevel:
            return "bilevel";
        case lumo_pixel::signed_integer:
            return "signed integer";
        case lumo_pixel::real:
            return "real";
        case lumo_pixel::complex_integer:
            return "complex integer";
        case lumo_pixel::complex_float:
            return "complex float";
        default:
            return "none";
    }
}

Json sampleValue(lumo_pixel::type type, uint16_t bits, uint64_t value) {
    const lumo_pixel::pixel pixel{type, bits, value, 0};
    switch (type) {
        case lumo_pixel::unsigned_integer:
        case lumo_pixel::bilevel:
            return pixel.asUnsigned();
        case lumo_pixel::signed_integer:
        case lumo_pixel::complex_integer:
            return pixel.asSigned();
        default:
            return pixel.asDouble();
    }
}

// A complex NoData has two parts, each half of the sample's bits.
Json noData(const lumo_pixel::pixel& pixel) {
    if (pixel.isNone()) {
        return nullptr;
    }
    if (pixel.pixelType == lumo_pixel::complex_integer ||
        pixel.pixelType == lumo_pixel::complex_float) {
        const auto half = static_cast<uint16_t>(pixel.bits / 2);
        return Json::array({sampleValue(pixel.pixelType, half, pixel.value),
                            sampleValue(pixel.pixelType, half, pixel.value2)});
    }
    return sampleValue(pixel.pixelType, pixel.bits, pixel.value);
}

Json colourMap(uint32_t band, const Tessel::ColorMap& map) {
    struct Describe {
        Json operator()(const std::monostate&) const { return nullptr; }
        Json operator()(const std::vector<std::array<uint8_t, 3>>& v) const {
            return Json{{"kind", "RGB"}, {"entries", v.size()}};
        }
        Json operator()(const std::vector<std::array<uint8_t, 4>>& v) const {
            return Json{{"kind", "RPF colour record"}, {"entries", v.size()}};
        }
        Json operator()(const std::vector<uint8_t>& v) const {
            return Json{{"kind", "single byte"}, {"entries", v.size()}};
        }
    };
    Json described = std::visit(Describe{}, map);
    if (described.is_null()) {
        return described;
    }
    Json withBand{{"band", band}};
    withBand.update(described);
    return withBand;
}

Json pyramid(const Tessel::NITFImage& image) {
    Json levels = Json::array();
    for (uint32_t level = 1; level <= image.getInternalPyramidLevels(); ++level) {
        const auto overview = image.getPyramidLevel(level);
        if (overview) {
            levels.push_back({{"level", level},
                              {"width", overview->getWidth()},
                              {"height", overview->getHeight()}});
        }
    }
    return levels;
}

std::string plain(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

}  // namespace

Json imageDetails(const Tessel::NITFImage& image) {
    Json maps = Json::array();
    for (uint32_t band = 0; band < image.getNumBands(); ++band) {
        if (Json map = colourMap(band, image.getColorMap(band)); !map.is_null()) {
            maps.push_back(std::move(map));
        }
    }
    Json compressionInfo = Json::object();
    for (const auto& [key, value] : image.getCompressionInfo()) {
        compressionInfo[key] = value;
    }
    return Json{
        {"width", image.getWidth()},
        {"height", image.getHeight()},
        {"bands", image.getNumBands()},
        {"blocks",
         {{"across", image.getBlocksX()},
          {"down", image.getBlocksY()},
          {"width", image.getBlockWidth()},
          {"height", image.getBlockHeight()}}},
        {"samples",
         {{"type", typeName(image.getPixelType())},
          {"bits", image.getBitsPerPixel()},
          {"bytes", image.getBytesPerPixel()},
          {"actual_bits", image.getActualBitsPerPixel()}}},
        {"compression",
         {{"type", std::string(Tessel::ToString(image.getCompressionType()))},
          {"info", std::move(compressionInfo)}}},
        {"nodata", noData(image.getNoData())},
        {"color_interpretation", std::string(Tessel::ToString(image.getColorInterpretation()))},
        {"color_maps", std::move(maps)},
        {"pyramid_levels", image.getInternalPyramidLevels()},
        {"levels", pyramid(image)}};
}

void printImageDetails(const Json& details) {
    if (details.contains("error")) {
        std::printf("  %-8s %s\n", "error", plain(details["error"]).c_str());
        return;
    }
    const auto& blocks = details["blocks"];
    const auto& samples = details["samples"];
    std::printf("  %-8s %s x %s, %s band(s)\n", "size", plain(details["width"]).c_str(),
                plain(details["height"]).c_str(), plain(details["bands"]).c_str());
    std::printf("  %-8s %s x %s blocks of %s x %s\n", "grid", plain(blocks["across"]).c_str(),
                plain(blocks["down"]).c_str(), plain(blocks["width"]).c_str(),
                plain(blocks["height"]).c_str());
    std::printf("  %-8s %s, %s bits (%s bytes), ABPP %s\n", "samples",
                plain(samples["type"]).c_str(), plain(samples["bits"]).c_str(),
                plain(samples["bytes"]).c_str(), plain(samples["actual_bits"]).c_str());
    std::string codec = plain(details["compression"]["type"]);
    for (const auto& item : details["compression"]["info"].items()) {
        codec += (codec.empty() ? "" : ", ") + item.key() + "=" + plain(item.value());
    }
    std::printf("  %-8s %s\n", "codec", codec.c_str());
    std::printf("  %-8s %s\n", "nodata",
                details["nodata"].is_null() ? "none" : details["nodata"].dump().c_str());
    std::printf("  %-8s %s\n", "colour", plain(details["color_interpretation"]).c_str());
    std::string maps;
    for (const auto& map : details["color_maps"]) {
        maps += (maps.empty() ? "band " : "; band ") + plain(map["band"]) + ": " +
                plain(map["entries"]) + " " + plain(map["kind"]);
    }
    std::printf("  %-8s %s\n", "maps", maps.empty() ? "none" : maps.c_str());
    std::string levels = plain(details["pyramid_levels"]);
    for (const auto& level : details["levels"]) {
        levels += " (" + plain(level["level"]) + ": " + plain(level["width"]) + " x " +
                  plain(level["height"]) + ")";
    }
    std::printf("  %-8s %s\n", "levels", levels.c_str());
}

}  // namespace tessel_cli

#include "support/GdalOracle.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "platform/nitf/nitf_test_files.h"
#include "platform/nitf/sha256.h"
#include "support/TestPaths.h"
#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/NITFImage.h"

namespace tessel_test {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

const char* const oraclePython = "/usr/bin/python3";

fs::path sharedFolder(const char* name) {
    return fs::path(TESSEL_SHARED_DIR) / name;
}

std::string trimmedField(const nitf_Field* value) {
    if (value == nullptr || value->raw == nullptr) {
        return {};
    }
    std::string text(value->raw, value->length);
    const size_t last = text.find_last_not_of(' ');
    return last == std::string::npos ? std::string() : text.substr(0, last + 1);
}

void readSubheaderFacts(Tessel::NITFFile& file, std::vector<DecodedImage>& images) {
    const auto lock = file.getPrivate()->lockRecord();
    size_t index = 0;
    for (nrt_ListNode* node = file.getPrivate()->getRecord()->images->first;
         node != nullptr && index < images.size(); node = node->next, ++index) {
        const auto* subheader = static_cast<nitf_ImageSegment*>(node->data)->subheader;
        images[index].imode = trimmedField(subheader->imageMode);
        images[index].nbpp = trimmedField(subheader->numBitsPerPixel);
    }
}

void decodeImage(Tessel::NITFFile& file, const Tessel::ImageOptions& options,
                 const CompressionFilter& decode, DecodedImage& ours) {
    const auto image = file.getImage(options);
    if (!image) {
        ours.error = "no image";
        return;
    }
    ours.compression = image->getCompressionType();
    ours.pixelType = image->getPixelType();
    ours.width = image->getWidth();
    ours.height = image->getHeight();
    ours.bytesPerPixel = image->getBytesPerPixel();
    if (!decode(ours.compression)) {
        return;
    }
    for (uint32_t band = 0; band < image->getNumBands(); ++band) {
        std::vector<uint8_t> out;
        if (!image->readRegionViaPixels(0, 0, ours.width, ours.height, ours.width, ours.height,
                                        {static_cast<int>(band)}, out)) {
            ours.error = "read of band " + std::to_string(band) + " failed";
        }
        ours.bands.push_back(std::move(out));
    }
}

}  // namespace

bool DecodedImage::uncompressed() const {
    return compression == Tessel::eCompressionNC || compression == Tessel::eCompressionNM;
}

std::string DecodedImage::digest(size_t band) const {
    return nitf_test::sha256Hex(bands[band]);
}

std::vector<DecodedImage> decodeImages(const fs::path& path, const CompressionFilter& decode,
                                       const Tessel::ImageOptions& base) {
    Tessel::NITFMessages messages;
    const auto context =
        Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(path.string())), messages);
    std::vector<DecodedImage> images(context ? context.getNumberImages() : 0);
    if (!context) {
        return images;
    }
    Tessel::NITFFile& file = context.getFile();
    readSubheaderFacts(file, images);
    for (size_t index = 0; index < images.size(); ++index) {
        try {
            Tessel::ImageOptions options = base;
            options.segment = static_cast<int32_t>(index);
            decodeImage(file, options, decode, images[index]);
        } catch (const std::exception& error) {
            images[index].error = error.what();
        }
    }
    return images;
}

bool gdalAvailable() {
    const std::string command = std::string(oraclePython) + " -c 'import osgeo.gdal' 2>/dev/null";
    return fs::exists(oraclePython) && std::system(command.c_str()) == 0;
}

json jsonFromCommand(const std::string& command) {
    std::string out;
    if (FILE* pipe = popen((command + " 2>/dev/null").c_str(), "r"); pipe != nullptr) {
        char buffer[65536];
        size_t count = 0;
        while ((count = fread(buffer, 1, sizeof buffer, pipe)) > 0) {
            out.append(buffer, count);
        }
        pclose(pipe);
    }
    return json::parse(out, nullptr, false);
}

namespace {

// The JSON that an oracle script of tests/image prints for its options and `files`.
json runOracleScript(const char* script, const std::string& options,
                     const std::vector<fs::path>& files) {
    std::string command = std::string(oraclePython) + " '" + TESSEL_SOURCE_DIR + "/tests/image/" +
                          script + "'" + options;
    for (const auto& file : files) {
        command += " '" + file.string() + "'";
    }
    return jsonFromCommand(command);
}

}  // namespace

json gdalDigests(const std::vector<fs::path>& files, uint32_t level) {
    const std::string options = level > 0 ? " --overview " + std::to_string(level) : "";
    return runOracleScript("gdal_band_digests.py", options, files);
}

json gdalColorTables(const std::vector<fs::path>& files) {
    return runOracleScript("gdal_color_tables.py", "", files);
}

std::vector<fs::path> fixtureFiles() {
    const fs::path fixtures = sharedFolder("fixtures");
    std::ifstream in(fixtures / "manifest.json");
    const json manifest = json::parse(in, nullptr, false);
    std::vector<fs::path> files;
    if (!manifest.is_object()) {
        return files;
    }
    for (const auto& entry : manifest["fixtures"]) {
        files.push_back(fixtures / entry["file"].get<std::string>());
    }
    return files;
}

json sidecarDigests(const fs::path& file) {
    std::ifstream in(fs::path(file).replace_extension(".json"));
    const json sidecar = json::parse(in, nullptr, false);
    json images = json::array();
    if (!sidecar.is_object()) {
        return images;
    }
    for (const auto& image : sidecar["images"]) {
        json bands = json::array();
        for (const auto& band : image["bands"]) {
            bands.push_back(band["sha256_readraster"]);
        }
        images.push_back({{"size", image["size"]}, {"bands", bands}, {"pair", nullptr}});
    }
    return images;
}

std::vector<fs::path> corpusFilesWith(const std::vector<std::string>& compressions) {
    const fs::path corpus = sharedFolder("corpus");
    std::vector<fs::path> files;
    if (!fs::exists(corpus / "MANIFEST.tsv")) {
        return files;
    }
    for (auto& row : nitf_test::readTable(corpus / "MANIFEST.tsv")) {
        const std::string listed = "," + row["compressions"] + ",";
        bool wanted = false;
        for (const auto& compression : compressions) {
            wanted = wanted || listed.find("," + compression + ",") != std::string::npos;
        }
        const std::string status = row["gdal_reads_ok"];
        if (wanted && (status.rfind("yes (NITF", 0) == 0 || status.rfind("partial", 0) == 0)) {
            files.push_back(corpus / row["relative_path"]);
        }
    }
    return files;
}

}  // namespace tessel_test

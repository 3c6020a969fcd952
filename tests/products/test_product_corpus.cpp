// Every fixture and corpus file of the NITF family becomes a product through the default
// profile, and every layer's document is JSON with its keys in the documents' order.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "support/TestPaths.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/platform/base/text.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

std::vector<fs::path> productCorpusFiles() {
    std::vector<fs::path> files;
    const fs::path shared(TESSEL_SHARED_DIR);
    for (const auto& entry : fs::directory_iterator(shared / "fixtures")) {
        if (entry.path().extension() == ".ntf") {
            files.push_back(entry.path());
        }
    }
    std::ifstream manifest(shared / "corpus" / "MANIFEST.tsv");
    std::string line;
    std::getline(manifest, line);
    while (std::getline(manifest, line)) {
        std::stringstream split(line);
        std::vector<std::string> columns;
        for (std::string column; std::getline(split, column, '\t');) {
            columns.push_back(column);
        }
        if (columns.size() > 6 &&
            (columns[6].rfind("NITF", 0) == 0 || columns[6].rfind("NSIF", 0) == 0)) {
            files.push_back(shared / "corpus" / columns[0]);
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::string> keysOf(const Json& object) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : object.items()) {
        keys.push_back(key);
    }
    return keys;
}

const std::vector<std::string> imageKeys{
    "type",     "name", "description", "visibility", "dataConnection", "autoComputeStatsHistogram",
    "colorizer"};
const std::vector<std::string> featureKeys{"type",       "name",         "description",
                                           "visibility", "featureTable", "renderer"};

// Whether the keys of `object` appear in `order`, each after the one before it.
bool keysInOrder(const Json& object, const std::vector<std::string>& order) {
    auto next = order.begin();
    for (const auto& [key, value] : object.items()) {
        next = std::find(next, order.end(), key);
        if (next == order.end()) {
            return false;
        }
        ++next;
    }
    return true;
}

const std::vector<std::string> connectionKeys{"type",
                                              "workspaceConnectionString",
                                              "workspaceFactory",
                                              "customWorkspaceFactoryCLSID",
                                              "dataset",
                                              "datasetType"};
const std::vector<std::string> colorizerKeys{"type",
                                             "resamplingType",
                                             "noDataColor",
                                             "backgroundColor",
                                             "alphaBandIndex",
                                             "backgroundValue",
                                             "displayBackgroundValue",
                                             "stretchType",
                                             "statsType",
                                             "stretchStatsType",
                                             "minPercent",
                                             "maxPercent",
                                             "redBandIndex",
                                             "greenBandIndex",
                                             "blueBandIndex"};
const std::vector<std::string> featureTableKeys{"type", "displayField", "editable",
                                                "dataConnection"};
const std::vector<std::string> rendererKeys{"type", "patch", "symbol"};

// The nested objects of a layer document, with the keys in the documents' order.
void expectNestedKeysInOrder(const Json& document, bool image, const fs::path& path) {
    if (image) {
        EXPECT_EQ(keysOf(document["dataConnection"]), connectionKeys) << path;
        if (document.contains("colorizer")) {
            EXPECT_TRUE(keysInOrder(document["colorizer"], colorizerKeys))
                << path << " " << document["colorizer"].dump();
        }
        return;
    }
    EXPECT_EQ(keysOf(document["featureTable"]), featureTableKeys) << path;
    EXPECT_EQ(keysOf(document["renderer"]), rendererKeys) << path;
}

TEST(ProductCorpus, EveryFileYieldsAGenericProductWithOrderedDocuments) {
    if (!fs::exists(fs::path(TESSEL_SHARED_DIR) / "corpus" / "MANIFEST.tsv")) {
        GTEST_SKIP() << "no shared corpus";
    }
    size_t files = 0;
    size_t opened = 0;
    size_t layers = 0;
    std::vector<std::string> failures;
    for (const fs::path& path : productCorpusFiles()) {
        ++files;
        Tessel::NITFMessages messages;
        const Tessel::NITFURI uri(std::string_view(path.string() + "/Generic"));
        if (!Tessel::NITFFactory::get().open(uri, messages)) {
            // Not a file the library opens: no product is the right answer.
            EXPECT_FALSE(Tessel::NITFFactory::get().openProduct(uri, messages)) << path;
            failures.push_back(path.filename().string() + ": " +
                               (messages.empty() ? "" : messages.front()));
            continue;
        }
        messages.clear();
        const auto product = Tessel::NITFFactory::get().openProduct(uri, messages);
        ASSERT_TRUE(product) << path << (messages.empty() ? "" : messages.front());
        EXPECT_TRUE(messages.empty()) << path << ": " << messages.front();
        ++opened;
        // One image layer for each image segment, whatever the segment holds.
        const auto images = std::count_if(
            product->getLayerDefinitions().begin(), product->getLayerDefinitions().end(),
            [](const auto& layer) { return layer.Type == Tessel::Products::Image; });
        EXPECT_EQ(static_cast<size_t>(images),
                  Tessel::NITFFactory::get().open(uri, messages).getNumberImages())
            << path;
        for (const auto& layer : product->getLayerDefinitions()) {
            ++layers;
            const Json document = Json::parse(std::to_string(layer.MapDoc), nullptr, false);
            ASSERT_FALSE(document.is_discarded()) << path;
            const auto keys = keysOf(document);
            const auto& expected = layer.Type == Tessel::Products::Image ? imageKeys : featureKeys;
            ASSERT_LE(keys.size(), expected.size()) << path;
            EXPECT_TRUE(std::equal(keys.begin(), keys.end(), expected.begin())) << path;
            EXPECT_GE(keys.size(), expected.size() - 1) << path;
            expectNestedKeysInOrder(document, layer.Type == Tessel::Products::Image, path);
        }
        Tessel::NITFFactory::get().clearCache();
    }
    std::printf("%zu files, %zu products, %zu layers; not opened:\n", files, opened, layers);
    for (const auto& failure : failures) {
        std::printf("  %s\n", failure.c_str());
    }
    EXPECT_GT(opened, 200U);
}

}  // namespace

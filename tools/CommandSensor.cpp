#include <array>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tessel/platform/base/text.h"
#include "tessel/sensors/RasterSensorFactory.h"
#include "tools/Commands.h"
#include "tools/ImageSupport.h"

namespace tessel_cli {
namespace {

using VEXASensors::ImageCoord;
using VEXASensors::LLHCoord;
using VEXASensors::RasterSensor;
using VEXASensors::RasterSensorFactory;

// Exactly three finite numbers separated by commas; blanks around them are allowed.
std::optional<std::array<double, 3>> parseTriple(const std::string& line) {
    std::array<double, 3> values{};
    std::stringstream in(line);
    std::string part;
    size_t count = 0;
    while (std::getline(in, part, ',')) {
        if (count == 3) {
            return std::nullopt;
        }
        const size_t first = part.find_first_not_of(" \t\r");
        const size_t last = part.find_last_not_of(" \t\r");
        if (first == std::string::npos) {
            return std::nullopt;
        }
        const std::string text = part.substr(first, last - first + 1);
        size_t used = 0;
        try {
            values[count] = std::stod(text, &used);
        } catch (const std::exception&) {
            return std::nullopt;
        }
        if (used != text.size() || !std::isfinite(values[count])) {
            return std::nullopt;
        }
        ++count;
    }
    if (count != 3) {
        return std::nullopt;
    }
    return values;
}

std::string number(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

bool finite(std::initializer_list<double> values) {
    for (double v : values) {
        if (!std::isfinite(v)) {
            return false;
        }
    }
    return true;
}

// One output line for one input line; empty (or "null") when the point can't be mapped.
std::string mapPoint(const RasterSensor& sensor, const std::string& line, bool toImage, bool json) {
    const auto input = parseTriple(line);
    try {
        if (input && toImage) {
            const auto image =
                sensor.groundToImage_llh(LLHCoord((*input)[0], (*input)[1], (*input)[2]));
            if (image && finite({image->line, image->samp})) {
                return json ? "{\"line\":" + number(image->line) +
                                  ",\"sample\":" + number(image->samp) + "}"
                            : number(image->line) + "," + number(image->samp);
            }
        } else if (input) {
            const auto ground =
                sensor.imageToGround_llh(ImageCoord((*input)[0], (*input)[1]), (*input)[2]);
            if (ground && finite({ground->lat, ground->lon, ground->height})) {
                return json ? "{\"latitude\":" + number(ground->lat) +
                                  ",\"longitude\":" + number(ground->lon) +
                                  ",\"height\":" + number(ground->height) + "}"
                            : number(ground->lat) + "," + number(ground->lon) + "," +
                                  number(ground->height);
            }
        }
    } catch (const std::exception&) {
        // The model refused the point: it stays unmapped and the next one follows.
    }
    return json ? "null" : "";
}

int mapStream(const RasterSensor& sensor, bool toImage, bool json) {
    std::string line;
    while (std::getline(std::cin, line)) {
        const std::string out = mapPoint(sensor, line, toImage, json);
        std::fwrite(out.data(), 1, out.size(), stdout);
        std::fputc('\n', stdout);
    }
    return 0;
}

nlohmann::ordered_json modelJson(const RasterSensor& sensor) {
    const auto range = sensor.getValidImageRange();
    const auto heights = sensor.getValidHeightRange();
    const std::string state = sensor.getModelState();
    const nlohmann::json document =
        nlohmann::json::parse(state.substr(state.find(' ') + 1), nullptr, false);
    return nlohmann::ordered_json{
        {"name", sensor.getModelName()},
        {"family", sensor.getFamily()},
        {"version", sensor.getVersion()},
        {"imageIdentifier", sensor.getImageIdentifier()},
        {"referenceDateAndTime", sensor.getReferenceDateAndTime()},
        {"useLLH", sensor.useLLH()},
        {"validImageRange",
         {{"first", {{"line", range.first.line}, {"sample", range.first.samp}}},
          {"second", {{"line", range.second.line}, {"sample", range.second.samp}}}}},
        {"validHeightRange", {heights.first, heights.second}},
        {"parameters", document.is_discarded() ? nlohmann::json(state) : document}};
}

int printInfo(const std::vector<std::wstring>& models, const RasterSensor& sensor, bool json) {
    if (json) {
        nlohmann::ordered_json out;
        out["models"] = nlohmann::json::array();
        for (const auto& model : models) {
            out["models"].push_back(std::to_string(model));
        }
        out["model"] = modelJson(sensor);
        std::printf("%s\n", out.dump(2).c_str());
        return 0;
    }
    for (const auto& model : models) {
        std::printf("%-22s %s\n", "model available", std::to_string(model).c_str());
    }
    const auto range = sensor.getValidImageRange();
    const auto heights = sensor.getValidHeightRange();
    std::printf("%-22s %s\n", "model", sensor.getModelName().c_str());
    std::printf("%-22s %s\n", "family", sensor.getFamily().c_str());
    std::printf("%-22s %s\n", "version", sensor.getVersion().c_str());
    std::printf("%-22s %s\n", "image identifier", sensor.getImageIdentifier().c_str());
    std::printf("%-22s %s\n", "reference time", sensor.getReferenceDateAndTime().c_str());
    std::printf("%-22s %s\n", "geodetic route", sensor.useLLH() ? "yes" : "no");
    std::printf("%-22s %.17g,%.17g to %.17g,%.17g\n", "valid image range", range.first.line,
                range.first.samp, range.second.line, range.second.samp);
    std::printf("%-22s %.17g to %.17g\n", "valid height range", heights.first, heights.second);
    std::printf("%-22s %s\n", "parameters", sensor.getModelState().c_str());
    return 0;
}

int runSensor(const Arguments& arguments) {
    try {
        const OptionWords options =
            parseOptions(arguments, {"--model"}, {"--to-image", "--to-ground", "--info", "--json"});
        if (options.positional.size() != 1) {
            return fail("sensor", "expected one URI (see 'tessel sensor --help')");
        }
        const int modes = static_cast<int>(options.has("--to-image")) +
                          static_cast<int>(options.has("--to-ground")) +
                          static_cast<int>(options.has("--info"));
        if (modes != 1) {
            return fail("sensor", "give exactly one of --to-image, --to-ground and --info");
        }
        const std::string& uri = options.positional[0];
        RasterSensorFactory& factory = RasterSensorFactory::get();
        std::string properties;
        if (const auto model = options.value("--model")) {
            properties = nlohmann::json{{*model, nlohmann::json::object()}}.dump();
        }
        const RasterSensor sensor = factory.createRasterSensorFromFile(uri, properties);
        if (!sensor) {
            const auto model = options.value("--model");
            return fail("sensor", model ? "model " + *model + " can't be built for " + uri
                                        : "no sensor model can be built for " + uri);
        }
        const bool json = options.has("--json");
        if (options.has("--info")) {
            return printInfo(factory.getAllSupportedModels(uri), sensor, json);
        }
        return mapStream(sensor, options.has("--to-image"), json);
    } catch (const std::exception& error) {
        return fail("sensor", error.what());
    }
}

}  // namespace

Command sensorCommand() {
    return {"sensor", "sensor URI [--model NAME] (--to-image | --to-ground | --info) [--json]",
            "Map points between the ground and an image with the image's sensor model.",
            "--to-image reads \"latitude,longitude,height\" lines (degrees, metres above the\n"
            "WGS-84 ellipsoid) from standard input and writes \"line,sample\" lines;\n"
            "--to-ground reads \"line,sample,height\" and writes \"latitude,longitude,height\".\n"
            "A point that can't be mapped gives an empty line (null with --json) and the\n"
            "command goes on. --json writes one JSON object per point. --info lists the models\n"
            "that can be built for the image and the chosen one's parameters. --model picks a\n"
            "model by name: VEXA_RPC_A, VEXA_RPC_B (rational polynomials), VEXA_RSM_POLY\n"
            "(replacement sensor model), VEXA_4C_IGEOLO, VEXA_4C_BLOCKA, VEXA_4C_CSCRNA (image\n"
            "corners), or a plug-in's; otherwise the first in the sensor factory's order is\n"
            "used. Numbers are written with 17 significant digits.",
            runSensor};
}

}  // namespace tessel_cli

#pragma once
// What "tessel info" tells of an image object: its grid, samples, codec, NoData, colours
// and pyramid levels.

#include <nlohmann/json.hpp>

#include "tessel/image/NITFImage.h"

namespace tessel_cli {

nlohmann::ordered_json imageDetails(const Tessel::NITFImage& image);
// The text lines of the same, indented under the image; an "error" entry prints alone.
void printImageDetails(const nlohmann::ordered_json& details);

}  // namespace tessel_cli

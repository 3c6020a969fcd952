#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// The state of one NITFImage: what the subheader says about the image as a whole, the tile
// factory that knows its pixel grid, its pyramid levels and its histogram cache.

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "tessel/core/eColorInterpretation.h"
#include "tessel/core/eCompressionType.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/TileFactory.h"
#include "tessel/platform/base/nitf_date.h"

namespace Tessel {

class NITFFile;

struct NITFImagePrivate {
    uint32_t actualBitsPerPixel = 0;
    nitf_date acquisitionDate;
    std::string imageCategory;
    eCompressionType compressionType = eCompressionUnknown;
    eColorInterpretation colorInterpretation = eColorUndefined;
    std::weak_ptr<NITFFile> file;
    // Overview files that openPyramidLevel opened, kept open with their images.
    std::vector<std::pair<std::shared_ptr<NITFFile>, std::shared_ptr<NITFImage>>> externalOverviews;
    std::mutex externalOverviewsMutex;
    // Index i holds level i + 1; an element may be empty.
    std::vector<std::shared_ptr<NITFImage>> levels;
    std::vector<ColorMap> colorMaps;
    std::string firstBandRepresentation;
    std::string imageRepresentation;
    std::unique_ptr<TileFactory> tileFactory;
    std::map<uint32_t, std::pair<bool, NITFImage::Histogram>> histogramCache;
    std::vector<LocationTable> locationTables;
};

// The IC code of an image subheader as a compression type: two characters, any case. Only
// the codes that a decoder may serve are known; C5 and M5 are not among them.
eCompressionType imageCompressionFromIC(std::string_view code);

// The number of halvings that brings a reduction factor closest to 1: up to 1.5 gives 0,
// above 1.5 up to 3.0 gives 1, above 3.0 up to 6.0 gives 2, and so on.
uint32_t halvingsForFactor(double factor);

}  // namespace Tessel

TESSEL_INTERNAL_END

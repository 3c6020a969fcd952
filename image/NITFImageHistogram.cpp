// Histograms and statistics of one band. A histogram samples tiles of this image or of an
// overview; the lowest value of the range (where NoData and fill lie) takes no part.

#include <cmath>
#include <cstring>
#include <exception>
#include <limits>
#include <list>
#include <stdexcept>

#include "image/NITFImagePrivate.h"
#include "tessel/core/Options.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/TileFactory.h"
#include "tessel/image/TilePool.h"
#include "tessel/platform/base/lumo_concurrency.h"

namespace Tessel {
namespace {

constexpr uint32_t kCentralTiles = 0xFFFFFFFF;
constexpr uint32_t kFullResolutionStep = 1;

struct Accumulator {
    int64_t count = 0;
    double min = 0;
    double max = 0;
    double mean = 0;
    double squares = 0;  // running sum of squared differences from the mean

    void add(double value) {
        ++count;
        if (count == 1) {
            min = max = mean = value;
            squares = 0;
            return;
        }
        min = std::min(min, value);
        max = std::max(max, value);
        const double d = value - mean;
        mean += d / static_cast<double>(count);
        squares += (value - mean) * d;
    }
};

struct BinMapping {
    double offset = 0;
    double scale = 1;
};

template <typename Sample>
void accumulateSamples(const uint8_t* samples, size_t count, Accumulator& accumulator,
                       std::vector<uint64_t>& bins, const BinMapping& mapping) {
    const auto lastBin = static_cast<double>(bins.size()) - 1;
    for (size_t i = 0; i < count; ++i) {
        Sample sample;
        std::memcpy(&sample, samples + i * sizeof(Sample), sizeof(Sample));
        const auto value = static_cast<double>(sample);
        const double b = std::floor((value + mapping.offset) * mapping.scale);
        if (!(b > 0 && b <= lastBin)) {  // NaN included
            continue;
        }
        ++bins[static_cast<size_t>(b)];
        accumulator.add(value);
    }
}

// Unsigned and signed integers of 1, 2, 4 or 8 bytes; anything else counts nothing.
bool accumulate(const uint8_t* samples, uint32_t width, uint32_t height, lumo_pixel::type type,
                uint32_t sampleBytes, Accumulator& accumulator, std::vector<uint64_t>& bins,
                const BinMapping& mapping) {
    const size_t count = size_t{width} * height;
    const bool isSigned = type == lumo_pixel::signed_integer;
    if (type != lumo_pixel::unsigned_integer && !isSigned) {
        return false;
    }
    switch (sampleBytes) {
        case 1:
            isSigned ? accumulateSamples<int8_t>(samples, count, accumulator, bins, mapping)
                     : accumulateSamples<uint8_t>(samples, count, accumulator, bins, mapping);
            return true;
        case 2:
            isSigned ? accumulateSamples<int16_t>(samples, count, accumulator, bins, mapping)
                     : accumulateSamples<uint16_t>(samples, count, accumulator, bins, mapping);
            return true;
        case 4:
            isSigned ? accumulateSamples<int32_t>(samples, count, accumulator, bins, mapping)
                     : accumulateSamples<uint32_t>(samples, count, accumulator, bins, mapping);
            return true;
        case 8:
            isSigned ? accumulateSamples<int64_t>(samples, count, accumulator, bins, mapping)
                     : accumulateSamples<uint64_t>(samples, count, accumulator, bins, mapping);
            return true;
        default:
            return false;
    }
}

// 2 to the power `bits`, minus 1, computed with a 32-bit shift as the range of integer
// samples always was: 32 significant bits shift by 0.
uint32_t integerRange(uint32_t bits) {
    return static_cast<uint32_t>(uint32_t{1} << (bits & 31U)) - 1U;
}

// The range that the pixel type allows, before any sample is seen.
void presetRange(lumo_pixel::type type, uint32_t bits, uint32_t actualBits,
                 NITFImage::Histogram& histogram) {
    const uint32_t significant = std::min(actualBits, bits);
    switch (type) {
        case lumo_pixel::unsigned_integer:
            histogram.min = 0;
            histogram.max = bits == 32 ? 4294967295.0 : integerRange(significant);
            break;
        case lumo_pixel::signed_integer: {
            const int64_t r = integerRange(significant);
            const int64_t min = -r / 2;
            histogram.min = static_cast<double>(min);
            histogram.max = static_cast<double>(r + min - 1);
            break;
        }
        case lumo_pixel::bilevel:
            histogram.min = 0;
            histogram.max = 1;
            break;
        case lumo_pixel::real:
        case lumo_pixel::complex_float:
            if (bits == 32) {
                histogram.min = std::numeric_limits<float>::min();
                histogram.max = std::numeric_limits<float>::max();
            } else if (bits == 64) {
                histogram.min = std::numeric_limits<double>::min();
                histogram.max = std::numeric_limits<double>::max();
            }
            break;
        case lumo_pixel::complex_integer:
            if (bits == 16) {
                histogram.min = -32768;
                histogram.max = 32767;
            } else if (bits == 32) {
                histogram.min = -2147483648.0;
                histogram.max = 2147483647.0;
            }
            break;
        default:
            histogram.min = 0;
            histogram.max = integerRange(bits);
            break;
    }
}

// The blocks that a histogram reads: all of them, or the central ones.
struct BlockRange {
    uint32_t firstColumn = 0;
    uint32_t endColumn = 0;
    uint32_t firstRow = 0;
    uint32_t endRow = 0;
};

void narrowToCenter(uint32_t blocks, uint32_t limit, uint32_t& first, uint32_t& end) {
    if (blocks <= limit) {
        return;
    }
    first = blocks / 2 - limit / 2;
    end = std::min(blocks, first + limit);
}

}  // namespace

bool NITFImage::calculateStatistics(int /*band*/, double& min, double& max, double& mean,
                                    double& stddev) {
    min = 0;
    max = std::ldexp(1.0, static_cast<int>(d_->actualBitsPerPixel)) - 1;
    mean = (max - min) / 2;
    stddev = mean;
    return true;
}

bool NITFImage::calculateHistogram(int band, Histogram& histogram) {
    if (options_.mode == ImageOptions::write_mode || band < 0) {
        return false;
    }
    if (histogram.step == 0) {
        histogram.step = kFullResolutionStep;
    }
    const uint32_t bandBits = static_cast<uint32_t>(band) & 0xFFFFU;
    const uint32_t key = (histogram.step << 16) | bandBits;
    const bool cacheable = band < 65535;
    if (cacheable) {
        for (const uint32_t candidate : {key, (kFullResolutionStep << 16) | bandBits}) {
            const auto found = d_->histogramCache.find(candidate);
            if (found != d_->histogramCache.end()) {
                histogram = found->second.second;
                return found->second.first;
            }
        }
    }
    const bool result = calculateHistogramInternal(band, histogram);
    if (!cacheable) {
        return result;
    }
    d_->histogramCache.try_emplace(key, result, histogram);
    if (histogram.step == kFullResolutionStep) {
        d_->histogramCache.erase((kCentralTiles << 16) | bandBits);
    }
    return result;
}

bool NITFImage::calculateHistogramInternal(int band, Histogram& histogram) {
    const auto tileLimit =
        static_cast<uint32_t>(std::max(0, s_opt_tessel_image_max_histogram_tiles()));
    const auto areaLimit =
        static_cast<uint64_t>(std::max(0, s_opt_tessel_image_max_histogram_area()));
    const TileFactory* factory = d_->tileFactory.get();
    const uint32_t bits = factory->getBitsPerPixel();
    const lumo_pixel::type type = factory->getPixelType();

    presetRange(type, bits, d_->actualBitsPerPixel, histogram);
    histogram.mean = (histogram.max - histogram.min) / 2;
    histogram.stddev = histogram.mean;

    const std::vector<std::shared_ptr<NITFImage>>& levels = d_->levels;
    if (histogram.step == kCentralTiles && !levels.empty()) {
        return false;
    }
    if (histogram.step > 1 && !levels.empty()) {
        const uint32_t halvings = halvingsForFactor(histogram.step);
        if (halvings >= 1 && halvings < levels.size()) {
            histogram.step = 0;
            // One level deeper than the factor asks for.
            const std::shared_ptr<NITFImage>& level = levels[halvings];
            if (level) {
                const bool result = level->calculateHistogram(band, histogram);
                if (result) {
                    histogram.step = uint32_t{1} << halvings;
                }
                return result;
            }
        }
    }

    const uint32_t blockWidth = factory->getBlockWidth();
    const uint32_t blockHeight = factory->getBlockHeight();
    if (blockWidth == 0 || blockHeight == 0) {
        return false;
    }
    BlockRange range{0, factory->getBlocksX(), 0, factory->getBlocksY()};
    if (static_cast<int32_t>(histogram.step) < 1) {
        narrowToCenter(factory->getBlocksX(), tileLimit, range.firstColumn, range.endColumn);
        narrowToCenter(factory->getBlocksY(), tileLimit, range.firstRow, range.endRow);
        const uint64_t columns = range.endColumn - range.firstColumn;
        const uint64_t rows = range.endRow - range.firstRow;
        if (uint64_t{blockWidth} * blockHeight * rows * columns > areaLimit) {
            return false;
        }
        histogram.step = static_cast<uint32_t>(columns);
    }

    const uint32_t sampleBytes = factory->getBytesPerPixel();
    lumo_concurrency::track_span span(4, "calculateHistogram");

    // A block of zeros tells whether the pixel type can be counted at all.
    {
        const std::vector<uint8_t> zeros(size_t{4} * std::max<uint32_t>(sampleBytes, 1), 0);
        Accumulator scratch;
        std::vector<uint64_t> scratchBins(1);
        if (!accumulate(zeros.data(), 2, 2, type, sampleBytes, scratch, scratchBins, {})) {
            return false;
        }
    }

    std::list<tile_id> ids;
    for (uint32_t row = range.firstRow; row < range.endRow; ++row) {
        for (uint32_t column = range.firstColumn; column < range.endColumn; ++column) {
            ids.push_back({factory, column, row, static_cast<uint32_t>(band)});
        }
    }
    TilePool* pool = TilePool::get();
    TilePool::TileFutures tiles;
    if (!ids.empty()) {
        tiles = pool->queueTiles(ids);
    }

    const double valueRange = histogram.max - histogram.min;
    histogram.scale = valueRange < 2048 ? 1.0 : 2048 / valueRange;
    histogram.offset = -histogram.min;
    // 32-bit signed samples preset an empty range (max below min): no bins then.
    const double binCount = valueRange * histogram.scale;
    histogram.bins.assign(binCount >= 1 ? static_cast<size_t>(binCount) : 0, 0);
    const BinMapping mapping{histogram.offset, histogram.scale};
    Accumulator accumulator;
    try {
        for (auto& [id, future] : tiles) {
            const std::shared_ptr<Tile> tile = pool->awaitTile(future);
            if (!tile || !tile->hasBuffer()) {
                throw std::runtime_error("block data missing");
            }
            if (!accumulate(tile->getBuffer(), blockWidth, blockHeight, type, sampleBytes,
                            accumulator, histogram.bins, mapping)) {
                throw std::runtime_error("accumulate failed");
            }
        }
        histogram.min = accumulator.min;
        histogram.max = accumulator.max;
        histogram.mean = accumulator.mean;
        histogram.stddev =
            accumulator.count > 1
                ? std::sqrt(accumulator.squares / static_cast<double>(accumulator.count - 1))
                : 0.0;
        pool->waitAll(tiles);
        return true;
    } catch (const std::exception&) {
        pool->waitAll(tiles);
        return false;
    }
}

}  // namespace Tessel

#include <cstdio>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "tessel/image/NITFImage.h"
#include "tools/Commands.h"
#include "tools/ImageSupport.h"
#include "tools/TileAudit.h"

namespace tessel_cli {
namespace {

using Json = nlohmann::ordered_json;

// The lowest value that falls into bin `bin`.
double binValue(const Tessel::NITFImage::Histogram& histogram, size_t bin) {
    const double scale = histogram.scale != 0 ? histogram.scale : 1.0;
    return static_cast<double>(bin) / scale - histogram.offset;
}

// -0 shows as 0: the offset of a range that starts at 0 is its negation.
double shown(double value) {
    return value + 0.0;
}

Json toJson(int band, const Tessel::NITFImage::Histogram& histogram) {
    return Json{{"band", band},
                {"step", histogram.step},
                {"min", histogram.min},
                {"max", histogram.max},
                {"mean", histogram.mean},
                {"stddev", histogram.stddev},
                {"offset", shown(histogram.offset)},
                {"scale", histogram.scale},
                {"bins", histogram.bins}};
}

void printText(int band, const Tessel::NITFImage::Histogram& histogram) {
    std::printf("%-8s %d\n", "band", band);
    std::printf("%-8s %u\n", "step", histogram.step);
    std::printf("%-8s %.17g\n", "min", histogram.min);
    std::printf("%-8s %.17g\n", "max", histogram.max);
    std::printf("%-8s %.17g\n", "mean", histogram.mean);
    std::printf("%-8s %.17g\n", "stddev", histogram.stddev);
    std::printf("%-8s offset %.17g, scale %.17g, %zu bins\n", "bins", shown(histogram.offset),
                histogram.scale, histogram.bins.size());
    for (size_t bin = 0; bin < histogram.bins.size(); ++bin) {
        if (histogram.bins[bin] != 0) {
            std::printf("  %8zu  value %-14.10g %llu\n", bin, binValue(histogram, bin),
                        static_cast<unsigned long long>(histogram.bins[bin]));
        }
    }
}

int runHistogram(const Arguments& arguments) {
    try {
        const OptionWords options =
            parseOptions(arguments, {"--band", "--step"}, {"--json", "--allow-failed-tiles"});
        if (options.positional.size() != 1) {
            return fail("histogram", "expected one URI (see 'tessel histogram --help')");
        }
        const uint32_t band =
            options.value("--band") ? parseUnsigned(*options.value("--band"), "--band") : 0;
        Tessel::NITFImage::Histogram histogram;
        histogram.step =
            options.value("--step") ? parseUnsigned(*options.value("--step"), "--step") : 1;
        const OpenedImage opened = openImage(options.positional[0], 0);
        if (band >= opened.image->getNumBands()) {
            return fail("histogram",
                        "band " + std::to_string(band) + " doesn't exist (the image has " +
                            std::to_string(opened.image->getNumBands()) + ", numbered from 0)");
        }
        const int index = static_cast<int>(band);
        if (!opened.image->calculateHistogram(index, histogram)) {
            return fail("histogram", "no histogram of band " + std::to_string(band) +
                                         ": its pixel type isn't counted, or the sampled "
                                         "area is too large");
        }
        if (options.has("--json")) {
            std::printf("%s\n", toJson(index, histogram).dump(2).c_str());
        } else {
            printText(index, histogram);
        }
        if (histogram.step != 1) {
            return 0;  // an overview or the central tiles were counted: not checked here
        }
        const Tessel::NITFImage& image = *opened.image;
        return reportTiles("histogram",
                           auditTiles(image, {index}, 0, 0, image.getWidth(), image.getHeight()),
                           options.has("--allow-failed-tiles"));
    } catch (const std::exception& error) {
        return fail("histogram", error.what());
    }
}

}  // namespace

Command histogramCommand() {
    return {"histogram", "histogram URI [--band N] [--step N] [--json] [--allow-failed-tiles]",
            "Count the values of one band of an image and print their statistics.",
            "The URI names the image with #IM_n (image 0 otherwise); --band is numbered from 0\n"
            "(default 0). --step 1 (the default) counts every tile, a larger step reads an\n"
            "overview about that many times smaller, and 4294967295 only the central tiles.\n"
            "The text lists step, min, max, mean and stddev, then each non-empty bin with the\n"
            "lowest value it holds; --json prints the whole histogram, every bin included.\n"
            "The lowest value of the type's range (where fill values lie) is never counted.\n"
            "With --step 1, tiles that could not be decoded (counted as their fill) are\n"
            "listed on standard error with their reasons and the status is 3, unless\n"
            "--allow-failed-tiles is given.",
            runHistogram};
}

}  // namespace tessel_cli

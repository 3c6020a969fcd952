#pragma once
// Small uncompressed NITF images for the image tests: a grid of blocks whose samples a
// function of (band, row, column) gives, written with ImageFileBuilder and opened through
// the factory.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/NITFImage.h"

namespace image_test {

using SampleFunction = std::function<uint64_t(uint32_t band, uint32_t row, uint32_t column)>;

struct Grid {
    uint32_t rows = 8;
    uint32_t cols = 8;
    uint32_t blockRows = 4;
    uint32_t blockCols = 4;
    uint32_t bands = 1;
    uint32_t nbpp = 8;  // 8 or 16
    std::string pvtype = "INT";
    SampleFunction sample = [](uint32_t, uint32_t, uint32_t) { return 0; };
};

// Band-interleaved-by-block data: each block holds all bands, big-endian samples.
inline std::string gridData(const Grid& grid) {
    const uint32_t blocksAcross = (grid.cols + grid.blockCols - 1) / grid.blockCols;
    const uint32_t blocksDown = (grid.rows + grid.blockRows - 1) / grid.blockRows;
    const size_t sampleBytes = grid.nbpp / 8;
    std::string data;
    for (uint32_t blockRow = 0; blockRow < blocksDown; ++blockRow) {
        for (uint32_t blockColumn = 0; blockColumn < blocksAcross; ++blockColumn) {
            for (uint32_t band = 0; band < grid.bands; ++band) {
                for (uint32_t r = 0; r < grid.blockRows; ++r) {
                    for (uint32_t c = 0; c < grid.blockCols; ++c) {
                        const uint64_t value = grid.sample(band, blockRow * grid.blockRows + r,
                                                           blockColumn * grid.blockCols + c);
                        data += bigEndian(value, sampleBytes);
                    }
                }
            }
        }
    }
    return data;
}

inline ImageLayout gridLayout(const Grid& grid) {
    ImageLayout layout;
    layout.rows = grid.rows;
    layout.cols = grid.cols;
    layout.nbpp = grid.nbpp;
    layout.abpp = grid.nbpp;
    layout.pvtype = grid.pvtype;
    layout.imode = "B";
    layout.nbpr = (grid.cols + grid.blockCols - 1) / grid.blockCols;
    layout.nbpc = (grid.rows + grid.blockRows - 1) / grid.blockRows;
    layout.nppbh = grid.blockCols;
    layout.nppbv = grid.blockRows;
    layout.bands = image_test::bands(grid.bands, "M");
    if (grid.bands > 1) {
        layout.irep = "MULTI";
    }
    layout.data = gridData(grid);
    return layout;
}

inline void writeGrid(const std::filesystem::path& path, const Grid& grid) {
    ImageFileBuilder().add(gridLayout(grid)).write(path);
}

// The file at `path`, opened through the factory; empty when it doesn't open.
inline std::shared_ptr<Tessel::NITFFile> openFile(const std::filesystem::path& path) {
    Tessel::NITFMessages messages;
    Tessel::NITFFileContext context =
        Tessel::NITFFactory::get().open(file_test::uriOf(path), messages);
    if (!context) {
        return {};
    }
    return context.getFile().shared_from_this();
}

// An image with its file: the image holds the file only weakly.
struct OpenImage {
    std::shared_ptr<Tessel::NITFFile> file;
    std::shared_ptr<Tessel::NITFImage> image;
    Tessel::NITFImage* operator->() const { return image.get(); }
};

inline OpenImage openImage(const std::filesystem::path& path, Tessel::ImageOptions options = {}) {
    OpenImage opened;
    opened.file = openFile(path);
    if (opened.file) {
        opened.image = opened.file->getImage(options);
    }
    return opened;
}

}  // namespace image_test

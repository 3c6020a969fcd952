#pragma once
// Small NITF files that carry rational polynomial coefficients, written by the tests.

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "support/ImageFileBuilder.h"

namespace tessel_test {

using image_test::ImageFileBuilder;
using image_test::ImageLayout;
using image_test::rawTre;

// The values of one record, near 42.3 N 20.1 E, over an image of 100 lines and 120 samples.
struct RpcValues {
    std::string success = "1";
    double lineOff = 50, sampOff = 60, latOff = 42.3, lonOff = 20.1, heightOff = 100;
    double lineScale = 50, sampScale = 60, latScale = 0.05, lonScale = 0.05, heightScale = 500;
    std::vector<double> lineNum{0.001, -0.02, -1.0, 0.003, 1e-5, 2e-5, -1e-5, 3e-6, 1e-6, 2e-6,
                                0,     0,     0,    0,     0,    0,    0,     0,    0,    0};
    std::vector<double> lineDen{1.0, 1e-4, 1e-4, 1e-4, 0, 0, 0, 0, 0, 0,
                                0,   0,    0,    0,    0, 0, 0, 0, 0, 0};
    std::vector<double> sampNum{-0.002, 1.0, 0.01, 4e-4, -2e-5, 1e-5, 2e-6, 0, 0, 0,
                                0,      0,   0,    0,    0,     0,    0,    0, 0, 0};
    std::vector<double> sampDen{1.0, -2e-4, -2e-4, -2e-4, 0, 0, 0, 0, 0, 0,
                                0,   0,     0,     0,     0, 0, 0, 0, 0, 0};
};

inline std::string rpcField(const char* format, double value) {
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

// "+1.234567E-3": twelve characters, one exponent digit.
inline std::string rpcCoefficient(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%+.6E", value);
    std::string out(text);
    const size_t e = out.find('E');
    const std::string exponent = out.substr(e + 2);
    return out.substr(0, e + 2) + exponent.substr(exponent.size() - 1);
}

// The 1041 bytes of an RPC00A or RPC00B record.
inline std::string rpcPayload(const RpcValues& v) {
    std::string out = v.success;
    out += "0001.50" + std::string("0000.50");
    out += rpcField("%06.0f", v.lineOff) + rpcField("%05.0f", v.sampOff);
    out += rpcField("%+08.4f", v.latOff) + rpcField("%+09.4f", v.lonOff);
    out += rpcField("%+05.0f", v.heightOff);
    out += rpcField("%06.0f", v.lineScale) + rpcField("%05.0f", v.sampScale);
    out += rpcField("%+08.4f", v.latScale) + rpcField("%+09.4f", v.lonScale);
    out += rpcField("%+05.0f", v.heightScale);
    for (const auto* list : {&v.lineNum, &v.lineDen, &v.sampNum, &v.sampDen}) {
        for (double c : *list) {
            out += rpcCoefficient(c);
        }
    }
    return out;
}

// One image of 100 x 120 zero bytes with the record as `tag` ("RPC00A" or "RPC00B").
inline void writeRpcFile(const std::filesystem::path& path, const std::string& tag = "RPC00B",
                         const RpcValues& values = RpcValues()) {
    ImageLayout image;
    image.iid1 = "RPCIMAGE";
    image.rows = 100;
    image.cols = 120;
    image.tres = {rawTre(tag, rpcPayload(values))};
    image.data = std::string(100 * 120, '\0');
    ImageFileBuilder().add(image).write(path);
}

}  // namespace tessel_test

#pragma once
// Replacement sensor model documents for tests: a small image over a known place, divided
// into sections with their own polynomials, in any of the three ground domains.

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tessel/platform/geo/gx.h"
#include "tessel/sensors/Coordinates.h"

namespace rsm_test {

using nlohmann::json;

struct Layout {
    std::string domain = "G";  // G, H or R
    int rows = 1000, cols = 1200;
    int rnis = 2, cnis = 2;
    // Sections written; -1 for rnis * cnis.
    int sectionsWritten = -1;
    double lat0 = 42.4, lon0 = 20.0;  // upper left corner, degrees
    double dLat = 0.2, dLon = 0.2;    // extent over the image, degrees
    double height0 = 100.0, heightScale = 500.0;
    bool withMotion = true;
    bool withIllumination = true;
    bool withFullSize = true;
};

// The ground domain's (x, y) of a place in degrees; R works in Earth-centred metres.
inline void domainXY(const Layout& l, double lat, double lon, double h, double& x, double& y,
                     double& z) {
    if (l.domain == "R") {
        gx_lph_to_xyz(VEXASensors::kWgs84A, VEXASensors::kWgs84E2, lon * VEXASensors::kDegToRad,
                      lat * VEXASensors::kDegToRad, h, &x, &y, &z);
        return;
    }
    x = lon * VEXASensors::kDegToRad;
    if (l.domain == "H" && x < 0) {
        x += 6.283185307179586;
    }
    y = lat * VEXASensors::kDegToRad;
    z = h;
}

inline std::string text(double v) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%+.14E", v);
    return buffer;
}

// One section: image rows and columns of its own area map to the normalised ground with
// a little curvature, a height slope and a non-constant denominator, different per section.
inline json section(const Layout& l, int r, int c) {
    const double rowsPer = static_cast<double>(l.rows) / l.rnis;
    const double colsPer = static_cast<double>(l.cols) / l.cnis;
    const double rowCentre = (r + 0.5) * rowsPer;
    const double colCentre = (c + 0.5) * colsPer;
    const double latCentre = l.lat0 - l.dLat * rowCentre / l.rows;
    const double lonCentre = l.lon0 + l.dLon * colCentre / l.cols;
    double x = 0, y = 0, z = 0;
    domainXY(l, latCentre, lonCentre, l.height0, x, y, z);
    double xs = 0, ys = 0, zs = 0;
    if (l.domain == "R") {
        // Scales of the same order as the section's extent in metres.
        xs = ys = zs = 20000.0;
    } else {
        xs = l.dLon / l.cnis / 2 * VEXASensors::kDegToRad;
        ys = l.dLat / l.rnis / 2 * VEXASensors::kDegToRad;
        zs = l.heightScale;
    }
    const double wobble = 0.001 * (1 + r + 2 * c);
    // Powers (2, 2, 1) for the numerators, (1, 1, 1) for the denominators.
    std::vector<std::string> rn(18, text(0)), cn(18, text(0)), rd(8, text(0)), cd(8, text(0));
    const auto at3 = [](int i, int j, int k) { return i + 3 * j + 9 * k; };
    const auto at2 = [](int i, int j, int k) { return i + 2 * j + 4 * k; };
    if (l.domain == "R") {
        // Rows follow y and z, columns x; crude but invertible near the centre.
        rn[at3(0, 1, 0)] = text(-1.0), rn[at3(0, 0, 1)] = text(0.3), rn[at3(1, 0, 0)] = text(0.1);
        cn[at3(1, 0, 0)] = text(1.0), cn[at3(0, 1, 0)] = text(0.05);
    } else {
        rn[at3(0, 1, 0)] = text(-1.0), rn[at3(1, 0, 0)] = text(0.02);
        rn[at3(0, 0, 1)] = text(0.01), rn[at3(1, 1, 0)] = text(wobble);
        rn[at3(2, 0, 0)] = text(-wobble / 2), rn[at3(0, 2, 1)] = text(wobble / 3);
        cn[at3(1, 0, 0)] = text(1.0), cn[at3(0, 1, 0)] = text(-0.015);
        cn[at3(0, 0, 1)] = text(-0.02), cn[at3(2, 1, 0)] = text(wobble);
        cn[at3(0, 2, 0)] = text(wobble / 2), cn[at3(1, 1, 1)] = text(-wobble / 4);
    }
    rn[0] = text(0.001 * (r - c));
    rd[0] = text(1.0), rd[at2(1, 0, 0)] = text(wobble / 5), rd[at2(0, 1, 1)] = text(-wobble / 7);
    cd[0] = text(1.0), cd[at2(0, 1, 0)] = text(-wobble / 6), cd[at2(1, 0, 1)] = text(wobble / 9);
    return json{{"IID", "RSM TEST"},     {"EDITION", "1"},     {"RSN", r + 1},
                {"CSN", c + 1},          {"RFEP", ""},         {"CFEP", text(0.01)},
                {"RNRMO", rowCentre},    {"CNRMO", colCentre}, {"XNRMO", text(x)},
                {"YNRMO", text(y)},      {"ZNRMO", text(z)},   {"RNRMSF", rowsPer / 2},
                {"CNRMSF", colsPer / 2}, {"XNRMSF", text(xs)}, {"YNRMSF", text(ys)},
                {"ZNRMSF", text(zs)},    {"RNPWRX", 2},        {"RNPWRY", 2},
                {"RNPWRZ", 1},           {"RNTRMS", 18},       {"RNPCF", rn},
                {"RDPWRX", 1},           {"RDPWRY", 1},        {"RDPWRZ", 1},
                {"RDTRMS", 8},           {"RDPCF", rd},        {"CNPWRX", 2},
                {"CNPWRY", 2},           {"CNPWRZ", 1},        {"CNTRMS", 18},
                {"CNPCF", cn},           {"CDPWRX", 1},        {"CDPWRY", 1},
                {"CDPWRZ", 1},           {"CDTRMS", 8},        {"CDPCF", cd}};
}

inline json identification(const Layout& l) {
    json id = {{"IID", "RSM TEST"}, {"EDITION", "1"}, {"ISID", "SEQ"},    {"SID", "SENSOR-7"},
               {"STID", "EO"},      {"YEAR", "2021"}, {"MONTH", "03"},    {"DAY", "14"},
               {"HOUR", "09"},      {"MINUTE", "26"}, {"SECOND", "53.75"}};
    id["NRG"] = "100";
    id["NCG"] = "";
    id["TRG"] = text(0.01);
    id["TCG"] = "";
    id["GRNDD"] = l.domain;
    for (const char* key : {"XUOR", "YUOR", "ZUOR", "XUXR", "YUXR", "ZUXR", "XUYR", "YUYR", "ZUYR",
                            "XUZR", "YUZR", "ZUZR"}) {
        id[key] = "";
    }
    for (int v = 1; v <= 8; ++v) {
        const double lat = l.lat0 - ((v - 1) & 1) * l.dLat;
        const double lon = l.lon0 + (((v - 1) >> 1) & 1) * l.dLon;
        const double h = l.height0 + ((v - 1) >= 4 ? 1 : -1) * l.heightScale;
        double x = 0, y = 0, z = 0;
        domainXY(l, lat, lon, h, x, y, z);
        id["V" + std::to_string(v) + "X"] = text(x);
        id["V" + std::to_string(v) + "Y"] = text(y);
        id["V" + std::to_string(v) + "Z"] = text(z);
    }
    id["GRPX"] = "";
    id["GRPY"] = "";
    id["GRPZ"] = "";
    id["FULLR"] = l.withFullSize ? std::to_string(l.rows) : "";
    id["FULLC"] = l.withFullSize ? std::to_string(l.cols) : "";
    id["MINR"] = "0";
    id["MAXR"] = std::to_string(l.rows - 1);
    id["MINC"] = "0";
    id["MAXC"] = std::to_string(l.cols - 1);
    const std::vector<std::pair<const char*, double>> light = {
        {"IE0", 0.6}, {"IER", 1e-5}, {"IEC", -2e-5}, {"IERR", 0}, {"IERC", 0}, {"IECC", 1e-9},
        {"IA0", 2.1}, {"IAR", 3e-5}, {"IAC", 1e-5},  {"IARR", 0}, {"IARC", 0}, {"IACC", 0}};
    for (const auto& [key, value] : light) {
        id[key] = l.withIllumination ? text(value) : "";
    }
    const std::vector<std::pair<const char*, double>> motion = {
        {"SPX", 0.35}, {"SPY", 0.74}, {"SPZ", 600000}, {"SVX", 1e-4}, {"SVY", -2e-4},
        {"SVZ", 5},    {"SAX", 1e-7}, {"SAY", 2e-7},   {"SAZ", -0.1}};
    for (const auto& [key, value] : motion) {
        id[key] = l.withMotion ? text(value) : "";
    }
    return id;
}

inline json index(const Layout& l) {
    const double rowsPer = static_cast<double>(l.rows) / l.rnis;
    const double colsPer = static_cast<double>(l.cols) / l.cnis;
    json pia = {{"IID", "RSM TEST"}, {"EDITION", "1"}};
    for (const char* key : {"R0", "RX", "RY", "RZ", "RXX", "RXY", "RXZ", "RYY", "RYZ", "RZZ",
                            "C0", "CX", "CY", "CZ", "CXX", "CXY", "CXZ", "CYY", "CYZ", "CZZ"}) {
        pia[key] = text(0);
    }
    if (l.domain == "R") {
        // Linear in the Earth-centred frame around the centre of the image.
        double x0 = 0, y0 = 0, z0 = 0, xr = 0, yr = 0, zr = 0, xc = 0, yc = 0, zc = 0;
        domainXY(l, l.lat0, l.lon0, l.height0, x0, y0, z0);
        domainXY(l, l.lat0 - l.dLat, l.lon0, l.height0, xr, yr, zr);
        domainXY(l, l.lat0, l.lon0 + l.dLon, l.height0, xc, yc, zc);
        // Project onto the row and column directions.
        const double rx = xr - x0, ry = yr - y0, rz = zr - z0;
        const double cx = xc - x0, cy = yc - y0, cz = zc - z0;
        const double rr = rx * rx + ry * ry + rz * rz, cc = cx * cx + cy * cy + cz * cz;
        pia["RX"] = text(l.rows * rx / rr), pia["RY"] = text(l.rows * ry / rr);
        pia["RZ"] = text(l.rows * rz / rr);
        pia["R0"] = text(-l.rows * (rx * x0 + ry * y0 + rz * z0) / rr);
        pia["CX"] = text(l.cols * cx / cc), pia["CY"] = text(l.cols * cy / cc);
        pia["CZ"] = text(l.cols * cz / cc);
        pia["C0"] = text(-l.cols * (cx * x0 + cy * y0 + cz * z0) / cc);
    } else {
        double x0 = 0, y0 = 0, z0 = 0;
        domainXY(l, l.lat0, l.lon0, 0, x0, y0, z0);
        const double dy = l.dLat * VEXASensors::kDegToRad;
        const double dx = l.dLon * VEXASensors::kDegToRad;
        pia["R0"] = text(y0 * l.rows / dy), pia["RY"] = text(-l.rows / dy);
        pia["C0"] = text(-x0 * l.cols / dx), pia["CX"] = text(l.cols / dx);
    }
    pia["RNIS"] = std::to_string(l.rnis);
    pia["CNIS"] = std::to_string(l.cnis);
    pia["TNIS"] = std::to_string(l.rnis * l.cnis);
    pia["RSSIZ"] = text(rowsPer);
    pia["CSSIZ"] = text(colsPer);
    return pia;
}

inline json document(const Layout& l) {
    json sections = json::array();
    const int count = l.sectionsWritten < 0 ? l.rnis * l.cnis : l.sectionsWritten;
    for (int n = 0; n < count; ++n) {
        sections.push_back(section(l, n / l.cnis, n % l.cnis));
    }
    return json{{"RSMIDA", identification(l)}, {"RSMPIA", index(l)}, {"RSMPCA", sections}};
}

}  // namespace rsm_test

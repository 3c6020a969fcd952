#pragma once
// The four polynomials of one section (row numerator, row denominator, column numerator,
// column denominator) merged into one structure built once: the terms are grouped in rows of
// equal powers of y and z, and each row holds its coefficients of x^0 .. x^n as four lanes
// side by side (0 where a polynomial lacks the term). A point then costs, per row, one
// Horner pass in x over the four lanes and one product with y^j z^k; the derivative by x
// comes from the same pass and the one by y from the row values.

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace VEXASensors::detail_rsm_poly {

// Powers of y and z up to this come from a table; a higher one (never in a TRE, whose powers
// have one digit) goes through pow.
constexpr int kPowerTable = 16;

using Quad = std::array<double, 4>;

struct Row {
    int32_t j = 0;
    int32_t k = 0;
    // Coefficients of x^0 .. x^(count-1), from `offset` in the section's blocks.
    size_t offset = 0;
    size_t count = 0;
};

struct SectionTerms {
    std::vector<Row> rows;
    std::vector<Quad> blocks;
    // Largest powers of y and z, capped at kPowerTable - 1 for the tables.
    int maxJ = 0;
    int maxK = 0;
    // 1 / XNRMSF, 1 / YNRMSF, 1 / ZNRMSF: the forward function multiplies, a hot path that
    // would otherwise wait on three divisions per point.
    double invScale[3] = {0.0, 0.0, 0.0};

    // Merges the polynomials given as (maximum powers, coefficients): index n of a list
    // stands for x^(n mod (px+1)) y^((n / (px+1)) mod (py+1)) z^(n / ((px+1)(py+1))); a
    // list shorter than its powers ends early, a longer one is cut at (pz+1) steps of z. The
    // blocks are never longer than twice the lists together, whatever the powers claim.
    void build(const std::array<std::array<int32_t, 3>, 4>& powers,
               const std::array<const std::vector<double>*, 4>& coefficients);
};

// v^0 .. v^max into `table`.
inline void fillPowers(double v, int max, double* table) {
    table[0] = 1.0;
    for (int n = 1; n <= max; ++n) {
        table[n] = table[n - 1] * v;
    }
}

inline double powerOf(const double* table, double v, int32_t n) {
    return n < kPowerTable ? table[n] : std::pow(v, n);
}

inline void addScaled(Quad& acc, double m, const Quad& c) {
    acc[0] += m * c[0];
    acc[1] += m * c[1];
    acc[2] += m * c[2];
    acc[3] += m * c[3];
}

// h = h x + c, four lanes.
inline void hornerStep(Quad& h, double x, const Quad& c) {
    h[0] = h[0] * x + c[0];
    h[1] = h[1] * x + c[1];
    h[2] = h[2] * x + c[2];
    h[3] = h[3] * x + c[3];
}

// The four sums at (x, y, z).
inline Quad evaluate(const SectionTerms& s, double x, double y, double z) {
    double yp[kPowerTable];
    double zp[kPowerTable];
    fillPowers(y, s.maxJ, yp);
    fillPowers(z, s.maxK, zp);
    Quad sum{};
    const Quad* blocks = s.blocks.data();
    for (const Row& r : s.rows) {
        const Quad* c = blocks + r.offset;
        Quad h = c[r.count - 1];
        for (size_t n = r.count - 1; n > 0; --n) {
            hornerStep(h, x, c[n - 1]);
        }
        addScaled(sum, powerOf(yp, y, r.j) * powerOf(zp, z, r.k), h);
    }
    return sum;
}

// The derivatives of the four sums by x and by y at (x, y, z).
inline void evaluateSlopes(const SectionTerms& s, double x, double y, double z, Quad& dx,
                           Quad& dy) {
    double yp[kPowerTable];
    double zp[kPowerTable];
    fillPowers(y, s.maxJ, yp);
    fillPowers(z, s.maxK, zp);
    dx = Quad{};
    dy = Quad{};
    const Quad* blocks = s.blocks.data();
    for (const Row& r : s.rows) {
        const Quad* c = blocks + r.offset;
        Quad h = c[r.count - 1];
        Quad hd{};
        for (size_t n = r.count - 1; n > 0; --n) {
            hornerStep(hd, x, h);
            hornerStep(h, x, c[n - 1]);
        }
        const double zk = powerOf(zp, z, r.k);
        addScaled(dx, powerOf(yp, y, r.j) * zk, hd);
        // A row without y drops out of the derivative by y.
        if (r.j > 0) {
            addScaled(dy, r.j * powerOf(yp, y, r.j - 1) * zk, h);
        }
    }
}

}  // namespace VEXASensors::detail_rsm_poly

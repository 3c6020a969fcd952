#pragma once
// The four polynomials of one section (row numerator, row denominator, column numerator,
// column denominator) merged into one list of monomials x^i y^j z^k, each with its four
// coefficients side by side (0 where a polynomial lacks the term). A point then costs one
// table of powers and one pass over the list, the four sums taken together; each polynomial
// still adds its terms in its own order (z slowest, x fastest), zeros aside.

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace VEXASensors::detail_rsm_poly {

// Powers up to this come from a table; a higher one (never in a TRE, whose powers have one
// digit) goes through pow.
constexpr int kPowerTable = 16;

using Quad = std::array<double, 4>;

struct Term {
    int32_t i = 0, j = 0, k = 0;
    Quad c{};
};

struct SectionTerms {
    std::vector<Term> terms;
    // Largest powers in the list, each capped at kPowerTable - 1 for the tables.
    int maxI = 0, maxJ = 0, maxK = 0;
    bool tableOnly = true;

    // Merges the polynomials given as (maximum powers, coefficients): index n of a list
    // stands for x^(n mod (px+1)) y^((n / (px+1)) mod (py+1)) z^(n / ((px+1)(py+1))); a
    // list shorter than its powers ends early, a longer one is cut at (pz+1) steps of z.
    void build(const std::array<std::array<int32_t, 3>, 4>& powers,
               const std::array<const std::vector<double>*, 4>& coefficients);
};

// x^0 .. x^max into `table`.
inline void fillPowers(double x, int max, double* table) {
    table[0] = 1.0;
    for (int n = 1; n <= max; ++n) {
        table[n] = table[n - 1] * x;
    }
}

inline double powerOf(const double* table, double x, int32_t n) {
    return n < kPowerTable ? table[n] : std::pow(x, n);
}

// The four sums at (x, y, z).
inline Quad evaluate(const SectionTerms& s, double x, double y, double z) {
    double xp[kPowerTable];
    double yp[kPowerTable];
    double zp[kPowerTable];
    fillPowers(x, s.maxI, xp);
    fillPowers(y, s.maxJ, yp);
    fillPowers(z, s.maxK, zp);
    Quad sum{};
    if (s.tableOnly) {
        for (const Term& t : s.terms) {
            const double m = xp[t.i] * yp[t.j] * zp[t.k];
            sum[0] += m * t.c[0];
            sum[1] += m * t.c[1];
            sum[2] += m * t.c[2];
            sum[3] += m * t.c[3];
        }
        return sum;
    }
    for (const Term& t : s.terms) {
        const double m = powerOf(xp, x, t.i) * powerOf(yp, y, t.j) * powerOf(zp, z, t.k);
        for (int q = 0; q < 4; ++q) {
            sum[q] += m * t.c[q];
        }
    }
    return sum;
}

// The four sums and their derivatives by x and by y at (x, y, z).
inline void evaluateWithSlopes(const SectionTerms& s, double x, double y, double z, Quad& value,
                               Quad& dx, Quad& dy) {
    double xp[kPowerTable];
    double yp[kPowerTable];
    double zp[kPowerTable];
    fillPowers(x, s.maxI, xp);
    fillPowers(y, s.maxJ, yp);
    fillPowers(z, s.maxK, zp);
    value = Quad{};
    dx = Quad{};
    dy = Quad{};
    for (const Term& t : s.terms) {
        const double px = powerOf(xp, x, t.i);
        const double py = powerOf(yp, y, t.j);
        const double pz = powerOf(zp, z, t.k);
        const double m = px * py * pz;
        // Terms without x (or y) drop out of that derivative.
        const double mx = t.i > 0 ? t.i * powerOf(xp, x, t.i - 1) * py * pz : 0.0;
        const double my = t.j > 0 ? t.j * px * powerOf(yp, y, t.j - 1) * pz : 0.0;
        for (int q = 0; q < 4; ++q) {
            value[q] += m * t.c[q];
            dx[q] += mx * t.c[q];
            dy[q] += my * t.c[q];
        }
    }
}

}  // namespace VEXASensors::detail_rsm_poly

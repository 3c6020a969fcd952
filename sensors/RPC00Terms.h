#pragma once
// The twenty monomials of a rational polynomial and their derivatives by latitude (P) and by
// longitude (L), in the two published term orders. The model computes them once for a point
// and takes four dot products, instead of evaluating every power per coefficient.

#include <algorithm>
#include <array>

namespace VEXASensors::detail_rpc_terms {

constexpr int kTermCount = 20;

inline void termsA(double P, double L, double H, double* t) {
    const double LL = L * L, PP = P * P, HH = H * H;
    t[0] = 1.0, t[1] = L, t[2] = P, t[3] = H, t[4] = L * P, t[5] = L * H, t[6] = P * H;
    t[7] = L * P * H, t[8] = LL, t[9] = PP, t[10] = HH, t[11] = LL * L, t[12] = LL * P;
    t[13] = LL * H, t[14] = L * PP, t[15] = PP * P, t[16] = PP * H, t[17] = L * HH;
    t[18] = P * HH, t[19] = HH * H;
}

inline void termsB(double P, double L, double H, double* t) {
    const double LL = L * L, PP = P * P, HH = H * H;
    t[0] = 1.0, t[1] = L, t[2] = P, t[3] = H, t[4] = L * P, t[5] = L * H, t[6] = P * H;
    t[7] = LL, t[8] = PP, t[9] = HH, t[10] = P * L * H, t[11] = LL * L, t[12] = L * PP;
    t[13] = L * HH, t[14] = LL * P, t[15] = PP * P, t[16] = P * HH, t[17] = LL * H;
    t[18] = PP * H, t[19] = HH * H;
}

// d/dP into tP and d/dL into tL.
inline void derivativesA(double P, double L, double H, double* tP, double* tL) {
    tP[0] = 0, tP[1] = 0, tP[2] = 1, tP[3] = 0, tP[4] = L, tP[5] = 0, tP[6] = H, tP[7] = L * H;
    tP[8] = 0, tP[9] = 2 * P, tP[10] = 0, tP[11] = 0, tP[12] = L * L, tP[13] = 0;
    tP[14] = 2 * L * P, tP[15] = 3 * P * P, tP[16] = 2 * P * H, tP[17] = 0, tP[18] = H * H;
    tP[19] = 0;
    tL[0] = 0, tL[1] = 1, tL[2] = 0, tL[3] = 0, tL[4] = P, tL[5] = H, tL[6] = 0, tL[7] = P * H;
    tL[8] = 2 * L, tL[9] = 0, tL[10] = 0, tL[11] = 3 * L * L, tL[12] = 2 * L * P;
    tL[13] = 2 * L * H, tL[14] = P * P, tL[15] = 0, tL[16] = 0, tL[17] = H * H, tL[18] = 0;
    tL[19] = 0;
}

inline void derivativesB(double P, double L, double H, double* tP, double* tL) {
    tP[0] = 0, tP[1] = 0, tP[2] = 1, tP[3] = 0, tP[4] = L, tP[5] = 0, tP[6] = H, tP[7] = 0;
    tP[8] = 2 * P, tP[9] = 0, tP[10] = L * H, tP[11] = 0, tP[12] = 2 * L * P, tP[13] = 0;
    tP[14] = L * L, tP[15] = 3 * P * P, tP[16] = H * H, tP[17] = 0, tP[18] = 2 * P * H;
    tP[19] = 0;
    tL[0] = 0, tL[1] = 1, tL[2] = 0, tL[3] = 0, tL[4] = P, tL[5] = H, tL[6] = 0, tL[7] = 2 * L;
    tL[8] = 0, tL[9] = 0, tL[10] = P * H, tL[11] = 3 * L * L, tL[12] = P * P, tL[13] = H * H;
    tL[14] = 2 * L * P, tL[15] = 0, tL[16] = 0, tL[17] = 2 * L * H, tL[18] = 0, tL[19] = 0;
}

// The four polynomials of a record side by side, term by term: line numerator, line
// denominator, sample numerator, sample denominator. One pass over the monomials then gives
// all four sums, each added in term order as a single dot product would.
using Quad = std::array<double, 4>;
using QuadCoefficients = std::array<Quad, kTermCount>;

inline Quad dot4(const double* t, const QuadCoefficients& c) {
    Quad sum{};
    for (int i = 0; i < kTermCount; ++i) {
        for (int k = 0; k < 4; ++k) {
            sum[k] += t[i] * c[i][k];
        }
    }
    return sum;
}

// acc += w * c, four lanes at once.
inline void addTerm(Quad& acc, double w, const Quad& c) {
    for (int k = 0; k < 4; ++k) {
        acc[k] += w * c[k];
    }
}

// d/dP and d/dL of the four polynomials from the monomials `t` of the same point: only the
// ten terms that hold P (or L) contribute.
inline void slopes4A(const double* t, const QuadCoefficients& c, Quad& dP, Quad& dL) {
    // t: 1 L P H LP LH PH LPH LL PP HH ...
    const double L = t[1], P = t[2], H = t[3], LP = t[4], LH = t[5], PH = t[6];
    const double LL = t[8], PP = t[9], HH = t[10];
    dP = c[2];
    addTerm(dP, L, c[4]), addTerm(dP, H, c[6]), addTerm(dP, LH, c[7]);
    addTerm(dP, 2 * P, c[9]), addTerm(dP, LL, c[12]), addTerm(dP, 2 * LP, c[14]);
    addTerm(dP, 3 * PP, c[15]), addTerm(dP, 2 * PH, c[16]), addTerm(dP, HH, c[18]);
    dL = c[1];
    addTerm(dL, P, c[4]), addTerm(dL, H, c[5]), addTerm(dL, PH, c[7]);
    addTerm(dL, 2 * L, c[8]), addTerm(dL, 3 * LL, c[11]), addTerm(dL, 2 * LP, c[12]);
    addTerm(dL, 2 * LH, c[13]), addTerm(dL, PP, c[14]), addTerm(dL, HH, c[17]);
}

inline void slopes4B(const double* t, const QuadCoefficients& c, Quad& dP, Quad& dL) {
    // t: 1 L P H LP LH PH LL PP HH ...
    const double L = t[1], P = t[2], H = t[3], LP = t[4], LH = t[5], PH = t[6];
    const double LL = t[7], PP = t[8], HH = t[9];
    dP = c[2];
    addTerm(dP, L, c[4]), addTerm(dP, H, c[6]), addTerm(dP, 2 * P, c[8]);
    addTerm(dP, LH, c[10]), addTerm(dP, 2 * LP, c[12]), addTerm(dP, LL, c[14]);
    addTerm(dP, 3 * PP, c[15]), addTerm(dP, HH, c[16]), addTerm(dP, 2 * PH, c[18]);
    dL = c[1];
    addTerm(dL, P, c[4]), addTerm(dL, H, c[5]), addTerm(dL, 2 * L, c[7]);
    addTerm(dL, PH, c[10]), addTerm(dL, 3 * LL, c[11]), addTerm(dL, PP, c[12]);
    addTerm(dL, HH, c[13]), addTerm(dL, 2 * LP, c[14]), addTerm(dL, 2 * LH, c[17]);
}

inline double dot(const double* t, const double* c) {
    double sum = 0.0;
    for (int i = 0; i < kTermCount; ++i) {
        sum += t[i] * c[i];
    }
    return sum;
}

}  // namespace VEXASensors::detail_rpc_terms

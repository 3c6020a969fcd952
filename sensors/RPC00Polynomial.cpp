#include "tessel/sensors/RPC00Model.h"

namespace VEXASensors {

namespace detail_rpc_poly {

// Powers of (L, P, H) of each of the twenty terms, in the two published orders.
struct Term {
    int l;
    int p;
    int h;
};

constexpr Term kTermsA[20] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 0},
                              {1, 0, 1}, {0, 1, 1}, {1, 1, 1}, {2, 0, 0}, {0, 2, 0},
                              {0, 0, 2}, {3, 0, 0}, {2, 1, 0}, {2, 0, 1}, {1, 2, 0},
                              {0, 3, 0}, {0, 2, 1}, {1, 0, 2}, {0, 1, 2}, {0, 0, 3}};

constexpr Term kTermsB[20] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 0},
                              {1, 0, 1}, {0, 1, 1}, {2, 0, 0}, {0, 2, 0}, {0, 0, 2},
                              {1, 1, 1}, {3, 0, 0}, {1, 2, 0}, {1, 0, 2}, {2, 1, 0},
                              {0, 3, 0}, {0, 1, 2}, {2, 0, 1}, {0, 2, 1}, {0, 0, 3}};

// x^n for n in 0..3; a negative n (the derivative of a constant factor) gives 0.
double power(double x, int n) {
    switch (n) {
        case 0:
            return 1.0;
        case 1:
            return x;
        case 2:
            return x * x;
        case 3:
            return x * x * x;
        default:
            return 0.0;
    }
}

enum class Wrt { none, lat, lon };

double evaluate(const Term (&terms)[20], Wrt wrt, double P, double L, double H, const double* c) {
    double sum = 0.0;
    for (int i = 0; i < 20; ++i) {
        const Term& t = terms[i];
        double factor = 1.0;
        int pl = t.l;
        int pp = t.p;
        if (wrt == Wrt::lat) {
            factor = t.p;
            pp -= 1;
        } else if (wrt == Wrt::lon) {
            factor = t.l;
            pl -= 1;
        }
        if (factor == 0.0) {
            continue;
        }
        sum += c[i] * factor * power(L, pl) * power(P, pp) * power(H, t.h);
    }
    return sum;
}

}  // namespace detail_rpc_poly

using detail_rpc_poly::evaluate;
using detail_rpc_poly::kTermsA;
using detail_rpc_poly::kTermsB;
using detail_rpc_poly::Wrt;

RPC00::~RPC00() = default;

double RPC00A::value(double P, double L, double H, const double* c) const {
    return evaluate(kTermsA, Wrt::none, P, L, H, c);
}
double RPC00A::dLat(double P, double L, double H, const double* c) const {
    return evaluate(kTermsA, Wrt::lat, P, L, H, c);
}
double RPC00A::dLon(double P, double L, double H, const double* c) const {
    return evaluate(kTermsA, Wrt::lon, P, L, H, c);
}

double RPC00B::value(double P, double L, double H, const double* c) const {
    return evaluate(kTermsB, Wrt::none, P, L, H, c);
}
double RPC00B::dLat(double P, double L, double H, const double* c) const {
    return evaluate(kTermsB, Wrt::lat, P, L, H, c);
}
double RPC00B::dLon(double P, double L, double H, const double* c) const {
    return evaluate(kTermsB, Wrt::lon, P, L, H, c);
}

}  // namespace VEXASensors

#include "sensors/RPC00Terms.h"
#include "tessel/sensors/RPC00Model.h"

namespace VEXASensors {

namespace rpct = detail_rpc_terms;

RPC00::~RPC00() = default;

double RPC00A::value(double P, double L, double H, const double* c) const {
    double t[rpct::kTermCount];
    rpct::termsA(P, L, H, t);
    return rpct::dot(t, c);
}
double RPC00A::dLat(double P, double L, double H, const double* c) const {
    double tP[rpct::kTermCount];
    double tL[rpct::kTermCount];
    rpct::derivativesA(P, L, H, tP, tL);
    return rpct::dot(tP, c);
}
double RPC00A::dLon(double P, double L, double H, const double* c) const {
    double tP[rpct::kTermCount];
    double tL[rpct::kTermCount];
    rpct::derivativesA(P, L, H, tP, tL);
    return rpct::dot(tL, c);
}

double RPC00B::value(double P, double L, double H, const double* c) const {
    double t[rpct::kTermCount];
    rpct::termsB(P, L, H, t);
    return rpct::dot(t, c);
}
double RPC00B::dLat(double P, double L, double H, const double* c) const {
    double tP[rpct::kTermCount];
    double tL[rpct::kTermCount];
    rpct::derivativesB(P, L, H, tP, tL);
    return rpct::dot(tP, c);
}
double RPC00B::dLon(double P, double L, double H, const double* c) const {
    double tP[rpct::kTermCount];
    double tL[rpct::kTermCount];
    rpct::derivativesB(P, L, H, tP, tL);
    return rpct::dot(tL, c);
}

}  // namespace VEXASensors

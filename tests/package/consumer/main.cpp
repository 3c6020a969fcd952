// Uses the installed headers and library the way a host application would.
#include <tessel/Tessel.h>
#include <tessel/sensors/RPC00Model.h>

#include <iostream>
#include <nlohmann/json.hpp>

int main() {
    const Tessel::eCompressionType jpeg2000 = Tessel::ToCompressionType("C8");
    const Tessel::eCompressionType masked = Tessel::ToCompressionType("M8");
    std::cout << "C8 -> " << static_cast<int>(jpeg2000) << " " << Tessel::ToString(jpeg2000)
              << "\n";
    std::cout << "M8 masked: " << (Tessel::isMasked(masked) ? "yes" : "no") << "\n";
    // The sensor model headers bring json with them: the package must find it too.
    const nlohmann::json names = {VEXASensors::RPC_B_MODEL_NAME};
    std::cout << "RPC model: " << names[0].get<std::string>() << "\n";
    return jpeg2000 == Tessel::eCompressionC8 ? 0 : 1;
}

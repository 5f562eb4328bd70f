#include "fixed_nonces.h"

#include <cstddef>
#include <numeric>
#include <vector>

#include "uapki/asymmetric_keys.h"

namespace {

struct Nonces {
    OpcUa_Byte number = 0;
    std::vector<OpcUa_Byte> last;
};

Nonces& nonces() {
    static Nonces all;
    return all;
}

} // namespace

void startNonces() {
    nonces().number = 0;
}

UaByteView lastNonce() {
    return {nonces().last.data(), nonces().last.size()};
}

bool UaPkiRandomBytes(OpcUa_Byte* bytes, std::size_t count) {
    std::iota(bytes, bytes + count, ++nonces().number);
    nonces().last.assign(bytes, bytes + count);
    return true;
}

#include "encoding/known_encodings.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace UaClientSdk {
namespace {

struct KnownEncoding {
    OpcUa_UInt32 id = 0;
    const UA_DataType* type = nullptr;
};

using KnownEncodings = std::array<KnownEncoding, UA_TYPES_COUNT>;

KnownEncodings collectEncodings() {
    KnownEncodings encodings;
    std::transform(std::begin(UA_TYPES), std::end(UA_TYPES), encodings.begin(), [](const UA_DataType& type) {
        return KnownEncoding{type.binaryEncodingId.identifier.numeric, &type};
    });
    // The engine takes the first where several have the same.
    std::sort(encodings.begin(), encodings.end(), [](const KnownEncoding& a, const KnownEncoding& b) {
        return a.id != b.id ? a.id < b.id : a.type < b.type;
    });
    return encodings;
}

} // namespace

const UA_DataType* typeOfEncoding(OpcUa_UInt16 namespaceIndex, OpcUa_UInt32 id) {
    static const KnownEncodings encodings = collectEncodings();
    const auto found =
        std::lower_bound(encodings.begin(), encodings.end(), id,
                         [](const KnownEncoding& known, OpcUa_UInt32 key) { return known.id < key; });
    return namespaceIndex == 0 && found != encodings.end() && found->id == id ? found->type : nullptr;
}

} // namespace UaClientSdk

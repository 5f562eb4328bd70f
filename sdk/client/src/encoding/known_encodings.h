#pragma once

#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// The type as which the engine decodes the body of an extension object with this id; null when it keeps the
/// bytes.
const UA_DataType* typeOfEncoding(OpcUa_UInt16 namespaceIndex, OpcUa_UInt32 id);

} // namespace UaClientSdk

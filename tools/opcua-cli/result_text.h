#pragma once

#include "failure.h"

class COpcUaClientInterface;

namespace opcua_cli {

/// What a result code of the library means and what to try next, with the library's own message.
Problem problemFor(int resultCode, COpcUaClientInterface& client);

} // namespace opcua_cli

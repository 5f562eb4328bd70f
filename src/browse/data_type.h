#pragma once

#include "OpcUaTypes.h"
#include "client/last_error.h"
#include "uabase/arrays.h"
#include "uabase/status.h"

/// What the answer to the read of a node's value tells of its type and shape. False when the service failed;
/// a value that is not good has type Null and leaves `shape` alone.
bool decodeDataType(UaStatus service, UaDataValues& values, _OpcUaDataType& type, _ArrayType& shape,
                    LastError& error);

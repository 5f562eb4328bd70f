#include <algorithm>

#include "client/opcua_client.h"
#include "values/value_service.h"
#include "values/value_types.h"

namespace {

void setShape(const UaVariant& value, _ArrayType& shape) {
    shape.kind = 0;
    if (value.isArray()) {
        shape.kind = 1;
        shape.dimCount = 1;
        shape.dims[0] = value.arraySize();
    } else if (value.isMatrix()) {
        UaUInt32Array lengths;
        value.arrayDimensions(lengths);
        const OpcUa_UInt32 count = value.dimensionSize();
        if (lengths.length() == count) {
            shape.kind = 1;
            shape.dimCount = static_cast<int>(std::min<OpcUa_UInt32>(count, maximumDimensions));
            std::copy_n(lengths.begin(), shape.dimCount, shape.dims);
        }
    }
}

} // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is part of the binary interface
bool COpcUaClient::ReadDataType(UaNodeId id, _OpcUaDataType& type, _ArrayType& shape) {
    const auto current = session();
    if (!current) {
        fail(result::notConnected);
        return false;
    }
    UaDataValues values;
    const UaStatus status = readValue(*current, id, values);
    return takeDataType(status, values, type, shape);
}

bool COpcUaClient::takeDataType(UaStatus status, UaDataValues& values, _OpcUaDataType& type,
                                _ArrayType& shape) {
    if (status.isBad()) {
        m_errorText = result::readDataTypeText;
        return false;
    }
    if (OpcUa_IsNotGood(values[0].status)) {
        m_errorText = result::readDataTypeText;
        type = OpcUaDataType_Null;
        return true;
    }
    UaVariant value;
    value.attach(values[0].value);
    type = dataTypeOf(value.type());
    setShape(value, shape);
    return true;
}

#include "browse/data_type.h"

#include <algorithm>

#include "client/opcua_client.h"
#include "values/element_position.h"
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

bool decodeDataType(UaStatus service, UaDataValues& values, _OpcUaDataType& type, _ArrayType& shape,
                    LastError& error) {
    if (service.isBad()) {
        error.fail(result::dataTypeNotRead);
        return false;
    }
    if (OpcUa_IsNotGood(values[0].status)) {
        error.fail(result::dataTypeNotRead);
        type = OpcUaDataType_Null;
        return true;
    }
    UaVariant value;
    value.attach(values[0].value);
    type = dataTypeOf(value.type());
    setShape(value, shape);
    return true;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is part of the binary interface
bool COpcUaClient::ReadDataType(UaNodeId id, _OpcUaDataType& type, _ArrayType& shape) {
    const auto session = m_session.get();
    if (!session) {
        m_error.fail(result::notConnected);
        return false;
    }
    UaDataValues values;
    const UaStatus status = readValue(*session, id, values);
    return decodeDataType(status, values, type, shape, m_error);
}

// An application of C++11 that uses every helper; no test framework of today speaks C++11. Ends with the
// number of what did not hold.
#include <cstdio>
#include <cstring>
#include <string>

#include "OpcUaHelpers.h"

namespace {

int failures = 0;

void expect(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        ++failures;
    }
}

template <typename Value>
void expectDelivered(Value value) {
    _OpcUaDataChangeMsg change = _OpcUaDataChangeMsg();
    change.dataType = OpcUaTypeOf<Value>::value;
    std::memcpy(change.value, &value, sizeof value);
    change.valueSize = sizeof value;
    Value back = Value();
    expect(OpcUaChangeValue(change, back) && back == value, "a value comes back as its own type");
    double number = -1;
    expect(OpcUaChangeNumber(change, number) && number == 1, "a number comes as double");
    expect(OpcUaChangeText(change) == (change.dataType == OpcUaDataType_Boolean ? "true" : "1"),
           "as text, too");
    std::string text = "kept";
    expect(!OpcUaChangeValue(change, text) && text == "kept", "a number is no text");
}

void useConstants() {
    _OpcUaClientConfig config = _OpcUaClientConfig();
    config.securityPolicy = OpcUaSecurityPolicy_Basic256Sha256;
    config.securityMode = OpcUaSecurityMode_SignAndEncrypt;
    config.userIdentity = OpcUaUserIdentity_UserName;
    expect(config.securityPolicy == 3 && config.securityMode == 2 && config.userIdentity == 1,
           "constants go into the record");
    const int trust = OpcUaTrust_Always;
    const int status = OpcUaConnectStatus_Connected;
    expect(trust == 1 && status == 1 && OpcUaNodeClass_Variable == 2, "constants are plain numbers");
}

void useTextsAndNodes() {
    OpcUaNode parent = OpcUaMakeNode("ns=2;s=Line1", OpcUaDataType_Null);
    OpcUaNode child = OpcUaMakeNode("ns=2;s=Line1.Speed", OpcUaTypeOf<double>::value);
    expect(OpcUaSetField(child.browseName, "2:Speed"), "a name fits");
    parent.child = &child;
    expect(OpcUaChildByName(&parent, "Speed") == &child, "a child has a name");
    expect(OpcUaFieldText(child.nodeId) == "ns=2;s=Line1.Speed", "a node has its id");
    expect(std::string(OpcUaResultText(0)) == "success", "codes have a text");
    expect(std::string(OpcUaConnectStatusText(1)) == "connected", "statuses have a text");
}

} // namespace

int main() {
    expectDelivered(true);
    expectDelivered(static_cast<signed char>(1));
    expectDelivered(static_cast<unsigned char>(1));
    expectDelivered(static_cast<short>(1));
    expectDelivered(static_cast<unsigned short>(1));
    expectDelivered(1);
    expectDelivered(1U);
    expectDelivered(1L);
    expectDelivered(1UL);
    expectDelivered(1LL);
    expectDelivered(1ULL);
    expectDelivered(1.0F);
    expectDelivered(1.0);
    useConstants();
    useTextsAndNodes();
    return failures;
}

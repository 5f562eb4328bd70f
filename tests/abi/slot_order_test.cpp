// The order of the virtual operations, looked at as an application compiled long ago does: by slot number.
#include <array>
#include <cstring>
#include <dlfcn.h>
#include <memory>
#include <new>
#include <string>

#include <gmock/gmock.h>

#include "OpcUaClientInterface.h"
#include "support/slots.h"

using test_support::implementationOf;
using test_support::implementationPlace;
using test_support::slotAs;
using test_support::slotOf;

namespace {

constexpr std::array<const char*, 25> slotNames = {
    "destructor",
    "deleting destructor",
    "OpcUaInit",
    "OpcUaDiscover",
    "OpcUaConnect",
    "OpcUaDisConnect",
    "OpcUaBrowse",
    "OpcUaGetValue",
    "OpcUaSetValue",
    "OpcUaCreateSubScription",
    "OpcUaDeleteSubScription",
    "OpcUaAddMonitNode",
    "OpcUaRemoveMonitNode",
    "OpcUaClearMonitNode",
    "OpcUaReadRootNode",
    "OpcUaGetUaNode",
    "OpcUaGetConnectStatus",
    "GetErrorMsg",
    "installOpcUaCallBack",
    "installClient",
    "OpcUaGetArrayValue",
    "OpcUaSetArrayValue",
    "OpcUaGetMultiValue",
    "OpcUaSetMultiValue",
    "OpcUaAddMultiMonitNode",
};

// Any bytes will do: these are compared by address, never looked into.
struct Arguments {
    char discoveryUrl[8] = "url";
    _OpcUa_ServerConfigMsg servers{};
    _OpcUaClientConfig config{};
    OpcUaNode node{};
    char value[8]{};
    int size = 5;
    unsigned long index[2]{};
    OpcUa_ReadNode reads[2]{};
    OpcUa_WriteNode writes[2]{};
};

// Remembers which operation ran and whether every argument arrived as it was sent.
class RecordingClient final : public COpcUaClientImp {
public:
    explicit RecordingClient(Arguments& sent, std::string& ran) : m_sent(sent), m_ran(ran) {}
    ~RecordingClient() override { m_ran = "destructor"; }
    static void operator delete(void* memory) {
        deleted = memory;
        ::operator delete(memory);
    }
    static void* deleted;

    int OpcUaInit(_OpcUaClientTraceLevel level) override {
        return ran("OpcUaInit", level == OpcUaTraceLevel_Details);
    }
    int OpcUaDiscover(char* url, _OpcUa_ServerConfigMsg& result) override {
        return ran("OpcUaDiscover", url == m_sent.discoveryUrl && &result == &m_sent.servers);
    }
    int OpcUaConnect(_OpcUaClientConfig& config) override {
        return ran("OpcUaConnect", &config == &m_sent.config);
    }
    int OpcUaDisConnect() override { return ran("OpcUaDisConnect", true); }
    int OpcUaBrowse(OpcUaNode* node) override { return ran("OpcUaBrowse", node == &m_sent.node); }
    int OpcUaGetValue(OpcUaNode* node, void* buffer, int& size) override {
        return ran("OpcUaGetValue", node == &m_sent.node && buffer == m_sent.value && &size == &m_sent.size);
    }
    int OpcUaSetValue(OpcUaNode* node, const void* buffer, int& size) override {
        return ran("OpcUaSetValue", node == &m_sent.node && buffer == m_sent.value && &size == &m_sent.size);
    }
    int OpcUaCreateSubScription(double interval) override {
        return ran("OpcUaCreateSubScription", interval == 250.5);
    }
    int OpcUaDeleteSubScription() override { return ran("OpcUaDeleteSubScription", true); }
    int OpcUaAddMonitNode(OpcUaNode* node, unsigned long* index, int count) override {
        return ran("OpcUaAddMonitNode", node == &m_sent.node && index == m_sent.index && count == 2);
    }
    int OpcUaRemoveMonitNode(OpcUaNode* node, unsigned long* index, int count) override {
        return ran("OpcUaRemoveMonitNode", node == &m_sent.node && index == m_sent.index && count == 2);
    }
    int OpcUaClearMonitNode() override { return ran("OpcUaClearMonitNode", true); }
    OpcUaNode* OpcUaReadRootNode() override {
        ran("OpcUaReadRootNode", true);
        return &m_sent.node;
    }
    OpcUaNode* OpcUaGetUaNode(const char* nodeId, _OpcUaDataType dataType) override {
        ran("OpcUaGetUaNode", nodeId == m_sent.node.nodeId && dataType == OpcUaDataType_Float);
        return &m_sent.node;
    }
    int OpcUaGetConnectStatus() override { return ran("OpcUaGetConnectStatus", true); }
    char* GetErrorMsg(char* buffer, int size) override {
        ran("GetErrorMsg", buffer == m_sent.value && size == 8);
        return buffer;
    }
    int installOpcUaCallBack(void* callback) override {
        return ran("installOpcUaCallBack", callback == m_sent.value);
    }
    void installClient(void* client) override { ran("installClient", client == m_sent.value); }
    int OpcUaGetArrayValue(OpcUaNode* node, unsigned long* index, int count, void* buffer,
                           int& size) override {
        return ran("OpcUaGetArrayValue", isArrayAccess(node, index, count, buffer, size));
    }
    int OpcUaSetArrayValue(OpcUaNode* node, unsigned long* index, int count, const void* buffer,
                           int& size) override {
        return ran("OpcUaSetArrayValue", isArrayAccess(node, index, count, buffer, size));
    }
    int OpcUaGetMultiValue(OpcUa_ReadNode* nodes, int count) override {
        return ran("OpcUaGetMultiValue", nodes == m_sent.reads && count == 2);
    }
    int OpcUaSetMultiValue(OpcUa_WriteNode* nodes, int count) override {
        return ran("OpcUaSetMultiValue", nodes == m_sent.writes && count == 2);
    }
    int OpcUaAddMultiMonitNode(OpcUaNode* nodes, int count) override {
        return ran("OpcUaAddMultiMonitNode", nodes == &m_sent.node && count == 1);
    }

    static constexpr int answer = 1234;

private:
    int ran(const char* name, bool argumentsArrived) {
        m_ran = argumentsArrived ? name : std::string(name) + " with wrong arguments";
        return answer;
    }
    bool isArrayAccess(OpcUaNode* node, unsigned long* index, int count, const void* buffer, int& size) {
        return node == &m_sent.node && index == m_sent.index && count == 2 && buffer == m_sent.value &&
               &size == &m_sent.size;
    }

    Arguments& m_sent;
    std::string& m_ran;
};

void* RecordingClient::deleted = nullptr;

class ClientSlots : public testing::Test {
protected:
    std::unique_ptr<Arguments> sent = std::make_unique<Arguments>();
    std::string ran;
    std::unique_ptr<RecordingClient> client = std::make_unique<RecordingClient>(*sent, ran);

    // Calls by slot number and returns the name of the operation that ran.
    template <class Result, class... Parameters, class... Values>
    std::string call(std::size_t slot, Result (*)(void*, Parameters...), Values&&... values) {
        ran.clear();
        slotAs<Result(void*, Parameters...)>(client.get(), slot)(client.get(),
                                                                 std::forward<Values>(values)...);
        return ran;
    }
};

template <class Result, class... Parameters>
constexpr Result (*signature())(void*, Parameters...) {
    return nullptr;
}

TEST_F(ClientSlots, EveryOperationRunsFromItsSlot) {
    auto& [url, servers, config, node, value, size, index, reads, writes] = *sent;
    EXPECT_EQ(call(2, signature<int, _OpcUaClientTraceLevel>(), OpcUaTraceLevel_Details), slotNames[2]);
    EXPECT_EQ(call(3, signature<int, char*, _OpcUa_ServerConfigMsg&>(), url, servers), slotNames[3]);
    EXPECT_EQ(call(4, signature<int, _OpcUaClientConfig&>(), config), slotNames[4]);
    EXPECT_EQ(call(5, signature<int>()), slotNames[5]);
    EXPECT_EQ(call(6, signature<int, OpcUaNode*>(), &node), slotNames[6]);
    EXPECT_EQ(call(7, signature<int, OpcUaNode*, void*, int&>(), &node, value, size), slotNames[7]);
    EXPECT_EQ(call(8, signature<int, OpcUaNode*, const void*, int&>(), &node, value, size), slotNames[8]);
    EXPECT_EQ(call(9, signature<int, double>(), 250.5), slotNames[9]);
    EXPECT_EQ(call(10, signature<int>()), slotNames[10]);
    EXPECT_EQ(call(11, signature<int, OpcUaNode*, unsigned long*, int>(), &node, index, 2), slotNames[11]);
    EXPECT_EQ(call(12, signature<int, OpcUaNode*, unsigned long*, int>(), &node, index, 2), slotNames[12]);
    EXPECT_EQ(call(13, signature<int>()), slotNames[13]);
    EXPECT_EQ(call(14, signature<OpcUaNode*>()), slotNames[14]);
    EXPECT_EQ(
        call(15, signature<OpcUaNode*, const char*, _OpcUaDataType>(), node.nodeId, OpcUaDataType_Float),
        slotNames[15]);
    EXPECT_EQ(call(16, signature<int>()), slotNames[16]);
    EXPECT_EQ(call(17, signature<char*, char*, int>(), value, 8), slotNames[17]);
    EXPECT_EQ(call(18, signature<int, void*>(), value), slotNames[18]);
    EXPECT_EQ(call(19, signature<void, void*>(), value), slotNames[19]);
    EXPECT_EQ(call(20, signature<int, OpcUaNode*, unsigned long*, int, void*, int&>(), &node, index, 2, value,
                   size),
              slotNames[20]);
    EXPECT_EQ(call(21, signature<int, OpcUaNode*, unsigned long*, int, const void*, int&>(), &node, index, 2,
                   value, size),
              slotNames[21]);
    EXPECT_EQ(call(22, signature<int, OpcUa_ReadNode*, int>(), reads, 2), slotNames[22]);
    EXPECT_EQ(call(23, signature<int, OpcUa_WriteNode*, int>(), writes, 2), slotNames[23]);
    EXPECT_EQ(call(24, signature<int, OpcUaNode*, int>(), &node, 1), slotNames[24]);
}

TEST_F(ClientSlots, FirstSlotDestroysAndKeepsTheMemory) {
    alignas(RecordingClient) char memory[sizeof(RecordingClient)];
    const auto* inPlace = new (memory) RecordingClient(*sent, ran);
    RecordingClient::deleted = nullptr;
    slotAs<void(const void*)>(inPlace, 0)(inPlace);
    EXPECT_EQ(ran, "destructor");
    EXPECT_EQ(RecordingClient::deleted, nullptr);
}

TEST_F(ClientSlots, SecondSlotDestroysAndFreesTheMemory) {
    const void* const object = client.get();
    RecordingClient::deleted = nullptr;
    slotAs<void(void*)>(object, 1)(client.release());
    EXPECT_EQ(ran, "destructor");
    EXPECT_EQ(RecordingClient::deleted, object);
}

// A facade whose implementation is exchanged, which an application cannot do.
class FacadeForwards : public testing::Test {
protected:
    FacadeForwards() { exchangeImplementation(&recorder); }
    ~FacadeForwards() override { exchangeImplementation(original); }

    void exchangeImplementation(COpcUaClientImp* now) {
        std::memcpy(implementationPlace(facade), &now, sizeof now);
    }
    std::string call(int result) {
        EXPECT_EQ(result, RecordingClient::answer)
            << "the implementation's answer is not passed on by " << ran;
        return ran;
    }

    std::unique_ptr<Arguments> sent = std::make_unique<Arguments>();
    std::string ran;
    RecordingClient recorder{*sent, ran};
    COpcUaClientInterface facade;
    COpcUaClientImp* const original = implementationOf(facade);
};

TEST_F(FacadeForwards, EveryCallWithItsArgumentsAndResult) {
    auto& [url, servers, config, node, value, size, index, reads, writes] = *sent;
    EXPECT_EQ(call(facade.OpcUaInit(OpcUaTraceLevel_Details)), "OpcUaInit");
    EXPECT_EQ(call(facade.OpcUaDiscover(url, servers)), "OpcUaDiscover");
    EXPECT_EQ(call(facade.OpcUaConnect(config)), "OpcUaConnect");
    EXPECT_EQ(call(facade.OpcUaDisConnect()), "OpcUaDisConnect");
    EXPECT_EQ(call(facade.OpcUaBrowse(&node)), "OpcUaBrowse");
    EXPECT_EQ(call(facade.OpcUaGetValue(&node, value, size)), "OpcUaGetValue");
    EXPECT_EQ(call(facade.OpcUaSetValue(&node, value, size)), "OpcUaSetValue");
    EXPECT_EQ(call(facade.OpcUaCreateSubScription(250.5)), "OpcUaCreateSubScription");
    EXPECT_EQ(call(facade.OpcUaDeleteSubScription()), "OpcUaDeleteSubScription");
    EXPECT_EQ(call(facade.OpcUaAddMonitNode(&node, index, 2)), "OpcUaAddMonitNode");
    EXPECT_EQ(call(facade.OpcUaRemoveMonitNode(&node, index, 2)), "OpcUaRemoveMonitNode");
    EXPECT_EQ(call(facade.OpcUaClearMonitNode()), "OpcUaClearMonitNode");
    EXPECT_EQ(facade.OpcUaReadRootNode(), &node);
    EXPECT_EQ(ran, "OpcUaReadRootNode");
    EXPECT_EQ(facade.OpcUaGetUaNode(node.nodeId, OpcUaDataType_Float), &node);
    EXPECT_EQ(ran, "OpcUaGetUaNode");
    EXPECT_EQ(call(facade.OpcUaGetConnectStatus()), "OpcUaGetConnectStatus");
    EXPECT_EQ(facade.GetErrorMsg(value, 8), value);
    EXPECT_EQ(ran, "GetErrorMsg");
    auto* callback = reinterpret_cast<COpcUaClientInterface::OpcUaCallBack*>(value);
    EXPECT_EQ(call(facade.installOpcUaCallBack(callback)), "installOpcUaCallBack");
    EXPECT_EQ(call(facade.OpcUaGetArrayValue(&node, index, 2, value, size)), "OpcUaGetArrayValue");
    EXPECT_EQ(call(facade.OpcUaSetArrayValue(&node, index, 2, value, size)), "OpcUaSetArrayValue");
    EXPECT_EQ(call(facade.OpcUaGetMultiValue(reads, 2)), "OpcUaGetMultiValue");
    EXPECT_EQ(call(facade.OpcUaSetMultiValue(writes, 2)), "OpcUaSetMultiValue");
    EXPECT_EQ(call(facade.OpcUaAddMultiMonitNode(&node, 1)), "OpcUaAddMultiMonitNode");
}

TEST_F(FacadeForwards, InstallCallbackAnswers17WithoutImplementation) {
    exchangeImplementation(nullptr);
    EXPECT_EQ(facade.installOpcUaCallBack(nullptr), 17);
    EXPECT_EQ(ran, "");
}

// The library's own implementation class: its slots hold the exported members of those names.
TEST(LibrarySlots, HoldTheExportedMembers) {
    constexpr std::array<const char*, 25> symbols = {
        "_ZN12COpcUaClientD1Ev",
        "_ZN12COpcUaClientD0Ev",
        "_ZN12COpcUaClient9OpcUaInitE22_OpcUaClientTraceLevel",
        "_ZN12COpcUaClient13OpcUaDiscoverEPcR22_OpcUa_ServerConfigMsg",
        "_ZN12COpcUaClient12OpcUaConnectER18_OpcUaClientConfig",
        "_ZN12COpcUaClient15OpcUaDisConnectEv",
        "_ZN12COpcUaClient11OpcUaBrowseEP9OpcUaNode",
        "_ZN12COpcUaClient13OpcUaGetValueEP9OpcUaNodePvRi",
        "_ZN12COpcUaClient13OpcUaSetValueEP9OpcUaNodePKvRi",
        "_ZN12COpcUaClient23OpcUaCreateSubScriptionEd",
        "_ZN12COpcUaClient23OpcUaDeleteSubScriptionEv",
        "_ZN12COpcUaClient17OpcUaAddMonitNodeEP9OpcUaNodePmi",
        "_ZN12COpcUaClient20OpcUaRemoveMonitNodeEP9OpcUaNodePmi",
        "_ZN12COpcUaClient19OpcUaClearMonitNodeEv",
        "_ZN12COpcUaClient17OpcUaReadRootNodeEv",
        "_ZN12COpcUaClient14OpcUaGetUaNodeEPKc14_OpcUaDataType",
        "_ZN12COpcUaClient21OpcUaGetConnectStatusEv",
        "_ZN12COpcUaClient11GetErrorMsgEPci",
        "_ZN12COpcUaClient20installOpcUaCallBackEPv",
        "_ZN12COpcUaClient13installClientEPv",
        "_ZN12COpcUaClient18OpcUaGetArrayValueEP9OpcUaNodePmiPvRi",
        "_ZN12COpcUaClient18OpcUaSetArrayValueEP9OpcUaNodePmiPKvRi",
        "_ZN12COpcUaClient18OpcUaGetMultiValueEP14OpcUa_ReadNodei",
        "_ZN12COpcUaClient18OpcUaSetMultiValueEP15OpcUa_WriteNodei",
        "_ZN12COpcUaClient22OpcUaAddMultiMonitNodeEP9OpcUaNodei",
    };
    const auto facade = std::make_unique<COpcUaClientInterface>();
    const void* const client = implementationOf(*facade);
    for (std::size_t slot = 0; slot < symbols.size(); ++slot) {
        Dl_info found{};
        ASSERT_NE(dladdr(reinterpret_cast<void*>(slotOf(client, slot)), &found), 0) << slotNames[slot];
        EXPECT_EQ(found.dli_saddr, dlsym(RTLD_DEFAULT, symbols[slot])) << slot << ' ' << slotNames[slot];
    }
}

class RecordingCallBack final : public COpcUaClientInterface::OpcUaCallBack {
public:
    std::string ran;

    void OpcUaDataChange(_OpcUaDataChangeMsg message) override {
        ran = std::string("changed ") + message.nodeId;
    }
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) override {
        ran = "trust " + certificate.commonName + ' ' + certificate.thumbprint;
        return 77;
    }
};

TEST(CallBackSlots, DataChangeThenTrust) {
    RecordingCallBack callback;
    _OpcUaDataChangeMsg message{};
    std::strcpy(message.nodeId, "ns=2;s=Level");
    slotAs<void(void*, _OpcUaDataChangeMsg)>(&callback, 0)(&callback, message);
    EXPECT_EQ(callback.ran, "changed ns=2;s=Level");

    _OpcUaCertificateMsg certificate;
    certificate.commonName = "plant";
    certificate.thumbprint = "0A";
    EXPECT_EQ((slotAs<int(void*, _OpcUaCertificateMsg)>(&callback, 1)(&callback, certificate)), 77);
    EXPECT_EQ(callback.ran, "trust plant 0A");
}

} // namespace

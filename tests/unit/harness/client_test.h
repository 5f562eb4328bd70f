#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OpcUaClientInterface.h"
#include "guarded_buffer.h"
#include "messages.h"
#include "mutex_watch.h"
#include "platform_recorder.h"
#include "protocol_values.h"
#include "record_census.h"
#include "standin/standin.h"

using standin::script;

/// Every severity that is not Good, and how the two tests on a status take it.
constexpr OpcUa_StatusCode badStatus = 0x80340000U;
constexpr OpcUa_StatusCode uncertainStatus = 0x40A90000U;
/// Both severity bits set is reserved by the standard; it has the top bit, so it counts as Bad.
constexpr OpcUa_StatusCode bothBitsStatus = 0xC0000000U;
/// Informational bits outside the severity.
constexpr OpcUa_StatusCode goodWithDetails = 0x00A70000U;

/// Starts every test from a clean record and nothing alive.
class StandInTest : public ::testing::Test {
protected:
    StandInTest();
    ~StandInTest() override;
};

/// A live facade.
class ClientTest : public StandInTest {
protected:
    ClientTest();
    ~ClientTest() override;

    /// Opens an unsecured anonymous session and forgets the calls that it took.
    void connect();
    /// The stored message; fails when it isn't terminated.
    std::string message();
    /// Leaves a message behind by which an operation that stores none can be told.
    void storeEarlierMessage();

    std::unique_ptr<COpcUaClientInterface> m_client;

    static constexpr char earlierMessage[] = "传入的参数为空或者无效";
};

/// An application that wants nothing and trusts nobody.
class Application final : public COpcUaClientInterface::OpcUaCallBack {
public:
    void OpcUaDataChange(_OpcUaDataChangeMsg) override {}
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return -1; }
};

/// A zeroed record for `nodeId`.
OpcUaNode makeNode(const std::string& nodeId, int dataType = OpcUaDataType_Null);

/// A zeroed configuration for `url`.
_OpcUaClientConfig makeConfig(const std::string& url = "opc.tcp://plant:4840");

/// Text of a field that need not be terminated.
template <std::size_t size>
std::string fieldText(const char (&field)[size]) {
    return std::string(field, strnlen(field, size));
}

template <std::size_t size>
void setField(char (&field)[size], const std::string& text) {
    std::memset(field, 0, size);
    std::memcpy(field, text.data(), std::min(size, text.size()));
}

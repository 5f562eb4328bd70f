#pragma once

#include "OpcUaClientInterface.h"
#include "security/trust.h"

#include <functional>
#include <utility>

namespace opcua_cli {

/// Called on a thread of the library, one change at a time.
using DataChangeHandler = std::function<void(const _OpcUaDataChangeMsg&)>;

/// What the library asks and tells the program.
class Callback final : public COpcUaClientInterface::OpcUaCallBack {
public:
    Callback(TrustDecision& trust, DataChangeHandler onDataChange)
        : m_trust(trust), m_onDataChange(std::move(onDataChange)) {}

    void OpcUaDataChange(_OpcUaDataChangeMsg message) override {
        if (m_onDataChange)
            m_onDataChange(message);
    }
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) override {
        return m_trust.answer(certificate);
    }

private:
    TrustDecision& m_trust;
    DataChangeHandler m_onDataChange;
};

} // namespace opcua_cli

#include "subscription/acknowledgements.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace UaClientSdk {

void Acknowledgements::note(std::uint32_t subscriptionId, std::uint32_t number) {
    m_noted.push_back({subscriptionId, number});
    if (m_noted.size() > most)
        m_noted.erase(m_noted.begin());
}

Acknowledgements::List Acknowledgements::takeAll() {
    return std::exchange(m_noted, {});
}

void Acknowledgements::forget(std::uint32_t subscriptionId) {
    m_noted.erase(std::remove_if(m_noted.begin(), m_noted.end(),
                                 [subscriptionId](const UA_SubscriptionAcknowledgement& one) {
                                     return one.subscriptionId == subscriptionId;
                                 }),
                  m_noted.end());
}

} // namespace UaClientSdk

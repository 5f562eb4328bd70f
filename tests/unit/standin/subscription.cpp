#include <memory>
#include <utility>

#include "protocol_text.h"
#include "standin.h"
#include "subscription_impl.h"

using standin::script;

namespace UaClientSdk {

UaSubscription::UaSubscription(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {
    script().record("UaSubscription::UaSubscription", this);
}

UaSubscription::~UaSubscription() {
    script().record("UaSubscription::~UaSubscription", this);
}

UaStatus UaSubscription::createMonitoredItems(ServiceSettings& settings, OpcUa_TimestampsToReturn timestamps,
                                              const UaMonitoredItemCreateRequests& items,
                                              UaMonitoredItemCreateResults& results) {
    standin::CreateItemsRequest request{settings, timestamps, {}};
    for (const OpcUa_MonitoredItemCreateRequest& item : items) {
        const auto& parameters = item.requestedParameters;
        request.items.push_back({standin::readItem(item.itemToMonitor), item.monitoringMode,
                                 parameters.clientHandle, parameters.samplingInterval,
                                 parameters.filter.content.decoded.type != nullptr, parameters.queueSize,
                                 parameters.discardOldest});
    }
    script().record("UaSubscription::createMonitoredItems", this, request);
    if (script().onCreateItems)
        return script().onCreateItems(request, results);
    results.create(items.length());
    for (OpcUa_UInt32 i = 0; i < results.length(); ++i)
        results[i].monitoredItemId = items[i].requestedParameters.clientHandle + 5000;
    return OpcUa_Good;
}

void UaSubscription::createMonitoredItems(ServiceSettings& settings, OpcUa_TimestampsToReturn timestamps,
                                          const CreateItemsSequence& sequence) {
    script().countSequence();
    UaMonitoredItemCreateRequests items;
    bool goesOn = true;
    while (goesOn && sequence.next(items)) {
        UaMonitoredItemCreateResults results;
        const UaStatus status = createMonitoredItems(settings, timestamps, items, results);
        goesOn = sequence.answered(status, results);
    }
}

UaStatus UaSubscription::deleteMonitoredItems(ServiceSettings& settings,
                                              const UaUInt32Array& monitoredItemIds,
                                              UaStatusCodeArray& results) {
    const standin::DeleteItemsRequest request{settings, {monitoredItemIds.begin(), monitoredItemIds.end()}};
    script().record("UaSubscription::deleteMonitoredItems", this, request);
    if (script().onDeleteItems)
        return script().onDeleteItems(request, results);
    results.create(monitoredItemIds.length());
    return OpcUa_Good;
}

} // namespace UaClientSdk

#include "uaclient/callbacks.h"

namespace UaClientSdk {

UaSessionCallback::~UaSessionCallback() = default;
void UaSessionCallback::connectionStatusChanged(unsigned int, UaClient::ServerStatus) {}
void UaSessionCallback::connectError(unsigned int, const UaStatus&) {}
void UaSessionCallback::sslCertificateValidationFailed(unsigned int, const UaByteString&, const UaStatus&) {}

UaSubscriptionCallback::~UaSubscriptionCallback() = default;
void UaSubscriptionCallback::subscriptionStatusChanged(unsigned int, const UaStatus&) {}
void UaSubscriptionCallback::dataChange(unsigned int, const UaMonitoredItemNotifications&,
                                        const UaDiagnosticInfos&) {}
void UaSubscriptionCallback::newEvents(unsigned int, UaEventFieldLists&) {}

} // namespace UaClientSdk

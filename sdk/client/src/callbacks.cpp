#include "uaclient/callbacks.h"

namespace UaClientSdk {

UaSessionCallback::~UaSessionCallback() = default;
void UaSessionCallback::connectionStatusChanged(unsigned int, UaClient::ServerStatus) {}

UaSubscriptionCallback::~UaSubscriptionCallback() = default;

} // namespace UaClientSdk

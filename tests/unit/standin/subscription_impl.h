#pragma once

#include "uaclient/subscription.h"

/// A scripted subscription has nothing to keep.
class UaClientSdk::UaSubscription::Impl {};

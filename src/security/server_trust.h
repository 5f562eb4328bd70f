#pragma once

#include "uabase/string.h"
#include "uaclient/security_info.h"

/// Decides on the server certificate in `securityInfo`: the store, or else the application, or else it is
/// trusted from now on. 0 when the connect may go on, else its result code.
/// @param callback  the application's COpcUaClientInterface::OpcUaCallBack, or null
/// @param trustList  for the trace
int decideOnServer(UaClientSdk::SessionSecurityInfo& securityInfo, void* callback, const UaString& trustList);

#pragma once

#include <string>

#include "uastack/export.h"

/// Follows symbolic links at the end of a path, as far as this user or root has made them. On success `path`
/// names what they lead to, which is no link and need not exist. False when a link is another user's, or
/// there are too many; errno then says why.
UASDK_EXPORT bool UaBase_FollowOwnLinks(std::string& path);

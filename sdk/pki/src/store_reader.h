#pragma once

#include <vector>

#include "openssl_handles.h"
#include "uapki/store.h"

namespace pki {

struct StoreContent {
    std::vector<X509Ptr> trusted;
    std::vector<X509Ptr> issuers;
    std::vector<X509CrlPtr> revocationLists;
    /// Files among the lists that may be one and cannot be read: "<file>: <reason>".
    std::vector<UaString> unreadableLists;
    /// "<file>: <reason>".
    std::vector<UaString> skippedFiles;
};

StoreContent readStore(const UaPkiStoreLocations& locations);

} // namespace pki

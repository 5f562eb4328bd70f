#pragma once

#include <string>

#include "server/security.h"

namespace plant_server {

/// What the server shows of itself, as bytes.
struct OwnCertificate {
    std::string chain;      ///< DER: the server's certificate, possibly followed by its issuers
    std::string privateKey; ///< DER or PEM
};

/// Reads the certificate that the options name, or makes one. Throws std::runtime_error with the reason.
OwnCertificate ownCertificate(const SecurityOptions& options, const std::string& applicationUri,
                              const std::string& host);

} // namespace plant_server

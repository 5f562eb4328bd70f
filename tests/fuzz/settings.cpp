// The settings file: whatever stands in it, every setting is a path with its tokens replaced.

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_target.h"
#include "memory_file.h"
#include "security/configuration.h"

namespace {

constexpr std::size_t longestReplaced = 511;

bool hasToken(const std::string& text) {
    return text.find("[ApplicationPath]") != std::string::npos ||
           text.find("[ConfigPath]") != std::string::npos;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    file.setContent(data, size);
    Configuration configuration;
    configuration.applicationPath = "/opt/plant";
    require(configuration.loadConfiguration(UaString(file.path())) == 0, "loading never fails");
    for (const UaString* setting :
         {&configuration.CertificateTrustListLocation, &configuration.CertificateRevocationListLocation,
          &configuration.IssuersCertificatesLocation, &configuration.IssuersRevocationListLocation,
          &configuration.ClientCertificate, &configuration.ClientPrivateKey, &configuration.UserCertificate,
          &configuration.UserPrivateKey}) {
        require(setting->text().size() <= longestReplaced || !hasToken(setting->text()),
                "a path with its tokens replaced has at most 511 bytes");
    }
    return 0;
}

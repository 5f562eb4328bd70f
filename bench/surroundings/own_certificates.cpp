#include "surroundings/own_certificates.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace bench {
namespace {

namespace fs = std::filesystem;

fs::path store() {
    return fs::read_symlink("/proc/self/exe").parent_path() / "pkiclient";
}

} // namespace

void OwnCertificates::remove() const {
    std::error_code ignored;
    fs::remove_all(store(), ignored);
}

RawIdentity OwnCertificates::identity() const {
    const fs::directory_iterator trusted(store() / "trusted" / "certs");
    if (trusted == fs::directory_iterator())
        throw std::runtime_error("the library trusts no server");
    return {contentOf(store() / "own" / "certs" / "HMIClient.der"),
            contentOf(store() / "own" / "private" / "HMIClient.pem"), "urn:HMI:Kestrova::RK4400",
            contentOf(trusted->path())};
}

} // namespace bench

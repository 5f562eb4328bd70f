#pragma once

#include <filesystem>
#include <optional>

#include "files/descriptor.h"

namespace opcua_cli {

/// The certificate that a user logs in with.
struct UserCertificate {
    std::filesystem::path certificate; ///< empty for the one that the library keeps or makes
    std::filesystem::path key;
};

/// Throws a usage failure when the library could not use the files.
void checkUserCertificate(const UserCertificate& files);

/// As long as it lives, the library finds the user's certificate and key where it looks for them, and no
/// other run of the program puts another one there. What somebody else placed there stays.
class PlacedUserCertificate {
public:
    /// Throws Failure, also when a certificate that the library keeps is in the way.
    explicit PlacedUserCertificate(const UserCertificate& files);
    ~PlacedUserCertificate();
    PlacedUserCertificate(const PlacedUserCertificate&) = delete;
    PlacedUserCertificate& operator=(const PlacedUserCertificate&) = delete;

private:
    void placeBoth(const UserCertificate& files);
    void place(const std::filesystem::path& file, const std::filesystem::path& link);
    void remove();

    std::optional<Descriptor> m_lock;
    std::filesystem::path m_certificateLink;
    std::filesystem::path m_keyLink;
};

} // namespace opcua_cli

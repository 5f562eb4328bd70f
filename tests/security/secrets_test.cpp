// What of passwords and private keys is left in the memory of a process that has disconnected.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <malloc.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "secured_client_fixture.h"
#include "security/configuration.h"
#include "support/child_process.h"
#include "support/memory_search.h"
#include "support/text_file.h"
#include "support/unprivileged.h"

namespace fs = std::filesystem;
using test_support::Secret;
using testing::IsEmpty;
using testing::SizeIs;

// The C library's own allocator under the names that it reserves for this.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);
}
// NOLINTEND(readability-identifier-naming)

namespace {

std::atomic<bool> isHoarding{false};

/// While it lives, memory that is given back is not used again: what somebody has left in it is found.
class Hoard {
public:
    Hoard() { isHoarding = true; }
    ~Hoard() { isHoarding = false; }
    Hoard(const Hoard&) = delete;
    Hoard& operator=(const Hoard&) = delete;
};

} // namespace

// In the place of the system's, for the whole program.
extern "C" __attribute__((visibility("default"))) void free(void* memory) {
    if (!isHoarding)
        __libc_free(memory);
}
extern "C" __attribute__((visibility("default"))) void* realloc(void* memory, std::size_t size) {
    if (!isHoarding || memory == nullptr)
        return __libc_realloc(memory, size);
    void* const moved = __libc_malloc(size);
    if (moved != nullptr)
        std::memcpy(moved, memory, std::min(size, malloc_usable_size(memory)));
    return moved;
}

namespace {

/// A piece of each secret number of an RSA key (RFC 8017, A.1.2), as a file has it and as it is calculated
/// with.
std::vector<std::string> secretNumbers(const std::string& der) {
    std::vector<std::string> pieces;
    std::size_t position = 4; // the sequence's own header
    for (int number = 0; number < 9; ++number) {
        const auto byte = [&der](std::size_t at) { return static_cast<unsigned char>(der.at(at)); };
        std::size_t length = byte(position + 1);
        std::size_t header = 2;
        if (length > 0x80) {
            header += length - 0x80;
            length = 0;
            for (std::size_t i = 2; i < header; ++i)
                length = length * 256 + byte(position + i);
        }
        constexpr int firstSecret = 3;
        if (number >= firstSecret) {
            const std::string piece = der.substr(position + header + length / 2, 24);
            pieces.push_back(piece);
            pieces.emplace_back(piece.rbegin(), piece.rend());
        }
        position += header + length;
    }
    return pieces;
}

/// Pieces of what is secret in a key file, in every form that it takes.
std::vector<std::string> piecesOf(const fs::path& file) {
    const std::string pem = test_support::contentOf(file);
    std::vector<std::string> pieces = secretNumbers(
        test_support::runProgram("openssl", {"rsa", "-in", file.string(), "-traditional", "-outform", "DER"})
            .standardOutput);
    for (const std::size_t line : {10U, 15U, 20U})
        pieces.push_back(pem.substr(28 + line * 65, 40));
    return pieces;
}

class Secrets : public SecuredClientTest {
protected:
    /// A server whose operator has this password.
    void startServerFor(const Secret& password, std::vector<std::string> options = {"--security"}) {
        const fs::path users = directory() / "users";
        password.writeTo(users.string(), "operator:");
        options.insert(options.end(), {"--users", users.string()});
        startServer(options);
        fs::remove(users);
    }

    /// Connects and disconnects; the record with the password is wiped, as a careful application does.
    int connectOnce(const Secret& password, const SecurityChoice& security) {
        _OpcUaClientConfig config = securedConfig(server().url(), security);
        std::memset(config.password, 0, sizeof config.password);
        password.copyTo(config.password);
        const Hoard hoard;
        const int code = client.OpcUaConnect(config);
        explicit_bzero(config.password, sizeof config.password);
        client.OpcUaDisConnect();
        return code;
    }

    static SecurityChoice with(int policy, int mode, int identity) {
        SecurityChoice choice;
        choice.policy = policy;
        choice.mode = mode;
        choice.identity = identity;
        return choice;
    }

    static void expectNothingLeftOf(const fs::path& key) {
        for (const Secret& piece : Secret::fromChild([&key] { return piecesOf(key); }))
            EXPECT_THAT(piece.places(), IsEmpty()) << key;
    }
};

TEST_F(Secrets, AreFoundByTheSearch) {
    const Secret secret = Secret::text(20);
    EXPECT_THAT(secret.places(), IsEmpty());
    const auto kept = std::make_unique<char[]>(secret.size());
    secret.copyTo(kept.get());
    EXPECT_THAT(secret.places(), SizeIs(1));
    {
        const Hoard hoard;
        auto given = std::make_unique<char[]>(secret.size());
        secret.copyTo(given.get());
    }
    EXPECT_THAT(secret.places(), SizeIs(2));
    std::array<char, 20> onTheStack{};
    secret.copyTo(onTheStack.data());
    EXPECT_THAT(secret.places(), SizeIs(3));
}

struct Way {
    const char* name;
    int policy;
    int mode;
    bool isReadable; ///< the password goes out as it is
};

class APassword : public Secrets, public testing::WithParamInterface<Way> {};

TEST_P(APassword, IsWipedWhetherItIsRightOrWrong) {
    // Short ones lie within a string, long ones on the heap; no record holds a longer one.
    for (const std::size_t length : {8U, 15U, 16U, 40U, 64U}) {
        const Secret password = Secret::text(length);
        const Secret wrong = Secret::text(length);
        startServerFor(password, GetParam().isReadable
                                     ? std::vector<std::string>{"--security", "--insecure-passwords"}
                                     : std::vector<std::string>{"--security", "--legacy"});
        const SecurityChoice choice = with(GetParam().policy, GetParam().mode, SecurityChoice::byPassword);
        EXPECT_EQ(connectOnce(password, choice), 0);
        EXPECT_THAT(password.places(), IsEmpty()) << length;
        EXPECT_EQ(connectOnce(wrong, choice), 1);
        EXPECT_THAT(wrong.places(), IsEmpty()) << length;
    }
}

INSTANTIATE_TEST_SUITE_P(, APassword,
                         testing::Values(Way{"InTheClear", 0, 0, true}, Way{"EncryptedAlone", 0, 0, false},
                                         Way{"Basic128Rsa15", 1, 2, false}, Way{"Basic256", 2, 2, false},
                                         Way{"Signed", 3, 1, false}, Way{"Basic256Sha256", 3, 2, false},
                                         Way{"Aes128", 4, 2, false}, Way{"Aes256", 5, 2, false}),
                         [](const auto& row) { return row.param.name; });

TEST_F(Secrets, NothingIsLeftOfKeysThatWereMade) {
    startServer({"--security"});
    ASSERT_EQ(connectOnce(Secret::text(1), with(3, 2, SecurityChoice::byCertificate)), 0);
    expectNothingLeftOf(clientKey());
    expectNothingLeftOf(userKey());
}

TEST_F(Secrets, NothingIsLeftOfKeysThatWereLoaded) {
    startServer({"--security"});
    // Another process makes them.
    ASSERT_EQ(runInChild(
                  [this] { return connectOnce(Secret::text(1), with(3, 2, SecurityChoice::byCertificate)); }),
              0);
    for (const int policy : {3, 5})
        for (const int mode : {1, 2})
            ASSERT_EQ(connectOnce(Secret::text(1), with(policy, mode, SecurityChoice::byCertificate)), 0);
    expectNothingLeftOf(clientKey());
    expectNothingLeftOf(userKey());
}

/// Also of one that no connect has taken.
TEST_F(Secrets, NothingIsLeftOfAKeyThatAConfigurationHeld) {
    const auto load = [] {
        Configuration configuration;
        configuration.UserCertificate = userCertificate().string();
        configuration.UserPrivateKey = userKey().string();
        const int code = configuration.loadUserCertificate();
        return code != 0 ? code : configuration.loadUserCertificate();
    };
    ASSERT_EQ(runInChild(load), 0);
    {
        const Hoard hoard;
        ASSERT_EQ(load(), 0);
    }
    expectNothingLeftOf(userKey());
}

} // namespace

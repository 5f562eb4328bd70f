// Who makes this side's certificates and keys: one of many at a time, whatever ends in the middle, and nobody
// where a file may be good but cannot be read.
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "from_environment.h"
#include "security/configuration.h"
#include "support/next_definition.h"
#include "support/temporary_directory.h"
#include "support/text_file.h"
#include "support/unprivileged.h"
#include "uabase/trace.h"
#include "uaclient/security_info.h"
#include "uapki/certificate.h"
#include "uapki/rsa_key_pair.h"

namespace fs = std::filesystem;
using test_support::contentOf;
using testing::SizeIs;

namespace {

/// What goes wrong in the system.
struct System {
    std::atomic<int> slowness{0}; ///< milliseconds that a flush takes at most
    std::atomic<int> renamesUntilKill{-1};
    std::atomic<int> error{0};         ///< of opening the file that is named so
    std::atomic<unsigned> failures{0}; ///< a bit for each time that it is opened, the first one lowest
    std::string failingName;
};

constexpr unsigned always = ~0U;

System theSystem;

} // namespace

// In the place of the system's, for the whole program.
extern "C" __attribute__((visibility("default"))) int fsync(int descriptor) {
    const int slowness = theSystem.slowness;
    if (slowness > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(std::rand() % slowness)); // NOLINT
    return nextDefinition<int (*)(int)>("fsync")(descriptor);
}
extern "C" __attribute__((visibility("default"))) int rename(const char* from, const char* to) noexcept {
    if (theSystem.renamesUntilKill == 0)
        ::raise(SIGKILL);
    --theSystem.renamesUntilKill;
    return nextDefinition<int (*)(const char*, const char*)>("rename")(from, to);
}
extern "C" __attribute__((visibility("default"))) int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (theSystem.error != 0 && fs::path(path).filename() == theSystem.failingName) {
        const unsigned failures = theSystem.failures;
        theSystem.failures = failures == always ? always : failures >> 1U;
        if ((failures & 1U) != 0) {
            errno = theSystem.error;
            return -1;
        }
    }
    return nextDefinition<int (*)(const char*, int, ...)>("open")(path, flags, mode);
}

namespace {

std::string bytesOf(const UaByteString& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(bytes.length())};
}

class OwnPair : public testing::Test {
protected:
    OwnPair() {
        UaTrace::initTrace(UaTrace::Warnings, 100000, 1, UaString(file("trace.log").string()), "test");
    }
    ~OwnPair() override {
        UaTrace::closeTrace();
        resetSystem();
    }

    static void resetSystem() {
        theSystem.slowness = 0;
        theSystem.renamesUntilKill = -1;
        theSystem.error = 0;
        theSystem.failures = 0;
    }

    fs::path file(const std::string& name) const { return m_directory.path() / name; }
    fs::path store(const std::string& name) const { return file("store") / name; }

    void configure(Configuration& configuration) const {
        configuration.CertificateTrustListLocation = store("trusted/certs/").string();
        configuration.CertificateRevocationListLocation = store("trusted/crl/").string();
        configuration.IssuersCertificatesLocation = store("issuers/certs/").string();
        configuration.IssuersRevocationListLocation = store("issuers/crl/").string();
        configuration.ClientCertificate = store("certs/HMIClient.der").string();
        configuration.ClientPrivateKey = store("private/HMIClient.pem").string();
        configuration.UserCertificate = store("user/user.der").string();
        configuration.UserPrivateKey = store("userkey/user.pem").string();
    }

    /// What a connect does for a client's certificate, and for a user's.
    int prepareClient() const {
        Configuration configuration;
        configure(configuration);
        UaClientSdk::SessionSecurityInfo security;
        return configuration.setupSecurity(security);
    }
    int prepareUser(std::string* certificate = nullptr) const {
        Configuration configuration;
        configure(configuration);
        const int code = configuration.loadUserCertificate();
        if (certificate != nullptr) {
            *certificate =
                bytesOf(configuration.userCertificateData) + bytesOf(configuration.userPrivateKeyData);
        }
        return code;
    }
    /// Whether the two files of the user belong together.
    bool isUserPairWhole() const {
        UaClientSdk::SessionSecurityInfo security;
        return security
            .loadClientCertificateOpenSSL(store("user/user.der").string(), store("userkey/user.pem").string(),
                                          "")
            .isGood();
    }

    std::set<std::string> filesOfStore() const {
        std::set<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(file("store")))
            if (entry.is_regular_file())
                found.insert(entry.path().string() + contentOf(entry.path()));
        return found;
    }

    /// Whether a line of the trace names the file and what is wrong.
    bool tellsOf(const std::string& name, const std::string& problem) const {
        std::ifstream stream(file("trace.log"));
        for (std::string line; std::getline(stream, line);)
            if (line.find(name) != std::string::npos && line.find(problem) != std::string::npos)
                return true;
        return false;
    }

    const test_support::TemporaryDirectory m_directory;
};

/// Rounds of the two races; a thousand take some minutes.
unsigned rounds() {
    return fromEnvironment("TEST_ROUNDS", 3);
}

/// What one of several came to.
struct Outcome {
    int client = -1;
    int user = -1;
    std::string identity;
};

class OwnPairRace : public OwnPair {
protected:
    Outcome prepareBoth() const {
        Outcome outcome;
        outcome.client = prepareClient();
        outcome.identity = contentOf(store("certs/HMIClient.der"));
        std::string user;
        outcome.user = prepareUser(&user);
        outcome.identity += user;
        return outcome;
    }

    void expectOneIdentity(const std::vector<Outcome>& outcomes, unsigned round) const {
        std::set<std::string> identities;
        for (const Outcome& outcome : outcomes) {
            EXPECT_EQ(outcome.client, 0) << "round " << round;
            EXPECT_EQ(outcome.user, 0) << "round " << round;
            identities.insert(outcome.identity);
        }
        EXPECT_THAT(identities, SizeIs(1)) << "round " << round;
        EXPECT_THAT(filesOfStore(), SizeIs(4)) << "round " << round;
        EXPECT_TRUE(isUserPairWhole()) << "round " << round;
        if (HasFailure())
            ADD_FAILURE() << contentOf(file("trace.log"));
    }

    static void slowDown(unsigned round) { theSystem.slowness = round % 2 == 0 ? 0 : 20; }
};

TEST_F(OwnPairRace, OfThreadsHasOneIdentity) {
    for (unsigned round = 0; round < rounds() && !HasFailure(); ++round) {
        fs::remove_all(file("store"));
        slowDown(round);
        std::vector<Outcome> outcomes(8);
        std::atomic<std::size_t> arrived{0};
        std::vector<std::thread> threads;
        for (Outcome& outcome : outcomes) {
            threads.emplace_back([&] {
                ++arrived;
                while (arrived < outcomes.size())
                    std::this_thread::yield();
                outcome = prepareBoth();
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        expectOneIdentity(outcomes, round);
    }
}

/// A process that waits for a byte, and then answers by what it found.
class Competitor {
public:
    Competitor(int start, const std::function<Outcome()>& prepare) {
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) != 0)
            std::abort();
        m_answer = ends[0];
        m_process = ::fork();
        if (m_process == 0) {
            char go = 0;
            if (::read(start, &go, 1) < 0)
                ::_exit(1);
            std::srand(static_cast<unsigned>(::getpid()));
            const Outcome outcome = prepare();
            const std::string text = std::to_string(outcome.client) + " " + std::to_string(outcome.user) +
                                     " " + std::to_string(std::hash<std::string>()(outcome.identity));
            ::_exit(::write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
        }
        ::close(ends[1]);
    }
    ~Competitor() {
        ::close(m_answer);
        ::waitpid(m_process, nullptr, 0);
    }
    Competitor(const Competitor&) = delete;
    Competitor& operator=(const Competitor&) = delete;

    Outcome outcome() const {
        std::array<char, 100> text{};
        Outcome outcome;
        if (::read(m_answer, text.data(), text.size() - 1) > 0)
            std::istringstream(text.data()) >> outcome.client >> outcome.user >> outcome.identity;
        return outcome;
    }

private:
    int m_answer = -1;
    pid_t m_process = -1;
};

TEST_F(OwnPairRace, OfProcessesHasOneIdentity) {
    for (unsigned round = 0; round < rounds() && !HasFailure(); ++round) {
        fs::remove_all(file("store"));
        slowDown(round);
        std::array<int, 2> start{};
        ASSERT_EQ(::pipe(start.data()), 0);
        std::vector<std::unique_ptr<Competitor>> competitors;
        for (int i = 0; i < 4; ++i)
            competitors.push_back(std::make_unique<Competitor>(start[0], [this] { return prepareBoth(); }));
        ASSERT_EQ(::write(start[1], "goes", 4), 4);
        std::vector<Outcome> outcomes;
        for (const auto& competitor : competitors)
            outcomes.push_back(competitor->outcome());
        competitors.clear();
        ::close(start[0]);
        ::close(start[1]);
        expectOneIdentity(outcomes, round);
    }
}

/// Runs in a process that is killed before it gives its nth file its name.
void killBefore(int nthName, const std::function<void()>& action) {
    const pid_t child = ::fork();
    if (child == 0) {
        theSystem.renamesUntilKill = nthName;
        action();
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
}

TEST_F(OwnPair, OfAMakerThatIsKilledIsMadeByTheNext) {
    for (const int named : {0, 1}) {
        for (const char* garbage : {static_cast<const char*>(nullptr), "no certificate"}) {
            fs::remove_all(file("store"));
            if (garbage != nullptr) {
                ASSERT_EQ(prepareClient(), 0);
                std::ofstream(store("certs/HMIClient.der")) << garbage;
            }
            killBefore(named, [this] { prepareClient(); });
            EXPECT_EQ(prepareClient(), 0) << named;
        }
    }
}

TEST_F(OwnPair, OfAUserIsMadeByTheNextWhicheverFileWasMissing) {
    for (const int named : {0, 1}) {
        for (const char* missing : {"user/user.der", "userkey/user.pem", "both"}) {
            fs::remove_all(file("store"));
            ASSERT_EQ(prepareUser(), 0);
            if (std::string(missing) == "both")
                fs::remove_all(file("store"));
            else
                fs::remove(store(missing));
            killBefore(named, [this] { prepareUser(); });
            EXPECT_EQ(prepareUser(), 0);
            EXPECT_TRUE(isUserPairWhole()) << "killed before name " << named << ", missing: " << missing;
        }
    }
}

TEST_F(OwnPair, StaysWhenOneOfItsFilesCannotBeOpened) {
    ASSERT_EQ(prepareClient(), 0);
    ASSERT_EQ(prepareUser(), 0);
    const std::set<std::string> before = filesOfStore();
    for (const int error : {EMFILE, ENFILE, EACCES, EIO, ENOMEM, ELOOP, ENAMETOOLONG}) {
        for (const char* name : {"HMIClient.der", "HMIClient.pem", "user.der", "user.pem"}) {
            // Passing at any moment, and for good.
            for (const unsigned failures : {1U, 2U, 3U, 4U, 5U, 6U, 7U, always}) {
                theSystem.failingName = name;
                theSystem.failures = failures;
                theSystem.error = error;
                const int client = prepareClient();
                theSystem.failures = failures;
                const int user = prepareUser();
                resetSystem();
                EXPECT_EQ(filesOfStore(), before) << name << ", error " << error << ", times " << failures;
                const bool isClients = std::string(name).rfind("HMI", 0) == 0;
                if (failures == always) {
                    EXPECT_EQ(client, isClients ? 21 : 0);
                    EXPECT_EQ(user, isClients ? 0 : 28);
                    const std::string problem = std::generic_category().message(error);
                    EXPECT_TRUE(tellsOf(name, ": " + problem)) << name << ": " << problem;
                }
            }
        }
    }
    EXPECT_EQ(prepareClient(), 0);
    EXPECT_EQ(prepareUser(), 0);
}

TEST_F(OwnPair, IsNotMadeBesideAFileThatCannotBeOpened) {
    ASSERT_EQ(prepareClient(), 0);
    fs::remove(store("certs/HMIClient.der"));
    const std::set<std::string> before = filesOfStore();
    theSystem.failingName = "HMIClient.pem";
    theSystem.failures = always;
    theSystem.error = EIO;
    EXPECT_EQ(prepareClient(), 21);
    EXPECT_EQ(filesOfStore(), before);
    EXPECT_TRUE(tellsOf("HMIClient.pem", "cannot be read: Input/output error"));
}

TEST_F(OwnPair, IsNotMadeInADirectoryThatCannotBeLocked) {
    for (const char* folder : {"certs", "private", "user", "userkey"})
        fs::create_directories(store(folder));
    giveToUnprivileged(m_directory.path());
    const int made = runUnprivileged([this] {
        for (const char* folder : {"certs", "user"})
            fs::permissions(store(folder), fs::perms::owner_write | fs::perms::owner_exec);
        return prepareClient() == 21 && prepareUser() == 28 ? 0 : 1;
    });
    EXPECT_EQ(made, 0);
    for (const char* folder : {"certs", "user"})
        fs::permissions(store(folder), fs::perms::owner_all);
    for (const char* folder : {"certs", "private", "user", "userkey"})
        EXPECT_TRUE(fs::is_empty(store(folder))) << folder;
    EXPECT_TRUE(tellsOf("HMIClient.der", "its directory: Permission denied"));
    EXPECT_TRUE(tellsOf("user.der", "its directory: Permission denied"));
}

} // namespace

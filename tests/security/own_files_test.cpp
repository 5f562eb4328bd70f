// Certificates and keys of this side that are missing, spoilt, protected or cannot be written: the code, the
// message and the trace tell, nothing is asked, nothing is left half-written, and what cannot be read is not
// replaced.
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <ios>
#include <map>
#include <stdexcept>
#include <string>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <tuple>
#include <unistd.h>
#include <utility>

#include <gmock/gmock.h>

#include "material.h"
#include "secured_client_fixture.h"
#include "support/child_process.h"
#include "support/unprivileged.h"
#include "uapki/certificate.h"

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::string ownMessage = "加载客户端证书失败";
const std::string serverMessage = "检查服务器证书是否信任时出错";
const std::string userMessage = "设置证书身份令牌类型失败";
const std::string connectMessage = "连接服务器失败";

/// What a connect in a child process came to; the memory is shared with the child.
struct Attempt {
    int code;
    char message[256];
};

class SharedAttempt {
public:
    SharedAttempt()
        : m_memory(
              mmap(nullptr, sizeof(Attempt), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        if (m_memory == MAP_FAILED)
            throw std::runtime_error("no shared memory");
    }
    ~SharedAttempt() { munmap(m_memory, sizeof(Attempt)); }
    SharedAttempt(const SharedAttempt&) = delete;
    SharedAttempt& operator=(const SharedAttempt&) = delete;

    Attempt* operator->() const { return static_cast<Attempt*>(m_memory); }

private:
    void* m_memory;
};

class OwnFiles : public SecuredClientTest {
protected:
    OwnFiles() { startServer({"--security"}); }

    /// Connects in a process of its own, whose parent stays without threads.
    void
    attemptInChild(int (*run)(const std::function<int()>&), const std::function<void()>& before = [] {}) {
        if (run == runUnprivileged) {
            giveToUnprivileged(directory());
            fs::permissions(directory(), fs::perms(0755));
        }
        attempt->code = -1;
        ASSERT_EQ(run([&] {
                      before();
                      startTrace();
                      attempt->code = secureConnect(byCertificate);
                      std::snprintf(attempt->message, sizeof attempt->message, "%s", errorText().c_str());
                      return 0;
                  }),
                  0);
    }
    void expectAttempt(int code, const std::string& message) {
        EXPECT_EQ(attempt->code, code);
        EXPECT_EQ(attempt->message, message);
    }

    /// Makes all files of this side, and trusts the server.
    void connectForTheFirstTime() {
        attemptInChild(runInChild);
        ASSERT_EQ(attempt->code, 0);
    }

    /// All files below the program, but for the trace, with their content.
    static std::map<std::string, std::string> files() {
        std::map<std::string, std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(directory())) {
            const std::string name = entry.path().filename().string();
            if (entry.is_regular_file() && name.rfind("OpcUaClient.log", 0) != 0 && name != "security_test")
                found[entry.path().string()] = contentOf(entry.path());
        }
        return found;
    }

    static void put(const fs::path& file, const std::string& content) {
        fs::remove_all(file);
        std::ofstream(file, std::ios::binary) << content;
    }
    /// Puts a pair of the panel's in place that holds for `validTime` seconds from `backdate` seconds ago on.
    static UaPkiCertificate putOwnPair(OpcUa_UInt32 backdate, OpcUa_Int64 validTime) {
        const UaPkiRsaKeyPair keys(2048);
        UaPkiIdentity name;
        name.commonName = "Another panel";
        UaPkiCertificateInfo info;
        info.uri = "urn:HMI:Kestrova::RK4400";
        info.backdateTime = backdate;
        info.validTime = validTime;
        UaPkiCertificate certificate(info, name, keys.publicKey(), name, keys.privateKey(), false,
                                     UaPkiCertificate::Sha256);
        EXPECT_EQ(certificate.toDERFile(clientCertificate().c_str()), 0);
        EXPECT_EQ(keys.toPEMFile(clientKey().c_str(), nullptr), 0);
        return certificate;
    }

    const SecurityChoice byCertificate{3, 2, SecurityChoice::byCertificate};
    SharedAttempt attempt;
};

enum class File { ClientCertificate, ClientKey, UserCertificate, UserKey };

/// What is wrong with which file, and what comes of it.
struct SpoiltFile {
    const char* name;
    File file;
    std::function<void(const fs::path&)> spoil;
    int code;
    std::string message;
};

void copyOver(const char* material, const fs::path& path) {
    fs::copy_file(material::file(material), path, fs::copy_options::overwrite_existing);
}
void makeDirectory(const fs::path& path) {
    fs::remove(path);
    fs::create_directory(path);
}
void cut(const fs::path& path) {
    fs::resize_file(path, fs::file_size(path) / 2);
}
void empty(const fs::path& path) {
    fs::resize_file(path, 0);
}
void megabyte(const fs::path& path) {
    std::ofstream(path, std::ios::binary) << std::string(1 << 20, 'x');
}
void encrypt(const fs::path& path) {
    const test_support::ProgramResult result =
        test_support::runProgram("openssl", {"pkey", "-in", path.string(), "-aes256", "-passout",
                                             "pass:secret", "-out", path.string() + ".new"});
    ASSERT_EQ(result.end.exitCode, 0) << result.standardError;
    fs::rename(path.string() + ".new", path);
}
void otherAlgorithm(const fs::path& path) {
    const test_support::ProgramResult result =
        test_support::runProgram("openssl", {"genpkey", "-algorithm", "ED25519", "-out", path.string()});
    ASSERT_EQ(result.end.exitCode, 0) << result.standardError;
}
void otherPair(const fs::path& path) {
    copyOver("stranger.key", path);
}
void otherCertificate(const fs::path& path) {
    copyOver("self_good.der", path);
}

class ASpoiltFile : public OwnFiles, public testing::WithParamInterface<SpoiltFile> {};

TEST_P(ASpoiltFile, HasItsCodeAndStays) {
    connectForTheFirstTime();
    const fs::path path = std::map<File, fs::path>{{File::ClientCertificate, clientCertificate()},
                                                   {File::ClientKey, clientKey()},
                                                   {File::UserCertificate, userCertificate()},
                                                   {File::UserKey, userKey()}}[GetParam().file];
    GetParam().spoil(path);
    const auto before = files();
    startTrace(1);
    EXPECT_EQ(secureConnect(byCertificate), GetParam().code);
    EXPECT_EQ(errorText(), GetParam().message);
    EXPECT_THAT(trace(), HasSubstr(path.string()));
    EXPECT_EQ(files(), before);
    EXPECT_EQ(client.OpcUaDisConnect(), 3);
}

INSTANTIATE_TEST_SUITE_P(
    Everywhere, ASpoiltFile,
    testing::Values(
        SpoiltFile{"ClientCertificateIsADirectory", File::ClientCertificate, makeDirectory, 21, ownMessage},
        SpoiltFile{"ClientCertificateOfAnotherKey", File::ClientCertificate, otherCertificate, 21,
                   ownMessage},
        SpoiltFile{"ClientKeyIsADirectory", File::ClientKey, makeDirectory, 21, ownMessage},
        SpoiltFile{"ClientKeyOfAnotherPair", File::ClientKey, otherPair, 21, ownMessage},
        SpoiltFile{"ClientKeyEncrypted", File::ClientKey, encrypt, 21, ownMessage},
        SpoiltFile{"ClientKeyNotRsa", File::ClientKey, otherAlgorithm, 21, ownMessage},
        SpoiltFile{"ClientKeyTruncated", File::ClientKey, cut, 21, ownMessage},
        SpoiltFile{"ClientKeyEmpty", File::ClientKey, empty, 21, ownMessage},
        SpoiltFile{"ClientKeyMegabyte", File::ClientKey, megabyte, 21, ownMessage},
        SpoiltFile{"UserCertificateIsADirectory", File::UserCertificate, makeDirectory, 28, userMessage},
        SpoiltFile{"UserCertificateTruncated", File::UserCertificate, cut, 24, userMessage},
        SpoiltFile{"UserCertificateEmpty", File::UserCertificate, empty, 24, userMessage},
        SpoiltFile{"UserCertificateMegabyte", File::UserCertificate, megabyte, 24, userMessage},
        SpoiltFile{"UserCertificateOfAnotherKey", File::UserCertificate, otherCertificate, 1, connectMessage},
        SpoiltFile{"UserKeyIsADirectory", File::UserKey, makeDirectory, 28, userMessage},
        SpoiltFile{"UserKeyOfAnotherPair", File::UserKey, otherPair, 1, connectMessage},
        SpoiltFile{"UserKeyEncrypted", File::UserKey, encrypt, 25, userMessage},
        SpoiltFile{"UserKeyNotRsa", File::UserKey, otherAlgorithm, 26, userMessage},
        SpoiltFile{"UserKeyTruncated", File::UserKey, cut, 25, userMessage},
        SpoiltFile{"UserKeyEmpty", File::UserKey, empty, 25, userMessage},
        SpoiltFile{"UserKeyMegabyte", File::UserKey, megabyte, 25, userMessage}),
    [](const auto& row) { return row.param.name; });

/// A company's certificate in another form, whose key is as good as before.
TEST_F(OwnFiles, AClientCertificateInAnotherFormStaysWithItsKey) {
    connectForTheFirstTime();
    const std::string der = contentOf(clientCertificate());
    const test_support::ProgramResult pem =
        test_support::runProgram("openssl", {"x509", "-inform", "DER", "-in", clientCertificate().string()});
    ASSERT_EQ(pem.end.exitCode, 0) << pem.standardError;
    // The outer length in one byte more than needed: BER, but not DER.
    ASSERT_EQ(der.substr(0, 2), "\x30\x82");
    const std::string ber = "\x30\x83" + std::string(1, '\0') + der.substr(2);
    for (const std::string& content : {pem.standardOutput, "subject=CN = panel\n" + pem.standardOutput, ber,
                                       pem.standardOutput.substr(0, pem.standardOutput.size() / 2)}) {
        put(clientCertificate(), content);
        const auto before = files();
        startTrace(1);
        EXPECT_EQ(secureConnect(), 21);
        EXPECT_EQ(errorText(), ownMessage);
        EXPECT_THAT(trace(), HasSubstr(clientCertificate().string() + " holds a certificate"));
        EXPECT_EQ(files(), before);
    }
    put(clientCertificate(), der);
    EXPECT_EQ(secureConnect(), 0);
}

/// A key that somebody may have had certified is never lost.
TEST_F(OwnFiles, AKeyThatIsReplacedIsKeptAside) {
    connectForTheFirstTime();
    const std::string first = contentOf(clientKey());
    fs::remove(clientCertificate());
    ASSERT_EQ(secureConnect(), 0);
    const std::string second = contentOf(clientKey());
    EXPECT_NE(second, first);
    fs::remove(clientCertificate());
    ASSERT_EQ(secureConnect(), 0);
    EXPECT_EQ(contentOf(clientKey().string() + ".old"), first);
    EXPECT_EQ(contentOf(clientKey().string() + ".old2"), second);
    EXPECT_EQ(fs::status(clientKey().string() + ".old").permissions(), fs::perms(0600));
    const std::string ofUser = contentOf(userKey());
    fs::remove(userCertificate());
    ASSERT_EQ(secureConnect(byCertificate), 0);
    EXPECT_EQ(contentOf(userKey().string() + ".old"), ofUser);
}

/// In whatever form: one that this client cannot read may be somebody's all the same.
TEST_F(OwnFiles, AKeyInAnotherFormThatIsReplacedIsKeptAside) {
    connectForTheFirstTime();
    for (const auto& [certificate, key] :
         {std::pair(clientCertificate(), clientKey()), std::pair(userCertificate(), userKey())}) {
        const test_support::ProgramResult der =
            test_support::runProgram("openssl", {"pkey", "-in", key.string(), "-outform", "DER"});
        ASSERT_EQ(der.end.exitCode, 0) << der.standardError;
        put(key, der.standardOutput);
        fs::remove(certificate);
        ASSERT_EQ(secureConnect(byCertificate), 0);
        EXPECT_EQ(contentOf(key.string() + ".old"), der.standardOutput);
    }
}

TEST_F(OwnFiles, AKeyThatCannotBeKeptAsideIsNotReplaced) {
    connectForTheFirstTime();
    for (const auto& [certificate, key, code, message] :
         {std::tuple(clientCertificate(), clientKey(), 21, ownMessage),
          std::tuple(userCertificate(), userKey(), 28, userMessage)}) {
        const std::string ofCertificate = contentOf(certificate);
        const std::string ofKey = contentOf(key);
        put(key, ofKey + std::string(std::size_t{65} * 1024, '\n'));
        fs::remove(certificate);
        const auto before = files();
        startTrace(1);
        EXPECT_EQ(secureConnect(byCertificate), code);
        EXPECT_EQ(errorText(), message);
        EXPECT_THAT(trace(), HasSubstr("cannot write " + key.string() + ": larger than 64 KiB"));
        EXPECT_EQ(files(), before);
        put(key, ofKey);
        put(certificate, ofCertificate);
    }
    EXPECT_EQ(secureConnect(byCertificate), 0);
}

/// What is no certificate at all is made anew, with its key: such a file serves nobody.
TEST_F(OwnFiles, AClientCertificateThatIsNoneIsMadeAnew) {
    connectForTheFirstTime();
    for (const auto& spoil : {cut, empty, megabyte}) {
        spoil(clientCertificate());
        const std::string oldKey = contentOf(clientKey());
        ASSERT_EQ(secureConnect(), 0);
        EXPECT_NE(contentOf(clientKey()), oldKey);
    }
}

TEST_F(OwnFiles, AnExpiredClientCertificateIsKeptAndUsed) {
    connectForTheFirstTime();
    EXPECT_LT(putOwnPair(7200, 3600).validTo().toUnixTime(), UaDateTime::now().toUnixTime());
    const auto before = files();
    ASSERT_EQ(secureConnect(), 0);
    EXPECT_EQ(files(), before);
}

TEST_F(OwnFiles, WithoutPermissionHaveTheirCodesAndStay) {
    connectForTheFirstTime();
    for (const auto& [path, code, message] :
         {std::tuple(clientCertificate(), 21, ownMessage), std::tuple(clientKey(), 21, ownMessage),
          std::tuple(userCertificate(), 28, userMessage), std::tuple(userKey(), 28, userMessage),
          std::tuple(trustList(), 20, ownMessage)}) {
        SCOPED_TRACE(path.string());
        const fs::perms permissions = fs::status(path).permissions();
        const auto before = files();
        fs::permissions(path, fs::perms::none);
        attemptInChild(runUnprivileged);
        fs::permissions(path, permissions);
        expectAttempt(code, message);
        EXPECT_EQ(files(), before);
        EXPECT_THAT(contentOf(directory() / "OpcUaClient.log"), HasSubstr(path.string()));
    }
}

TEST_F(OwnFiles, WhereNothingMayBeWrittenTheCodesTell) {
    connectForTheFirstTime();
    const fs::perms readOnly = fs::perms::owner_read | fs::perms::owner_exec;
    for (const auto& [file, code, message] :
         {std::tuple(clientCertificate(), 21, ownMessage), std::tuple(userCertificate(), 28, userMessage)}) {
        SCOPED_TRACE(file.string());
        const std::string content = contentOf(file);
        fs::remove(file);
        fs::permissions(file.parent_path(), readOnly);
        attemptInChild(runUnprivileged);
        fs::permissions(file.parent_path(), fs::perms::owner_all);
        expectAttempt(code, message);
        EXPECT_TRUE(fs::is_empty(file.parent_path()));
        EXPECT_THAT(contentOf(directory() / "OpcUaClient.log"), HasSubstr("cannot write " + file.string()));
        attemptInChild(runUnprivileged); // and then it can
        expectAttempt(0, "");
    }
    fs::remove_all(trustList());
    fs::create_directory(trustList());
    fs::permissions(trustList(), readOnly);
    attemptInChild(runUnprivileged);
    fs::permissions(trustList(), fs::perms::owner_all);
    expectAttempt(22, serverMessage);
    EXPECT_TRUE(fs::is_empty(trustList()));
}

TEST_F(OwnFiles, AKeyIsNotReplacedForACertificateThatCannotBeWritten) {
    connectForTheFirstTime();
    for (const auto& [certificate, key, code] :
         {std::tuple(clientCertificate(), clientKey(), 21), std::tuple(userCertificate(), userKey(), 28)}) {
        SCOPED_TRACE(certificate.string());
        const std::string before = contentOf(key);
        fs::remove(certificate);
        fs::create_symlink(directory() / "nowhere" / "certificate.der", certificate);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(secureConnect(byCertificate), code);
        EXPECT_EQ(contentOf(key), before);
        EXPECT_FALSE(fs::exists(key.string() + ".old"));
        fs::remove(certificate);
        EXPECT_EQ(secureConnect(byCertificate), 0);
        EXPECT_EQ(contentOf(key.string() + ".old"), before);
    }
}

/// The kernel cuts every file of the process at this size, as a disk does that is full.
void fillTheDisk() {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{100, 100};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
        std::abort();
}

TEST_F(OwnFiles, AFullDiskLeavesNothingHalfWritten) {
    attemptInChild(runInChild, fillTheDisk);
    expectAttempt(21, ownMessage);
    EXPECT_THAT(files(), IsEmpty());
    connectForTheFirstTime(); // and nothing of it is in the way later
    fs::remove_all(directory() / "pkiuser");
    auto before = files();
    attemptInChild(runInChild, fillTheDisk);
    expectAttempt(28, userMessage);
    EXPECT_EQ(files(), before);
    fs::remove_all(trustList());
    before = files();
    attemptInChild(runInChild, fillTheDisk);
    expectAttempt(22, serverMessage);
    EXPECT_EQ(files(), before);
    connectForTheFirstTime();
}

TEST_F(OwnFiles, AFileInTheStoresPlaceGivesTwenty) {
    connectForTheFirstTime();
    for (const char* part : {"trusted/certs", "trusted/crl", "issuers/certs", "issuers/crl"}) {
        const fs::path path = directory() / "pkiclient" / part;
        fs::rename(path, path.string() + ".kept");
        put(path, "a file in its place");
        startTrace(1);
        EXPECT_EQ(secureConnect(), 20) << part;
        EXPECT_EQ(errorText(), ownMessage);
        EXPECT_THAT(trace(), HasSubstr(path.string()));
        fs::remove(path);
        fs::rename(path.string() + ".kept", path);
    }
    EXPECT_EQ(secureConnect(), 0);
}

/// A terminal on which an answer is waiting; what is written to it and what is left of the answer tell
/// whether somebody asked.
class Terminal {
public:
    Terminal() : m_master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0)
            throw std::runtime_error("no pseudo terminal");
        m_name = ptsname(m_master);
        m_slave = ::open(m_name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (m_slave < 0 || ::write(m_master, answer, sizeof answer - 1) != sizeof answer - 1)
            throw std::runtime_error("no answer at the terminal");
        // The echo of the answer.
        char echo[64];
        if (::read(m_master, echo, sizeof echo) <= 0)
            throw std::runtime_error("the terminal does not echo");
    }
    ~Terminal() {
        ::close(m_slave);
        ::close(m_master);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Makes it this process's terminal and standard input.
    void takeOver() const {
        if (setsid() < 0)
            std::abort();
        const int terminal = ::open(m_name.c_str(), O_RDWR);
        if (terminal < 0 || ioctl(terminal, TIOCSCTTY, 0) != 0 || dup2(terminal, STDIN_FILENO) < 0)
            std::abort();
    }

    int unreadBytes() const { return pending(m_slave); }
    int writtenBytes() const { return pending(m_master); }
    static constexpr char answer[] = "secret\n";

private:
    static int pending(int descriptor) {
        int count = -1;
        ioctl(descriptor, FIONREAD, &count);
        return count;
    }

    int m_master;
    int m_slave = -1;
    std::string m_name;
};

TEST_F(OwnFiles, NobodyIsAskedForThePasswordOfAKey) {
    connectForTheFirstTime();
    for (const auto& [key, code, message] :
         {std::tuple(userKey(), 25, userMessage), std::tuple(clientKey(), 21, ownMessage)}) {
        encrypt(key); // with what waits on the terminal
        const Terminal terminal;
        attemptInChild(runInChild, [&terminal] { terminal.takeOver(); });
        expectAttempt(code, message);
        EXPECT_EQ(terminal.unreadBytes(), static_cast<int>(sizeof Terminal::answer - 1));
        EXPECT_EQ(terminal.writtenBytes(), 0);
        attemptInChild(runInChild, [] { ::close(STDIN_FILENO); });
        expectAttempt(code, message);
    }
}

TEST_F(OwnFiles, AreReadAnewAtEachConnect) {
    connectForTheFirstTime();
    ASSERT_EQ(secureConnect(), 0);
    const fs::path known = directory() / "known";
    fs::create_directory(known);
    startServer({"--trusted-clients", known.string()});
    EXPECT_EQ(secureConnect(), 1);
    EXPECT_EQ(putOwnPair(60, 3600).toDERFile((known / "new.der").c_str()), 0);
    EXPECT_EQ(secureConnect(), 0);
    fs::remove_all(known);
}

} // namespace

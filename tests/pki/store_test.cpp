#include <csignal>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>

#include "material.h"
#include "support/temporary_directory.h"
#include "support/unprivileged.h"
#include "trace_reader.h"
#include "uapki/certificate_verifier.h"

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

constexpr const char* basic256Sha256 = "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";

class Store : public testing::Test {
protected:
    UaPkiVerification verify(const UaPkiStoreLocations& locations, const std::string& sent = "self_good") {
        return UaPkiCertificateVerifier(UaPkiStore(locations))
            .verify(material::chain(sent), "urn:plant:server", basic256Sha256, material::verificationTime());
    }

    static UaPkiCertificate certificate(const char* name = "self_good") {
        return UaPkiCertificate::fromDER(material::chain(name));
    }

    /// Of a file in the trust list.
    std::string textOf(const char* name) const {
        const UaByteString bytes = material::read(m_folders.trusted / name);
        return {reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(bytes.length())};
    }

    test_support::TemporaryDirectory m_directory;
    material::StoreFolders m_folders{m_directory.path()};
};

TEST_F(Store, ASavedCertificateIsFoundWithAndWithoutTheSlashAtTheEnd) {
    for (const char* ending : {"", "/"}) {
        const std::string folder =
            (m_directory.path() / "new" / "deep").string() + (*ending != 0 ? "1" : "2") + ending;
        UaPkiStoreLocations locations;
        locations.trustedCertificates = folder;
        const UaString name = certificate().thumbPrint().toHex(false);
        ASSERT_TRUE(UaPkiStore(locations).saveTrusted(certificate(), name).isGood());
        EXPECT_EQ(material::read(fs::path(folder) / (name.text() + ".der")), certificate().toDER());
        EXPECT_TRUE(verify(locations).status.isGood());
        struct stat properties{};
        ASSERT_EQ(::stat(folder.c_str(), &properties), 0);
        EXPECT_EQ(properties.st_mode & 07777U, 0700U);
    }
}

TEST_F(Store, SavingLeavesNoOtherFile) {
    ASSERT_TRUE(UaPkiStore(m_folders.locations()).saveTrusted(certificate(), "server").isGood());
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_folders.trusted))
        names.push_back(entry.path().filename().string());
    EXPECT_THAT(names, ElementsAre("server.der"));
}

TEST_F(Store, NamesThatLeadElsewhereAreRefused) {
    const UaPkiStore store(m_folders.locations());
    for (const char* name : {"", "../outside", "a/b", ".hidden", "..", "a b", "a\nb"})
        EXPECT_EQ(store.saveTrusted(certificate(), name).statusCode(), OpcUa_BadInvalidArgument) << name;
    EXPECT_EQ(store.saveTrusted(UaPkiCertificate(), "empty").statusCode(), OpcUa_BadInvalidArgument);
    EXPECT_TRUE(fs::is_empty(m_folders.trusted));
}

TEST_F(Store, WithoutADirectoryNothingIsSaved) {
    const UaPkiStore store{UaPkiStoreLocations()};
    EXPECT_TRUE(store.open().isGood());
    EXPECT_EQ(store.saveTrusted(certificate(), "server").statusCode(), OpcUa_BadConfigurationError);
    EXPECT_EQ(verify({}).status.statusCode(), OpcUa_BadCertificateUntrusted);
}

TEST_F(Store, AFileWhereTheDirectoryShouldBeCannotBeOpenedNorSavedTo) {
    UaPkiStoreLocations locations = m_folders.locations();
    locations.trustedCertificates = (m_directory.path() / "file").string();
    material::write(locations.trustedCertificates.text(), "in the way");
    const UaPkiStore store(locations);
    EXPECT_EQ(store.open().statusCode(), OpcUa_BadConfigurationError);
    EXPECT_EQ(store.saveTrusted(certificate(), "server").statusCode(), OpcUa_BadNotWritable);
    const UaPkiVerification result = verify(locations);
    EXPECT_EQ(result.status.statusCode(), OpcUa_BadCertificateUntrusted);
    EXPECT_THAT(result.skippedFiles, SizeIs(1));
}

TEST_F(Store, AMissingDirectoryIsAnEmptyOne) {
    fs::remove_all(m_folders.issuerLists);
    EXPECT_TRUE(UaPkiStore(m_folders.locations()).open().isGood());
    EXPECT_TRUE(verify(m_folders.locations()).skippedFiles.empty());
}

TEST_F(Store, PemFilesCountAsDerOnesDo) {
    material::StoreFolders::fill(m_folders.trusted, "root", ".pem");
    material::StoreFolders::fill(m_folders.trustedLists, "root middle", ".crl.pem");
    material::StoreFolders::fill(m_folders.issuers, "middle", ".pem");
    const UaPkiVerification result = verify(m_folders.locations(), "by_middle");
    EXPECT_TRUE(result.status.isGood()) << result.status.name();
    EXPECT_TRUE(result.skippedFiles.empty());
}

TEST_F(Store, AFileMayHoldSeveralPemCertificates) {
    std::string bundle;
    for (const char* name : {"middle.pem", "root.pem"}) {
        const UaByteString text = material::read(material::file(name));
        bundle.append(reinterpret_cast<const char*>(text.data()), static_cast<std::size_t>(text.length()));
    }
    material::write(m_folders.trusted / "company.pem", bundle);
    material::StoreFolders::fill(m_folders.trustedLists, "root middle", ".crl");
    EXPECT_TRUE(verify(m_folders.locations(), "by_middle").status.isGood());
}

TEST_F(Store, APemFileMayBeginWithAnyText) {
    // A "0" is also what every DER file begins with.
    for (const char* text : {"0123456789: the root of the plant\n", "The root of the plant\n"}) {
        for (const char* name : {"root.pem", "root.crl.pem"}) {
            const UaByteString pem = material::read(material::file(name));
            const std::string content(pem.data(), pem.data() + pem.length());
            const bool isList = std::string(name) == "root.crl.pem";
            material::write((isList ? m_folders.trustedLists : m_folders.trusted) / name, text + content);
        }
        const UaPkiVerification result = verify(m_folders.locations(), "by_root");
        EXPECT_TRUE(result.status.isGood()) << result.status.name();
        EXPECT_TRUE(result.skippedFiles.empty());
    }
}

TEST_F(Store, AFileMayHoldSeveralPemLists) {
    material::StoreFolders::fill(m_folders.trusted, "root", ".der");
    material::StoreFolders::fill(m_folders.issuers, "middle", ".der");
    material::StoreFolders::fill(m_folders.trustedLists, "both_pem", ".crl");
    EXPECT_TRUE(verify(m_folders.locations(), "by_middle").status.isGood());
}

/// Beside a good list something that may be one, and cannot be read.
class UnreadableList : public Store {
protected:
    UnreadableList() {
        material::StoreFolders::fill(m_folders.trusted, "root self_good", ".der");
        material::StoreFolders::fill(m_folders.trustedLists, "root", ".crl");
    }

    void expectUnknownBecauseOf(const fs::path& file) {
        const UaPkiVerification result = verify(m_folders.locations(), "by_root");
        EXPECT_EQ(result.status.statusCode(), OpcUa_BadCertificateRevocationUnknown) << result.status.name();
        ASSERT_THAT(result.findings, SizeIs(1));
        EXPECT_THAT(result.findings[0].text.text(),
                    testing::AllOf(HasSubstr("cannot be read"), HasSubstr(file.string())));
        EXPECT_THAT(result.skippedFiles, SizeIs(1));
        EXPECT_TRUE(verify(m_folders.locations(), "self_good").status.isGood());
    }
};

TEST_F(UnreadableList, AboveTheLimit) {
    const fs::path file = m_folders.trustedLists / "large.crl";
    material::StoreFolders::fill(m_folders.trustedLists, "root_revoking", ".crl");
    fs::rename(m_folders.trustedLists / "root_revoking.crl", file);
    fs::resize_file(file, 32 * 1024 * 1024 + 1);
    expectUnknownBecauseOf(file);
    EXPECT_THAT(verify(m_folders.locations(), "by_root").skippedFiles[0].text(),
                HasSubstr("larger than 32768 KiB"));
}

TEST_F(UnreadableList, NotAFileAtAll) {
    const fs::path file = m_folders.issuerLists / "list.crl";
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    expectUnknownBecauseOf(file);
    fs::remove(file);
    fs::create_symlink("nowhere", file);
    expectUnknownBecauseOf(file);
    fs::remove(file);
    EXPECT_TRUE(verify(m_folders.locations(), "by_root").status.isGood());
}

TEST_F(UnreadableList, AFileOrADirectoryWithoutPermission) {
    fs::permissions(m_directory.path(), fs::perms(0755));
    const UaPkiCertificateVerifier verifier{UaPkiStore(m_folders.locations())};
    const UaByteString sent = material::chain("by_root");
    const auto statusUnprivileged = [&] {
        return runUnprivileged([&] {
            const UaStatus status =
                verifier.verify(sent, "urn:plant:server", basic256Sha256, material::verificationTime())
                    .status;
            return status.isGood() ? 0 : status.statusCode() == OpcUa_BadCertificateRevocationUnknown ? 1 : 2;
        });
    };
    EXPECT_EQ(statusUnprivileged(), 0);
    material::StoreFolders::fill(m_folders.trustedLists, "root_revoking", ".crl");
    fs::permissions(m_folders.trustedLists / "root_revoking.crl", fs::perms::none);
    EXPECT_EQ(statusUnprivileged(), 1);
    fs::remove(m_folders.trustedLists / "root_revoking.crl");
    fs::permissions(m_folders.issuerLists, fs::perms::none);
    EXPECT_EQ(statusUnprivileged(), 1);
    fs::permissions(m_folders.issuerLists, fs::perms(0755));
    EXPECT_EQ(statusUnprivileged(), 0);
}

TEST_F(UnreadableList, ADirectoryAndAHiddenFileAreNone) {
    fs::create_directory(m_folders.trustedLists / "old");
    material::write(m_folders.trustedLists / ".root.crl.part", "half a list");
    EXPECT_TRUE(verify(m_folders.locations(), "by_root").status.isGood());
}

TEST_F(Store, ForeignFilesArePassedOverAndNamed) {
    fs::create_directory(m_folders.trusted / "a_directory");
    material::StoreFolders::fill(m_folders.trusted, "megabyte truncated empty self_good trailing", ".der");
    material::StoreFolders::fill(m_folders.trusted, "root", ".crl");
    material::StoreFolders::fill(m_folders.trusted, "server", ".key");
    material::StoreFolders::fill(m_folders.trustedLists, "root", ".der");
    ASSERT_EQ(::mkfifo((m_folders.trusted / "pipe").c_str(), 0600), 0);
    fs::create_symlink("nowhere", m_folders.trusted / "symlink");
    material::write(m_folders.trusted / ".hidden.tmp", "half a cert");

    const UaPkiVerification result = verify(m_folders.locations());
    EXPECT_TRUE(result.status.isGood()) << result.status.name();
    std::vector<std::string> skipped;
    for (const UaString& file : result.skippedFiles)
        skipped.push_back(file.text());
    EXPECT_THAT(skipped,
                ElementsAre(HasSubstr("certs/a_directory: not a regular file"),
                            HasSubstr("certs/empty.der: neither"),
                            HasSubstr("certs/megabyte.der: larger than 256 KiB"),
                            HasSubstr("certs/pipe: not a regular file"), HasSubstr("certs/root.crl: neither"),
                            HasSubstr("certs/server.key: neither"), HasSubstr("certs/symlink: No such file"),
                            HasSubstr("certs/trailing.der: neither"),
                            HasSubstr("certs/truncated.der: neither"), HasSubstr("crl/root.der: neither")));
}

TEST_F(Store, AnEncryptedPemFileIsPassedOverWithoutAQuestion) {
    const std::string file = (m_folders.trusted / "key.pem").string();
    ASSERT_EQ(UaPkiRsaKeyPair(2048).toPEMFile(file.c_str(), "secret"), 0);
    material::write(m_folders.trusted / "old.pem",
                    "-----BEGIN CERTIFICATE-----\nProc-Type: 4,ENCRYPTED\n"
                    "DEK-Info: AES-128-CBC,00112233445566778899AABBCCDDEEFF\n\n"
                    "AAAAAAAAAAAAAAAAAAAAAA==\n-----END CERTIFICATE-----\n");
    EXPECT_THAT(verify(m_folders.locations()).skippedFiles, SizeIs(2));
}

TEST_F(Store, FilesAndDirectoriesWithoutPermission) {
    fs::permissions(m_directory.path(), fs::perms(0755));
    material::StoreFolders::fill(m_folders.trusted, "self_good root", ".der");
    fs::permissions(m_folders.trusted / "self_good.der", fs::perms::none);
    fs::permissions(m_folders.issuers, fs::perms::none);
    UaPkiCertificateVerifier verifier{UaPkiStore(m_folders.locations())};
    UaByteString sent = material::chain("self_good");
    const int answer = runUnprivileged([&] {
        if (UaPkiStore(m_folders.locations()).open().statusCode() != OpcUa_BadConfigurationError)
            return 1;
        if (UaPkiStore(m_folders.locations())
                .saveTrusted(UaPkiCertificate::fromDER(sent), "new")
                .statusCode() != OpcUa_BadNotWritable) {
            return 2;
        }
        const UaPkiVerification result =
            verifier.verify(sent, "urn:plant:server", basic256Sha256, material::verificationTime());
        if (result.status.statusCode() != OpcUa_BadCertificateUntrusted)
            return 3;
        return result.skippedFiles.size() == 2 ? 0 : 4;
    });
    fs::permissions(m_folders.issuers, fs::perms::owner_all);
    EXPECT_EQ(answer, 0);
}

TEST_F(Store, AFullDiskLeavesWhatWasThere) {
    fs::permissions(m_directory.path(), fs::perms(0755));
    fs::permissions(m_folders.trusted, fs::perms(0777));
    UaPkiStore store(m_folders.locations());
    material::write(m_folders.trusted / "server.der", "what was there");
    UaPkiCertificate other = certificate();
    const int answer = runUnprivileged([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{100, 100}; // the write is cut after 100 bytes, as on a disk that is full
        return ::setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
                       store.saveTrusted(other, "server").statusCode() == OpcUa_BadNotWritable
                   ? 0
                   : 1;
    });
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(textOf("server.der"), "what was there");
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folders.trusted), fs::directory_iterator()), 1);
}

TEST_F(Store, AReaderNeverSeesHalfACertificate) {
    // A file that is replaced is never written to: who has it open keeps the whole of the old one.
    const UaPkiStore store(m_folders.locations());
    material::write(m_folders.trusted / "server.der", "what was there");
    const fs::path kept = m_directory.path() / "kept.der";
    fs::create_hard_link(m_folders.trusted / "server.der", kept);
    ASSERT_TRUE(store.saveTrusted(certificate(), "server").isGood());
    EXPECT_EQ(textOf("../../kept.der"), "what was there");
    EXPECT_EQ(material::read(m_folders.trusted / "server.der"), certificate().toDER());
}

TEST_F(Store, AFileThatHoldsAnotherCertificateIsNotReplaced) {
    for (const char* ending : {".der", ".pem"}) {
        const fs::path file = m_folders.trusted / "server.der";
        fs::copy_file(material::file(std::string("root") + ending), file,
                      fs::copy_options::overwrite_existing);
        const std::string before = textOf("server.der");
        const Trace trace(UaTrace::Errors);
        EXPECT_EQ(UaPkiStore(m_folders.locations()).saveTrusted(certificate(), "server").statusCode(),
                  OpcUa_BadNotWritable);
        EXPECT_EQ(textOf("server.der"), before);
        EXPECT_THAT(trace.text(),
                    HasSubstr(file.string() + " is not replaced: it holds another certificate"));
    }
}

/// Somebody's certificates, with one byte too much or too little: nobody but their owner takes them away.
TEST_F(Store, AFileOfCertificatesThatCannotBeReadAsAWholeIsNotReplaced) {
    const fs::path file = m_folders.trusted / "server.der";
    const auto bytes = [](const UaByteString& content) {
        return std::string(reinterpret_cast<const char*>(content.data()),
                           static_cast<std::size_t>(content.length()));
    };
    const std::string two = bytes(material::chain("root middle"));
    const std::string pem = bytes(material::read(material::file("root.pem")));
    for (const std::string& content :
         {two + "\n", two.substr(0, two.size() - 1), bytes(certificate().toDER()) + "\n",
          pem.substr(0, pem.size() / 2), pem + pem.substr(0, pem.size() / 2)}) {
        material::write(file, content);
        const Trace trace(UaTrace::Errors);
        EXPECT_EQ(UaPkiStore(m_folders.locations()).saveTrusted(certificate(), "server").statusCode(),
                  OpcUa_BadNotWritable);
        EXPECT_EQ(textOf("server.der"), content);
        EXPECT_THAT(
            trace.text(),
            HasSubstr(file.string() +
                      " is not replaced: it holds a certificate, or was to hold one, but cannot be read"));
    }
}

TEST_F(Store, AFileThatNobodyCanReadIsNotReplaced) {
    fs::create_directory(m_folders.trusted / "server.der");
    EXPECT_EQ(UaPkiStore(m_folders.locations()).saveTrusted(certificate(), "server").statusCode(),
              OpcUa_BadNotWritable);
    EXPECT_TRUE(fs::is_directory(m_folders.trusted / "server.der"));
}

TEST_F(Store, ACertificateThatIsThereNeedNotBeSaved) {
    fs::copy_file(material::file("self_good.pem"), m_folders.trusted / "server.der");
    const std::string before = textOf("server.der");
    EXPECT_TRUE(UaPkiStore(m_folders.locations()).saveTrusted(certificate(), "server").isGood());
    EXPECT_EQ(textOf("server.der"), before);
}

TEST_F(Store, ThatOthersCanWriteToIsWarnedOf) {
    for (const fs::path& folder :
         {m_folders.trusted, m_folders.trustedLists, m_folders.issuers, m_folders.issuerLists}) {
        for (const unsigned mode : {0720U, 0702U}) {
            fs::permissions(folder, fs::perms(mode));
            const Trace trace(UaTrace::Warnings);
            EXPECT_TRUE(UaPkiStore(m_folders.locations()).open().isGood());
            EXPECT_THAT(trace.text(), AllOf(HasSubstr("WARNING"), HasSubstr(folder.string()),
                                            HasSubstr(mode == 0702 ? "everybody may" : "the group "),
                                            HasSubstr("write to it")));
            fs::permissions(folder, fs::perms(0755));
        }
    }
    const Trace trace(UaTrace::Warnings);
    EXPECT_TRUE(UaPkiStore(m_folders.locations()).open().isGood());
    EXPECT_EQ(trace.text(), "");
}

/// Who owns it can write to it, whatever its mode says.
TEST_F(Store, OfAnotherUserIsWarnedOf) {
    fs::permissions(m_directory.path(), fs::perms(0755));
    giveToUnprivileged(m_folders.trusted);
    const Trace trace(UaTrace::Warnings);
    EXPECT_TRUE(UaPkiStore(m_folders.locations()).open().isGood());
    const bool isRoot = ::geteuid() == 0;
    EXPECT_EQ(trace.text().find("its owner, the user ") != std::string::npos, isRoot);
}

} // namespace

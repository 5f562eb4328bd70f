#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "files/library_files.h"
#include "support/temporary_directory.h"

using opcua_cli::LibraryFiles;
using opcua_cli::libraryFilesIn;

namespace {

LibraryFiles filesWith(const std::string& configuration) {
    const test_support::TemporaryDirectory directory;
    std::ofstream(directory.path() / "OpcUaClientConfig.ini") << configuration;
    LibraryFiles files = libraryFilesIn(directory.path());
    for (std::filesystem::path* path : {&files.clientCertificate, &files.clientKey, &files.userKey}) {
        const std::string text = path->string();
        const std::string here = directory.path().string();
        if (text.compare(0, here.size(), here) == 0)
            *path = "HERE" + text.substr(here.size());
    }
    return files;
}

} // namespace

TEST(LibraryFiles, AreBesideTheProgramWithoutConfiguration) {
    const LibraryFiles files = libraryFilesIn("/opt/panel/bin");
    EXPECT_EQ(files.trace, "/opt/panel/bin/OpcUaClient.log");
    EXPECT_EQ(files.configuration, "/opt/panel/bin/OpcUaClientConfig.ini");
    EXPECT_EQ(files.trustedCertificates, "/opt/panel/bin/pkiclient/trusted/certs/");
    EXPECT_EQ(files.issuerCertificates, "/opt/panel/bin/pkiclient/issuers/certs/");
    EXPECT_EQ(files.clientCertificate, "/opt/panel/bin/pkiclient/own/certs/HMIClient.der");
    EXPECT_EQ(files.clientKey, "/opt/panel/bin/pkiclient/own/private/HMIClient.pem");
    EXPECT_EQ(files.userCertificate, "/opt/panel/bin/pkiuser/own/certs/user.der");
    EXPECT_EQ(files.userKey, "/opt/panel/bin/pkiuser/own/private/user.pem");
}

TEST(LibraryFiles, AreWhereTheConfigurationSays) {
    const LibraryFiles files = filesWith("; places\n"
                                         "[Other]\n"
                                         "UserPrivateKey = /wrong.pem\n"
                                         "[UaClientConfig]\n"
                                         "  ClientCertificate =  \"/etc/panel/own.der\" \r\n"
                                         "# ClientPrivateKey = /wrong.pem\n"
                                         "ClientPrivateKey = dropped[ApplicationPath]/own.pem\n"
                                         "not a setting\n");
    EXPECT_EQ(files.clientCertificate, "/etc/panel/own.der");
    EXPECT_EQ(files.clientKey, "HERE/own.pem");
    EXPECT_EQ(files.userKey, "HERE/pkiuser/own/private/user.pem");
}

#include <algorithm>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "OpcUaClientInterface.h"
#include "OpcUaHelpers.h"
#include "commands/commands.h"
#include "files/library_files.h"
#include "files/trace.h"
#include "interrupt.h"
#include "output/json.h"
#include "output/streams.h"
#include "output/table.h"
#include "result_text.h"
#include "security/certificate.h"

namespace opcua_cli {
namespace {

namespace fs = std::filesystem;

struct CertOptions : CommonOptions {
    bool make = false;

    bool needsFiles() const override { return true; }
};

/// A file of a store.
struct StoredCertificate {
    fs::path file;
    std::optional<Certificate> certificate;
    std::string problem; ///< why there is no certificate
};

struct Store {
    LibraryFiles files;
    StoredCertificate client;
    bool hasClient = false;
    bool hasKey = false;
    std::vector<StoredCertificate> trusted;
    std::vector<StoredCertificate> issuers;
};

StoredCertificate load(const fs::path& file) {
    StoredCertificate stored{file, {}, {}};
    try {
        stored.certificate = certificateFromDer(derOf(readSmallFile(file)));
    } catch (const std::invalid_argument&) {
        stored.problem = "no certificate";
    } catch (const std::exception& error) {
        stored.problem = error.what();
    }
    return stored;
}

/// Nobody knows then what is in there.
void throwUnlessKnown(const fs::path& place, const std::error_code& error) {
    if (error && error != std::errc::no_such_file_or_directory)
        throw nodeFailure("cannot look at " + place.string() + ": " + error.message(),
                          "the user whom these files belong to");
}

bool isThere(const fs::path& file) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    throwUnlessKnown(file, fs::status_known(status) ? std::error_code() : error);
    return fs::exists(status);
}

/// In the order of their names; the library passes over what begins with a dot.
std::vector<StoredCertificate> loadAll(const fs::path& directory) {
    std::vector<StoredCertificate> all;
    std::error_code error;
    for (fs::directory_iterator entry(directory, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
        if (entry->path().filename().string().front() != '.')
            all.push_back(load(entry->path()));
    throwUnlessKnown(directory, error);
    std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.file < b.file; });
    return all;
}

/// The library makes its certificate at the beginning of a secured connect, whatever comes of it.
void makeClientCertificate(const CertOptions& options) {
    Trace trace;
    COpcUaClientInterface client;
    trace.start(client, options);
    _OpcUaClientConfig nowhere{};
    nowhere.securityPolicy = OpcUaSecurityPolicy_Basic256Sha256;
    nowhere.securityMode = OpcUaSecurityMode_SignAndEncrypt;
    constexpr int noEndpoints = 19;
    const int code = client.OpcUaConnect(nowhere);
    if (code != noEndpoints)
        throw Failure(ExitCode::Failed, problemFor(code, client));
}

Store readStore() {
    Store store;
    store.files = libraryFiles();
    store.client = load(store.files.clientCertificate);
    store.hasClient = isThere(store.client.file);
    store.hasKey = access(store.files.clientKey.c_str(), R_OK) == 0;
    store.trusted = loadAll(store.files.trustedCertificates);
    store.issuers = loadAll(store.files.issuerCertificates);
    return store;
}

std::string joined(const std::vector<std::string>& texts) {
    std::string result;
    for (const std::string& text : texts)
        result += (result.empty() ? "" : ", ") + text;
    return result;
}

std::string clientTable(const Store& store) {
    Table table({{"", false}, {"", false}});
    const auto add = [&](const char* title, const std::string& text) {
        table.add({{title, Tone::Heading}, text});
    };
    add("File", store.client.file.string());
    add("Private key", store.files.clientKey.string() + (store.hasKey ? "" : " (missing)"));
    if (const auto& certificate = store.client.certificate) {
        add("Common name", certificate->commonName);
        add("Organization", certificate->organization);
        add("Application URI", certificate->applicationUri);
        add("Host name", joined(certificate->hostNames));
        add("Valid from", certificate->validFrom);
        add("Valid to", certificate->validTo);
        add("Serial number", certificate->serialNumber);
        add("Thumbprint (SHA-1)", certificate->thumbprint);
    }
    return table.render(terminalOn(STDOUT_FILENO));
}

std::string clientReport(const Store& store) {
    const std::string text = "This client's certificate\n" + clientTable(store);
    if (store.client.certificate)
        return text +
               "\nA server lets this client in when it trusts this certificate: copy the file to the "
               "server's\ntrusted client certificates. Many servers put what they refused into a folder of "
               "rejected\ncertificates: then connect once, and move it from there to the trusted ones.\n";
    if (store.hasClient)
        return text + "\nThe file cannot be used: " + store.client.problem + ".\n";
    return text +
           "\nThere is none yet. It is made by the first secured connection, or by opcua-cli cert --make.\n";
}

std::string listReport(const std::string& title, const fs::path& directory,
                       const std::vector<StoredCertificate>& certificates) {
    const std::string text = "\n" + title + ": " + directory.string() + "\n";
    Table table(
        {{"Common name"}, {"Application URI"}, {"Valid to"}, {"Thumbprint (SHA-1)", false}, {"File"}});
    for (const StoredCertificate& stored : certificates) {
        const std::string name = stored.file.filename().string();
        if (const auto& certificate = stored.certificate)
            table.add({certificate->commonName, certificate->applicationUri, certificate->validTo,
                       certificate->thumbprint, name == certificate->thumbprint + ".der" ? "" : name});
        else
            table.add({{"(" + stored.problem + ")", Tone::Bad}, "", "", "", name});
    }
    return text + (table.empty() ? "none\n" : table.render(terminalOn(STDOUT_FILENO)));
}

std::string tableReport(const Store& store) {
    std::string text = clientReport(store) + listReport("Trusted servers and authorities",
                                                        store.files.trustedCertificates, store.trusted);
    if (!store.issuers.empty())
        text +=
            listReport("Issuers, not trusted by themselves", store.files.issuerCertificates, store.issuers);
    return text;
}

Json certificateJson(const StoredCertificate& stored) {
    Json json{{"file", stored.file.string()}};
    const Certificate certificate = stored.certificate.value_or(Certificate{});
    const auto known = [&](const std::string& text) { return stored.certificate ? Json(text) : Json(); };
    json["commonName"] = known(certificate.commonName);
    json["organization"] = known(certificate.organization);
    json["issuerCommonName"] = known(certificate.issuerCommonName);
    json["applicationUri"] = known(certificate.applicationUri);
    json["hostNames"] = certificate.hostNames;
    json["validFrom"] = known(certificate.validFrom);
    json["validTo"] = known(certificate.validTo);
    json["serialNumber"] = known(certificate.serialNumber);
    json["thumbprint"] = known(certificate.thumbprint);
    json["problem"] = stored.certificate ? Json() : Json(stored.problem);
    return json;
}

Json certificateJson(const std::vector<StoredCertificate>& certificates) {
    Json list = Json::array();
    for (const StoredCertificate& stored : certificates)
        list.push_back(certificateJson(stored));
    return list;
}

std::string jsonReport(const Store& store) {
    Json client = certificateJson(store.client);
    client["keyFile"] = store.files.clientKey.string();
    client["hasKey"] = store.hasKey;
    return document({{"client", std::move(client)},
                     {"trustList", store.files.trustedCertificates.string()},
                     {"trusted", certificateJson(store.trusted)},
                     {"issuerList", store.files.issuerCertificates.string()},
                     {"issuers", certificateJson(store.issuers)}});
}

ExitCode runCert(const CertOptions& options) {
    if (options.make)
        makeClientCertificate(options);
    const Store store = readStore();
    writeOutput(options.json ? jsonReport(store) : tableReport(store));
    return ExitCode::Success;
}

constexpr const char* certExamples = R"help(Examples:
  opcua-cli cert
  opcua-cli cert --make                  to hand it to a server before the first connection
  opcua-cli cert --json | jq -r .client.file)help";

} // namespace

void addCertCommand(Program& program, Action& chosen) {
    auto [command, options] =
        addCommand<CertOptions>(program, chosen, runCert, "cert",
                                "Show this client's certificate and the servers it trusts", certExamples);
    addReportOptions(command, options);
    command.addFlag("--make", &options.make, "Make this client's certificate if there is none yet");
}

} // namespace opcua_cli

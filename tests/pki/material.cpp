#include "material.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/temporary_directory.h"

namespace fs = std::filesystem;

namespace material {
namespace {

/// CTest makes the material once for all cases; who runs the program by hand gets material of its own.
class Material : public testing::Environment {
public:
    void TearDown() override { m_own.reset(); }

    const fs::path& folder() {
        if (m_folder.empty())
            make();
        return m_folder;
    }

private:
    void make() {
        if (const char* made = std::getenv("PKI_MATERIAL")) {
            m_folder = made;
            return;
        }
        m_own = std::make_unique<test_support::TemporaryDirectory>();
        m_folder = m_own->path() / "material";
        const test_support::ProgramResult result =
            test_support::runProgram(MAKE_STORES, {m_folder.string(), MATERIAL_URI});
        if (result.end.exitCode != 0)
            throw std::runtime_error("make_stores.sh: " + result.standardError);
    }

    std::unique_ptr<test_support::TemporaryDirectory> m_own;
    fs::path m_folder;
};

Material* const theMaterial =
    static_cast<Material*>(testing::AddGlobalTestEnvironment(std::make_unique<Material>().release()));

} // namespace

UaDateTime verificationTime() {
    return UaDateTime::fromUnixTime(1780272000);
}

fs::path file(const std::string& name) {
    return theMaterial->folder() / name;
}

UaByteString read(const fs::path& file) {
    std::ifstream input(file, std::ios::binary);
    if (!input)
        throw std::runtime_error("cannot open " + file.string());
    std::string content((std::istreambuf_iterator<char>(input)), std::istreambuf_iterator<char>());
    return UaByteString(static_cast<int>(content.size()),
                        reinterpret_cast<const OpcUa_Byte*>(content.data()));
}

void write(const fs::path& file, const std::string& content) {
    std::ofstream output(file, std::ios::binary);
    output << content;
    output.close();
    if (!output)
        throw std::runtime_error("cannot write " + file.string());
}

UaByteString chain(const std::string& names) {
    std::vector<OpcUa_Byte> bytes;
    for (const std::string& name : words(names)) {
        const UaByteString certificate = read(file(name + ".der"));
        bytes.insert(bytes.end(), certificate.data(), certificate.data() + certificate.length());
    }
    return UaByteString(static_cast<int>(bytes.size()), bytes.data());
}

StoreFolders::StoreFolders(const fs::path& root)
    : trusted(root / "trusted" / "certs"), trustedLists(root / "trusted" / "crl"),
      issuers(root / "issuers" / "certs"), issuerLists(root / "issuers" / "crl") {
    for (const fs::path& folder : {trusted, trustedLists, issuers, issuerLists})
        fs::create_directories(folder);
}

void StoreFolders::fill(const fs::path& folder, const std::string& names, const char* ending) {
    for (const std::string& name : words(names))
        fs::copy_file(file(name + ending), folder / (name + ending));
}

UaPkiStoreLocations StoreFolders::locations() const {
    return {trusted.string(), trustedLists.string(), issuers.string(), issuerLists.string()};
}

std::vector<std::string> words(const std::string& text) {
    std::istringstream input(text);
    return {std::istream_iterator<std::string>(input), std::istream_iterator<std::string>()};
}

} // namespace material

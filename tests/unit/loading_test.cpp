#include <cstddef>
#include <dlfcn.h>
#include <filesystem>
#include <link.h>
#include <string>
#include <vector>

#include "client_test.h"

namespace {

/// Files that the process has loaded under this soname.
std::vector<std::string> loadedFiles(const std::string& soname) {
    struct Search {
        std::string soname;
        std::vector<std::string> files;
    } search{"/" + soname, {}};
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* argument) {
            auto* target = static_cast<Search*>(argument);
            const std::string file = info->dlpi_name;
            if (file.size() >= target->soname.size() &&
                file.compare(file.size() - target->soname.size(), target->soname.size(), target->soname) == 0)
                target->files.push_back(std::filesystem::canonical(file).parent_path().string());
            return 0;
        },
        &search);
    return search.files;
}

class LoadedStandIn : public ::testing::Environment {
public:
    void SetUp() override {
        ASSERT_THAT(loadedFiles("libuaclientcpp.so.1"),
                    ::testing::ElementsAre(std::filesystem::canonical(STANDIN_DIRECTORY).string()))
            << "the tests would run against the real SDK";
    }
};

const ::testing::Environment* const loadedStandIn = ::testing::AddGlobalTestEnvironment(new LoadedStandIn);

} // namespace

TEST(Loading, OnlyTheClientLayerIsAStandIn) {
    const std::string real = std::filesystem::canonical(SDK_DIRECTORY).string();
    EXPECT_THAT(loadedFiles("libopcuaclient.so.1"), ::testing::ElementsAre(real));
    EXPECT_THAT(loadedFiles("libuabasecpp.so.1"), ::testing::ElementsAre(real));
    // Nothing may call it: then the loader leaves it out.
    EXPECT_THAT(loadedFiles("libuastack.so.1"), ::testing::Each(real));
}

TEST(Loading, TheLibrarysCallsReachTheStandIn) {
    script().reset();
    {
        COpcUaClientInterface client;
        _OpcUaClientConfig config = makeConfig();
        client.OpcUaConnect(config);
    }
    EXPECT_THAT(
        script().operations(),
        ::testing::IsSupersetOf({"UaPlatformLayer::init", "UaSession::UaSession", "UaSession::connect",
                                 "UaSession::~UaSession", "UaPlatformLayer::cleanup"}));
}

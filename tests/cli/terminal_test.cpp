#include <cstdlib>
#include <fcntl.h>
#include <string>

#include <gtest/gtest.h>

#include "files/descriptor.h"
#include "output/terminal.h"

using namespace opcua_cli;

TEST(Terminal, IsWhatTheEnvironmentSaysAtTheBeginning) {
    const Descriptor descriptor(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_TRUE(descriptor.isOpen());
    const char* const type = std::getenv("TERM");
    const std::string before = type != nullptr ? type : "dumb";
    const bool canRedraw = terminalOn(descriptor.number()).canRedraw;
    setenv("TERM", canRedraw ? "dumb" : "xterm", 1);
    EXPECT_EQ(terminalOn(descriptor.number()).canRedraw, canRedraw);
    setenv("TERM", before.c_str(), 1);
}

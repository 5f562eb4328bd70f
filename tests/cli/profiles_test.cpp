#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OpcUaHelpers.h"
#include "failure.h"
#include "files/profiles.h"
#include "security/names.h"

using namespace opcua_cli;
using testing::HasSubstr;

TEST(Profiles, HoldWhereAndHow) {
    const Profiles profiles = parseProfiles({"p.ini", "# servers\n\n"
                                                      "[boiler]\r\n"
                                                      "url = opc.tcp://plant:4840\r\n"
                                                      "policy=aes256\n"
                                                      "  mode = Sign\n"
                                                      "user = Ann Other\n"
                                                      "; the last one\n"
                                                      "[ line 1 ]\n"
                                                      "url = line:4840/?a=b"});
    ASSERT_EQ(profiles.size(), 2u);
    const Profile& boiler = profiles.at("boiler");
    EXPECT_EQ(boiler.url, "opc.tcp://plant:4840");
    EXPECT_EQ(boiler.place, "p.ini, line 4");
    EXPECT_EQ(boiler.policy, policyFromName("Aes256_Sha256_RsaPss"));
    EXPECT_EQ(boiler.mode, OpcUaSecurityMode_Sign);
    EXPECT_EQ(boiler.user, "Ann Other");
    const Profile& line = profiles.at("line 1");
    EXPECT_EQ(line.url, "line:4840/?a=b");
    EXPECT_FALSE(line.policy || line.mode || line.user);
    EXPECT_TRUE(parseProfiles({"p.ini", ""}).empty());
}

TEST(Profiles, WhatIsWrongIsToldWithItsLine) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"[a]\nurl = h\npassword = x\n", "p.ini, line 3: a password has no place in this file"},
        {"[a]\nurl = h\nport = 1\n", "p.ini, line 3: \"port\" is unknown here"},
        {"url = h\n", "p.ini, line 1: url stands before the first profile"},
        {"[a]\nurl\n", "p.ini, line 2: \"url\" is neither a section nor a key with a value"},
        {"[a]\nurl =\n", "p.ini, line 2: url has no value"},
        {"[a]\nurl = h\nurl = i\n", "p.ini, line 3: url is there twice"},
        {"[a]\nurl = h\nuser = b\nuser = b\n", "p.ini, line 4: user is there twice"},
        {"[a]\nurl = h\n\n[a]\n", "p.ini, line 4: there are two profiles a"},
        {"[a\nurl = h\n", "p.ini, line 1: \"[a\" names no profile"},
        {"[ ]\n", "p.ini, line 1: \"[ ]\" names no profile"},
        {"[a]\npolicy = Basic512\n", "p.ini, line 2: no security policy is called Basic512"},
        {"[a]\nmode = encrypted\n", "p.ini, line 2: no security mode is called encrypted"},
        {"[a]\n\n[b]\nurl = h\n", "p.ini, line 1: the profile a has no URL"},
        {"[a]\nurl = h\n[b]\nuser = c", "p.ini, line 3: the profile b has no URL"},
    };
    for (const auto& [text, message] : cases) {
        try {
            parseProfiles({"p.ini", text});
            ADD_FAILURE() << text;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.exitCode(), ExitCode::Usage);
            EXPECT_THAT(failure.problem().explanation, HasSubstr(message));
        }
    }
}

#include <gtest/gtest.h>

#include "uabase/status.h"

namespace {

constexpr OpcUa_StatusCode uncertain = 0x40920000U;

TEST(Status, SeverityDecides) {
    EXPECT_TRUE(UaStatus().isGood());
    EXPECT_FALSE(UaStatus().isBad());
    EXPECT_FALSE(UaStatus().isNotGood());

    EXPECT_FALSE(UaStatus(uncertain).isGood());
    EXPECT_FALSE(UaStatus(uncertain).isBad());
    EXPECT_TRUE(UaStatus(uncertain).isNotGood());

    EXPECT_FALSE(UaStatus(OpcUa_BadTimeout).isGood());
    EXPECT_TRUE(UaStatus(OpcUa_BadTimeout).isBad());
    EXPECT_TRUE(UaStatus(OpcUa_BadTimeout).isNotGood());
}

TEST(Status, InfoBitsDoNotMatter) {
    EXPECT_TRUE(UaStatus(0x00000480U).isGood());
    EXPECT_TRUE(UaStatus(0x00A20000U).isGood());
    EXPECT_TRUE(UaStatus(0xFFFFFFFFU).isBad());
}

TEST(Status, NamesAreTheStandardsSymbols) {
    EXPECT_STREQ(UaStatus().name(), "Good");
    EXPECT_STREQ(UaStatus(OpcUa_BadUnexpectedError).name(), "BadUnexpectedError");
    EXPECT_STREQ(UaStatus(OpcUa_BadInternalError).name(), "BadInternalError");
    EXPECT_STREQ(UaStatus(OpcUa_BadOutOfMemory).name(), "BadOutOfMemory");
    EXPECT_STREQ(UaStatus(OpcUa_BadCommunicationError).name(), "BadCommunicationError");
    EXPECT_STREQ(UaStatus(OpcUa_BadTimeout).name(), "BadTimeout");
    EXPECT_STREQ(UaStatus(OpcUa_BadServerNotConnected).name(), "BadServerNotConnected");
    EXPECT_STREQ(UaStatus(OpcUa_BadNodeIdInvalid).name(), "BadNodeIdInvalid");
    EXPECT_STREQ(UaStatus(OpcUa_BadOutOfRange).name(), "BadOutOfRange");
    EXPECT_STREQ(UaStatus(OpcUa_BadTypeMismatch).name(), "BadTypeMismatch");
    EXPECT_STREQ(UaStatus(OpcUa_BadInvalidArgument).name(), "BadInvalidArgument");
}

TEST(Status, AnUnknownCodeHasANameToo) {
    EXPECT_NE(UaStatus(0x8FFF0000U).name(), nullptr);
}

} // namespace

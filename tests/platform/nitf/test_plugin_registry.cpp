#include <gtest/gtest.h>

#include <string>

#include "tessel/platform/nitf.h"

namespace {

nitf_TREDescription firstLayout[] = {
    {NITF_BCS_A, 4, "first", "FIRST", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};
nitf_TREDescriptionInfo firstInfos[] = {
    {"TTREG1", firstLayout, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};
nitf_TREDescriptionSet firstSet = {0, firstInfos};

nitf_TREDescription secondLayout[] = {
    {NITF_BCS_N, 2, "second", "SECOND", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};
nitf_TREDescriptionInfo secondInfos[] = {
    {"TTREG1", secondLayout, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};
nitf_TREDescriptionSet secondSet = {0, secondInfos};

TEST(PluginRegistry, FirstRegistrationOfANameWins) {
    nitf_Error error{};
    ASSERT_TRUE(nitf_PluginRegistry_registerDescriptionSet("TTREG1", &firstSet, &error))
        << error.message;
    ASSERT_TRUE(nitf_PluginRegistry_registerDescriptionSet("TTREG1", &secondSet, &error));
    EXPECT_TRUE(nitf_PluginRegistry_TREHandlerExists("TTREG1"));

    nitf_TRE* tre = nitf_TRE_construct("TTREG1", nullptr, &error);
    ASSERT_NE(tre, nullptr) << error.message;
    EXPECT_NE(nitf_TRE_getField(tre, "FIRST"), nullptr);
    EXPECT_EQ(nitf_TRE_getField(tre, "SECOND"), nullptr);
    EXPECT_EQ(tre->handler->data, &firstSet);
    nitf_TRE_destruct(&tre);
}

}  // namespace

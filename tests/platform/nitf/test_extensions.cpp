#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tessel/platform/nitf.h"

namespace {

nitf_TRE* rawTRE(const char* tag, const std::string& bytes) {
    nitf_Error error{};
    nitf_TRE* tre = nitf_TRE_construct(tag, nullptr, &error);
    EXPECT_NE(tre, nullptr) << error.message;
    EXPECT_TRUE(
        nitf_TRE_setField(tre, "raw_data", const_cast<char*>(bytes.data()), bytes.size(), &error));
    return tre;
}

std::vector<std::string> tagsInOrder(nitf_Extensions* ext) {
    std::vector<std::string> tags;
    nitf_ExtensionsIterator end = nitf_Extensions_end(ext);
    for (nitf_ExtensionsIterator it = nitf_Extensions_begin(ext);
         nitf_ExtensionsIterator_notEqualTo(&it, &end); nitf_ExtensionsIterator_increment(&it)) {
        tags.emplace_back(nitf_ExtensionsIterator_get(&it)->tag);
    }
    return tags;
}

TEST(NitfTRE, UnknownTagIsHeldRaw) {
    nitf_Error error{};
    nitf_TRE* tre = nitf_TRE_construct("ZZTEST", nullptr, &error);
    ASSERT_NE(tre, nullptr);
    EXPECT_STREQ(tre->tag, "ZZTEST");
    EXPECT_STREQ(nitf_TRE_getID(tre), "raw_data");
    EXPECT_EQ(nitf_TRE_getCurrentSize(tre, &error), 0);
    char data[] = {'A', 0, 'B'};
    ASSERT_TRUE(nitf_TRE_setField(tre, "raw_data", data, 3, &error));
    nitf_Field* field = nitf_TRE_getField(tre, "raw_data");
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(field->type, NITF_BINARY);
    EXPECT_EQ(field->length, 3u);
    EXPECT_EQ(std::memcmp(field->raw, data, 3), 0);
    EXPECT_EQ(nitf_TRE_getCurrentSize(tre, &error), 3);
    EXPECT_TRUE(nitf_TRE_exists(tre, "raw_data"));
    EXPECT_FALSE(nitf_TRE_exists(tre, "OTHER"));
    EXPECT_FALSE(nitf_TRE_setField(tre, "OTHER", data, 3, &error));
    nitf_TRE_destruct(&tre);
    EXPECT_EQ(tre, nullptr);
}

TEST(NitfTRE, RawIdForcesTheRawHandler) {
    nitf_Error error{};
    nitf_TRE* tre = nitf_TRE_construct("BLOCKA", "raw_data", &error);
    ASSERT_NE(tre, nullptr);
    EXPECT_EQ(tre->handler, nitf_DefaultTRE_handler(&error));
    nitf_TRE_destruct(&tre);
}

TEST(NitfTRE, ReadsRawBytesFromAnInterface) {
    nitf_Error error{};
    char bytes[] = "0123456789";
    nitf_IOInterface* io = nitf_BufferAdapter_construct(bytes, 10, false, &error);
    nitf_TRE* tre = nitf_TRE_createSkeleton("RAWONE", &error);
    tre->handler = nitf_DefaultTRE_handler(&error);
    ASSERT_TRUE(tre->handler->read(io, 7, tre, nullptr, &error));
    EXPECT_EQ(nitf_IOInterface_tell(io, &error), 7);
    EXPECT_EQ(std::string(nitf_TRE_getField(tre, "raw_data")->raw, 7), "0123456");
    nitf_TRE* copy = nitf_TRE_clone(tre, &error);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(std::string(nitf_TRE_getField(copy, "raw_data")->raw, 7), "0123456");
    nitf_IOInterface* out = nitf_BufferAdapter_constructGrowable(&error);
    ASSERT_TRUE(copy->handler->write(out, copy, nullptr, &error));
    size_t size = 0;
    const char* written = nitf_BufferAdapter_getBuffer(out, &size);
    EXPECT_EQ(std::string(written, size), "0123456");
    nitf_IOInterface_destruct(&out);
    nitf_TRE_destruct(&copy);
    nitf_TRE_destruct(&tre);
    nitf_IOInterface_destruct(&io);
}

TEST(NitfTRE, EnumeratorGivesTheRawField) {
    nitf_TRE* tre = rawTRE("ENUMRW", "abc");
    nitf_Error error{};
    nitf_TREEnumerator* it = nitf_TRE_begin(tre, &error);
    std::vector<std::string> keys;
    while (it != nullptr && it->hasNext(&it)) {
        nitf_Pair* pair = it->next(it, &error);
        ASSERT_NE(pair, nullptr);
        keys.emplace_back(pair->key);
        EXPECT_EQ(static_cast<nitf_Field*>(pair->data)->length, 3u);
    }
    EXPECT_EQ(it, nullptr);
    EXPECT_EQ(keys, std::vector<std::string>{"raw_data"});
    nitf_List* found = nitf_TRE_find(tre, "raw", &error);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(nitf_List_size(found), 1u);
    nitf_List_destruct(&found);
    nitf_TRE_destruct(&tre);
}

TEST(NitfTRE, TagLongerThanThirtyTwoFails) {
    nitf_Error error{};
    EXPECT_EQ(nitf_TRE_construct("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789", nullptr, &error), nullptr);
    EXPECT_NE(error.level, 0);
}

// A registered handler is found by tag; the earliest registration wins.
nitf_TREHandler* firstHandler(nitf_Error*) {
    static nitf_TREHandler handler = *nitf_DefaultTRE_handler(nullptr);
    return &handler;
}
nitf_TREHandler* secondHandler(nitf_Error*) {
    static nitf_TREHandler handler = *nitf_DefaultTRE_handler(nullptr);
    return &handler;
}
const char** testIdents(nitf_Error*) {
    static const char* idents[] = {NITF_PLUGIN_TRE_KEY, "ZZREG1", "ZZREG1 ALIAS", nullptr};
    return idents;
}
const char** wrongKey(nitf_Error*) {
    static const char* idents[] = {"TRE:0.1", "ZZREG2", nullptr};
    return idents;
}

TEST(NitfPluginRegistry, EarliestRegistrationWins) {
    nitf_Error error{};
    ASSERT_TRUE(nitf_PluginRegistry_registerTREHandler(testIdents, firstHandler, &error));
    ASSERT_TRUE(nitf_PluginRegistry_registerTREHandler(testIdents, secondHandler, &error));
    EXPECT_TRUE(nitf_PluginRegistry_TREHandlerExists("ZZREG1"));
    EXPECT_TRUE(nitf_PluginRegistry_TREHandlerExists("ZZREG1 ALIAS"));
    nitf_TRE* tre = nitf_TRE_construct("ZZREG1", nullptr, &error);
    ASSERT_NE(tre, nullptr);
    EXPECT_EQ(tre->handler, firstHandler(nullptr));
    nitf_TRE_destruct(&tre);
    int hadError = 0;
    nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(&error);
    EXPECT_EQ(nitf_PluginRegistry_retrieveTREHandler(registry, "NOSUCH", &hadError, &error),
              nullptr);
    EXPECT_EQ(hadError, 0);
}

TEST(NitfPluginRegistry, WrongKeyIsRefused) {
    nitf_Error error{};
    EXPECT_FALSE(nitf_PluginRegistry_registerTREHandler(wrongKey, firstHandler, &error));
    EXPECT_NE(std::string(error.message).find("TRE:0.1"), std::string::npos);
    EXPECT_FALSE(nitf_PluginRegistry_TREHandlerExists("ZZREG2"));
}

TEST(NitfExtensions, KeepsFileOrderAndGroupsByName) {
    nitf_Error error{};
    nitf_Extensions* ext = nitf_Extensions_construct(&error);
    ASSERT_NE(ext, nullptr);
    ASSERT_TRUE(nitf_Extensions_appendTRE(ext, rawTRE("AAAAAA", "1"), &error));
    ASSERT_TRUE(nitf_Extensions_appendTRE(ext, rawTRE("BBBBBB", "22"), &error));
    ASSERT_TRUE(nitf_Extensions_appendTRE(ext, rawTRE("AAAAAA", "333"), &error));
    EXPECT_EQ(tagsInOrder(ext), (std::vector<std::string>{"AAAAAA", "BBBBBB", "AAAAAA"}));
    EXPECT_TRUE(nitf_Extensions_exists(ext, "AAAAAA"));
    EXPECT_FALSE(nitf_Extensions_exists(ext, "CCCCCC"));
    nitf_List* as = nitf_Extensions_getTREsByName(ext, "AAAAAA");
    ASSERT_NE(as, nullptr);
    ASSERT_EQ(nitf_List_size(as), 2u);
    nitf_ListIterator second = nitf_List_at(as, 1);
    auto* tre = static_cast<nitf_TRE*>(nitf_ListIterator_get(&second));
    EXPECT_EQ(nitf_TRE_getField(tre, "raw_data")->length, 3u);
    EXPECT_EQ(nitf_Extensions_getTREsByName(ext, "CCCCCC"), nullptr);
    // 11 bytes of tag and length per TRE, plus the data.
    EXPECT_EQ(nitf_Extensions_computeLength(ext, NITF_VER_21, &error), 33u + 6u);
    nitf_Extensions_destruct(&ext);
    EXPECT_EQ(ext, nullptr);
}

TEST(NitfExtensions, RemoveByNameDestroysThoseTREs) {
    nitf_Error error{};
    nitf_Extensions* ext = nitf_Extensions_construct(&error);
    nitf_Extensions_appendTRE(ext, rawTRE("AAAAAA", "1"), &error);
    nitf_Extensions_appendTRE(ext, rawTRE("BBBBBB", "2"), &error);
    nitf_Extensions_appendTRE(ext, rawTRE("AAAAAA", "3"), &error);
    nitf_Extensions_removeTREsByName(ext, "AAAAAA");
    EXPECT_EQ(tagsInOrder(ext), std::vector<std::string>{"BBBBBB"});
    EXPECT_FALSE(nitf_Extensions_exists(ext, "AAAAAA"));
    nitf_Extensions_destruct(&ext);
}

TEST(NitfExtensions, InsertAndRemoveAtAPosition) {
    nitf_Error error{};
    nitf_Extensions* ext = nitf_Extensions_construct(&error);
    nitf_Extensions_appendTRE(ext, rawTRE("AAAAAA", "1"), &error);
    nitf_Extensions_appendTRE(ext, rawTRE("CCCCCC", "3"), &error);
    nitf_ExtensionsIterator it = nitf_Extensions_begin(ext);
    nitf_ExtensionsIterator_increment(&it);
    ASSERT_TRUE(nitf_Extensions_insert(ext, &it, rawTRE("AAAAAA", "2"), &error));
    EXPECT_EQ(tagsInOrder(ext), (std::vector<std::string>{"AAAAAA", "AAAAAA", "CCCCCC"}));
    nitf_List* as = nitf_Extensions_getTREsByName(ext, "AAAAAA");
    nitf_ListIterator second = nitf_List_at(as, 1);
    auto* inserted = static_cast<nitf_TRE*>(nitf_ListIterator_get(&second));
    EXPECT_EQ(nitf_TRE_getField(inserted, "raw_data")->raw[0], '2');
    nitf_ExtensionsIterator first = nitf_Extensions_begin(ext);
    nitf_TRE* removed = nitf_Extensions_remove(ext, &first, &error);
    ASSERT_NE(removed, nullptr);
    EXPECT_EQ(nitf_TRE_getField(removed, "raw_data")->raw[0], '1');
    nitf_TRE_destruct(&removed);
    EXPECT_EQ(nitf_List_size(nitf_Extensions_getTREsByName(ext, "AAAAAA")), 1u);
    nitf_Extensions_destruct(&ext);
}

TEST(NitfExtensions, CloneIsDeep) {
    nitf_Error error{};
    nitf_Extensions* ext = nitf_Extensions_construct(&error);
    nitf_Extensions_appendTRE(ext, rawTRE("AAAAAA", "xyz"), &error);
    nitf_Extensions* copy = nitf_Extensions_clone(ext, &error);
    ASSERT_NE(copy, nullptr);
    nitf_Extensions_destruct(&ext);
    ASSERT_EQ(tagsInOrder(copy), std::vector<std::string>{"AAAAAA"});
    nitf_ExtensionsIterator it = nitf_Extensions_begin(copy);
    EXPECT_EQ(std::string(nitf_TRE_getField(nitf_ExtensionsIterator_get(&it), "raw_data")->raw, 3),
              "xyz");
    nitf_Extensions_destruct(&copy);
}

}  // namespace

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "support/TestPaths.h"
#include "tessel/platform/nitf.h"

namespace {

namespace fs = std::filesystem;

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

nitf_TREDescription aliasLayout[] = {
    {NITF_BCS_A, 2, "value", "VALUE", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};
nitf_TREDescriptionInfo aliasInfos[] = {
    {"TTALIAS DES", aliasLayout, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};
nitf_TREDescriptionSet aliasSet = {0, aliasInfos};

TEST(PluginRegistry, OneSetRegistersUnderSeveralNames) {
    nitf_Error error{};
    ASSERT_TRUE(nitf_PluginRegistry_registerDescriptionSet("TTALIAS DES", &aliasSet, &error));
    ASSERT_TRUE(nitf_PluginRegistry_registerDescriptionSet("TTALIAS_DES", &aliasSet, &error));
    nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(&error);
    int hadError = 0;
    nitf_TREHandler* spaced =
        nitf_PluginRegistry_retrieveTREHandler(registry, "TTALIAS DES", &hadError, &error);
    nitf_TREHandler* underscored =
        nitf_PluginRegistry_retrieveTREHandler(registry, "TTALIAS_DES", &hadError, &error);
    ASSERT_NE(spaced, nullptr);
    EXPECT_EQ(spaced, underscored);
    EXPECT_EQ(hadError, 0);

    // Constructing by either name, with the name as the id, works.
    for (const char* name : {"TTALIAS DES", "TTALIAS_DES"}) {
        nitf_TRE* tre = nitf_TRE_construct(name, name, &error);
        ASSERT_NE(tre, nullptr) << name << ": " << error.message;
        EXPECT_STREQ(nitf_TRE_getID(tre), "TTALIAS DES");
        EXPECT_NE(nitf_TRE_getField(tre, "VALUE"), nullptr);
        nitf_TRE_destruct(&tre);
    }
}

TEST(PluginRegistry, UnknownNameHasNoHandler) {
    nitf_Error error{};
    nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(&error);
    ASSERT_NE(registry, nullptr);
    int hadError = 1;
    EXPECT_EQ(nitf_PluginRegistry_retrieveTREHandler(registry, "TTNONE", &hadError, &error),
              nullptr);
    EXPECT_EQ(hadError, 0);
    EXPECT_FALSE(nitf_PluginRegistry_TREHandlerExists("TTNONE"));
}

nitf_TREHandler hostHandler;

const char** hostInit(nitf_Error* error) {
    static const char* ident[] = {NITF_PLUGIN_TRE_KEY, "TTHOST1", "TTHOST2", nullptr};
    return nitf_TREUtils_createBasicHandler(&aliasSet, &hostHandler, error) != nullptr ? ident
                                                                                       : nullptr;
}

nitf_TREHandler* hostHook(nitf_Error*) {
    return &hostHandler;
}

const char** wrongKeyInit(nitf_Error*) {
    static const char* ident[] = {"TRE:1.0", "TTWRONG", nullptr};
    return ident;
}

const char** failingInit(nitf_Error* error) {
    nitf_Error_init(error, "init refused", NITF_CTXT, NITF_ERR_INVALID_OBJECT);
    return nullptr;
}

TEST(PluginRegistry, RegisterTREHandlerRegistersEveryNameOfItsInit) {
    nitf_Error error{};
    ASSERT_TRUE(nitf_PluginRegistry_registerTREHandler(hostInit, hostHook, &error))
        << error.message;
    nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(&error);
    int hadError = 0;
    EXPECT_EQ(nitf_PluginRegistry_retrieveTREHandler(registry, "TTHOST1", &hadError, &error),
              &hostHandler);
    EXPECT_EQ(nitf_PluginRegistry_retrieveTREHandler(registry, "TTHOST2", &hadError, &error),
              &hostHandler);
}

TEST(PluginRegistry, RegisterTREHandlerChecksItsKey) {
    nitf_Error error{};
    EXPECT_FALSE(nitf_PluginRegistry_registerTREHandler(wrongKeyInit, hostHook, &error));
    EXPECT_NE(std::string(error.message).find("TRE:1.0"), std::string::npos) << error.message;
    EXPECT_FALSE(nitf_PluginRegistry_TREHandlerExists("TTWRONG"));

    nitf_Error refused{};
    EXPECT_FALSE(nitf_PluginRegistry_registerTREHandler(failingInit, hostHook, &refused));
    EXPECT_STREQ(refused.message, "init refused");
}

TEST(PluginRegistry, HandlerTableListsEachRegisteredNameOnce) {
    nitf_Error error{};
    ASSERT_TRUE(nitf_PluginRegistry_registerDescriptionSet("TTLIST", &aliasSet, &error));
    ASSERT_TRUE(nitf_PluginRegistry_registerDescriptionSet("TTLIST", &firstSet, &error));
    nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(&error);
    std::multiset<std::string> keys;
    nitf_HashTableIterator it = nrt_HashTable_begin(registry->treHandlers);
    nitf_HashTableIterator end = nrt_HashTable_end(registry->treHandlers);
    for (; nrt_HashTableIterator_notEqualTo(&it, &end); nrt_HashTableIterator_increment(&it)) {
        nitf_Pair* pair = nrt_HashTableIterator_get(&it);
        keys.insert(pair->key);
        // Every payload is a handler function.
        auto function = reinterpret_cast<NITF_PLUGIN_TRE_HANDLER_FUNCTION>(pair->data);
        EXPECT_NE(function(&error), nullptr) << pair->key;
    }
    EXPECT_EQ(keys.count("TTLIST"), 1u);
}

std::string pluginPath() {
    return TESSEL_TEST_TREPLUGIN;
}

TEST(PluginRegistry, LoadPluginRegistersTheTREsOfTheLibrary) {
    nitf_Error error{};
    ASSERT_TRUE(nitf_PluginRegistry_loadPlugin(pluginPath().c_str(), &error)) << error.message;
    EXPECT_TRUE(nitf_PluginRegistry_TREHandlerExists("TESTTR"));
    EXPECT_TRUE(nitf_PluginRegistry_TREHandlerExists("TEST TR2"));

    nitf_TRE* tre = nitf_TRE_createSkeleton("TESTTR", &error);
    nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(&error);
    int hadError = 0;
    tre->handler = nitf_PluginRegistry_retrieveTREHandler(registry, "TESTTR", &hadError, &error);
    ASSERT_NE(tre->handler, nullptr);
    char bytes[] = "02abcdef";
    nitf_IOInterface* io = nitf_BufferAdapter_construct(bytes, 8, false, &error);
    ASSERT_TRUE(tre->handler->read(io, 8, tre, nullptr, &error)) << error.message;
    nitf_Field* item = nitf_TRE_getField(tre, "ITEM[1]");
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(std::string(item->raw, item->length), "def");
    nitf_IOInterface_destruct(&io);
    nitf_TRE_destruct(&tre);

    nitf_TRE* constructed = nitf_TRE_construct("TEST TR2", nullptr, &error);
    ASSERT_NE(constructed, nullptr) << error.message;
    EXPECT_STREQ(nitf_TRE_getID(constructed), "TESTTR");
    nitf_TRE_destruct(&constructed);
}

TEST(PluginRegistry, MissingPluginFailsWithAClearMessage) {
    nitf_Error error{};
    EXPECT_FALSE(nitf_PluginRegistry_loadPlugin("/nonexistent/folder/NOPE.so", &error));
    EXPECT_EQ(error.level, NITF_ERR_LOADING_DLL);
    EXPECT_NE(std::string(error.message).find("/nonexistent/folder/NOPE.so"), std::string::npos)
        << error.message;
    EXPECT_FALSE(nitf_PluginRegistry_TREHandlerExists("NOPE"));
}

// A scratch folder, removed at the end of the test.
class ScratchFolder {
public:
    ScratchFolder() {
        char pattern[] = "/tmp/tessel_plugins_XXXXXX";
        path_ = mkdtemp(pattern);
    }
    ~ScratchFolder() {
        std::error_code code;
        fs::remove_all(path_, code);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const fs::path& path() const { return path_; }

private:
    fs::path path_;
};

TEST(PluginRegistry, PluginWithoutItsInitFunctionFails) {
    ScratchFolder folder;
    fs::path renamed = folder.path() / "OTHER.so";
    fs::copy_file(pluginPath(), renamed);
    nitf_Error error{};
    EXPECT_FALSE(nitf_PluginRegistry_loadPlugin(renamed.c_str(), &error));
    EXPECT_EQ(error.level, NITF_ERR_RETRIEVING_DLL_HOOK);
    EXPECT_NE(std::string(error.message).find("OTHER_init"), std::string::npos) << error.message;
}

TEST(PluginRegistry, LoadDirSkipsFailingPluginsAndNeedsAFolder) {
    ScratchFolder folder;
    fs::copy_file(pluginPath(), folder.path() / "TESTTR.so");
    fs::copy_file(pluginPath(), folder.path() / "BROKEN.so");
    nitf_Error error{};
    EXPECT_TRUE(nitf_PluginRegistry_loadDir(folder.path().c_str(), &error)) << error.message;
    EXPECT_TRUE(nitf_PluginRegistry_TREHandlerExists("TESTTR"));
    EXPECT_FALSE(nitf_PluginRegistry_loadDir((folder.path() / "absent").c_str(), &error));
    EXPECT_EQ(error.level, NITF_ERR_OPENING_FILE);
}

// Runs this test program again with a filter and environment settings; gives its output.
std::string runChild(const std::string& filter, const std::string& environment) {
    fs::path self = fs::read_symlink("/proc/self/exe");
    std::string command = environment + " TESSEL_TEST_REGISTRY_CHILD=1 '" + self.string() +
                          "' --gtest_filter=" + filter + " 2>&1";
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return output;
    }
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
        output += buffer;
    }
    int status = pclose(pipe);
    if (status != 0) {
        output += "\nexit status " + std::to_string(status);
    }
    return output;
}

bool inChild() {
    return std::getenv("TESSEL_TEST_REGISTRY_CHILD") != nullptr;
}

TEST(PluginRegistryChild, PluginPathFolderIsLoadedAtFirstUse) {
    if (!inChild()) {
        GTEST_SKIP() << "runs in a child process of PluginRegistry.PluginPathIsSearchedAtFirstUse";
    }
    const char* folder = std::getenv(NITF_PLUGIN_PATH);
    ASSERT_NE(folder, nullptr);
    nitf_Error error{};
    nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(&error);
    ASSERT_NE(registry, nullptr);
    EXPECT_EQ(std::string(registry->path), std::string(folder) + "/");
    EXPECT_TRUE(nitf_PluginRegistry_TREHandlerExists("TESTTR"));
}

TEST(PluginRegistryChild, NeutralisedPluginPathLoadsNothing) {
    if (!inChild()) {
        GTEST_SKIP() << "runs in a child process of PluginRegistry.NeutralisedPathLoadsNothing";
    }
    nitf_Error error{};
    ASSERT_NE(nitf_PluginRegistry_getInstance(&error), nullptr);
    EXPECT_EQ(error.level, NITF_NO_ERR);
    EXPECT_FALSE(nitf_PluginRegistry_TREHandlerExists("TESTTR"));
}

TEST(PluginRegistry, PluginPathIsSearchedAtFirstUse) {
    ScratchFolder folder;
    fs::copy_file(pluginPath(), folder.path() / "TESTTR.so");
    std::string output = runChild("PluginRegistryChild.PluginPathFolderIsLoadedAtFirstUse",
                                  "NITF_PLUGIN_PATH='" + folder.path().string() + "'");
    EXPECT_NE(output.find("[  PASSED  ] 1 test"), std::string::npos) << output;
    EXPECT_EQ(output.find("SKIPPED"), std::string::npos) << output;
}

TEST(PluginRegistry, NeutralisedPathLoadsNothing) {
    ScratchFolder folder;
    fs::copy_file(pluginPath(), folder.path() / "TESTTR.so");
    std::string output =
        runChild("PluginRegistryChild.NeutralisedPluginPathLoadsNothing",
                 "NITF_PLUGIN_PATH='" + (folder.path() / "not_a_file").string() + "'");
    EXPECT_NE(output.find("[  PASSED  ] 1 test"), std::string::npos) << output;
    EXPECT_EQ(output.find("SKIPPED"), std::string::npos) << output;
}

}  // namespace

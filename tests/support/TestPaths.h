#pragma once
// Where the tests find the build's products and the shared files. The values come from a
// source file that the build writes, so that no test's compile line holds a path of this
// clone and a second clone of the same code compiles to the same objects.

namespace tessel_test_paths {
extern const char* const sharedDir;
extern const char* const sourceDir;
extern const char* const sampleFile;
extern const char* const toolFile;
extern const char* const trePlugin;
extern const char* const extensionPlugin;
extern const char* const csmPluginDir;
}  // namespace tessel_test_paths

#define TESSEL_SHARED_DIR (::tessel_test_paths::sharedDir)
#define TESSEL_SOURCE_DIR (::tessel_test_paths::sourceDir)
#define TESSEL_SAMPLE_FILE (::tessel_test_paths::sampleFile)
#define TESSEL_TOOL (::tessel_test_paths::toolFile)
#define TESSEL_TEST_TREPLUGIN (::tessel_test_paths::trePlugin)
#define TESSEL_TEST_EXTPLUGIN (::tessel_test_paths::extensionPlugin)
#define TESSEL_TEST_CSMPLUGIN_DIR (::tessel_test_paths::csmPluginDir)

// A real host's VST2 scanner reads the module: Ardour's, when installed.
#include "ProcessRunner.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace
{
const char* const scanner = "/usr/lib/ardour7/ardour-vst-scanner";
const char* const ardourLibraries = "/usr/lib/ardour7";

// The scanner writes its findings as a .v2i file under its cache directory.
std::string findCacheFile(const std::string& directory)
{
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory))
    {
        if (entry.is_regular_file() && entry.path().extension() == ".v2i")
        {
            return entry.path().string();
        }
    }
    return "";
}

std::string readFile(const std::string& path)
{
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}
}

TEST(ArdourScanner, ReadsNameVendorAndChannels)
{
    if (access(scanner, X_OK) != 0)
    {
        GTEST_SKIP() << "Ardour's VST2 scanner is not installed";
    }
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "a module built with AddressSanitizer cannot load into a host built without it";
#endif
    char cacheTemplate[] = "/tmp/palisorne-ardour-XXXXXX";
    ASSERT_NE(mkdtemp(cacheTemplate), nullptr);
    const std::string cache = cacheTemplate;

    const ProcessResult scan = runProcess({scanner, "-f", PALISORNE_MODULE_PATH},
                                          {std::string("LD_LIBRARY_PATH=") + ardourLibraries,
                                           "XDG_CACHE_HOME=" + cache, "HOME=" + cache});
    const std::string output = scan.out + scan.err;
    ASSERT_TRUE(scan.started);
    EXPECT_EQ(scan.exitCode, 0) << output;
    EXPECT_NE(output.find("Found Plugin"), std::string::npos) << output;
    EXPECT_NE(output.find("KW_Palisorne"), std::string::npos) << output;
    EXPECT_EQ(output.find("[ERROR]"), std::string::npos) << output;
    EXPECT_EQ(output.find("[WARNING]"), std::string::npos) << output;

    const std::string cacheFile = findCacheFile(cache);
    ASSERT_FALSE(cacheFile.empty()) << output;
    const std::string info = readFile(cacheFile);
    EXPECT_NE(info.find("name=\"KW_Palisorne\""), std::string::npos) << info;
    EXPECT_NE(info.find("creator=\"Virelmatt\""), std::string::npos) << info;
    EXPECT_NE(info.find("id=\"1264013395\""), std::string::npos) << info;
    EXPECT_NE(info.find("n_inputs=\"2\""), std::string::npos) << info;
    EXPECT_NE(info.find("n_outputs=\"2\""), std::string::npos) << info;
    EXPECT_NE(info.find("is_instrument=\"0\""), std::string::npos) << info;
    EXPECT_NE(info.find("can_process_replace=\"1\""), std::string::npos) << info;
    std::filesystem::remove_all(cache);
}

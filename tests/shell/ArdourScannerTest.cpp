// A real host's VST2 scanner reads the module: Ardour's, when installed.
#include "CommandRunner.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
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
    DIR* listing = opendir(directory.c_str());
    if (!listing)
    {
        return "";
    }
    std::string found;
    while (dirent* entry = readdir(listing))
    {
        const std::string name = entry->d_name;
        if (name == "." || name == "..")
        {
            continue;
        }
        const std::string path = directory + "/" + name;
        struct stat info;
        if (stat(path.c_str(), &info) != 0)
        {
            continue;
        }
        if (S_ISDIR(info.st_mode))
        {
            found = findCacheFile(path);
        }
        else if (name.size() > 4 && name.compare(name.size() - 4, 4, ".v2i") == 0)
        {
            found = path;
        }
        if (!found.empty())
        {
            break;
        }
    }
    closedir(listing);
    return found;
}

std::string readFile(const std::string& path)
{
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void removeTree(const std::string& path)
{
    if (DIR* listing = opendir(path.c_str()))
    {
        while (dirent* entry = readdir(listing))
        {
            const std::string name = entry->d_name;
            if (name != "." && name != "..")
            {
                removeTree(path + "/" + name);
            }
        }
        closedir(listing);
        rmdir(path.c_str());
    }
    else
    {
        unlink(path.c_str());
    }
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

    const CommandResult scan = runCommand({scanner, "-f", PALISORNE_MODULE_PATH},
                                          {std::string("LD_LIBRARY_PATH=") + ardourLibraries,
                                           "XDG_CACHE_HOME=" + cache, "HOME=" + cache});
    ASSERT_TRUE(scan.started);
    EXPECT_EQ(scan.exitCode, 0) << scan.output;
    EXPECT_NE(scan.output.find("Found Plugin"), std::string::npos) << scan.output;
    EXPECT_NE(scan.output.find("KW_Palisorne"), std::string::npos) << scan.output;
    EXPECT_EQ(scan.output.find("[ERROR]"), std::string::npos) << scan.output;
    EXPECT_EQ(scan.output.find("[WARNING]"), std::string::npos) << scan.output;

    const std::string cacheFile = findCacheFile(cache);
    ASSERT_FALSE(cacheFile.empty()) << scan.output;
    const std::string info = readFile(cacheFile);
    EXPECT_NE(info.find("name=\"KW_Palisorne\""), std::string::npos) << info;
    EXPECT_NE(info.find("creator=\"Virelmatt\""), std::string::npos) << info;
    EXPECT_NE(info.find("id=\"1264013395\""), std::string::npos) << info;
    EXPECT_NE(info.find("n_inputs=\"2\""), std::string::npos) << info;
    EXPECT_NE(info.find("n_outputs=\"2\""), std::string::npos) << info;
    EXPECT_NE(info.find("is_instrument=\"0\""), std::string::npos) << info;
    EXPECT_NE(info.find("can_process_replace=\"1\""), std::string::npos) << info;
    removeTree(cache);
}

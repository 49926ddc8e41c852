#include "PluginLocator.h"

#include <gtest/gtest.h>

TEST(PluginLocator, LooksBesideTheExecutableThenInstalledThenSystemPlaces)
{
    const std::vector<std::string> expected = {"/opt/p/bin/KW_Palisorne.so", "/opt/p/bin/../lib/vst/KW_Palisorne.so",
                                               "/home/u/.vst/KW_Palisorne.so", "/usr/local/lib/vst/KW_Palisorne.so",
                                               "/usr/lib/vst/KW_Palisorne.so"};
    EXPECT_EQ(PluginLocator::candidates("/opt/p/bin", "/home/u"), expected);
    const std::vector<std::string> homeless = PluginLocator::candidates("/opt/p/bin", "");
    EXPECT_EQ(homeless.size(), 4u);
    EXPECT_EQ(homeless[2], "/usr/local/lib/vst/KW_Palisorne.so");
}

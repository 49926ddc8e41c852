#include "BitmapResources.h"
#include "CBitmap.h"

#include <gtest/gtest.h>

#include <cstring>

// The sizes the layout is built on; every frame of a strip is square.
TEST(EditorBitmapsTest, EmbeddedBitmapsHaveTheSizesAndFramesTheLayoutNeeds)
{
    struct StripSize
    {
        const char* name;
        int width;
        int height;
        int frames;
    };
    const StripSize strips[] = {
        {"gui.png", 506, 427, 1},  {"knob.png", 80, 5200, 65}, {"knob_large.png", 130, 10530, 81},
        {"switch.png", 20, 40, 2}, {"info.png", 18, 36, 2},
    };
    for (const StripSize& strip : strips)
    {
        const BitmapResource* resource = findBitmapResource(strip.name);
        ASSERT_NE(resource, nullptr) << strip.name;
        // A PNG signature first: the bytes are the committed file.
        ASSERT_GT(resource->size, 8u);
        EXPECT_EQ(std::memcmp(resource->bytes, "\x89PNG\r\n\x1a\n", 8), 0) << strip.name;
        const CBitmap bitmap(strip.name);
        EXPECT_TRUE(bitmap.isLoaded()) << strip.name;
        EXPECT_EQ(bitmap.getWidth(), strip.width) << strip.name;
        EXPECT_EQ(bitmap.getHeight(), strip.height) << strip.name;
        EXPECT_EQ(bitmap.getHeight(), strip.frames * (strip.frames > 1 ? bitmap.getWidth() : strip.height))
            << strip.name;
    }
    EXPECT_EQ(findBitmapResource(nullptr), nullptr);
    const CBitmap missing("missing.png");
    EXPECT_FALSE(missing.isLoaded());
    EXPECT_EQ(missing.getWidth(), 0);
}

// Every factory program over a fixed signal, each rendered by a fresh
// process. The checksums lock the whole chain's behaviour once the limiter's
// own tests pass.
#include "ProcessRunner.h"

#include <string>

#include <gtest/gtest.h>

namespace
{
// FNV-1a over the output float bits (left block, then right block) of the
// signal made by GoldenRender.cpp, programs 0 to 16.
const char* const goldenChecksums[] = {
    "e1b264a21d9b29b1", "eee9f981c7b69299", "2b79add5918cbf58", "d6617c0bfdd27101",
    "1ff3c5a478b20353", "e130cbc0a96962a3", "70790f52afa2444b", "7a3227d254854a39",
    "0d9adb62885ab57e", "b16ca11607fecf55", "1f7ba8c76d8ae0e0", "eee53f48a5754735",
    "407a775cbb92b7d9", "233909947c86882d", "a49b27615b9dce3e", "a25033b2eb6b731d",
    "ee845918c4d8d275",
};

constexpr int factoryProgramCount = 17;
}

class GoldenRender : public ::testing::TestWithParam<int>
{
};

TEST_P(GoldenRender, ProgramMatchesItsChecksum)
{
    const int program = GetParam();
    const ProcessResult run = runProcess({GOLDEN_RENDER_PATH, PALISORNE_MODULE_PATH, std::to_string(program)});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, std::to_string(program) + " " + goldenChecksums[program] + "\n");
}

INSTANTIATE_TEST_SUITE_P(FactoryPrograms, GoldenRender, ::testing::Range(0, factoryProgramCount));

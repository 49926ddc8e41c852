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
    "fa7fdc13e9ded058", "eec8bd29520a1e41", "25cc76f9303d8742", "8dcd258a2bf8dfeb",
    "b58ea7be7a8b8048", "6f0134bfcf779682", "67ddf8fe49fc0a09", "8feaeb3ae95faaad",
    "e8d60f12269736f5", "f0fd3394b40ede8a", "0f834a3d8c1a54bc", "c5f28dbcf0fcf5c9",
    "adbf68d92fd73e8d", "b0af2dbb38ce8b32", "121566235c5a887b", "11f5e6f5a013461e",
    "621258551fe800e4",
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

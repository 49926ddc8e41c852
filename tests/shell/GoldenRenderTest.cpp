// Every factory program over a fixed signal, each rendered by a fresh
// process. The checksums lock the whole chain's behaviour once the limiter's
// own tests pass; the output peak is checked against each program's ceiling.
#include "CommandRunner.h"
#include "PluginTables.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

namespace
{
// FNV-1a over the output float bits (left block, then right block) of the
// signal made by GoldenRender.cpp, programs 0 to 16.
const char* const goldenChecksums[factoryProgramCount] = {
    "e1b264a21d9b29b1", "eee9f981c7b69299", "2b79add5918cbf58", "d6617c0bfdd27101",
    "1ff3c5a478b20353", "e130cbc0a96962a3", "70790f52afa2444b", "7a3227d254854a39",
    "0d9adb62885ab57e", "b16ca11607fecf55", "1f7ba8c76d8ae0e0", "eee53f48a5754735",
    "407a775cbb92b7d9", "233909947c86882d", "a49b27615b9dce3e", "a25033b2eb6b731d",
    "ee845918c4d8d275",
};

struct Rendered
{
    int program;
    std::string checksum;
    double peak;
};

Rendered renderInFreshProcess(int program)
{
    const CommandResult run = runCommand({GOLDEN_RENDER_PATH, PALISORNE_MODULE_PATH, std::to_string(program)});
    Rendered result{-1, "", 0.0};
    EXPECT_TRUE(run.started);
    EXPECT_EQ(run.exitCode, 0) << run.output;
    char checksum[32] = {};
    if (std::sscanf(run.output.c_str(), "%d %31s %lf", &result.program, checksum, &result.peak) == 3)
    {
        result.checksum = checksum;
    }
    return result;
}
}

class GoldenRender : public ::testing::TestWithParam<int>
{
};

TEST_P(GoldenRender, ProgramMatchesItsChecksumAndCeiling)
{
    const int program = GetParam();
    const Rendered rendered = renderInFreshProcess(program);
    ASSERT_EQ(rendered.program, program);
    // The output never passes the ceiling (the word-length grid only lowers it).
    const double ceiling = std::pow(10.0, expectedPrograms[program].values[5] / 20.0);
    EXPECT_LE(rendered.peak, ceiling * (1.0 + 1e-6));
    EXPECT_GT(rendered.peak, 0.5 * ceiling);
    EXPECT_EQ(rendered.checksum, goldenChecksums[program]);
}

INSTANTIATE_TEST_SUITE_P(FactoryPrograms, GoldenRender, ::testing::Range(0, factoryProgramCount));

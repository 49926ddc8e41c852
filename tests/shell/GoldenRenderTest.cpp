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
    "1f594f1b54bdbb41", "8d7c1efcf0d14afd", "d40a63e0fc0472ee", "f2ac7e5b8560f311",
    "ba07516602fc579f", "dc1ee12a56afc7bd", "21bcde11a5ee617b", "183867808baa4c02",
    "c887375801b66435", "25244c93318df5b8", "e8fb62ea36afdc7d", "1428e0d53530f583",
    "407a775cbb92b7d9", "f07f04a551f5c760", "b457e4e1538912a8", "2b600c344852510c",
    "4747a1b2c2e511dd",
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

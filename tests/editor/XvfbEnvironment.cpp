#include "XvfbServer.h"

#include <gtest/gtest.h>

namespace
{
// Every test of this program gets a private X server: CI has no display,
// and a developer's own desktop must not see the tests' windows.
class XvfbEnvironment : public ::testing::Environment
{
public:
    void SetUp() override
    {
        server.reset(new XvfbServer);
        ASSERT_TRUE(server->isRunning()) << "could not start Xvfb";
    }

    void TearDown() override { server.reset(); }

private:
    std::unique_ptr<XvfbServer> server;
};

::testing::Environment* const environment = ::testing::AddGlobalTestEnvironment(new XvfbEnvironment);
}

// The JACK end-to-end suite runs on one private server on the dummy driver,
// started before the first test and stopped after the last.

#include "audio/portaudio_device.h"

#include "support/jack_e2e.h"

#include <gtest/gtest.h>

JackServer g_server;

namespace {

class JackEnvironment : public ::testing::Environment {
public:
    void SetUp() override { ASSERT_TRUE(g_server.start()) << "jackd -d dummy did not start"; }
    void TearDown() override
    {
        shutdown_audio();
        g_server.stop();
    }
};

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::AddGlobalTestEnvironment(new JackEnvironment);
    return RUN_ALL_TESTS();
}

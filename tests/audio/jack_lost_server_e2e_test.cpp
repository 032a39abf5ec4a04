// A JACK server that goes away in the middle of playback or of a take: the
// command line runs on a server of its own, which the test stops. This suite
// runs no other server, so that only one JACK server is ever up at a time
// (servers started and stopped beside another one can leave the JACK
// library's shared registry in a state that crashes the next client).

#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include "support/jack_e2e.h"
#include "support/temp_dir_test.h"
#include "support/wav_builder.h"

#include <QElapsedTimer>

// Declared for the helpers shared with the main JACK suite; not started here.
JackServer g_server;

class JackLostServerTest : public TempDirTest {};

TEST_F(JackLostServerTest, AServerThatGoesAwayDuringPlaybackEndsItWithAMessage)
{
    // Ten seconds of noise, stopped half a second in: playback ends with the
    // message, the program exits by itself and does not crash.
    JackServer doomed;
    ASSERT_TRUE(doomed.start());
    writeFile(path("play.wav"), WavBuilder::pcm(2, JackServer::kRate, 16, WavBuilder::randomBytes(JackServer::kRate * 40, 7)));
    QElapsedTimer clock;
    clock.start();
    std::string output;
    const int status = runCommand(std::string(ONDRAVA_CLI) + " play " + path("play.wav"), output, [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        doomed.stop();
    });
    ASSERT_NE(status, -1);
    EXPECT_LT(clock.elapsed(), 6000) << "playback hung on the vanished server";
    ASSERT_TRUE(WIFEXITED(status)) << output;
    EXPECT_EQ(WEXITSTATUS(status), 1) << output;
    EXPECT_NE(output.find("The wave output device stopped during playback."), std::string::npos) << output;
}

TEST_F(JackLostServerTest, AServerThatGoesAwayDuringATakeKeepsWhatWasRecorded)
{
    JackServer doomed;
    ASSERT_TRUE(doomed.start());
    const std::string out = path("lost.wav");
    std::string output;
    QElapsedTimer clock;
    clock.start();
    const int status = runCommand(std::string(ONDRAVA_CLI) + " record " + out + " --seconds 10", output, [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1000));
        doomed.stop();
    });
    EXPECT_LT(clock.elapsed(), 7000) << "recording hung on the vanished server";
    ASSERT_TRUE(WIFEXITED(status)) << output;
    EXPECT_EQ(WEXITSTATUS(status), 1) << output;
    EXPECT_NE(output.find("The wave input device stopped during recording."), std::string::npos) << output;
    // What came before the server went is saved.
    ASSERT_EQ(ReadInputWaveformHeader(out, 0), 1);
    EXPECT_GT(data_chunk_size, 0u);
    EXPECT_LT(data_chunk_size, 10u * JackServer::kRate * 4);
}

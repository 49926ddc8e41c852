#include "AudioFileFormat.h"
#include "AudioFileWriter.h"
#include "ErrorMessage.h"
#include "HostError.h"
#include "ScratchDirectory.h"
#include "TestAudio.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <fstream>

TEST(AudioFileFormat, ContainerFollowsTheOutputExtensionAndSamplesTheInput)
{
    const int wav24 = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
    const int wavex16 = SF_FORMAT_WAVEX | SF_FORMAT_PCM_16;
    const int wavFloat = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    EXPECT_EQ(AudioFileFormat::forOutput("out.flac", wav24, "", 2, 48000), SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    EXPECT_EQ(AudioFileFormat::forOutput("out.AIFF", wav24, "", 2, 48000), SF_FORMAT_AIFF | SF_FORMAT_PCM_24);
    EXPECT_EQ(AudioFileFormat::forOutput("-", wav24, "", 1, 48000, "FLAC"), SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    // A lossy input's sample type means nothing to a lossless output.
    EXPECT_EQ(AudioFileFormat::forOutput("o.flac", SF_FORMAT_OGG | SF_FORMAT_VORBIS, "", 2, 48000),
              SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    const std::string unknown = errorMessageOf([&] { AudioFileFormat::forOutput("out.m4a", wav24, "", 2, 48000); });
    EXPECT_NE(unknown.find("the formats are wav, w64, rf64, aiff, caf, au, flac, ogg, opus, mp3"), std::string::npos);
    EXPECT_THROW(AudioFileFormat::forOutput("dir.v2/out", wav24, "", 2, 48000), HostError);
    EXPECT_THROW(AudioFileFormat::forOutput("out.mp3", wav24, "16", 2, 48000), HostError);
    EXPECT_EQ(AudioFileFormat::forOutput("out.wav", wav24, "32f", 1, 44100), wavFloat);
    // The input's container stays when it shares the extension.
    EXPECT_EQ(AudioFileFormat::forOutput("out.wav", wavex16, "", 2, 48000), wavex16);
    // FLAC holds integers only: a float input falls back to 24-bit PCM, an
    // explicit request for float is refused.
    EXPECT_EQ(AudioFileFormat::forOutput("out.flac", wavFloat, "", 2, 48000), SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    EXPECT_THROW(AudioFileFormat::forOutput("out.flac", wavFloat, "32f", 2, 48000), HostError);
    EXPECT_THROW(AudioFileFormat::forOutput("out.wav", wavFloat, "12", 2, 48000), HostError);
}

// A file appears whole on commit or not at all; integers clip rather than
// wrap around, whether the writer reduces the word length itself (16-bit
// full scale is 32767/32768 up and -1 down) or leaves 32 bits to libsndfile
// (full scale reads back as +-1 in float).
TEST(AudioFileWriter, AppearsWholeOnCommitOrNotAtAllAndIntegersClip)
{
    ScratchDirectory scratch;
    const std::string target = scratch.path("out.wav");
    std::ofstream(target) << "old contents";
    const std::vector<float> frames = {1.5f, -1.5f, 0.25f, -0.25f};
    {
        AudioFileWriter abandoned(scratch.path("fresh.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 44100);
        AudioFileWriter writer(target, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 44100);
        abandoned.write(frames.data(), 2);
        writer.write(frames.data(), 2);
        EXPECT_EQ(ScratchDirectory::contentsOf(target), "old contents");
        writer.commit();
    }
    EXPECT_EQ(scratch.entries(), std::vector<std::string>{"out.wav"});
    const TestAudio written = TestAudio::read(target);
    EXPECT_EQ(written.samples, (std::vector<float>{32767.0f / 32768.0f, -1.0f, 0.25f, -0.25f}));
    {
        AudioFileWriter wide(scratch.path("wide.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_32, 2, 44100);
        wide.write(frames.data(), 2);
        wide.commit();
    }
    EXPECT_EQ(TestAudio::read(scratch.path("wide.wav")).samples, (std::vector<float>{1.0f, -1.0f, 0.25f, -0.25f}));
    EXPECT_THROW(AudioFileWriter(scratch.path("no/dir/out.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 48000),
                 HostError);
}

#include "AudioFileFormat.h"
#include "AudioFileReader.h"
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
    EXPECT_EQ(AudioFileFormat::forOutput("out.wav", wav24, "", 2, 48000, "opus"), SF_FORMAT_OGG | SF_FORMAT_OPUS);
    EXPECT_EQ(AudioFileFormat::forOutput("out.mp3", wav24, "", 2, 44100), SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III);
    // A lossy input's sample type means nothing to a lossless output.
    EXPECT_EQ(AudioFileFormat::forOutput("o.flac", SF_FORMAT_OGG | SF_FORMAT_VORBIS, "", 2, 48000),
              SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    for (const char* unknown : {"dir.v2/out", "out.m4a", "out.xyz", "-"})
    {
        const std::string message =
            errorMessageOf([&] { AudioFileFormat::forOutput(unknown, wav24, "", 2, 48000); });
        EXPECT_NE(message.find("the formats are wav, w64, rf64, aiff, caf, au, flac, ogg, opus, mp3"),
                  std::string::npos)
            << message;
    }
    EXPECT_THROW(AudioFileFormat::forOutput("out.wav", wav24, "", 2, 48000, "m4a"), HostError);
    EXPECT_THROW(AudioFileFormat::forOutput("out.mp3", wav24, "16", 2, 48000), HostError);
    EXPECT_EQ(AudioFileFormat::forOutput("out.wav", wav24, "16", 2, 48000), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    EXPECT_EQ(AudioFileFormat::forOutput("out.wav", wav24, "32f", 1, 44100), wavFloat);
    // The input's container stays when it shares the extension.
    EXPECT_EQ(AudioFileFormat::forOutput("out.wav", wavex16, "", 2, 48000), wavex16);
    // FLAC holds integers only: a float input falls back to 24-bit PCM, an
    // explicit request for float is refused.
    EXPECT_EQ(AudioFileFormat::forOutput("out.flac", wavFloat, "", 2, 48000), SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    EXPECT_THROW(AudioFileFormat::forOutput("out.flac", wavFloat, "32f", 2, 48000), HostError);
    EXPECT_THROW(AudioFileFormat::forOutput("out.wav", wavFloat, "12", 2, 48000), HostError);
}

TEST(AudioFileWriter, CommitReplacesTheTargetAndLeavesNothingElse)
{
    ScratchDirectory scratch;
    const std::string target = scratch.path("out.wav");
    std::ofstream(target) << "old contents";
    const std::vector<float> frames = {0.5f, -0.5f, 0.25f, -0.25f};
    {
        AudioFileWriter writer(target, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100);
        EXPECT_EQ(writer.getTemporaryPath().rfind(scratch.root() + "/.out.wav.", 0), 0u);
        writer.write(frames.data(), 2);
        // Until the commit the target keeps its old contents.
        EXPECT_EQ(ScratchDirectory::contentsOf(target), "old contents");
        writer.commit();
    }
    EXPECT_EQ(scratch.entries(), std::vector<std::string>{"out.wav"});
    const TestAudio written = TestAudio::read(target);
    EXPECT_EQ(written.channels, 2);
    EXPECT_EQ(written.sampleRate, 44100);
    EXPECT_EQ(written.samples, frames);
}

TEST(AudioFileWriter, WithoutCommitNothingAppearsAndNothingIsHarmed)
{
    ScratchDirectory scratch;
    const std::string existing = scratch.path("existing.wav");
    std::ofstream(existing) << "keep me";
    const std::vector<float> frames(64, 0.1f);
    {
        AudioFileWriter fresh(scratch.path("fresh.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 8000);
        AudioFileWriter replacing(existing, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 8000);
        fresh.write(frames.data(), frames.size());
        replacing.write(frames.data(), frames.size());
    }
    EXPECT_EQ(scratch.entries(), std::vector<std::string>{"existing.wav"});
    EXPECT_EQ(ScratchDirectory::contentsOf(existing), "keep me");
}

TEST(AudioFileWriter, IntegerFormatsClipInsteadOfWrappingAround)
{
    ScratchDirectory scratch;
    const std::string target = scratch.path("clipped.wav");
    const std::vector<float> frames = {1.5f, -1.5f};
    AudioFileWriter writer(target, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 8000);
    writer.write(frames.data(), 2);
    writer.commit();
    const TestAudio written = TestAudio::read(target);
    // Full scale in 16 bits is 32767/32768 positive and -1 negative.
    EXPECT_NEAR(written.samples[0], 32767.0f / 32768.0f, 1e-6f);
    EXPECT_EQ(written.samples[1], -1.0f);
}

TEST(AudioFileWriter, MissingDirectoryIsAnError)
{
    ScratchDirectory scratch;
    EXPECT_THROW(AudioFileWriter(scratch.path("no/such/dir/out.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 48000),
                 HostError);
}

TEST(AudioFileReader, ReadsShapeAndSamples)
{
    ScratchDirectory scratch;
    const TestAudio noise =
        TestAudio::noise(2, 32000, 1000, 0.5f, SF_FORMAT_WAV | SF_FORMAT_FLOAT).write(scratch.path("noise.wav"));
    AudioFileReader reader(scratch.path("noise.wav"));
    EXPECT_EQ(reader.getChannels(), 2);
    EXPECT_EQ(reader.getSampleRate(), 32000);
    EXPECT_EQ(reader.getFrames(), 1000);
    std::vector<float> samples(2 * 1200);
    EXPECT_EQ(reader.read(samples.data(), 600), 600u);
    EXPECT_EQ(reader.read(samples.data() + 1200, 600), 400u);
    EXPECT_EQ(reader.read(samples.data(), 600), 0u);
    EXPECT_EQ(samples[1200 + 799], noise.samples[1999]);
}

TEST(AudioFileReader, RefusesWhatIsNotReadableAudio)
{
    ScratchDirectory scratch;
    std::ofstream(scratch.path("text.wav")) << "this is not a RIFF file, just text";
    const auto messageFor = [](const std::string& path)
    {
        return errorMessageOf([&] { AudioFileReader reader(path); });
    };
    EXPECT_NE(messageFor(scratch.path("missing.wav")).find("No such file or directory"), std::string::npos);
    EXPECT_NE(messageFor(scratch.root()).find("is a directory"), std::string::npos);
    EXPECT_NE(messageFor(scratch.path("text.wav")).find("as audio"), std::string::npos);
}

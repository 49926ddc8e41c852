// Wall time of `palisorne master --album` over an hour of music: ten tracks of
// six minutes (the demo mix at ten levels from -3 to -21 dBFS peak), 48 kHz
// stereo 24-bit, to -14 LUFS and -1 dBTP.
//
//   palisorne_master_album_bench PALISORNE DIRECTORY [--jobs N]

#include "AudioFileWriter.h"
#include "DemoMix.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/wait.h>
#include <vector>

namespace
{
constexpr int tracks = 10;
constexpr double trackSeconds = 360.0;
constexpr int sampleRate = 48000;
}

int main(int argc, char** argv)
{
    if (argc != 3 && argc != 5)
    {
        std::fprintf(stderr, "usage: %s PALISORNE DIRECTORY [--jobs N]\n", argv[0]);
        return 2;
    }
    const std::string directory = argv[2];
    std::filesystem::create_directories(directory + "/out");
    std::string command = std::string("'") + argv[1] + "' master --album --overwrite --out-dir '" + directory + "/out'";
    std::vector<float> mix;
    for (int track = 0; track < tracks; ++track)
    {
        char name[32];
        std::snprintf(name, sizeof(name), "/track%02d.wav", track + 1);
        const std::string path = directory + name;
        command += " '" + path + "'";
        if (std::filesystem::exists(path))
        {
            continue;
        }
        if (mix.empty())
        {
            mix = DemoMix(sampleRate).render(trackSeconds);
        }
        const float gain = static_cast<float>(std::pow(10.0, -2.0 * track / 20.0));
        std::vector<float> scaled(mix.size());
        for (size_t i = 0; i < mix.size(); ++i)
        {
            scaled[i] = gain * mix[i];
        }
        AudioFileWriter writer(path, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 2, sampleRate);
        writer.write(scaled.data(), scaled.size() / 2);
        writer.commit();
    }
    if (argc == 5)
    {
        command += std::string(" ") + argv[3] + " " + argv[4];
    }
    const auto start = std::chrono::steady_clock::now();
    const int status = std::system(command.c_str());
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    // CPU time of all the processes, which a busy machine does not inflate as
    // it does the wall time.
    rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    const double cpu = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
                       + static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    std::printf("mastered %d tracks, %.0f min of audio, as an album in %.1f s wall (%.0fx real time), %.1f s CPU\n",
                tracks, tracks * trackSeconds / 60.0, seconds, tracks * trackSeconds / seconds, cpu);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

// SPDX-License-Identifier: Apache-2.0
#include "tools/play/AudioFile.h"

#include "tools/Failure.h"
#include "tools/play/Samples.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace cabinaudio::tool {

namespace {

constexpr int MAXIMAL_CHANNELS = 6;
constexpr int LOWEST_RATE = 8000;
constexpr int HIGHEST_RATE = 192000;

/// @return a descriptor to read from
int openFile(const std::string& path) {
    const int descriptor = path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)
                                       : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) throw Failure(std::strerror(errno));
    struct stat found = {};
    if (fstat(descriptor, &found) == 0 && S_ISDIR(found.st_mode)) {
        close(descriptor);
        throw Failure(std::strerror(EISDIR));
    }
    return descriptor;
}

AudioFormatDesc describe(const SF_INFO& info) {
    AudioFormatDesc format = {};
    format.sampleRate = static_cast<std::uint32_t>(info.samplerate);
    format.channelMap = AudioTypes::getChannelMapType(info.channels);
    format.bitDepth = planFor(info.format).depth;
    return format;
}

}  // namespace

AudioFile::AudioFile(const std::string& path) : mInfo{} {
    const int descriptor = openFile(path);
    mFile.reset(sf_open_fd(descriptor, SFM_READ, &mInfo, SF_TRUE));
    if (mFile == nullptr)
        throw Failure(std::string("not an audio file that libsndfile can read (") +
                      sf_strerror(nullptr) + ")");
    check();
    mFormat = describe(mInfo);
    mFrameBytes = static_cast<std::size_t>(mInfo.channels) *
                  static_cast<std::size_t>(AudioTypes::getBytesPerSample(mFormat.bitDepth));
}

void AudioFile::check() const {
    if (mInfo.channels < 1 || mInfo.channels > MAXIMAL_CHANNELS)
        throw Failure("has " + std::to_string(mInfo.channels) +
                      " channels; a stream carries 1 to " + std::to_string(MAXIMAL_CHANNELS));
    if (mInfo.samplerate < LOWEST_RATE || mInfo.samplerate > HIGHEST_RATE)
        throw Failure("has a rate of " + std::to_string(mInfo.samplerate) +
                      " Hz; a stream carries " + std::to_string(LOWEST_RATE) + " to " +
                      std::to_string(HIGHEST_RATE) + " Hz");
    if (mInfo.frames == 0) throw Failure("holds no sound");
}

std::optional<std::int64_t> AudioFile::frames() const {
    // Length in a header that was written before the length was known.
    constexpr sf_count_t UNKNOWN = 0x7fffffff;
    if (mInfo.seekable == 0 && mInfo.frames >= UNKNOWN / static_cast<sf_count_t>(mFrameBytes))
        return std::nullopt;
    return mInfo.frames;
}

double AudioFile::seconds(std::uint64_t bytes) const {
    return static_cast<double>(bytes) / static_cast<double>(bytesPerSecond());
}

std::size_t AudioFile::read(std::vector<unsigned char>& buffer) {
    const SamplePlan plan = planFor(mInfo.format);
    const auto channels = static_cast<std::size_t>(mInfo.channels);
    const std::size_t frames = buffer.size() / mFrameBytes;
    mScratch.resize(frames * channels * sourceBytes(plan.source));
    const sf_count_t got = readFrames(mScratch.data(), static_cast<sf_count_t>(frames));
    convertSamples(plan, mScratch.data(), static_cast<std::size_t>(got) * channels, buffer.data());
    return static_cast<std::size_t>(got) * mFrameBytes;
}

sf_count_t AudioFile::readFrames(unsigned char* to, sf_count_t frames) {
    sf_count_t got = 0;
    switch (planFor(mInfo.format).source) {
        case SampleSource::Short:
            got = sf_readf_short(mFile.get(), reinterpret_cast<short*>(to), frames);
            break;
        case SampleSource::Int:
            got = sf_readf_int(mFile.get(), reinterpret_cast<int*>(to), frames);
            break;
        case SampleSource::Float:
            got = sf_readf_float(mFile.get(), reinterpret_cast<float*>(to), frames);
            break;
    }
    if (sf_error(mFile.get()) != SF_ERR_NO_ERROR)
        throw Failure(std::string("cannot be read any further (") + sf_strerror(mFile.get()) + ")");
    return got;
}

}  // namespace cabinaudio::tool

// SPDX-License-Identifier: Apache-2.0
#include "tools/Failure.h"
#include "tools/record/OutputFile.h"
#include "tools/record/Target.h"
#include "tools/record/WideSamples.h"

#include <sndfile.h>

#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

namespace cabinaudio::tool {

namespace {

int subtypeOf(TargetKind kind, AudioBitDepthType depth) {
    switch (depth) {
        case AUDIO_BIT_DEPTH_8:  // libsndfile converts to unsigned for formats that need it
            return kind == TargetKind::Wav ? SF_FORMAT_PCM_U8 : SF_FORMAT_PCM_S8;
        case AUDIO_BIT_DEPTH_24:
            return SF_FORMAT_PCM_24;
        case AUDIO_BIT_DEPTH_32:
            return SF_FORMAT_PCM_32;
        default:
            return SF_FORMAT_PCM_16;
    }
}

class SoundTarget : public Target {
public:
    SoundTarget(const std::string& file, TargetKind kind, const RecordFormat& format)
        : mDepth(format.depth), mChannels(static_cast<std::size_t>(format.channels)) {
        SF_INFO info = {};
        info.samplerate = static_cast<int>(format.rate);
        info.channels = format.channels;
        info.format = (kind == TargetKind::Wav ? SF_FORMAT_WAV : SF_FORMAT_FLAC) |
                      subtypeOf(kind, format.depth);
        mFile.reset(sf_open_fd(createFile(file), SFM_WRITE, &info, SF_TRUE));
        if (mFile == nullptr) throw Failure(sf_strerror(nullptr));
        // Keeps the header valid, so that the file is usable even if the process is killed.
        sf_command(mFile.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    }

    void write(Bytes frame) override {
        widen(mDepth, frame, mSamples);
        const auto frames = static_cast<sf_count_t>(mSamples.size() / mChannels);
        if (sf_writef_int(mFile.get(), mSamples.data(), frames) != frames)
            throw Failure(std::string("cannot be written: ") + sf_strerror(mFile.get()));
        raise(mLevel, mSamples);
    }

    void close() override {
        if (sf_close(mFile.release()) != SF_ERR_NO_ERROR)
            throw Failure(std::string("cannot be closed: ") + std::strerror(errno));
    }

    Level takeLevel() override { return std::exchange(mLevel, std::nullopt); }

private:
    struct Close {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };

    const AudioBitDepthType mDepth;
    const std::size_t mChannels;
    std::unique_ptr<SNDFILE, Close> mFile;
    std::vector<std::int32_t> mSamples;
    Level mLevel;
};

}  // namespace

std::unique_ptr<Target> openSoundTarget(const std::string& file, TargetKind kind,
                                        const RecordFormat& format) {
    return std::make_unique<SoundTarget>(file, kind, format);
}

}  // namespace cabinaudio::tool

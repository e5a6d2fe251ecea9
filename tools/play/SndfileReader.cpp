// SPDX-License-Identifier: Apache-2.0
#include "tools/Failure.h"
#include "tools/play/InputBytes.h"
#include "tools/play/OggEnd.h"
#include "tools/play/PipeFeed.h"
#include "tools/play/SoundReader.h"

#include <sndfile.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <vector>

namespace cabinaudio::tool {

namespace {

bool isOgg(const SF_INFO& info) {
    return (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_OGG;
}

/// A frame's synchronization word, or the tags that stand before the first one.
bool isMp3(InputBytes& input) {
    const InputBytes::Bytes head = input.peek(3);
    if (head.size() < 3) return false;
    const bool isTagged = head[0] == 'I' && head[1] == 'D' && head[2] == '3';
    return isTagged || (head[0] == 0xFF && (head[1] & 0xE0) == 0xE0);
}

bool hasOggEnd(int descriptor, std::uint64_t bytes) {
    OggEnd end;
    const auto size = static_cast<off_t>(bytes);
    off_t at = std::max<off_t>(0, size - 2 * static_cast<off_t>(OggEnd::LONGEST_PAGE));
    std::array<std::uint8_t, 16384> buffer;
    for (ssize_t got = 1; got > 0; at += got) {
        got = pread(descriptor, buffer.data(), buffer.size(), at);
        if (got > 0) end.take(std::span(buffer).first(static_cast<std::size_t>(got)));
    }
    return end.isComplete();
}

class SndfileReader : public SoundReader {
public:
    explicit SndfileReader(std::unique_ptr<InputBytes> input) {
        const std::uint64_t bytes = input->left().value_or(0);
        const int file = input->isSeekable() ? input->descriptor() : -1;
        if (input->isSeekable()) {
            input->rewind();
            mInput = std::move(input);
        } else {
            mFeed = std::make_unique<PipeFeed>(std::move(input));
        }
        // The library closes the reading end also when it refuses the file.
        mFile.reset(sf_open_fd(mFeed ? mFeed->descriptor() : file, SFM_READ, &mInfo,
                               mFeed ? SF_TRUE : SF_FALSE));
        if (mFile == nullptr) {
            mFeed.reset();
            throw Failure(std::string("not an audio file that libsndfile can read (") +
                          sf_strerror(nullptr) + ")");
        }
        mHasOggEnd = mFeed || !isOgg(mInfo) || hasOggEnd(file, bytes);
    }

    [[nodiscard]] Shape shape() const override {
        Shape shape{mInfo.channels, mInfo.samplerate, planFor(mInfo.format), mInfo.frames};
        // Lengths in headers that were written before the length was known.
        constexpr sf_count_t UNKNOWN = 0x7fffffff;
        const sf_count_t limit = mFeed ? UNKNOWN / 48 : SF_COUNT_MAX;  // bytes of a frame at most
        if (mInfo.frames >= limit) shape.frames = std::nullopt;
        return shape;
    }

    std::size_t read(void* to, std::size_t frames) override {
        const sf_count_t got = readFrames(to, static_cast<sf_count_t>(frames));
        if (static_cast<std::size_t>(got) < frames) checkEnd();
        return static_cast<std::size_t>(got);
    }

    [[nodiscard]] std::optional<Cut> cut() const override { return mCut; }

private:
    struct Close {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };

    sf_count_t readFrames(void* to, sf_count_t frames) {
        switch (planFor(mInfo.format).source) {
            case SampleSource::Short:
                return sf_readf_short(mFile.get(), static_cast<short*>(to), frames);
            case SampleSource::Int:
                return sf_readf_int(mFile.get(), static_cast<int*>(to), frames);
            case SampleSource::Float:
                break;
        }
        return sf_readf_float(mFile.get(), static_cast<float*>(to), frames);
    }

    void checkEnd() {
        if (mFeed && !mFeed->end() && isOgg(mInfo)) mHasOggEnd = false;
        if (sf_error(mFile.get()) != SF_ERR_NO_ERROR)
            mCut = Cut{std::nullopt, sf_strerror(mFile.get())};
        else if (!mHasOggEnd)
            mCut = Cut{std::nullopt, ""};
    }

    SF_INFO mInfo = {};
    std::unique_ptr<InputBytes> mInput;  // of a file
    std::unique_ptr<PipeFeed> mFeed;     // of a pipe; outlives its reader
    std::unique_ptr<SNDFILE, Close> mFile;
    bool mHasOggEnd = true;  // or is no Ogg
    std::optional<Cut> mCut;
};

}  // namespace

std::unique_ptr<SoundReader> openSndfile(std::unique_ptr<InputBytes> input) {
    // libsndfile 1.2.0 then reads in front of its buffer.
    if (!input->isSeekable() && isMp3(*input))
        throw Failure("MP3 cannot be played from a pipe; play it from a file");
    return std::make_unique<SndfileReader>(std::move(input));
}

}  // namespace cabinaudio::tool

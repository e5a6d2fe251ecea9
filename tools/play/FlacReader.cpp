// SPDX-License-Identifier: Apache-2.0
// libsndfile reads FLAC only where it can seek, and does not tell a cut file from a damaged one.
#include "tools/Failure.h"
#include "tools/play/InputBytes.h"
#include "tools/play/SoundReader.h"

#include <FLAC/stream_decoder.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <utility>
#include <vector>

namespace cabinaudio::tool {

namespace {

AudioBitDepthType depthFor(unsigned bits) {
    if (bits <= 8) return AUDIO_BIT_DEPTH_8;
    if (bits <= 16) return AUDIO_BIT_DEPTH_16;
    return bits <= 24 ? AUDIO_BIT_DEPTH_24 : AUDIO_BIT_DEPTH_32;
}

class FlacReader : public SoundReader {
public:
    FlacReader(std::unique_ptr<InputBytes> input, bool isInOgg)
        : mInput(std::move(input)), mDecoder(FLAC__stream_decoder_new()) {
        if (mDecoder == nullptr) throw std::bad_alloc();
        const auto start =
            isInOgg ? FLAC__stream_decoder_init_ogg_stream : FLAC__stream_decoder_init_stream;
        if (start(mDecoder.get(), &FlacReader::onRead, nullptr, nullptr, nullptr, nullptr,
                  &FlacReader::onFrame, &FlacReader::onMetadata, &FlacReader::onError,
                  this) != FLAC__STREAM_DECODER_INIT_STATUS_OK)
            throw Failure("this system's libFLAC cannot read it");
        FLAC__stream_decoder_process_until_end_of_metadata(mDecoder.get());
        rethrow();
        if (mInfo.channels == 0) throw Failure("ends within its header");
    }

    [[nodiscard]] Shape shape() const override {
        Shape shape{static_cast<int>(mInfo.channels),
                    static_cast<int>(mInfo.sample_rate),
                    {SampleSource::Int, depthFor(mInfo.bits_per_sample)},
                    std::nullopt};
        if (mInfo.total_samples != 0) shape.frames = static_cast<std::int64_t>(mInfo.total_samples);
        return shape;
    }

    std::size_t read(void* to, std::size_t frames) override {
        const std::size_t wanted = frames * mInfo.channels;
        while (mDecoded.size() < wanted && decodeMore()) {
        }
        const std::size_t count = std::min(wanted, mDecoded.size());
        std::memcpy(to, mDecoded.data(), count * sizeof(std::int32_t));
        mDecoded.erase(mDecoded.begin(), mDecoded.begin() + static_cast<std::ptrdiff_t>(count));
        return count / mInfo.channels;
    }

    [[nodiscard]] std::optional<Cut> cut() const override {
        const std::string damage = mIsDamaged ? "it is damaged" : "";
        if (mFrames < mInfo.total_samples)
            return Cut{static_cast<std::int64_t>(mInfo.total_samples - mFrames), damage};
        if (mIsDamaged) return Cut{std::nullopt, damage};
        // Lost without a length to compare with; behind a known length it is something else.
        if (mHasLostSync && mInfo.total_samples == 0) return Cut{std::nullopt, ""};
        return std::nullopt;
    }

private:
    using Decoder = FLAC__StreamDecoder;

    struct Delete {
        void operator()(Decoder* decoder) const { FLAC__stream_decoder_delete(decoder); }
    };

    /// @return false at the end
    bool decodeMore() {
        const auto state = FLAC__stream_decoder_get_state(mDecoder.get());
        if (state >= FLAC__STREAM_DECODER_END_OF_STREAM) return false;
        const bool isDone = FLAC__stream_decoder_process_single(mDecoder.get()) != 0;
        rethrow();
        return isDone;
    }

    /// No exception may pass through the library, so it waits here.
    void rethrow() {
        if (mError) std::rethrow_exception(std::exchange(mError, nullptr));
    }

    static FLAC__StreamDecoderReadStatus onRead(const Decoder*, FLAC__byte* to, std::size_t* bytes,
                                                void* reader) {
        auto& self = *static_cast<FlacReader*>(reader);
        try {
            *bytes = self.mInput->readSome({to, *bytes});
        } catch (...) {
            self.mError = std::current_exception();
            return FLAC__STREAM_DECODER_READ_STATUS_ABORT;
        }
        return *bytes == 0 ? FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM
                           : FLAC__STREAM_DECODER_READ_STATUS_CONTINUE;
    }

    static FLAC__StreamDecoderWriteStatus onFrame(const Decoder*, const FLAC__Frame* frame,
                                                  const FLAC__int32* const* channels,
                                                  void* reader) noexcept {
        auto& self = *static_cast<FlacReader*>(reader);
        const FLAC__FrameHeader& header = frame->header;
        // A stream has one format; a frame of another one is not what the header announced.
        if (header.channels != self.mInfo.channels ||
            header.bits_per_sample != self.mInfo.bits_per_sample) {
            self.mIsDamaged = true;
            return FLAC__STREAM_DECODER_WRITE_STATUS_ABORT;
        }
        const unsigned shift = 32 - header.bits_per_sample;
        for (unsigned i = 0; i < header.blocksize; ++i)
            for (unsigned channel = 0; channel < header.channels; ++channel)
                self.mDecoded.push_back(static_cast<std::int32_t>(
                    static_cast<std::uint32_t>(channels[channel][i]) << shift));
        self.mFrames += header.blocksize;
        return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
    }

    static void onMetadata(const Decoder*, const FLAC__StreamMetadata* metadata, void* reader) {
        if (metadata->type == FLAC__METADATA_TYPE_STREAMINFO)
            static_cast<FlacReader*>(reader)->mInfo = metadata->data.stream_info;
    }

    static void onError(const Decoder*, FLAC__StreamDecoderErrorStatus error, void* reader) {
        auto& self = *static_cast<FlacReader*>(reader);
        (error == FLAC__STREAM_DECODER_ERROR_STATUS_LOST_SYNC ? self.mHasLostSync
                                                              : self.mIsDamaged) = true;
    }

    const std::unique_ptr<InputBytes> mInput;
    const std::unique_ptr<Decoder, Delete> mDecoder;
    FLAC__StreamMetadata_StreamInfo mInfo = {};
    std::uint64_t mFrames = 0;           // decoded
    std::vector<std::int32_t> mDecoded;  // not read yet
    bool mIsDamaged = false;
    bool mHasLostSync = false;  // something that is no frame
    std::exception_ptr mError;
};

}  // namespace

std::unique_ptr<SoundReader> openFlac(std::unique_ptr<InputBytes> input, bool isInOgg) {
    return std::make_unique<FlacReader>(std::move(input), isInOgg);
}

}  // namespace cabinaudio::tool

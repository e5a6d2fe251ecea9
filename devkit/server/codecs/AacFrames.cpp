// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"
#include "devkit/server/codecs/BlockEncoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/dict.h>
#include <libavutil/error.h>
}

#include <algorithm>
#include <stdexcept>

namespace cabinaudio::server {
namespace {

constexpr std::size_t FRAME_SAMPLES = 1024;  // per channel
constexpr std::int64_t HIGHEST_BIT_RATE_OF_A_CHANNEL = 64000;
constexpr std::size_t WRITE_BUFFER = 8192;  // larger than any LOAS frame

std::string errorText(int error) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(error, text, sizeof text);
    return std::string("aac: ") + text;
}

void check(int result) {
    if (result < 0) throw std::runtime_error(errorText(result));
}

template <typename Type>
Type* checked(Type* pointer) {
    if (pointer == nullptr) throw std::runtime_error("aac: not in this system's libavcodec");
    return pointer;
}

struct AvFree {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFormatContext* context) const { avformat_free_context(context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVIOContext* context) const {
        av_freep(&context->buffer);
        avio_context_free(&context);
    }
};
template <typename Type>
using Owned = std::unique_ptr<Type, AvFree>;

/// Wraps packets into LOAS frames; the muxer appends each frame to `bytes`.
class LoasMuxer {
public:
    explicit LoasMuxer(const AVCodecContext& encoder) {
        auto* buffer = static_cast<unsigned char*>(checked(av_malloc(WRITE_BUFFER)));
        mIo.reset(checked(avio_alloc_context(buffer, WRITE_BUFFER, 1, this, nullptr,
                                             &LoasMuxer::write, nullptr)));
        AVFormatContext* context = nullptr;
        check(avformat_alloc_output_context2(&context, nullptr, "latm", nullptr));
        mContext.reset(context);
        mContext->pb = mIo.get();
        AVStream* stream = checked(avformat_new_stream(context, nullptr));
        check(avcodec_parameters_from_context(stream->codecpar, &encoder));
        stream->time_base = encoder.time_base;
        // The configuration is repeated in each frame, because a client may join at any frame.
        AVDictionary* options = nullptr;
        av_dict_set(&options, "smc-interval", "1", 0);
        const int result = avformat_write_header(context, &options);
        av_dict_free(&options);
        check(result);
    }
    LoasMuxer(const LoasMuxer&) = delete;
    LoasMuxer& operator=(const LoasMuxer&) = delete;

    std::vector<std::uint8_t> frameOf(AVPacket& packet) {
        mBytes.clear();
        packet.stream_index = 0;
        check(av_write_frame(mContext.get(), &packet));
        avio_flush(mIo.get());
        return std::move(mBytes);
    }

private:
    /// Whether `bytes` is const differs between versions of the library.
    static int write(void* muxer, const std::uint8_t* bytes, int size) {
        auto& all = static_cast<LoasMuxer*>(muxer)->mBytes;
        all.insert(all.end(), bytes, bytes + size);
        return size;
    }
    static int write(void* muxer, std::uint8_t* bytes, int size) {
        return write(muxer, static_cast<const std::uint8_t*>(bytes), size);
    }

    Owned<AVIOContext> mIo;
    Owned<AVFormatContext> mContext;
    std::vector<std::uint8_t> mBytes;
};

Owned<AVCodecContext> openEncoder(const StreamFormat& format, std::uint32_t bitRate) {
    av_log_set_level(AV_LOG_ERROR);
    const AVCodec* codec = checked(avcodec_find_encoder(AV_CODEC_ID_AAC));
    Owned<AVCodecContext> context(checked(avcodec_alloc_context3(codec)));
    context->sample_rate = static_cast<int>(format.rate);
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    av_channel_layout_default(&context->ch_layout, static_cast<int>(format.channels));
    context->time_base = {1, static_cast<int>(format.rate)};
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;  // required by the muxer
    // Two bits per sample: a frame is then about as long as a period of linear PCM, the amount that
    // clients read at once.
    const std::int64_t own = std::min(std::int64_t{format.rate} * 2, HIGHEST_BIT_RATE_OF_A_CHANNEL);
    context->bit_rate = bitRate != 0 ? bitRate : own * format.channels;
    check(avcodec_open2(context.get(), codec, nullptr));
    return context;
}

class AacFrames : public BlockEncoder {
public:
    AacFrames(const StreamFormat& format, std::uint32_t bitRate)
        : BlockEncoder(FRAME_SAMPLES * format.channels),
          mChannels(format.channels),
          mEncoder(openEncoder(format, bitRate)),
          mMuxer(*mEncoder),
          mFrame(checked(av_frame_alloc())),
          mPacket(checked(av_packet_alloc())) {}

protected:
    void encodeBlock(std::span<const float> block, const Output& output) override {
        try {
            feed(block);
            while (avcodec_receive_packet(mEncoder.get(), mPacket.get()) == 0) {
                output(mMuxer.frameOf(*mPacket));
                av_packet_unref(mPacket.get());
            }
        } catch (const std::runtime_error& error) {
            log::error("%s", error.what());
        }
    }

private:
    void feed(std::span<const float> block) {
        av_frame_unref(mFrame.get());
        mFrame->nb_samples = static_cast<int>(FRAME_SAMPLES);
        mFrame->format = AV_SAMPLE_FMT_FLTP;
        mFrame->pts = mSamples;
        mSamples += static_cast<std::int64_t>(FRAME_SAMPLES);
        check(av_channel_layout_copy(&mFrame->ch_layout, &mEncoder->ch_layout));
        check(av_frame_get_buffer(mFrame.get(), 0));
        for (std::size_t i = 0; i < block.size(); ++i) {
            auto* channel = reinterpret_cast<float*>(mFrame->extended_data[i % mChannels]);
            channel[i / mChannels] = block[i];
        }
        check(avcodec_send_frame(mEncoder.get(), mFrame.get()));
    }

    unsigned mChannels;
    Owned<AVCodecContext> mEncoder;
    LoasMuxer mMuxer;
    Owned<AVFrame> mFrame;
    Owned<AVPacket> mPacket;
    std::int64_t mSamples = 0;
};

}  // namespace

std::unique_ptr<FrameEncoder> makeAacEncoder(const StreamFormat& stream, std::uint32_t bitRate) {
    if (stream.rate > 96000 || stream.channels > 2) {
        throw std::invalid_argument(
            format("aac: up to 96000 Hz in one or two channels, not %u Hz "
                   "in %u",
                   stream.rate, stream.channels));
    }
    return std::make_unique<AacFrames>(stream, bitRate);
}

}  // namespace cabinaudio::server

// SPDX-License-Identifier: Apache-2.0
#include "plugins/common/Streams.h"

#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "plugins/common/Surroundings.h"

#include <cerrno>
#include <utility>

namespace cabinaudio::plugin {

namespace {

using namespace std::chrono_literals;

template <typename Stream, typename Interface, typename... Param>
int open(StreamRequest request, std::unique_ptr<Interface>& opened, Param... param) {
    auto stream = std::make_unique<Stream>(request.name, request.tag, request.format, param...);
    if (stream->initCheck() != AUDIO_NO_ERROR) return serverAnswers(0ms) ? -EBUSY : -ENODEV;
    // A ring in shared memory is mapped by now, unless it belongs to another user.
    if (!needsPhysicalMemory(request.tag) && stream->getTotalBufferSize() == 0) return -EACCES;
    opened = std::move(stream);
    return 0;
}

bool isReachable(AudioTagType tag) {
    return !needsPhysicalMemory(tag) || hasPhysicalMemory();
}

}  // namespace

std::size_t StreamRequest::frameBytes() const {
    return static_cast<std::size_t>(AudioTypes::getChannelNumber(format.channelMap)) *
           static_cast<std::size_t>(AudioTypes::getBytesPerSample(format.bitDepth));
}

unsigned char StreamRequest::silence() const {
    return format.bitDepth == AUDIO_BIT_DEPTH_8 ? 0x80 : 0;
}

AudioFormatDesc pcmFormat(unsigned rate, unsigned channels, unsigned bits) {
    return {0, rate,
            0, AudioTypes::getChannelMapType(static_cast<int>(channels)),
            0, AudioTypes::getBitDepthType(static_cast<int>(bits))};
}

bool isPlaybackTag(AudioTagType tag) {
    return tag <= AUDIO_TAG_OUTPUT_INVOCATION;
}

bool isCaptureTag(AudioTagType tag) {
    return tag >= AUDIO_TAG_INPUT0 && tag <= AUDIO_TAG_INPUT_FRONT_FEEDBACK;
}

int openStream(const StreamRequest& request, std::unique_ptr<audio::QVAudioTrack>& stream) {
    if (!isReachable(request.tag)) return -EACCES;
    return request.tag == AUDIO_TAG_MAIN ? open<ClientSink>(request, stream, request.param)
                                         : open<ClientTrack>(request, stream, request.param);
}

int openStream(const StreamRequest& request, std::unique_ptr<audio::QVAudioRecord>& stream) {
    if (!isReachable(request.tag)) return -EACCES;
    return request.tag == AUDIO_TAG_UPLINK ? open<ClientRecordRt>(request, stream)
                                           : open<ClientRecord>(request, stream, request.param);
}

}  // namespace cabinaudio::plugin

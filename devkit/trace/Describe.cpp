// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/Describe.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/text/Format.h"
#include "wire/Frame.h"

namespace cabinaudio::trace {
namespace {

/// Null for an unknown event.
const char* eventWords(wire::TrackEvent event) {
    if (event == wire::TrackEvent::RingReady) return "ring ready";
    return event == wire::TrackEvent::Finished ? "finished" : nullptr;
}

const char* eventWords(wire::SinkEvent event) {
    if (event == wire::SinkEvent::SourceActivated) return "source activated";
    if (event == wire::SinkEvent::SourceDeactivated) return "source deactivated";
    return event == wire::SinkEvent::Finished ? "finished" : nullptr;
}

const char* eventWords(wire::CaptureEvent event, std::uint32_t value) {
    if (event != wire::CaptureEvent::RingState) return nullptr;
    return value != 0 ? "ring ready" : "ring gone";
}

}  // namespace

std::string describe(const wire::FunctionRequest&) {
    return {};
}

std::string describe(const wire::CreateRequest& request) {
    return text::format("tag %u, %s, parameter %d, process %d", request.tag,
                        describe(request.format).c_str(), request.streamParam, request.pid);
}

std::string describe(const wire::KeyShiftRequest& request) {
    return text::format("%g", static_cast<double>(request.key));
}

std::string describe(const wire::VolumeRequest& request) {
    return text::format("%d", request.volume);
}

std::string describe(const wire::StatusReply&) {
    return {};
}

std::string describe(const wire::CreateReply& reply) {
    const std::string sizes =
        text::format("ring %u bytes, per loop %d bytes", reply.ringSize, reply.perLoopSize);
    if (reply.perLoopTime == 0) return sizes;
    return sizes + text::format(", %d ms, %d frames", reply.perLoopTime, reply.perLoopSamples);
}

std::string describe(const wire::VolumeReply& reply) {
    return text::format("%d", reply.volume);
}

std::string describe(const wire::ShareMemoryReply& reply) {
    return text::format("address 0x%x, %u bytes", reply.address, reply.size);
}

std::string describe(const wire::VersionReply& reply) {
    return text::format("%d.%d.%d, %d.%d.%d, %d", reply.first[0], reply.first[1], reply.first[2],
                        reply.second[0], reply.second[1], reply.second[2], reply.third);
}

std::string describe(const AudioFormatDesc& desc) {
    if (desc.codecType != 0) {
        return text::format("codec %u, %u Hz, channel map %u", desc.codecType, desc.sampleRate,
                            static_cast<unsigned>(desc.channelMap));
    }
    return text::format("%u Hz, channel map %u, %u bits", desc.sampleRate,
                        static_cast<unsigned>(desc.channelMap),
                        static_cast<unsigned>(desc.bitDepth));
}

std::string describeEvent(audio_connect_type type, std::uint32_t event, std::uint32_t param) {
    if (event == wire::EVENT_SERVER_GONE) return "removed";
    const char* words = nullptr;
    switch (type) {
        case AUDIO_CONNECT_MAIN:
            words = eventWords(static_cast<wire::SinkEvent>(event));
            break;
        case AUDIO_CONNECT_ALTERNATIVE:
        case AUDIO_CONNECT_AUXILIARY:
        case AUDIO_CONNECT_OUTPUT_INVOCATION:
            words = eventWords(static_cast<wire::TrackEvent>(event));
            break;
        case AUDIO_CONNECT_UPLINK:
            words = eventWords(static_cast<wire::CaptureEvent>(event), param);
            break;
        default:
            break;
    }
    return words != nullptr ? words : text::format("notification %u, %u", event, param);
}

std::string statusName(std::int32_t status) {
    switch (status) {
        case AUDIO_NO_ERROR:
            return "ok";
        case AUDIO_NOT_CONNECTED:
            return "not connected";
        case AUDIO_NO_MEMORY:
            return "no memory";
        case AUDIO_TIMED_OUT:
            return "timed out";
        case AUDIO_BAD_SEQUENCE:
            return "bad sequence";
        case AUDIO_BAD_VALUE:
            return "bad value";
        case AUDIO_INVALID_OPERATION:
            return "invalid operation";
        case AUDIO_INVALID_STATE:
            return "invalid state";
        default:
            return text::format("status %d", status);
    }
}

}  // namespace cabinaudio::trace

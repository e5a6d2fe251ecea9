// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/streams/CaptureRegistry.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Period.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace cabinaudio::server {
namespace {

/// Checks that the format is valid and the codec supports it. @return the status
std::int32_t check(const Client& client, const AudioFormatDesc& desc,
                   std::optional<StreamFormat>& format) {
    const bool isPcm = desc.codecType == static_cast<std::uint32_t>(Codec::Pcm);
    format = isPcm ? StreamFormat::of(desc) : StreamFormat::beforeCoding(desc);
    if (!format) return AUDIO_BAD_VALUE;
    if (!isPcm && client.type() != AUDIO_CONNECT_UPLINK) {
        log::warning("%s: codec %u, but only the uplink is coded", client.title().c_str(),
                     desc.codecType);
        return AUDIO_BAD_VALUE;
    }
    try {
        makeEncoder(desc, *format);
        return AUDIO_NO_ERROR;
    } catch (const std::invalid_argument& error) {
        log::warning("%s: %s", client.title().c_str(), error.what());
        return AUDIO_BAD_VALUE;
    } catch (const std::runtime_error& error) {
        log::error("%s: %s", client.title().c_str(), error.what());
        return AUDIO_INVALID_OPERATION;
    }
}

}  // namespace

CaptureRegistry::CaptureRegistry(EventLoop& loop, RingPlaces& places, Settings settings)
    : mLoop(loop), mPlaces(places), mSettings(std::move(settings)) {}

std::int32_t CaptureRegistry::create(Client& client, const wire::CreateRequest& request,
                                     wire::CreateReply& reply) {
    if (find(client) != nullptr) return AUDIO_INVALID_STATE;
    if (request.tag != client.type()) return AUDIO_BAD_VALUE;
    std::optional<StreamFormat> format;
    std::int32_t status = check(client, request.format, format);
    if (status != AUDIO_NO_ERROR) return status;

    const std::uint32_t frames = framesOfPeriod(format->rate);
    const auto perLoop = static_cast<std::uint32_t>(frames * format->frameBytes());
    std::unique_ptr<CaptureRing> ring;
    status = makeRing(client, perLoop * mSettings.ringPeriods, ring);
    if (status != AUDIO_NO_ERROR) return status;

    // The size of a physical ring comes with its announcement.
    reply.ringSize = ring->isPhysical() ? 0 : ring->size();
    reply.perLoopSize = static_cast<std::int32_t>(perLoop);
    reply.perLoopTime = static_cast<std::int32_t>(PERIOD.count());
    reply.perLoopSamples = static_cast<std::int32_t>(frames);
    mStreams.push_back(std::make_unique<CaptureStream>(
        mLoop, client, partsOf(client, request, *format, std::move(ring))));
    const CaptureStream::Parts& parts = mStreams.back()->parts();
    log::info("%s records %s as %s, %s", client.title().c_str(), parts.input.c_str(),
              nameOf(parts.codec), format->text().c_str());
    return AUDIO_NO_ERROR;
}

std::int32_t CaptureRegistry::makeRing(const Client& client, std::uint32_t size,
                                       std::unique_ptr<CaptureRing>& ring) {
    const RingKind kind =
        client.type() == AUDIO_CONNECT_UPLINK ? RingKind::Physical : RingKind::Posix;
    return server::makeRing(mPlaces, client, kind, size, ring, mSettings.onRead);
}

CaptureStream::Parts CaptureRegistry::partsOf(Client& client, const wire::CreateRequest& request,
                                              const StreamFormat& format,
                                              std::unique_ptr<CaptureRing> ring) {
    CaptureStream::Parts parts;
    parts.tag = request.tag;
    parts.format = format;
    parts.codec = static_cast<Codec>(request.format.codecType);
    parts.pid = client.process(request.pid);
    parts.input = mSettings.inputs.of(request.tag);
    parts.makeRing = [this, &client, size = ring->size()] {
        std::unique_ptr<CaptureRing> another;
        makeRing(client, size, another);
        return another;
    };
    parts.ring = std::move(ring);
    parts.openInput = [input = parts.input, format] {
        return server::openInput(input, format.rate, format.channels);
    };
    parts.makeEncoder = [desc = request.format, format] {
        return server::makeEncoder(desc, format);
    };
    if (mSettings.gain) {
        parts.gain = [this, tag = static_cast<AudioTagType>(request.tag)](std::size_t channel) {
            return mSettings.gain(tag, channel);
        };
    }
    parts.ringDelay = mSettings.uplinkDelay;
    parts.isRingFilledFirst = mSettings.isRingFilledFirst;
    parts.onChange = [this] { mOnChange(); };
    parts.watcher = mSettings.watcher;
    return parts;
}

CaptureStream* CaptureRegistry::find(const Client& client) const {
    const auto found = std::find_if(mStreams.begin(), mStreams.end(), [&](const auto& stream) {
        return &stream->client() == &client;
    });
    return found != mStreams.end() ? found->get() : nullptr;
}

CaptureStream* CaptureRegistry::find(const std::string& name) const {
    const auto found = std::find_if(mStreams.begin(), mStreams.end(), [&](const auto& stream) {
        return stream->client().name() == name;
    });
    return found != mStreams.end() ? found->get() : nullptr;
}

void CaptureRegistry::clientGone(const Client& client) {
    if (const CaptureStream* stream = find(client)) erase(*stream);
}

void CaptureRegistry::remove(CaptureStream& stream) {
    log::info("%s: stream removed", stream.client().title().c_str());
    stream.notifyRemoved();
    erase(stream);
}

void CaptureRegistry::removeAll() {
    while (!mStreams.empty())
        remove(*mStreams.front());
}

void CaptureRegistry::erase(const CaptureStream& stream) {
    std::erase_if(mStreams, [&](const auto& candidate) { return candidate.get() == &stream; });
    mOnChange();
}

}  // namespace cabinaudio::server

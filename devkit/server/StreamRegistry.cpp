// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/StreamRegistry.h"

#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/ConnectType.h"
#include "devkit/server/Log.h"
#include "devkit/server/Period.h"
#include "devkit/server/Text.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace cabinaudio::server {
namespace {

// The board stand-in keeps the physical memory beside the rings.
bool isReserved(const std::string& object) {
    return object.empty() || object.rfind("cabinaudio-physmem", 0) == 0;
}

}  // namespace

StreamRegistry::StreamRegistry(EventLoop& loop, Settings settings)
    : mLoop(loop), mSettings(std::move(settings)) {}

std::int32_t StreamRegistry::create(Client& client, const wire::CreateRequest& request,
                                    wire::CreateReply& reply) {
    if (find(client) != nullptr) return AUDIO_INVALID_STATE;
    const auto format = StreamFormat::of(request.format);
    if (request.tag != client.type() || !format) return AUDIO_BAD_VALUE;

    const auto perLoop =
        static_cast<std::uint32_t>(framesOfPeriod(format->rate) * format->frameBytes());
    const std::uint32_t size = perLoop * mSettings.ringPeriods;
    StreamRing::Place place;
    if (request.tag != AUDIO_TAG_ALTERNATIVE) {
        place = mMemory.allocate(size);
        if (!place) return AUDIO_NO_MEMORY;
    }
    const std::int32_t status = checkRingName(client, StreamRing::objectName(client.name(), place));
    if (status != AUDIO_NO_ERROR) return status;
    auto ring = std::make_unique<StreamRing>(client.name(), std::move(place), size,
                                             format->frameBytes(), mSettings.onWrite);
    if (!ring->isUsable()) return AUDIO_NO_MEMORY;

    add(client, request, *format, std::move(ring));
    reply.ringSize = size;
    reply.perLoopSize = static_cast<std::int32_t>(perLoop);
    return AUDIO_NO_ERROR;
}

std::int32_t StreamRegistry::checkRingName(const Client& client, const std::string& object) const {
    if (isReserved(object)) {
        log::warning("%s: no ring can have this name", client.title().c_str());
        return AUDIO_BAD_VALUE;
    }
    const bool isTaken = std::any_of(mStreams.begin(), mStreams.end(), [&](const auto& stream) {
        return stream->ring().objectName() == object;
    });
    if (!isTaken) return AUDIO_NO_ERROR;
    log::warning("%s: refused, there is a ring \"%s\" already", client.title().c_str(),
                 printable(object).c_str());
    return AUDIO_INVALID_OPERATION;
}

void StreamRegistry::add(Client& client, const wire::CreateRequest& request,
                         const StreamFormat& format, std::unique_ptr<StreamRing> ring) {
    auto record = std::make_shared<StreamRecord>();
    record->name = client.name();
    record->tag = request.tag;
    record->format = format;
    record->pid = request.pid;
    const bool isPhysical = ring->isPhysical();
    auto stem = makeStem(*record);
    auto stream = std::make_unique<PlaybackStream>(
        client,
        PlaybackStream::Parts{record, std::move(ring), std::move(stem), mSettings.outputRate,
                              mSettings.outputChannels, [this] { mOnChange(); }});
    if (isPhysical) stream->announceRing(mLoop, mSettings.ringDelay);
    mStreams.push_back(std::move(stream));
    if (mSettings.keepsRecords) mRecords.push_back(std::move(record));
    log::info("%s plays %s", client.title().c_str(), format.text().c_str());
}

std::unique_ptr<WavFile> StreamRegistry::makeStem(StreamRecord& record) {
    if (mSettings.stemDirectory.empty()) return nullptr;
    const std::string base =
        AudioTypes::getTag(static_cast<AudioTagType>(record.tag)) + "-" + fileName(record.name);
    std::string name = base;
    for (int i = 2; !mStemNames.insert(name).second; ++i) {
        name = base + "-" + std::to_string(i);
    }
    record.stem = mSettings.stemDirectory + "/" + name + ".wav";
    try {
        return std::make_unique<WavFile>(record.stem, record.format);
    } catch (const std::runtime_error& error) {
        log::error("%s", error.what());
        record.stem.clear();
        return nullptr;
    }
}

PlaybackStream* StreamRegistry::find(const Client& client) const {
    const auto found = std::find_if(mStreams.begin(), mStreams.end(), [&](const auto& stream) {
        return &stream->client() == &client;
    });
    return found != mStreams.end() ? found->get() : nullptr;
}

PlaybackStream* StreamRegistry::find(const std::string& name) const {
    const auto found = std::find_if(mStreams.begin(), mStreams.end(), [&](const auto& stream) {
        return stream->record().name == name;
    });
    return found != mStreams.end() ? found->get() : nullptr;
}

void StreamRegistry::clientGone(const Client& client) {
    if (const PlaybackStream* stream = find(client)) erase(*stream);
}

void StreamRegistry::remove(PlaybackStream& stream) {
    log::info("%s: stream removed", stream.client().title().c_str());
    stream.sayRemoved();
    erase(stream);
}

void StreamRegistry::removeAll() {
    while (!mStreams.empty()) {
        remove(*mStreams.front());
    }
}

void StreamRegistry::erase(const PlaybackStream& stream) {
    std::erase_if(mStreams, [&](const auto& candidate) { return candidate.get() == &stream; });
    mOnChange();
}

}  // namespace cabinaudio::server

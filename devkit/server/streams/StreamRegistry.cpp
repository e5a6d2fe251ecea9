// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/streams/StreamRegistry.h"

#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Period.h"
#include "devkit/server/base/Text.h"
#include "devkit/server/settings/StreamTypes.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace cabinaudio::server {

StreamRegistry::StreamRegistry(EventLoop& loop, RingPlaces& places, Settings settings)
    : mLoop(loop), mSettings(std::move(settings)), mPlaces(places), mSources(mSettings.ringDelay) {}

std::int32_t StreamRegistry::create(Client& client, const wire::CreateRequest& request,
                                    wire::CreateReply& reply) {
    if (find(client) != nullptr) return AUDIO_INVALID_STATE;
    const auto format = StreamFormat::of(request.format);
    if (request.tag != client.type() || !format) return AUDIO_BAD_VALUE;

    const auto perLoop =
        static_cast<std::uint32_t>(framesOfPeriod(format->rate) * format->frameBytes());
    const std::uint32_t size = perLoop * mSettings.ringPeriods;
    std::unique_ptr<StreamRing> ring;
    const std::int32_t status = makeRing(client, size, format->frameBytes(), ring);
    if (status != AUDIO_NO_ERROR) return status;

    add(client, request, *format, std::move(ring));
    reply.ringSize = size;
    reply.perLoopSize = static_cast<std::int32_t>(perLoop);
    return AUDIO_NO_ERROR;
}

std::int32_t StreamRegistry::makeRing(const Client& client, std::uint32_t size,
                                      std::size_t frameBytes, std::unique_ptr<StreamRing>& ring) {
    const RingKind kind =
        client.type() == AUDIO_CONNECT_ALTERNATIVE ? RingKind::Posix : RingKind::Physical;
    return server::makeRing(mPlaces, client, kind, size, ring, frameBytes, mSettings.onWrite);
}

void StreamRegistry::add(Client& client, const wire::CreateRequest& request,
                         const StreamFormat& format, std::unique_ptr<StreamRing> ring) {
    auto record = std::make_shared<StreamRecord>();
    record->name = client.name();
    record->tag = request.tag;
    record->type = streamTypeOf(static_cast<AudioTagType>(request.tag), request.streamParam);
    record->format = format;
    record->keepsChanges = mSettings.keepsRecords;
    record->pid = client.process(request.pid);
    auto makeAnother = [this, &client, size = ring->size(), frameBytes = format.frameBytes()] {
        std::unique_ptr<StreamRing> another;
        makeRing(client, size, frameBytes, another);
        return another;
    };
    auto stem = makeStem(*record);
    mStreams.push_back(std::make_unique<PlaybackStream>(
        mLoop, client,
        PlaybackStream::Parts{
            record, std::move(ring), std::move(makeAnother), std::move(stem), mSettings.outputRate,
            mSettings.outputChannels,
            [this] { return mSettings.outputFrame ? mSettings.outputFrame() : 0; },
            [this] { mOnChange(); }, mSettings.watcher}));
    offerRing(*mStreams.back());
    if (mSettings.keepsRecords) mRecords.push_back(std::move(record));
    log::info("%s plays %s", client.title().c_str(), format.text().c_str());
}

void StreamRegistry::offerRing(PlaybackStream& stream) {
    if (stream.isSink())
        mSources.activate(stream);
    else if (stream.ringOffer() != nullptr)
        stream.offerRing(mSettings.ringDelay);
}

std::unique_ptr<WavFile> StreamRegistry::makeStem(StreamRecord& record) {
    if (mSettings.stemDirectory.empty()) return nullptr;
    const std::string base =
        AudioTypes::getTag(static_cast<AudioTagType>(record.tag)) + "-" + fileName(record.name);
    std::string name = base;
    for (int i = 2; !mStemNames.insert(name).second; ++i)
        name = base + "-" + std::to_string(i);
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

PlaybackStream* StreamRegistry::findSink(const std::string& name) const {
    const auto found = std::find_if(mStreams.begin(), mStreams.end(), [&](const auto& stream) {
        return stream->isSink() && stream->record().name == name;
    });
    return found != mStreams.end() ? found->get() : nullptr;
}

void StreamRegistry::clientGone(const Client& client) {
    if (const PlaybackStream* stream = find(client)) erase(*stream);
}

void StreamRegistry::remove(PlaybackStream& stream) {
    log::info("%s: stream removed", stream.client().title().c_str());
    stream.notifyRemoved();
    erase(stream);
}

void StreamRegistry::removeAll() {
    while (!mStreams.empty())
        remove(*mStreams.front());
}

void StreamRegistry::erase(const PlaybackStream& stream) {
    const auto found = std::find_if(mStreams.begin(), mStreams.end(), [&](const auto& candidate) {
        return candidate.get() == &stream;
    });
    // Kept alive until the routing has notified the others.
    const std::unique_ptr<PlaybackStream> gone = std::move(*found);
    mStreams.erase(found);
    if (gone->isSink()) mSources.forget(*gone);
    mOnChange();
}

}  // namespace cabinaudio::server

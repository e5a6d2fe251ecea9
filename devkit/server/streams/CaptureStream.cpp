// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/streams/CaptureStream.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Period.h"
#include "devkit/server/mix/Peaks.h"
#include "devkit/server/rings/MemoryFault.h"

#include <array>
#include <exception>
#include <utility>

namespace cabinaudio::server {
namespace {

constexpr auto RING_STATE = static_cast<std::uint32_t>(wire::CaptureEvent::RingState);
constexpr RingOffer::Notification CAPTURE_RING_READY = {RING_STATE, 1};
constexpr RingOffer::Notification CAPTURE_RING_GONE = {RING_STATE, 0};

// Limits one call: other handlers wait for the event loop.
constexpr int PERIODS_AT_ONCE = 64;

}  // namespace

CaptureStream::CaptureStream(EventLoop& loop, Client& client, Parts parts)
    : mClient(client), mParts(std::move(parts)), mPeak(mParts.format.rate) {
    if (!isUplink()) return;
    mOffer.emplace(loop, mClient, CAPTURE_RING_READY, CAPTURE_RING_GONE,
                   RingOffer::Owner{[this] { return makeRing(); }, [this] { dropRing(); }});
}

/// A read finds either enough data or silence by the real clock, so a ring that is full before the
/// client maps it gives the same data to every reader.
bool CaptureStream::makeRing() {
    if (!mParts.ring) mParts.ring = mParts.makeRing();
    if (mParts.ring && mParts.isRingFilledFirst && isActive() && !mIsHeld) (void)fillUp();
    return mParts.ring != nullptr;
}

std::int32_t CaptureStream::start() {
    if (mState == ACTIVE) return AUDIO_NO_ERROR;
    try {
        mInput = mParts.openInput();
        mEncoder = mParts.makeEncoder();
    } catch (const std::exception& error) {
        log::error("%s: %s", mClient.title().c_str(), error.what());
        return AUDIO_INVALID_OPERATION;
    }
    mState = ACTIVE;
    ++mStarts;
    mPeriods = 0;
    if (mOffer && mParts.ringDelay) mOffer->offer(*mParts.ringDelay);
    mParts.onChange();
    return AUDIO_NO_ERROR;
}

std::int32_t CaptureStream::stop() {
    mState = IDLE;
    mPackets.clear();
    mInput.reset();
    mEncoder.reset();
    mParts.onChange();
    return AUDIO_NO_ERROR;
}

std::int32_t CaptureStream::setVolume(std::int32_t volume) {
    if (volume < 0 || volume > FULL_VOLUME) return AUDIO_BAD_VALUE;
    mVolume = volume;
    return AUDIO_NO_ERROR;
}

/// The client maps the ring now; earlier samples would only have filled it.
std::int32_t CaptureStream::getShareMemory(wire::ShareMemoryReply& reply) {
    if (!mOffer || !mOffer->canBeShown()) return AUDIO_INVALID_STATE;
    reply.address = mParts.ring->address();
    reply.size = mParts.ring->size();
    mIsRingKnown = true;
    mParts.onChange();
    return AUDIO_NO_ERROR;
}

std::int32_t CaptureStream::removeShareMemory() {
    if (!mOffer) return AUDIO_INVALID_OPERATION;
    mOffer->onRingUnmapped();
    mParts.onChange();
    return AUDIO_NO_ERROR;
}

void CaptureStream::offerRing() {
    mOffer->offer(std::chrono::milliseconds(0));
}

bool CaptureStream::announceRingAgain() {
    return mOffer && mOffer->announceAgain();
}

void CaptureStream::withdrawRing() {
    mOffer->withdraw();
    mParts.onChange();
}

void CaptureStream::notifyRemoved() {
    mClient.notify(static_cast<std::uint32_t>(wire::CaptureEvent::Removed), 0);
}

void CaptureStream::dropRing() {
    mCounters.discardedBytes += mParts.ring->usedBytes();
    mParts.ring.reset();
    mPackets.clear();
    mIsRingKnown = false;
}

bool CaptureStream::isFlowing() const {
    return isActive() && mParts.ring && (!mOffer || (mOffer->isOffered() && mIsRingKnown));
}

void CaptureStream::fillPeriod() {
    memory_fault::take();  // discard faults caused by other streams
    record();
    writeOut();
    mCounters.overruns += mPackets.size();
    mPackets.clear();
    checkClient();
}

bool CaptureStream::fillUp() {
    memory_fault::take();
    bool hasRoom = writeOut();
    for (int i = 0; i < PERIODS_AT_ONCE && hasRoom; ++i) {
        record();
        hasRoom = writeOut();
    }
    if (!hasRoom) mParts.ring->askForSpace();
    checkClient();
    return hasRoom && mClient.isOpen();
}

bool CaptureStream::makeRoom() {
    memory_fault::take();
    const bool hasRoom = writeOut();
    if (!hasRoom) mParts.ring->askForSpace();
    checkClient();
    return hasRoom;
}

void CaptureStream::step() {
    memory_fault::take();
    record();
    if (!writeOut()) mParts.ring->askForSpace();
    checkClient();
}

void CaptureStream::wakeReader() const {
    if (isFlowing()) mParts.ring->wakeReader();
}

void CaptureStream::record() {
    const std::uint32_t rate = mParts.format.rate;
    const std::uint64_t frames =
        framesOfPeriods(rate, mPeriods + 1) - framesOfPeriods(rate, mPeriods);
    ++mPeriods;
    mSamples.resize(static_cast<std::size_t>(frames) * mParts.format.channels);
    mInput->read(mSamples);
    applyVolume();
    measure();
    mCounters.frames += frames;
    mEncoder->encode(mSamples, [this](std::vector<std::uint8_t> packet) {
        mPackets.push_back(std::move(packet));
    });
}

void CaptureStream::applyVolume() {
    const std::size_t channels = mParts.format.channels;
    for (std::size_t channel = 0; channel < channels; ++channel) {
        const float gain = mParts.gain ? mParts.gain(channel) : 1.0F;
        const float factor = static_cast<float>(mVolume) / FULL_VOLUME * gain;
        if (factor == 1.0F) continue;
        for (std::size_t i = channel; i < mSamples.size(); i += channels)
            mSamples[i] *= factor;
    }
}

void CaptureStream::measure() {
    std::array<float, 1> peak{};
    raisePeaks(mSamples, peak);
    mPeak.add(mCounters.frames, peak.front());
}

/// @return whether all packets fitted
bool CaptureStream::writeOut() {
    while (!mPackets.empty()) {
        const auto& packet = mPackets.front();
        if (packet.size() >= mParts.ring->size()) {
            ++mCounters.overruns;  // will never fit
        } else if (mParts.ring->write(packet)) {
            if (mParts.watcher != nullptr && mParts.watcher->isWatching()) show(packet);
            mCounters.bytes += packet.size();
            ++mCounters.packets;
        } else {
            return false;
        }
        mPackets.pop_front();
    }
    return true;
}

void CaptureStream::show(std::span<const std::uint8_t> packet) {
    RingTraffic traffic;
    traffic.event = trace::RingEvent::Write;
    traffic.bytes = packet;
    traffic.begin = mCounters.bytes;
    traffic.streamMs = 1000 * mCounters.frames / mParts.format.rate;
    traffic.notifiesClient = mParts.ring->notifiesReader();
    traffic.fill = static_cast<std::uint32_t>(mParts.ring->usedBytes());
    traffic.size = mParts.ring->size();
    mParts.watcher->moved(mClient, traffic);
}

void CaptureStream::checkClient() {
    if (memory_fault::take())
        mClient.fail("cut off its ring's memory");
    else if (const std::string damage = mParts.ring->damage(); !damage.empty())
        mClient.fail(damage);
}

}  // namespace cabinaudio::server

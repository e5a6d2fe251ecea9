// SPDX-License-Identifier: Apache-2.0
#include "tests/server/RawRecorder.h"

#include "tests/server/Sound.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace cabinaudio::test {

RawRecorder::RawRecorder(const std::string& name, AudioTagType tag, const AudioFormatDesc& format)
    : mName(name),
      mClient(static_cast<audio_connect_type>(tag), name),
      mCreation(mClient.createCapture(tag, format)) {
    if (tag == AUDIO_TAG_UPLINK || mCreation.status != 0) return;
    mRing = std::make_unique<ShareMemoryEx>(SHM_TYPE_POSIX_SHM, name.c_str(), nullptr,
                                            mCreation.ringSize, 0, nullptr);
}

std::int32_t RawRecorder::setVolume(std::int32_t volume) {
    const wire::VolumeRequest body = {static_cast<std::uint32_t>(wire::CaptureFunction::SetVolume),
                                      volume};
    return mClient.call<wire::StatusReply>(body).status;
}

wire::VolumeReply RawRecorder::volume() {
    return mClient.ask<wire::VolumeReply>(wire::CaptureFunction::GetVolume);
}

wire::ShareMemoryReply RawRecorder::memory() {
    return mClient.ask<wire::ShareMemoryReply>(wire::CaptureFunction::GetShareMemory);
}

bool RawRecorder::mapWhenReady() {
    const SocketFrameHeader told = mClient.notification();
    if (told.event != static_cast<std::uint32_t>(wire::CaptureEvent::RingState)) return false;
    const wire::ShareMemoryReply reply = memory();
    if (told.param != 1 || reply.status != 0) return false;
    const auto address = static_cast<std::uintptr_t>(reply.address);
    mRing = std::make_unique<ShareMemoryEx>(SHM_TYPE_PHYS_MEM, mName.c_str(),
                                            reinterpret_cast<const unsigned char*>(address),
                                            reply.size, 0, nullptr);
    return mRing->isUsable();
}

std::int32_t RawRecorder::acknowledgeWithdrawal() {
    mRing.reset();
    return mClient.status(wire::CaptureFunction::RemoveShareMemory);
}

Bytes RawRecorder::read(std::size_t size) {
    Bytes bytes(size);
    std::size_t done = 0;
    const auto more = [&] {
        done += static_cast<std::size_t>(
            mRing->read(bytes.data() + done, static_cast<unsigned>(size - done)));
        return done == size;
    };
    if (!eventually(more, std::chrono::minutes(1))) throw std::runtime_error("nothing recorded");
    return bytes;
}

std::vector<std::int16_t> RawRecorder::readSamples(std::size_t count) {
    const Bytes bytes = read(count * sizeof(std::int16_t));
    std::vector<std::int16_t> samples(count);
    std::memcpy(samples.data(), bytes.data(), bytes.size());
    return samples;
}

InputServer::InputServer(unsigned rate, unsigned channels, const std::vector<std::int16_t>& samples,
                         std::vector<std::string> more) {
    writeWav(mDirectory.file("in.wav"), rate, channels, samples);
    more.insert(more.end(), {"--output", "null", "--input", mDirectory.file("in.wav")});
    mServer = std::make_unique<RealServer>(std::move(more));
}

std::vector<std::int16_t> looped(const std::vector<std::int16_t>& samples, std::size_t count,
                                 std::size_t start) {
    std::vector<std::int16_t> result;
    for (std::size_t i = 0; i < count; ++i)
        result.push_back(samples[(start + i) % samples.size()]);
    return result;
}

}  // namespace cabinaudio::test

// SPDX-License-Identifier: Apache-2.0
#include "tools/listen/TapConnection.h"

#include "tools/Failure.h"
#include "tools/Json.h"

#include <cstring>
#include <utility>

namespace cabinaudio::tool {

namespace {

AudioBitDepthType depthOf(const std::string& format) {
    if (format == "s16") return AUDIO_BIT_DEPTH_16;
    if (format == "s24") return AUDIO_BIT_DEPTH_24;
    if (format == "s32") return AUDIO_BIT_DEPTH_32;
    throw Failure("the server sends samples of an unknown format: " + format);
}

}  // namespace

TapConnection::TapConnection(const Interruption& interruption, const std::string& command,
                             std::chrono::milliseconds timeout)
    : mStream(interruption, command, timeout) {
    readFormat(mStream.answer());
}

void TapConnection::readFormat(const std::string& answer) {
    try {
        const Json json = Json::parse(answer);
        mFormat.rate = json.at("rate_hz").get<std::uint32_t>();
        mFormat.channels = json.at("channels").get<int>();
        mFormat.depth = depthOf(json.at("format").get<std::string>());
    } catch (const Json::exception&) {
        throw Failure("the server's answer is no format: " + answer);
    }
    if (mFormat.rate == 0 || mFormat.channels < 1)
        throw Failure("the server's answer is no format: " + answer);
}

TapConnection::Reception TapConnection::receive(const std::optional<Clock::time_point>& deadline) {
    while (!takeRecord()) {
        switch (mStream.wait(deadline)) {
            case ControlStream::Wait::Readable:
                break;
            case ControlStream::Wait::Closed:
                return Reception::ServerGone;
            case ControlStream::Wait::Interrupted:
                return Reception::Interrupted;
            case ControlStream::Wait::Overdue:
                return Reception::Overdue;
        }
    }
    return Reception::Record;
}

std::span<const std::uint8_t> TapConnection::samples() const {
    return mStream.input().subspan(sizeof mHeader, mHeader.count);
}

/// The last record stays at the front of the input until the next one is taken.
/// @return false if the record is not complete yet
bool TapConnection::takeRecord() {
    mStream.consume(std::exchange(mRecordBytes, 0));
    const auto input = mStream.input();
    server::TapHeader header;
    if (input.size() < sizeof header) return false;
    std::memcpy(&header, input.data(), sizeof header);
    const std::size_t payload = header.kind == Kind::Samples ? header.count : 0;
    if (input.size() < sizeof header + payload) return false;
    mHeader = header;
    mRecordBytes = sizeof header + payload;
    return true;
}

}  // namespace cabinaudio::tool

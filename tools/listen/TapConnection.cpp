// SPDX-License-Identifier: Apache-2.0
#include "tools/listen/TapConnection.h"

#include "tools/Duration.h"
#include "tools/Failure.h"
#include "tools/Json.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace cabinaudio::tool {

namespace {

constexpr char ERROR[] = "error: ";
constexpr std::size_t CHUNK = 65536;

AudioBitDepthType depthOf(const std::string& format) {
    if (format == "s16") return AUDIO_BIT_DEPTH_16;
    if (format == "s24") return AUDIO_BIT_DEPTH_24;
    if (format == "s32") return AUDIO_BIT_DEPTH_32;
    throw Failure("the server sends samples of an unknown format: " + format);
}

}  // namespace

TapConnection::TapConnection(const Interruption& interruption, const std::string& command,
                             std::chrono::milliseconds timeout)
    : mInterruption(interruption), mTimeout(timeout) {
    mSocket.warnOfForeignServer();
    mSocket.send(command + "\n");
    readFormat(receiveAnswer(Clock::now() + timeout));
}

std::string TapConnection::receiveAnswer(Clock::time_point deadline) {
    for (;;) {
        const auto end = std::find(mInput.begin(), mInput.end(), '\n');
        if (end != mInput.end()) {
            mTaken = static_cast<std::size_t>(end - mInput.begin()) + 1;
            return {mInput.begin(), end};
        }
        switch (waitForMore(deadline)) {
            case Wait::Readable:
                break;
            case Wait::Closed:
                throw Failure("the server is gone; it has not answered", ExitCode::NoServer);
            case Wait::Interrupted:
                throw Failure("interrupted by " + mInterruption.signalName());
            case Wait::Overdue:
                throw Failure(
                    "timed out after " + secondsText(mTimeout) + " waiting for the server's answer",
                    ExitCode::TimedOut);
        }
    }
}

void TapConnection::readFormat(const std::string& answer) {
    if (answer.starts_with(ERROR)) throw Failure(answer.substr(sizeof ERROR - 1));
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
        switch (waitForMore(deadline)) {
            case Wait::Readable:
                break;
            case Wait::Closed:
                return Reception::ServerGone;
            case Wait::Interrupted:
                return Reception::Interrupted;
            case Wait::Overdue:
                return Reception::Overdue;
        }
    }
    return Reception::Record;
}

std::span<const std::uint8_t> TapConnection::samples() const {
    return std::span(mInput).subspan(mTaken - mHeader.count, mHeader.count);
}

/// @return false if the record is not complete yet
bool TapConnection::takeRecord() {
    const std::size_t arrived = mInput.size() - mTaken;
    server::TapHeader header;
    if (arrived < sizeof header) return false;
    std::memcpy(&header, &mInput[mTaken], sizeof header);
    const std::size_t payload = header.kind == Kind::Samples ? header.count : 0;
    if (arrived < sizeof header + payload) return false;
    mHeader = header;
    mTaken += sizeof header + payload;
    return true;
}

/// Data before interruptions: everything that was played before the user's signal is stored.
TapConnection::Wait TapConnection::waitForMore(const std::optional<Clock::time_point>& deadline) {
    int bound = -1;
    if (deadline)
        bound = static_cast<int>(std::max<std::chrono::milliseconds::rep>(
            0, std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count()));
    std::array<struct pollfd, 2> entries = {
        {{mSocket.descriptor(), POLLIN, 0}, {mInterruption.event().descriptor(), POLLIN, 0}}};
    if (poll(entries.data(), entries.size(), bound) == 0) return Wait::Overdue;
    if (entries[0].revents == 0)
        return entries[1].revents != 0 ? Wait::Interrupted : Wait::Readable;
    mInput.erase(mInput.begin(), mInput.begin() + static_cast<std::ptrdiff_t>(mTaken));
    mTaken = 0;
    const std::size_t before = mInput.size();
    mInput.resize(before + CHUNK);
    const ssize_t got = recv(mSocket.descriptor(), &mInput[before], CHUNK, MSG_DONTWAIT);
    mInput.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    if (got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR))) return Wait::Readable;
    return Wait::Closed;
}

}  // namespace cabinaudio::tool

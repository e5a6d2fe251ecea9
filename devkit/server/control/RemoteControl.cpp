// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/control/RemoteControl.h"

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"

#include <unistd.h>

#include <charconv>
#include <chrono>
#include <csignal>
#include <thread>

namespace cabinaudio::server {
namespace {

constexpr int LONGEST_STALL_MS = 60000;

std::string noSuch(const char* what, const std::string& name) {
    return std::string("error: no ") + what + " \"" + printable(name) + "\"";
}

}  // namespace

void RemoteControl::addTo(Commands& commands) {
    commands.add("stream remove", [this](const std::string& name) { return removeStream(name); });
    commands.add("source activate", [this](const std::string& name) {
        return withSink(name, [this](PlaybackStream& sink) { mStreams.sources().activate(sink); });
    });
    commands.add("source withdraw", [this](const std::string& name) {
        return withSink(name, [this](PlaybackStream& sink) { mStreams.sources().withdraw(sink); });
    });
    commands.add("uplink ring",
                 [this](const std::string& argument) { return switchUplinkRing(argument); });
    commands.add("ring announce", [this](const std::string& name) { return announceRing(name); });
    commands.add("stall", [this](const std::string& argument) { return stall(argument); });
    commands.add("fault short-reply", [this](const std::string& argument) {
        return damageReply(ReplyDamage::Short, argument);
    });
    commands.add("fault wrong-magic", [this](const std::string& argument) {
        return damageReply(ReplyDamage::WrongMagic, argument);
    });
    commands.add("crash", [this](const std::string& argument) { return crash(argument); });
}

std::string RemoteControl::removeStream(const std::string& name) {
    if (PlaybackStream* stream = mStreams.find(name))
        mStreams.remove(*stream);
    else if (CaptureStream* capture = mCaptures.find(name))
        mCaptures.remove(*capture);
    else
        return noSuch("stream", name);
    return "ok";
}

std::string RemoteControl::withSink(const std::string& name,
                                    const std::function<void(PlaybackStream& sink)>& act) {
    PlaybackStream* sink = mStreams.findSink(name);
    if (sink == nullptr) return noSuch("sink", name);
    act(*sink);
    return "ok";
}

/// Argument: "on" or "off", then an optional name.
std::string RemoteControl::switchUplinkRing(const std::string& argument) {
    const auto blank = argument.find(' ');
    const std::string word = argument.substr(0, blank);
    const std::string name = blank == std::string::npos ? "" : argument.substr(blank + 1);
    if (word != "on" && word != "off") return "error: uplink ring on|off [NAME]";
    bool isFound = false;
    for (const auto& stream : mCaptures.streams()) {
        if (!stream->isUplink() || (!name.empty() && stream->client().name() != name)) continue;
        isFound = true;
        if (word == "on")
            stream->offerRing();
        else
            stream->withdrawRing();
    }
    if (isFound) return "ok";
    return name.empty() ? "error: there is no uplink" : noSuch("uplink", name);
}

std::string RemoteControl::announceRing(const std::string& name) {
    PlaybackStream* const stream = mStreams.find(name);
    CaptureStream* const capture = mCaptures.find(name);
    if (stream == nullptr && capture == nullptr) return noSuch("stream", name);
    const bool isTold =
        stream != nullptr ? stream->announceRingAgain() : capture->announceRingAgain();
    return isTold ? "ok" : "error: \"" + printable(name) + "\" has no announced ring";
}

/// Argument: a request's name or "any", then an optional name of a client.
std::string RemoteControl::damageReply(ReplyDamage damage, const std::string& argument) {
    const auto blank = argument.find(' ');
    const std::string request = argument.substr(0, blank);
    const std::string name = blank == std::string::npos ? "" : argument.substr(blank + 1);
    if (request.empty()) return "error: fault short-reply|wrong-magic REQUEST|any [NAME]";
    return mReplyFaults.arm(damage, request, name) ? "ok" : noSuch("request", request);
}

// Both act after the answer has been sent.

std::string RemoteControl::stall(const std::string& argument) {
    int ms = 0;
    const char* const end = argument.data() + argument.size();
    const auto [rest, error] = std::from_chars(argument.data(), end, ms);
    if (error != std::errc() || rest != end || ms < 1 || ms > LONGEST_STALL_MS)
        return format("error: stall MS, 1 to %d", LONGEST_STALL_MS);
    mLoop.post([ms] { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); });
    return "ok";
}

std::string RemoteControl::crash(const std::string& argument) {
    if (!argument.empty()) return "error: crash takes no argument";
    mLoop.post([] { kill(getpid(), SIGKILL); });
    return "ok";
}

}  // namespace cabinaudio::server

// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/control/ChangeFeed.h"

#include "devkit/server/base/Log.h"
#include "devkit/text/Printable.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <utility>
#include <vector>

namespace cabinaudio::server {
namespace {

using nlohmann::json;

/// Local time with milliseconds and the offset to UTC.
std::string now() {
    struct timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    struct tm local = {};
    localtime_r(&time.tv_sec, &local);
    char date[32];
    char offset[8];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    std::strftime(offset, sizeof offset, "%z", &local);  // "+0130"
    char text[64];
    std::snprintf(text, sizeof text, "%s.%03d%.3s:%s", date,
                  static_cast<int>(time.tv_nsec / 1'000'000), offset, offset + 3);
    return text;
}

std::string lineOf(const char* key, const json& value) {
    const json line = {{"time", now()}, {key, value}};
    return text::printableJson(line.dump(-1, ' ', false, json::error_handler_t::replace)) + "\n";
}

}  // namespace

ChangeFeed::ChangeFeed(EventLoop& loop, Document document, std::function<void()> onGone)
    : mLoop(loop),
      mDocument(std::move(document)),
      mOnGone(std::move(onGone)),
      mPatience(loop, [this](std::uint64_t) { closeDropped(); }) {}

ChangeFeed::~ChangeFeed() {
    for (const auto& [fd, subscriber] : mSubscribers)
        mLoop.remove(fd);
}

void ChangeFeed::add(UniqueFd& socket, Admitted& admitted) {
    changed();  // the others must not miss what this document contains
    if (mSubscribers.empty()) mLast = mDocument();
    const int fd = socket.get();
    Subscriber& subscriber = mSubscribers[fd];
    subscriber.socket = std::move(socket);
    subscriber.admitted = std::move(admitted);
    listenTo(subscriber);
    put(subscriber, lineOf("document", mLast));
}

void ChangeFeed::changed() {
    if (mSubscribers.empty()) return;
    json document = mDocument();
    const json patch = json::diff(mLast, document);
    if (patch.empty()) return;
    mLast = std::move(document);
    const std::string line = lineOf("patch", patch);
    for (auto& [fd, subscriber] : mSubscribers)
        put(subscriber, line);
}

/// Closes nothing: the caller may be walking the subscribers.
void ChangeFeed::put(Subscriber& subscriber, const std::string& line) {
    if (subscriber.isDropped) return;
    subscriber.output += line;
    if (!send(subscriber)) subscriber.output.clear();  // its end is reported as an event
    if (subscriber.output.size() > LONGEST_QUEUE) drop(subscriber);
    watch(subscriber);
}

/// The line that is under way is completed; the reason replaces all others.
void ChangeFeed::drop(Subscriber& subscriber) {
    log::warning("a subscriber to changes does not read them, and is dropped");
    subscriber.isDropped = true;
    subscriber.output.resize(subscriber.output.find('\n') + 1);
    subscriber.output +=
        lineOf("error", "this subscriber has not read the changes, and is dropped");
    mPatience.once(PATIENCE);
}

bool ChangeFeed::send(Subscriber& subscriber) {
    std::string& output = subscriber.output;
    const ssize_t sent =
        ::send(subscriber.socket.get(), output.data(), output.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0) return errno == EAGAIN || errno == EINTR;
    output.erase(0, static_cast<std::size_t>(sent));
    return true;
}

/// Discards what the subscriber says.
bool ChangeFeed::isOpen(const Subscriber& subscriber) {
    std::array<char, 256> said;
    const ssize_t count = recv(subscriber.socket.get(), said.data(), said.size(), MSG_DONTWAIT);
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

void ChangeFeed::listenTo(const Subscriber& subscriber) {
    const int fd = subscriber.socket.get();
    const std::uint32_t room = subscriber.awaitsRoom ? EPOLLOUT : 0U;
    mLoop.add(fd, EPOLLIN | room, [this, fd](std::uint32_t events) { handle(fd, events); });
}

void ChangeFeed::watch(Subscriber& subscriber) {
    const bool awaitsRoom = !subscriber.output.empty();
    if (std::exchange(subscriber.awaitsRoom, awaitsRoom) == awaitsRoom) return;
    mLoop.remove(subscriber.socket.get());
    listenTo(subscriber);
}

void ChangeFeed::handle(int fd, std::uint32_t events) {
    Subscriber& subscriber = mSubscribers.at(fd);
    if ((events & EPOLLIN) != 0 && !isOpen(subscriber)) return close(fd);
    if (!send(subscriber)) return close(fd);
    if (subscriber.isDropped && subscriber.output.empty()) return close(fd);
    watch(subscriber);
}

void ChangeFeed::close(int fd) {
    mLoop.remove(fd);
    mSubscribers.erase(fd);
    mOnGone();
}

void ChangeFeed::closeDropped() {
    std::vector<int> dropped;
    for (const auto& [fd, subscriber] : mSubscribers)
        if (subscriber.isDropped) dropped.push_back(fd);
    for (const int fd : dropped)
        close(fd);
}

}  // namespace cabinaudio::server

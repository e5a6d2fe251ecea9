// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/time/Agenda.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace cabinaudio::server {
namespace {

/// Behind the items of the same frame.
template <typename Item>
void insert(std::vector<Item>& items, Item item) {
    const auto isLater = [](std::uint64_t frame, const Item& other) { return frame < other.frame; };
    const auto place = std::upper_bound(items.begin(), items.end(), item.frame, isLater);
    items.insert(place, std::move(item));
}

/// The first item after `frame`.
template <typename Item>
std::optional<std::uint64_t> nextOf(const std::vector<Item>& items, std::uint64_t frame) {
    const auto found = std::find_if(items.begin(), items.end(),
                                    [frame](const Item& item) { return item.frame > frame; });
    return found != items.end() ? std::make_optional(found->frame) : std::nullopt;
}

}  // namespace

void Agenda::await(std::uint64_t frame, const std::string& name) {
    insert(mStarts, Start{frame, name});
}

void Agenda::add(std::uint64_t frame, const std::string& line) {
    insert(mCommands, Command{frame, line});
}

std::vector<Agenda::Start> Agenda::dueStarts(std::uint64_t frame) const {
    std::vector<Start> due;
    std::copy_if(mStarts.begin(), mStarts.end(), std::back_inserter(due),
                 [frame](const Start& start) { return start.frame <= frame; });
    return due;
}

const Agenda::Start* Agenda::firstStart(const std::string& name) const {
    const auto found = std::find_if(mStarts.begin(), mStarts.end(),
                                    [&](const Start& start) { return start.name == name; });
    return found != mStarts.end() ? &*found : nullptr;
}

void Agenda::startedOrGivenUp(const std::string& name) {
    if (const Start* start = firstStart(name))
        mStarts.erase(mStarts.begin() + (start - mStarts.data()));
}

bool Agenda::isAwaited(const std::string& name) const {
    return firstStart(name) != nullptr;
}

bool Agenda::isEarly(const std::string& name, std::uint64_t frame) const {
    const Start* const start = firstStart(name);
    return start != nullptr && start->frame > frame;
}

bool Agenda::isCommandDue(std::uint64_t frame) const {
    return !mCommands.empty() && mCommands.front().frame <= frame;
}

Agenda::Command Agenda::takeCommand() {
    Command command = std::move(mCommands.front());
    mCommands.erase(mCommands.begin());
    return command;
}

std::optional<std::uint64_t> Agenda::next(std::uint64_t frame) const {
    const auto start = nextOf(mStarts, frame);
    const auto command = nextOf(mCommands, frame);
    if (!start || !command) return start ? start : command;
    return std::min(*start, *command);
}

}  // namespace cabinaudio::server

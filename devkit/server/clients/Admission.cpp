// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/clients/Admission.h"

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace cabinaudio::server {
namespace {

// The server's own listening sockets, clocks, outputs, inputs and files.
constexpr std::size_t OWN_DESCRIPTORS = 32;
// A client's stream needs up to four: its socket, a timer, the cache device and a file. New
// connections must not exhaust the descriptors that connected clients will need.
constexpr std::size_t DESCRIPTORS_OF_CLIENT = 4;
constexpr rlim_t MOST_DESCRIPTORS = 65536;
constexpr std::size_t MOST_CLIENTS_OF_USER = 1024;
constexpr std::size_t MOST_CONTROLS = 256;

std::size_t atLeastOne(std::size_t count) {
    return std::max<std::size_t>(count, 1);
}

}  // namespace

ConnectionLimits ConnectionLimits::of(rlim_t descriptors) {
    const auto all = static_cast<std::size_t>(std::min(descriptors, MOST_DESCRIPTORS));
    // Half for other users, a quarter each for the server's user and for root.
    const std::size_t controls = std::clamp<std::size_t>(all / 8, 4, MOST_CONTROLS);
    const std::size_t taken = OWN_DESCRIPTORS + controls;
    const std::size_t clients = atLeastOne((all - std::min(all, taken)) / DESCRIPTORS_OF_CLIENT);
    const std::size_t most = atLeastOne(clients * 3 / 4);
    return {std::min(most, MOST_CLIENTS_OF_USER), most, clients, controls / 4, controls / 2};
}

Admission::Admission(AllowedUsers allowed, const ConnectionLimits& limits)
    : mAllowed(std::move(allowed)),
      mOwner(geteuid()),
      mClients{{Quota::Scope::PerUser, "clients", limits.clientsOfUser},
               {Quota::Scope::AllUsers, "clients", limits.clientsOfOthers}},
      mControls{{Quota::Scope::PerUser, "control connections", limits.controlsOfUser},
                {Quota::Scope::AllUsers, "control connections", limits.controlsOfOthers}},
      mUnfinished(Quota::Scope::PerUser, "bytes of unfinished messages", UNFINISHED_BYTES) {}

std::optional<Admitted> Admission::admitClient(int socket) {
    std::string reason;  // only logged: the protocol cannot carry it
    auto admitted = admit(socket, mClients, reason);
    if (admitted) admitted->unfinishedBytes = Quota::Share(mUnfinished, admitted->peer.user);
    return admitted;
}

std::optional<Admitted> Admission::admitControl(int socket, std::string& reason) {
    return admit(socket, mControls, reason);
}

std::optional<Admitted> Admission::admit(int socket, Quotas& quotas, std::string& reason) {
    const std::optional<Peer> peer = peerOf(socket);
    if (!peer) {
        reason = "unknown user";
        return {};
    }
    const uid_t user = peer->user;
    if (!isAllowed(socket, *peer)) {
        reason = format("user %u may not use this server; it runs as user %u", user, mOwner);
        if (mRefused.insert(user).second)
            log::warning("%s (--allow-group, --allow-all)", reason.c_str());
        return {};
    }
    Admitted admitted{*peer, Quota::Share(quotas.ofUser, user), {}, {}};
    if (!isTrusted(user)) admitted.ofOthers = Quota::Share(quotas.ofOthers, user);
    if (!admitted.ofUser.resize(1))
        reason = quotas.ofUser.complaint(user);
    else if (!admitted.ofOthers.resize(1))
        reason = quotas.ofOthers.complaint(user);
    else
        return admitted;
    return {};
}

bool Admission::isAllowed(int socket, const Peer& peer) const {
    if (mAllowed.includesEverybody || isTrusted(peer.user)) return true;
    if (mAllowed.groups.empty()) return false;
    const auto isOne = [this](gid_t group) {
        return std::find(mAllowed.groups.begin(), mAllowed.groups.end(), group) !=
               mAllowed.groups.end();
    };
    const std::vector<gid_t> groups = groupsOf(socket);
    return isOne(peer.group) || std::any_of(groups.begin(), groups.end(), isOne);
}

}  // namespace cabinaudio::server

// SPDX-License-Identifier: Apache-2.0
#include "tools/BoardLaunch.h"
#include "tools/Duration.h"
#include "tools/Names.h"
#include "tools/ServerSocket.h"
#include "tools/doctor/Check.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <optional>

namespace cabinaudio::tool {

namespace {

std::string millisecondText(std::chrono::microseconds duration) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f ms", static_cast<double>(duration.count()) / 1000);
    return text;
}

std::string userName(uid_t user) {
    std::array<char, 4096> buffer;
    struct passwd entry = {};
    struct passwd* found = nullptr;
    if (getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
        return found->pw_name;
    return std::to_string(user);
}

}  // namespace

Check checkServer(const ServerQuery& query, std::chrono::milliseconds bound) {
    const std::string instance = boardInstance();
    const std::string who =
        instance.empty() ? "the server" : "the server of instance '" + instance + "'";
    Check check{"server", false, "none"};
    check.more = {{"instance", instance}, {"answer_ms", nullptr}};
    switch (query.reach) {
        case Reach::Answered:
            check.ok = true;
            check.value = "answered";
            check.detail = who + " answers in " + millisecondText(query.took) + ", version " +
                           dotted(query.server->first);
            check.more["answer_ms"] = static_cast<double>(query.took.count()) / 1000;
            break;
        case Reach::NoServer:
            check.detail = "nobody listens on the server's socket";
            check.cure = instance.empty()
                             ? "start one: cabinaudio-server &"
                             : "start one: cabinaudio-server --instance " + instance + " &";
            break;
        case Reach::Silent:
            check.value = "silent";
            check.detail =
                who + " takes connections but has not answered within " + secondsText(bound);
            check.cure = "it hangs: end it and start it again";
            break;
        case Reach::Refused:
            check.value = "refused";
            check.detail = who + " listens but has not registered this client";
            check.cure =
                "look at 'cabinaudio version -v' and at the server's log; "
                "without real-time permission see below";
            break;
        case Reach::Failed:
            check.value = "failed";
            check.detail = who + " fails the version query: " + statusText(query.status);
            check.cure = "look at the server's log";
            break;
        case Reach::Crashed:
            check.value = "crashed";
            check.detail = "the library crashed in the version query";
            check.cure = "look at 'cabinaudio version -v'; report it with a core file";
            break;
    }
    return check;
}

Check checkServerUser(const ServerQuery& query) {
    Check check{"server_user", true};
    const std::optional<ServerProcess> server = serverProcess();
    if (!server) {
        check.detail = "the server does not tell its user; cabinaudio-server does";
        return check;
    }
    const uid_t owner = server->user;
    check.value = userName(owner);
    check.more = {{"user_number", owner}};
    if (owner == geteuid()) {
        check.detail = "the server is this user's, " + userName(owner);
        return check;
    }
    check.ok = query.reach != Reach::Refused;
    check.warning = check.ok && owner != 0;
    check.detail =
        "the server belongs to user " + userName(owner) + ", this is user " + userName(geteuid());
    if (check.ok && !check.warning) return check;
    check.detail +=
        check.ok ? ", whose sound the other user can hear and change" : ", who may not use it";
    check.cure =
        "start your own with a name, cabinaudio-server --instance mine &, and use --instance mine; "
        "or let its user start it with --allow-group or --allow-all";
    return check;
}

Check checkVersions(const ServerQuery& query) {
    Check check{"versions"};
    check.more = {{"tool", CABINAUDIO_VERSION}, {"library", nullptr}};
    if (!query.client) {
        check.detail =
            "this program is " CABINAUDIO_VERSION "; the library does not tell its version";
        check.cure = "look at 'cabinaudio version -v'; reinstall the library";
        return check;
    }
    const std::string library = dotted(query.client->first);
    check.ok = library == CABINAUDIO_VERSION;
    check.value = library;
    check.more["library"] = library;
    check.detail = "this program is " CABINAUDIO_VERSION ", the library " + library;
    if (!check.ok) check.cure = "install program and library of one version";
    return check;
}

}  // namespace cabinaudio::tool

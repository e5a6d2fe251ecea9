// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Set.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/Names.h"
#include "tools/settings/Assignments.h"

namespace cabinaudio::tool {

namespace {

/// The results of the other assignments, for the error message.
std::string rest(const std::vector<Assignment>& all, std::size_t failed) {
    std::string done;
    std::string left;
    for (std::size_t i = 0; i < all.size(); ++i)
        if (i != failed) (i < failed ? done : left) += " " + all[i].text;
    std::string text = done.empty() ? "; nothing was set" : "; set:" + done;
    if (!left.empty()) text += "; not set:" + left;
    return text;
}

std::string reason(std::int32_t status) {
    if (status == AUDIO_INVALID_OPERATION) return "this server does not have it";
    return "the server refused it: " + statusText(status);
}

void set(Session& session, const Assignment& one) {
    const std::int32_t status = one.partner ? session.set(one.named, one.value, *one.partner)
                                            : session.set(one.named, one.value);
    if (status != AUDIO_NO_ERROR) throw Failure("cannot set " + one.text + ": " + reason(status));
    if (session.wantsJson()) session.report("set").push_back(one.text);
}

void setAll(Session& session, const SetOptions& options) {
    if (session.wantsJson()) session.report("set") = Json::array();
    const std::vector<std::string> words = readAssignments(options.assignments, options.files);
    const std::vector<Assignment> all = parseAssignments(session.directory(), words);
    for (std::size_t i = 0; i < all.size(); ++i) {
        session.setFailureNote(rest(all, i));
        set(session, all[i]);
    }
}

}  // namespace

ExitCode run(const SetOptions& options, const CommonOptions& common) {
    Session session(options, common);
    return session.run([&] { setAll(session, options); });
}

}  // namespace cabinaudio::tool

// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Set.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/Terminal.h"
#include "tools/settings/Assignments.h"
#include "tools/settings/Line.h"

#include <set>

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

Value presentValue(Session& session, const Assignment& one) {
    const Reading reading = session.get(one.named, one.change->scale == Change::Scale::Steps);
    if (reading.status != AUDIO_NO_ERROR)
        throw Failure(unreadableText(one.named, reading.status) + ", which '" + one.text +
                      "' needs");
    return reading.value;
}

/// The value after a change. Read again for each change, so that all changes of a setting add up,
/// and those of settings that overlap, such as fade and the volumes of loudspeakers.
Value nextValue(Session& session, const Assignment& one) {
    const Type& type = one.named.setting->type;
    const Value present = presentValue(session, one);
    const ChangedValue next = changedValue(type, present, *one.change);
    if (next.isLimited) complain(one.text + " stops at the limit, " + valueText(type, next.value));
    if (session.wantsJson()) {
        const bool isSteps = one.change->scale == Change::Scale::Steps;
        session.report("changes").push_back(
            {{"name", one.named.name},
             {"from", valueJson(type, present)},
             {"to", valueJson(type, next.value)},
             {"unit", isSteps ? Json("step") : orNull(std::string(type.unit))},
             {"limited", next.isLimited}});
    }
    return next.value;
}

void set(Session& session, const Assignment& one) {
    const Value value = one.change ? nextValue(session, one) : one.value;
    const std::int32_t status =
        one.partner ? session.set(one.named, value, *one.partner) : session.set(one.named, value);
    if (status != AUDIO_NO_ERROR)
        throw Failure("cannot set " + one.text + ": " + refusalText(status));
    if (session.wantsJson()) session.report("set").push_back(one.text);
}

/// Reads the present values that changes need, so that an unreadable one prevents all changes.
void requirePresentValues(Session& session, const std::vector<Assignment>& all) {
    std::set<std::string> known;
    for (const Assignment& one : all)
        if (known.insert(one.named.name).second && one.change) (void)presentValue(session, one);
}

void setAll(Session& session, const SetOptions& options) {
    if (session.wantsJson())
        for (const char* list : {"set", "changes"})
            session.report(list) = Json::array();
    const std::vector<std::string> words = readAssignments(options.assignments, options.files);
    const std::vector<Assignment> all = parseAssignments(session.directory(), words);
    session.setFailureNote("; nothing was set");
    requirePresentValues(session, all);
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

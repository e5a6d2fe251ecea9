// SPDX-License-Identifier: Apache-2.0
#include "tools/top/Change.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/text/Printable.h"
#include "tools/ChildProcess.h"
#include "tools/Failure.h"
#include "tools/Names.h"
#include "tools/server/ControlLine.h"
#include "tools/settings/Directory.h"

#include <fcntl.h>
#include <unistd.h>

#include <functional>

namespace cabinaudio::tool::top {

namespace {

std::string inQuietChild(std::chrono::milliseconds bound,
                         const std::function<std::string()>& work) {
    const ChildResult result = runInChild(bound, [&](int answers) {
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(null, STDOUT_FILENO);
        dup2(null, STDERR_FILENO);
        const std::string text = work();
        answer(answers, text.data(), text.size());
    });
    if (result.end == ChildEnd::Overdue) return "the server has not answered in time";
    return result.output.empty() ? "the command failed" : result.output;
}

std::string set(const Named& named, const Value& value) {
    Clients clients;
    const std::int32_t status = named.setting->set(clients, named.names, value);
    const std::string line = named.name + "=" + valueText(named.setting->type, value);
    return status == AUDIO_NO_ERROR ? line : line + " failed: " + statusText(status);
}

}  // namespace

std::string perform(const SettingChange& change, std::chrono::milliseconds bound) {
    const auto named = Directory(std::nullopt).find(change.setting);
    if (!named || !named->setting->set) return text::printable(change.setting) + " cannot be set";
    const Value value = std::holds_alternative<bool>(change.value)
                            ? Value(std::get<bool>(change.value))
                            : Value(Reals{static_cast<float>(std::get<double>(change.value))});
    return text::printable(inQuietChild(bound, [&] { return set(*named, value); }));
}

std::string perform(const ServerCommand& command, std::chrono::milliseconds bound) {
    const std::string text = inQuietChild(bound, [&] {
        try {
            return askServer(command.line, bound);
        } catch (const Failure& failure) {
            return std::string(failure.what());
        }
    });
    return text::printable(command.line + ": " + text);
}

}  // namespace cabinaudio::tool::top

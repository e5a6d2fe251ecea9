// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/DryRun.h"

#include "devkit/board/run/Children.h"
#include "devkit/board/run/Descriptor.h"
#include "devkit/board/run/Refusal.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <sstream>

namespace cabinaudio::run {
namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
    Descriptor read;
    Descriptor write;
};

Pipe makePipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw Refusal(withReason("cannot make a pipe"));
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

[[noreturn]] void runLoader(const Command& command, int out, int err) {
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (dup2(nothing, STDIN_FILENO) >= 0 && dup2(out, STDOUT_FILENO) >= 0 &&
        dup2(err, STDERR_FILENO) >= 0) {
        command.executeDryRun();
    }
    _exit(NOT_EXECUTABLE);
}

/// Reads once. @return false at the end of the stream
bool readSome(int from, std::string& into) {
    std::array<char, 4096> block;
    const ssize_t got = read(from, block.data(), block.size());
    if (got > 0) into.append(block.data(), static_cast<std::size_t>(got));
    return got > 0 || (got < 0 && errno == EINTR);
}

int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

/// Reads both streams to their ends. @return false if the deadline passes first
bool readBoth(int out, std::string& outText, int err, std::string& errText,
              Clock::time_point deadline) {
    std::array<pollfd, 2> streams{pollfd{out, POLLIN, 0}, pollfd{err, POLLIN, 0}};
    const std::array<std::string*, 2> texts{&outText, &errText};
    while (streams[0].fd >= 0 || streams[1].fd >= 0) {
        const int ready = poll(streams.data(), streams.size(), millisecondsUntil(deadline));
        if (ready == 0) return false;
        for (std::size_t i = 0; ready > 0 && i < streams.size(); ++i) {
            if (streams[i].fd >= 0 && streams[i].revents != 0 &&
                !readSome(streams[i].fd, *texts[i])) {
                streams[i].fd = -1;
            }
        }
    }
    return true;
}

/// Lines are "\tPATH (0xADDRESS)", "\tNAME => PATH (0xADDRESS)" or "\tNAME => not found".
void takeLine(const std::string& line, LoadedObjects& objects) {
    constexpr std::string_view ARROW = " => ";
    if (!line.starts_with('\t')) return;
    const std::size_t arrowAt = line.find(ARROW);
    const std::size_t begin = arrowAt == std::string::npos ? 1 : arrowAt + ARROW.size();
    if (std::string_view(line).substr(begin) == "not found") {
        if (objects.missing.empty()) objects.missing = line.substr(1, arrowAt - 1);
        return;
    }
    objects.paths.push_back(line.substr(begin, line.rfind(" (0x") - begin));
}

bool isSanitizer(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    const std::array<const char*, 8> beginnings{
        "libasan.so",       "libtsan.so",       "liblsan.so",       "libhwasan.so",
        "libclang_rt.asan", "libclang_rt.tsan", "libclang_rt.lsan", "libclang_rt.hwasan"};
    return std::any_of(beginnings.begin(), beginnings.end(),
                       [&](const char* beginning) { return name.starts_with(beginning); });
}

}  // namespace

bool LoadedObjects::contains(const std::string& path) const {
    return std::find(paths.begin(), paths.end(), path) != paths.end();
}

std::string LoadedObjects::sanitizer() const {
    const auto found = std::find_if(paths.begin(), paths.end(), isSanitizer);
    return found != paths.end() ? *found : std::string();
}

LoadedObjects dryRun(const Command& command, std::chrono::seconds timeout) {
    Pipe out = makePipe();
    Pipe err = makePipe();
    const pid_t child = forkChild();
    if (child == 0) runLoader(command, out.write.get(), err.write.get());
    out.write.close();
    err.write.close();
    LoadedObjects objects;
    std::string listing;
    const bool ended = readBoth(out.read.get(), listing, err.read.get(), objects.complaints,
                                Clock::now() + timeout);
    if (!ended) kill(child, SIGKILL);
    reapChild(child);
    if (!ended) {
        throw Refusal("the loader did not list the program's libraries within " +
                      std::to_string(timeout.count()) + " s");
    }
    std::istringstream lines(listing);
    for (std::string line; std::getline(lines, line);)
        takeLine(line, objects);
    return objects;
}

}  // namespace cabinaudio::run

// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/Report.h"

#include "tools/BoardLaunch.h"
#include "tools/Failure.h"
#include "tools/ProgramVersion.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>

namespace cabinaudio::tool {

namespace {

// The newest part of a log. More makes a ticket hard to handle.
constexpr std::streamoff MOST_OF_A_LOG = std::streamoff{1} << 20;

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool isFile(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::string endOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) return "";
    const std::streamoff size = file.tellg();
    file.seekg(std::max<std::streamoff>(size - MOST_OF_A_LOG, 0));
    return {std::istreambuf_iterator<char>(file), {}};
}

Json numbersOf(const VersionTriple& triple) {
    return Json(std::vector<std::int32_t>(triple.begin(), triple.end()));
}

std::string versionsText(const ServerQuery& query) {
    Json json = {{"tool", programVersion()}, {"library", nullptr}, {"server", nullptr}};
    if (query.client)
        json["library"] = {numbersOf(query.client->first), numbersOf(query.client->second)};
    if (query.server)
        json["server"] = {numbersOf(query.server->first), numbersOf(query.server->second),
                          query.server->third};
    return json.dump(2) + "\n";
}

std::string settingsText(const Json& settings) {
    std::string text;
    for (const Json& setting : settings)
        text += (setting.value("settable", true) ? "" : "#") + setting.value("name", "") + "=" +
                setting.value("text", "") + "\n";
    return text;
}

std::string machineText() {
    struct utsname names = {};
    uname(&names);
    return std::string("kernel ") + names.sysname + " " + names.release + " " + names.version +
           " " + names.machine + "\nprocessors " + std::to_string(sysconf(_SC_NPROCESSORS_ONLN)) +
           "\n\ndistribution\n" + contentOf("/etc/os-release") + "\nlimits\n" +
           contentOf("/proc/self/limits");
}

/// The file that the server of this user writes its messages to; empty when it writes them
/// elsewhere.
std::string serverLog() {
    const std::optional<ServerProcess> server = serverProcess();
    if (!server || server->user != geteuid() || server->process <= 0) return "";
    const std::string path = "/proc/" + std::to_string(server->process) + "/fd/2";
    return isFile(path) ? path : "";
}

std::string formatted(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

void addLogs(const std::string& logFile, std::vector<Member>& members) {
    if (!logFile.empty() && isFile(logFile))
        members.push_back({"library.log", endOf(logFile), "log of the library, from " + logFile});
    if (const std::string log = serverLog(); !log.empty())
        members.push_back({"server.log", endOf(log), "messages of the server"});
}

class NewFile {
public:
    explicit NewFile(const std::string& path)
        : mPath(path),
          mDescriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)) {
        if (mDescriptor < 0) fail();
    }
    ~NewFile() {
        if (mDescriptor >= 0) close(mDescriptor);
        if (!mIsComplete) unlink(mPath.c_str());
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void write(const std::string& bytes) {
        for (std::size_t done = 0; done < bytes.size();) {
            const ssize_t written = ::write(mDescriptor, bytes.data() + done, bytes.size() - done);
            if (written < 0 && errno != EINTR) fail();
            if (written > 0) done += static_cast<std::size_t>(written);
        }
        if (fsync(mDescriptor) != 0) fail();
        mIsComplete = true;
    }

private:
    [[noreturn]] void fail() const {
        throw Failure(mPath + ": " + std::strerror(errno) + "; there is no report");
    }

    std::string mPath;
    int mDescriptor;
    bool mIsComplete = false;
};

}  // namespace

std::vector<Member> membersOf(const Findings& findings, const std::string& logFile) {
    std::vector<Member> members = {
        {"checks.txt", findings.text, "the findings as above"},
        {"checks.json", formatted(findings.checks), "the same for programs"},
        {"versions.json", versionsText(findings.query), "versions of tool, library and server"},
        {"machine.txt", machineText(), "kernel, processors, distribution, limits"}};
    if (!findings.server.state.is_null())
        members.push_back({"state.json", formatted(findings.server.state),
                           "state of the server: output, clients, names and programs of streams"});
    if (!findings.server.settings.empty())
        members.push_back({"settings.txt", settingsText(findings.server.settings),
                           "all settings that the server tells"});
    addLogs(logFile, members);
    return members;
}

void requireAbsent(const std::string& file) {
    struct stat status = {};
    if (lstat(file.c_str(), &status) == 0)
        throw Failure(file + " exists; choose another name for the report");
}

void writeReport(const std::string& file, const std::string& bytes) {
    NewFile(file).write(bytes);
}

}  // namespace cabinaudio::tool

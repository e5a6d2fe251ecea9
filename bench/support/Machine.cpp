// SPDX-License-Identifier: Apache-2.0
#include "bench/support/Machine.h"

#include "bench/support/Errors.h"
#include "devkit/board/Board.h"

#include <gnu/libc-version.h>
#include <sched.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace cabinaudio::bench {

namespace {

int lastOf(const cpu_set_t& cpus) {
    int cpu = CPU_SETSIZE - 1;
    while (cpu > 0 && !CPU_ISSET(cpu, &cpus))
        --cpu;
    return cpu;
}

std::string processorName() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        const auto colon = line.find(": ");
        if (line.rfind("model name", 0) == 0 && colon != std::string::npos)
            return line.substr(colon + 2);
    }
    return "unknown processor";
}

}  // namespace

PrivateInstance::PrivateInstance() : mName("bench-" + std::to_string(getpid())) {
    setenv(board::INSTANCE_VARIABLE, mName.c_str(), 1);
}

PrivateInstance::~PrivateInstance() {
    const std::string memory = "cabinaudio-physmem-" + std::to_string(geteuid()) + "-" + mName;
    const std::string objects = "cabinaudio." + mName + ".";
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", ignored)) {
        const std::string name = entry.path().filename();
        if (name == memory || name.rfind(objects, 0) == 0)
            std::filesystem::remove(entry.path(), ignored);
    }
}

int pinToCpu(int cpu) {
    cpu_set_t cpus;
    if (cpu < 0) {
        checked(sched_getaffinity(0, sizeof cpus, &cpus), "sched_getaffinity");
        cpu = lastOf(cpus);
    }
    CPU_ZERO(&cpus);
    CPU_SET(cpu, &cpus);
    checked(sched_setaffinity(0, sizeof cpus, &cpus), "sched_setaffinity");
    return cpu;
}

bool becomeRealTime() {
    sched_param param{};
    param.sched_priority = sched_get_priority_max(SCHED_RR);
    return sched_setscheduler(0, SCHED_RR, &param) == 0;
}

bool mayBeRealTime() {
    if (!becomeRealTime()) return false;
    const sched_param param{};
    checked(sched_setscheduler(0, SCHED_OTHER, &param), "sched_setscheduler");
    return true;
}

std::string loadAverages() {
    std::ifstream file("/proc/loadavg");
    std::string one, five, fifteen;
    file >> one >> five >> fifteen;
    return one + " " + five + " " + fifteen;
}

std::string describeMachine() {
    utsname name{};
    checked(uname(&name), "uname");
    return processorName() + ", " + name.sysname + " " + name.release + " " + name.machine +
           ", C library " + gnu_get_libc_version();
}

}  // namespace cabinaudio::bench

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <new>
#include <stdexcept>

namespace cabinaudio::test {

/// An object in memory that this process shares with the children it forks.
template <typename T>
class SharedObject {
public:
    SharedObject() {
        void* const memory =
            mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) throw std::runtime_error("mmap");
        mObject = new (memory) T();
    }
    ~SharedObject() {
        mObject->~T();
        munmap(mObject, sizeof(T));
    }
    SharedObject(const SharedObject&) = delete;
    SharedObject& operator=(const SharedObject&) = delete;

    T* operator->() { return mObject; }
    T& operator*() { return *mObject; }

private:
    T* mObject;
};

/// Runs `body` in a child process, which its result ends. @return the process id
template <typename Body>
pid_t forkAndRun(Body body) {
    const pid_t child = fork();
    if (child == 0) _exit(body());
    return child;
}

/// Waits for a child. @return its exit status, -1 when it did not exit
inline int exitStatusOf(pid_t child) {
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

}  // namespace cabinaudio::test

// SPDX-License-Identifier: Apache-2.0
#include "bench/alsa/Program.h"

#include "bench/support/Clock.h"
#include "bench/support/Errors.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace cabinaudio::bench {

namespace {

std::uint64_t ns(const timeval& time) {
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000 +
           static_cast<std::uint64_t>(time.tv_usec) * 1000;
}

[[noreturn]] void become(std::vector<std::string>& words, int input, int output) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execvp(arguments.front(), arguments.data());
    _exit(127);
}

}  // namespace

Program::Program(std::vector<std::string> words) : mName(words.front()) {
    int input[2];
    int output[2];
    checked(pipe2(input, O_CLOEXEC), "pipe2");
    checked(pipe2(output, O_CLOEXEC), "pipe2");
    mProcess = checked(fork(), "fork");
    if (mProcess == 0) become(words, input[0], output[1]);
    close(input[0]);
    close(output[1]);
    mInput = input[1];
    mOutput = output[0];
}

Program::~Program() {
    closeInput();
    close(mOutput);
    if (mProcess < 0) return;
    kill(mProcess, SIGKILL);
    waitpid(mProcess, nullptr, 0);
}

void Program::write(const std::string& text) const {
    checked(::write(mInput, text.data(), text.size()), "write");
}

void Program::closeInput() {
    if (mInput >= 0) close(mInput);
    mInput = -1;
}

std::string Program::readLine() {
    std::string line;
    for (char letter; read(mOutput, &letter, 1) == 1 && letter != '\n';)
        line += letter;
    return line;
}

std::uint64_t Program::processorTime() const {
    return processorTimeOf(mProcess);
}

std::uint64_t Program::finish() {
    int status = 0;
    rusage usage{};
    checked(wait4(mProcess, &status, 0, &usage), "wait4");
    mProcess = -1;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error(WEXITSTATUS(status) == 127 ? mName + " is not installed"
                                                            : mName + " has failed");
    return ns(usage.ru_utime) + ns(usage.ru_stime);
}

}  // namespace cabinaudio::bench

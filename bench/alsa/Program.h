// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::bench {

/// A program with pipes to its input and output. Ends with the object.
class Program {
public:
    /// @param words  the program and its arguments; it is searched for in PATH
    explicit Program(std::vector<std::string> words);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void write(const std::string& text) const;
    /// Closes its standard input.
    void closeInput();
    /// The next line without its end; "" at the end of its output.
    std::string readLine();
    /// All processor time so far, ns.
    [[nodiscard]] std::uint64_t processorTime() const;
    /// Waits for its end. @return its whole processor time, ns
    /// @throws std::runtime_error when it has failed
    std::uint64_t finish();

private:
    std::string mName;
    pid_t mProcess = -1;
    int mInput = -1;
    int mOutput = -1;
};

}  // namespace cabinaudio::bench

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/Daemon.h"

#include <cstdint>
#include <string>

namespace cabinaudio::bench {

/// The development server in real time, with the null output. Takes clients of this program's
/// instance once the object exists.
class DevelopmentServer {
public:
    /// @param program    path of the server
    /// @param directory  empty scratch directory
    DevelopmentServer(const std::string& program, const std::string& directory);

    [[nodiscard]] pid_t process() const { return mDaemon.process(); }
    /// All processor time so far, ns.
    [[nodiscard]] std::uint64_t processorTime() const;
    /// Written when the server ends.
    [[nodiscard]] const std::string& reportFile() const { return mReport; }

private:
    std::string mReport;
    Daemon mDaemon;
};

}  // namespace cabinaudio::bench

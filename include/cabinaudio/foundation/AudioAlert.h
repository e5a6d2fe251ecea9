// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <cstdint>

/// Logs a warning when an operation takes longer than its threshold. Any thread; never fails.
class CABINAUDIO_API AudioAlert {
public:
    /// Times its scope, from construction to destruction.
    class CABINAUDIO_API AutoAlert {
    public:
        /// @param name         printed in the warning; null prints as "Unknown"
        /// @param thresholdUs  longest time without a warning, microseconds; 0 always logs
        /// @param file         printed as the source; null prints as "-"
        /// @param function     printed as the function; null prints as "-"
        /// @param line         printed as it is
        /// The three strings are not copied and must outlive the object.
        AutoAlert(const char* name, std::uint32_t thresholdUs, const char* file,
                  const char* function, std::uint32_t line);
        ~AutoAlert();
        AutoAlert(const AutoAlert&) = delete;
        AutoAlert& operator=(const AutoAlert&) = delete;

    private:
        const char* mName;
        std::uint32_t mThresholdUs;
        const char* mFile;
        const char* mFunction;
        std::uint32_t mLine;
        std::uint64_t mStartUs;
    };

    /// The same check for a time measured by the caller: logs when `thresholdUs` is 0 or
    /// `elapsedUs` is greater than it.
    static void alert(const char* name, std::uint32_t elapsedUs, std::uint32_t thresholdUs,
                      const char* file, const char* function, std::uint32_t line);
};

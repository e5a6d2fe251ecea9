// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <cstdint>

/// Warns in the log when something took longer than it should. Any thread; never fails.
class CABINAUDIO_API AudioAlert {
public:
    /// Times the scope that it lives in, from construction to destruction.
    class CABINAUDIO_API AutoAlert {
    public:
        /// @param name         printed in the warning; null prints as "Unknown"
        /// @param thresholdUs  microseconds that are still fine; 0 logs the cost always
        /// @param file         printed as the source; null prints as "-"
        /// @param function     printed as the function; null prints as "-"
        /// @param line         printed as it is
        /// The three texts are not copied and must outlive the object.
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

    /// The same decision for a time that the caller has measured: logs when `thresholdUs` is 0 or
    /// `elapsedUs` is greater than it.
    static void alert(const char* name, std::uint32_t elapsedUs, std::uint32_t thresholdUs,
                      const char* file, const char* function, std::uint32_t line);
};

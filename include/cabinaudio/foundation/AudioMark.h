// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <cstdint>

/// Marks scopes for an external tracer. The marks of this library are empty and cost nothing; they
/// are part of the exported interface.
class CABINAUDIO_API AudioMark {
public:
    /// Marks its scope. Any thread.
    class CABINAUDIO_API AutoMark {
    public:
        /// Does nothing; so does the destructor. The arguments are ignored.
        AutoMark(const char* file, const char* function, std::uint32_t line);
        ~AutoMark();
        AutoMark(const AutoMark&) = delete;
        AutoMark& operator=(const AutoMark&) = delete;
    };

    /// Marks one point in time. Any thread.
    static void mark(const char* file, const char* function);
};

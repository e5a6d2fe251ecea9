// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::plugin {

/// Name of a stream, different from those of all other streams of this process as long as it
/// exists: a name is also that of a ring. It has room for the address that a ring appends.
class StreamName {
public:
    /// @param kind   of the plug-in, for example "alsa"
    /// @param given  wanted name; a second stream of this name gets "GIVEN-2". If empty, the name
    ///               is "KIND-PROGRAM-PID-N", where N counts the process's streams
    explicit StreamName(const std::string& kind, const std::string& given = {});
    ~StreamName();
    StreamName(const StreamName&) = delete;
    StreamName& operator=(const StreamName&) = delete;

    [[nodiscard]] const char* text() const { return mText.c_str(); }

private:
    std::string mText;
};

}  // namespace cabinaudio::plugin
